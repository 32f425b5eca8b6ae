// What notifiees may do to the table from inside their callbacks, down to letting it go, and what
// its last release tells them.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "tests/FyrL3Intf/TableFixture.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

class TableReentryTest : public TableFixture {};

TEST_F(TableReentryTest, ANotifieeThatThrowsIsToldWith260AndTheOthersAreCalled) {
  const auto other = listenerOf(table);
  listener->onKey = [](Plexo::IntfId) { throw std::runtime_error("refused"); };
  table->intfL3IndexIs(p, idX);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "exception 260"}));
  EXPECT_EQ(other->heard, (Log{"Ethernet1"}));
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 10}}));
  EXPECT_EQ(table->changeCount(), 1U);
}

TEST_F(TableReentryTest, ANotifieeThatThrowsWhenAnEntryGoesStopsNoRemoval) {
  writeThree();
  const Log names = orderOfNames();
  listener->onKey = [](Plexo::IntfId) { throw std::runtime_error("refused"); };
  table->intfL3IndexDelAll();
  EXPECT_EQ(listener->heard,
            (Log{names[0], "exception 260", names[1], "exception 260", names[2], "exception 260"}));
  EXPECT_EQ(table->intfL3Indexs(), 0U);
}

TEST_F(TableReentryTest, ANotifieeMayWriteAnotherInterfaceInsideItsCallback) {
  listener->onKey = [&](Plexo::IntfId) { table->intfL3IndexIs(q, idY); };
  table->intfL3IndexIs(p, idX);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet2"}));
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 10}, {"Ethernet2", 11}}));
  EXPECT_EQ(table->changeCount(), 2U);
}

TEST_F(TableReentryTest, ANotifieeMayOverwriteTheEntryThatIsAnnounced) {
  listener->onKey = [&](Plexo::IntfId intf) { table->intfL3IndexIs(intf, idY); };
  table->intfL3IndexIs(p, idX);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet1"}));
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 11}}));
  EXPECT_EQ(table->changeCount(), 2U);
}

TEST_F(TableReentryTest, ANotifieeMayRemoveTheEntryThatIsAnnounced) {
  listener->onKey = [&](Plexo::IntfId intf) { table->intfL3IndexDel(intf); };
  table->intfL3IndexIs(p, idX);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet1"}));
  EXPECT_EQ(forwardOf(*table), Forward{});
  EXPECT_EQ(table->changeCount(), 2U);
}

TEST_F(TableReentryTest, ARemovalGivesTheOldIdentifierWhateverANotifieeWritesMeanwhile) {
  table->intfL3IndexIs(p, idX);
  listener->heard.clear();
  listener->onKey = [&](Plexo::IntfId intf) { table->intfL3IndexIs(intf, idY); };
  EXPECT_EQ(table->intfL3IndexDel(p), idX);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet1"}));
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 11}}));
}

TEST_F(TableReentryTest, ANotifieeMayRemoveEverythingInsideItsCallback) {
  writeThree();
  listener->onKey = [&](Plexo::IntfId) { table->intfL3IndexDelAll(); };
  table->intfL3IndexDel(q);
  EXPECT_EQ(listener->heard.size(), 3U);
  EXPECT_EQ(table->intfL3Indexs(), 0U);
  EXPECT_EQ(table->changeCount(), 6U);
}

TEST_F(TableReentryTest, RemovingAllInsideRemovingAllAnnouncesEachInterfaceOnce) {
  writeThree();
  const Log names = orderOfNames();
  listener->onKey = [&](Plexo::IntfId) { table->intfL3IndexDelAll(); };
  EXPECT_EQ(changesOf([&] { table->intfL3IndexDelAll(); }), 3U);
  EXPECT_EQ(listener->heard, names);
  EXPECT_EQ(table->intfL3Indexs(), 0U);
}

TEST_F(TableReentryTest, AnInterfaceThatIsWrittenAgainWhileAllAreRemovedStays) {
  writeThree();
  const Plexo::IntfId first = order().front();
  listener->onKey = [&](Plexo::IntfId intf) {
    if (intf == first) table->intfL3IndexIs(first, L3Id(99));
  };
  table->intfL3IndexDelAll();
  EXPECT_EQ(forwardOf(*table), (Forward{{nameOf(first), 99}}));
}

TEST_F(TableReentryTest, AnInterfaceThatIsWrittenAheadOfTheWalkWhileAllAreRemovedIsRemovedToo) {
  writeThree();
  const auto intfs = order();
  table->intfL3IndexDel(intfs.back());
  listener->heard.clear();
  listener->onKey = [&](Plexo::IntfId intf) {
    if (intf == intfs.front()) table->intfL3IndexIs(intfs.back(), L3Id(99));
  };
  table->intfL3IndexDelAll();
  EXPECT_EQ(table->intfL3Indexs(), 0U);
  EXPECT_EQ(listener->heard,
            (Log{nameOf(intfs[0]), nameOf(intfs[2]), nameOf(intfs[1]), nameOf(intfs[2])}));
}

TEST_F(TableReentryTest, AnInterfaceThatIsRemovedAheadOfTheWalkIsAnnouncedOnce) {
  writeThree();
  const auto intfs = order();
  listener->onKey = [&](Plexo::IntfId intf) {
    if (intf == intfs[0]) table->intfL3IndexDel(intfs[1]);
  };
  table->intfL3IndexDelAll();
  EXPECT_EQ(listener->heard, (Log{nameOf(intfs[0]), nameOf(intfs[1]), nameOf(intfs[2])}));
}

