#include "Kob/Activity.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/Kob/Machine.h"

namespace KobTest {
namespace {

using Kob::Ptr;

/// A machine in the activity, and the source that it watches.
struct Station {
  Station(const std::string& label, Log& log, const Ptr<Kob::ActivityConfig>& activity)
      : machine(new Machine(label, log, activity)) {
    machine->source.newReactor(*machine, source);
  }
  void change(int key) const { source->valueNotify(key); }
  [[nodiscard]] Machine::KobSource& reactor() const { return *machine->source.reactor(); }

  Ptr<Source> source{new Source};
  Ptr<Machine> machine;
};

class Activity : public testing::Test {
 protected:
  void SetUp() override { activity_->deferralIs(true); }
  [[nodiscard]] Kob::ActivitySm& sm() const { return *activity_->activitySm(); }

  /// Runs the activity; what the handlers wrote meanwhile.
  Log run() {
    log_.clear();
    activity_->run();
    return log_;
  }

  Log log_;
  Ptr<Kob::ActivityConfig> activity_{Kob::activityFactory("activity")};
  Station a_{"a", log_, activity_};
  Station b_{"b", log_, activity_};
  Station c_{"c", log_, activity_};
};

TEST(ActivityFactory, MakesAnActivityThatDoesNotDefer) {
  const auto activity = Kob::activityFactory("activity");
  EXPECT_EQ(activity->name(), "activity");
  EXPECT_EQ(activity->references(), 1U);
  EXPECT_FALSE(activity->deferral());
  EXPECT_EQ(&activity->activitySm()->activity(), activity.get());
  EXPECT_EQ(activity->activitySm()->pendings(), 0U);
}

TEST_F(Activity, ThatDoesNotDeferHandlesAtOnce) {
  activity_->deferralIs(false);
  a_.change(1);
  a_.change(2);
  EXPECT_EQ(log_, (Log{"a key 1", "a key 2"}));
  EXPECT_EQ(sm().pendings(), 0U);
}

TEST_F(Activity, ThatDefersRecordsUntilItRuns) {
  a_.change(1);
  EXPECT_EQ(log_, Log());
  EXPECT_EQ(sm().pendings(), 1U);
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Source::valueId);
  EXPECT_EQ(a_.reactor().kobPendingCount(), 1U);
  EXPECT_EQ(run(), Log{"a key 1"});
  EXPECT_EQ(sm().pendings(), 0U);
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(a_.reactor().kobPendingCount(), 0U);
  EXPECT_TRUE(activity_->deferral()) << "a run leaves deferral as it is";
}

TEST_F(Activity, WithNothingPendingRunsNothing) { EXPECT_EQ(run(), Log()); }

TEST_F(Activity, DeliversWhenDeferralIsSwitchedOff) {
  a_.change(1);
  b_.change(2);
  activity_->deferralIs(false);
  EXPECT_EQ(log_, (Log{"a key 1", "b key 2"}));
  EXPECT_FALSE(activity_->deferral());
}

TEST_F(Activity, DeliversNothingWhenDeferralIsSwitchedOnAgain) {
  a_.change(1);
  activity_->deferralIs(true);
  EXPECT_EQ(log_, Log());
}

TEST_F(Activity, DeliversInTheOrderInWhichTheReactorsBecamePending) {
  b_.change(1);
  a_.change(1);
  c_.change(1);
  b_.change(2);
  EXPECT_EQ(sm().pendings(), 3U);
  EXPECT_EQ(run(), (Log{"b all", "a key 1", "c key 1"}));
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "b key 1"})) << "the former order is forgotten";
}

TEST_F(Activity, OneChangeWhileDeferredIsOneCallOfTheKeyedHandler) {
  a_.change(7);
  EXPECT_EQ(run(), Log{"a key 7"});
  a_.change(8);
  EXPECT_EQ(run(), Log{"a key 8"});
}

TEST_F(Activity, TwoChangesOfOneKeyWhileDeferredAreOneCallOfTheFullHandler) {
  a_.change(7);
  a_.change(7);
  EXPECT_EQ(a_.reactor().kobPendingCount(), 2U);
  EXPECT_EQ(run(), Log{"a all"});
}

TEST_F(Activity, ChangesOfSeveralKeysWhileDeferredAreOneCallOfTheFullHandler) {
  a_.change(7);
  a_.change(8);
  a_.change(9);
  EXPECT_EQ(run(), Log{"a all"});
  a_.change(8);
  EXPECT_EQ(run(), Log{"a key 8"}) << "the count begins anew";
}

TEST_F(Activity, AnotherAttributeIsDeliveredAsAnAttribute) {
  EXPECT_TRUE(a_.reactor().kobOnAttribute(7));
  EXPECT_EQ(run(), Log{"a attribute 7"});
}

