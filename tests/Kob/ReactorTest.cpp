#include "Kob/Reactor.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/Kob/Fatal.h"
#include "tests/Kob/Machine.h"

namespace KobTest {
namespace {

using Kob::Ptr;

/// A machine without an activity, and two sources for its input.
class ReactorTest : public testing::Test {
 protected:
  void TearDown() override {
    machine_ = nullptr;
    EXPECT_EQ(Machine::KobSource::alive, 0);
  }

  /// What the handlers wrote since the last call.
  Log heard() { return std::exchange(log_, {}); }
  [[nodiscard]] Kob::Input<Machine::KobSource>& input() const { return machine_->source; }
  void inputIs(const Ptr<Source>& source) const { input().notifierIs(*machine_, source); }
  [[nodiscard]] Machine::KobSource& reactor() const { return *input().reactor(); }
  [[nodiscard]] static bool isIn(const Ptr<Source>& source, const Machine::KobSource& reactor) {
    return membersOf(*source) == std::vector<const Source::NotifieeConst*>{&reactor};
  }

  Log log_;
  Ptr<Machine> machine_{new Machine("machine", log_, nullptr)};
  Ptr<Source> first_{new Source("first")};
  Ptr<Source> second_{new Source("second")};
};
using Input = ReactorTest;
using Zombie = ReactorTest;
using NotificationSwitch = ReactorTest;

TEST_F(ReactorTest, IsMadeListeningAndRunsNoHandler) {
  const auto made = input().newReactor(*machine_, first_);
  EXPECT_EQ(made, input().reactor());
  EXPECT_EQ(heard(), Log());
  EXPECT_EQ(made->notifier(), first_);
  EXPECT_EQ(made->owner(), machine_.get());
  EXPECT_EQ(made->name(), "first");
  EXPECT_TRUE(made->hasNotificationActive());
  EXPECT_TRUE(made->isRegisteredNotifiee());
  EXPECT_TRUE(isIn(first_, *made));
}

TEST_F(ReactorTest, MadeInThePlaceOfAnotherDisconnectsIt) {
  const Ptr<Machine::KobSource> former = input().newReactor(*machine_, first_);
  const auto made = input().newReactor(*machine_, first_);
  EXPECT_EQ(input().reactor(), made);
  EXPECT_TRUE(former->kobMarkedForDeletion());
  EXPECT_EQ(former->owner(), nullptr);
  EXPECT_TRUE(isIn(first_, *made));
}

/// Remembers whether it had its owner when it became a zombie.
class Parting final
    : public Kob::KeyedReactor<Parting, Source::NotifieeConst, Machine, Source::valueId, int> {
 public:
  Parting(const Ptr<Kob::ActivityConfig>& activity, const NotifierPtr& notifier, Machine* owner)
      : KeyedReactor(activity, notifier, owner) {}

  bool kobDoZombieReactors(bool zombie) override {
    hadOwner = owner() != nullptr;
    return KeyedReactor::kobDoZombieReactors(zombie);
  }
  void keyedHook(int /*key*/) {}
  void unkeyedHook() {}
  void handleKey(int /*key*/) {}
  void renewed() {}

  bool hadOwner = false;
};

TEST_F(ReactorTest, BecomesAZombieBeforeItsOwnerLetsGo) {
  Kob::Input<Parting> parted;
  const auto reactor = parted.newReactor(*machine_, first_);
  parted.notifierIs(*machine_, nullptr);
  EXPECT_TRUE(reactor->hadOwner);
  EXPECT_EQ(reactor->owner(), nullptr);
}

TEST_F(ReactorTest, HandlesEachKeyAtOnceWithoutAnActivity) {
  input().newReactor(*machine_, first_);
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"machine key 1"});
  first_->valueNotify(2);
  EXPECT_EQ(heard(), Log{"machine key 2"});
  EXPECT_EQ(reactor().actsm(), nullptr);
  EXPECT_EQ(reactor().kobFwkActivity(), nullptr);
  EXPECT_EQ(reactor().kobPendingCount(), 0U);
}

