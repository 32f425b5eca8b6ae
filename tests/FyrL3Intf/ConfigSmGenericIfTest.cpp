// The attributes of the state machine through its generic interface: its inputs and its private
// collections, and every refusal.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/FyrL3Intf/ConfigSmGeneric.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;

using namespace ConfigSmIds;

const std::vector<std::pair<Kob::AttributeId, std::string>> readables = {
    {config, "config"},
    {vlanIntfStatusDir, "vlanIntfStatusDir"},
    {fyrL3IndexDir, "fyrL3IndexDir"},
    {fyrL3IntfTable, "fyrL3IntfTable"},
    {internalVlanNeeded, "internalVlanNeeded"}};
const std::vector<std::pair<Kob::AttributeId, std::string>> collections = {
    {desiredRoutedPortName, "desiredRoutedPortName"},
    {desiredInternalVlanId, "desiredInternalVlanId"},
    {switchIntfConfigSm, "switchIntfConfigSm"}};

// ---------------------------------------------------------------------------------------------
// Names, type, instance

TEST_F(ConfigSmGenericIfTest, AttributesAreFoundByName) {
  const std::vector<std::pair<Kob::AttributeId, std::string>> functions = {
      {handleVlanIntfStatus, "handleVlanIntfStatus"},
      {doSetDesiredInternalVlanId, "doSetDesiredInternalVlanId"},
      {doSetInternalVlanId, "doSetInternalVlanId"},
      {handleSwitchIntfConfig, "handleSwitchIntfConfig"},
      {handleL3Index, "handleL3Index"},
      {doPrepareToDie, "doPrepareToDie"},
      {doVerify, "doVerify"}};
  for (const auto* some : {&readables, &collections, &functions}) {
    for (const auto& [id, name] : *some) {
      EXPECT_EQ(wrapper->attributeId(Kob::String8(name)), id) << name;
    }
  }
}

TEST_F(ConfigSmGenericIfTest, OtherNamesHaveNoId) {
  for (const char* name : {"", "doverify", "intfL3Index", "IntfSet", "member", "kobFwkActivity",
                           "hasNotificationActiveIs", "kobDoZombieReactors", "fwkKey"}) {
    EXPECT_EQ(wrapper->attributeId(name), 0) << name;
  }
}

TEST_F(ConfigSmGenericIfTest, WrapsTheMachine) {
  EXPECT_EQ(stdText(wrapper->type()->qualifiedName()), "FyrL3Intf::ConfigSm");
  EXPECT_EQ(wrapper->voidPtrIs(ConfigSm::_fwkType()), static_cast<void*>(&machine()));
  EXPECT_EQ(wrapper->voidPtrIs(Table::_fwkType()), nullptr);
  EXPECT_EQ(objectIn(wrapper), &machine());
  EXPECT_EQ(objectIn(readOnly), nullptr);
  EXPECT_EQ(constObjectIn(readOnly), &machine());
  EXPECT_FALSE(ConfigSm::_fwkType()->genericIf_(world.table.get(), false));
}

TEST_F(ConfigSmGenericIfTest, ClonesWrapTheSameMachine) {
  EXPECT_EQ(objectIn(wrapper->clone()), &machine());
  EXPECT_TRUE(readOnly->clone()->readOnly());
  const auto clone = std::as_const(*wrapper).clone();
  EXPECT_TRUE(clone->readOnly());
  EXPECT_EQ(constObjectIn(clone), &machine());
  EXPECT_EQ(outcome(wrapper->clone(), desiredInternalVlanId, countOp), "unsigned 1");
}

TEST_F(ConfigSmGenericIfTest, NoMachineIsFatal) {
  EXPECT_FATAL(Kob::Ptr(new ConfigSm::GenericIf_(nullptr, true)),
               ".*Assertion `object != nullptr' failed\\.\n");
}

TEST_F(ConfigSmGenericIfTest, KeepsTheMachineAlive) {
  world.machine = nullptr;
  EXPECT_EQ(outcome(wrapper, desiredInternalVlanId, countOp), "unsigned 1");
}

// ---------------------------------------------------------------------------------------------
// Inputs, output, switch

