#include "agent/SelfCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/TableHost.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;
using testing::EndsWith;
using testing::StartsWith;

constexpr auto routed = Bridging::SwitchportMode::routed;

TEST(SelfCheck, FindsAHealthyStateConsistent) {
  for (const bool internalVlanNeeded : {false, true}) {
    TableHost host(internalVlanNeeded);
    host.config().switchIntfConfigIs("Ethernet0"_intf, routed, 100);
    host.vlanIntfStatusDir().intfStatusIs("Vlan10"_intf);
    if (!internalVlanNeeded) host.l3IndexDir().l3IndexIs("Vlan10"_intf, FyrL3Intf::L3Id(1));
    const SelfCheck check = selfCheck(host.machine());
    EXPECT_TRUE(check.isConsistent);
    EXPECT_EQ(check.report, "");
  }
}

TEST(SelfCheck, SurvivesABreachAndReportsIt) {
  TableHost host(true);
  host.config().switchIntfConfigIs("Ethernet0"_intf, routed, 100);
  host.machine().desiredInternalVlanIdIs("Ethernet0"_intf, 101);
  const SelfCheck check = selfCheck(host.machine());
  EXPECT_FALSE(check.isConsistent);
  EXPECT_THAT(check.report,
              EndsWith("void FyrL3Intf::ConfigSm::doVerify(): Assertion "
                       "`desiredInternalVlanId( iter->intfId() ) == vlanId' failed."));
  host.machine().desiredInternalVlanIdIs("Ethernet0"_intf, 100);
  EXPECT_TRUE(selfCheck(host.machine()).isConsistent);
}

TEST(SelfCheck, ReportsTheValuesThatTheLibraryNames) {
  TableHost host(false);
  host.l3IndexDir().l3IndexIs("Ethernet0"_intf, FyrL3Intf::L3Id(7));
  const auto table = host.machine().fyrL3IntfTable();
  table->intfL3IndexIs("Ethernet0"_intf, FyrL3Intf::L3Id(8));
  const SelfCheck check = selfCheck(host.machine());
  EXPECT_FALSE(check.isConsistent);
  EXPECT_THAT(check.report,
              StartsWith("Failed(l3Index->l3Id() == tableId)  Mnemo L3 index for IntfId: Ethernet0 "
                         "is 7. Table index is 8"));
  table->intfL3IndexIs("Ethernet0"_intf, FyrL3Intf::L3Id(7));
}

TEST(SelfCheck, ReportsAnExceptionOutOfTheCheck) {
  TableHost host(true);
  const FyrL3Intf::L3Id beyond(std::uint64_t{1} << 16U);
  host.machine().fyrL3IntfTable()->routedPortNameIs(beyond, "Ethernet0"_intf);
  host.machine().newDesiredRoutedPortName(100, {})->valueIs([] {
    FyrL3Intf::ConfigSm::IntfSet set;
    set.memberIs("Ethernet0"_intf, true);
    return set;
  }());
  host.config().newSwitchIntfConfig("Ethernet0"_intf, routed, 100);
  host.machine().newDesiredInternalVlanId("Ethernet0"_intf, 100);
  const SelfCheck check = selfCheck(host.machine());
  EXPECT_FALSE(check.isConsistent);
  EXPECT_EQ(check.report, "VlanId::value < 1 or > 4094 not allowed");
}

}  // namespace
}  // namespace Agent
