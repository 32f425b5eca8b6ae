// The end of the state machine: what it disconnects, what it leaves, and who may still call it.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "tests/FyrL3Intf/Inputs.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

template <class Input>
class DestructionTest : public testing::Test {
 protected:
  World world{noInternalVlans};
  ConfigSm& machine = world.start();
  Kob::Ptr<typename Input::Dir> dir = Input::in(world);
  Trace trace;
};

TYPED_TEST_SUITE(DestructionTest, Inputs);

TYPED_TEST(DestructionTest, ALaterChangeOfTheInputCallsNoHandler) {
  this->world.machine = nullptr;
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
  EXPECT_EQ(this->dir->references(), 2U) << "held by the test alone, twice";
  TypeParam::add(*this->dir, "Vlan1"_intf);
  EXPECT_EQ(this->trace.taken(), Log{});
}

TYPED_TEST(DestructionTest, AReactorThatSomebodyHoldsIsADisconnectedZombie) {
  const auto reactor = TypeParam::newReactor(this->machine, this->dir);
  this->world.machine = nullptr;
  EXPECT_TRUE(reactor->kobMarkedForDeletion());
  EXPECT_FALSE(reactor->hasNotificationActive());
  EXPECT_FALSE(reactor->isRegisteredNotifiee());
  EXPECT_TRUE(reactor->owner() == nullptr);
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
  TypeParam::keyedHook(*reactor, "Vlan1"_intf);
  TypeParam::unkeyedHook(*reactor);
  EXPECT_EQ(this->trace.taken(), Log{});
}

TYPED_TEST(DestructionTest, AReactorThatIsGivenAnotherInputAfterwardsCallsNoHandler) {
  const auto reactor = TypeParam::newReactor(this->machine, this->dir);
  this->world.machine = nullptr;
  const auto another = TypeParam::make();
  reactor->notifierIs(another);
  TypeParam::add(*another, "Vlan1"_intf);
  EXPECT_EQ(this->trace.taken(), Log{});
}

TYPED_TEST(DestructionTest, AReactorThatDiesWhileItIsRegisteredAsAZombieLeavesTheList) {
  auto reactor = TypeParam::newReactor(this->machine, this->dir);
  this->world.machine = nullptr;
  const auto another = TypeParam::make();
  reactor->notifierIs(another);
  EXPECT_EQ(another->kobNotifiees().members(), 1U);
  reactor = nullptr;
  EXPECT_EQ(another->kobNotifiees().members(), 0U);
  TypeParam::add(*another, "Vlan1"_intf);
}

TYPED_TEST(DestructionTest, AChangeThatIsPendingIsNotDelivered) {
  const auto reactor = TypeParam::newReactor(this->machine, this->dir);
  this->world.activity->deferralIs(true);
  TypeParam::add(*this->dir, "Vlan1"_intf);
  this->world.machine = nullptr;
  this->world.activity->deferralIs(false);
  EXPECT_EQ(this->trace.taken(), Log{});
  EXPECT_EQ(reactor->kobPendingCount(), 0U);
}

// ---------------------------------------------------------------------------------------------
// The machine as a whole

class MachineDestructionTest : public testing::Test {
 protected:
  World world{internalVlans};

  void SetUp() override {
    world.start();
    world.routedPort("Ethernet1", 100);
    world.vlanIntf("Vlan10");
    world.l3Index("Ethernet3", 5);
  }
};

TEST_F(MachineDestructionTest, ReleasesTableInputsAndActivity) {
  world.machine = nullptr;
  EXPECT_EQ(world.table->references(), 1U);
  EXPECT_EQ(world.config->references(), 1U);
  EXPECT_EQ(world.statusDir->references(), 1U);
  EXPECT_EQ(world.indexDir->references(), 1U);
  EXPECT_EQ(world.activity->references(), 1U);
}