TEST_F(ConfigSmGenericIfTest, TheInputsAreReadAsConstObjects) {
  const auto read = [this](Kob::AttributeId id) {
    return wrapper->attributeOp({id, readOp}, nullptr, nullptr);
  };
  EXPECT_EQ(constObjectIn(read(config)), world.config.get());
  EXPECT_EQ(constObjectIn(read(vlanIntfStatusDir)), world.statusDir.get());
  EXPECT_EQ(constObjectIn(read(fyrL3IndexDir)), world.indexDir.get());
  EXPECT_EQ(answerText(read(config).get()), "Bridging::Config");
  EXPECT_EQ(answerText(read(vlanIntfStatusDir).get()), "Interface::VlanIntfStatusDir");
  EXPECT_EQ(answerText(read(fyrL3IndexDir).get()), "FyrL3Intf::L3IndexDir");
  for (const Kob::AttributeId id : {config, vlanIntfStatusDir, fyrL3IndexDir}) {
    EXPECT_TRUE(read(id)->readOnly());
  }
}

TEST_F(ConfigSmGenericIfTest, TheTableIsReadAsTheWrapperIs) {
  const Wrapper table = wrapper->attributeOp({fyrL3IntfTable, readOp}, nullptr, nullptr);
  EXPECT_EQ(objectIn(table), world.table.get());
  EXPECT_EQ(answerText(table.get()), "FyrL3Intf::Table");
  const Wrapper constTable = readOnly->attributeOp({fyrL3IntfTable, readOp}, nullptr, nullptr);
  EXPECT_TRUE(constTable->readOnly());
  EXPECT_EQ(constObjectIn(constTable), world.table.get());
}

TEST_F(ConfigSmGenericIfTest, TheSwitchIsRead) {
  EXPECT_EQ(unchanging(readOnly, internalVlanNeeded, readOp), "bool true");
  World other(noInternalVlans);
  other.start();
  EXPECT_EQ(outcome(Kob::generic(other.machine), internalVlanNeeded, readOp), "bool false");
}

TEST_F(ConfigSmGenericIfTest, WhatIsAbsentReadsAsNothing) {
  machine().vlanIntfStatusDirIs(nullptr);
  machine().fyrL3IndexDirDel();
  machine().configDel();
  for (const Kob::AttributeId id : {config, vlanIntfStatusDir, fyrL3IndexDir}) {
    EXPECT_EQ(unchanging(wrapper, id, readOp), "nothing");
  }
  World other(noInternalVlans);
  other.table = nullptr;
  other.start();
  EXPECT_EQ(outcome(Kob::generic(other.machine), fyrL3IntfTable, readOp), "nothing");
}

TEST_F(ConfigSmGenericIfTest, TheyTakeNoIndexWhateverTheOperation) {
  for (const auto& [id, name] : readables) {
    for (const unsigned operation : {0U, 1U, 4U, 127U, 128U, 129U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, boxedIntf("Ethernet1")),
                "BadIndexException " + name);
      EXPECT_EQ(unchanging(wrapper, id, operation, arguments()), "BadIndexException " + name);
    }
  }
}

TEST_F(ConfigSmGenericIfTest, TheyAreOnlyRead) {
  for (const auto& [id, name] : readables) {
    for (const unsigned operation : {1U, 2U, 3U, 4U, 127U, 128U, 129U, 130U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, nullptr, Kob::generic(world.config)),
                notSupported(name, operation));
    }
  }
}

// ---------------------------------------------------------------------------------------------
// The collections of wishes

TEST_F(ConfigSmGenericIfTest, WishesAreReadByKey) {
  EXPECT_EQ(unchanging(wrapper, desiredInternalVlanId, readOp, boxedIntf("Ethernet1")),
            "Bridging::VlanIdOrNone 100");
  EXPECT_EQ(unchanging(readOnly, desiredInternalVlanId, readOp, boxedIntf("Ethernet2")),
            "Bridging::VlanIdOrNone 0");
  EXPECT_EQ(unchanging(wrapper, desiredRoutedPortName, readOp, boxed(VlanId(100))),
            "FyrL3Intf::ConfigSm::IntfSet None");
}

