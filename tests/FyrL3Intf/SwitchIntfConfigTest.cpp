// From the configuration of an interface to its wish: the machines of the interfaces, the handlers
// that make and remove them, and what each of them does.

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/Forged.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::SwitchportMode;
using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Plexo::IntfId;

const std::string fullTrace = "8 handleSwitchIntfConfig ConfigSm::handleSwitchIntfConfig()";

using SwitchIntfConfig = MachinesTest;

struct SwitchIntfConfigNotNeeded : testing::Test {
  SwitchIntfConfigNotNeeded() { world.start(); }
  World world{noInternalVlans};
};

std::string printed(const Kob::Ptr<Bridging::SwitchIntfConfig>& entry) {
  std::ostringstream text;
  text << entry;
  return text.str();
}

// ---------------------------------------------------------------------------------------------
// Internal VLANs not needed

TEST_F(SwitchIntfConfigNotNeeded, AKeyedNotificationWritesTwoTracesAndMakesNoMachine) {
  Trace trace;
  world.routedPort("Ethernet1", 10);
  EXPECT_EQ(trace.taken(),
            (Log{keyedTrace(),
                 "8 handleSwitchIntfConfig ConfigSm internalVlan not needed. SwitchIntfConfig "
                 "won't be processed for intf: Ethernet1"}));
  EXPECT_EQ(world.machine->switchIntfConfigSms(), 0);
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.table->readCount(), 0);
  EXPECT_EQ(world.table->changeCount(), 0);
}

TEST_F(SwitchIntfConfigNotNeeded, TheFullHandlerWritesItsOwnLineAndOnePerEntry) {
  world.routedPort("Ethernet1", 10);
  world.routedPort("Ethernet2", 10);
  Log expected{fullTrace,
               "8 handleSwitchIntfConfig ConfigSm internalVlan not needed. SwitchIntfConfig won't "
               "be processed"};
  for (const auto& intf : namesOf(world.config->switchIntfConfigIteratorConst())) {
    expected.push_back(keyedTrace(intf));
    expected.push_back(
        "8 handleSwitchIntfConfig ConfigSm internalVlan not needed. SwitchIntfConfig won't be "
        "processed for intf: " +
        intf);
  }
  Trace trace;
  world.machine->handleSwitchIntfConfig();
  EXPECT_EQ(trace.taken(), expected);
  EXPECT_EQ(world.machine->switchIntfConfigSms(), 0);
}

TEST_F(SwitchIntfConfigNotNeeded, AnEntryThatChangesOrLeavesIsOnlyTraced) {
  world.routedPort("Ethernet1", 10);
  Trace trace;
  world.routedPort("Ethernet1", 20);
  EXPECT_EQ(trace.taken(), Log());
  world.portDel("Ethernet1");
  EXPECT_EQ(trace.taken(),
            (Log{keyedTrace(),
                 "8 handleSwitchIntfConfig ConfigSm internalVlan not needed. SwitchIntfConfig "
                 "won't be processed for intf: Ethernet1"}));
}

TEST_F(SwitchIntfConfigNotNeeded, TheKeyedHandlerNeedsNoConfiguration) {
  world.machine->configDel();
  EXPECT_NO_THROW(world.machine->handleSwitchIntfConfig(IntfId("Ethernet1")));
}

// ---------------------------------------------------------------------------------------------
// Entries that come, change and go

TEST_F(SwitchIntfConfig, ANewRoutedPortGetsAMachineAndHoldsItsNativeVlan) {
  world.routedPort("Ethernet1", 10);
  EXPECT_EQ(machines(), (Log{"Ethernet1"}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}}));
}

TEST_F(SwitchIntfConfig, ANewRoutedPortWhoseVlanIsHeldGetsAMachineAndWaits) {
  world.routedPort("Ethernet1", 10);
  world.routedPort("Ethernet2", 10);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}, {"Ethernet2", 10}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}}));
}

