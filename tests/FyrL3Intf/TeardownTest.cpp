// How the machine is shut down: prepared to die by its host, and then let go.

#include <string>
#include <vector>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::SwitchportMode;
using Bridging::VlanId;
using Plexo::IntfId;

constexpr const char* function = "void FyrL3Intf::ConfigSm::doPrepareToDie()";
const std::string prepareTrace = "8 doPrepareToDie ConfigSm::doPrepareToDie()";

using Teardown = MachinesTest;

struct TeardownNotNeeded : testing::Test {
  TeardownNotNeeded() { world.start(); }

  [[nodiscard]] ConfigSm& machine() const { return *world.machine; }

  World world{noInternalVlans};
};

// ---------------------------------------------------------------------------------------------
// Internal VLANs not needed

TEST_F(TeardownNotNeeded, PreparingToDieWritesTwoTracesAndChangesNothing) {
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan10");
  world.l3Index("Ethernet1", 7);
  const auto before = textOf(*world.table) + textOf(machine());
  const auto readsBefore = world.table->readCount();
  Trace trace;
  machine().doPrepareToDie();
  EXPECT_EQ(
      trace.taken(),
      (Log{prepareTrace, "8 doPrepareToDie ConfigSm internalVlan not needed. Nothing to cleanup"}));
  EXPECT_EQ(textOf(*world.table) + textOf(machine()), before);
  EXPECT_EQ(world.table->readCount(), readsBefore);
}

using TeardownNotNeededDeath = TeardownNotNeeded;

TEST_F(TeardownNotNeededDeath, ALeftoverMachineIsFatal) {
  machine().newSwitchIntfConfigSm(otherEntry("Internal1", 10));
  EXPECT_FATAL(machine().doPrepareToDie(),
               machineAssertion(function, "switchIntfConfigSms() == 0"));
}

TEST_F(TeardownNotNeededDeath, ALeftoverWishIsFatal) {
  machine().desiredInternalVlanIdIs(IntfId("Ethernet1"), 10);
  EXPECT_FATAL(machine().doPrepareToDie(),
               machineAssertion(function, "desiredInternalVlanIds() == 0"));
}

TEST_F(TeardownNotNeededDeath, ALeftoverSetOfWishersIsFatal) {
  machine().desiredRoutedPortNameIs(VlanId(10), {});
  EXPECT_FATAL(machine().doPrepareToDie(),
               machineAssertion(function, "desiredRoutedPortNames() == 0"));
}

TEST_F(TeardownNotNeededDeath, MachinesAreLookedForBeforeWishesAndWishesBeforeSets) {
  machine().doSetDesiredInternalVlanId(IntfId("Ethernet1"), 10);
  EXPECT_FATAL(machine().doPrepareToDie(),
               machineAssertion(function, "desiredInternalVlanIds() == 0"));
  machine().newSwitchIntfConfigSm(otherEntry("Internal1", 10));
  EXPECT_FATAL(machine().doPrepareToDie(),
               machineAssertion(function, "switchIntfConfigSms() == 0"));
}

// ---------------------------------------------------------------------------------------------
// Internal VLANs needed

