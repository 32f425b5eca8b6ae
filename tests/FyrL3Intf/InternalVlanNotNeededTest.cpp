// A switch that needs no internal VLANs: the bridging configuration and the VLAN interfaces are
// traced, and nothing else happens to them.

#include <gtest/gtest.h>

#include <string>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

Log switchIntfTraces(const std::string& intf) {
  return {"8 handleSwitchIntfConfig ConfigSm::handleSwitchIntfConfig( " + intf + " )",
          "8 handleSwitchIntfConfig ConfigSm internalVlan not needed. SwitchIntfConfig won't be "
          "processed for intf: " +
              intf};
}

Log vlanIntfTraces(const std::string& intf) {
  return {"8 handleVlanIntfStatus ConfigSm::handleVlanIntfStatus(" + intf + ")",
          "8 handleVlanIntfStatus ConfigSm internalVlan not needed. VlanIntfStatus won't be "
          "processed for Intf: " +
              intf};
}

const Log allSwitchIntfTraces{
    "8 handleSwitchIntfConfig ConfigSm::handleSwitchIntfConfig()",
    "8 handleSwitchIntfConfig ConfigSm internalVlan not needed. SwitchIntfConfig won't be "
    "processed"};

const Log allVlanIntfTraces{
    "8 handleVlanIntfStatus ConfigSm::handleVlanIntfStatus()",
    "8 handleVlanIntfStatus ConfigSm internalVlan not needed. VlanIntfStatus won't be processed"};

Log operator+(Log head, const Log& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

class InternalVlanNotNeeded : public testing::Test {
 protected:
  World world{noInternalVlans};

  void SetUp() override { world.start(); }

  void expectNothingChanged() const {
    EXPECT_EQ(world.machine->switchIntfConfigSms(), 0U);
    EXPECT_EQ(world.wishes(), Wishes{});
    EXPECT_EQ(world.wishers(), Wishers{});
    EXPECT_EQ(world.forward(), Forward{});
    EXPECT_EQ(world.reverse(), Reverse{});
    EXPECT_EQ(world.table->changeCount(), 0U);
  }
};

TEST_F(InternalVlanNotNeeded, TheMachineSaysSo) {
  EXPECT_FALSE(world.machine->internalVlanNeeded());
}

TEST_F(InternalVlanNotNeeded, AConfiguredInterfaceIsTracedTwiceAndGetsNoMachine) {
  Trace trace;
  world.routedPort("Ethernet1", 100);
  EXPECT_EQ(trace.taken(), switchIntfTraces("Ethernet1"));
  world.portDel("Ethernet1");
  EXPECT_EQ(trace.taken(), switchIntfTraces("Ethernet1"));
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, AChangeWithinAnEntryIsNotEvenTraced) {
  world.routedPort("Ethernet1", 100);
  Trace trace;
  world.routedPort("Ethernet1", 101);
  world.port("Ethernet1", Bridging::SwitchportMode::access);
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(InternalVlanNotNeeded, TheWholeConfigurationIsTracedAsAWholeAndEntryByEntry) {
  world.routedPort("Ethernet1", 100);
  world.routedPort("Ethernet2", 100);
  Log expected = allSwitchIntfTraces;
  for (const auto& intf : namesOf(world.config->switchIntfConfigIteratorConst())) {
    expected = expected + switchIntfTraces(intf);
  }
  Trace trace;
  world.machine->handleSwitchIntfConfig();
  EXPECT_EQ(trace.taken(), expected);
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, AnEmptyConfigurationIsTracedAsAWhole) {
  Trace trace;
  world.machine->handleSwitchIntfConfig();
  EXPECT_EQ(trace.taken(), allSwitchIntfTraces);
}

TEST_F(InternalVlanNotNeeded, AnInterfaceThatIsInNoConfigurationIsTracedAndNothingElse) {
  world.machine->configDel();
  Trace trace;
  world.machine->handleSwitchIntfConfig("Ethernet1"_intf);
  EXPECT_EQ(trace.taken(), switchIntfTraces("Ethernet1"));
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, AVlanInterfaceIsTracedTwiceAndWishesForNothing) {
  Trace trace;
  world.vlanIntf("Vlan10");
  EXPECT_EQ(trace.taken(), vlanIntfTraces("Vlan10"));
  world.vlanIntfDel("Vlan10");
  EXPECT_EQ(trace.taken(), vlanIntfTraces("Vlan10"));
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, AnInterfaceThatIsNoVlanInterfaceIsNotRefused) {
  Trace trace;
  world.vlanIntf("Ethernet1");
  EXPECT_EQ(trace.taken(), vlanIntfTraces("Ethernet1"));
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, ANumberThatNoVlanCanHaveIsNotRefused) {
  EXPECT_NO_THROW(world.machine->handleVlanIntfStatus("Vlan5000"_intf));
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, TheWholeStatusDirectoryIsTracedAsAWholeAndNotEntryByEntry) {
  world.vlanIntf("Vlan10");
  world.vlanIntf("Vlan20");
  Trace trace;
  world.machine->handleVlanIntfStatus();
  EXPECT_EQ(trace.taken(), allVlanIntfTraces);
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, NoStatusDirectoryMakesNoDifference) {
  world.machine->vlanIntfStatusDirDel();
  Trace trace;
  world.machine->handleVlanIntfStatus();
  world.machine->handleVlanIntfStatus("Vlan10"_intf);
  EXPECT_EQ(trace.taken(), allVlanIntfTraces + vlanIntfTraces("Vlan10"));
}

TEST_F(InternalVlanNotNeeded, NothingIsTracedWhileLevel8IsOff) {
  Trace upTo7(7);
  world.routedPort("Ethernet1", 100);
  world.vlanIntf("Vlan10");
  world.machine->handleSwitchIntfConfig();
  world.machine->handleVlanIntfStatus();
  world.machine->doPrepareToDie();
  EXPECT_EQ(upTo7.taken(), Log{});
}

TEST_F(InternalVlanNotNeeded, InputsThatAreThereAtTheStartAreTracedInTheOrderOfTheHandlers) {
  world.routedPort("Ethernet1", 100);
  world.vlanIntf("Vlan10");
  world.machine = nullptr;
  Trace trace;
  world.start();
  EXPECT_EQ(trace.taken(), allSwitchIntfTraces + switchIntfTraces("Ethernet1") + allVlanIntfTraces +
                               Log{"7 handleL3Index ConfigSm::handleL3Index()"});
  expectNothingChanged();
}

// ---------------------------------------------------------------------------------------------
// Prepare to die

const Log prepareTraces{"8 doPrepareToDie ConfigSm::doPrepareToDie()",
                        "8 doPrepareToDie ConfigSm internalVlan not needed. Nothing to cleanup"};

TEST_F(InternalVlanNotNeeded, PreparingToDieYieldsTwoTracesAndChangesNothing) {
  world.routedPort("Ethernet1", 100);
  world.vlanIntf("Vlan10");
  Trace trace;
  world.machine->doPrepareToDie();
  EXPECT_EQ(trace.taken(), prepareTraces);
  expectNothingChanged();
}

TEST_F(InternalVlanNotNeeded, PreparingToDieLeavesWhatTheL3IndexDirectoryGave) {
  world.l3Index("Ethernet1", 5);
  world.machine->doPrepareToDie();
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}}));
  EXPECT_EQ(world.reverse(), (Reverse{{5, "Ethernet1"}}));
  EXPECT_EQ(world.table->changeCount(), 2U);
}

