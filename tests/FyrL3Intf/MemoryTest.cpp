// What allocates, and what stands when memory runs out: the n-th allocation fails, alone and with
// all that follow it, for every n until none does.

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <utility>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "FyrL3Intf/FyrL3IntfTable.h"
#include "tests/FyrL3Intf/FailingEvents.h"

namespace FyrL3Intf::Tests {
namespace {

using KobTest::allocationsOf;
using KobTest::failingEachAllocationOf;

TEST(Memory, TheHeapSeesWhatTheLibrariesAllocate) {
  EXPECT_GT(allocationsOf([] { tableFactory("table", false); }), 0);
}

TEST(Memory, ALookUpThatHitsAllocatesNothing) {
  const auto table = tableFactory("table", false);
  const Plexo::IntfId intf("AnInterfaceWithALongName1/2/3.4000");
  const L3Id l3Id(0xFFFFFFFFFFFFFFFF);
  table->intfL3IndexIs(intf, l3Id);
  table->routedPortNameIs(l3Id, intf);
  bool found = false;
  EXPECT_EQ(allocationsOf([&] {
              found = table->intfIdToL3Id(intf) == l3Id && table->l3IdToIntfId(l3Id) == intf &&
                      table->routedPortName(l3Id) == intf && table->intfL3Index(intf) == l3Id;
            }),
            0);
  EXPECT_TRUE(found);
}

/// A table that is full, so that one entry more makes it grow.
class TableWithoutMemory : public testing::Test {
 protected:
  Kob::Ptr<Table> table = tableFactory("table", false);
  std::string before;

  void SetUp() override {
    for (const char* const name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}) {
      const Plexo::IntfId intf(name);
      table->intfL3IndexIs(intf, L3Id(intf.hash()));
      table->routedPortNameIs(L3Id(intf.hash()), intf);
    }
    before = textOf(*table);
  }
};

TEST_F(TableWithoutMemory, ANewInterfaceThatFailsIsNotThereAndNotCounted) {
  failingEachAllocationOf([&] { table->intfL3IndexIs("Ethernet5"_intf, L3Id(5)); },
                          [&] { EXPECT_EQ(textOf(*table), before); });
  EXPECT_EQ(table->intfL3Index("Ethernet5"_intf), L3Id(5));
  EXPECT_EQ(table->changeCount(), 9U);
}

TEST_F(TableWithoutMemory, ANewIdentifierThatFailsIsNotThereAndNotCounted) {
  failingEachAllocationOf([&] { table->routedPortNameIs(L3Id(5), "Ethernet5"_intf); },
                          [&] { EXPECT_EQ(textOf(*table), before); });
  EXPECT_EQ(table->routedPortName(L3Id(5)), "Ethernet5"_intf);
  EXPECT_EQ(table->changeCount(), 9U);
}

TEST_F(TableWithoutMemory, ARawInsertionThatFailsChangesNothing) {
  failingEachAllocationOf([&] { table->newIntfL3Index("Ethernet5"_intf, L3Id(5)); },
                          [&] { EXPECT_EQ(textOf(*table), before); });
  EXPECT_EQ(table->intfL3Indexs(), 5U);
}

TEST_F(TableWithoutMemory, AnOverwriteAndARemovalNeedNone) {
  const auto known = "Ethernet1"_intf;
  EXPECT_EQ(allocationsOf([&] {
              table->intfL3IndexIs(known, L3Id(5));
              table->routedPortNameIs(L3Id(known.hash()), known);
              table->intfL3IndexDel(known);
              table->intfL3IndexDelAll();
              table->routedPortNameDelAll();
            }),
            0);
}

TEST_F(TableWithoutMemory, ALookUpThatIsTracedDoesNotFail) {
  table->intfL3IndexIs("Ethernet5"_intf, L3Id(0xFFFFFFFFFFFFFFFF));
  const Plexo::IntfId intf = "Ethernet5"_intf;
  const Trace trace;
  L3Id l3Id;
  Plexo::IntfId owner = intf;
  const int failures = KobTest::outcomesOfEachAllocation(
      [&] {
        l3Id = table->intfIdToL3Id(intf);
        owner = table->l3IdToIntfId(l3Id);
      },
      [&](const Outcome& outcome) {
        EXPECT_FALSE(outcome.thrown);
        EXPECT_EQ(std::exchange(l3Id, L3Id()), L3Id(0xFFFFFFFFFFFFFFFF));
        EXPECT_FALSE(std::exchange(owner, intf));
      });
  EXPECT_GT(failures, 0);
}

/// A table with so many readers that announcing to them needs memory for the list of them.
class TableWithManyReaders : public testing::TestWithParam<Failing> {
 protected:
  const Plexo::IntfId p = "Ethernet1"_intf;
  Kob::Ptr<Table> table = tableFactory("table", false);
  Readers readers;

