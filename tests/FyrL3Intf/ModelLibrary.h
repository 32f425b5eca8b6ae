#pragma once

// The library, driven by the operations of the model: whatever event the model foresees is carried
// out here for real, and what stands afterwards is shown as the model shows it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "Kob/Activity.h"
#include "platform/BridgingConfig.h"
#include "platform/L3IndexDir.h"
#include "platform/VlanIntfStatusDir.h"
#include "tests/FyrL3Intf/Model.h"

namespace FyrL3Intf::Tests {

class Library {
 public:
  Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library();

  // The operations of the model, which tells what they do. Exceptions pass to the caller.
  void port(int object, Plexo::IntfId intf, unsigned mode, std::uint16_t vlan);
  void portDel(int object, Plexo::IntfId intf);
  void watchedPort(Plexo::IntfId intf, unsigned mode, std::uint16_t vlan);
  void vlanIntf(int object, Plexo::IntfId intf);
  void vlanIntfDel(int object, Plexo::IntfId intf);
  void l3Index(int object, Plexo::IntfId intf, std::uint64_t l3Id);
  void l3IndexDel(int object, Plexo::IntfId intf);
  void deferralIs(bool deferral);
  void run();
  void start(bool internalVlanNeeded, bool freshTable, int statusDir, int indexDir);
  void prepareToDie();
  void release();
  void configIs(int object);
  void configDel();
  void statusDirIs(int object);
  void statusDirDel();
  void indexDirIs(int object);
  void indexDirDel();
  void wish(Plexo::IntfId intf, std::uint16_t vlan);
  void grant(Plexo::IntfId intf, std::uint16_t vlan);
  void portHandled(Plexo::IntfId intf);
  void vlanIntfHandled(Plexo::IntfId intf);
  void l3IndexHandled(Plexo::IntfId intf);
  void verify();
  void tableForwardIs(Plexo::IntfId intf, std::uint64_t l3Id);
  void tableForwardDel(Plexo::IntfId intf);
  void tableReverseIs(std::uint64_t l3Id, Plexo::IntfId intf);
  void tableReverseDel(std::uint64_t l3Id);
  void wishEntryIs(Plexo::IntfId intf, std::uint16_t vlan);
  void wishEntryDel(Plexo::IntfId intf);
  void wisherIs(std::uint16_t vlan, Plexo::IntfId intf, bool member);
  void wishersEmptied(std::uint16_t vlan);
  void wishersDel(std::uint16_t vlan);
  void forgetUnused();

  Snapshot snapshot();

  /// The message of an exception with each "{NUMBER}" in it replaced by how the entry of this
  /// number prints.
  [[nodiscard]] std::string withEntries(const std::string& message) const;

 private:
  class Listener;
  template <class T>
  using Objects = std::array<Kob::Ptr<T>, Model::objects>;

  template <class T>
  static Kob::Ptr<T> at(const Objects<T>& all, int object) {
    return object == Model::none ? nullptr : all[static_cast<std::size_t>(object)];
  }
  void tableIs(const Kob::Ptr<Table>& table);
  [[nodiscard]] std::size_t numberOf(const Bridging::SwitchIntfConfig* entry) const;
  void wishesTo(Snapshot& snapshot) const;

  Kob::Ptr<Kob::ActivityConfig> activity_ = Kob::activityFactory("activity");
  Objects<Bridging::Config> configs_;
  Objects<Interface::VlanIntfStatusDir> statusDirs_;
  Objects<L3IndexDir> indexDirs_;
  std::map<std::size_t, Kob::Ptr<Bridging::SwitchIntfConfig>> entries_;
  std::size_t nextEntry_ = 0;
  std::vector<Announcement> announced_;
  Kob::Ptr<Table> table_;
  Kob::Ptr<Listener> listener_;
  Kob::Ptr<ConfigSm> machine_;
  std::uint32_t readsOfVerify_ = 0;
};

}  // namespace FyrL3Intf::Tests
