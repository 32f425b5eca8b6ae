// What allocates, and what stands when memory runs out: the n-th allocation fails, for every n
// until none does.

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

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
  for (const Failing mode : {Failing::once, Failing::fromThereOn}) {
    bool failed = true;
    for (std::size_t successes = 0; failed; ++successes) {
      const Trace trace;
      L3Id l3Id;
      Plexo::IntfId owner;
      const Outcome outcome = failingAfter(
          successes,
          [&] {
            l3Id = table->intfIdToL3Id(intf);
            owner = table->l3IdToIntfId(l3Id);
          },
          mode);
      EXPECT_FALSE(outcome.thrown);
      EXPECT_EQ(l3Id, L3Id(0xFFFFFFFFFFFFFFFF));
      EXPECT_FALSE(owner);
      failed = outcome.failed;
    }
  }
}

/// A table with so many readers that announcing to them needs memory for the list of them.
class TableWithManyReaders : public testing::Test {
 protected:
  const Plexo::IntfId p = "Ethernet1"_intf;
  Kob::Ptr<Table> table = tableFactory("table", false);
  std::vector<Kob::Ptr<Reader>> readers;

  void SetUp() override {
    table->intfL3IndexIs(p, L3Id(1));
    giveUpTheBlockOfTheWalks();
    readers = manyReadersOf(table);
  }
  /// What each of them heard.
  [[nodiscard]] std::set<std::string> heard() const {
    std::set<std::string> texts;
    for (const auto& reader : readers) texts.insert(reader->text());
    return texts;
  }
};

using Texts = std::set<std::string>;

TEST_F(TableWithManyReaders, AValueThatCanNotBeAnnouncedIsWrittenAndCounted) {
  const auto write = [&] { table->intfL3IndexIs(p, L3Id(2)); };
  EXPECT_TRUE(failingAfter(0, write).thrown);
  EXPECT_EQ(textOf(*table), "Ethernet1->2 changes 2\n");
  EXPECT_EQ(heard(), Texts{"heard"});
  write();
  EXPECT_EQ(heard(), Texts{"heard"}) << "the value stands, so writing it is no change";
  table->intfL3IndexNotify(p);
  EXPECT_EQ(heard(), Texts{"heard Ethernet1"});
}

TEST_F(TableWithManyReaders, ARemovalThatCanNotBeAnnouncedIsMadeAndCounted) {
  EXPECT_TRUE(failingAfter(0, [&] { table->intfL3IndexDel(p); }).thrown);
  EXPECT_EQ(textOf(*table), "changes 2\n");
  EXPECT_EQ(heard(), Texts{"heard"});
  table->intfL3IndexIs(p, L3Id(3));
  EXPECT_EQ(heard(), Texts{"heard Ethernet1"});
}

TEST_F(TableWithManyReaders, TheRemovalOfAllStopsAtTheKeyThatCanNotBeAnnounced) {
  table->intfL3IndexIs("Ethernet2"_intf, L3Id(2));
  giveUpTheBlockOfTheWalks();
  EXPECT_TRUE(failingAfter(0, [&] { table->intfL3IndexDelAll(); }).thrown);
  EXPECT_EQ(table->intfL3Indexs(), 1U);
  EXPECT_EQ(table->changeCount(), 3U);
  table->intfL3IndexDelAll();
  EXPECT_EQ(table->intfL3Indexs(), 0U);
}

TEST_F(TableWithManyReaders, ALastReferenceThatCanNotBeAnnouncedEndsTheProcess) {
  for (const auto& reader : readers) reader->isWeakReferenceIs(true);
  EXPECT_EXIT((KobTest::FailingHeap::failAfter(0), table = nullptr),
              testing::KilledBySignal(SIGABRT), "std::bad_alloc");
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

TEST(MemoryOfInterfaceSets, ASetThatFailsToBeAssignedKeepsItsEntries) {
  ConfigSm::IntfSet source;
  ConfigSm::IntfSet target;
  for (const char* const name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    source.memberIs(Plexo::IntfId(name), true);
  }
  target.memberIs("Ethernet9"_intf, false);
  const ConfigSm::IntfSet old(target);
  failingEachAllocationOf([&] { target = source; }, [&] { EXPECT_EQ(target, old); });
  EXPECT_EQ(target, source);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
