// The table as an entity: its two maps, what counts as a change or a read, what is announced and in
// which order.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/BitReverse.h"
#include "tests/FyrL3Intf/TableFixture.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

class TableTest : public TableFixture {};

// ---------------------------------------------------------------------------------------------
// Creation

TEST(Table, TheFactoryGivesAnEmptyTableAndItsOnlyReference) {
  const auto table = tableFactory("L3 interfaces", true);
  EXPECT_EQ(table->references(), 1U);
  EXPECT_EQ(table->name(), Kob::Name("L3 interfaces"));
  EXPECT_EQ(table->intfL3Indexs(), 0U);
  EXPECT_EQ(table->routedPortNames(), 0U);
  EXPECT_FALSE(table->intfL3IndexIteratorConst());
  EXPECT_FALSE(table->routedPortNameIteratorConst());
  EXPECT_EQ(table->kobNotifiees().members(), 0U);
  EXPECT_EQ(table->changeCount(), 0U);
  EXPECT_EQ(table->readCount(), 0U);
  EXPECT_EQ(table->entityFlags(), 0x88U);
  EXPECT_FALSE(table->parent());
}

TEST(Table, PublishesInternalVlanNeededAsItWasBuilt) {
  EXPECT_TRUE(tableFactory("table", true)->internalVlanNeeded());
  EXPECT_FALSE(tableFactory("table", false)->internalVlanNeeded());
}

// ---------------------------------------------------------------------------------------------
// Writing intfL3Index

TEST_F(TableTest, ANewEntryIsThereAndCountedWhenItIsAnnounced) {
  listener->onKey = [&](Plexo::IntfId) {
    EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 10}}));
    EXPECT_EQ(table->changeCount(), 1U);
  };
  table->intfL3IndexIs(p, idX);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1"}));
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 10}}));
  EXPECT_EQ(table->changeCount(), 1U);
}

TEST_F(TableTest, WritingTheSameIdentifierTwiceChangesCountsAndAnnouncesNothing) {
  table->intfL3IndexIs(p, idX);
  EXPECT_EQ(changesOf([&] { table->intfL3IndexIs(p, idX); }), 0U);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1"}));
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 10}}));
}

TEST_F(TableTest, WritingAnotherIdentifierLeavesOneEntryAndCountsAndAnnouncesTwice) {
  table->intfL3IndexIs(p, idX);
  listener->onKey = [&](Plexo::IntfId) {
    EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 11}}));
    EXPECT_EQ(table->changeCount(), 2U);
  };
  table->intfL3IndexIs(p, idY);
  EXPECT_EQ(table->intfL3Indexs(), 1U);
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 11}}));
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet1"}));
  EXPECT_EQ(table->changeCount(), 2U);
}

TEST_F(TableTest, AnOverwrittenEntryStaysTheSameObject) {
  table->intfL3IndexIs(p, idX);
  const auto entry = table->intfL3IndexCollection()[p];
  const auto modifications = table->intfL3IndexCollection().modificationCount();
  table->intfL3IndexIs(p, idY);
  EXPECT_EQ(table->intfL3IndexCollection()[p], entry);
  EXPECT_EQ(entry->value(), idY);
  EXPECT_EQ(table->intfL3IndexCollection().modificationCount(), modifications);
}

TEST_F(TableTest, IdentifiersThatDifferInOneWordOnlyAreDifferentValues) {
  table->intfL3IndexIs(p, L3Id(0x100000005));
  EXPECT_EQ(changesOf([&] { table->intfL3IndexIs(p, L3Id(0x200000005)); }), 1U);
  EXPECT_EQ(changesOf([&] { table->intfL3IndexIs(p, L3Id(0x200000006)); }), 1U);
  EXPECT_EQ(listener->heard.size(), 3U);
}

TEST_F(TableTest, AZeroIdentifierIsAnEntryLikeAnyOther) {
  EXPECT_EQ(changesOf([&] { table->intfL3IndexIs(p, L3Id()); }), 1U);
  EXPECT_EQ(table->intfL3Indexs(), 1U);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1"}));
}

TEST_F(TableTest, InterfacesComeInTheOrderOfTheirReversedHashes) {
  for (unsigned n = 100; n < 150; ++n) {
    table->intfL3IndexIs(Plexo::IntfId(("Ethernet" + std::to_string(n)).c_str()), L3Id(n));
  }
  const auto intfs = order();
  EXPECT_EQ(intfs.size(), 50U);
  EXPECT_TRUE(std::is_sorted(intfs.begin(), intfs.end(), [](Plexo::IntfId a, Plexo::IntfId b) {
    return Kob::bitReverse(a.hash()) < Kob::bitReverse(b.hash());
  }));
}

