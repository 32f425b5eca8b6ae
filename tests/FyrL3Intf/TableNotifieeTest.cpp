// How notifiees join and leave a table, and what becomes of an announcement when they do so from
// inside their callbacks.

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/Exception.h"
#include "platform/L3IndexDir.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

class TableNotifieeTest : public testing::Test {
 protected:
  const Plexo::IntfId p = "Ethernet1"_intf;
  const Plexo::IntfId q = "Ethernet2"_intf;

  Kob::Ptr<Table> table = tableFactory("table", false);
  Kob::Ptr<Table> other = tableFactory("other", false);
  Kob::Ptr<TableListener> listener{new TableListener};
  /// What the listeners a, b, c, d hear, in the order in which they hear it.
  Log log;

  [[nodiscard]] std::uint32_t members() const { return table->kobNotifiees().members(); }
  [[nodiscard]] std::uint32_t modifications() const {
    return table->kobNotifiees().modificationCount();
  }
  Kob::Ptr<TableListener> join(const char* name) { return listenerOf(table, name, log); }
  void announce() { table->intfL3IndexNotify(p); }
  /// What is heard of one announcement, as the listeners' names.
  Log announced() {
    log.clear();
    announce();
    return log;
  }
};

// ---------------------------------------------------------------------------------------------
// States of a notifiee

TEST_F(TableNotifieeTest, ANewOneIsBoundToNothingAndUnregistered) {
  EXPECT_FALSE(listener->notifier());
  EXPECT_FALSE(listener->isRegisteredNotifiee());
  EXPECT_TRUE(listener->hasNotificationActive());
  EXPECT_FALSE(listener->intfL3IndexPendingKey());
  EXPECT_EQ(listener->name(), Kob::Name(""));
}

TEST_F(TableNotifieeTest, OneThatOverridesNothingHearsNothing) {
  const auto plain = joined(Kob::Ptr(new Table::Notifiee), table);
  announce();
  plain->onIntfL3Index();
  plain->onIntfL3IndexkobImmediate();
  plain->onZeroReferences();
  EXPECT_FALSE(plain->intfL3IndexPendingKey());
}

TEST_F(TableNotifieeTest, HasTheNameOfItsTable) {
  listener->notifierIs(table);
  EXPECT_EQ(listener->name(), Kob::Name("table"));
}

TEST_F(TableNotifieeTest, OneThatIsBoundButUnregisteredGetsNoCalls) {
  listener->notifierIs(table);
  EXPECT_EQ(listener->notifier(), table);
  EXPECT_EQ(members(), 0U);
  announce();
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableNotifieeTest, RegisteringItLaterAppendsItAtTheTail) {
  const auto late = Kob::Ptr(new TableListener("late", log));
  late->notifierIs(table);
  const auto early = join("early");
  late->isRegisteredNotifieeIs(true);
  EXPECT_EQ(announced(), (Log{"early Ethernet1", "late Ethernet1"}));
}

TEST_F(TableNotifieeTest, OneThatIsRegisteredButUnboundJoinsWhenItIsBound) {
  EXPECT_TRUE(listener->isRegisteredNotifieeIs(true));
  EXPECT_TRUE(listener->isRegisteredNotifiee());
  EXPECT_EQ(members(), 0U);
  listener->notifierIs(table);
  EXPECT_EQ(members(), 1U);
  announce();
  EXPECT_EQ(listener->heard, (Log{"Ethernet1"}));
}

TEST_F(TableNotifieeTest, EachKeyIsCalledWithTheKeyedHookAlone) {
  joined(listener, table);
  table->intfL3IndexIs(p, L3Id(1));
  table->intfL3IndexIs(q, L3Id(2));
  table->intfL3IndexDel(p);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet2", "Ethernet1"}));
}

TEST_F(TableNotifieeTest, RegisteringCountsInTheListAndRegisteringTwiceDoesNothingMore) {
  listener->notifierIs(table);
  EXPECT_EQ(modifications(), 0U);
  EXPECT_TRUE(listener->isRegisteredNotifieeIs(true));
  EXPECT_EQ(members(), 1U);
  EXPECT_EQ(modifications(), 1U);
  EXPECT_TRUE(listener->isRegisteredNotifieeIs(true));
  EXPECT_EQ(members(), 1U);
  EXPECT_EQ(modifications(), 1U);
  EXPECT_FALSE(listener->isRegisteredNotifieeIs(false));
  EXPECT_EQ(members(), 0U);
  EXPECT_EQ(modifications(), 2U);
  EXPECT_FALSE(listener->isRegisteredNotifieeIs(false));
  EXPECT_EQ(modifications(), 2U);
}