TEST_F(MachineDestructionTest, LeavesTheTableAsItIsAndTracesNothing) {
  const std::string before = textOf(*world.table);
  Trace trace;
  world.machine = nullptr;
  EXPECT_EQ(textOf(*world.table), before);
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(MachineDestructionTest, RemovesTheMachinesOfThePortsWithoutPreparingThem) {
  const auto entry = world.config->switchIntfConfig("Ethernet1"_intf);
  EXPECT_EQ(entry->kobNotifiees().members(), 1U);
  Trace trace;
  world.machine = nullptr;
  EXPECT_EQ(entry->kobNotifiees().members(), 0U);
  world.routedPort("Ethernet1", 200);
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(MachineDestructionTest, AfterPreparationLeavesOnlyWhatTheIndexDirectoryGave) {
  world.machine->doPrepareToDie();
  world.machine = nullptr;
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet3", 5}}));
  EXPECT_EQ(world.reverse(), (Reverse{{5, "Ethernet3"}}));
}

TEST_F(MachineDestructionTest, RemovingAllPortsByHandPreparesNoneOfThem) {
  Trace trace;
  world.machine->switchIntfConfigSmDelAll();
  EXPECT_EQ(world.machine->switchIntfConfigSms(), 0U);
  EXPECT_EQ(trace.taken(), Log{});
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}, {"Vlan10", 10}}));
}

TEST_F(MachineDestructionTest, LeavesTheListenersOfTheTableInPeace) {
  const auto listener = listenerOf(world.table);
  world.machine = nullptr;
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(world.table->kobNotifiees().members(), 1U);
}

TEST_F(MachineDestructionTest, AnotherMachineMayFollowOnAFreshTable) {
  world.machine = nullptr;
  world.table = tableFactory("fresh", internalVlans);
  world.start();
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}, {"Ethernet3", 5}, {"Vlan10", 10}}));
}

TEST_F(MachineDestructionTest, AMachineOfAPortThatSomebodyHoldsIsDisconnected) {
  const auto port = world.machine->switchIntfConfigSm("Ethernet1"_intf);
  const std::string before = textOf(*world.table);
  world.machine = nullptr;
  EXPECT_EQ(port->configSm(), nullptr);
  EXPECT_EQ(world.config->switchIntfConfig("Ethernet1"_intf)->kobNotifiees().members(), 0U);
  Trace trace;
  world.routedPort("Ethernet1", 200);
  EXPECT_EQ(trace.taken(), Log{});
  EXPECT_EQ(textOf(*world.table), before);
}

/// Hears of the last release of an object that it does not hold.
template <class Object>
class LastRelease final : public Object::NotifieeConst {
 public:
  static Kob::Ptr<LastRelease> of(const Kob::Ptr<Object>& object) {
    Kob::Ptr last(new LastRelease);
    last->notifierIs(object);
    last->isRegisteredNotifieeIs(true);
    last->isWeakReferenceIs(true);
    return last;
  }

  std::function<void()> onZero = [] {};

  void onZeroReferences() override { onZero(); }
};

/// The machine holds entries that are in no configuration any more. They go while it is destroyed,
/// and with them somebody is called.
TEST_F(MachineDestructionTest, WhoeverIsCalledWhileItGoesFindsTheReactorsDisconnected) {
  const auto config = world.machine->newConfig(world.config);
  const auto statusDir = world.machine->newVlanIntfStatusDir(world.statusDir);
  const auto indexDir = world.machine->newFyrL3IndexDir(world.indexDir);
  const auto disconnected = [](const auto& reactor) {
    return reactor->kobMarkedForDeletion() && reactor->owner() == nullptr;
  };
  world.routedPort("Ethernet2", 200);
  const auto last =
      LastRelease<Bridging::SwitchIntfConfig>::of(world.config->switchIntfConfig("Ethernet1"_intf));
  const ConfigSm& machine = *world.machine;
  world.activity->deferralIs(true);
  world.portDel("Ethernet1");
  bool called = false;
  Trace trace;
  last->onZero = [&] {
    called = true;
    EXPECT_TRUE(machine.kobMarkedForDeletion());
    EXPECT_TRUE(disconnected(config));
    EXPECT_TRUE(disconnected(statusDir));
    EXPECT_TRUE(disconnected(indexDir));
    world.activity->deferralIs(false);
    world.vlanIntf("Vlan20");
    world.l3Index("Ethernet4", 6);
    world.routedPort("Ethernet5", 300);
  };
  world.machine = nullptr;
  EXPECT_TRUE(called);
  EXPECT_EQ(trace.taken(), Log{});
}

