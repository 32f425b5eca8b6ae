// What stands when memory runs out in the state machine, event by event and step by step.

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/FailingEvents.h"

namespace FyrL3Intf::Tests {
namespace {

void threePorts(World& world) {
  world.routedPort("Ethernet1", 100);
  world.routedPort("Ethernet2", 100);
  world.routedPort("Ethernet3", 300);
}
void fullHouse(World& world) {
  threePorts(world);
  world.port("Ethernet4", Bridging::SwitchportMode::access);
  for (const char* const intf : {"Vlan10", "Vlan20", "Vlan30", "Vlan40"}) world.vlanIntf(intf);
}
void started(World& world) {
  fullHouse(world);
  world.start();
}
void fewInputs(World& world) {
  world.routedPort("Ethernet1", 100);
  world.routedPort("Ethernet2", 100);
  world.vlanIntf("Vlan10");
}
void fewStarted(World& world) {
  fewInputs(world);
  world.start();
}
/// The collection of the machines has grown.
void startedWithRoom(World& world) {
  started(world);
  world.port("Ethernet6", Bridging::SwitchportMode::access);
}
/// As many machines as their collection takes before it grows.
void switchingPortsStarted(World& world) {
  for (const char* const intf : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}) {
    world.port(intf, Bridging::SwitchportMode::access);
  }
  world.start();
}
void indexes(World& world) {
  for (const char* const intf : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}) {
    world.l3Index(intf, Plexo::IntfId(intf).hash());
  }
}
void indexesStarted(World& world) {
  indexes(world);
  world.start();
}

const Case cases[] = {
    {"StartUp", internalVlans, fullHouse, [](World& world) { world.start(); }},
    {"StartUpFromIndexes", noInternalVlans, indexes, [](World& world) { world.start(); }},
    {"PortAppears", internalVlans, startedWithRoom,
     [](World& world) { world.routedPort("Ethernet5", 500); }, Ends::withTheListener},
    {"PortAppearsThatWaits", internalVlans, startedWithRoom,
     [](World& world) { world.routedPort("Ethernet5", 300); }, Ends::withTheListener},
    {"PortAppearsThatFindsNoPlace", internalVlans, switchingPortsStarted,
     [](World& world) { world.routedPort("Ethernet5", 500); }, Ends::withTheListener, 1,
     "changes 4\nmachines 4\nheard Ethernet5 Ethernet5"},
    {"PortAppearsThatSwitches", internalVlans, started,
     [](World& world) { world.port("Ethernet5", Bridging::SwitchportMode::access); },
     Ends::withTheListener},
    {"PortIsRouted", internalVlans, started,
     [](World& world) { world.routedPort("Ethernet4", 400); }, Ends::withTheListener},
    {"PortMoves", internalVlans, started, [](World& world) { world.routedPort("Ethernet1", 101); },
     Ends::withTheListener},
    {"PortGoes", internalVlans, started, [](World& world) { world.portDel("Ethernet1"); },
     Ends::withTheListener},
    {"VlanIntfAppears", internalVlans, started, [](World& world) { world.vlanIntf("Vlan50"); },
     Ends::withTheListener},
    {"VlanIntfGoes", internalVlans, started, [](World& world) { world.vlanIntfDel("Vlan10"); },
     Ends::withTheListener},
    {"IndexAppears", noInternalVlans, indexesStarted,
     [](World& world) { world.l3Index("Ethernet5", 5); }, Ends::withTheListener},
    {"IndexGoes", noInternalVlans, indexesStarted,
     [](World& world) { world.l3IndexDel("Ethernet1"); }, Ends::withTheListener},
    {"ConfigurationIsReplaced", internalVlans, [](World& world) { world.start(); },
     [](World& world) {
       world.config = Bridging::configFactory("another");
       threePorts(world);
       world.machine->configIs(world.config);
     }},
    {"ConfigurationIsReturned", internalVlans,
     [](World& world) {
       threePorts(world);
       world.start();
       world.machine->configDel();
     },
     [](World& world) { world.machine->configIs(world.config); }},
    {"StatusDirectoryIsReplaced", internalVlans, [](World& world) { world.start(); },
     [](World& world) {
       world.statusDir = Interface::vlanIntfStatusDirFactory("another");
       world.vlanIntf("Vlan10");
       world.machine->vlanIntfStatusDirIs(world.statusDir);
     }},
    {"IndexDirectoryIsReplaced", noInternalVlans, [](World& world) { world.start(); },
     [](World& world) {
       world.indexDir = l3IndexDirFactory("another");
       world.machine->fyrL3IndexDirIs(world.indexDir);
     }},
    {"InputsAreTakenAway", internalVlans, started,
     [](World& world) {
       world.machine->configIs(nullptr);
       world.machine->vlanIntfStatusDirDel();
       world.machine->fyrL3IndexDirIs(nullptr);
     }},
    {"NotificationsAreSwitched", internalVlans, started,
     [](World& world) {
       world.machine->hasNotificationActiveIs(false);
       world.machine->hasNotificationActiveIs(true);
       world.machine->kobDoZombieReactors(true);
       world.machine->kobDoZombieReactors(false);
     }},
    {"AnotherEntryIsRefused", internalVlans, started,
     [](World& world) {
       const auto other = Bridging::configFactory("another");
       const auto entry = other->newSwitchIntfConfig(Plexo::IntfId("Ethernet1"));
       try {
         world.machine->switchIntfConfigSmIs(entry);
       } catch (const Kob::NameInUseException&) {
         return;
       }
     }},
    {"TheMachineVerifies", internalVlans, started, [](World& world) { world.machine->doVerify(); }},
    {"TheMachineOfIndexesVerifies", noInternalVlans, indexesStarted,
     [](World& world) { world.machine->doVerify(); }},
    {"Teardown", internalVlans, started, [](World& world) { world.machine->doPrepareToDie(); }},
    {"StartUpBeforeManyReaders", internalVlans, fewInputs, [](World& world) { world.start(); },
     Ends::withTheCaller, manyReaders},
    {"PortMovesBeforeManyReaders", internalVlans, fewStarted,
     [](World& world) { world.routedPort("Ethernet1", 101); }, Ends::withTheListener, manyReaders},
    {"TeardownBeforeManyReaders", internalVlans, fewStarted,
     [](World& world) { world.machine->doPrepareToDie(); }, Ends::withTheCaller, manyReaders},
    {"TheLastReferenceGoes", internalVlans, started, [](World& world) { world.machine = nullptr; }},
};