TEST_F(TableReentryTest, AWalkGoesOnWhenTheTableGrowsUnderIt) {
  writeThree();
  listener->onKey = [&](Plexo::IntfId intf) {
    if (table->routedPortNames() != 0) return;
    table->routedPortNameIs(L3Id(1), intf);
    for (unsigned n = 100; n < 200; ++n) {
      table->intfL3IndexIs(Plexo::IntfId(("Grown" + std::to_string(n)).c_str()), L3Id(n));
    }
  };
  const auto intfs = order();
  table->intfL3IndexDelAll();
  for (const auto& intf : intfs) EXPECT_FALSE(table->intfL3IndexIteratorConst().isMemberOf(intf));
}

/// The listener lets the table go from inside its callback, and then nobody holds it.
class TableDroppedByANotifiee : public testing::Test {
 protected:
  const L3Id idX{10};
  const L3Id idY{11};
  Kob::Ptr<Table> table = tableFactory("table", false);
  Table& raw = *table;
  Kob::Ptr<TableListener> dropper{new TableListener};

  void SetUp() override {
    table->newIntfL3Index("Ethernet1"_intf, idX);
    table->newIntfL3Index("Ethernet2"_intf, idY);
    joined(dropper, table);
    dropper->onKey = [this](Plexo::IntfId) {
      dropper->notifierIs(nullptr);
      table = nullptr;
    };
  }
};

TEST_F(TableDroppedByANotifiee, InsideAWrite) {
  raw.intfL3IndexIs("Ethernet1"_intf, idY);
  EXPECT_EQ(dropper->heard, (Log{"Ethernet1"}));
}

TEST_F(TableDroppedByANotifiee, InsideARemovalStillGivesTheOldIdentifier) {
  EXPECT_EQ(raw.intfL3IndexDel("Ethernet1"_intf), idX);
  EXPECT_EQ(dropper->heard, (Log{"Ethernet1"}));
}

TEST_F(TableDroppedByANotifiee, InsideRemovingAllGoesWhenTheWalkIsOver) {
  const auto other = listenerOf(table);
  other->isWeakReferenceIs(true);
  raw.intfL3IndexDelAll();
  EXPECT_EQ(dropper->heard.size(), 1U);
  EXPECT_EQ(other->heard.size(), 3U);
  EXPECT_EQ(other->heard.back(), "zero references");
  EXPECT_FALSE(other->notifier());
}

// ---------------------------------------------------------------------------------------------
// The end of a table

class TableEndTest : public TableFixture {};

TEST_F(TableEndTest, TheLastReleaseIsToldOnceWhileTheEntriesAreStillThere) {
  table->intfL3IndexIs(p, idX);
  table->routedPortNameIs(idX, p);
  listener->heard.clear();
  listener->isWeakReferenceIs(true);
  const Table& going = *table;
  listener->onZero = [&] {
    EXPECT_EQ(forwardOf(going), (Forward{{"Ethernet1", 10}}));
    EXPECT_EQ(reverseOf(going), (Reverse{{10, "Ethernet1"}}));
  };
  table = nullptr;
  EXPECT_EQ(listener->heard, (Log{"zero references"}));
  EXPECT_FALSE(listener->notifier());
}

TEST_F(TableEndTest, ANotifieeThatKeepsAReferenceAtTheLastReleaseKeepsTheTable) {
  table->intfL3IndexIs(p, idX);
  listener->isWeakReferenceIs(true);
  Kob::Ptr<const Table> kept;
  listener->onZero = [&] { kept = listener->notifier(); };
  table = nullptr;
  EXPECT_EQ(forwardOf(*kept), (Forward{{"Ethernet1", 10}}));
  EXPECT_TRUE(listener->notifier());
  EXPECT_EQ(kept->kobNotifiees().members(), 1U);

  listener->heard.clear();
  listener->onZero = [] {};
  kept = nullptr;
  EXPECT_EQ(listener->heard, (Log{"zero references"}));
  EXPECT_FALSE(listener->notifier());
}

TEST_F(TableEndTest, ANotifieeThatTakesAndDropsAReferenceAtTheLastReleaseIsToldOnce) {
  listener->isWeakReferenceIs(true);
  listener->onZero = [&] { EXPECT_TRUE(listener->notifier()); };
  table = nullptr;
  EXPECT_EQ(listener->heard, (Log{"zero references"}));
}

TEST_F(TableEndTest, ATableThatGoesUnlinksItsNotifiees) {
  const auto second = listenerOf(table);
  listener->isWeakReferenceIs(true);
  second->isWeakReferenceIs(true);
  EXPECT_EQ(table->kobNotifiees().next(listener.get()), second.get());
  table = nullptr;
  EXPECT_EQ(tableFactory("another", false)->kobNotifiees().next(listener.get()), nullptr);
}

TEST_F(TableEndTest, AnEntryMayBeHeldLongerThanItsTable) {
  table->intfL3IndexIs(p, idX);
  table->intfL3IndexIs(q, idY);
  const auto entry = table->intfL3IndexCollection()[p];
  listener->notifierIs(nullptr);
  table = nullptr;
  EXPECT_EQ(entry->fwkKey(), p);
  EXPECT_EQ(entry->value(), idX);
  EXPECT_EQ(entry->references(), 1U);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
