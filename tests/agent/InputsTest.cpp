#include "agent/Inputs.h"

#include <gtest/gtest.h>

#include "agent/L3Indexes.h"
#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

Texts names(const std::set<Plexo::IntfId>& ids) {
  Texts texts;
  for (const auto id : ids) {
    texts.push_back(nameOf(id));
  }
  return texts;
}

TEST(Inputs, HoldOnlyVlanInterfacesWhoseNameTellsAVlanNumber) {
  const Configured read(R"({"VLAN": {"Vlan007": {"vlanid": "7"}, "blue": {"vlanid": 8}},
      "VLAN_INTERFACE": {"Vlan0": {}, "Vlan1": {}, "vlan4094": {}, "Vlan4095": {}, "Vlan007": {},
                         "blue": {}}})");
  EXPECT_EQ(names(inputsOf(read.theSwitch, L3Indexes()).vlanInterfaces),
            (Texts{"Vlan1", "vlan4094"}));
  EXPECT_EQ(briefly(read.problems).size(), 6U);
}

TEST(Inputs, HoldPortsAndIndexesAsTheyAreWithoutInternalVlans) {
  const Configured read(R"({"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet4": {}},
                            "VLAN_MEMBER": {"Vlan10|Ethernet0": {}}})");
  const Inputs inputs = inputsOf(read.theSwitch, assignL3Indexes(read.theSwitch));
  EXPECT_EQ(inputs.ports, read.theSwitch.ports);
  EXPECT_EQ(indexes(inputs.l3Indexes), (Texts{"Ethernet4 1"}));
}

TEST(Inputs, HoldReservedVlansInsteadOfIndexes) {
  const Configured read(R"({"INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})");
  ReservationRules rules;
  rules.range = {100, 100};
  VlanReservations reservations(rules);
  Problems problems;
  reservations.renew(read.theSwitch, "test.json", problems);
  const Inputs inputs = inputsOf(read.theSwitch, reservations);
  EXPECT_EQ(inputs.ports.at("Ethernet0"_intf), (SwitchPort{Bridging::SwitchportMode::routed, 100}));
  EXPECT_EQ(inputs.ports.at("Ethernet4"_intf), (SwitchPort{Bridging::SwitchportMode::routed, {}}));
  EXPECT_EQ(indexes(inputs.l3Indexes), Texts());
}

}  // namespace
}  // namespace Agent