TEST_F(Activity, AnotherAttributeDoesNotCountAsAChangeOfAKey) {
  EXPECT_TRUE(a_.reactor().kobOnAttribute(7));
  EXPECT_EQ(run(), Log{"a attribute 7"});
  a_.change(1);
  EXPECT_EQ(run(), Log{"a key 1"});
}

TEST_F(Activity, SeveralAttributesWithOneChangeOfAKeyAreOneCallOfTheKeyedHandler) {
  for (const bool keyFirst : {true, false}) {
    if (keyFirst) a_.change(1);
    EXPECT_TRUE(a_.reactor().kobOnAttribute(7));
    if (!keyFirst) a_.change(1);
    EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingSeveral);
    EXPECT_EQ(run(), Log{"a key 1"});
    EXPECT_EQ(a_.reactor().kobPendingCount(), 0U);
  }
}

TEST_F(Activity, SeveralAttributesWithTwoChangesOfKeysAreOneCallOfTheFullHandler) {
  a_.change(1);
  EXPECT_TRUE(a_.reactor().kobOnAttribute(7));
  a_.change(2);
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingSeveral);
  EXPECT_EQ(run(), Log{"a all"});
}

TEST_F(Activity, SeveralAttributesWithoutAChangeOfAKeyCallNoHandler) {
  EXPECT_TRUE(a_.reactor().kobOnAttribute(7));
  EXPECT_TRUE(a_.reactor().kobOnAttribute(8));
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingSeveral);
  EXPECT_EQ(run(), Log());
}

TEST_F(Activity, AReplacedNotifierIsOneCallOfTheFullHandlerWhateverElseIsPending) {
  sm().pendingIs(&a_.reactor(), Kob::pendingReplaced);
  EXPECT_EQ(run(), Log{"a all"});
  a_.change(1);
  sm().pendingIs(&a_.reactor(), Kob::pendingReplaced);
  a_.change(2);
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingReplaced);
  EXPECT_EQ(run(), Log{"a all"});
  a_.change(3);
  EXPECT_EQ(run(), Log{"a key 3"}) << "the count begins anew";
}

using Left = std::vector<std::pair<Kob::AttributeId, bool>>;

/// Writes down what reactors leave to the framework: an id, and whether it is to be delivered.
class Framework : public Source::NotifieeConst {
 public:
  void handleDefault(Kob::ActivityConfig* /*activity*/, Kob::AttributeId id,
                     bool deliver) override {
    left.emplace_back(id, deliver);
  }
  Left left;
};

class ReactorOfAFramework final
    : public Kob::KeyedReactor<ReactorOfAFramework, Framework, Machine, Source::valueId, int> {
 public:
  ReactorOfAFramework(const Ptr<Kob::ActivityConfig>& activity, const NotifierPtr& notifier,
                      Machine* owner)
      : KeyedReactor(activity, notifier, owner) {}

  void onValue(int key) override { keyChanged(key); }
  void keyedHook(int key) { onValue(key); }
  void unkeyedHook() {}
  void handleKey(int /*key*/) {}
  void renewed() {}
};

TEST_F(Activity, TheFrameworkLearnsOfAllButTheWatchedAttributeAndWhetherItIsDelivered) {
  const Ptr<Source> source(new Source);
  const Ptr<ReactorOfAFramework> reactor(
      new ReactorOfAFramework(activity_, source, a_.machine.get()));
  const auto left = [&] {
    run();
    return std::exchange(reactor->left, {});
  };
  source->valueNotify(1);
  EXPECT_EQ(left(), Left());
  EXPECT_TRUE(reactor->kobOnAttribute(7));
  EXPECT_EQ(left(), (Left{{7, true}}));
  EXPECT_TRUE(reactor->kobOnAttribute(7));
  source->valueNotify(1);
  EXPECT_EQ(left(), (Left{{Kob::pendingSeveral, false}}));
  sm().pendingIs(reactor.get(), Kob::pendingReplaced);
  EXPECT_EQ(left(), (Left{{Kob::pendingReplaced, false}}));
}

TEST_F(Activity, WhatBecomesPendingDuringDeliveryIsDeliveredInTheSameRunAfterTheRest) {
  a_.machine->whenHandled = [&] {
    a_.machine->whenHandled = [] {};
    c_.change(5);
    a_.change(6);
  };
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "b key 1", "c key 5", "a key 6"}));
  EXPECT_EQ(sm().pendings(), 0U);
}

TEST_F(Activity, WhatBecomesPendingForAReactorWhoseTurnIsStillToComeIsMergedIntoIt) {
  a_.machine->whenHandled = [&] { b_.change(2); };
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "b all"}));
}

