// The machine of one interface through its generic interface, and its making from a list.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/FyrL3Intf/Generic.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

// The ids are the contract: they are not taken from the library.
constexpr Kob::AttributeId switchIntfConfig = 130;
constexpr Kob::AttributeId intfId = 131;
constexpr Kob::AttributeId configSm = 132;
constexpr Kob::AttributeId handleSwitchportModeAndNativeVlan = 133;
constexpr Kob::AttributeId doPrepareToDie = 134;

const std::string typeName = "FyrL3Intf::SwitchIntfConfigSm";

struct SwitchIntfConfigSmGenericIfTest : MachinesTest {
  SwitchIntfConfigSmGenericIfTest() {
    world.routedPort("Ethernet1", 100);
    wrapper = Kob::generic(portMachine());
    readOnly = readOnlyOf(portMachine());
  }

  Wrapper wrapper;
  Wrapper readOnly;

  /// The outcome, of an operation that must leave everything as it is.
  [[nodiscard]] std::string unchanging(const Wrapper& through, Kob::AttributeId id,
                                       unsigned operation, const Wrapper& arg = nullptr,
                                       const Wrapper& value = nullptr) const {
    const std::string before = wholeState(machine());
    std::string text = outcome(through, id, operation, arg, value);
    EXPECT_EQ(wholeState(machine()), before) << text;
    return text;
  }
};

TEST_F(SwitchIntfConfigSmGenericIfTest, AttributesAreFoundByName) {
  EXPECT_EQ(wrapper->attributeId("switchIntfConfig"), switchIntfConfig);
  EXPECT_EQ(wrapper->attributeId("intfId"), intfId);
  EXPECT_EQ(wrapper->attributeId("configSm"), configSm);
  EXPECT_EQ(wrapper->attributeId("handleSwitchportModeAndNativeVlan"),
            handleSwitchportModeAndNativeVlan);
  EXPECT_EQ(wrapper->attributeId("doPrepareToDie"), doPrepareToDie);
  for (const char* name : {"", "kobFwkActivity", "fwkKey", "hasNotificationActiveIs",
                           "kobDoZombieReactors", "doVerify"}) {
    EXPECT_EQ(wrapper->attributeId(name), 0) << name;
  }
}

TEST_F(SwitchIntfConfigSmGenericIfTest, WrapsTheMachine) {
  EXPECT_EQ(stdText(wrapper->type()->qualifiedName()), typeName);
  EXPECT_EQ(wrapper->voidPtrIs(SwitchIntfConfigSm::_fwkType()),
            static_cast<void*>(portMachine().get()));
  EXPECT_EQ(wrapper->voidPtrIs(ConfigSm::_fwkType()), nullptr);
  EXPECT_EQ(objectIn(wrapper->clone()), portMachine().get());
  EXPECT_TRUE(std::as_const(*wrapper).clone()->readOnly());
  EXPECT_EQ(objectIn(readOnly), nullptr);
  EXPECT_EQ(constObjectIn(readOnly->clone()), portMachine().get());
  EXPECT_FALSE(SwitchIntfConfigSm::_fwkType()->genericIf_(&machine(), false));
}

TEST_F(SwitchIntfConfigSmGenericIfTest, NoMachineIsFatal) {
  EXPECT_FATAL(Kob::Ptr(new SwitchIntfConfigSm::GenericIf_(nullptr, true)),
               ".*Assertion `object != nullptr' failed\\.\n");
}

TEST_F(SwitchIntfConfigSmGenericIfTest, EntryInterfaceAndOwnerAreRead) {
  const Wrapper read = wrapper->attributeOp({switchIntfConfig, readOp}, nullptr, nullptr);
  EXPECT_EQ(constObjectIn(read), entry().get());
  EXPECT_TRUE(read->readOnly());
  EXPECT_EQ(answerText(read.get()), "Bridging::SwitchIntfConfig");
  EXPECT_EQ(unchanging(readOnly, intfId, readOp), "Plexo::IntfId Ethernet1");
  EXPECT_EQ(objectIn(wrapper->attributeOp({configSm, readOp}, nullptr, nullptr)), &machine());
  EXPECT_TRUE(readOnly->attributeOp({configSm, readOp}, nullptr, nullptr)->readOnly());
}

