// The state machine as such: what it traces, its construction, what stays when an input is removed,
// and how it switches the machines of the interfaces.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "tests/FyrL3Intf/Inputs.h"
#include "tests/FyrL3Intf/World.h"
#include "tests/platform/RangeError.h"

namespace FyrL3Intf::Tests {
namespace {

// ---------------------------------------------------------------------------------------------
// Messages

/// Makes the machines say everything that they ever trace, needed or not needed.
void tellEverything(bool internalVlanNeeded) {
  World world(internalVlanNeeded);
  world.start();
  world.routedPort("Ethernet1", 100);
  world.vlanIntf("Vlan10");
  if (!internalVlanNeeded) world.l3Index("Ethernet3", 5);
  world.machine->doVerify();
  world.machine->doPrepareToDie();
  world.machine->fyrL3IndexDirDel();
  world.machine->handleL3Index();
}

/// The records of a coverage stream as Trace gives those of the trace stream: without time and
/// facility in front, and without the place in the source at the end.
Log recordsOf(const std::ostringstream& coverage) {
  Log records;
  std::istringstream lines(coverage.str());
  for (std::string line; std::getline(lines, line);) {
    records.push_back(line.substr(0, line.rfind(" [FyrL3Intf/")));
    records.back().erase(0, line.find("FyrL3IntfSm ") + 12);
  }
  return records;
}

TEST(ConfigSmMessages, ACoverageStreamGetsThemAllWhileTheFacilityIsOff) {
  for (const bool internalVlanNeeded : {internalVlans, noInternalVlans}) {
    Log traced;
    {
      Trace trace;
      tellEverything(internalVlanNeeded);
      traced = trace.taken();
    }
    std::ostringstream coverage;
    Kob::coverageStream_ = &coverage;
    tellEverything(internalVlanNeeded);
    Kob::coverageStream_ = nullptr;
    EXPECT_THAT(traced, testing::SizeIs(testing::Gt(10U)));
    EXPECT_EQ(recordsOf(coverage), traced);
  }
}

// ---------------------------------------------------------------------------------------------
// Construction

class ConfigSmTest : public testing::Test {
 protected:
  World world{noInternalVlans};
};

TEST_F(ConfigSmTest, TheFactoryGivesAMachineThatListensAndItsOnlyReference) {
  const ConfigSm& machine = world.start();
  EXPECT_EQ(machine.references(), 1U);
  EXPECT_TRUE(machine.hasNotificationActive());
  EXPECT_FALSE(machine.kobMarkedForDeletion());
  EXPECT_EQ(machine.fyrL3IntfTable(), world.table);
  EXPECT_FALSE(machine.internalVlanNeeded());
}

TEST_F(ConfigSmTest, TheSwitchIsTheOneOfTheConstruction) {
  World other(internalVlans);
  EXPECT_TRUE(other.start().internalVlanNeeded());
}

TEST_F(ConfigSmTest, RunsInTheActivityThatItWasGiven) {
  world.start();
  EXPECT_EQ(world.machine->kobFwkActivity(), world.activity);
  EXPECT_EQ(Kob::Ptr<const ConfigSm>(world.machine)->kobFwkActivity(), world.activity);
}

TEST_F(ConfigSmTest, StartsWithEmptyCollections) {
  world.start();
  EXPECT_EQ(world.machine->desiredRoutedPortNames(), 0U);
  EXPECT_EQ(world.machine->desiredInternalVlanIds(), 0U);
  EXPECT_EQ(world.machine->switchIntfConfigSms(), 0U);
}

TEST_F(ConfigSmTest, PrintsAsItsTypeAlone) {
  std::ostringstream stream;
  stream << &world.start();
  EXPECT_EQ(stream.str(), "ConfigSm");
}

TEST_F(ConfigSmTest, TheThreeFullHandlersRunInTheirOrder) {
  Trace trace;
  world.start();
  EXPECT_EQ(handlersCalled(trace),
            (Log{"handleSwitchIntfConfig()", "handleVlanIntfStatus()", "handleL3Index()"}));
}

TEST_F(ConfigSmTest, InputsThatAreNullGetNoReactorAndTheHandlersRunAllTheSame) {
  world.statusDir = nullptr;
  world.indexDir = nullptr;
  Trace trace;
  world.start();
  EXPECT_EQ(handlersCalled(trace),
            (Log{"handleSwitchIntfConfig()", "handleVlanIntfStatus()", "handleL3Index()",
                 "handleL3Index()fyrL3IndexDirisNULL.Returning"}));
  EXPECT_FALSE(world.machine->vlanIntfStatusDir());
  EXPECT_FALSE(world.machine->fyrL3IndexDir());
  EXPECT_EQ(world.activity->references(), 3U) << "the test's, the machine's, its one reactor's";
}

TEST_F(ConfigSmTest, TheFullHandlerOfTheIndexesRunsAtConstructionOnly) {
  world.start();
  Trace trace;
  world.machine->configIs(ConfigInput::make());
  world.machine->vlanIntfStatusDirIs(VlanIntfStatusDirInput::make());
  world.machine->fyrL3IndexDirIs(FyrL3IndexDirInput::make());
  world.machine->fyrL3IndexDirDel();
  world.machine->fyrL3IndexDirIs(world.indexDir);
  EXPECT_EQ(handlersCalled(trace), (Log{"handleSwitchIntfConfig()", "handleVlanIntfStatus()"}));
}

TEST_F(ConfigSmTest, AMachineWithoutAConfigurationIsFatal) {
  for (const bool needed : {internalVlans, noInternalVlans}) {
    World without(needed);
    without.config = nullptr;
    EXPECT_FATAL(without.start(),
                 assertion("Kob/PtrInterface.h", "Kob::Ptr<Bridging::Config>::operator->() const",
                           "ptr != 0"));
  }
}

TEST_F(ConfigSmTest, AnExceptionOfTheConstructionPassesAndReleasesWhatWasBuilt) {
  World throwing(internalVlans);
  throwing.routedPort("Ethernet1", 100);
  throwing.vlanIntf("Vlan5000");
  EXPECT_EQ(::Tests::rangeErrorOf([&] { throwing.start(); }),
            "VlanIdOrNone::value > 4094 not allowed");
  EXPECT_FALSE(throwing.machine);
  EXPECT_EQ(throwing.config->references(), 1U);
  EXPECT_EQ(throwing.statusDir->references(), 1U);
  EXPECT_EQ(throwing.indexDir->references(), 1U);
  EXPECT_EQ(throwing.table->references(), 1U);
  EXPECT_EQ(throwing.activity->references(), 1U);
  EXPECT_EQ(throwing.config->kobNotifiees().members(), 0U);
  EXPECT_EQ(throwing.statusDir->kobNotifiees().members(), 0U);
  EXPECT_EQ(throwing.indexDir->kobNotifiees().members(), 0U);
  const auto entry = throwing.config->switchIntfConfig("Ethernet1"_intf);
  EXPECT_EQ(entry->kobNotifiees().members(), 0U);
}

// ---------------------------------------------------------------------------------------------
// What was derived from an input stays when the input is removed

class DerivedState : public testing::Test {
 protected:
  World world{internalVlans};
  std::string before;