TEST_F(ConfigSmGenericIfTest, ASetOfWishersIsReadAsACopy) {
  const Wrapper set =
      wrapper->attributeOp({desiredRoutedPortName, readOp}, boxed(VlanId(100)), nullptr);
  EXPECT_EQ(entriesOf(set->attributeIteratorConst(2)), Log{"Ethernet1 bool true"});
  EXPECT_EQ(outcome(set, 2, deleteOp, boxedIntf("Ethernet1")), "nothing");
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet1", true}}}}));
  const Wrapper none =
      wrapper->attributeOp({desiredRoutedPortName, readOp}, boxed(VlanId(200)), nullptr);
  EXPECT_EQ(outcome(none, 2, countOp), "unsigned 0");
}

TEST_F(ConfigSmGenericIfTest, TheCountsAreThoseOfTheMachine) {
  world.routedPort("Ethernet2", 100);
  world.routedPort("Ethernet3", 300);
  EXPECT_EQ(outcome(wrapper, desiredInternalVlanId, countOp),
            "unsigned " + std::to_string(machine().desiredInternalVlanIds()));
  EXPECT_EQ(outcome(wrapper, desiredInternalVlanId, countOp), "unsigned 3");
  EXPECT_EQ(outcome(readOnly, desiredRoutedPortName, countOp), "unsigned 2");
  EXPECT_EQ(outcome(wrapper, switchIntfConfigSm, countOp), "unsigned 3");
}

TEST_F(ConfigSmGenericIfTest, WishesAreWritten) {
  EXPECT_EQ(outcome(wrapper, desiredInternalVlanId, writeOp, boxedIntf("Ethernet2"),
                    boxed(VlanIdOrNone(7))),
            "nothing");
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}, {"Ethernet2", 7}}));
  ConfigSm::IntfSet set;
  set.memberIs("Ethernet2"_intf, true);
  EXPECT_EQ(outcome(wrapper, desiredRoutedPortName, writeOp, boxed(VlanId(7)), boxed(set)),
            "nothing");
  EXPECT_EQ(world.wishers(), (Wishers{{7, {{"Ethernet2", true}}}, {100, {{"Ethernet1", true}}}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}})) << "only the collection is written";
}

TEST_F(ConfigSmGenericIfTest, WritingNoneRemovesNoWish) {
  EXPECT_EQ(outcome(wrapper, desiredInternalVlanId, writeOp, boxedIntf("Ethernet1"),
                    boxed(VlanIdOrNone())),
            "nothing");
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 0}}));
}

TEST_F(ConfigSmGenericIfTest, WishesAreDeleted) {
  EXPECT_EQ(outcome(wrapper, desiredInternalVlanId, deleteOp, boxedIntf("Ethernet1")), "nothing");
  EXPECT_EQ(outcome(wrapper, desiredRoutedPortName, deleteOp, boxed(VlanId(100))), "nothing");
  EXPECT_EQ(world.wishes(), Wishes{});
  EXPECT_EQ(world.wishers(), Wishers{});
  EXPECT_EQ(unchanging(wrapper, desiredInternalVlanId, deleteOp, boxedIntf("Ethernet1")),
            "nothing");
  EXPECT_EQ(unchanging(wrapper, desiredRoutedPortName, deleteOp, boxed(VlanId(100))), "nothing");
}

TEST_F(ConfigSmGenericIfTest, AValueIsRequiredForAWrite) {
  EXPECT_EQ(unchanging(wrapper, desiredInternalVlanId, writeOp, boxedIntf("Ethernet2")),
            "TypeException desiredInternalVlanId");
  EXPECT_EQ(unchanging(wrapper, desiredRoutedPortName, writeOp, boxed(VlanId(7))),
            "TypeException desiredRoutedPortName");
  EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, writeOp, boxedIntf("Ethernet2")),
            "TypeException switchIntfConfigSm");
}