class MachineWithoutMemory : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Events, MachineWithoutMemory, testing::ValuesIn(cases),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(MachineWithoutMemory, StopsWhereItStandsLosesNothingAndCanBeMadeAnew) {
  expectStopsWhereItFails(GetParam());
}

using Steps = std::vector<std::string>;

Event wishOf(const char* intf, std::uint16_t vlan) {
  return [intf, vlan](World& world) {
    world.machine->doSetDesiredInternalVlanId(Plexo::IntfId(intf), vlan);
  };
}
void machineAlone(World& world) { world.start(); }

TEST(StepsWithoutMemory, AFirstWishIsRecordedForTheVlanThenForThePortThenGranted) {
  EXPECT_EQ(stepsOf(machineAlone, wishOf("Ethernet1", 100)),
            (Steps{"changes 0\nmachines 0\nheard, thrown",
                   "changes 0\n100 wished by Ethernet1 machines 0\nheard, thrown",
                   "changes 0\nEthernet1 wishes 100 100 wished by Ethernet1 machines 0\n"
                   "heard, thrown",
                   "100->Ethernet1 changes 1\n"
                   "Ethernet1 wishes 100 100 wished by Ethernet1 machines 0\nheard, thrown",
                   "Ethernet1->100 100->Ethernet1 changes 2\n"
                   "Ethernet1 wishes 100 100 wished by Ethernet1 machines 0\nheard Ethernet1"}));
}

TEST(StepsWithoutMemory, AnotherWishIsTakenFromTheOldVlanFirst) {
  const auto before = [](World& world) {
    machineAlone(world);
    wishOf("Ethernet1", 100)(world);
  };
  EXPECT_EQ(stepsOf(before, wishOf("Ethernet1", 200)),
            (Steps{"Ethernet1->100 100->Ethernet1 changes 2\n"
                   "Ethernet1 wishes 100 100 wished by Ethernet1 machines 0\n"
                   "heard Ethernet1, thrown",
                   "Ethernet1->100 100->Ethernet1 changes 2\n"
                   "Ethernet1 wishes 100 machines 0\n"
                   "heard Ethernet1, thrown",
                   "Ethernet1->100 changes 3\n"
                   "Ethernet1 wishes 200 200 wished by Ethernet1 machines 0\n"
                   "heard Ethernet1, thrown",
                   "Ethernet1->200 200->Ethernet1 changes 5\n"
                   "Ethernet1 wishes 200 200 wished by Ethernet1 machines 0\n"
                   "heard Ethernet1 Ethernet1"}));
}

