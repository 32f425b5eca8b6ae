#pragma once

// The switch as its configuration describes it, in plain data and whatever the format it was
// written in: what the readers make and what the library's input models are fed from. Everything is
// keyed by valid interface names and stands in natural order (Ethernet2 before Ethernet10).

#include <map>
#include <set>
#include <string_view>

#include "platform/BridgingConfig.h"
#include "platform/IntfId.h"
#include "platform/L3Id.h"
#include "platform/VlanId.h"

namespace Agent {

/// What sort of L3 interface it is.
enum class InterfaceKind { routed, portChannel, subInterface, vlan };

/// The kind as the program's output spells it: "routed", "portChannel", "subInterface", "vlan".
[[nodiscard]] constexpr std::string_view nameOf(InterfaceKind kind) {
  switch (kind) {
    case InterfaceKind::routed:
      return "routed";
    case InterfaceKind::portChannel:
      return "portChannel";
    case InterfaceKind::subInterface:
      return "subInterface";
    case InterfaceKind::vlan:
      return "vlan";
  }
  return "";
}

/// A port or port channel of the bridging configuration.
struct SwitchPort {
  Bridging::SwitchportMode mode = Bridging::SwitchportMode::access;
  /// The unset VLAN where the port has none; a routed port has none but an internal VLAN.
  Bridging::VlanId nativeVlan;

  bool operator==(const SwitchPort&) const = default;
};

struct SubInterface {
  Plexo::IntfId parent;
  /// The outer VLAN tag; the unset VLAN where the configuration does not tell.
  Bridging::VlanId encapsulation;
};

struct Switch {
  /// Every port and port channel that is an interface of its own; channel members are not.
  std::map<Plexo::IntfId, SwitchPort> ports;
  /// Every interface that can have an L3 index.
  std::map<Plexo::IntfId, InterfaceKind> l3Interfaces;
  /// Those of kind `vlan` with their VLAN numbers.
  std::map<Plexo::IntfId, Bridging::VlanId> vlanInterfaces;
  /// Those of kind `subInterface`.
  std::map<Plexo::IntfId, SubInterface> subInterfaces;
  /// Member port to port channel.
  std::map<Plexo::IntfId, Plexo::IntfId> channelOf;
  /// Interfaces that never have an L3 id.
  std::set<Plexo::IntfId> loopbacks;
  /// Every VLAN number that the configuration uses or names in a VLAN interface.
  std::set<Bridging::VlanId> usedVlans;
};

/// The L3 index of each interface that has one: no zero, and no value twice.
using L3Indexes = std::map<Plexo::IntfId, FyrL3Intf::L3Id>;

}  // namespace Agent
