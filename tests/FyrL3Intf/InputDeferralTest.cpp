// What deferral makes of changes of the inputs: one pending key is one keyed call, two or more are
// one renewal, which the L3 index directory deliberately ignores.

#include <gtest/gtest.h>

#include "tests/FyrL3Intf/Inputs.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

const Plexo::IntfId one = "Vlan1"_intf;
const Plexo::IntfId two = "Vlan2"_intf;
const Plexo::IntfId three = "Vlan3"_intf;

/// The activity defers; a reactor of the test's own watches another input.
template <class Input>
class InputDeferralTest : public InputFixture<Input> {};
TYPED_TEST_SUITE(InputDeferralTest, Inputs);

TYPED_TEST(InputDeferralTest, NothingIsHandledWhileTheActivityDefers) {
  this->defer();
  TypeParam::add(*this->dir, one);
  TypeParam::add(*this->dir, two);
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputDeferralTest, OneChangedKeyLeadsToOneKeyedCall) {
  this->defer();
  TypeParam::add(*this->dir, one);
  this->deliver();
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
}

TYPED_TEST(InputDeferralTest, SeveralChangedKeysAreOneRenewal) {
  const auto reactor = this->newReactor(this->another);
  for (unsigned keys = 2; keys <= 3; ++keys) {
    this->defer();
    for (unsigned key = 0; key < keys; ++key) TypeParam::keyedHook(*reactor, one);
    this->deliver();
    EXPECT_EQ(this->called(), this->renewed()) << keys;
  }
}

TYPED_TEST(InputDeferralTest, TheRecordIsClearedByItsDelivery) {
  const auto reactor = this->newReactor(this->another);
  this->defer();
  TypeParam::keyedHook(*reactor, one);
  TypeParam::keyedHook(*reactor, two);
  EXPECT_EQ(reactor->kobPendingAttributeId(), TypeParam::id);
  EXPECT_EQ(reactor->kobPendingCount(), 2U);
  this->deliver();
  EXPECT_EQ(reactor->kobPendingAttributeId(), 0);
  EXPECT_EQ(reactor->kobPendingCount(), 0U);
  this->trace.taken();
  this->world.activity->run();
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputDeferralTest, ARunDeliversAndTheActivityGoesOnDeferring) {
  this->defer();
  TypeParam::add(*this->dir, one);
  this->world.activity->run();
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
  TypeParam::add(*this->dir, two);
  EXPECT_EQ(this->called(), Log{});
  this->world.activity->run();
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputDeferralTest, TheLastKeyIsTheOneThatIsDeliveredAfterAnEarlierRun) {
  this->defer();
  TypeParam::add(*this->dir, one);
  this->world.activity->run();
  TypeParam::add(*this->dir, three);
  this->trace.taken();
  this->deliver();
  EXPECT_EQ(this->called(), this->keyed("Vlan3"));
}

TYPED_TEST(InputDeferralTest, AnInputThatIsReplacedWhileTheActivityDefersIsRenewedAtOnce) {
  this->defer();
  TypeParam::is(this->machine, this->another);
  EXPECT_EQ(this->called(), this->renewed());
  this->deliver();
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputDeferralTest, AReplacedNotifierThatIsPendingIsOneRenewal) {
  const auto reactor = this->newReactor(this->another);
  this->defer();
  TypeParam::keyedHook(*reactor, one);
  this->pending(*reactor, Kob::pendingReplaced);
  this->deliver();
  EXPECT_EQ(this->called(), this->renewed());
  EXPECT_EQ(reactor->kobPendingCount(), 0U);
}

TYPED_TEST(InputDeferralTest, AmongSeveralAttributesOneKeyIsOneKeyedCall) {
  const auto reactor = this->newReactor(this->another);
  TypeParam::add(*this->another, one);
  this->machine.hasNotificationActiveIs(false);
  TypeParam::add(*this->another, two);
  this->trace.taken();
  this->defer();
  this->pending(*reactor, 999);
  TypeParam::keyedHook(*reactor, two);
  EXPECT_EQ(reactor->kobPendingAttributeId(), Kob::pendingSeveral);
  this->deliver();
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputDeferralTest, AmongSeveralAttributesSeveralKeysAreOneRenewal) {
  const auto reactor = this->newReactor(this->another);
  this->defer();
  this->pending(*reactor, 999);
  TypeParam::keyedHook(*reactor, one);
  TypeParam::keyedHook(*reactor, two);
  this->deliver();
  EXPECT_EQ(this->called(), this->renewed());
}

TYPED_TEST(InputDeferralTest, SeveralAttributesWithoutAKeyCallNoHandler) {
  const auto reactor = this->newReactor(this->another);
  this->defer();
  this->pending(*reactor, 998);
  this->pending(*reactor, 999);
  this->deliver();
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputDeferralTest, TheWatchedAttributeWithoutAKeyCallsNoHandler) {
  const auto reactor = this->newReactor(this->another);
  this->defer();
  this->pending(*reactor, TypeParam::id);
  this->deliver();
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputDeferralTest, AnotherAttributeCallsNoHandler) {
  const auto reactor = this->newReactor(this->another);
  this->defer();
  this->pending(*reactor, 999);
  this->deliver();
  EXPECT_EQ(this->called(), Log{});
  EXPECT_EQ(reactor->kobPendingAttributeId(), 0);
}