TEST(StepsWithoutMemory, AVlanIsHandedOverWhenItsHolderHasLetItGo) {
  const auto before = [](World& world) {
    machineAlone(world);
    wishOf("Ethernet1", 100)(world);
    wishOf("Ethernet2", 100)(world);
  };
  EXPECT_EQ(stepsOf(before, wishOf("Ethernet1", 0)),
            (Steps{"Ethernet1->100 100->Ethernet1 changes 2\n"
                   "Ethernet1 wishes 100 Ethernet2 wishes 100 "
                   "100 wished by Ethernet1 Ethernet2 machines 0\n"
                   "heard Ethernet1, thrown",
                   "changes 4\nEthernet2 wishes 100 100 wished by Ethernet2 machines 0\n"
                   "heard Ethernet1 Ethernet1, thrown",
                   "100->Ethernet2 changes 5\n"
                   "Ethernet2 wishes 100 100 wished by Ethernet2 machines 0\n"
                   "heard Ethernet1 Ethernet1, thrown",
                   "Ethernet2->100 100->Ethernet2 changes 6\n"
                   "Ethernet2 wishes 100 100 wished by Ethernet2 machines 0\n"
                   "heard Ethernet1 Ethernet1 Ethernet2"}));
}

TEST(StepsWithoutMemory, AnIndexIsEnteredInReverseFirst) {
  EXPECT_EQ(stepsOf(
                machineAlone, [](World& world) { world.l3Index("Ethernet1", 7); }, noInternalVlans),
            (Steps{"changes 0\nmachines 0\nheard, thrown", "changes 0\nmachines 0\nheard",
                   "7->Ethernet1 changes 1\nmachines 0\nheard",
                   "Ethernet1->7 7->Ethernet1 changes 2\nmachines 0\nheard Ethernet1"}))
      << "what the handler throws is the reactor's, and does not come out of the directory";
}

Steps joint(Steps first, const Steps& then) {
  first.insert(first.end(), then.begin(), then.end());
  return first;
}
void deferring(World& world) {
  machineAlone(world);
  world.activity->deferralIs(true);
}
void twoInputsChange(World& world) {
  world.routedPort("Ethernet1", 100);
  world.vlanIntf("Vlan20");
}

TEST(StepsWithoutMemory, AChangeThatCanNotBeDeferredIsLostAndDoesNotStopTheNext) {
  const Case happening{"", internalVlans, deferring, twoInputsChange};
  const auto state = [](const std::string& inputs, int pending) {
    return inputs + " indexes 0 after 0 pending " + std::to_string(pending) +
           " reads 0 0 0 0\nchanges 0\nmachines 0\nheard";
  };
  const std::string port = "ports 1 after 1 0 vlans 0 after 0";
  const std::string portAndVlanIntf = "ports 1 after 1 0 vlans 1 after 1";
  const std::string nothing = state("ports 0 after 0 vlans 0 after 0", 0) + ", thrown";
  const std::string noVlanIntf = state(port, 1) + ", thrown";
  const std::string oneOfTwo = state(portAndVlanIntf, 1);
  const std::string both = state(portAndVlanIntf, 2);
  EXPECT_EQ(statesLeftBy(happening, Failing::once),
            (Steps{nothing, nothing, oneOfTwo, noVlanIntf, noVlanIntf, oneOfTwo, both}));
  const std::string neither = state(port, 0) + ", thrown";
  EXPECT_EQ(statesLeftBy(happening, Failing::fromThereOn),
            (Steps{nothing, nothing, neither, noVlanIntf, noVlanIntf, oneOfTwo, both}));
}