TEST_F(SwitchIntfConfigSmGenericIfTest, WhatIsAbsentReadsAsNothing) {
  const auto port = portMachine();
  machine().switchIntfConfigSmDel("Ethernet1"_intf);
  port->switchIntfConfigDel();
  port->configSmIs(nullptr);
  EXPECT_EQ(outcome(wrapper, switchIntfConfig, readOp), "nothing");
  EXPECT_EQ(outcome(wrapper, intfId, readOp), "Plexo::IntfId ");
  EXPECT_EQ(outcome(wrapper, configSm, readOp), "nothing");
}

TEST_F(SwitchIntfConfigSmGenericIfTest, TheyTakeNoIndexAndAreOnlyRead) {
  for (const auto& [id, name] : {std::pair(switchIntfConfig, "switchIntfConfig"),
                                 std::pair(intfId, "intfId"), std::pair(configSm, "configSm")}) {
    for (const unsigned operation : {0U, 1U, 4U, 128U, 129U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, boxedIntf("Ethernet1")),
                "BadIndexException " + std::string(name));
    }
    for (const unsigned operation : {1U, 2U, 3U, 4U, 127U, 128U, 129U, 130U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, nullptr, Kob::generic(world.machine)),
                notSupported(name, operation));
    }
  }
}

TEST_F(SwitchIntfConfigSmGenericIfTest, TheWishIsStatedAndWithdrawn) {
  Trace trace;
  EXPECT_EQ(outcome(wrapper, handleSwitchportModeAndNativeVlan, callOp, arguments()), "nothing");
  EXPECT_EQ(trace.taken(), (Log{statesWishTrace(), wishTrace(100)}));
  EXPECT_EQ(outcome(readOnly, doPrepareToDie, callOp, arguments()), "nothing");
  EXPECT_EQ(trace.taken(), (Log{preparesToDieTrace(), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(world.wishes(), Wishes{});
}

TEST_F(SwitchIntfConfigSmGenericIfTest, TheFunctionsTakeAnEmptyListAndAreOnlyCalled) {
  for (const auto& [id, name] : {std::pair(handleSwitchportModeAndNativeVlan,
                                           std::string("handleSwitchportModeAndNativeVlan")),
                                 std::pair(doPrepareToDie, std::string("doPrepareToDie"))}) {
    EXPECT_EQ(unchanging(wrapper, id, callOp), "TypeException Kob::GenericIf::List_");
    EXPECT_EQ(unchanging(wrapper, id, callOp, boxedIntf("Ethernet1")),
              "TypeException Kob::GenericIf::List_");
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({nullptr})),
              "UnknownArgumentException " + name);
    for (const unsigned operation : {1U, 2U, 3U, 4U, 127U, 128U, 129U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, arguments()), notSupported(name, operation));
    }
  }
}

TEST_F(SwitchIntfConfigSmGenericIfTest, OtherIdsAreRefused) {
  for (const Kob::AttributeId id : {-1, 0, 2, 129, 135, 147, 260}) {
    for (const unsigned operation : {0U, 1U, 128U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, arguments()), unknownAttribute(typeName, id));
    }
  }
}

TEST_F(SwitchIntfConfigSmGenericIfTest, AReadOnlyWrapperRefusesToModifyBeforeItLooksAtAnything) {
  for (Kob::AttributeId id = 128; id <= 136; ++id) {
    for (const unsigned operation : {128U, 129U, 130U}) {
      EXPECT_EQ(unchanging(readOnly, id, operation, boxed(true)), constRefusal);
    }
  }
}

TEST_F(SwitchIntfConfigSmGenericIfTest, HasNothingToIterate) {
  for (Kob::AttributeId id = 128; id <= 136; ++id) {
    EXPECT_FALSE(wrapper->attributeIteratorConst(id));
    EXPECT_FALSE(wrapper->attributeIteratorKeyConst(id, boxedIntf("Ethernet1")));
  }
}

TEST_F(SwitchIntfConfigSmGenericIfTest, TheSwitchesAreForwardedToTheMachine) {
  EXPECT_FALSE(wrapper->hasNotificationActiveIs(false));
  EXPECT_FALSE(portMachine()->hasNotificationActive());
  world.routedPort("Ethernet1", 200);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_TRUE(wrapper->hasNotificationActiveIs(true));
  EXPECT_TRUE(wrapper->kobDoZombieReactors(true));
  EXPECT_TRUE(portMachine()->kobMarkedForDeletion());
  EXPECT_FALSE(wrapper->kobDoZombieReactors(false));
  EXPECT_FALSE(portMachine()->kobMarkedForDeletion());
  world.routedPort("Ethernet1", 300);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 300}}));
}