TEST_F(ReactorTest, RunsInTheActivityOfItsOwner) {
  const auto activity = Kob::activityFactory("activity");
  const Ptr<Machine> machine(new Machine("other", log_, activity));
  const auto made = machine->source.newReactor(*machine, first_);
  EXPECT_EQ(made->kobFwkActivity(), activity);
  EXPECT_EQ(std::as_const(*made).kobFwkActivity(), activity);
  EXPECT_EQ(made->actsm(), activity->activitySm());
  made->kobFwkActivityIs(nullptr);
  EXPECT_EQ(made->actsm(), nullptr);
}

TEST_F(ReactorTest, ResynchronisesWhenItGetsAnotherNotifier) {
  input().newReactor(*machine_, first_);
  reactor().notifierIs(second_);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_TRUE(isIn(second_, reactor()));
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log());
  second_->valueNotify(2);
  EXPECT_EQ(heard(), Log{"machine key 2"});
}

TEST_F(ReactorTest, TheSameNotifierAgainChangesNothing) {
  input().newReactor(*machine_, first_);
  reactor().isRegisteredNotifieeIs(false);
  reactor().notifierIs(first_);
  EXPECT_EQ(heard(), Log());
  EXPECT_FALSE(reactor().isRegisteredNotifiee());
}

TEST_F(ReactorTest, NoNotifierAfterNoneChangesNothing) {
  input().newReactor(*machine_, nullptr);
  reactor().isRegisteredNotifieeIs(false);
  reactor().notifierIs(nullptr);
  reactor().notifierIs(Ptr<Kob::Entity>(new Kob::Entity("no source, and so none")));
  EXPECT_EQ(heard(), Log());
  EXPECT_FALSE(reactor().isRegisteredNotifiee());
}

TEST_F(ReactorTest, ANotifierOfAnotherTypeCountsAsNone) {
  input().newReactor(*machine_, first_);
  const Ptr<Kob::Entity> stranger(new Kob::Entity("no source"));
  reactor().notifierIs(stranger);
  EXPECT_EQ(heard(), Log());
  EXPECT_EQ(reactor().notifier(), nullptr);
  EXPECT_EQ(first_->kobNotifiees().members(), 0U);
  EXPECT_EQ(stranger->references(), 1U);
  reactor().notifierIs(second_);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_TRUE(isIn(second_, reactor()));
}

TEST_F(ReactorTest, JoinsTheListOfANewNotifierEvenWhenItWasNotRegistered) {
  input().newReactor(*machine_, first_);
  reactor().isRegisteredNotifieeIs(false);
  reactor().notifierIs(second_);
  EXPECT_TRUE(isIn(second_, reactor()));
}

TEST_F(ReactorTest, ThatIsNotRegisteredJoinsTheListOfANewNotifierAfterItsHandler) {
  input().newReactor(*machine_, first_);
  reactor().isRegisteredNotifieeIs(false);
  machine_->whenHandled = [&] {
    EXPECT_EQ(reactor().notifier(), second_);
    EXPECT_FALSE(reactor().isRegisteredNotifiee());
    EXPECT_EQ(second_->kobNotifiees().members(), 0U);
  };
  reactor().notifierIs(second_);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_TRUE(isIn(second_, reactor()));
}

TEST_F(ReactorTest, ThatIsRegisteredMovesToANewNotifierBeforeItsHandler) {
  input().newReactor(*machine_, first_);
  machine_->whenHandled = [&] {
    EXPECT_EQ(first_->kobNotifiees().members(), 0U);
    EXPECT_TRUE(isIn(second_, reactor()));
  };
  reactor().notifierIs(second_);
  EXPECT_EQ(heard(), Log{"machine all"});
}

