#include "Kob/Notifiee.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Kob/Activity.h"
#include "tests/Kob/Source.h"

namespace KobTest {
namespace {

using Kob::Ptr;
using Kob::PtrInterface;

/// A notifiee of nothing in particular that writes down what reaches it.
class Bare : public PtrInterface::NotifieeConst {
 public:
  using PtrInterface::NotifieeConst::handleNotificationException;

  void onAttribute(Kob::AttributeId id) override { heard.push_back("attribute " + number(id)); }
  void onNotification() override { heard.emplace_back("notification"); }
  void handleNotificationException(Kob::AttributeId id) override {
    heard.push_back("exception " + number(id));
  }
  void handleNotificationException() override { heard.emplace_back("exception"); }

  Log heard;

 private:
  static std::string number(Kob::AttributeId id) { return std::to_string(id); }
};

TEST(Notifiee, IsActiveUnboundAndUnregisteredAtFirst) {
  const Ptr<Bare> notifiee(new Bare);
  EXPECT_TRUE(notifiee->hasNotificationActive());
  EXPECT_FALSE(notifiee->kobMarkedForDeletion());
  EXPECT_EQ(notifiee->notifier(), nullptr);
  EXPECT_FALSE(notifiee->isRegisteredNotifiee());
  EXPECT_FALSE(notifiee->isWeakReference());
  EXPECT_TRUE(notifiee->kob_bitSet().none());
  EXPECT_EQ(notifiee->kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(notifiee->kobPendingCount(), 0U);
}

TEST(Notifiee, ServesNoReactorAndRunsInNoActivityByItself) {
  const Ptr<Bare> notifiee(new Bare);
  EXPECT_EQ(notifiee->kobReactor(), nullptr);
  EXPECT_EQ(notifiee->kobRawReactor(), nullptr);
  EXPECT_FALSE(notifiee->isStreamAdapter());
  EXPECT_EQ(notifiee->name(), "");
  EXPECT_EQ(notifiee->activityPtr(), nullptr);
  EXPECT_EQ(notifiee->kobFwkActivity(), nullptr);
  EXPECT_EQ(std::as_const(*notifiee).kobFwkActivity(), nullptr);
  EXPECT_EQ(notifiee->actsm(), nullptr);
  EXPECT_FALSE(notifiee->kobOnAttribute(260)) << "without an activity nothing waits";
  EXPECT_EQ(notifiee->kobPendingAttributeId(), Kob::pendingNone);
}

TEST(Notifiee, TheHooksThatNobodyOverridesDoNothing) {
  class Silent : public PtrInterface::NotifieeConst {};
  const Ptr<Silent> notifiee(new Silent);
  notifiee->onAttribute(1);
  notifiee->onNotification();
  notifiee->onCollectionNotification("rooms");
  notifiee->onNotificationException();
  notifiee->onNotificationException(1);
  notifiee->onZeroReferences();
  EXPECT_TRUE(notifiee->kob_bitSet().none());
}

TEST(Notifiee, HoldsOneReferenceToItsNotifier) {
  const Ptr<Source> source(new Source);
  const Ptr<Source> other(new Source);
  {
    const Ptr<Bare> notifiee(new Bare);
    notifiee->notifierIs(source);
    notifiee->notifierIs(source);
    EXPECT_EQ(source->references(), 2U);
    EXPECT_EQ(notifiee->notifier(), source);
    notifiee->notifierIs(other);
    EXPECT_EQ(source->references(), 1U);
    EXPECT_EQ(other->references(), 2U);
  }
  EXPECT_EQ(other->references(), 1U);
}

TEST(Notifiee, KeepsItsRegistrationInItsFlags) {
  const Ptr<Bare> notifiee(new Bare);
  EXPECT_TRUE(notifiee->isRegisteredNotifieeIs(true));
  EXPECT_TRUE(notifiee->isRegisteredNotifiee());
  EXPECT_TRUE(notifiee->kob_bitSet().any());
  EXPECT_FALSE(notifiee->isRegisteredNotifieeIs(false));
  EXPECT_TRUE(notifiee->kob_bitSet().none());
}

TEST(Notifiee, TakesItsFlagsAsASet) {
  const Ptr<Bare> notifiee(new Bare);
  Kob_BitSet bits;
  bits.set(28);
  notifiee->kob_bitSetIs(bits);
  EXPECT_EQ(notifiee->kob_bitSet(), bits);
}

TEST(Notifiee, KeepsTheFlagsThatAreItsOwn) {
  Log log;
  const Ptr<Source> source(new Source);
  const Ptr<Recorder> notifiee = watch(source, "notifiee", log);
  notifiee->isWeakReferenceIs(true);
  notifiee->kob_bitSetIs({});
  EXPECT_TRUE(notifiee->isRegisteredNotifiee());
  EXPECT_TRUE(notifiee->isWeakReference());
  notifiee->isRegisteredNotifieeIs(false);
  notifiee->isWeakReferenceIs(false);
  Kob_BitSet all;
  for (int bit = 0; bit < 29; ++bit) all.set(bit);
  notifiee->kob_bitSetIs(all);
  EXPECT_FALSE(notifiee->isRegisteredNotifiee());
  EXPECT_FALSE(notifiee->isWeakReference());
}

TEST(Notifiee, PassesExceptionsOnToItsHandlers) {
  const Ptr<Bare> notifiee(new Bare);
  notifiee->onNotificationException();
  notifiee->onNotificationException(260);
  EXPECT_EQ(notifiee->heard, (Log{"exception", "exception 260"}));
}

TEST(Notifiee, ByDefaultHandlingDeliversAnIdAsAnAttributeAndTheOthersAsANotification) {
  const Ptr<Bare> notifiee(new Bare);
  notifiee->handleDefault(nullptr, 7, true);
  notifiee->handleDefault(nullptr, Kob::pendingSeveral, true);
  notifiee->handleDefault(nullptr, Kob::pendingReplaced, true);
  EXPECT_EQ(notifiee->heard, (Log{"attribute 7", "notification", "notification"}));
}

TEST(Notifiee, ByDefaultHandlingDeliversNothingWhereThereIsNothingLeftToDeliver) {
  const Ptr<Bare> notifiee(new Bare);
  notifiee->handleDefault(nullptr, Kob::pendingNone, true);
  for (const Kob::AttributeId id : {7, Kob::pendingSeveral, Kob::pendingReplaced}) {
    notifiee->handleDefault(nullptr, id, false);
  }
  EXPECT_EQ(notifiee->heard, Log());
}

/// A bare notifiee that runs in an activity.
class Deferring : public Bare {
 public:
  explicit Deferring(Kob::ActivityConfig& activity) : activity_(activity) {}
  bool waited = false;
  Kob::ActivitySm* actsm() override { return activity_.activitySm(); }
  void onAttribute(Kob::AttributeId id) override {
    Bare::onAttribute(id);
    if (id == 8) waited = kobOnAttribute(9);
  }

 private:
  Kob::ActivityConfig& activity_;
};

TEST(DeferredNotifiee, RecordsWhatWaitsAndDeliversItOnce) {
  const auto activity = Kob::activityFactory("activity");
  const Ptr<Deferring> notifiee(new Deferring(*activity));
  activity->deferralIs(true);
  EXPECT_TRUE(notifiee->kobOnAttribute(7));
  EXPECT_TRUE(notifiee->kobOnAttribute(7));
  EXPECT_EQ(notifiee->kobPendingAttributeId(), 7);
  activity->run();
  EXPECT_EQ(notifiee->heard, Log{"attribute 7"});
  EXPECT_EQ(notifiee->kobPendingAttributeId(), Kob::pendingNone);
  EXPECT_EQ(notifiee->kobPendingCount(), 0U);
}

TEST(DeferredNotifiee, MergesSeveralAttributesIntoOneNotification) {
  const auto activity = Kob::activityFactory("activity");
  const Ptr<Deferring> notifiee(new Deferring(*activity));
  activity->deferralIs(true);
  EXPECT_TRUE(notifiee->kobOnAttribute(7));
  EXPECT_TRUE(notifiee->kobOnAttribute(6));
  EXPECT_EQ(notifiee->kobPendingAttributeId(), Kob::pendingSeveral);
  activity->run();
  EXPECT_EQ(notifiee->heard, Log{"notification"});
}

TEST(DeferredNotifiee, RecordsAndDeliversWhatBecomesPendingDuringItsDelivery) {
  const auto activity = Kob::activityFactory("activity");
  const Ptr<Deferring> notifiee(new Deferring(*activity));
  activity->deferralIs(true);
  EXPECT_TRUE(notifiee->kobOnAttribute(8));
  notifiee->handleNotification(activity.get());
  EXPECT_TRUE(notifiee->waited);
  EXPECT_EQ(notifiee->kobPendingAttributeId(), 9);
  activity->run();
  EXPECT_EQ(notifiee->heard, (Log{"attribute 8", "attribute 9"}));
}

/// A notifiee with the switches of reactors and adapters.
class Switchable : public Recorder {
 public:
  using Recorder::Recorder;
  bool hasNotificationActiveIs(bool active) override { return listeningIs(active); }
  bool zombieSwitch(bool zombie) { return zombieIs(zombie); }
};

/// A source with notifiees that write down what they hear.
class NotifieeList : public testing::Test {
 protected:
  void TearDown() override {
    source_ = nullptr;
    EXPECT_EQ(Recorder::alive, 0);
    EXPECT_EQ(Source::alive, 0);
  }
  Log heardFrom(const Ptr<Source>& source) {
    log_.clear();
    source->valueNotify(1);
    return log_;
  }
  Ptr<Switchable> switchable(const std::string& label) {
    const Ptr<Switchable> notifiee(new Switchable(label, log_));
    notifiee->notifierIs(source_);
    notifiee->isRegisteredNotifieeIs(true);
    return notifiee;
  }

  Log log_;
  Ptr<Source> source_{new Source};
};

TEST_F(NotifieeList, IsInTheOrderOfRegistration) {
  const Ptr<Recorder> second = watch(source_, "second", log_, false);
  const Ptr<Recorder> first = watch(source_, "first", log_);
  second->isRegisteredNotifieeIs(true);
  EXPECT_EQ(heardFrom(source_), (Log{"first", "second"}));
  first->isRegisteredNotifieeIs(false);
  first->isRegisteredNotifieeIs(true);
  EXPECT_EQ(heardFrom(source_), (Log{"second", "first"})) << "who joins again comes last";
}

TEST_F(NotifieeList, HoldsNobodyWhoIsBoundButNotRegistered) {
  const Ptr<Recorder> notifiee = watch(source_, "bound", log_, false);
  EXPECT_EQ(notifiee->notifier(), source_);
  EXPECT_EQ(heardFrom(source_), Log());
  EXPECT_TRUE(notifiee->isRegisteredNotifieeIs(true));
  EXPECT_EQ(heardFrom(source_), Log{"bound"});
  EXPECT_FALSE(notifiee->isRegisteredNotifieeIs(false));
  EXPECT_EQ(heardFrom(source_), Log());
}

TEST_F(NotifieeList, RegisteringTwiceDoesNothingTheSecondTime) {
  const Ptr<Recorder> notifiee = watch(source_, "twice", log_);
  const std::uint32_t before = source_->kobNotifiees().modificationCount();
  EXPECT_TRUE(notifiee->isRegisteredNotifieeIs(true));
  EXPECT_EQ(source_->kobNotifiees().modificationCount(), before);
  EXPECT_EQ(heardFrom(source_), Log{"twice"});
}

TEST_F(NotifieeList, RegistrationWithoutANotifierIsRememberedForTheNext) {
  const Ptr<Recorder> notifiee(new Recorder("early", log_));
  EXPECT_TRUE(notifiee->isRegisteredNotifieeIs(true));
  EXPECT_EQ(notifiee->name(), "");
  notifiee->notifierIs(source_);
  EXPECT_EQ(heardFrom(source_), Log{"early"});
}

TEST_F(NotifieeList, ARegisteredNotifieeMovesToTheTailOfTheNextNotifiersList) {
  const Ptr<Source> next(new Source("next"));
  const Ptr<Recorder> there = watch(next, "there", log_);
  const Ptr<Recorder> moving = watch(source_, "moving", log_);
  const Ptr<Recorder> staying = watch(source_, "staying", log_);
  moving->notifierIs(next);
  EXPECT_EQ(moving->notifier(), next);
  EXPECT_EQ(moving->name(), "next");
  EXPECT_EQ(heardFrom(source_), Log{"staying"});
  EXPECT_EQ(heardFrom(next), (Log{"there", "moving"}));
}

TEST_F(NotifieeList, AnUnregisteredNotifieeMovesWithoutJoining) {
  const Ptr<Source> next(new Source("next"));
  const Ptr<Recorder> moving = watch(source_, "moving", log_, false);
  moving->notifierIs(next);
  EXPECT_EQ(moving->notifier(), next);
  EXPECT_EQ(heardFrom(next), Log());
}

TEST_F(NotifieeList, TheSameNotifierAgainChangesNothing) {
  const Ptr<Recorder> first = watch(source_, "first", log_);
  const Ptr<Recorder> second = watch(source_, "second", log_);
  const std::uint32_t before = source_->kobNotifiees().modificationCount();
  first->notifierIs(source_);
  EXPECT_EQ(source_->kobNotifiees().modificationCount(), before);
  EXPECT_EQ(source_->references(), 3U);
  EXPECT_EQ(heardFrom(source_), (Log{"first", "second"}));
}

TEST_F(NotifieeList, AnObjectOfAnotherTypeCountsAsNoNotifier) {
  const Ptr<Recorder> notifiee = watch(source_, "notifiee", log_);
  notifiee->notifierIs(Ptr<Kob::Entity>(new Kob::Entity("no source")));
  EXPECT_EQ(notifiee->notifier(), nullptr);
  EXPECT_TRUE(notifiee->isRegisteredNotifiee());
  EXPECT_EQ(heardFrom(source_), Log());
  EXPECT_EQ(source_->references(), 1U);
}

TEST_F(NotifieeList, LeavesTheOldListBeforeTheOldNotifierIsReleased) {
  Ptr<Source> only(new Source("only"));
  const Ptr<Recorder> notifiee = watch(only, "notifiee", log_);
  only = nullptr;
  EXPECT_EQ(Source::alive, 2);
  notifiee->notifierIs(source_);
  EXPECT_EQ(Source::alive, 1);
  EXPECT_EQ(log_, Log()) << "it is not told of the end of what it left";
}

TEST_F(NotifieeList, SwitchingOffLeavesAndSwitchingOnJoinsAgainAtTheTail) {
  const Ptr<Switchable> first = switchable("first");
  const Ptr<Switchable> second = switchable("second");
  EXPECT_FALSE(first->hasNotificationActiveIs(false));
  EXPECT_FALSE(first->isRegisteredNotifiee());
  EXPECT_EQ(heardFrom(source_), Log{"second"});
  EXPECT_TRUE(first->hasNotificationActiveIs(true));
  EXPECT_EQ(heardFrom(source_), (Log{"second", "first"}));
}

TEST_F(NotifieeList, WhoWasNotRegisteredWhenSwitchedOffStaysOutWhenSwitchedOn) {
  const Ptr<Switchable> notifiee = switchable("notifiee");
  for (int turn = 0; turn < 2; ++turn) {
    notifiee->isRegisteredNotifieeIs(false);
    notifiee->hasNotificationActiveIs(false);
    notifiee->hasNotificationActiveIs(true);
    EXPECT_FALSE(notifiee->isRegisteredNotifiee()) << "what was remembered before is forgotten";
    notifiee->isRegisteredNotifieeIs(true);
    notifiee->hasNotificationActiveIs(false);
    notifiee->hasNotificationActiveIs(true);
    EXPECT_TRUE(notifiee->isRegisteredNotifiee());
  }
}

TEST_F(NotifieeList, TheSameSwitchAgainChangesNothing) {
  const Ptr<Switchable> notifiee = switchable("notifiee");
  const std::uint32_t before = source_->kobNotifiees().modificationCount();
  EXPECT_TRUE(notifiee->hasNotificationActiveIs(true));
  EXPECT_EQ(source_->kobNotifiees().modificationCount(), before);
  notifiee->hasNotificationActiveIs(false);
  notifiee->isRegisteredNotifieeIs(true);
  EXPECT_FALSE(notifiee->hasNotificationActiveIs(false));
  EXPECT_TRUE(notifiee->isRegisteredNotifiee());
}

TEST_F(NotifieeList, AZombieStopsListeningAndListensAgainWhenRevived) {
  const Ptr<Switchable> notifiee = switchable("notifiee");
  EXPECT_TRUE(notifiee->zombieSwitch(true));
  EXPECT_TRUE(notifiee->kobMarkedForDeletion());
  EXPECT_FALSE(notifiee->hasNotificationActive());
  EXPECT_EQ(heardFrom(source_), Log());
  EXPECT_FALSE(notifiee->zombieSwitch(false));
  EXPECT_FALSE(notifiee->kobMarkedForDeletion());
  EXPECT_TRUE(notifiee->hasNotificationActive());
  EXPECT_EQ(heardFrom(source_), Log{"notifiee"});
}

TEST_F(NotifieeList, TheSameZombieStateAgainChangesNothing) {
  const Ptr<Switchable> notifiee = switchable("notifiee");
  EXPECT_FALSE(notifiee->zombieSwitch(false));
  EXPECT_TRUE(notifiee->isRegisteredNotifiee());
  notifiee->zombieSwitch(true);
  notifiee->hasNotificationActiveIs(true);
  EXPECT_TRUE(notifiee->zombieSwitch(true));
  EXPECT_TRUE(notifiee->hasNotificationActive());
}

TEST_F(NotifieeList, AZombieWithoutANotifierKeepsItsNotificationsOn) {
  const Ptr<Switchable> notifiee(new Switchable("notifiee", log_));
  EXPECT_TRUE(notifiee->zombieSwitch(true));
  EXPECT_TRUE(notifiee->kobMarkedForDeletion());
  EXPECT_TRUE(notifiee->hasNotificationActive());
}

/// The states in which a notifiee may die.
struct State {
  const char* name;
  std::function<void(Switchable&)> enter;
};

const std::vector<State>& states() {
  static const std::vector<State> all = {
      {"registered", [](Switchable&) {}},
      {"bound", [](Switchable& notifiee) { notifiee.isRegisteredNotifieeIs(false); }},
      {"unbound", [](Switchable& notifiee) { notifiee.notifierIs(nullptr); }},
      {"weak", [](Switchable& notifiee) { notifiee.isWeakReferenceIs(true); }},
      {"inactive", [](Switchable& notifiee) { notifiee.hasNotificationActiveIs(false); }},
      {"registered while inactive",
       [](Switchable& notifiee) {
         notifiee.hasNotificationActiveIs(false);
         notifiee.isRegisteredNotifieeIs(true);
       }},
      {"zombie", [](Switchable& notifiee) { notifiee.zombieSwitch(true); }},
      {"registered zombie",
       [](Switchable& notifiee) {
         notifiee.zombieSwitch(true);
         notifiee.isRegisteredNotifieeIs(true);
       }},
      {"marked for deletion", [](Switchable& notifiee) { notifiee.kobMarkedForDeletionIs(true); }},
      {"bound anew while a registered zombie",
       [](Switchable& notifiee) {
         const auto source = notifiee.notifier();
         notifiee.zombieSwitch(true);
         notifiee.notifierIs(nullptr);
         notifiee.isRegisteredNotifieeIs(true);
         notifiee.notifierIs(source);
       }},
  };
  return all;
}

TEST_F(NotifieeList, ANotifieeIsOutOfItInWhateverStateItDies) {
  for (const State& state : states()) {
    SCOPED_TRACE(state.name);
    const Ptr<Switchable> before = switchable("before");
    Ptr<Switchable> dying = switchable("dying");
    const Ptr<Switchable> after = switchable("after");
    state.enter(*dying);
    dying = nullptr;
    EXPECT_EQ(Recorder::alive, 2);
    EXPECT_EQ(source_->references(), 3U);
    const std::vector<const Source::NotifieeConst*> left{before.get(), after.get()};
    EXPECT_EQ(membersOf(*source_), left);
    EXPECT_EQ(heardFrom(source_), (Log{"before", "after"}));
  }
}

}  // namespace
}  // namespace KobTest
