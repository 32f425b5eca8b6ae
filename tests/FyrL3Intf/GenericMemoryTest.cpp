// What stands when memory runs out in the generic interfaces: each allocation of an operation
// fails. It comes out as std::bad_alloc, and what the operation does is what the direct call does.

#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "tests/FyrL3Intf/ConfigSmGeneric.h"
#include "tests/FyrL3Intf/FailingEvents.h"
#include "tests/FyrL3Intf/Generic.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;

void portsStarted(World& world) {
  world.routedPort("Ethernet1", 100);
  world.routedPort("Ethernet2", 100);
  world.vlanIntf("Vlan10");
  world.start();
}
void indexStarted(World& world) {
  world.l3Index("Ethernet1", 7);
  world.start();
}

/// A port, and an index, that the machine has not heard of.
void portUnheard(World& world) {
  portsStarted(world);
  world.config->newSwitchIntfConfig("Ethernet5"_intf, Bridging::SwitchportMode::routed,
                                    VlanId(500));
}
void indexUnheard(World& world) {
  indexStarted(world);
  world.indexDir->newL3Index("Ethernet5"_intf, L3Id(5));
}
/// A port whose machine follows another entry by now.
void portReconfigured(World& world) {
  portsStarted(world);
  world.machine->switchIntfConfigSm("Ethernet1"_intf)
      ->newSwitchIntfConfig(new Bridging::SwitchIntfConfig(
          "Ethernet1"_intf, Bridging::SwitchportMode::routed, VlanId(500)));
}

/// Operates an attribute of the machine, with boxes that are made within the event.
Event onMachine(Kob::AttributeId id, unsigned operation, Wrapper (*arg)() = nullptr,
                Wrapper (*value)() = nullptr) {
  return [=](World& world) {
    Kob::generic(world.machine)
        ->attributeOp({id, operation}, arg != nullptr ? arg() : nullptr,
                      value != nullptr ? value() : nullptr);
  };
}
/// Operates an attribute of the table.
Event onTable(Kob::AttributeId id, unsigned operation, Wrapper (*arg)() = nullptr,
              Wrapper (*value)() = nullptr) {
  return [=](World& world) {
    Kob::generic(world.table)
        ->attributeOp({id, operation}, arg != nullptr ? arg() : nullptr,
                      value != nullptr ? value() : nullptr);
  };
}

/// Reads an attribute of the port's machine, or calls it with no arguments.
Event onPort(const char* name, Wrapper (*arg)() = nullptr) {
  return [=](World& world) {
    const auto wrapper = Kob::generic(world.machine->switchIntfConfigSm("Ethernet1"_intf));
    wrapper->attributeOp({wrapper->attributeId(name), callOp}, arg != nullptr ? arg() : nullptr,
                         nullptr);
  };
}
/// Switches the notifications of what is wrapped off and on, and makes a zombie of it and wakes it.
void switchAll(const Wrapper& wrapper) {
  for (const bool on : {false, true}) wrapper->hasNotificationActiveIs(on);
  for (const bool on : {true, false}) wrapper->kobDoZombieReactors(on);
}

Wrapper port() { return boxedIntf("Ethernet1"); }
Wrapper newPort() { return boxedIntf("Ethernet5"); }
Wrapper vlan() { return boxed(VlanId(100)); }
Wrapper newVlan() { return boxed(VlanId(500)); }
Wrapper identifier() { return boxed(L3Id(100)); }
Wrapper newIdentifier() { return boxed(L3Id(0x1234567890123456)); }
Wrapper wish() { return boxed(VlanIdOrNone(500)); }
Wrapper portList() { return arguments({port()}); }
Wrapper identifierList() { return arguments({identifier()}); }
Wrapper newPortList() { return arguments({newPort()}); }
Wrapper vlanIntfList() { return arguments({boxedIntf("Vlan10")}); }
Wrapper wishList() { return arguments({newPort(), wish()}); }
Wrapper noList() { return arguments(); }
Wrapper setOfPorts() {
  ConfigSm::IntfSet set;
  set.memberIs("Ethernet5"_intf, true);
  return boxed(set);
}