TEST_F(ReactorTest, IsRegisteredAllTheSameWhenItsHandlerThrows) {
  input().newReactor(*machine_, first_);
  reactor().isRegisteredNotifieeIs(false);
  machine_->whenHandled = [] { throw std::runtime_error("thrown on purpose"); };
  EXPECT_THROW(reactor().notifierIs(second_), std::runtime_error);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_EQ(reactor().notifier(), second_);
  EXPECT_TRUE(isIn(second_, reactor()));
}

TEST_F(ReactorTest, TellsItselfWhenAHandlerThrowsDuringAnAnnouncement) {
  input().newReactor(*machine_, first_);
  machine_->whenHandled = [] { throw std::runtime_error("thrown on purpose"); };
  first_->valueNotify(1);
  EXPECT_EQ(heard(), (Log{"machine key 1", "machine exception 260"}));
}

TEST_F(ReactorTest, MayBeNotifiedWhileItsOwnerIsStillBeingBuilt) {
  auto* const unheld = new Machine("unheld", log_, nullptr);
  unheld->source.newReactor(*unheld, first_);
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"unheld key 1"});
  ASSERT_EQ(Machine::alive, 2) << "nobody held it yet, and nobody has let it go";
  const Ptr<Machine> held(unheld);
}

TEST_F(ReactorTest, HandledWithNothingPendingDoesNothing) {
  input().newReactor(*machine_, first_);
  reactor().handleNotification(nullptr);
  EXPECT_EQ(heard(), Log());
}

TEST_F(NotificationSwitch, OffLeavesTheListAndOnJoinsItAgain) {
  input().newReactor(*machine_, first_);
  EXPECT_FALSE(reactor().hasNotificationActiveIs(false));
  EXPECT_FALSE(reactor().hasNotificationActive());
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log());
  EXPECT_TRUE(reactor().hasNotificationActiveIs(true));
  first_->valueNotify(2);
  EXPECT_EQ(heard(), Log{"machine key 2"});
}

TEST_F(NotificationSwitch, OnAgainJoinsOnlyWhatHadJoined) {
  input().newReactor(*machine_, first_);
  reactor().isRegisteredNotifieeIs(false);
  reactor().hasNotificationActiveIs(false);
  reactor().hasNotificationActiveIs(true);
  EXPECT_FALSE(reactor().isRegisteredNotifiee());
}

TEST_F(NotificationSwitch, OnTwiceHasNoFurtherEffectTheSecondTime) {
  input().newReactor(*machine_, first_);
  EXPECT_TRUE(reactor().hasNotificationActiveIs(true));
  reactor().hasNotificationActiveIs(false);
  reactor().hasNotificationActiveIs(true);
  reactor().isRegisteredNotifieeIs(false);
  EXPECT_TRUE(reactor().hasNotificationActiveIs(true));
  EXPECT_FALSE(reactor().isRegisteredNotifiee());
}

TEST_F(Zombie, StopsListeningAndCallsNoHandler) {
  input().newReactor(*machine_, first_);
  EXPECT_TRUE(reactor().kobDoZombieReactors(true));
  EXPECT_TRUE(reactor().kobMarkedForDeletion());
  EXPECT_FALSE(reactor().isRegisteredNotifiee());
  reactor().onValue(1);
  reactor().unkeyedHook();
  EXPECT_EQ(heard(), Log());
}

TEST_F(Zombie, ThatIsRevivedListensAgain) {
  input().newReactor(*machine_, first_);
  reactor().kobDoZombieReactors(true);
  EXPECT_FALSE(reactor().kobDoZombieReactors(false));
  EXPECT_FALSE(reactor().kobMarkedForDeletion());
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"machine key 1"});
}

TEST_F(Zombie, TheSameStateAgainChangesNothing) {
  input().newReactor(*machine_, first_);
  EXPECT_FALSE(reactor().kobDoZombieReactors(false));
  EXPECT_TRUE(reactor().isRegisteredNotifiee());
  reactor().kobDoZombieReactors(true);
  reactor().isRegisteredNotifieeIs(true);
  EXPECT_TRUE(reactor().kobDoZombieReactors(true));
  EXPECT_TRUE(reactor().isRegisteredNotifiee());
}