  void SetUp() override {
    world.start();
    world.routedPort("Ethernet1", 100);
    world.routedPort("Ethernet2", 100);
    world.vlanIntf("Vlan10");
    world.l3Index("Ethernet3", 5);
    ASSERT_EQ(world.forward(), (Forward{{"Ethernet1", 100}, {"Ethernet3", 5}, {"Vlan10", 10}}));
    before = state();
  }
  [[nodiscard]] std::string state() const { return textOf(*world.table) + textOf(*world.machine); }
};

TEST_F(DerivedState, OfTheConfiguration) {
  world.machine->configIs(nullptr);
  EXPECT_EQ(state(), before);
}

TEST_F(DerivedState, OfTheStatusDirectory) {
  world.machine->vlanIntfStatusDirIs(nullptr);
  EXPECT_EQ(state(), before);
}

TEST_F(DerivedState, OfTheIndexDirectory) {
  world.machine->fyrL3IndexDirIs(nullptr);
  EXPECT_EQ(state(), before);
}

TEST_F(DerivedState, OfInputsThatAreDeleted) {
  world.machine->configDel();
  world.machine->vlanIntfStatusDirDel();
  world.machine->fyrL3IndexDirDel();
  EXPECT_EQ(state(), before);
}

TEST_F(DerivedState, OfAStatusDirectoryThatIsReplacedByOneThatOnlyAdds) {
  const auto another = Interface::vlanIntfStatusDirFactory("another");
  another->intfStatusIs("Vlan20"_intf);
  world.machine->vlanIntfStatusDirIs(another);
  EXPECT_EQ(world.wishes(),
            (Wishes{{"Ethernet1", 100}, {"Ethernet2", 100}, {"Vlan10", 10}, {"Vlan20", 20}}));
}

TEST_F(DerivedState, OfAnInputWhoseHandlerThrowsAndWhichIsFollowedAllTheSame) {
  const auto another = Interface::vlanIntfStatusDirFactory("another");
  another->intfStatusIs("Vlan5000"_intf);
  EXPECT_EQ(::Tests::rangeErrorOf([&] { world.machine->vlanIntfStatusDirIs(another); }),
            "VlanIdOrNone::value > 4094 not allowed");
  EXPECT_EQ(state(), before);
  EXPECT_EQ(world.machine->vlanIntfStatusDir(), another);
  another->intfStatusIs("Vlan20"_intf);
  EXPECT_EQ(world.wishes(),
            (Wishes{{"Ethernet1", 100}, {"Ethernet2", 100}, {"Vlan10", 10}, {"Vlan20", 20}}));
}

TEST_F(DerivedState, OfAnIndexDirectoryThatIsReplacedUntilAKeyOfTheNewOneChanges) {
  const auto another = l3IndexDirFactory("another");
  another->l3IndexIs("Ethernet4"_intf, L3Id(6));
  world.machine->fyrL3IndexDirIs(another);
  EXPECT_EQ(state(), before);
  another->l3IndexIs("Ethernet5"_intf, L3Id(7));
  EXPECT_EQ(world.forward(),
            (Forward{{"Ethernet1", 100}, {"Ethernet3", 5}, {"Ethernet5", 7}, {"Vlan10", 10}}));
}

// ---------------------------------------------------------------------------------------------
// The machines of the interfaces

TEST(ConfigSmAndItsPorts, AMachineThatIsSwitchedOffDoesNotFollowTheEntries) {
  World world(internalVlans);
  world.routedPort("Ethernet1", 100);
  world.start().hasNotificationActiveIs(false);
  EXPECT_FALSE(world.machine->switchIntfConfigSm("Ethernet1"_intf)->hasNotificationActive());
  world.routedPort("Ethernet1", 200);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  world.machine->hasNotificationActiveIs(true);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  world.routedPort("Ethernet1", 300);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 300}}));
}

