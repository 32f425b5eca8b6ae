#pragma once

// What the tests of the interfaces' machines share: a started world, its machines by name, the
// traces that they leave.

#include <cstdint>
#include <string>
#include <vector>

#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {

/// A world with internal VLANs whose machine runs.
struct MachinesTest : testing::Test {
  MachinesTest() { world.start(); }

  [[nodiscard]] ConfigSm& machine() const { return *world.machine; }
  /// The machine of the interface, or null.
  [[nodiscard]] Kob::Ptr<SwitchIntfConfigSm> portMachine(const char* intf = "Ethernet1") const {
    return machine().switchIntfConfigSm(Plexo::IntfId(intf));
  }
  /// The interface's entry in the configuration, or null.
  [[nodiscard]] Kob::Ptr<Bridging::SwitchIntfConfig> entry(const char* intf = "Ethernet1") const {
    return world.config->switchIntfConfig(Plexo::IntfId(intf));
  }
  [[nodiscard]] std::vector<std::string> machines() const {
    return namesOf(machine().switchIntfConfigSmIteratorConst());
  }
  /// Both maps, the change counter, the wishes.
  [[nodiscard]] std::string state() const { return textOf(*world.table) + textOf(machine()); }

  World world{internalVlans};
};

/// An entry of a routed port that stands in no configuration.
inline Kob::Ptr<Bridging::SwitchIntfConfig> otherEntry(const char* intf, std::uint16_t vlan) {
  return new Bridging::SwitchIntfConfig(Plexo::IntfId(intf), Bridging::SwitchportMode::routed,
                                        Bridging::VlanId(vlan));
}

inline std::string keyedTrace(const std::string& intf = "Ethernet1") {
  return "8 handleSwitchIntfConfig ConfigSm::handleSwitchIntfConfig( " + intf + " )";
}
inline std::string statesWishTrace(const std::string& intf = "Ethernet1") {
  return "8 handleSwitchportModeAndNativeVlan SwitchIntfConfigSm( " + intf +
         " )::handleSwitchportModeAndNativeVlan()";
}
inline std::string preparesToDieTrace(const std::string& intf = "Ethernet1") {
  return "8 doPrepareToDie SwitchIntfConfigSm( " + intf + " )::doPrepareToDie()";
}
inline std::string wishTrace(unsigned vlan) {
  return "8 doSetDesiredInternalVlanId ConfigSm::doSetDesiredInternalVlanId( " +
         std::to_string(vlan) + " )";
}
inline std::string grantTrace(unsigned vlan) {
  return "8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( " + std::to_string(vlan) + " )";
}

/// The report of the dereference of a null pointer.
inline const std::string nullDereference = ".*: Assertion `ptr != 0' failed\\.\n";

}  // namespace FyrL3Intf::Tests