TEST(StepsWithoutMemory, AChangeThatCanNotBeDeliveredIsLostAndDoesNotStopTheNext) {
  const Case happening{"", internalVlans,
                       [](World& world) {
                         deferring(world);
                         twoInputsChange(world);
                       },
                       [](World& world) { world.activity->deferralIs(false); }};
  // Of the port, while the VLAN interface gets all that it wishes for.
  const Steps ofThePort = {
      "Vlan20->20 20->Vlan20 changes 2\n"
      "Vlan20 wishes 20 20 wished by Vlan20 machines 0\nheard Vlan20",
      "Vlan20->20 20->Vlan20 changes 2\n"
      "Vlan20 wishes 20 20 wished by Vlan20 100 wished by Ethernet1 machines 0\nheard Vlan20",
      "Vlan20->20 20->Vlan20 changes 2\n"
      "Ethernet1 wishes 100 Vlan20 wishes 20 20 wished by Vlan20 100 wished by Ethernet1 "
      "machines 0\nheard Vlan20",
      "Vlan20->20 20->Vlan20 100->Ethernet1 changes 3\n"
      "Ethernet1 wishes 100 Vlan20 wishes 20 20 wished by Vlan20 100 wished by Ethernet1 "
      "machines 0\nheard Vlan20"};
  const Steps ofTheVlanIntf = {
      "Ethernet1->100 100->Ethernet1 changes 2\n"
      "Ethernet1 wishes 100 100 wished by Ethernet1 machines 1\nheard Ethernet1",
      "Ethernet1->100 100->Ethernet1 changes 2\n"
      "Ethernet1 wishes 100 20 wished by Vlan20 100 wished by Ethernet1 machines 1\n"
      "heard Ethernet1",
      "Ethernet1->100 100->Ethernet1 changes 2\n"
      "Ethernet1 wishes 100 Vlan20 wishes 20 20 wished by Vlan20 100 wished by Ethernet1 "
      "machines 1\nheard Ethernet1",
      "Ethernet1->100 20->Vlan20 100->Ethernet1 changes 3\n"
      "Ethernet1 wishes 100 Vlan20 wishes 20 20 wished by Vlan20 100 wished by Ethernet1 "
      "machines 1\nheard Ethernet1",
      "Ethernet1->100 Vlan20->20 20->Vlan20 100->Ethernet1 changes 4\n"
      "Ethernet1 wishes 100 Vlan20 wishes 20 20 wished by Vlan20 100 wished by Ethernet1 "
      "machines 1\nheard Ethernet1 Vlan20"};
  const Steps nothingFollows = {
      "changes 0\nmachines 0\nheard", "changes 0\n100 wished by Ethernet1 machines 0\nheard",
      "changes 0\nEthernet1 wishes 100 100 wished by Ethernet1 machines 0\nheard",
      "100->Ethernet1 changes 1\n"
      "Ethernet1 wishes 100 100 wished by Ethernet1 machines 0\nheard"};
  EXPECT_EQ(stepsOf(happening, Failing::once), joint(ofThePort, ofTheVlanIntf));
  EXPECT_EQ(stepsOf(happening, Failing::fromThereOn), joint(nothingFollows, ofTheVlanIntf));
}

TEST(StepsWithoutMemory, AWishThatIsRecordedHalfIsFatalWhenItIsStatedAgain) {
  const Plexo::IntfId intf = "Ethernet1"_intf;
  World before(internalVlans);  // What is allocated once in a process is allocated here.
  before.start().doSetDesiredInternalVlanId(intf, 100);
  World world(internalVlans);
  world.start();
  const auto stateWish = [&] { world.machine->doSetDesiredInternalVlanId(intf, 100); };
  for (std::size_t successes = 0; world.wishers().empty(); ++successes) {
    ASSERT_TRUE(failingAfter(successes, stateWish).thrown);
  }
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_FATAL(stateWish(), machineAssertion("void FyrL3Intf::ConfigSm::doSetDesiredInternalVlanId("
                                             "Plexo::IntfId, Bridging::VlanIdOrNone)",
                                             "!intfSet.member( intfId )"));
}

TEST(StepsWithoutMemory, ATableThatAStartUpLeftHalfFilledTakesNoSecondStartUp) {
  World world(noInternalVlans);
  indexes(world);
  for (std::size_t successes = 0; world.reverse().empty(); ++successes) {
    ASSERT_TRUE(failingAfter(successes, [&] { world.start(); }).thrown);
  }
  EXPECT_FALSE(world.machine);
  EXPECT_EXIT(world.start(), testing::KilledBySignal(SIGABRT),
              "info not consistent in fyrL3IntfTable");
  world.table = tableFactory("another", noInternalVlans);
  world.start().doVerify();
}

/// A routed port whose machine gave up when its VLAN could not be announced.
class PortWithoutMachine : public testing::Test {
 protected:
  World world{internalVlans};
  Readers readers;