TEST_F(SwitchIntfConfigSmGenericIfTest, AReadOnlyWrapperForwardsNoSwitch) {
  for (const bool on : {false, true}) {
    EXPECT_THROW(readOnly->hasNotificationActiveIs(on), Kob::ConstException);
    EXPECT_THROW(readOnly->kobDoZombieReactors(on), Kob::ConstException);
  }
  EXPECT_TRUE(portMachine()->hasNotificationActive());
  EXPECT_FALSE(portMachine()->kobMarkedForDeletion());
}

// ---------------------------------------------------------------------------------------------
// Making a machine from a list

struct SwitchIntfConfigSmListConstructorTest : MachinesTest {
  static Wrapper make(const Wrapper& list) {
    return SwitchIntfConfigSm::GenericIf_::genericIfListConstructor(
        Kob::Ptr<const Kob::GenericIf>(list));
  }
  /// The outcome, of a list that makes nothing.
  [[nodiscard]] std::string refusal(const Wrapper& list) const {
    const std::string before = wholeState(machine());
    std::string text = outcomeOf([&] { return make(list); });
    EXPECT_EQ(wholeState(machine()), before) << text;
    return text;
  }

  const Wrapper config = Kob::generic(otherEntry("Ethernet2", 200));
  const Wrapper owner = Kob::generic(world.machine);
};

TEST_F(SwitchIntfConfigSmListConstructorTest, AMachineIsMadeAndPutIntoItsOwnersCollection) {
  const Wrapper wrapper = make(arguments({config, owner}));
  EXPECT_EQ(objectIn(wrapper), portMachine("Ethernet2").get());
  EXPECT_EQ(portMachine("Ethernet2")->switchIntfConfig().get(), constObjectIn(config));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 200}}));
  EXPECT_FALSE(wrapper->readOnly());
}

TEST_F(SwitchIntfConfigSmListConstructorTest, TheMachineThatTheEntryHasIsTheOneThatIsMade) {
  const Wrapper first = make(arguments({config, owner}));
  EXPECT_EQ(objectIn(make(arguments({config, owner}))), objectIn(first));
  EXPECT_THAT(refusal(arguments({Kob::generic(otherEntry("Ethernet2", 300)), owner})),
              testing::StartsWith("NameInUseException "));
}

TEST_F(SwitchIntfConfigSmListConstructorTest, TakesAGenericList) {
  EXPECT_EQ(refusal(nullptr), "TypeException List");
  EXPECT_EQ(refusal(config), "TypeException List");
}

TEST_F(SwitchIntfConfigSmListConstructorTest, NamesTheParameterThatIsMissingOrOfAnotherType) {
  EXPECT_EQ(refusal(arguments()), "TypeException switchIntfConfig");
  EXPECT_EQ(refusal(arguments({owner, owner})), "TypeException switchIntfConfig");
  EXPECT_EQ(refusal(arguments({nullptr, owner})), "TypeException switchIntfConfig");
  EXPECT_EQ(refusal(arguments({config})), "TypeException configSm");
  EXPECT_EQ(refusal(arguments({config, config})), "TypeException configSm");
  EXPECT_EQ(refusal(arguments({config, nullptr})), "TypeException configSm");
  EXPECT_EQ(refusal(arguments({config, readOnlyOf(world.machine)})), "TypeException configSm");
}

TEST_F(SwitchIntfConfigSmListConstructorTest, RefusesAThirdElement) {
  EXPECT_EQ(refusal(arguments({config, owner, owner})),
            "UnknownArgumentException SwitchIntfConfigSm");
}

TEST_F(SwitchIntfConfigSmListConstructorTest, TheTypeMakesMachinesOfListsToo) {
  const Wrapper list = arguments({config, owner});
  EXPECT_TRUE(SwitchIntfConfigSm::_fwkType()->genericIf(list.get(), true)->readOnly());
  EXPECT_EQ(machines(), Log{"Ethernet2"});
}

}  // namespace
}  // namespace FyrL3Intf::Tests