/// Walks over a collection from its beginning, and from a key.
void walk(const Wrapper& wrapper, Kob::AttributeId id, const Wrapper& key) {
  for (auto it = wrapper->attributeIteratorConst(id); it; ++it) {
    const auto copy(it);
    copy.key()->strRep();
    copy.value()->strRep();
  }
  for (auto it = wrapper->attributeIteratorKeyConst(id, key); it; ++it) it.key()->strRep();
}

/// Everything that a wrapper tells without being operated.
void readAll(const Wrapper& wrapper) {
  wrapper->strRep();
  wrapper->clone()->strRep();
  static_cast<const Kob::GenericIf&>(*wrapper).clone()->strRep();
  wrapper->attributeId("changes");
}

const Case cases[] = {
    {"TheTableIsWrapped", internalVlans, portsStarted,
     [](World& world) { readAll(Kob::generic(world.table)); }},
    {"TheMachineIsWrapped", internalVlans, portsStarted,
     [](World& world) { readAll(Kob::generic(world.machine)); }},
    {"APortIsWrapped", internalVlans, portsStarted,
     [](World& world) {
       readAll(Kob::generic(world.machine->switchIntfConfigSm("Ethernet1"_intf)));
     }},
    {"ASetIsWrapped", internalVlans, portsStarted, [](World&) { readAll(setOfPorts()); }},
    {"TheFlagIsRead", internalVlans, portsStarted, onTable(Table::internalVlanNeededId, readOp)},
    {"AnInterfaceIsRead", internalVlans, portsStarted, onTable(Table::intfL3IndexId, readOp, port)},
    {"AnOwnerIsRead", internalVlans, portsStarted,
     onTable(Table::routedPortNameId, readOp, identifier)},
    {"EntriesAreCounted", internalVlans, portsStarted, onTable(Table::intfL3IndexId, countOp)},
    {"TheFirstKeyIsRead", internalVlans, portsStarted,
     onTable(Table::routedPortNameId, firstKeyOp)},
    {"TheNextKeyIsRead", internalVlans, portsStarted,
     onTable(Table::routedPortNameId, nextKeyOp, newIdentifier)},
    {"AnIdentifierIsLookedUp", internalVlans, portsStarted,
     onTable(Table::l3IdToIntfIdId, callOp, identifierList)},
    {"AnInterfaceIsLookedUp", internalVlans, portsStarted,
     onTable(Table::intfIdToL3IdId, callOp, portList)},
    {"AnInterfaceIsWritten", internalVlans, portsStarted,
     onTable(Table::intfL3IndexId, writeOp, newPort, newIdentifier), Ends::withTheListener},
    {"AnOwnerIsWritten", internalVlans, portsStarted,
     onTable(Table::routedPortNameId, writeOp, newIdentifier, newPort)},
    {"AnInterfaceIsDeleted", internalVlans, portsStarted,
     onTable(Table::intfL3IndexId, deleteOp, port)},
    {"AnOwnerIsDeleted", internalVlans, portsStarted,
     onTable(Table::routedPortNameId, deleteOp, identifier)},
    {"TheTableIsWalked", internalVlans, portsStarted,
     [](World& world) {
       const auto wrapper = Kob::generic(world.table);
       walk(wrapper, Table::intfL3IndexId, port());
       walk(wrapper, Table::routedPortNameId, identifier());
     }},
    {"TheMachineIsWalked", internalVlans, portsStarted,
     [](World& world) {
       const auto wrapper = Kob::generic(world.machine);
       walk(wrapper, ConfigSmIds::desiredInternalVlanId, port());
       walk(wrapper, ConfigSmIds::desiredRoutedPortName, vlan());
       walk(wrapper, ConfigSmIds::switchIntfConfigSm, port());
     }},
    {"TheTableIsRead", internalVlans, portsStarted, onMachine(ConfigSmIds::fyrL3IntfTable, readOp)},
    {"AWishIsRead", internalVlans, portsStarted,
     onMachine(ConfigSmIds::desiredInternalVlanId, readOp, port)},
    {"WishersAreRead", internalVlans, portsStarted,
     onMachine(ConfigSmIds::desiredRoutedPortName, readOp, vlan)},
    {"APortIsRead", internalVlans, portsStarted,
     onMachine(ConfigSmIds::switchIntfConfigSm, readOp, port)},
    {"AWishIsWritten", internalVlans, portsStarted,
     onMachine(ConfigSmIds::desiredInternalVlanId, writeOp, newPort, wish)},
    {"WishersAreWritten", internalVlans, portsStarted,
     onMachine(ConfigSmIds::desiredRoutedPortName, writeOp, newVlan, setOfPorts)},
    {"WishersAreDeleted", internalVlans, portsStarted,
     onMachine(ConfigSmIds::desiredRoutedPortName, deleteOp, vlan)},
    {"APortIsDeleted", internalVlans, portsStarted,
     onMachine(ConfigSmIds::switchIntfConfigSm, deleteOp, port)},
    {"AWishIsStated", internalVlans, portsStarted,
     onMachine(ConfigSmIds::doSetDesiredInternalVlanId, callOp, wishList)},
    {"AVlanIsGiven", internalVlans, portsStarted,
     onMachine(ConfigSmIds::doSetInternalVlanId, callOp, wishList)},
    {"AVlanIntfIsHandled", internalVlans, portsStarted,
     onMachine(ConfigSmIds::handleVlanIntfStatus, callOp, vlanIntfList)},
    {"APortIsHandled", internalVlans, portsStarted,
     onMachine(ConfigSmIds::handleSwitchIntfConfig, callOp, portList)},
    {"TheMachineVerifies", noInternalVlans, indexStarted,
     onMachine(ConfigSmIds::doVerify, callOp, noList)},
    {"TheMachinePreparesToDie", internalVlans, portsStarted,
     onMachine(ConfigSmIds::doPrepareToDie, callOp, noList)},
    {"APortIsWritten", internalVlans, portUnheard,
     [](World& world) {
       const auto entry = world.config->switchIntfConfig("Ethernet5"_intf);
       Kob::generic(world.machine)
           ->attributeOp({ConfigSmIds::switchIntfConfigSm, writeOp}, newPort(),
                         arguments({Kob::generic(entry)}));
     }},
    {"ANewPortIsHandled", internalVlans, portUnheard,
     onMachine(ConfigSmIds::handleSwitchIntfConfig, callOp, newPortList)},
    {"AnIndexIsHandled", noInternalVlans, indexUnheard,
     onMachine(ConfigSmIds::handleL3Index, callOp, newPortList)},
    {"AnIndexThatWentIsHandled", noInternalVlans,
     [](World& world) {
       indexStarted(world);
       world.machine->hasNotificationActiveIs(false);
       world.l3IndexDel("Ethernet1");
     },
     onMachine(ConfigSmIds::handleL3Index, callOp, portList)},
    {"InputsAndTheFlagAreRead", internalVlans, portsStarted,
     [](World& world) {
       for (const auto id : {ConfigSmIds::config, ConfigSmIds::vlanIntfStatusDir,
                             ConfigSmIds::fyrL3IndexDir, ConfigSmIds::internalVlanNeeded}) {
         onMachine(id, readOp)(world);
       }
     }},
    {"TheMachineIsSwitched", internalVlans, portsStarted,
     [](World& world) { switchAll(Kob::generic(world.machine)); }},
    {"TheTableIsSwitched", internalVlans, portsStarted,
     [](World& world) { switchAll(Kob::generic(world.table)); }},
    {"APortIsSwitched", internalVlans, portsStarted,
     [](World& world) {
       switchAll(Kob::generic(world.machine->switchIntfConfigSm("Ethernet1"_intf)));
     }},
    {"AnEntryOfAPortIsRead", internalVlans, portsStarted, onPort("switchIntfConfig")},
    {"TheInterfaceOfAPortIsRead", internalVlans, portsStarted, onPort("intfId")},
    {"TheMachineOfAPortIsRead", internalVlans, portsStarted, onPort("configSm")},
    {"APortStatesItsWish", internalVlans, portReconfigured,
     onPort("handleSwitchportModeAndNativeVlan", noList)},
    {"APortPreparesToDie", internalVlans, portsStarted, onPort("doPrepareToDie", noList)},
    {"APortIsMadeFromAList", internalVlans, portUnheard,
     [](World& world) {
       const auto entry = world.config->switchIntfConfig("Ethernet5"_intf);
       const auto list = arguments({Kob::generic(entry), Kob::generic(world.machine)});
       SwitchIntfConfigSm::_fwkType()->genericIf(list.get(), false);
     }},
    {"ASetIsMadeFromAList", internalVlans, portsStarted,
     [](World&) { ConfigSm::IntfSet::_fwkType()->genericIf(noList().get(), false); }},
    {"ValuesAreMadeFromText", internalVlans, portsStarted,
     [](World&) {
       Plexo::IntfId::_fwkType()->genericIf("Ethernet1", false);
       L3Id::_fwkType()->genericIf("18446744073709551615", false);
       VlanId::_fwkType()->genericIf("100", false);
       VlanIdOrNone::_fwkType()->genericIf("100", false);
     }},
    {"ATableIsMadeFromAList", internalVlans, portsStarted,
     [](World&) {
       const auto list = arguments({boxed(Kob::Name("table")), boxed(true)});
       Table::_fwkType()->genericIf(list.get(), false);
     }},
    {"AMachineIsMadeFromAList", internalVlans, portsStarted,
     [](World& world) {
       const auto table = tableFactory("another", true);
       const auto list = arguments({Kob::generic(world.activity), Kob::generic(world.config),
                                    Kob::generic(world.statusDir), Kob::generic(world.indexDir),
                                    Kob::generic(table), boxed(false)});
       ConfigSm::_fwkType()->genericIf(list.get(), true);
     }},
};