TEST_F(Teardown, EachMachinePreparesToDieBeforeItIsRemoved) {
  world.routedPort("Ethernet1", 10);
  world.routedPort("Ethernet2", 20);
  const auto order = machines();
  const auto listener = listenerOf(world.table);
  Log seen;
  listener->onKey = [&](IntfId) {
    for (const auto& intf : machines()) seen.push_back(intf);
    seen.emplace_back("-");
  };
  Trace trace;
  machine().doPrepareToDie();
  EXPECT_EQ(trace.taken(),
            (Log{prepareTrace, preparesToDieTrace(order[0]), wishTrace(0), grantTrace(0),
                 preparesToDieTrace(order[1]), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(seen, (Log{order[0], order[1], "-", order[1], "-"}));
  EXPECT_EQ(machine().switchIntfConfigSms(), 0);
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.forward(), Forward());
  EXPECT_EQ(world.reverse(), Reverse());
}

TEST_F(Teardown, EachVlanInterfaceOfTheDirectoryIsWithdrawn) {
  for (const char* intf : {"Vlan10", "Vlan20", "Vlan30"}) world.vlanIntf(intf);
  Trace trace;
  machine().doPrepareToDie();
  EXPECT_EQ(trace.taken(), (Log{prepareTrace, wishTrace(0), grantTrace(0), wishTrace(0),
                                grantTrace(0), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.wishers(), Wishers());
  EXPECT_EQ(world.forward(), Forward());
}

TEST_F(Teardown, VlanInterfacesAreWithdrawnInIterationOrder) {
  for (const char* intf : {"Vlan10", "Vlan20", "Vlan30"}) world.vlanIntf(intf);
  const auto listener = listenerOf(world.table);
  machine().doPrepareToDie();
  EXPECT_EQ(listener->heard, namesOf(world.statusDir->intfStatusIteratorConst()));
}

TEST_F(Teardown, PortsAreWithdrawnBeforeVlanInterfacesAndHandOver) {
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan10");
  Trace trace;
  machine().doPrepareToDie();
  EXPECT_EQ(trace.taken(), (Log{prepareTrace, preparesToDieTrace(), wishTrace(0), grantTrace(0),
                                grantTrace(10), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(world.forward(), Forward());
}

TEST_F(Teardown, AVlanInterfaceIsWithdrawnWhateverItsNumber) {
  world.vlanIntf("Vlan4095");
  machine().doSetDesiredInternalVlanId(IntfId("Vlan4095"), 10);
  EXPECT_NO_THROW(machine().doPrepareToDie());
  EXPECT_EQ(world.wishes(), Wishes());
}

TEST_F(Teardown, WhatTheL3IndexDirectoryGaveStays) {
  world.l3Index("Loopback0", 7);
  world.l3Index("Loopback1", 8);
  world.routedPort("Ethernet1", 10);
  machine().doPrepareToDie();
  EXPECT_EQ(world.forward(), (Forward{{"Loopback0", 7}, {"Loopback1", 8}}));
  EXPECT_EQ(world.reverse(), (Reverse{{7, "Loopback0"}, {8, "Loopback1"}}));
  EXPECT_EQ(machine().fyrL3IndexDir(), world.indexDir);
}

TEST_F(Teardown, AMissingStatusDirectoryIsTreatedAsEmpty) {
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan20");
  machine().vlanIntfStatusDirIs(nullptr);
  Trace trace;
  machine().doPrepareToDie();
  EXPECT_EQ(trace.taken(), (Log{prepareTrace, preparesToDieTrace(), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan20", 20}}));
}

TEST_F(Teardown, WhatRemainsAfterAllWishesAreWithdrawnStays) {
  machine().doSetDesiredInternalVlanId(IntfId("Port-Channel1"), 10);
  Trace trace;
  machine().doPrepareToDie();
  EXPECT_EQ(trace.taken(), (Log{prepareTrace}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Port-Channel1", 10}}));
}

TEST_F(Teardown, PreparingTwiceFindsNothingTheSecondTime) {
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan20");
  machine().doPrepareToDie();
  const auto before = state();
  Trace trace;
  machine().doPrepareToDie();
  EXPECT_EQ(trace.taken(), (Log{prepareTrace, wishTrace(0)}));
  EXPECT_EQ(state(), before);
}

TEST_F(Teardown, TheReactorsStayAliveAfterPreparing) {
  world.routedPort("Ethernet1", 10);
  machine().doPrepareToDie();
  world.routedPort("Ethernet1", 30);
  EXPECT_EQ(world.wishes(), Wishes());
  world.routedPort("Ethernet2", 20);
  world.vlanIntf("Vlan30");
  world.l3Index("Loopback0", 7);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 20}, {"Vlan30", 30}, {"Loopback0", 7}}));
}

TEST_F(Teardown, AWithdrawalThatFailsStopsPreparing) {
  world.vlanIntf("Vlan10");
  world.routedPort("Ethernet1", 10);
  world.l3Index("Ethernet1", 5000);
  try {
    machine().doPrepareToDie();
    ADD_FAILURE();
  } catch (const Kob::RangeException& exception) {
    EXPECT_STREQ(exception.what(), "VlanIdOrNone::value > 4094 not allowed");
  }
  EXPECT_EQ(machines(), (Log{"Ethernet1"}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan10", 10}}));
}

TEST_F(Teardown, ANewMachineOnTheSameTableFindsItClean) {
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan20");
  machine().doPrepareToDie();
  world.machine = nullptr;
  world.start();
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}, {"Vlan20", 20}}));
}

// ---------------------------------------------------------------------------------------------
// Letting go

TEST_F(Teardown, ADestroyedMachineHearsOfNoInputAnyMore) {
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan20");
  world.l3Index("Loopback0", 7);
  machine().doPrepareToDie();
  world.machine = nullptr;
  const auto before = textOf(*world.table);
  Trace trace;
  world.routedPort("Ethernet1", 30);
  world.portDel("Ethernet1");
  world.routedPort("Ethernet2", 10);
  world.vlanIntfDel("Vlan20");
  world.l3IndexDel("Loopback0");
  EXPECT_EQ(trace.taken(), Log());
  EXPECT_EQ(textOf(*world.table), before);
  EXPECT_EQ(world.config->kobNotifiees().members(), 0);
  EXPECT_EQ(world.statusDir->kobNotifiees().members(), 0);
  EXPECT_EQ(world.indexDir->kobNotifiees().members(), 0);
}

TEST_F(Teardown, AMachineThatWasNotPreparedLeavesItsWishesInTheTable) {
  world.routedPort("Ethernet1", 10);
  const auto watched = entry();
  Trace trace;
  world.machine = nullptr;
  EXPECT_EQ(trace.taken(), Log());
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}}));
  EXPECT_EQ(watched->kobNotifiees().members(), 0);
}

TEST_F(Teardown, ADestroyedMachineReleasesEverythingThatItHeld) {
  world.routedPort("Ethernet1", 10);
  const auto watched = entry();
  world.machine = nullptr;
  EXPECT_EQ(world.table->references(), 1);
  EXPECT_EQ(world.activity->references(), 1);
  EXPECT_EQ(world.config->references(), 1);
  EXPECT_EQ(world.statusDir->references(), 1);
  EXPECT_EQ(world.indexDir->references(), 1);
  EXPECT_EQ(watched->references(), 2);
}

TEST_F(Teardown, ReactorsThatSomebodyHoldsAreZombiesWithoutAnOwner) {
  const auto config = machine().newConfig(world.config);
  const auto statusDir = machine().newVlanIntfStatusDir(world.statusDir);
  const auto indexDir = machine().newFyrL3IndexDir(world.indexDir);
  world.machine = nullptr;
  EXPECT_TRUE(config->kobMarkedForDeletion());
  EXPECT_TRUE(statusDir->kobMarkedForDeletion());
  EXPECT_TRUE(indexDir->kobMarkedForDeletion());
  EXPECT_EQ(config->owner(), nullptr);
  EXPECT_EQ(statusDir->owner(), nullptr);
  EXPECT_EQ(indexDir->owner(), nullptr);
  Trace trace;
  config->onSwitchIntfConfig(IntfId("Ethernet1"));
  config->onSwitchIntfConfig();
  statusDir->onIntfStatus(IntfId("Vlan10"));
  statusDir->onIntfStatus();
  indexDir->onL3Index(IntfId("Ethernet1"));
  EXPECT_EQ(trace.taken(), Log());
}

TEST_F(Teardown, WhatWasDeferredIsForgotten) {
  world.activity->deferralIs(true);
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan20");
  world.l3Index("Loopback0", 7);
  world.machine = nullptr;
  EXPECT_EQ(world.activity->activitySm()->pendings(), 0);
  world.activity->deferralIs(false);
  EXPECT_EQ(world.forward(), Forward());
}

TEST_F(Teardown, AMachineWithoutInputsCanBeDestroyed) {
  machine().configDel();
  machine().vlanIntfStatusDirDel();
  machine().fyrL3IndexDirDel();
  world.machine = nullptr;
  EXPECT_EQ(world.table->references(), 1);
}

TEST_F(Teardown, RemovingAllMachinesCallsNothingOnThem) {
  world.routedPort("Ethernet1", 10);
  world.routedPort("Ethernet2", 20);
  Trace trace;
  machine().switchIntfConfigSmDelAll();
  EXPECT_EQ(trace.taken(), Log());
  EXPECT_EQ(machine().switchIntfConfigSms(), 0);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}, {"Ethernet2", 20}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}, {"Ethernet2", 20}}));
}

TEST_F(Teardown, AMachineThatLostItsEntryGoesWithTheOthers) {
  world.routedPort("Ethernet1", 10);
  portMachine()->switchIntfConfigDel();
  const auto watched = entry();
  machine().doPrepareToDie();
  world.machine = nullptr;
  EXPECT_EQ(world.table->references(), 1);
  EXPECT_EQ(watched->kobNotifiees().members(), 0);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