TEST_F(TableTest, ARawInsertionIsNeitherCountedNorAnnounced) {
  const auto entry = table->newIntfL3Index(p, idX);
  EXPECT_EQ(entry->fwkKey(), p);
  EXPECT_EQ(entry->value(), idX);
  EXPECT_EQ(table->intfL3IndexCollection()[p], entry);
  EXPECT_EQ(table->changeCount(), 0U);
  EXPECT_EQ(listener->heard, Log{});
}

// ---------------------------------------------------------------------------------------------
// Removing from intfL3Index

TEST_F(TableTest, RemovingAnAbsentInterfaceGivesZeroAndCountsAndAnnouncesNothing) {
  table->intfL3IndexIs(q, idX);
  listener->heard.clear();
  EXPECT_EQ(changesOf([&] { EXPECT_EQ(table->intfL3IndexDel(p), L3Id()); }), 0U);
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet2", 10}}));
}

TEST_F(TableTest, RemovingGivesTheOldIdentifierAndNotifieesFindTheInterfaceAbsent) {
  table->intfL3IndexIs(p, idX);
  listener->heard.clear();
  listener->onKey = [&](Plexo::IntfId) {
    EXPECT_EQ(forwardOf(*table), Forward{});
    EXPECT_EQ(table->changeCount(), 2U);
  };
  EXPECT_EQ(table->intfL3IndexDel(p), idX);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1"}));
  EXPECT_EQ(table->changeCount(), 2U);
}

TEST_F(TableTest, RemovingThroughAnIteratorVisitsTheOtherEntriesOnce) {
  writeThree();
  const auto intfs = order();
  std::vector<Plexo::IntfId> visited;
  for (auto it = table->intfL3IndexIterator(); it; ++it) {
    visited.push_back(it.key());
    if (it.key() == q) continue;
    const L3Id value = *it;
    EXPECT_EQ(table->intfL3IndexDel(it), value);
  }
  EXPECT_EQ(visited, intfs);
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet2", 2}}));
  EXPECT_EQ(listener->heard.size(), 2U);
  EXPECT_EQ(table->changeCount(), 5U);
}

TEST_F(TableTest, AnIteratorThatStandsOnNoEntryRemovesNothing) {
  table->intfL3IndexIs(p, idX);
  listener->heard.clear();
  auto end = table->intfL3IndexIterator();
  ++end;
  EXPECT_EQ(changesOf([&] { EXPECT_EQ(table->intfL3IndexDel(end), L3Id()); }), 0U);
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(table->intfL3Indexs(), 1U);
}

TEST_F(TableTest, AnIteratorWhoseEntryHasGoneRemovesNothing) {
  table->intfL3IndexIs(p, idX);
  auto it = table->intfL3IndexIterator();
  EXPECT_EQ(table->intfL3IndexDel(it), idX);
  table->intfL3IndexIs(p, idY);
  listener->heard.clear();
  EXPECT_EQ(changesOf([&] { EXPECT_EQ(table->intfL3IndexDel(it), L3Id()); }), 0U);
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 11}}));
}

TEST_F(TableTest, RemovingAllAnnouncesEachInterfaceOnceInIterationOrderAndLeavesNothing) {
  writeThree();
  const Log names = orderOfNames();
  unsigned left = 3;
  listener->onKey = [&](Plexo::IntfId) { EXPECT_EQ(table->intfL3Indexs(), --left); };
  EXPECT_EQ(changesOf([&] { table->intfL3IndexDelAll(); }), 3U);
  EXPECT_EQ(listener->heard, names);
  EXPECT_EQ(table->intfL3Indexs(), 0U);
}

TEST_F(TableTest, RemovingAllFromAnEmptyTableDoesNothing) {
  EXPECT_EQ(changesOf([&] { table->intfL3IndexDelAll(); }), 0U);
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableTest, RemovingAllLeavesTheReverseMapAlone) {
  table->intfL3IndexIs(p, idX);
  table->routedPortNameIs(idX, p);
  table->intfL3IndexDelAll();
  EXPECT_EQ(reverseOf(*table), (Reverse{{10, "Ethernet1"}}));
}