TEST_F(TableNotifieeTest, OneThatWasUnregisteredRemembersItsTableAndHearsNothing) {
  joined(listener, table);
  listener->isRegisteredNotifieeIs(false);
  EXPECT_EQ(listener->notifier(), table);
  announce();
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableNotifieeTest, AreCalledInTheOrderInWhichTheyRegistered) {
  const auto a = join("a");
  const auto b = join("b");
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1"}));
  a->isRegisteredNotifieeIs(false);
  a->isRegisteredNotifieeIs(true);
  EXPECT_EQ(announced(), (Log{"b Ethernet1", "a Ethernet1"}));
}

TEST_F(TableNotifieeTest, AnyOfThreeMayLeave) {
  for (unsigned leaving = 0; leaving < 3; ++leaving) {
    Kob::Ptr<TableListener> all[] = {join("a"), join("b"), join("c")};
    Log expected{"a Ethernet1", "b Ethernet1", "c Ethernet1", "d Ethernet1"};
    all[leaving]->isRegisteredNotifieeIs(false);
    const auto d = join("d");
    expected.erase(expected.begin() + leaving);
    EXPECT_EQ(announced(), expected);
  }
}

TEST_F(TableNotifieeTest, TheSameTableAgainChangesNothing) {
  const auto a = join("a");
  const auto b = join("b");
  const auto before = modifications();
  a->notifierIs(table);
  EXPECT_EQ(modifications(), before);
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1"}));
}

TEST_F(TableNotifieeTest, AnotherTableMovesTheRegistrationToItsTail) {
  const auto a = join("a");
  const auto b = listenerOf(other, "b", log);
  const auto before = modifications();
  a->notifierIs(other);
  EXPECT_EQ(a->notifier(), other);
  EXPECT_EQ(members(), 0U);
  EXPECT_EQ(modifications(), before + 1);
  EXPECT_EQ(announced(), Log{});
  other->intfL3IndexNotify(p);
  EXPECT_EQ(log, (Log{"b Ethernet1", "a Ethernet1"}));
}

TEST_F(TableNotifieeTest, OneThatIsUnregisteredMovesWithoutJoining) {
  listener->notifierIs(table);
  listener->notifierIs(other);
  EXPECT_EQ(listener->notifier(), other);
  EXPECT_EQ(modifications(), 0U);
  EXPECT_EQ(other->kobNotifiees().modificationCount(), 0U);
}

TEST_F(TableNotifieeTest, NoTableUnbindsItAndKeepsItRegistered) {
  joined(listener, table);
  listener->notifierIs(nullptr);
  EXPECT_FALSE(listener->notifier());
  EXPECT_TRUE(listener->isRegisteredNotifiee());
  EXPECT_EQ(members(), 0U);
  listener->notifierIs(table);
  EXPECT_EQ(members(), 1U);
}

TEST_F(TableNotifieeTest, AnObjectThatIsNoTableUnbindsIt) {
  joined(listener, table);
  listener->notifierIs(l3IndexDirFactory("no table"));
  EXPECT_FALSE(listener->notifier());
  EXPECT_EQ(members(), 0U);
}

TEST_F(TableNotifieeTest, KeepsItsTableAliveUntilItIsBoundToAnother) {
  EXPECT_EQ(table->references(), 1U);
  listener->notifierIs(table);
  EXPECT_EQ(table->references(), 2U);
  listener->notifierIs(other);
  EXPECT_EQ(table->references(), 1U);
}

TEST_F(TableNotifieeTest, OneThatGoesLeavesTheListAndReleasesItsTable) {
  const auto a = join("a");
  joined(listener, table);
  const auto b = join("b");
  listener = nullptr;
  EXPECT_EQ(members(), 2U);
  EXPECT_EQ(table->references(), 3U);
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1"}));
}

TEST_F(TableNotifieeTest, OneThatGoesAsAZombieLeavesTheListToo) {
  joined(listener, table);
  listener->kobMarkedForDeletionIs(true);
  listener = nullptr;
  EXPECT_EQ(members(), 0U);
  announce();
}

TEST_F(TableNotifieeTest, AWeakHoldDoesNotKeepTheTableAndReadsNullWhenItHasGone) {
  joined(listener, table);
  listener->isWeakReferenceIs(true);
  EXPECT_EQ(table->references(), 1U);
  announce();
  table = nullptr;
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "zero references"}));
  EXPECT_FALSE(listener->notifier());
  listener->notifierIs(other);
  EXPECT_EQ(other->kobNotifiees().members(), 1U);
}

TEST_F(TableNotifieeTest, OneThatIsNotRegisteredIsNotToldOfTheLastRelease) {
  listener->notifierIs(table);
  listener->isWeakReferenceIs(true);
  table = nullptr;
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_FALSE(listener->notifier());
}

// ---------------------------------------------------------------------------------------------
// Callbacks that join and leave