  void SetUp() override {
    table->intfL3IndexIs(p, L3Id(1));
    giveUpTheBlockOfTheWalks();
    readers = readersOf(table, manyReaders);
  }
  /// What each of them heard.
  [[nodiscard]] std::set<std::string> heard() const {
    std::set<std::string> texts;
    for (const auto& reader : readers) texts.insert(reader->text());
    return texts;
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, TableWithManyReaders, testing::ValuesIn(allModes),
                         [](const auto& tested) {
                           return tested.param == Failing::once ? "Once" : "FromThereOn";
                         });

using Texts = std::set<std::string>;

TEST_P(TableWithManyReaders, AValueThatCanNotBeAnnouncedIsWrittenAndCounted) {
  const auto write = [&] { table->intfL3IndexIs(p, L3Id(2)); };
  EXPECT_TRUE(failingAfter(0, write, GetParam()).thrown);
  EXPECT_EQ(textOf(*table), "Ethernet1->2 changes 2\n");
  EXPECT_EQ(heard(), Texts{"heard"});
  write();
  EXPECT_EQ(heard(), Texts{"heard"}) << "the value stands, so writing it is no change";
  table->intfL3IndexNotify(p);
  EXPECT_EQ(heard(), Texts{"heard Ethernet1"});
}

TEST_P(TableWithManyReaders, ARemovalThatCanNotBeAnnouncedIsMadeAndCounted) {
  EXPECT_TRUE(failingAfter(0, [&] { table->intfL3IndexDel(p); }, GetParam()).thrown);
  EXPECT_EQ(textOf(*table), "changes 2\n");
  EXPECT_EQ(heard(), Texts{"heard"});
  table->intfL3IndexIs(p, L3Id(3));
  EXPECT_EQ(heard(), Texts{"heard Ethernet1"});
}

TEST_P(TableWithManyReaders, TheRemovalOfAllStopsAtTheKeyThatCanNotBeAnnounced) {
  table->intfL3IndexIs("Ethernet2"_intf, L3Id(2));
  giveUpTheBlockOfTheWalks();
  EXPECT_TRUE(failingAfter(0, [&] { table->intfL3IndexDelAll(); }, GetParam()).thrown);
  EXPECT_EQ(table->intfL3Indexs(), 1U);
  EXPECT_EQ(table->changeCount(), 3U);
  table->intfL3IndexDelAll();
  EXPECT_EQ(table->intfL3Indexs(), 0U);
}

TEST_P(TableWithManyReaders, ALastReferenceThatCanNotBeAnnouncedEndsTheProcess) {
  for (const auto& reader : readers) reader->isWeakReferenceIs(true);
  EXPECT_EXIT((KobTest::FailingHeap::failAfter(0, GetParam()), table = nullptr),
              testing::KilledBySignal(SIGABRT), "std::bad_alloc");
}

/// As many entries in each collection as it takes before it grows; some that nobody heard of.
void filled(World& world) {
  world.start();
  for (const char* const name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}) {
    const Plexo::IntfId intf(name);
    world.table->newIntfL3Index(intf, L3Id(intf.hash()));
    world.table->newRoutedPortName(L3Id(intf.hash()), intf);
    world.port(name, Bridging::SwitchportMode::access);
    if (!world.internalVlanNeeded) world.indexDir->newL3Index(intf, L3Id(intf.hash()));
  }
  for (const char* const name : {"Vlan1", "Vlan2", "Vlan3", "Vlan4"}) world.vlanIntf(name);
}
/// A port, a VLAN interface and an index that nobody has heard of.
void unheard(World& world) {
  world.start();
  world.config->newSwitchIntfConfig("Ethernet5"_intf, Bridging::SwitchportMode::routed,
                                    Bridging::VlanId(500));
  world.statusDir->newIntfStatus("Vlan50"_intf);
  if (!world.internalVlanNeeded) world.indexDir->newL3Index("Ethernet5"_intf, L3Id(5));
}
Kob::Ptr<Bridging::SwitchIntfConfig> entryUnheardOf(const World& world) {
  return world.config->switchIntfConfig("Ethernet5"_intf);
}
void withAPort(World& world) {
  world.routedPort("Ethernet1", 100);
  world.start();
}
Kob::Ptr<SwitchIntfConfigSm> port(const World& world) {
  return world.machine->switchIntfConfigSm("Ethernet1"_intf);
}
ConfigSm::IntfSet setOfThree() {
  ConfigSm::IntfSet set;
  for (const char* const name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    set.newMember(Plexo::IntfId(name), true);
  }
  return set;
}
Kob::Ptr<Bridging::SwitchIntfConfig> entryOf(std::uint16_t vlan) {
  return new Bridging::SwitchIntfConfig("Ethernet1"_intf, Bridging::SwitchportMode::routed,
                                        Bridging::VlanId(vlan));
}

const Case operations[] = {
    {"NewIntfL3Index", internalVlans, filled,
     [](World& world) { world.table->newIntfL3Index("Ethernet5"_intf, L3Id(5)); }},
    {"NewRoutedPortName", internalVlans, filled,
     [](World& world) { world.table->newRoutedPortName(L3Id(5), "Ethernet5"_intf); }},
    {"IntfL3IndexIs", internalVlans, filled,
     [](World& world) { world.table->intfL3IndexIs("Ethernet5"_intf, L3Id(5)); }},
    {"RoutedPortNameIs", internalVlans, filled,
     [](World& world) { world.table->routedPortNameIs(L3Id(5), "Ethernet5"_intf); }},
    {"NewSwitchIntfConfig", internalVlans, filled,
     [](World& world) { world.config->newSwitchIntfConfig("Ethernet5"_intf); }},
    {"NewIntfStatus", internalVlans, filled,
     [](World& world) { world.statusDir->newIntfStatus("Vlan50"_intf); }},
    {"NewL3Index", noInternalVlans, filled,
     [](World& world) { world.indexDir->newL3Index("Ethernet5"_intf, L3Id(5)); }},
    {"NewConfig", internalVlans, unheard,
     [](World& world) { world.machine->newConfig(world.config); }},
    {"NewVlanIntfStatusDir", internalVlans, unheard,
     [](World& world) { world.machine->newVlanIntfStatusDir(world.statusDir); }},
    {"NewFyrL3IndexDir", noInternalVlans, withAPort,
     [](World& world) { world.machine->newFyrL3IndexDir(world.indexDir); }},
    {"NewDesiredRoutedPortName", internalVlans, withAPort,
     [](World& world) {
       world.machine->newDesiredRoutedPortName(Bridging::VlanId(200), setOfThree());
     }},
    {"DesiredRoutedPortNameIs", internalVlans, withAPort,
     [](World& world) {
       world.machine->desiredRoutedPortNameIs(Bridging::VlanId(100), setOfThree());
     }},
    {"DesiredRoutedPortNameDel", internalVlans, withAPort,
     [](World& world) { world.machine->desiredRoutedPortNameDel(Bridging::VlanId(100)); }},
    {"NewDesiredInternalVlanId", internalVlans, withAPort,
     [](World& world) {
       world.machine->newDesiredInternalVlanId("Ethernet5"_intf, Bridging::VlanIdOrNone(500));
     }},
    {"DesiredInternalVlanIdIs", internalVlans, withAPort,
     [](World& world) {
       world.machine->desiredInternalVlanIdIs("Ethernet5"_intf, Bridging::VlanIdOrNone(500));
     }},
    {"DoSetDesiredInternalVlanId", internalVlans, withAPort,
     [](World& world) {
       world.machine->doSetDesiredInternalVlanId("Ethernet5"_intf, Bridging::VlanIdOrNone(500));
     }},
    {"DoSetInternalVlanId", internalVlans, withAPort,
     [](World& world) {
       world.machine->doSetInternalVlanId("Ethernet5"_intf, Bridging::VlanIdOrNone(500));
     }},
    {"HandleSwitchIntfConfig", internalVlans, unheard,
     [](World& world) { world.machine->handleSwitchIntfConfig("Ethernet5"_intf); }},
    {"HandleEachSwitchIntfConfig", internalVlans, unheard,
     [](World& world) { world.machine->handleSwitchIntfConfig(); }},
    {"HandleVlanIntfStatus", internalVlans, unheard,
     [](World& world) { world.machine->handleVlanIntfStatus("Vlan50"_intf); }},
    {"HandleEachVlanIntfStatus", internalVlans, unheard,
     [](World& world) { world.machine->handleVlanIntfStatus(); }},
    {"HandleL3Index", noInternalVlans, unheard,
     [](World& world) { world.machine->handleL3Index("Ethernet5"_intf); }},
    {"HandleEachL3Index", noInternalVlans, unheard,
     [](World& world) { world.machine->handleL3Index(); }},
    {"NewSwitchIntfConfigSm", internalVlans, unheard,
     [](World& world) { world.machine->newSwitchIntfConfigSm(entryUnheardOf(world)); }},
    {"SwitchIntfConfigSmIs", internalVlans, unheard,
     [](World& world) { world.machine->switchIntfConfigSmIs(entryUnheardOf(world)); }},
    {"AMachineInNoCollection", internalVlans, unheard,
     [](World& world) {
       SwitchIntfConfigSm::SwitchIntfConfigSmIs(entryUnheardOf(world), world.machine.get());
     }},
    {"HandleSwitchportModeAndNativeVlan", internalVlans,
     [](World& world) {
       withAPort(world);
       port(world)->newSwitchIntfConfig(entryOf(200));
     },
     [](World& world) { port(world)->handleSwitchportModeAndNativeVlan(); }},
    {"NewSwitchIntfConfigOfAPort", internalVlans, withAPort,
     [](World& world) { port(world)->newSwitchIntfConfig(entryOf(200)); }},
    {"SwitchIntfConfigOfAPortIs", internalVlans, withAPort,
     [](World& world) { port(world)->switchIntfConfigIs(entryOf(200)); }},
};

class OperationWithoutMemory : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Direct, OperationWithoutMemory, testing::ValuesIn(operations),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(OperationWithoutMemory, ThrowsAndLeavesWhatStoodWhenItAskedForMemory) {
  expectStopsWhereItFails(GetParam());
}

TEST(MemoryOfTheFactory, ATableThatFailsLeavesNothingBehind) {
  const Kob::Name name("a table with a name");
  tableFactory(name, true);
  const std::size_t before = live();
  failingEachAllocationOf([&] { tableFactory(name, true); }, [&] { EXPECT_EQ(live(), before); });
  EXPECT_EQ(live(), before);
}

TEST(MemoryOfTheFactory, AMachineThatFailsLeavesNothingBehind) {
  World world(noInternalVlans);
  world.start();
  world.machine = nullptr;
  const std::size_t before = live();
  failingEachAllocationOf([&] { world.start(); },
                          [&] {
                            EXPECT_EQ(live(), before);
                            EXPECT_FALSE(world.machine);
                            EXPECT_EQ(world.config->kobNotifiees().members(), 0U);
                            EXPECT_EQ(world.config->references(), 1U);
                            EXPECT_EQ(world.table->references(), 1U);
                            EXPECT_EQ(world.activity->references(), 1U);
                          });
  world.machine = nullptr;
  EXPECT_EQ(live(), before);
}

TEST(MemoryOfNames, ANameThatFailsIsNotKept) {
  const Kob::String8 name("ANameThatNeedsMemory");
  const std::size_t names = Plexo::intfNames();
  Plexo::IntfId intf;
  failingEachAllocationOf([&] { intf = Plexo::IntfId(name); },
                          [&] { EXPECT_EQ(Plexo::intfNames(), names); });
  EXPECT_EQ(Plexo::intfNames(), names + 1);
  EXPECT_EQ(intf, Plexo::IntfId(name));
}

/// An operation of a set that is full, so that one entry more makes it grow.
struct SetOperation {
  const char* name;
  void (*operate)(ConfigSm::IntfSet& set);