TEST_F(ConfigSmGenericIfTest, AValueOfAnotherTypeIsRefusedAsAMissingOne) {
  EXPECT_EQ(
      unchanging(wrapper, desiredInternalVlanId, writeOp, boxedIntf("Ethernet2"), boxed(VlanId(7))),
      "TypeException desiredInternalVlanId");
  EXPECT_EQ(
      unchanging(wrapper, desiredRoutedPortName, writeOp, boxed(VlanId(7)), boxedIntf("Ethernet2")),
      "TypeException desiredRoutedPortName");
}

// ---------------------------------------------------------------------------------------------
// All collections

TEST_F(ConfigSmGenericIfTest, AKeyIsRequiredWhereOneEntryIsMeant) {
  for (const auto& [id, name] : collections) {
    for (const unsigned operation : {readOp, nextKeyOp, writeOp, deleteOp}) {
      EXPECT_EQ(unchanging(wrapper, id, operation), "TypeException kob_index") << name;
    }
  }
}

TEST_F(ConfigSmGenericIfTest, AKeyOfAnotherTypeIsRefused) {
  for (const unsigned operation : {readOp, nextKeyOp, writeOp, deleteOp}) {
    EXPECT_EQ(unchanging(wrapper, desiredRoutedPortName, operation, boxedIntf("Ethernet1")),
              "TypeException kob_index");
    EXPECT_EQ(unchanging(wrapper, desiredRoutedPortName, operation, boxed(VlanIdOrNone(100))),
              "TypeException kob_index");
    EXPECT_EQ(unchanging(wrapper, desiredInternalVlanId, operation, boxed(VlanId(100))),
              "TypeException kob_index");
  }
}

TEST_F(ConfigSmGenericIfTest, OtherOperationsOfTheCollectionsAreNotSupported) {
  for (const auto& [id, name] : collections) {
    for (const unsigned operation : {4U, 127U, 130U, 255U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation), notSupported(name, operation));
      EXPECT_EQ(unchanging(wrapper, id, operation, boxed(true)), notSupported(name, operation));
    }
  }
}

TEST_F(ConfigSmGenericIfTest, KeysAreWalked) {
  EXPECT_EQ(unchanging(wrapper, desiredRoutedPortName, firstKeyOp), "Bridging::VlanId 100");
  EXPECT_EQ(unchanging(wrapper, desiredRoutedPortName, nextKeyOp, boxed(VlanId(100))), "nothing");
  EXPECT_EQ(unchanging(wrapper, desiredInternalVlanId, firstKeyOp), "Plexo::IntfId Ethernet1");
  EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, firstKeyOp), "Plexo::IntfId Ethernet1");
  world.routedPort("Ethernet2", 100);
  const Log names = walkedKeys(wrapper, switchIntfConfigSm);
  EXPECT_EQ(names, namesOf(machine().switchIntfConfigSmIteratorConst()));
  EXPECT_EQ(names.size(), 2U);
}

TEST_F(ConfigSmGenericIfTest, TheCollectionsAreIterated) {
  EXPECT_EQ(entriesOf(wrapper->attributeIteratorConst(desiredInternalVlanId)),
            Log{"Ethernet1 Bridging::VlanIdOrNone 100"});
  EXPECT_EQ(entriesOf(wrapper->attributeIteratorConst(desiredRoutedPortName)),
            Log{"100 FyrL3Intf::ConfigSm::IntfSet None"});
  const auto it = wrapper->attributeIteratorConst(switchIntfConfigSm);
  EXPECT_EQ(entriesOf(it), Log{"Ethernet1 FyrL3Intf::SwitchIntfConfigSm"});
  EXPECT_EQ(constObjectIn(it.value()), machine().switchIntfConfigSm("Ethernet1"_intf).get());
}

TEST_F(ConfigSmGenericIfTest, AnIterationBeginsAtAKey) {
  EXPECT_EQ(keysOf(wrapper->attributeIteratorKeyConst(switchIntfConfigSm, boxedIntf("Ethernet1"))),
            Log{"Ethernet1"});
  EXPECT_EQ(keysOf(wrapper->attributeIteratorKeyConst(desiredRoutedPortName, boxed(VlanId(100)))),
            Log{"100"});
  for (const auto& [id, name] : collections) {
    const auto begin = [&, at = id](const Wrapper& key) {
      return outcomeOf([&] { return wrapper->attributeIteratorKeyConst(at, key).key(); });
    };
    EXPECT_EQ(begin(nullptr), "TypeException kob_index") << name;
    EXPECT_EQ(begin(boxed(true)), "TypeException kob_index") << name;
  }
}