TEST_F(Zombie, ThatGetsAnotherNotifierJoinsItAndHandlesNothing) {
  input().newReactor(*machine_, first_);
  reactor().kobDoZombieReactors(true);
  reactor().notifierIs(second_);
  EXPECT_TRUE(isIn(second_, reactor()));
  second_->valueNotify(1);
  EXPECT_EQ(heard(), Log());
}

TEST_F(Zombie, WokenWithoutItsOwnerAndNotifiedIsFatal) {
  input().newReactor(*machine_, first_);
  const Ptr<Machine::KobSource> disconnected = input().reactor();
  inputIs(nullptr);
  EXPECT_EQ(disconnected->owner(), nullptr);
  disconnected->onValue(1);
  EXPECT_EQ(heard(), Log()) << "as a zombie it does nothing";
  disconnected->kobDoZombieReactors(false);
  EXPECT_FATAL(first_->valueNotify(1), "Kob/PtrInterface.h",
               "Kob::Ptr<KobTest::Machine>::operator->() const", "ptr != 0");
}

TEST_F(Input, IsNullAtFirst) {
  EXPECT_EQ(input().notifier(), nullptr);
  EXPECT_EQ(input().reactor(), nullptr);
  EXPECT_EQ(input().notifierDel(), nullptr);
}

TEST_F(Input, NoneAfterNoneChangesNothing) {
  inputIs(nullptr);
  EXPECT_EQ(input().reactor(), nullptr);
  EXPECT_EQ(heard(), Log());
}

TEST_F(Input, TheSameAgainChangesNothing) {
  inputIs(first_);
  const auto* const made = &reactor();
  heard();
  inputIs(first_);
  EXPECT_EQ(&reactor(), made);
  EXPECT_EQ(heard(), Log());
}

TEST_F(Input, TheFirstMakesAReactorAndRunsTheFullHandler) {
  inputIs(first_);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_EQ(input().notifier(), first_);
  EXPECT_TRUE(isIn(first_, reactor()));
  EXPECT_TRUE(reactor().hasNotificationActive());
}

TEST_F(Input, AnotherKeepsTheReactorAndRunsTheFullHandler) {
  inputIs(first_);
  const auto* const made = &reactor();
  heard();
  inputIs(second_);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_EQ(&reactor(), made);
  EXPECT_EQ(input().notifier(), second_);
  EXPECT_TRUE(isIn(second_, reactor()));
  EXPECT_EQ(first_->kobNotifiees().members(), 0U);
}

TEST_F(Input, NoneDisconnectsTheReactorAndRunsNoHandler) {
  inputIs(first_);
  const Ptr<Machine::KobSource> former = input().reactor();
  heard();
  inputIs(nullptr);
  EXPECT_EQ(heard(), Log());
  EXPECT_EQ(input().reactor(), nullptr);
  EXPECT_EQ(input().notifier(), nullptr);
  EXPECT_TRUE(former->kobMarkedForDeletion());
  EXPECT_EQ(former->owner(), nullptr);
  EXPECT_EQ(first_->kobNotifiees().members(), 0U);
  EXPECT_EQ(former->references(), 1U);
}

TEST_F(Input, AfterNoneGetsANewReactor) {
  inputIs(first_);
  const Ptr<Machine::KobSource> former = input().reactor();
  inputIs(nullptr);
  heard();
  inputIs(first_);
  EXPECT_NE(input().reactor(), former);
  EXPECT_EQ(heard(), Log{"machine all"});
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"machine key 1"});
}

TEST_F(Input, OfAZombieLeavesTheReactorAZombie) {
  machine_->kobMarkedForDeletionIs(true);
  inputIs(first_);
  EXPECT_TRUE(reactor().kobMarkedForDeletion());
  EXPECT_EQ(first_->kobNotifiees().members(), 0U);
  heard();
  inputIs(second_);
  EXPECT_EQ(heard(), Log());
  EXPECT_TRUE(reactor().kobMarkedForDeletion());
}