TEST_F(TableTest, AnAnnouncementCountsNothingWhetherOrNotThereIsAnEntry) {
  table->intfL3IndexIs(p, idX);
  listener->heard.clear();
  EXPECT_EQ(changesOf([&] {
              table->intfL3IndexNotify(p);
              table->intfL3IndexNotify(q);
            }),
            0U);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet2"}));
}

// ---------------------------------------------------------------------------------------------
// The reverse map: every write counts, and nobody is told

TEST_F(TableTest, ANewOwnerIsOneChangeAndIsNotAnnounced) {
  EXPECT_EQ(changesOf([&] { table->routedPortNameIs(idX, p); }), 1U);
  EXPECT_EQ(reverseOf(*table), (Reverse{{10, "Ethernet1"}}));
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableTest, WritingTheSameOwnerTwiceCountsTwiceAndAnnouncesNothing) {
  EXPECT_EQ(changesOf([&] {
              table->routedPortNameIs(idX, p);
              table->routedPortNameIs(idX, p);
            }),
            2U);
  EXPECT_EQ(reverseOf(*table), (Reverse{{10, "Ethernet1"}}));
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableTest, AnotherOwnerIsWrittenIntoTheSameEntry) {
  table->routedPortNameIs(idX, p);
  const auto entry = table->routedPortNameCollection()[idX];
  EXPECT_EQ(changesOf([&] { table->routedPortNameIs(idX, q); }), 1U);
  EXPECT_EQ(table->routedPortNameCollection()[idX], entry);
  EXPECT_EQ(reverseOf(*table), (Reverse{{10, "Ethernet2"}}));
}

TEST_F(TableTest, ARawReverseEntryIsNotCounted) {
  const auto entry = table->newRoutedPortName(idX, p);
  EXPECT_EQ(entry->fwkKey(), idX);
  EXPECT_EQ(entry->value(), p);
  EXPECT_EQ(table->routedPortNameCollection()[idX], entry);
  EXPECT_EQ(table->changeCount(), 0U);
}

TEST_F(TableTest, IdentifiersOfOneLowWordAreTwoEntriesInOneBucketChain) {
  const L3Id small(0x100000005);
  const L3Id large(0x200000005);
  table->routedPortNameIs(large, q);
  table->routedPortNameIs(small, p);
  EXPECT_EQ(reverseOf(*table), (Reverse{{0x100000005, "Ethernet1"}, {0x200000005, "Ethernet2"}}));
  EXPECT_EQ(Kob::reversedHash(small), Kob::reversedHash(large));
  EXPECT_EQ(table->routedPortName(small), p);
  EXPECT_EQ(table->routedPortName(large), q);
  EXPECT_EQ(table->routedPortNameDel(large), q);
  EXPECT_EQ(reverseOf(*table), (Reverse{{0x100000005, "Ethernet1"}}));
}

TEST_F(TableTest, IdentifiersOfOneBucketComeInTheirOrder) {
  for (const std::uint64_t high : {3U, 1U, 0x80000000U, 2U}) {
    table->routedPortNameIs(L3Id((high << 32U) | 5U), p);
  }
  std::vector<std::uint64_t> highs;
  for (auto it = table->routedPortNameIteratorConst(); it; ++it) highs.push_back(it.key().high());
  EXPECT_EQ(highs, (std::vector<std::uint64_t>{1, 2, 3, 0x80000000}));
}

TEST_F(TableTest, IdentifiersComeInTheOrderOfTheirReversedLowWords) {
  for (std::uint64_t id = 1; id <= 8; ++id) table->routedPortNameIs(L3Id(id), p);
  std::vector<std::uint64_t> ids;
  for (auto it = table->routedPortNameIteratorConst(); it; ++it) ids.push_back(it.key().value());
  EXPECT_EQ(ids, (std::vector<std::uint64_t>{8, 4, 2, 6, 1, 5, 3, 7}));
}

TEST_F(TableTest, RemovingAnAbsentIdentifierGivesTheEmptyInterfaceAndCountsNothing) {
  EXPECT_EQ(changesOf([&] { EXPECT_FALSE(table->routedPortNameDel(idX)); }), 0U);
}

TEST_F(TableTest, RemovingAnIdentifierGivesItsOwnerCountsAndAnnouncesNothing) {
  table->routedPortNameIs(idX, p);
  EXPECT_EQ(changesOf([&] { EXPECT_EQ(table->routedPortNameDel(idX), p); }), 1U);
  EXPECT_EQ(reverseOf(*table), Reverse{});
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableTest, RemovingIdentifiersThroughAnIteratorVisitsTheOthersOnce) {
  for (std::uint64_t id = 1; id <= 5; ++id) table->routedPortNameIs(L3Id(id), p);
  unsigned visited = 0;
  for (auto it = table->routedPortNameIterator(); it; ++it) {
    ++visited;
    if (it.key() != L3Id(3)) table->routedPortNameDel(it);
  }
  EXPECT_EQ(visited, 5U);
  EXPECT_EQ(reverseOf(*table), (Reverse{{3, "Ethernet1"}}));
  EXPECT_EQ(table->changeCount(), 9U);
}