TEST_F(Activity, WhatAFullHandlerMakesPendingForItselfIsDeliveredInTheSameRun) {
  a_.machine->whenHandled = [&] {
    a_.machine->whenHandled = [] {};
    a_.change(3);
  };
  a_.change(1);
  a_.change(2);
  EXPECT_EQ(run(), (Log{"a all", "a key 3"}));
}

TEST_F(Activity, WhatAReplacedNotifierMakesPendingIsDeliveredInTheSameRun) {
  a_.machine->whenHandled = [&] {
    a_.machine->whenHandled = [] {};
    a_.change(3);
  };
  sm().pendingIs(&a_.reactor(), Kob::pendingReplaced);
  EXPECT_EQ(run(), (Log{"a all", "a key 3"}));
}

TEST_F(Activity, ARunEndsAfterItsRoundsAndLeavesTheRestForTheNext) {
  a_.machine->whenHandled = [&] { a_.change(1); };
  a_.change(1);
  EXPECT_EQ(run().size(), Kob::ActivitySm::roundsPerRun);
  EXPECT_EQ(sm().pendings(), 1U);
  a_.machine->whenHandled = [] {};
  EXPECT_EQ(run(), Log{"a key 1"});
  EXPECT_EQ(sm().pendings(), 0U);
}

TEST_F(Activity, NothingOvertakesWhatARunHasLeft) {
  a_.machine->whenHandled = [&] {
    b_.change(1);
    a_.change(1);
  };
  a_.change(1);
  activity_->run();
  ASSERT_EQ(sm().pendings(), 2U);
  a_.machine->whenHandled = [] {};
  log_.clear();
  activity_->deferralIs(false);
  EXPECT_EQ(log_, (Log{"b key 1", "a key 1"}));
}

TEST_F(Activity, AZombieIsSkippedAndItsRecordCleared) {
  a_.change(1);
  b_.change(1);
  EXPECT_TRUE(c_.reactor().kobOnAttribute(7));
  a_.reactor().kobDoZombieReactors(true);
  c_.reactor().kobDoZombieReactors(true);
  EXPECT_EQ(run(), Log{"b key 1"});
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(a_.reactor().kobPendingCount(), 0U);
  a_.reactor().kobDoZombieReactors(false);
  EXPECT_EQ(run(), Log()) << "what it missed does not come back";
  a_.change(2);
  EXPECT_EQ(run(), Log{"a key 2"});
}

TEST_F(Activity, AReactorThatBecomesAZombieBeforeItsTurnIsSkipped) {
  a_.machine->whenHandled = [&] { b_.reactor().kobDoZombieReactors(true); };
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), Log{"a key 1"});
}

TEST_F(Activity, AnExceptionIsToldUnderTheAttributesIdAndDeliveryGoesOn) {
  a_.machine->whenHandled = [] { throw std::runtime_error("thrown on purpose"); };
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "a exception 260", "b key 1"}));
  EXPECT_EQ(sm().pendings(), 0U);
  a_.change(1);
  a_.change(2);
  EXPECT_EQ(run(), (Log{"a all", "a exception 260"})) << "the next run is like any other";
}

TEST_F(Activity, AnExceptionIsToldUnderTheIdThatWasPending) {
  b_.machine->whenHandled = [] { throw 7; };
  b_.change(1);
  b_.change(2);
  EXPECT_TRUE(b_.reactor().kobOnAttribute(7));
  EXPECT_EQ(run(), (Log{"b all", "b exception -1"}));
  sm().pendingIs(&b_.reactor(), Kob::pendingReplaced);
  EXPECT_EQ(run(), (Log{"b all", "b exception -2"}));
}

TEST_F(Activity, AScopeForAnyExceptionIsOpenAroundEachDelivery) {
  a_.machine->whenHandled = [] {
    ASSERT_NE(Kob::Expect::innermost(), nullptr);
    EXPECT_EQ(Kob::Expect::innermost()->id(), 0U);
  };
  a_.change(1);
  EXPECT_EQ(run(), Log{"a key 1"});
  EXPECT_EQ(Kob::Expect::innermost(), nullptr);
}

TEST_F(Activity, AReactorThatDiesWhileItIsQueuedIsNotDelivered) {
  a_.change(1);
  b_.change(1);
  c_.change(1);
  b_.machine = nullptr;
  EXPECT_EQ(sm().pendings(), 2U);
  EXPECT_EQ(run(), (Log{"a key 1", "c key 1"}));
}

TEST_F(Activity, AReactorThatDiesDuringTheRunBeforeItsTurnIsNotDelivered) {
  a_.machine->whenHandled = [&] { b_.machine = nullptr; };
  a_.change(1);
  b_.change(1);
  c_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "c key 1"}));
}