TEST_F(Input, OfARevivedOwnerRevivesTheReactor) {
  inputIs(first_);
  reactor().kobDoZombieReactors(true);
  heard();
  inputIs(second_);
  EXPECT_FALSE(reactor().kobMarkedForDeletion());
  second_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"machine key 1"});
}

TEST_F(Input, TakenAwayReturnsTheFormerOneAndSwitchesTheReactorOff) {
  inputIs(first_);
  const Ptr<Machine::KobSource> former = input().reactor();
  heard();
  EXPECT_EQ(input().notifierDel(), first_);
  EXPECT_EQ(heard(), Log());
  EXPECT_EQ(input().reactor(), nullptr);
  EXPECT_TRUE(former->kobMarkedForDeletion());
  EXPECT_FALSE(former->hasNotificationActive());
  EXPECT_EQ(former->owner(), nullptr);
  EXPECT_EQ(input().notifierDel(), nullptr);
}

TEST_F(Input, WithoutANotifierIsSwitchedOffToo) {
  input().newReactor(*machine_, nullptr);
  const Ptr<Machine::KobSource> former = input().reactor();
  EXPECT_EQ(input().notifierDel(), nullptr);
  EXPECT_FALSE(former->hasNotificationActive());
}

TEST_F(Input, WhoseHandlerThrowsIsSetAllTheSame) {
  machine_->whenHandled = [] { throw std::runtime_error("thrown on purpose"); };
  EXPECT_THROW(inputIs(first_), std::runtime_error);
  machine_->whenHandled = [] {};
  EXPECT_EQ(input().notifier(), first_);
  heard();
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"machine key 1"});
}

TEST_F(Input, GoesWithItsOwnerAndDisconnectsTheReactor) {
  inputIs(first_);
  const Ptr<Machine::KobSource> former = input().reactor();
  machine_ = nullptr;
  EXPECT_EQ(former->owner(), nullptr);
  EXPECT_TRUE(former->kobMarkedForDeletion());
  first_->valueNotify(1);
  former->onValue(1);
  EXPECT_EQ(former->references(), 1U);
}

TEST_F(Input, MayBeTakenAwayByTheHandlerThatItCalls) {
  inputIs(first_);
  heard();
  machine_->whenHandled = [&] { inputIs(nullptr); };
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"machine key 1"});
  EXPECT_EQ(Machine::KobSource::alive, 0);
}

TEST_F(Input, MayBeTakenAwayByTheHandlerThatItsReplacementRuns) {
  inputIs(first_);
  heard();
  const Ptr<Machine::KobSource> former = input().reactor();
  machine_->whenHandled = [&] { inputIs(nullptr); };
  inputIs(second_);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_EQ(input().reactor(), nullptr);
  EXPECT_TRUE(former->kobMarkedForDeletion()) << "it is not woken again";
  EXPECT_EQ(former->owner(), nullptr);
}

TEST_F(Input, ItsOwnerMayGoInTheHandlerThatItsReplacementRuns) {
  inputIs(first_);
  heard();
  machine_->whenHandled = [&] { machine_ = nullptr; };
  Machine& machine = *machine_;
  machine.source.notifierIs(machine, second_);
  EXPECT_EQ(heard(), Log{"machine all"});
  EXPECT_EQ(Machine::alive, 0);
  EXPECT_EQ(second_->kobNotifiees().members(), 0U);
}

TEST_F(Input, ItsOwnerMayGoInTheHandlerThatItCalls) {
  inputIs(first_);
  heard();
  machine_->whenHandled = [&] { machine_ = nullptr; };
  first_->valueNotify(1);
  EXPECT_EQ(heard(), Log{"machine key 1"});
  EXPECT_EQ(first_->kobNotifiees().members(), 0U);
}

}  // namespace
}  // namespace KobTest