TYPED_TEST(InputDeferralTest, AMachineThatIsAZombieWhenItsTurnComesIsSkippedForGood) {
  this->defer();
  TypeParam::add(*this->dir, one);
  this->machine.kobDoZombieReactors(true);
  this->deliver();
  this->machine.kobDoZombieReactors(false);
  this->world.activity->run();
  EXPECT_EQ(this->called(), Log{});
  TypeParam::add(*this->dir, two);
  EXPECT_EQ(this->called(), this->keyed("Vlan2"));
}

TYPED_TEST(InputDeferralTest, AnInputThatIsRemovedWhileAChangeIsPendingIsNotHandled) {
  this->defer();
  TypeParam::add(*this->dir, one);
  TypeParam::del(this->machine);
  this->deliver();
  EXPECT_EQ(this->called(), Log{});
}

TYPED_TEST(InputDeferralTest, WithoutAnActivityNothingIsEverDeferred) {
  World alone(noInternalVlans);
  alone.activity = nullptr;
  ConfigSm& withoutActivity = alone.start();
  EXPECT_FALSE(withoutActivity.kobFwkActivity());
  this->trace.taken();
  TypeParam::add(*TypeParam::in(alone), one);
  EXPECT_EQ(this->called(), this->keyed("Vlan1"));
  EXPECT_EQ(TypeParam::newReactor(withoutActivity, nullptr)->actsm(), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Deferral across the inputs, and its deliberate asymmetry

class DeferralTest : public testing::Test {
 protected:
  World world{noInternalVlans};

  void SetUp() override {
    world.start();
    world.activity->deferralIs(true);
  }
};

TEST_F(DeferralTest, ThreeChangedIndexesAreDropped) {
  Trace trace;
  world.l3Index("Ethernet1", 1);
  world.l3Index("Ethernet2", 2);
  world.l3Index("Ethernet3", 3);
  world.activity->deferralIs(false);
  EXPECT_EQ(trace.taken(), Log{});
  EXPECT_EQ(world.forward(), Forward{});
}

TEST_F(DeferralTest, AnIndexThatComesAndGoesIsDropped) {
  world.l3Index("Ethernet1", 1);
  world.l3IndexDel("Ethernet1");
  world.activity->deferralIs(false);
  EXPECT_EQ(world.forward(), Forward{});
}

TEST_F(DeferralTest, OneChangedIndexIsCopied) {
  world.l3Index("Ethernet1", 1);
  EXPECT_EQ(world.forward(), Forward{});
  world.activity->deferralIs(false);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 1}}));
}

TEST_F(DeferralTest, IndexesThatWereDroppedAreCopiedWhenTheyAreAnnouncedAgain) {
  world.l3Index("Ethernet1", 1);
  world.l3Index("Ethernet2", 2);
  world.activity->deferralIs(false);
  world.indexDir->l3IndexNotify("Ethernet1"_intf);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 1}}));
}

TEST_F(DeferralTest, ThreeConfiguredInterfacesAreOneFullCall) {
  Trace trace;
  world.routedPort("Ethernet1", 1);
  world.routedPort("Ethernet2", 2);
  world.routedPort("Ethernet3", 3);
  world.activity->deferralIs(false);
  Log expected{"handleSwitchIntfConfig()"};
  for (const auto& intf : namesOf(world.config->switchIntfConfigIteratorConst())) {
    expected.push_back("handleSwitchIntfConfig(" + intf + ")");
  }
  Log called = handlersCalled(trace);
  EXPECT_EQ(called, expected) << "the full handler visits each entry itself";
}

TEST_F(DeferralTest, InputsAreDeliveredInTheOrderInWhichTheyBecamePending) {
  Trace trace;
  world.vlanIntf("Vlan10");
  world.l3Index("Ethernet1", 1);
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan20");
  world.activity->deferralIs(false);
  EXPECT_EQ(handlersCalled(trace), (Log{"handleVlanIntfStatus()", "handleL3Index(Ethernet1)",
                                        "handleSwitchIntfConfig(Ethernet1)"}));
}

TEST_F(DeferralTest, AMachineThatGoesWhileChangesArePendingHandlesNone) {
  Trace trace;
  world.routedPort("Ethernet1", 10);
  world.l3Index("Ethernet1", 1);
  world.machine = nullptr;
  world.activity->deferralIs(false);
  EXPECT_EQ(trace.taken(), Log{});
}

TEST(DeferralWithInternalVlans, AnExceptionOfOneInputStopsNoOther) {
  World world(internalVlans);
  world.start();
  world.activity->deferralIs(true);
  world.vlanIntf("Vlan5000");
  world.routedPort("Ethernet1", 100);
  EXPECT_NO_THROW(world.activity->deferralIs(false));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST(DeferralWithInternalVlans, AnExceptionOfAChangeDoesNotReachTheOneWhoMadeIt) {
  World world(internalVlans);
  world.start();
  EXPECT_NO_THROW(world.vlanIntf("Vlan5000"));
  EXPECT_EQ(world.wishes(), Wishes{});
  world.vlanIntf("Vlan50");
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan50", 50}}));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