TEST_F(SwitchIntfConfig, OnlyModeFiveGivesAWishAndGoingBackRestoresIt) {
  world.routedPort("Ethernet1", 10);
  for (const unsigned mode : {0U, 1U, 2U, 3U, 4U, 6U, 7U, 5U + 256U, 5U + 65536U, 0xFFFFFFFFU}) {
    world.port("Ethernet1", static_cast<SwitchportMode>(mode), VlanId(10));
    EXPECT_EQ(world.wishes(), Wishes()) << mode;
    EXPECT_EQ(world.forward(), Forward()) << mode;
    world.port("Ethernet1", static_cast<SwitchportMode>(5), VlanId(10));
    EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}})) << mode;
  }
  EXPECT_EQ(machines(), (Log{"Ethernet1"}));
}

TEST_F(SwitchIntfConfig, ANewPortInAnotherModeGetsAMachineAndNoWish) {
  world.port("Ethernet1", SwitchportMode::trunk, VlanId(10));
  EXPECT_EQ(machines(), (Log{"Ethernet1"}));
  EXPECT_EQ(world.wishes(), Wishes());
}

TEST_F(SwitchIntfConfig, AChangedNativeVlanMovesTheWishInOneCall) {
  world.routedPort("Ethernet1", 10);
  const auto listener = listenerOf(world.table);
  Trace trace;
  world.routedPort("Ethernet1", 20);
  EXPECT_EQ(trace.taken(), (Log{statesWishTrace(), wishTrace(20), grantTrace(20)}));
  EXPECT_EQ(listener->heard, (Log{"Ethernet1"}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 20}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 20}}));
}

TEST_F(SwitchIntfConfig, ARoutedPortWithoutNativeVlanWishesForNothing) {
  world.port("Ethernet1", SwitchportMode::routed);
  EXPECT_EQ(world.wishes(), Wishes());
  world.routedPort("Ethernet1", 10);
  world.port("Ethernet1", SwitchportMode::routed, VlanId());
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.forward(), Forward());
}

TEST_F(SwitchIntfConfig, ARepeatedWishIsStatedAgainAndChangesNothing) {
  world.routedPort("Ethernet1", 10);
  const auto before = state();
  Trace trace;
  entry()->switchportModeAndNativeVlanNotify();
  EXPECT_EQ(trace.taken(), (Log{statesWishTrace(), wishTrace(10)}));
  EXPECT_EQ(state(), before);
}

TEST_F(SwitchIntfConfig, AnInternalInterfaceGetsAMachineAndNeverStatesAWishNotEvenNone) {
  Trace trace;
  world.routedPort("Internal1", 10);
  EXPECT_EQ(trace.taken(), (Log{keyedTrace("Internal1"), statesWishTrace("Internal1")}));
  EXPECT_EQ(machines(), (Log{"Internal1"}));
  machine().doSetDesiredInternalVlanId(IntfId("Internal1"), 30);
  world.routedPort("Internal1", 20);
  world.port("Internal1", SwitchportMode::access);
  EXPECT_EQ(world.wishes(), (Wishes{{"Internal1", 30}}));
}