  void SetUp() override {
    world.start();
    readers = readersOf(world.table, manyReaders);
    world.config->newSwitchIntfConfig("Ethernet1"_intf, Bridging::SwitchportMode::routed,
                                      Bridging::VlanId(100));
    giveUpTheBlockOfTheWalks();
    const std::size_t needed = static_cast<std::size_t>(allocationsUpToTheAnnouncement());
    const auto handle = [&] { world.machine->handleSwitchIntfConfig("Ethernet1"_intf); };
    EXPECT_TRUE(failingAfter(needed, handle).thrown);
  }

 private:
  static int allocationsUpToTheAnnouncement() {
    World other(internalVlans);
    other.start();
    other.config->newSwitchIntfConfig("Ethernet1"_intf, Bridging::SwitchportMode::routed,
                                      Bridging::VlanId(100));
    return KobTest::allocationsOf([&] { other.machine->handleSwitchIntfConfig("Ethernet1"_intf); });
  }
};

TEST_F(PortWithoutMachine, KeepsItsWishAndItsVlan) {
  EXPECT_EQ(world.machine->switchIntfConfigSms(), 0U);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
  EXPECT_EQ(readers.front()->text(), "heard");
  world.machine->doVerify();
}

TEST_F(PortWithoutMachine, KeepsThemWhenItGoes) {
  world.portDel("Ethernet1");
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(PortWithoutMachine, IsRightAgainWhenItIsHandledAgain) {
  world.machine->handleSwitchIntfConfig("Ethernet1"_intf);
  EXPECT_EQ(world.machine->switchIntfConfigSms(), 1U);
  world.machine->doVerify();
  world.portDel("Ethernet1");
  EXPECT_EQ(world.forward(), Forward());
  EXPECT_EQ(readers.front()->text(), "heard Ethernet1") << "of the removal";
}

/// So many machines of ports without a wish that the next needs a larger collection.
class MachineWithoutPlace : public testing::Test {
 protected:
  World world{internalVlans};
  Kob::Ptr<Reader> reader = joined(Kob::Ptr(new Reader), world.table);
  const Plexo::IntfId intf = "Ethernet5"_intf;

  MachineWithoutPlace() {
    world.start();
    addPorts(world, portsThatFit());
    const auto entry = world.config->newSwitchIntfConfig(intf, Bridging::SwitchportMode::routed,
                                                         Bridging::VlanId(500));
    // Before its place, the machine gets its VLAN.
    for (std::size_t successes = 0; reader->text() == "heard"; ++successes) {
      EXPECT_TRUE(
          failingAfter(successes, [&] { world.machine->newSwitchIntfConfigSm(entry); }).thrown);
      if (reader->text() == "heard") forgetHalfAWish();
    }
  }

 private:
  static void addPorts(World& world, int count) {
    for (int port = 0; port < count; ++port) {
      world.port(("Ethernet1/" + std::to_string(port)).c_str(), Bridging::SwitchportMode::access);
    }
  }
  /// With how many machines their collection has not grown yet.
  static int portsThatFit() {
    World probe(internalVlans);
    const auto& machines = probe.start().switchIntfConfigSmCollection();
    const auto buckets = machines.buckets();
    int ports = 0;
    do {
      addPorts(probe, ++ports);
    } while (machines.buckets() == buckets);
    return ports - 1;
  }
  void forgetHalfAWish() {
    world.machine->desiredRoutedPortNameDelAll();
    world.machine->desiredInternalVlanIdDelAll();
    world.table->routedPortNameDelAll();
  }
};

TEST_F(MachineWithoutPlace, WithdrawsItsWish) {
  EXPECT_EQ(reader->text(), "heard Ethernet5 Ethernet5") << "given, and taken away";
  EXPECT_FALSE(world.machine->switchIntfConfigSm(intf));
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.forward(), Forward());
  EXPECT_EQ(world.reverse(), Reverse());
}

TEST_F(MachineWithoutPlace, IsMadeWhenThePortIsHandledAgain) {
  world.machine->handleSwitchIntfConfig(intf);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet5", 500}}));
  world.machine->doVerify();
}

TEST_F(MachineWithoutPlace, LeavesNothingWhenThePortGoes) {
  world.portDel("Ethernet5");
  EXPECT_EQ(world.wishes(), Wishes());
  world.machine->doVerify();
  world.machine->doPrepareToDie();
  EXPECT_EQ(world.forward(), Forward());
}

}  // namespace
}  // namespace FyrL3Intf::Tests