TEST_F(ConfigSmGenericIfTest, NothingElseIsIterated) {
  for (const Kob::AttributeId id : {0, 2, 130, 134, 135, 136, 139, 143, 147, 260}) {
    EXPECT_FALSE(wrapper->attributeIteratorConst(id)) << id;
    EXPECT_FALSE(wrapper->attributeIteratorKeyConst(id, boxedIntf("Ethernet1"))) << id;
  }
}

// ---------------------------------------------------------------------------------------------
// The collection that makes its entries

TEST_F(ConfigSmGenericIfTest, AMachineIsReadByInterface) {
  const Wrapper read =
      wrapper->attributeOp({switchIntfConfigSm, readOp}, boxedIntf("Ethernet1"), nullptr);
  EXPECT_EQ(objectIn(read), machine().switchIntfConfigSm("Ethernet1"_intf).get());
  EXPECT_EQ(answerText(read.get()), "FyrL3Intf::SwitchIntfConfigSm");
  EXPECT_TRUE(readOnly->attributeOp({switchIntfConfigSm, readOp}, boxedIntf("Ethernet1"), nullptr)
                  ->readOnly());
  EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, readOp, boxedIntf("Ethernet2")), "nothing");
}

TEST_F(ConfigSmGenericIfTest, AMachineIsMadeFromAListOfItsConfigurationEntry) {
  const auto entry = otherEntry("Ethernet2", 200);
  EXPECT_EQ(outcome(wrapper, switchIntfConfigSm, writeOp, boxedIntf("Ethernet2"),
                    arguments({Kob::generic(entry)})),
            "nothing");
  EXPECT_EQ(machine().switchIntfConfigSm("Ethernet2"_intf)->switchIntfConfig(), entry);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}, {"Ethernet2", 200}}));
}

TEST_F(ConfigSmGenericIfTest, AnEntryThatIsWrappedReadOnlyWillDo) {
  EXPECT_EQ(outcome(wrapper, switchIntfConfigSm, writeOp, boxedIntf("Ethernet2"),
                    arguments({readOnlyOf(otherEntry("Ethernet2", 200))})),
            "nothing");
  EXPECT_EQ(machine().switchIntfConfigSms(), 2U);
}

TEST_F(ConfigSmGenericIfTest, TheSameEntryAgainLeavesItsMachine) {
  const auto before = machine().switchIntfConfigSm("Ethernet1"_intf);
  const auto entry = world.config->switchIntfConfig("Ethernet1"_intf);
  EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, writeOp, boxedIntf("Ethernet1"),
                       arguments({Kob::generic(entry)})),
            "nothing");
  EXPECT_EQ(machine().switchIntfConfigSm("Ethernet1"_intf), before);
}

TEST_F(ConfigSmGenericIfTest, AnotherEntryOfTheInterfaceIsANameInUse) {
  EXPECT_THAT(unchanging(wrapper, switchIntfConfigSm, writeOp, boxedIntf("Ethernet1"),
                         arguments({Kob::generic(otherEntry("Ethernet1", 200))})),
              testing::MatchesRegex("NameInUseException Reinstantiating the pointer interface "
                                    "where constructor parameter attribute _switchIntfConfig has a "
                                    "different value of .* than the current value of .* not "
                                    "allowed"));
}

TEST_F(ConfigSmGenericIfTest, AnEntryOfAnotherInterfaceThanTheKeyIsABadIndex) {
  EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, writeOp, boxedIntf("Ethernet2"),
                       arguments({Kob::generic(otherEntry("Ethernet3", 200))})),
            "BadIndexException switchIntfConfigSm");
  EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, writeOp, boxed(Plexo::IntfId()),
                       arguments({Kob::generic(otherEntry("Ethernet3", 200))})),
            "BadIndexException switchIntfConfigSm");
}

