#pragma once

// The library at work: the three input models, the state machine over them, and the L3 interface
// table that comes of it. The models start empty; who feeds them is a Reconciler.

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/Activity.h"
#include "platform/BridgingConfig.h"
#include "platform/L3IndexDir.h"
#include "platform/VlanIntfStatusDir.h"

namespace Agent {

class TableHost {
 public:
  /// Makes everything, empty. `internalVlanNeeded`: whether L3 ids are internal VLANs; the L3 index
  /// directory stays empty then.
  explicit TableHost(bool internalVlanNeeded);
  /// Lets the state machine withdraw everything, unless it was told to leave it, and releases it,
  /// the table and the models.
  ~TableHost();
  TableHost(const TableHost&) = delete;
  TableHost& operator=(const TableHost&) = delete;

  /// From now on nothing is withdrawn at the end: a state that was changed by hand may be one that
  /// the machine cannot withdraw.
  void leaveEverything() { withdraws_ = false; }

  // All of these live as long as the host.

  [[nodiscard]] Bridging::Config& config() { return *config_; }
  [[nodiscard]] Interface::VlanIntfStatusDir& vlanIntfStatusDir() { return *vlanIntfStatusDir_; }
  [[nodiscard]] FyrL3Intf::L3IndexDir& l3IndexDir() { return *l3IndexDir_; }
  /// The activity in which the machine runs.
  [[nodiscard]] Kob::ActivityConfig& activity() { return *activity_; }
  [[nodiscard]] const Kob::ActivityConfig& activity() const { return *activity_; }
  [[nodiscard]] FyrL3Intf::ConfigSm& machine() { return *machine_; }
  [[nodiscard]] const FyrL3Intf::ConfigSm& machine() const { return *machine_; }
  [[nodiscard]] const FyrL3Intf::Table& table() const { return *table_; }

 private:
  const Kob::Ptr<Kob::ActivityConfig> activity_;
  const Kob::Ptr<Bridging::Config> config_;
  const Kob::Ptr<Interface::VlanIntfStatusDir> vlanIntfStatusDir_;
  const Kob::Ptr<FyrL3Intf::L3IndexDir> l3IndexDir_;
  const Kob::Ptr<FyrL3Intf::Table> table_;
  const Kob::Ptr<FyrL3Intf::ConfigSm> machine_;
  bool withdraws_ = true;
};

}  // namespace Agent