TEST_F(InternalVlanNotNeeded, TheMachineGoesOnAfterItIsPreparedToDie) {
  world.machine->doPrepareToDie();
  EXPECT_EQ(world.machine->fyrL3IndexDir(), world.indexDir);
  world.l3Index("Ethernet1", 5);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}}));
}

/// State that cannot come about without internal VLANs, put there by hand. The report of the one
/// assertion is all that is written; the trace shows that the operation began and did not end.
class LeftOver : public InternalVlanNotNeeded {
 protected:
  void machineIsThere() {
    world.port("Ethernet1", Bridging::SwitchportMode::access);
    world.machine->newSwitchIntfConfigSm(world.config->switchIntfConfig("Ethernet1"_intf));
    ASSERT_EQ(world.machine->switchIntfConfigSms(), 1U);
  }
  void wishIsThere() { world.machine->newDesiredInternalVlanId("Ethernet1"_intf, 100); }
  void wisherIsThere() { world.machine->newDesiredRoutedPortName(100, ConfigSm::IntfSet()); }
  void expectFatal(const char* condition) {
    EXPECT_FATAL(
        {
          Trace trace;
          onAbortWrite([&] { return testing::PrintToString(trace.taken()); });
          world.machine->doPrepareToDie();
        },
        machineAssertion("void FyrL3Intf::ConfigSm::doPrepareToDie()", condition) +
            literally(testing::PrintToString(Log{prepareTraces.front()})));
  }
};

TEST_F(LeftOver, MachinesAreFatalBeforeAnythingElse) {
  machineIsThere();
  wishIsThere();
  wisherIsThere();
  expectFatal("switchIntfConfigSms() == 0");
}

TEST_F(LeftOver, WishesAreFatalBeforeWishers) {
  wishIsThere();
  wisherIsThere();
  expectFatal("desiredInternalVlanIds() == 0");
}

TEST_F(LeftOver, WishersAreFatal) {
  wisherIsThere();
  expectFatal("desiredRoutedPortNames() == 0");
}

}  // namespace
}  // namespace FyrL3Intf::Tests