TEST(ConfigSmAndItsPorts, TheSameSwitchAgainAnswersItAndLeavesThePortsAsTheyAre) {
  World world(internalVlans);
  world.routedPort("Ethernet1", 100);
  ConfigSm& machine = world.start();
  const auto port = machine.switchIntfConfigSm("Ethernet1"_intf);
  machine.hasNotificationActiveIs(false);
  port->hasNotificationActiveIs(true);
  EXPECT_FALSE(machine.hasNotificationActiveIs(false));
  EXPECT_TRUE(port->hasNotificationActive());
}

TEST(ConfigSmAndItsPorts, TheSameMarkAgainAnswersItAndLeavesTheReactorsAsTheyAre) {
  World world(internalVlans);
  ConfigSm& machine = world.start();
  const auto reactor = machine.newConfig(world.config);
  reactor->kobDoZombieReactors(true);
  EXPECT_FALSE(machine.kobDoZombieReactors(false));
  EXPECT_TRUE(reactor->kobMarkedForDeletion());
  EXPECT_TRUE(machine.kobDoZombieReactors(true));
  reactor->kobDoZombieReactors(false);
  EXPECT_TRUE(machine.kobDoZombieReactors(true));
  EXPECT_FALSE(reactor->kobMarkedForDeletion());
}

TEST(ConfigSmAndItsPorts, AZombieMachineStillFollowsTheEntriesThatItHas) {
  World world(internalVlans);
  world.routedPort("Ethernet1", 100);
  world.start().kobDoZombieReactors(true);
  world.routedPort("Ethernet1", 200);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 200}}));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
