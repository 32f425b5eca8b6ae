#pragma once

// What the library's three inputs are to hold for a switch, in plain data and natural order.

#include <map>
#include <set>

#include "agent/Switch.h"
#include "agent/VlanReservations.h"

namespace Agent {

struct Inputs {
  /// The bridging configuration.
  std::map<Plexo::IntfId, SwitchPort> ports;
  /// The VLAN interface status directory: names that tell a VLAN number from 1 to 4094.
  std::set<Plexo::IntfId> vlanInterfaces;
  /// The L3 index directory.
  L3Indexes l3Indexes;
};

/// With L3 ids out of the L3 index directory.
[[nodiscard]] Inputs inputsOf(const Switch& theSwitch, L3Indexes l3Indexes);
/// With internal VLANs: each routed port has the one that is reserved for it as native VLAN, and
/// the L3 index directory is empty.
[[nodiscard]] Inputs inputsOf(const Switch& theSwitch, const VlanReservations& reservations);

}  // namespace Agent