TEST_F(ConfigSmGenericIfTest, AnIndexOfTheWrongKindIsABadIndex) {
  const Wrapper list = arguments({Kob::generic(otherEntry("Ethernet2", 200))});
  for (const unsigned operation : {readOp, nextKeyOp, writeOp, deleteOp}) {
    EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, operation, boxed(VlanId(1)), list),
              "BadIndexException switchIntfConfigSm");
    EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, operation, list, list),
              "BadIndexException switchIntfConfigSm");
  }
}

TEST_F(ConfigSmGenericIfTest, WhatMakesAMachineIsAListOfOneEntry) {
  const Wrapper key = boxedIntf("Ethernet2");
  const Wrapper entry = Kob::generic(otherEntry("Ethernet2", 200));
  const auto write = [&](const Wrapper& value) {
    return unchanging(wrapper, switchIntfConfigSm, writeOp, key, value);
  };
  EXPECT_EQ(write(entry), "TypeException Kob::GenericIf::List_");
  EXPECT_EQ(write(arguments()), "TypeException switchIntfConfig");
  EXPECT_EQ(write(arguments({nullptr})), "TypeException switchIntfConfig");
  EXPECT_EQ(write(arguments({key})), "TypeException switchIntfConfig");
  EXPECT_EQ(write(arguments({Kob::generic(world.config)})), "TypeException switchIntfConfig");
  EXPECT_EQ(write(arguments({entry, key})), "UnknownArgumentException switchIntfConfigSm");
  EXPECT_EQ(write(arguments({entry, nullptr})), "UnknownArgumentException switchIntfConfigSm");
}

TEST_F(ConfigSmGenericIfTest, DeletingAMachineCallsNothingOnIt) {
  EXPECT_EQ(outcome(wrapper, switchIntfConfigSm, deleteOp, boxedIntf("Ethernet1")), "nothing");
  EXPECT_EQ(machine().switchIntfConfigSms(), 0U);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_EQ(unchanging(wrapper, switchIntfConfigSm, deleteOp, boxedIntf("Ethernet1")), "nothing");
}

// ---------------------------------------------------------------------------------------------
// Read-only wrappers, unknown ids, switches

TEST_F(ConfigSmGenericIfTest, AReadOnlyWrapperRefusesToModifyBeforeItLooksAtAnything) {
  for (const unsigned operation : {128U, 129U, 130U, 255U}) {
    for (Kob::AttributeId id = 128; id <= 149; ++id) {
      EXPECT_EQ(unchanging(readOnly, id, operation), constRefusal) << id;
      EXPECT_EQ(unchanging(readOnly, id, operation, boxed(true), boxed(true)), constRefusal) << id;
    }
  }
}

TEST_F(ConfigSmGenericIfTest, IdsThatTheMachineDoesNotKnowAreRefused) {
  for (const Kob::AttributeId id : {-1, 0, 1, 2, 129, 136, 143, 145, 148, 258, 260}) {
    for (const unsigned operation : {0U, 1U, 127U, 128U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, arguments(), boxed(true)),
                unknownAttribute("FyrL3Intf::ConfigSm", id));
    }
  }
}

TEST_F(ConfigSmGenericIfTest, TheSwitchesAreForwardedToTheMachine) {
  EXPECT_FALSE(wrapper->hasNotificationActiveIs(false));
  EXPECT_FALSE(machine().hasNotificationActive());
  EXPECT_TRUE(wrapper->hasNotificationActiveIs(true));
  EXPECT_TRUE(machine().hasNotificationActive());
  EXPECT_TRUE(wrapper->kobDoZombieReactors(true));
  EXPECT_TRUE(machine().kobMarkedForDeletion());
  EXPECT_FALSE(wrapper->kobDoZombieReactors(false));
  EXPECT_FALSE(machine().kobMarkedForDeletion());
}

TEST_F(ConfigSmGenericIfTest, AReadOnlyWrapperForwardsNoSwitch) {
  const std::string before = wholeState(machine());
  for (const bool on : {false, true}) {
    EXPECT_THROW(readOnly->hasNotificationActiveIs(on), Kob::ConstException);
    EXPECT_THROW(readOnly->kobDoZombieReactors(on), Kob::ConstException);
  }
  EXPECT_EQ(wholeState(machine()), before);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
