// The machine of one interface.

#include <sstream>
#include <string>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/Forged.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanId;
using Plexo::IntfId;

using SwitchIntfMachine = MachinesTest;

TEST_F(SwitchIntfMachine, AMachinePrintsItsInterface) {
  world.routedPort("Ethernet1", 10);
  std::ostringstream text;
  text << portMachine().get();
  EXPECT_EQ(text.str(), "SwitchIntfConfigSm( Ethernet1 )");
}

TEST_F(SwitchIntfMachine, AMachineWithoutAnEntryHasTheEmptyInterface) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  EXPECT_EQ(made->intfId(), IntfId("Ethernet1"));
  EXPECT_EQ(made->switchIntfConfigDel(), config);
  EXPECT_EQ(made->switchIntfConfigDel(), nullptr);
  EXPECT_EQ(made->switchIntfConfig(), nullptr);
  EXPECT_EQ(made->intfId(), IntfId());
  EXPECT_EQ(made->fwkKey(), IntfId());
}

TEST_F(SwitchIntfMachine, AMachineMadeByItselfStatesItsWishAndListens) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  EXPECT_TRUE(made->hasNotificationActive());
  EXPECT_EQ(machines(), Log());
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  config->nativeVlanIs(VlanId(20));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 20}}));
}

TEST_F(SwitchIntfMachine, AMachineGivenAnotherEntryStatesTheWishOfThatOne) {
  const auto first = otherEntry("Ethernet1", 10);
  const auto second = otherEntry("Ethernet1", 20);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(first, &machine());
  Trace trace;
  made->switchIntfConfigIs(first);
  EXPECT_EQ(trace.taken(), Log());
  made->switchIntfConfigIs(second);
  EXPECT_EQ(trace.taken(), (Log{statesWishTrace(), wishTrace(20), grantTrace(20)}));
  first->nativeVlanIs(VlanId(30));
  EXPECT_EQ(trace.taken(), Log());
  second->nativeVlanIs(VlanId(40));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 40}}));
}

TEST_F(SwitchIntfMachine, AMachineWhoseEntryIsTakenAwayKeepsItsWishAndMayGetAnother) {
  const auto first = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(first, &machine());
  Trace trace;
  made->switchIntfConfigIs(nullptr);
  made->switchIntfConfigIs(nullptr);
  first->nativeVlanIs(VlanId(30));
  EXPECT_EQ(trace.taken(), Log());
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  made->switchIntfConfigIs(first);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 30}}));
}

TEST_F(SwitchIntfMachine, AMachineWhoseNotificationsAreOffHearsNothing) {
  world.routedPort("Ethernet1", 10);
  const auto port = portMachine();
  EXPECT_FALSE(port->hasNotificationActiveIs(false));
  EXPECT_FALSE(port->hasNotificationActiveIs(false));
  world.routedPort("Ethernet1", 20);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  EXPECT_TRUE(port->hasNotificationActiveIs(true));
  EXPECT_TRUE(port->hasNotificationActiveIs(true));
  world.routedPort("Ethernet1", 30);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 30}}));
}

TEST_F(SwitchIntfMachine, AMachineWithoutAnEntrySwitchesItsNotificationsAllTheSame) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  made->switchIntfConfigDel();
  EXPECT_FALSE(made->hasNotificationActiveIs(false));
  EXPECT_FALSE(made->hasNotificationActive());
  EXPECT_TRUE(made->kobDoZombieReactors(true));
  EXPECT_TRUE(made->kobMarkedForDeletion());
}

TEST_F(SwitchIntfMachine, AZombieMachineStatesNothingUntilItIsWokenAgain) {
  world.routedPort("Ethernet1", 10);
  const auto port = portMachine();
  EXPECT_TRUE(port->kobDoZombieReactors(true));
  EXPECT_TRUE(port->kobDoZombieReactors(true));
  EXPECT_TRUE(port->kobMarkedForDeletion());
  world.routedPort("Ethernet1", 20);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
  EXPECT_FALSE(port->kobDoZombieReactors(false));
  EXPECT_FALSE(port->kobMarkedForDeletion());
  world.routedPort("Ethernet1", 30);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 30}}));
}