/// Nobody but the machine holds anything any more.
TEST_F(MachineDestructionTest, ReleasesThePortsThenTheTableThenTheInputsAndTheActivityLast) {
  const auto port =
      LastRelease<Bridging::SwitchIntfConfig>::of(world.config->switchIntfConfig("Ethernet1"_intf));
  const auto table = LastRelease<Table>::of(world.table);
  const auto config = LastRelease<Bridging::Config>::of(world.config);
  const auto statusDir = LastRelease<Interface::VlanIntfStatusDir>::of(world.statusDir);
  const auto indexDir = LastRelease<L3IndexDir>::of(world.indexDir);
  Log gone;
  const auto goes = [&](const char* name) {
    return [&gone, &activity = world.activity, name] {
      gone.emplace_back(name);
      EXPECT_GT(activity->references(), 1U) << "held by the test, and by the machine still";
    };
  };
  port->onZero = goes("port");
  table->onZero = goes("table");
  config->onZero = statusDir->onZero = indexDir->onZero = goes("input");
  world.activity->deferralIs(true);
  world.portDel("Ethernet1");
  world.table = nullptr;
  world.config = nullptr;
  world.statusDir = nullptr;
  world.indexDir = nullptr;
  EXPECT_EQ(gone, Log{});
  world.machine = nullptr;
  EXPECT_EQ(gone, (Log{"port", "table", "input", "input", "input"}));
  EXPECT_EQ(world.activity->references(), 1U);
}

/// Hears of the index directory before the machine does.
class EarlyListener final : public L3IndexDir::NotifieeConst {
 public:
  using NotifieeConst::onL3Index;

  std::function<void()> onKey = [] {};

  void onL3Index(Plexo::IntfId) override { onKey(); }
};

TEST(DestructionInsideANotification, TheMachineThatWouldHaveBeenCalledNextIsNot) {
  for (const bool reactorIsHeld : {false, true}) {
    World world(noInternalVlans);
    const Kob::Ptr early(new EarlyListener);
    early->notifierIs(world.indexDir);
    early->isRegisteredNotifieeIs(true);
    world.start();
    auto reactor = world.machine->newFyrL3IndexDir(world.indexDir);
    if (!reactorIsHeld) reactor = nullptr;
    early->onKey = [&] { world.machine = nullptr; };
    Trace trace;
    world.l3Index("Ethernet1", 5);
    EXPECT_EQ(trace.taken(), Log{});
    EXPECT_EQ(world.forward(), Forward{});
  }
}

/// A reader of the table lets the machine go from inside its callback: the machine that is running
/// goes when its handler is through.
class DestructionInsideAHandler : public testing::Test {
 protected:
  void dropAtFirstKey(World& world) {
    reader_ = listenerOf(world.table);
    reader_->onKey = [&world](Plexo::IntfId) { world.machine = nullptr; };
  }

 private:
  Kob::Ptr<TableListener> reader_;
};

TEST_F(DestructionInsideAHandler, ALayer3IndexIsCopiedToItsEnd) {
  World world(noInternalVlans);
  world.start();
  dropAtFirstKey(world);
  world.l3Index("Ethernet1", 5);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}}));
  EXPECT_EQ(world.indexDir->kobNotifiees().members(), 0U);
}

TEST_F(DestructionInsideAHandler, AVlanIsHandedOverToItsEnd) {
  World world(internalVlans);
  world.start();
  world.routedPort("Ethernet1", 100);
  world.routedPort("Ethernet2", 100);
  dropAtFirstKey(world);
  world.port("Ethernet1", Bridging::SwitchportMode::access);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet2"}}));
}