TEST_F(TableNotifieeTest, OneThatLeavesInsideItsCallbackStopsNobody) {
  const auto a = join("a");
  const auto b = join("b");
  const auto c = join("c");
  b->onKey = [&](Plexo::IntfId) { b->isRegisteredNotifieeIs(false); };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1", "c Ethernet1"}));
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "c Ethernet1"}));
}

TEST_F(TableNotifieeTest, OneThatWasCalledMayBeTakenOutByALaterOne) {
  auto a = join("a");
  const auto b = join("b");
  const auto c = join("c");
  b->onKey = [&](Plexo::IntfId) { a = nullptr; };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1", "c Ethernet1"}));
  EXPECT_EQ(announced(), (Log{"b Ethernet1", "c Ethernet1"}));
}

TEST_F(TableNotifieeTest, TheNextOneThatIsUnregisteredIsStillCalledWhileSomebodyHoldsIt) {
  const auto a = join("a");
  const auto b = join("b");
  a->onKey = [&](Plexo::IntfId) { b->isRegisteredNotifieeIs(false); };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1"}));
  EXPECT_EQ(announced(), (Log{"a Ethernet1"}));
}

TEST_F(TableNotifieeTest, TheNextOneThatIsReleasedByEverybodyIsSkipped) {
  const auto a = join("a");
  auto b = join("b");
  const auto c = join("c");
  a->onKey = [&](Plexo::IntfId) {
    if (b) b->isRegisteredNotifieeIs(false);
    b = nullptr;
  };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "c Ethernet1"}));
  EXPECT_EQ(members(), 2U);
}

TEST_F(TableNotifieeTest, SeveralInARowThatAreReleasedAreSkippedTheLastOneToo) {
  const auto a = join("a");
  auto b = join("b");
  auto c = join("c");
  auto d = join("d");
  a->onKey = [&](Plexo::IntfId) { b = c = d = nullptr; };
  EXPECT_EQ(announced(), (Log{"a Ethernet1"}));
  EXPECT_EQ(members(), 1U);
}

TEST_F(TableNotifieeTest, OneThatReleasesItselfLivesUntilItsCallbackReturns) {
  auto a = join("a");
  const auto b = join("b");
  a->onKey = [&](Plexo::IntfId) {
    a = nullptr;
    EXPECT_EQ(members(), 2U);
  };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1"}));
  EXPECT_EQ(members(), 1U);
}

TEST_F(TableNotifieeTest, OneThatJoinsDuringAnAnnouncementIsCalledFromTheNextOn) {
  const auto a = join("a");
  Kob::Ptr<TableListener> late;
  a->onKey = [&](Plexo::IntfId) {
    if (!late) late = join("late");
  };
  EXPECT_EQ(announced(), (Log{"a Ethernet1"}));
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "late Ethernet1"}));
}

TEST_F(TableNotifieeTest, ALaterOneThatLeavesAndJoinsAgainIsCalledOnceAtItsOldPlace) {
  const auto a = join("a");
  const auto b = join("b");
  const auto c = join("c");
  a->onKey = [&](Plexo::IntfId) {
    b->isRegisteredNotifieeIs(false);
    b->isRegisteredNotifieeIs(true);
  };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "b Ethernet1", "c Ethernet1"}));
  a->onKey = [](Plexo::IntfId) {};
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "c Ethernet1", "b Ethernet1"}));
}

TEST_F(TableNotifieeTest, AnAnnouncementInsideACallbackIsMadeToAllBeforeTheOuterOneGoesOn) {
  const auto a = join("a");
  const auto b = join("b");
  a->onKey = [&](Plexo::IntfId intf) {
    if (intf == p) table->intfL3IndexNotify(q);
  };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "a Ethernet2", "b Ethernet2", "b Ethernet1"}));
}

TEST_F(TableNotifieeTest, TheTableMayGoDuringAnAnnouncement) {
  const auto a = join("a");
  const auto b = join("b");
  a->onKey = [&](Plexo::IntfId) {
    a->notifierIs(nullptr);
    b->notifierIs(nullptr);
    table = nullptr;
  };
  announce();
  EXPECT_EQ(log, (Log{"a Ethernet1", "b Ethernet1"}));
}

// ---------------------------------------------------------------------------------------------
// Callbacks that throw

TEST_F(TableNotifieeTest, OneThatThrowsIsToldAndTheChangeStays) {
  joined(listener, table);
  listener->onKey = [](Plexo::IntfId) { throw std::runtime_error("refused"); };
  EXPECT_NO_THROW(table->intfL3IndexIs(p, L3Id(1)));
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "exception 260"}));
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 1}}));
}

TEST_F(TableNotifieeTest, OneThatThrowsIsToldBeforeTheNextOneIsCalled) {
  const auto a = join("a");
  const auto b = join("b");
  a->onKey = [](Plexo::IntfId) { throw std::runtime_error("refused"); };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "a exception 260", "b Ethernet1"}));
}