TEST_F(SwitchIntfConfig, AnInternalInterfaceThatLeavesWithdrawsItsWishLikeAnyOther) {
  world.routedPort("Internal1", 10);
  machine().doSetDesiredInternalVlanId(IntfId("Internal1"), 30);
  Trace trace;
  world.portDel("Internal1");
  EXPECT_EQ(trace.taken(), (Log{keyedTrace("Internal1"), preparesToDieTrace("Internal1"),
                                wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(machines(), Log());
}

TEST_F(SwitchIntfConfig, AnEntryThatLeavesWithdrawsTheWishAndRemovesTheMachine) {
  world.routedPort("Ethernet1", 10);
  world.portDel("Ethernet1");
  EXPECT_EQ(machines(), Log());
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.forward(), Forward());
  EXPECT_EQ(world.reverse(), Reverse());
}

TEST_F(SwitchIntfConfig, TheMachineIsStillThereWhileItWithdrawsItsWish) {
  world.routedPort("Ethernet1", 10);
  const auto listener = listenerOf(world.table);
  Log seen;
  listener->onKey = [&](IntfId) { seen = machines(); };
  world.portDel("Ethernet1");
  EXPECT_EQ(seen, (Log{"Ethernet1"}));
  EXPECT_EQ(machines(), Log());
}

TEST_F(SwitchIntfConfig, TheMachineIsNotYetThereWhileItStatesItsFirstWish) {
  const auto listener = listenerOf(world.table);
  Log seen{"not told"};
  listener->onKey = [&](IntfId) { seen = machines(); };
  world.routedPort("Ethernet1", 10);
  EXPECT_EQ(seen, Log());
}

TEST_F(SwitchIntfConfig, APortThatComesAndGoesIsTracedStepByStep) {
  Trace trace;
  world.routedPort("Ethernet1", 10);
  EXPECT_EQ(trace.taken(), (Log{keyedTrace(), statesWishTrace(), wishTrace(10), grantTrace(10)}));
  world.port("Ethernet1", SwitchportMode::access, VlanId(10));
  EXPECT_EQ(trace.taken(), (Log{statesWishTrace(), wishTrace(0), grantTrace(0)}));
  world.portDel("Ethernet1");
  EXPECT_EQ(trace.taken(), (Log{keyedTrace(), preparesToDieTrace(), wishTrace(0)}));
}

TEST_F(SwitchIntfConfig, ALeftEntryIsNoLongerWatched) {
  world.routedPort("Ethernet1", 10);
  const auto former = entry();
  world.portDel("Ethernet1");
  Trace trace;
  former->nativeVlanIs(VlanId(20));
  EXPECT_EQ(trace.taken(), Log());
  EXPECT_EQ(former->kobNotifiees().members(), 0);
}

TEST_F(SwitchIntfConfig, APortWithoutAMachineLeavesWithoutEffectAndWithoutAnotherTrace) {
  world.routedPort("Ethernet1", 10);
  machine().doPrepareToDie();
  const auto before = state();
  Trace trace;
  world.portDel("Ethernet1");
  EXPECT_EQ(trace.taken(), (Log{keyedTrace()}));
  EXPECT_EQ(state(), before);
}

TEST_F(SwitchIntfConfig, AKnownEntryIsHandledAgainWithoutEffect) {
  world.routedPort("Ethernet1", 10);
  const auto known = portMachine();
  Trace trace;
  machine().handleSwitchIntfConfig(IntfId("Ethernet1"));
  EXPECT_EQ(trace.taken(), (Log{keyedTrace()}));
  EXPECT_EQ(portMachine(), known);
}

TEST_F(SwitchIntfConfig, TheFullHandlerVisitsTheEntriesInIterationOrder) {
  for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) world.routedPort(intf, 10);
  Log expected{fullTrace};
  for (const auto& intf : namesOf(world.config->switchIntfConfigIteratorConst())) {
    expected.push_back(keyedTrace(intf));
  }
  Trace trace;
  machine().handleSwitchIntfConfig();
  EXPECT_EQ(trace.taken(), expected);
}

TEST_F(SwitchIntfConfig, TheFullHandlerDoesNotRemoveMachinesWhoseEntriesVanished) {
  world.routedPort("Ethernet1", 10);
  world.routedPort("Ethernet2", 20);
  world.activity->deferralIs(true);
  world.portDel("Ethernet1");
  world.portDel("Ethernet2");
  world.activity->deferralIs(false);
  EXPECT_EQ(machine().switchIntfConfigSms(), 2);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}, {"Ethernet2", 20}}));
}

TEST_F(SwitchIntfConfig, TheFirstWishesAreStatedByTheConstructorInIterationOrder) {
  World other(internalVlans);
  for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) other.routedPort(intf, 10);
  const auto order = namesOf(other.config->switchIntfConfigIteratorConst());
  other.start();
  EXPECT_EQ(other.forward(), (Forward{{order.front(), 10}}));
}

