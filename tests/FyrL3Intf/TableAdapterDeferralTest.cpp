// A wrapper of the table that runs in an activity: what it hears waits, and is merged.

#include <gtest/gtest.h>

#include <stdexcept>

#include "Kob/Activity.h"
#include "tests/FyrL3Intf/TableAdapter.h"

namespace FyrL3Intf::Tests {
namespace {

struct TableAdapterDeferralTest : TableAdapterTest {
  TableAdapterDeferralTest() { wrapper->kobFwkActivityIs(activity); }

  Kob::Ptr<Kob::ActivityConfig> activity = Kob::activityFactory("activity");

  void pending(Kob::AttributeId attribute) {
    activity->activitySm()->pendingIs(wrapper.get(), attribute);
  }
};

TEST_F(TableAdapterDeferralTest, AWrapperHasTheActivityThatItIsGiven) {
  EXPECT_EQ(wrapper->kobFwkActivity(), activity);
  EXPECT_EQ(wrapper->actsm(), activity->activitySm());
}

TEST_F(TableAdapterDeferralTest, WhileTheActivityDoesNotDeferItTellsAtOnce) {
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
  EXPECT_EQ(activity->activitySm()->pendings(), 0U);
}

TEST_F(TableAdapterDeferralTest, SeveralKeysArriveAsOneNotificationWithTheLast) {
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  table->intfL3IndexIs(q, id);
  table->intfL3IndexDel(p);
  table->intfL3IndexDel(q);
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(wrapper->kobPendingAttributeId(), 260);
  activity->deferralIs(false);
  EXPECT_EQ(listener->heard, Log{"260 Ethernet2"});
  EXPECT_EQ(wrapper->kobPendingAttributeId(), Kob::pendingNone);
}

TEST_F(TableAdapterDeferralTest, AKeyThatIsTheOnlyOneArrivesOnceAndNoMore) {
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  activity->deferralIs(false);
  activity->run();
  EXPECT_EQ(listener->heard, aChangeOfP);
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

TEST_F(TableAdapterDeferralTest, ARunDeliversAndTheActivityGoesOnDeferring) {
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  activity->run();
  EXPECT_EQ(listener->heard, aChangeOfP);
  table->intfL3IndexIs(q, id);
  EXPECT_EQ(listener->heard, aChangeOfP);
  activity->run();
  EXPECT_EQ(listener->heard, (Log{"260 Ethernet1", "260 Ethernet2"}));
}

TEST_F(TableAdapterDeferralTest, AWriteThroughTheWrapperWaitsLikeAnyChange) {
  activity->deferralIs(true);
  EXPECT_EQ(outcome(wrapper, 260, writeOp, boxed(p), boxed(id)), "nothing");
  EXPECT_EQ(listener->heard, Log{});
  activity->deferralIs(false);
  EXPECT_EQ(listener->heard, aChangeOfP);
}

TEST_F(TableAdapterDeferralTest, OtherWrappersOfTheTableDoNotWait) {
  const Kob::Ptr second(new TableWrapper(table, false));
  const auto secondListener = genericListenerOf(second);
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  EXPECT_EQ(secondListener->heard, aChangeOfP);
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableAdapterDeferralTest, ANotificationWithoutAKeyDoesNotWait) {
  activity->deferralIs(true);
  adapter->onIntfL3Index();
  EXPECT_EQ(listener->heard, Log{"260"});
}

TEST_F(TableAdapterDeferralTest, AChangeOutOfADeliveryIsDeliveredInTheSameRun) {
  listener->onHeard = [&] {
    if (forwardOf(*table).size() == 1) table->intfL3IndexIs(q, L3Id(11));
  };
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  activity->run();
  EXPECT_EQ(listener->heard, (Log{"260 Ethernet1", "260 Ethernet2"}));
}

TEST_F(TableAdapterDeferralTest, AZombieIsSkippedAndItsRecordCleared) {
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  wrapper->kobDoZombieReactors(true);
  activity->deferralIs(false);
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(wrapper->kobPendingAttributeId(), Kob::pendingNone);
  wrapper->kobDoZombieReactors(false);
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

TEST_F(TableAdapterDeferralTest, AWrapperThatGoesLeavesTheQueue) {
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  wrapperDel();
  EXPECT_EQ(activity->activitySm()->pendings(), 0U);
  activity->deferralIs(false);
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableAdapterDeferralTest, AnotherPendingIdIsToldWithoutAKey) {
  pending(259);
  activity->run();
  EXPECT_EQ(listener->heard, Log{"259"});
}

TEST_F(TableAdapterDeferralTest, WhatStandsForSeveralOrAllIsLeftToTheFramework) {
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  pending(259);
  EXPECT_EQ(wrapper->kobPendingAttributeId(), Kob::pendingSeveral);
  activity->run();
  pending(Kob::pendingReplaced);
  activity->run();
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(wrapper->kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(activity->activitySm()->pendings(), 0U);
}

TEST_F(TableAdapterDeferralTest, AListenerThatThrowsOutOfADeliveryIsTold) {
  const auto second = genericListenerOf(wrapper);
  listener->onHeard = [] { throw std::runtime_error("no"); };
  activity->deferralIs(true);
  table->intfL3IndexIs(p, id);
  activity->deferralIs(false);
  EXPECT_EQ(listener->heard, (Log{"260 Ethernet1", "exception 260"}));
  EXPECT_EQ(second->heard, aChangeOfP);
}

TEST_F(TableAdapterDeferralTest, TakenAwayTheActivityNoLongerMakesItWait) {
  activity->deferralIs(true);
  wrapper->kobFwkActivityIs(nullptr);
  EXPECT_EQ(wrapper->actsm(), nullptr);
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