TEST_F(SwitchIntfMachine, TheSameSwitchOrMarkAgainLeavesTheReactorAsItIs) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  const auto reactor = made->newSwitchIntfConfig(config);
  reactor->hasNotificationActiveIs(false);
  EXPECT_TRUE(made->hasNotificationActiveIs(true));
  EXPECT_FALSE(reactor->hasNotificationActive());
  reactor->kobDoZombieReactors(true);
  EXPECT_FALSE(made->kobDoZombieReactors(false));
  EXPECT_TRUE(reactor->kobMarkedForDeletion());
}

TEST_F(SwitchIntfMachine, AZombieReactorReceivesItsHookAndCallsNothing) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  const auto reactor = made->newSwitchIntfConfig(config);
  Trace trace;
  reactor->onSwitchportModeAndNativeVlan();
  EXPECT_EQ(trace.taken(), (Log{statesWishTrace(), wishTrace(10)}));
  reactor->kobDoZombieReactors(true);
  reactor->onSwitchportModeAndNativeVlan();
  EXPECT_EQ(trace.taken(), Log());
}

TEST_F(SwitchIntfMachine, AZombieReactorTakesANewEntryWithoutHandlingIt) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  const auto reactor = made->newSwitchIntfConfig(config);
  reactor->kobDoZombieReactors(true);
  Trace trace;
  reactor->notifierIs(otherEntry("Ethernet1", 20));
  EXPECT_EQ(trace.taken(), Log());
  EXPECT_EQ(reactor->notifier()->nativeVlan(), VlanId(20));
}

TEST_F(SwitchIntfMachine, AReactorTakesAnythingThatIsNoEntryForNull) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  const auto reactor = made->newSwitchIntfConfig(config);
  Trace trace;
  reactor->notifierIs(world.table);
  EXPECT_EQ(reactor->notifier(), nullptr);
  reactor->notifierIs(nullptr);
  EXPECT_EQ(trace.taken(), Log());
  reactor->notifierIs(config);
  EXPECT_EQ(trace.taken(), (Log{statesWishTrace(), wishTrace(10)}));
}

TEST_F(SwitchIntfMachine, AReactorWhoseNewEntryIsRefusedListensToItAllTheSame) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  const auto refused = otherEntry("Ethernet1", 20);
  refused->nativeVlanIs(forged<VlanId>(4095));
  EXPECT_THROW(made->switchIntfConfigIs(refused), Kob::RangeException);
  EXPECT_EQ(made->switchIntfConfig(), refused);
  EXPECT_EQ(refused->kobNotifiees().members(), 1);
}

TEST_F(SwitchIntfMachine, PreparingToDieWithdrawsTheWishAndLeavesTheMachineInPlace) {
  world.routedPort("Ethernet1", 10);
  Trace trace;
  portMachine()->doPrepareToDie();
  EXPECT_EQ(trace.taken(), (Log{preparesToDieTrace(), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(machines(), (Log{"Ethernet1"}));
  EXPECT_EQ(world.wishes(), Wishes());
}

// ---------------------------------------------------------------------------------------------
// What callers must not do

using SwitchIntfMachineDeath = MachinesTest;

TEST_F(SwitchIntfMachineDeath, AMachineNeedsAnEntryToStateItsWish) {
  EXPECT_FATAL(SwitchIntfConfigSm::SwitchIntfConfigSmIs(nullptr, &machine()), nullDereference);
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  made->switchIntfConfigDel();
  EXPECT_FATAL(made->handleSwitchportModeAndNativeVlan(), nullDereference);
}

TEST_F(SwitchIntfMachineDeath, TheInterfaceOfAReactorWithoutAnEntryCannotBeRead) {
  const auto config = otherEntry("Ethernet1", 10);
  const auto made = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, &machine());
  const auto reactor = made->newSwitchIntfConfig(nullptr);
  EXPECT_FATAL(static_cast<void>(made->intfId()), nullDereference);
}

TEST_F(SwitchIntfMachine, AReactorThatWasDisconnectedReachesNoMachine) {
  world.routedPort("Ethernet1", 10);
  const auto reactor = portMachine()->newSwitchIntfConfig(portMachine()->switchIntfConfig());
  reactor->kobDoZombieReactors(true);
  reactor->switchIntfConfigSmIs(nullptr);
  EXPECT_TRUE(reactor->owner() == nullptr);
  world.routedPort("Ethernet1", 20);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}}));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
