#include "agent/TableHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Kob/Trace.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

using testing::HasSubstr;

TEST(TableHost, LetsTheTableFollowTheL3IndexDirectory) {
  TableHost host(false);
  host.config().switchIntfConfigIs("Ethernet0"_intf, Bridging::SwitchportMode::routed, 100);
  host.l3IndexDir().l3IndexIs("Ethernet0"_intf, FyrL3Intf::L3Id(7));
  EXPECT_EQ(host.table().intfIdToL3Id("Ethernet0"_intf).value(), 7U);
  EXPECT_EQ(host.table().l3IdToIntfId(FyrL3Intf::L3Id(7)), "Ethernet0"_intf);
  EXPECT_EQ(host.machine().desiredInternalVlanIds(), 0U);
}

TEST(TableHost, LetsTheTableFollowPortsAndVlanInterfacesWhereInternalVlansAreNeeded) {
  TableHost host(true);
  EXPECT_TRUE(host.table().internalVlanNeeded());
  host.config().switchIntfConfigIs("Ethernet0"_intf, Bridging::SwitchportMode::routed, 100);
  host.vlanIntfStatusDir().intfStatusIs("Vlan10"_intf);
  EXPECT_EQ(host.table().intfIdToL3Id("Ethernet0"_intf).value(), 100U);
  EXPECT_EQ(host.table().intfIdToL3Id("Vlan10"_intf).value(), 10U);
  EXPECT_EQ(host.machine().desiredInternalVlanId("Ethernet0"_intf).value(), 100U);
}

TEST(TableHost, WithdrawsEverythingAtTheEnd) {
  std::ostringstream trace;
  Kob::TraceFacility& facility = Kob::TraceFacility::named("FyrL3IntfSm");
  std::ostream* former = Kob::traceStream();
  {
    TableHost host(true);
    host.vlanIntfStatusDir().intfStatusIs("Vlan10"_intf);
    Kob::traceStreamIs(&trace);
    facility.levelsUpToIs(9);
  }
  facility.onIs(false);
  Kob::traceStreamIs(former);
  EXPECT_THAT(trace.str(), HasSubstr("ConfigSm::doPrepareToDie()"));
  EXPECT_THAT(trace.str(), HasSubstr("ConfigSm::doSetInternalVlanId( 0 )"));
}

TEST(TableHost, LeavesEverythingWhenItIsToldTo) {
  Kob::Ptr<FyrL3Intf::Table> table;
  {
    TableHost host(true);
    host.vlanIntfStatusDir().intfStatusIs("Vlan10"_intf);
    host.leaveEverything();
    table = host.machine().fyrL3IntfTable();
  }
  EXPECT_EQ(table->intfIdToL3Id("Vlan10"_intf).value(), 10U);
}

}  // namespace
}  // namespace Agent