class GenericWithoutMemory : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Operations, GenericWithoutMemory, testing::ValuesIn(cases),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(GenericWithoutMemory, ThrowsAndLosesNothing) { expectStopsWhereItFails(GetParam()); }

/// An operation of a wrapped set that is full, so that one entry more makes it grow.
struct WrappedSetOperation {
  const char* name;
  void (*operate)(const Wrapper& set);

  friend void PrintTo(const WrappedSetOperation& operation, std::ostream* stream) {
    *stream << operation.name;
  }
};

template <unsigned operation>
void onMember(const Wrapper& set) {
  set->attributeOp({ConfigSm::IntfSet::memberId, operation}, port(), boxed(false));
}

const WrappedSetOperation wrappedSetOperations[] = {
    {"AMemberIsRead", onMember<readOp>},
    {"MembersAreCounted",
     [](const Wrapper& set) {
       set->attributeOp({ConfigSm::IntfSet::memberId, countOp}, nullptr, nullptr);
     }},
    {"AMemberIsWritten",
     [](const Wrapper& set) {
       set->attributeOp({ConfigSm::IntfSet::memberId, writeOp}, newPort(), boxed(true));
     }},
    {"AMemberIsOverwritten", onMember<writeOp>},
    {"AMemberIsDeleted", onMember<deleteOp>},
    {"MembersAreWalked",
     [](const Wrapper& set) { walk(set, ConfigSm::IntfSet::memberId, port()); }},
};