TEST_F(TableTest, AnIteratorThatStandsOnNoIdentifierRemovesNothing) {
  table->routedPortNameIs(idX, p);
  auto end = table->routedPortNameIterator();
  ++end;
  EXPECT_EQ(changesOf([&] { EXPECT_FALSE(table->routedPortNameDel(end)); }), 0U);
  EXPECT_EQ(table->routedPortNames(), 1U);
}

TEST_F(TableTest, RemovingAllIdentifiersCountsEachAndAnnouncesNothing) {
  for (std::uint64_t id = 1; id <= 5; ++id) table->routedPortNameIs(L3Id(id), p);
  table->intfL3IndexIs(p, L3Id(1));
  listener->heard.clear();
  EXPECT_EQ(changesOf([&] { table->routedPortNameDelAll(); }), 5U);
  EXPECT_EQ(reverseOf(*table), Reverse{});
  EXPECT_EQ(table->intfL3Indexs(), 1U);
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableTest, RemovingAllIdentifiersOfAnEmptyTableDoesNothing) {
  EXPECT_EQ(changesOf([&] { table->routedPortNameDelAll(); }), 0U);
}

TEST_F(TableTest, AnnouncingAnIdentifierDoesNothing) {
  table->routedPortNameIs(idX, p);
  EXPECT_EQ(changesOf([&] { table->routedPortNameNotify(idX); }), 0U);
  EXPECT_EQ(listener->heard, Log{});
}

// ---------------------------------------------------------------------------------------------
// Counting of reads

TEST_F(TableTest, OnlyKeyedReadsCountAndMissesCountToo) {
  table->intfL3IndexIs(p, idX);
  table->intfL3IndexIs(p, idY);
  table->routedPortNameIs(idX, p);
  EXPECT_TRUE(table->intfL3IndexIteratorConst().isMemberOf(p));
  EXPECT_TRUE(table->routedPortNameIteratorConst().isMemberOf(idX));
  EXPECT_TRUE(table->intfL3IndexCollection()[p]);
  EXPECT_EQ(table->intfL3Indexs() + table->routedPortNames(), 2U);
  EXPECT_EQ(table->readCount(), 0U);

  EXPECT_EQ(table->intfL3Index(p), idY);
  EXPECT_EQ(table->readCount(), 1U);
  EXPECT_EQ(table->intfL3Index(q), L3Id());
  EXPECT_EQ(table->readCount(), 2U);
  EXPECT_EQ(table->routedPortName(idX), p);
  EXPECT_EQ(table->readCount(), 3U);
  EXPECT_FALSE(table->routedPortName(idY));
  EXPECT_EQ(table->readCount(), 4U);

  table->intfL3IndexDel(p);
  table->routedPortNameDel(idX);
  table->intfL3IndexDelAll();
  table->routedPortNameDelAll();
  EXPECT_EQ(table->readCount(), 4U);
  EXPECT_EQ(table->changeCount(), 5U);
}

// ---------------------------------------------------------------------------------------------
// Contract violations

TEST_F(TableTest, ASecondRawInsertionOfAnInterfaceIsFatal) {
  table->newIntfL3Index(p, idX);
  EXPECT_FATAL(table->newIntfL3Index(p, idY),
               assertion("Kob/HashMapGeneric.cpp",
                         "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)",
                         "!isMemberOf( key )"));
}

TEST_F(TableTest, AnIteratorOfAnotherTableIsFatal) {
  const auto other = tableFactory("other", false);
  other->intfL3IndexIs(p, idX);
  other->routedPortNameIs(idX, p);
  const std::string report =
      assertion("Kob/AccessorFamily.h", "void Kob::checkIterator(const Iterator&, const Map&)",
                "it.map() == &map");
  EXPECT_FATAL(
      {
        auto it = other->intfL3IndexIterator();
        table->intfL3IndexDel(it);
      },
      report);
  EXPECT_FATAL(
      {
        auto it = other->routedPortNameIterator();
        table->routedPortNameDel(it);
      },
      report);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
