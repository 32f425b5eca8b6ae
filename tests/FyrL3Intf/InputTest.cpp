// What holds of each input of the state machine: how it is replaced and removed, what its reactor
// does, and what the machine's switches do to it.

#include <gtest/gtest.h>

#include "tests/FyrL3Intf/Inputs.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

const Plexo::IntfId one = "Vlan1"_intf;
const Plexo::IntfId two = "Vlan2"_intf;

template <class Input>
class InputTest : public InputFixture<Input> {};
TYPED_TEST_SUITE(InputTest, Inputs);

TYPED_TEST(InputTest, IsTheOneOfTheConstruction) {
  EXPECT_EQ(TypeParam::of(this->machine), this->dir);
  EXPECT_EQ(this->dir->kobNotifiees().members(), 1U);
}

TYPED_TEST(InputTest, AChangedKeyCallsTheKeyedHandlerAtOnceAndOnce) {
  TypeParam::add(*this->dir, one);
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
  TypeParam::add(*this->dir, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

// ---------------------------------------------------------------------------------------------
// Replacing and removing

TYPED_TEST(InputTest, TheSameInputAgainDoesNothing) {
  const auto modifications = this->dir->kobNotifiees().modificationCount();
  TypeParam::is(this->machine, this->dir);
  EXPECT_EQ(this->called(), Log{});
  EXPECT_EQ(this->dir->kobNotifiees().modificationCount(), modifications);
}

TYPED_TEST(InputTest, AnotherInputKeepsTheReactorAndIsHandledOnceAsAWhole) {
  const auto* const reactor = this->dir->kobNotifiees().head();
  TypeParam::is(this->machine, this->another);
  EXPECT_EQ(this->called(), this->renewed());
  EXPECT_EQ(TypeParam::of(this->machine), this->another);
  EXPECT_EQ(this->another->kobNotifiees().head(), reactor);
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
}

TYPED_TEST(InputTest, AnotherInputIsFollowedAndTheFormerOneIsNot) {
  TypeParam::is(this->machine, this->another);
  this->trace.taken();
  TypeParam::add(*this->dir, one);
  EXPECT_EQ(this->called(), Log{});
  TypeParam::add(*this->another, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputTest, NullDisconnectsTheReactorAndRunsNoHandler) {
  TypeParam::is(this->machine, nullptr);
  EXPECT_FALSE(TypeParam::of(this->machine));
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
  EXPECT_EQ(this->dir->references(), 2U) << "held by the test alone, twice";
  TypeParam::add(*this->dir, one);
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, AReactorThatSomebodyHoldsIsAZombieWithoutAnOwnerOnceItIsRemoved) {
  const auto reactor = this->newReactor(this->dir);
  TypeParam::is(this->machine, nullptr);
  EXPECT_TRUE(reactor->kobMarkedForDeletion());
  EXPECT_FALSE(reactor->hasNotificationActive());
  EXPECT_TRUE(reactor->owner() == nullptr);
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
}

TYPED_TEST(InputTest, NullAgainDoesNothing) {
  TypeParam::is(this->machine, nullptr);
  TypeParam::is(this->machine, nullptr);
  EXPECT_FALSE(TypeParam::of(this->machine));
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, AnInputWhereThereWasNoneGetsAReactorAndIsHandledOnceAsAWhole) {
  TypeParam::is(this->machine, nullptr);
  TypeParam::is(this->machine, this->another);
  EXPECT_EQ(this->called(), this->renewed());
  EXPECT_EQ(TypeParam::of(this->machine), this->another);
  TypeParam::add(*this->another, one);
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
}

TYPED_TEST(InputTest, ARemovalGivesTheFormerInputAndRunsNoHandler) {
  EXPECT_EQ(TypeParam::del(this->machine), this->dir);
  EXPECT_FALSE(TypeParam::of(this->machine));
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
  TypeParam::add(*this->dir, one);
  EXPECT_EQ(this->called(), Log{});
  EXPECT_FALSE(TypeParam::del(this->machine));
}

TYPED_TEST(InputTest, AReactorThatWasRemovedIsAZombieThatIsSwitchedOff) {
  const auto reactor = this->newReactor(this->dir);
  TypeParam::del(this->machine);
  EXPECT_TRUE(reactor->kobMarkedForDeletion());
  EXPECT_FALSE(reactor->hasNotificationActive());
  EXPECT_TRUE(reactor->owner() == nullptr);
  EXPECT_EQ(reactor->notifier(), this->dir);
}

TYPED_TEST(InputTest, AReactorWithoutAnInputThatIsRemovedIsSwitchedOffToo) {
  const auto reactor = this->newReactor(nullptr);
  EXPECT_FALSE(TypeParam::del(this->machine));
  EXPECT_TRUE(reactor->kobMarkedForDeletion());
  EXPECT_FALSE(reactor->hasNotificationActive());
}

// ---------------------------------------------------------------------------------------------
// The reactor

TYPED_TEST(InputTest, ANewReactorListensInTheActivityOfTheMachine) {
  const auto reactor = this->newReactor(this->another);
  EXPECT_EQ(reactor->notifier(), this->another);
  EXPECT_TRUE(reactor->owner() == &this->machine);
  EXPECT_EQ(reactor->kobFwkActivity(), this->world.activity);
  EXPECT_EQ(Kob::Ptr<const typename TypeParam::Reactor>(reactor)->kobFwkActivity(),
            this->world.activity);
  EXPECT_EQ(reactor->actsm(), this->world.activity->activitySm());
  EXPECT_TRUE(reactor->hasNotificationActive());
  EXPECT_TRUE(reactor->isRegisteredNotifiee());
  TypeParam::add(*this->another, one);
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
}

TYPED_TEST(InputTest, AReactorHasTheNameOfItsInput) {
  EXPECT_EQ(this->newReactor(this->another)->name(), Kob::Name("another"));
}

TYPED_TEST(InputTest, TheKeyedHookCallsTheKeyedHandler) {
  const auto reactor = this->newReactor(this->another);
  TypeParam::add(*this->another, one);
  this->machine.hasNotificationActiveIs(false);
  TypeParam::add(*this->another, two);
  this->trace.taken();
  TypeParam::keyedHook(*reactor, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputTest, TheUnkeyedHookIsARenewal) {
  const auto reactor = this->newReactor(this->another);
  TypeParam::unkeyedHook(*reactor);
  EXPECT_EQ(this->called(), this->renewed());
}

TYPED_TEST(InputTest, AZombieStillGetsItsHooksAndCallsNoHandler) {
  const auto reactor = this->newReactor(this->another);
  EXPECT_TRUE(reactor->kobDoZombieReactors(true));
  TypeParam::keyedHook(*reactor, one);
  TypeParam::unkeyedHook(*reactor);
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, AZombieStopsListeningAndListensAgainWhenItIsRevived) {
  const auto reactor = this->newReactor(this->another);
  EXPECT_TRUE(reactor->kobDoZombieReactors(true));
  EXPECT_FALSE(reactor->hasNotificationActive());
  EXPECT_EQ(this->another->kobNotifiees().members(), 0U);
  EXPECT_TRUE(reactor->kobDoZombieReactors(true));
  EXPECT_FALSE(reactor->kobDoZombieReactors(false));
  EXPECT_TRUE(reactor->hasNotificationActive());
  TypeParam::add(*this->another, one);
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
}

TYPED_TEST(InputTest, AZombieWithoutAnInputIsMarkedAndStaysSwitchedOn) {
  const auto reactor = this->newReactor(nullptr);
  EXPECT_TRUE(reactor->kobDoZombieReactors(true));
  EXPECT_TRUE(reactor->kobMarkedForDeletion());
  EXPECT_TRUE(reactor->hasNotificationActive());
}

TYPED_TEST(InputTest, AZombieThatIsGivenAnotherInputJoinsItAndRunsNoHandler) {
  const auto reactor = this->newReactor(this->dir);
  reactor->kobDoZombieReactors(true);
  reactor->notifierIs(this->another);
  EXPECT_EQ(reactor->notifier(), this->another);
  EXPECT_EQ(this->another->kobNotifiees().members(), 1U);
  TypeParam::add(*this->another, one);
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, TheSameNotifierAgainDoesNothing) {
  const auto reactor = this->newReactor(this->another);
  const auto modifications = this->another->kobNotifiees().modificationCount();
  reactor->notifierIs(this->another);
  EXPECT_EQ(this->another->kobNotifiees().modificationCount(), modifications);
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, NoNotifierAgainDoesNothing) {
  const auto reactor = this->newReactor(nullptr);
  reactor->isRegisteredNotifieeIs(false);
  reactor->notifierIs(nullptr);
  reactor->notifierIs(this->world.table);
  EXPECT_FALSE(reactor->isRegisteredNotifiee());
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, ANotifierOfAnotherTypeCountsAsNone) {
  const auto reactor = this->newReactor(this->another);
  reactor->notifierIs(this->world.table);
  EXPECT_FALSE(reactor->notifier());
  EXPECT_TRUE(reactor->isRegisteredNotifiee());
  EXPECT_EQ(this->another->kobNotifiees().members(), 0U);
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, ANewNotifierIsJoinedThoughTheReactorWasUnregistered) {
  const auto reactor = this->newReactor(this->dir);
  reactor->isRegisteredNotifieeIs(false);
  reactor->notifierIs(this->another);
  EXPECT_EQ(this->called(), this->renewed());
  EXPECT_EQ(this->another->kobNotifiees().members(), 1U);
}

TYPED_TEST(InputTest, AReactorThatIsSwitchedOffHearsNothingAndJoinsAgainWhenSwitchedOn) {
  const auto reactor = this->newReactor(this->another);
  EXPECT_FALSE(reactor->hasNotificationActiveIs(false));
  EXPECT_FALSE(reactor->hasNotificationActiveIs(false));
  EXPECT_EQ(this->another->kobNotifiees().members(), 0U);
  TypeParam::add(*this->another, one);
  EXPECT_TRUE(reactor->hasNotificationActiveIs(true));
  EXPECT_EQ(this->called(), Log{});
  TypeParam::add(*this->another, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputTest, AReactorThatWasUnregisteredWhenSwitchedOffStaysSo) {
  const auto reactor = this->newReactor(this->another);
  reactor->hasNotificationActiveIs(false);
  reactor->hasNotificationActiveIs(true);
  reactor->isRegisteredNotifieeIs(false);
  reactor->hasNotificationActiveIs(false);
  reactor->hasNotificationActiveIs(true);
  EXPECT_EQ(this->another->kobNotifiees().members(), 0U);
}

// ---------------------------------------------------------------------------------------------
// The switches of the machine

TYPED_TEST(InputTest, AMachineThatIsSwitchedOffHearsNothing) {
  EXPECT_FALSE(this->machine.hasNotificationActiveIs(false));
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
  TypeParam::add(*this->dir, one);
  EXPECT_TRUE(this->machine.hasNotificationActiveIs(true));
  EXPECT_EQ(this->called(), Log{}) << "what was missed is not caught up with";
  TypeParam::add(*this->dir, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputTest, SwitchingOnTwiceHasNoFurtherEffect) {
  const auto modifications = this->dir->kobNotifiees().modificationCount();
  EXPECT_TRUE(this->machine.hasNotificationActiveIs(true));
  EXPECT_TRUE(this->machine.hasNotificationActiveIs(true));
  EXPECT_EQ(this->dir->kobNotifiees().modificationCount(), modifications);
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputTest, SwitchingTheMachineOffTwiceReachesTheReactorOnce) {
  const auto reactor = this->newReactor(this->dir);
  this->machine.hasNotificationActiveIs(false);
  reactor->hasNotificationActiveIs(true);
  this->machine.hasNotificationActiveIs(false);
  EXPECT_TRUE(reactor->hasNotificationActive());
}

TYPED_TEST(InputTest, AMachineWithoutTheInputIsSwitchedAndMadeAZombieAllTheSame) {
  TypeParam::del(this->machine);
  EXPECT_FALSE(this->machine.hasNotificationActiveIs(false));
  EXPECT_TRUE(this->machine.hasNotificationActiveIs(true));
  EXPECT_TRUE(this->machine.kobDoZombieReactors(true));
  EXPECT_FALSE(this->machine.kobDoZombieReactors(false));
  TypeParam::is(this->machine, this->another);
  EXPECT_EQ(this->called(), this->renewed());
  TypeParam::add(*this->another, one);
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
}

TYPED_TEST(InputTest, AZombieMachineHearsNothingAndListensAgainWhenItIsRevived) {
  EXPECT_TRUE(this->machine.kobDoZombieReactors(true));
  EXPECT_TRUE(this->machine.kobMarkedForDeletion());
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
  TypeParam::add(*this->dir, one);
  EXPECT_FALSE(this->machine.kobDoZombieReactors(false));
  EXPECT_FALSE(this->machine.kobMarkedForDeletion());
  EXPECT_EQ(this->called(), Log{});
  TypeParam::add(*this->dir, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputTest, MakingTheMachineAZombieTwiceReachesTheReactorOnce) {
  const auto reactor = this->newReactor(this->dir);
  this->machine.kobDoZombieReactors(true);
  reactor->kobDoZombieReactors(false);
  this->machine.kobDoZombieReactors(true);
  EXPECT_FALSE(reactor->kobMarkedForDeletion());
}

TYPED_TEST(InputTest, AnInputThatReplacesOneOfAZombieMachineIsNotHandledUntilItIsRevived) {
  this->machine.kobDoZombieReactors(true);
  TypeParam::is(this->machine, this->another);
  TypeParam::add(*this->another, one);
  EXPECT_EQ(this->called(), Log{});
  this->machine.kobDoZombieReactors(false);
  TypeParam::add(*this->another, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputTest, TheFirstInputOfAZombieMachineIsHandledAsAWholeBeforeItsReactorIsAZombie) {
  TypeParam::is(this->machine, nullptr);
  this->machine.kobDoZombieReactors(true);
  TypeParam::is(this->machine, this->another);
  EXPECT_EQ(this->called(), this->renewed());
  EXPECT_EQ(this->another->kobNotifiees().members(), 0U);
  TypeParam::add(*this->another, one);
  EXPECT_EQ(this->called(), Log{});
}

}  // namespace
}  // namespace FyrL3Intf::Tests