TEST_F(TableNotifieeTest, WhateverIsThrownIsCaught) {
  joined(listener, table);
  listener->onKey = [](Plexo::IntfId) { throw 7; };
  announce();
  listener->onKey = [](Plexo::IntfId) { Kob::throwRangeException("out of range"); };
  announce();
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "exception 260", "Ethernet1", "exception 260"}));
}

TEST_F(TableNotifieeTest, OneThatThrowsAfterItReleasedItselfIsToldBeforeItGoes) {
  auto a = join("a");
  const auto b = join("b");
  a->onKey = [&](Plexo::IntfId) {
    a = nullptr;
    throw std::runtime_error("refused");
  };
  EXPECT_EQ(announced(), (Log{"a Ethernet1", "a exception 260", "b Ethernet1"}));
}

/// Throws from every hook.
class Thrower final : public Table::NotifieeConst {
 public:
  using NotifieeConst::onIntfL3Index;
  using NotifieeConst::onNotificationException;

  void onIntfL3Index(Plexo::IntfId) override { throw std::runtime_error("refused"); }
  void onNotificationException(Kob::AttributeId) override { throw std::runtime_error("again"); }
};

TEST_F(TableNotifieeTest, WhatIsThrownWhenItIsToldIsDropped) {
  const auto thrower = joined(Kob::Ptr(new Thrower), table);
  const auto b = join("b");
  EXPECT_NO_THROW(EXPECT_EQ(announced(), (Log{"b Ethernet1"})));
}

/// Keeps the ids that its exception handler is given.
class ExceptionHandler final : public Table::NotifieeConst {
 public:
  using NotifieeConst::handleNotificationException;
  using NotifieeConst::onIntfL3Index;

  std::vector<Kob::AttributeId> ids;

  void onIntfL3Index(Plexo::IntfId) override { throw std::runtime_error("refused"); }
  void handleNotificationException(Kob::AttributeId id) override { ids.push_back(id); }
};

TEST_F(TableNotifieeTest, OneThatIsToldHandlesTheExceptionWithItsId) {
  const auto handler = joined(Kob::Ptr(new ExceptionHandler), table);
  announce();
  EXPECT_EQ(handler->ids, (std::vector<Kob::AttributeId>{260}));
}

TEST_F(TableNotifieeTest, IsCalledWithinAScopeThatExpectsAnyException) {
  joined(listener, table);
  const Kob::Expect* inside = nullptr;
  listener->onKey = [&](Plexo::IntfId) {
    inside = Kob::Expect::innermost();
    ASSERT_NE(inside, nullptr);
    EXPECT_EQ(inside->id(), 0U);
  };
  announce();
  EXPECT_NE(inside, nullptr);
  EXPECT_EQ(Kob::Expect::innermost(), nullptr);
}

TEST_F(TableNotifieeTest, TheScopeIsClosedWhenACallbackThrew) {
  joined(listener, table);
  listener->onKey = [](Plexo::IntfId) { throw std::runtime_error("refused"); };
  announce();
  EXPECT_EQ(Kob::Expect::innermost(), nullptr);
}

// ---------------------------------------------------------------------------------------------
// The last release

TEST_F(TableNotifieeTest, TheLastReleaseIsToldToEachInTheOrderOfTheList) {
  const auto a = join("a");
  const auto b = join("b");
  for (const auto& weak : {a, b}) weak->isWeakReferenceIs(true);
  a->onZero = [] { throw std::runtime_error("refused"); };
  table = nullptr;
  EXPECT_EQ(log, (Log{"a zero references", "a exception 5", "b zero references"}));
}

TEST_F(TableNotifieeTest, TheArgumentOfTheLastReleaseIsNotLookedAt) {
  const auto a = join("a");
  table->zeroReferencesIs(true);
  table->zeroReferencesIs(false);
  EXPECT_EQ(log, (Log{"a zero references", "a zero references"}));
}

TEST_F(TableNotifieeTest, OneThatLeavesAtTheLastReleaseStopsNobody) {
  auto a = join("a");
  const auto b = join("b");
  for (const auto& weak : {a, b}) weak->isWeakReferenceIs(true);
  a->onZero = [&] { a->notifierIs(nullptr); };
  table = nullptr;
  EXPECT_EQ(log, (Log{"a zero references", "b zero references"}));
}

TEST_F(TableNotifieeTest, IsUsedForAnotherTableAfterItsOwnHasGone) {
  joined(listener, table);
  listener->isWeakReferenceIs(true);
  table = nullptr;
  listener->isRegisteredNotifieeIs(false);
  listener->isRegisteredNotifieeIs(true);
  listener->notifierIs(other);
  other->intfL3IndexNotify(q);
  EXPECT_EQ(listener->heard, (Log{"zero references", "Ethernet2"}));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