TEST_F(DestructionInsideAHandler, AWholeDirectoryIsHandledToItsEnd) {
  World world(internalVlans);
  world.start();
  world.activity->deferralIs(true);
  world.vlanIntf("Vlan10");
  world.vlanIntf("Vlan20");
  dropAtFirstKey(world);
  world.activity->deferralIs(false);
  EXPECT_EQ(world.forward(), (Forward{{"Vlan10", 10}, {"Vlan20", 20}}));
  EXPECT_EQ(world.statusDir->kobNotifiees().members(), 0U);
}

TEST_F(DestructionInsideAHandler, ANewInputIsHandledToItsEnd) {
  World world(internalVlans);
  world.start();
  dropAtFirstKey(world);
  const auto another = Interface::vlanIntfStatusDirFactory("another");
  another->intfStatusIs("Vlan10"_intf);
  another->intfStatusIs("Vlan20"_intf);
  world.machine->vlanIntfStatusDirIs(another);
  EXPECT_EQ(world.forward(), (Forward{{"Vlan10", 10}, {"Vlan20", 20}}));
  EXPECT_EQ(another->kobNotifiees().members(), 0U);
}

TEST_F(DestructionInsideAHandler, APreparationIsMadeToItsEnd) {
  World world(internalVlans);
  world.start();
  world.routedPort("Ethernet1", 100);
  world.vlanIntf("Vlan10");
  world.vlanIntf("Vlan20");
  dropAtFirstKey(world);
  world.machine->doPrepareToDie();
  EXPECT_EQ(world.forward(), Forward{});
  EXPECT_EQ(world.reverse(), Reverse{});
}

TEST_F(DestructionInsideAHandler, AConfiguredInterfaceIsRemovedToItsEnd) {
  World world(internalVlans);
  world.start();
  world.routedPort("Ethernet1", 100);
  dropAtFirstKey(world);
  world.portDel("Ethernet1");
  EXPECT_EQ(world.forward(), Forward{});
  EXPECT_EQ(world.config->kobNotifiees().members(), 0U);
}

TEST_F(DestructionInsideAHandler, ADeferredChangeIsDeliveredAndTheNextIsNot) {
  World world(noInternalVlans);
  world.start();
  world.activity->deferralIs(true);
  world.l3Index("Ethernet1", 5);
  world.routedPort("Ethernet2", 100);
  dropAtFirstKey(world);
  Trace trace;
  world.activity->deferralIs(false);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}}));
  EXPECT_EQ(handlersCalled(trace), (Log{"handleL3Index(Ethernet1)"}));
}

/// A reader of the table changes an input while the machine is being made.
TEST(ChangesDuringConstruction, OfAnInputReachTheMachineAndDoNotEndIt) {
  World world(noInternalVlans);
  world.l3Index("Ethernet1", 5);
  const auto reader = listenerOf(world.table);
  reader->onKey = [&](Plexo::IntfId) { world.vlanIntf("Vlan10"); };
  Trace trace;
  world.start();
  EXPECT_EQ(handlersCalled(trace),
            (Log{"handleSwitchIntfConfig()", "handleVlanIntfStatus()", "handleL3Index()",
                 "handleL3Index(Ethernet1)", "handleVlanIntfStatus(Vlan10)"}));
  EXPECT_EQ(world.machine->references(), 1U);
}

TEST(ChangesDuringConstruction, OfAnEntryReachTheMachineOfItsInterfaceAndDoNotEndIt) {
  World world(internalVlans);
  world.start();
  const auto reader = listenerOf(world.table);
  reader->onKey = [&](Plexo::IntfId) { world.routedPort("Ethernet1", 200); };
  world.routedPort("Ethernet1", 100);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 200}}));
  EXPECT_EQ(world.machine->switchIntfConfigSms(), 1U);
  reader->onKey = [](Plexo::IntfId) {};
  world.routedPort("Ethernet1", 300);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 300}}));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
