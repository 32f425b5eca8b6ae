#pragma once

// Makes the library's inputs hold what they are to hold, by as few changes as that takes: entry by
// entry, in natural order, each one an event of the journal. An entry that is right is not touched.

#include <functional>
#include <map>
#include <set>
#include <string>

#include "agent/Inputs.h"
#include "agent/Journal.h"
#include "agent/Progress.h"
#include "agent/TableHost.h"

namespace Agent {

class Reconciler {
 public:
  /// Both outlive the reconciler.
  Reconciler(TableHost& host, Journal& journal) : host_(host), journal_(journal) {}

  /// Drives the bridging configuration, the status directory and the L3 index directory, one after
  /// the other: of each, all removals before all additions, and what changes in place between them.
  /// Ports that change so that they are no longer routed come before the others that change; an L3
  /// index that changes is a removal and an addition.
  void reconcile(const Inputs& wanted);

 private:
  using Ports = std::map<Plexo::IntfId, SwitchPort>;

  void reconcilePorts(const Ports& wanted, Progress& progress);
  void changePorts(const Ports& held, const Ports& wanted, bool toRouted);
  void reconcileVlanInterfaces(const std::set<Plexo::IntfId>& wanted, Progress& progress);
  void reconcileL3Indexes(const L3Indexes& wanted, Progress& progress);

  [[nodiscard]] Ports heldPorts();
  [[nodiscard]] std::set<Plexo::IntfId> heldVlanInterfaces();
  [[nodiscard]] L3Indexes heldL3Indexes();

  /// Begins the event "NAME TEXT" and makes the change.
  void drive(Plexo::IntfId id, const std::string& text, const std::function<void()>& change);

  TableHost& host_;
  Journal& journal_;
};

}  // namespace Agent