TEST_F(Activity, AReactorMayLetItselfGoInItsOwnDelivery) {
  a_.machine->whenHandled = [&] { a_.machine->source.notifierDel(); };
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "b key 1"}));
  EXPECT_EQ(Machine::KobSource::alive, 2);
}

TEST_F(Activity, ThatDiesWhileReactorsAreQueuedForgetsThem) {
  a_.change(1);
  b_.change(1);
  for (const Station* station : {&a_, &b_, &c_}) station->reactor().kobFwkActivityIs(nullptr);
  const Ptr<Machine::KobSource> survivor = a_.machine->source.reactor();
  for (Station* station : {&a_, &b_, &c_}) station->machine = nullptr;
  activity_ = nullptr;
  EXPECT_EQ(survivor->kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(survivor->kobPendingCount(), 0U);
  const auto another = Kob::activityFactory("another");
  another->activitySm()->pendingIs(survivor.get(), Source::valueId);
  EXPECT_EQ(another->activitySm()->pendings(), 1U);
}

TEST_F(Activity, DeliversWhatItQueuedToAReactorThatHasMovedToAnother) {
  const auto other = Kob::activityFactory("other");
  a_.change(1);
  a_.reactor().kobFwkActivityIs(other);
  a_.change(1);
  EXPECT_EQ(log_, Log()) << "nothing overtakes what is pending";
  EXPECT_EQ(run(), Log{"a all"});
  a_.change(2);
  EXPECT_EQ(log_.back(), "a key 2");
}

TEST_F(Activity, IsKeptByItsReactors) {
  EXPECT_EQ(activity_->references(), 1U + 2U * 3U) << "by the three machines and their reactors";
}

TEST_F(Activity, OutlivesItsOwnRun) {
  Ptr<Machine> machine = a_.machine;
  Kob::ActivityConfig& activity = *activity_;
  machine->whenHandled = [&] {
    for (Station* station : {&a_, &b_, &c_}) station->machine = nullptr;
    activity_ = nullptr;
    machine = nullptr;
  };
  a_.change(1);
  activity.run();
  EXPECT_EQ(log_, Log{"a key 1"});
  EXPECT_EQ(Machine::KobSource::alive, 0);
}

TEST_F(Activity, ARunWithinARunDoesNothing) {
  a_.machine->whenHandled = [&] { activity_->run(); };
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "b key 1"}));
}

TEST_F(Activity, SwitchingDeferralOffDuringDeliveryLeavesDeliveryToTheRunUnderWay) {
  a_.machine->whenHandled = [&] {
    a_.machine->whenHandled = [] {};
    activity_->deferralIs(false);
    a_.machine->note(" done");
    c_.change(1);
    b_.change(2);
  };
  a_.change(1);
  b_.change(1);
  EXPECT_EQ(run(), (Log{"a key 1", "a done", "c key 1", "b all"}))
      << "who has nothing pending handles at once, who has something pending waits for its turn";
  EXPECT_EQ(sm().pendings(), 0U);
  EXPECT_FALSE(activity_->deferral());
}

TEST_F(Activity, SwitchingDeferralOnDuringDeliveryDefersWhatFollows) {
  activity_->deferralIs(false);
  a_.machine->whenHandled = [&] {
    activity_->deferralIs(true);
    b_.change(1);
  };
  a_.change(1);
  EXPECT_EQ(log_, Log{"a key 1"});
  EXPECT_EQ(run(), Log{"b key 1"});
}

TEST_F(Activity, DeliversWhatItQueuedToAReactorThatHasLeftIt) {
  a_.change(1);
  sm().pendingIs(&b_.reactor(), Kob::pendingReplaced);
  a_.reactor().kobFwkActivityIs(nullptr);
  b_.reactor().kobFwkActivityIs(nullptr);
  EXPECT_EQ(run(), (Log{"a key 1", "b all"}));
}

TEST_F(Activity, LeavesTheQueueOfAnotherAlone) {
  const auto other = Kob::activityFactory("other");
  a_.change(1);
  other->activitySm()->pendingDel(&a_.reactor());
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(sm().pendings(), 1U);
  a_.machine = nullptr;
  EXPECT_EQ(sm().pendings(), 0U);
  EXPECT_EQ(run(), Log());
}

TEST_F(Activity, ClearsTheRecordOfAReactorThatIsTakenFromItsQueue) {
  a_.change(1);
  b_.change(1);
  sm().pendingDel(&a_.reactor());
  EXPECT_EQ(a_.reactor().kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(run(), Log{"b key 1"});
}

}  // namespace
}  // namespace KobTest
