#pragma once

// What the program says of interfaces and problems, as text and as JSON. All that is said of an
// interface comes out of the library.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "agent/Problem.h"
#include "agent/Switch.h"

namespace Agent {

/// One L3 interface as the library has it.
struct InterfaceEntry {
  Plexo::IntfId id;
  InterfaceKind kind;
  /// Zero where the table has none.
  FyrL3Intf::L3Id l3Id;
  /// The internal VLAN that the interface wishes for.
  Bridging::VlanIdOrNone wish;
  /// The interface that has that VLAN; empty without a wish.
  Plexo::IntfId holder;

  /// "holding" when the interface has its L3 id in the table, "waiting" when it only wishes for a
  /// VLAN, else "none".
  [[nodiscard]] std::string_view state() const {
    return l3Id ? "holding" : wish ? "waiting" : "none";
  }
};

[[nodiscard]] InterfaceEntry entryOf(Plexo::IntfId id, InterfaceKind kind,
                                     const FyrL3Intf::ConfigSm& machine);

/// In natural order of the names.
using InterfaceEntries = std::vector<InterfaceEntry>;

/// Every L3 interface of the switch.
[[nodiscard]] InterfaceEntries interfaceEntries(const Switch& theSwitch,
                                                const FyrL3Intf::ConfigSm& machine);

/// Two aligned tables: interfaces with their L3 ids, and their wishes where internal VLANs are
/// needed; and L3 ids with the interfaces that the machine's table gives back for them. With
/// `isColoured`, headings and missing ids carry terminal colours.
[[nodiscard]] std::string textOf(const InterfaceEntries& entries,
                                 const FyrL3Intf::ConfigSm& machine, bool isColoured);

/// {"interface": ..., "kind": ..., "l3Id": ..., "state": ...}, and where internal VLANs are needed
/// also "wish" and "holder".
[[nodiscard]] nlohmann::ordered_json jsonOf(const InterfaceEntry& entry, bool internalVlanNeeded);

[[nodiscard]] nlohmann::ordered_json jsonOf(const Problem& problem);

/// One line for each problem; nothing in it but printable ASCII, line ends and colours.
[[nodiscard]] std::string textOf(const Problems& problems, bool isColoured);

}  // namespace Agent