TEST_F(SwitchIntfConfig, AMachineRunsInNoActivityAndHandlesChangesAtOnce) {
  world.routedPort("Ethernet1", 10);
  world.activity->deferralIs(true);
  world.routedPort("Ethernet1", 20);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 20}}));
  const auto port = portMachine();
  EXPECT_EQ(port->kobFwkActivity(), nullptr);
  EXPECT_EQ(Kob::Ptr<const SwitchIntfConfigSm>(port)->kobFwkActivity(), nullptr);
}

TEST_F(SwitchIntfConfig, AWishThatFailsLeavesNoMachineAndNobodyWatchingTheEntry) {
  world.l3Index("Ethernet1", 5000);
  world.routedPort("Ethernet1", 10);
  EXPECT_EQ(machines(), Log());
  EXPECT_EQ(entry()->kobNotifiees().members(), 0);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5000}}));
}

TEST_F(SwitchIntfConfig, AWishThatFailsPassesTheExceptionToADirectCaller) {
  world.l3Index("Ethernet1", 5000);
  const auto config = otherEntry("Ethernet1", 10);
  EXPECT_THROW(machine().switchIntfConfigSmIs(config), Kob::RangeException);
  EXPECT_EQ(config->kobNotifiees().members(), 0);
}

TEST_F(SwitchIntfConfig, ANativeVlanOutOfRangeIsRefusedAndTheEntryStaysWatched) {
  world.routedPort("Ethernet1", 10);
  entry()->nativeVlanIs(forged<VlanId>(4095));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  EXPECT_EQ(world.wishers(), Wishers());
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}}));
  EXPECT_EQ(entry()->kobNotifiees().members(), 1);
}

// ---------------------------------------------------------------------------------------------
// The collection of machines

TEST_F(SwitchIntfConfig, AskingAgainWithTheSameEntryReturnsTheSameMachine) {
  world.routedPort("Ethernet1", 10);
  Trace trace;
  EXPECT_EQ(machine().switchIntfConfigSmIs(entry()), portMachine());
  EXPECT_EQ(trace.taken(), Log());
}

TEST_F(SwitchIntfConfig, AskingWithANewEntryMakesItsMachine) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = machine().switchIntfConfigSmIs(config);
  EXPECT_EQ(made, portMachine());
  EXPECT_EQ(made->switchIntfConfig(), config);
  EXPECT_TRUE(made->hasNotificationActive());
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}}));
}

TEST_F(SwitchIntfConfig, AskingWithAnotherEntryOfTheInterfaceThrowsAndTheMachineStays) {
  world.routedPort("Ethernet1", 10);
  const auto known = portMachine();
  const auto other = otherEntry("Ethernet1", 20);
  try {
    machine().switchIntfConfigSmIs(other);
    ADD_FAILURE();
  } catch (const Kob::NameInUseException& exception) {
    EXPECT_EQ(exception.message().charPtr(),
              "Reinstantiating the pointer interface where constructor parameter attribute "
              "_switchIntfConfig has a different value of " +
                  printed(other) + " than the current value of " + printed(entry()) +
                  " not allowed");
    EXPECT_TRUE(exception.ids().contains(Kob::Exception::nameInUse));
  }
  EXPECT_EQ(portMachine(), known);
  EXPECT_EQ(known->switchIntfConfig(), entry());
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  EXPECT_EQ(other->kobNotifiees().members(), 0);
}

TEST_F(SwitchIntfConfig, TheExceptionSaysNullForAMachineWhoseEntryWasTakenAway) {
  const Kob::Ptr nameless(new Bridging::SwitchIntfConfig(IntfId()));
  const auto made = machine().switchIntfConfigSmIs(nameless);
  made->switchIntfConfigDel();
  try {
    machine().switchIntfConfigSmIs(nameless);
    ADD_FAILURE();
  } catch (const Kob::NameInUseException& exception) {
    EXPECT_EQ(exception.message().charPtr(),
              "Reinstantiating the pointer interface where constructor parameter attribute "
              "_switchIntfConfig has a different value of " +
                  printed(nameless) + " than the current value of null not allowed");
  }
}