class WrappedSetWithoutMemory : public testing::TestWithParam<WrappedSetOperation> {
 protected:
  static Wrapper full() {
    ConfigSm::IntfSet set;
    for (const char* const name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}) {
      set.memberIs(Plexo::IntfId(name), true);
    }
    return boxed(set);
  }
  static Members entriesIn(const Wrapper& set) {
    return membersOf(*Kob::valueIn<ConfigSm::IntfSet>(set.get()));
  }
};

INSTANTIATE_TEST_SUITE_P(Operations, WrappedSetWithoutMemory,
                         testing::ValuesIn(wrappedSetOperations),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(WrappedSetWithoutMemory, KeepsItsEntriesThenDoesWhatItDoesAtOnce) {
  const Wrapper untroubled = full();
  GetParam().operate(untroubled);
  const Wrapper set = full();
  const Members before = entriesIn(set);
  const std::size_t blocks = live();
  const int failures = KobTest::failingEachAllocationOf([&] { GetParam().operate(set); },
                                                        [&] {
                                                          EXPECT_EQ(live(), blocks);
                                                          EXPECT_EQ(entriesIn(set), before);
                                                        });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(entriesIn(set), entriesIn(untroubled));
}

/// Counts what it hears of without needing memory.
class GenericReader : public Kob::GenericIf::NotifieeConst {
 public:
  using Kob::GenericIf::NotifieeConst::onAttribute;
  using Kob::GenericIf::NotifieeConst::onNotificationException;
  void onAttribute(Kob::AttributeId, const Kob::Ptr<const Kob::GenericIf>&) override { ++heard; }

  unsigned heard = 0;
};

class WrapperWithoutMemory : public testing::Test {
 protected:
  const Plexo::IntfId intf = "Ethernet1"_intf;
  World world{internalVlans};
  Wrapper wrapper = Kob::generic(world.table);
  Kob::Ptr<GenericReader> reader{new GenericReader};

  void SetUp() override {
    reader->notifierIs(wrapper);
    reader->isRegisteredNotifieeIs(true);
    world.table->intfL3IndexIs(intf, L3Id(1));
    EXPECT_EQ(reader->heard, 1U);
  }
};

TEST_F(WrapperWithoutMemory, DoesNotPassTheKeyOnAndStopsNobody) {
  const auto other = joined(Kob::Ptr(new Reader), world.table);
  for (const Failing mode : allModes) {
    const Outcome outcome = failingAfter(0, [&] { world.table->intfL3IndexNotify(intf); }, mode);
    EXPECT_TRUE(outcome.failed);
    EXPECT_FALSE(outcome.thrown);
  }
  EXPECT_EQ(reader->heard, 1U);
  EXPECT_EQ(other->text(), "heard Ethernet1 Ethernet1");
  world.table->intfL3IndexIs(intf, L3Id(3));
  EXPECT_EQ(reader->heard, 2U);
}

TEST_F(WrapperWithoutMemory, PassesADeferredKeyOnOnceItCouldBeRecorded) {
  dynamic_cast<Kob::GenericIfPtrInterface&>(*wrapper).kobFwkActivityIs(world.activity);
  world.activity->deferralIs(true);
  for (const Failing mode : allModes) {
    EXPECT_TRUE(failingAfter(0, [&] { world.table->intfL3IndexNotify(intf); }, mode).failed);
    EXPECT_EQ(world.activity->activitySm()->pendings(), 0U);
  }
  world.table->intfL3IndexIs(intf, L3Id(3));
  EXPECT_EQ(world.activity->activitySm()->pendings(), 1U);
  const auto run = [&] { world.activity->run(); };
  EXPECT_TRUE(failingAfter(0, run, Failing::fromThereOn).failed) << "the box of the key";
  EXPECT_EQ(reader->heard, 1U);
  world.table->intfL3IndexIs(intf, L3Id(4));
  world.activity->run();
  EXPECT_EQ(reader->heard, 2U);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