  friend void PrintTo(const SetOperation& operation, std::ostream* stream) {
    *stream << operation.name;
  }
};

const SetOperation setOperations[] = {
    {"MemberIs", [](auto& set) { set.memberIs("Ethernet5"_intf, true); }},
    {"NewMember", [](auto& set) { set.newMember("Ethernet5"_intf, true); }},
    {"NewMemberOfTheCollection",
     [](auto& set) {
       set.memberCollection().newMember(new ConfigSm::IntfSet::KobMember("Ethernet5"_intf, true));
     }},
    {"Copy", [](auto& set) { const ConfigSm::IntfSet copy(set); }},
    {"Text", [](auto& set) { static_cast<void>(valueToStrep(set)); }},
};

class SetWithoutMemory : public testing::TestWithParam<SetOperation> {};

INSTANTIATE_TEST_SUITE_P(Operations, SetWithoutMemory, testing::ValuesIn(setOperations),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(SetWithoutMemory, KeepsItsEntriesLosesNothingAndTakesThemLater) {
  ConfigSm::IntfSet set = setOfThree();
  set.memberIs("Ethernet4"_intf, false);
  const ConfigSm::IntfSet old(set);
  ConfigSm::IntfSet untroubled(set);
  GetParam().operate(untroubled);
  const std::size_t before = live();
  const int failures = failingEachAllocationOf([&] { GetParam().operate(set); },
                                               [&] {
                                                 EXPECT_EQ(live(), before);
                                                 EXPECT_EQ(set, old);
                                               });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(set, untroubled);
}

TEST(MemoryOfInterfaceSets, ASetThatFailsToBeAssignedKeepsItsEntries) {
  const ConfigSm::IntfSet source = setOfThree();
  ConfigSm::IntfSet target;
  target.memberIs("Ethernet9"_intf, false);
  const ConfigSm::IntfSet old(target);
  failingEachAllocationOf([&] { target = source; }, [&] { EXPECT_EQ(target, old); });
  EXPECT_EQ(target, source);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