TEST_F(SwitchIntfConfig, AnEntryThatGoesAndComesBackWhileDeferredStopsTheFullHandler) {
  world.routedPort("Ethernet1", 10);
  const auto former = entry();
  world.activity->deferralIs(true);
  world.portDel("Ethernet1");
  world.routedPort("Ethernet1", 20);
  world.activity->deferralIs(false);
  EXPECT_EQ(portMachine()->switchIntfConfig(), former);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
}

TEST_F(SwitchIntfConfig, AnotherConfigurationWithTheSameInterfaceThrowsAndStaysTheInput) {
  world.routedPort("Ethernet1", 10);
  const auto other = Bridging::configFactory("other");
  other->switchIntfConfigIs(IntfId("Ethernet1"), SwitchportMode::routed, VlanId(20));
  EXPECT_THROW(machine().configIs(other), Kob::NameInUseException);
  EXPECT_EQ(machine().config(), other);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  other->switchIntfConfigDel(IntfId("Ethernet1"));
  EXPECT_EQ(world.wishes(), Wishes());
}

TEST_F(SwitchIntfConfig, ANewMachineIsInsertedUnderItsInterface) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = machine().newSwitchIntfConfigSm(config);
  EXPECT_EQ(made->fwkKey(), IntfId("Ethernet1"));
  EXPECT_EQ(portMachine(), made);
  EXPECT_EQ(made->configSm(), &machine());
}

TEST_F(SwitchIntfConfig, RemovingAMachineReturnsItAndCallsNothingOnIt) {
  world.routedPort("Ethernet1", 10);
  const auto known = portMachine();
  const auto before = textOf(*world.table);
  Trace trace;
  EXPECT_EQ(machine().switchIntfConfigSmDel(IntfId("Ethernet1")), known);
  EXPECT_EQ(machine().switchIntfConfigSmDel(IntfId("Ethernet1")), nullptr);
  EXPECT_EQ(trace.taken(), Log());
  EXPECT_EQ(textOf(*world.table), before);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
}

TEST_F(SwitchIntfConfig, MachinesAreRemovedThroughAnIteratorOrAllAtOnce) {
  for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) world.routedPort(intf, 10);
  const auto order = machines();
  auto it = machine().switchIntfConfigSmIterator();
  EXPECT_EQ(machine().switchIntfConfigSmDel(it)->intfId(), IntfId(order[0].c_str()));
  ++it;
  EXPECT_EQ(it->intfId(), IntfId(order[1].c_str()));
  machine().switchIntfConfigSmNotify(IntfId("Ethernet1"));
  EXPECT_EQ(machines(), (Log{order[1], order[2]}));
  machine().switchIntfConfigSmDelAll();
  EXPECT_EQ(machine().switchIntfConfigSms(), 0);
  EXPECT_EQ(world.wishes().size(), 3);
}

// ---------------------------------------------------------------------------------------------
// What callers must not do

using SwitchIntfConfigDeath = MachinesTest;

TEST_F(SwitchIntfConfigDeath, TheHandlersNeedAConfiguration) {
  machine().configDel();
  EXPECT_FATAL(machine().handleSwitchIntfConfig(IntfId("Ethernet1")), nullDereference);
  EXPECT_FATAL(machine().handleSwitchIntfConfig(), nullDereference);
}

TEST_F(SwitchIntfConfigDeath, ASecondMachineOfAnInterfaceCannotBeInserted) {
  world.routedPort("Ethernet1", 10);
  const auto other = otherEntry("Ethernet1", 10);
  EXPECT_FATAL(machine().newSwitchIntfConfigSm(other), ".*Assertion .* failed\\.\n");
}

}  // namespace
}  // namespace FyrL3Intf::Tests
