// The functions of the state machine through its generic interface, and its making from a list.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Kob/Activity.h"
#include "tests/FyrL3Intf/ConfigSmGeneric.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using namespace ConfigSmIds;

using ConfigSmGenericCallTest = ConfigSmGenericIfTest;

const std::vector<std::pair<Kob::AttributeId, std::string>> handlersOfIntf = {
    {handleVlanIntfStatus, "handleVlanIntfStatus"},
    {handleSwitchIntfConfig, "handleSwitchIntfConfig"},
    {handleL3Index, "handleL3Index"}};
const std::vector<std::pair<Kob::AttributeId, std::string>> settersOfVlan = {
    {doSetDesiredInternalVlanId, "newDesiredInternalVlanId"},
    {doSetInternalVlanId, "newInternalVlanId"}};

TEST_F(ConfigSmGenericCallTest, TheHandlersAreCalledWithTheInterface) {
  EXPECT_EQ(tracedBy(wrapper, handleSwitchIntfConfig, arguments({boxedIntf("Ethernet1")})),
            Log{keyedTrace()});
  EXPECT_EQ(tracedBy(wrapper, handleVlanIntfStatus, arguments({boxedIntf("Vlan7")})),
            (Log{"8 handleVlanIntfStatus ConfigSm::handleVlanIntfStatus(Vlan7)", wishTrace(0)}));
  machine().fyrL3IndexDirDel();
  world.table->routedPortNameIs(L3Id(7), "Ethernet7"_intf);
  world.table->intfL3IndexIs("Ethernet7"_intf, L3Id(7));
  EXPECT_EQ(tracedBy(wrapper, handleL3Index, arguments({boxedIntf("Ethernet7")})),
            Log{"7 handleL3Index ConfigSm::handleL3Index(Ethernet7)"});
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(ConfigSmGenericCallTest, VlansAreSetByWishAndByGrant) {
  EXPECT_EQ(outcome(wrapper, doSetDesiredInternalVlanId, callOp,
                    arguments({boxedIntf("Ethernet2"), boxed(VlanIdOrNone(200))})),
            "nothing");
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}, {"Ethernet2", 200}}));
  EXPECT_EQ(outcome(wrapper, doSetInternalVlanId, callOp,
                    arguments({boxedIntf("Ethernet2"), boxed(VlanIdOrNone(300))})),
            "nothing");
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}, {"Ethernet2", 300}}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}, {"Ethernet2", 200}}));
}

TEST_F(ConfigSmGenericCallTest, AReadOnlyWrapperCallsFunctionsToo) {
  EXPECT_EQ(outcome(readOnly, doSetDesiredInternalVlanId, callOp,
                    arguments({boxedIntf("Ethernet1"), boxed(VlanIdOrNone())})),
            "nothing");
  EXPECT_EQ(world.wishes(), Wishes{});
}

TEST_F(ConfigSmGenericCallTest, TeardownIsCalled) {
  EXPECT_EQ(outcome(wrapper, doPrepareToDie, callOp, arguments()), "nothing");
  EXPECT_EQ(world.wishes(), Wishes{});
  EXPECT_EQ(world.forward(), Forward{});
  EXPECT_EQ(machine().switchIntfConfigSms(), 0U);
}

TEST_F(ConfigSmGenericCallTest, TheSelfCheckRuns) {
  EXPECT_EQ(tracedBy(readOnly, doVerify), Log{"9 doVerify ConfigSm::doVerify()"});
  EXPECT_EQ(unchanging(wrapper, doVerify, callOp, arguments()), "nothing");
}

TEST_F(ConfigSmGenericCallTest, TheSelfCheckOfABrokenStateEndsWithItsReport) {
  machine().desiredInternalVlanIdDel("Ethernet1"_intf);
  EXPECT_FATAL(outcome(wrapper, doVerify, callOp, arguments()),
               machineAssertion("void FyrL3Intf::ConfigSm::doVerify()",
                                "desiredInternalVlanId( iter->intfId() ) == vlanId"));
}

TEST_F(ConfigSmGenericCallTest, TheSelfCheckOfABrokenMirrorEndsWithItsFullReport) {
  World other(noInternalVlans);
  other.start();
  other.machine->hasNotificationActiveIs(false);
  other.l3Index("Ethernet1", 7);
  const Wrapper wrapped = Kob::generic(other.machine);
  EXPECT_FATAL(outcome(wrapped, doVerify, callOp, arguments()),
               machineFailure("void FyrL3Intf::ConfigSm::doVerify()",
                              "fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->intfL3Indexs()",
                              " Mnemo entries: 1 table intfL3Index entries: 0"));
}

TEST_F(ConfigSmGenericCallTest, WithAnElementTheSelfCheckIsRefusedBeforeAnythingRuns) {
  machine().desiredInternalVlanIdDel("Ethernet1"_intf);  // Running it would be fatal.
  Trace trace;
  EXPECT_EQ(unchanging(wrapper, doVerify, callOp, arguments({boxedIntf("Ethernet1")})),
            "UnknownArgumentException doVerify");
  EXPECT_EQ(unchanging(wrapper, doVerify, callOp, arguments({nullptr})),
            "UnknownArgumentException doVerify");
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(ConfigSmGenericCallTest, FunctionsTakeAGenericList) {
  for (const Kob::AttributeId id :
       {handleVlanIntfStatus, doSetDesiredInternalVlanId, doSetInternalVlanId,
        handleSwitchIntfConfig, handleL3Index, doPrepareToDie, doVerify}) {
    EXPECT_EQ(unchanging(wrapper, id, callOp), "TypeException Kob::GenericIf::List_") << id;
    EXPECT_EQ(unchanging(wrapper, id, callOp, boxedIntf("Vlan7")),
              "TypeException Kob::GenericIf::List_")
        << id;
    EXPECT_EQ(unchanging(wrapper, id, callOp, nullptr, arguments()),
              "TypeException Kob::GenericIf::List_")
        << id;
  }
}

TEST_F(ConfigSmGenericCallTest, AnInterfaceThatIsMissingOrOfAnotherTypeIsNamed) {
  for (const auto& [id, name] : handlersOfIntf) {
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments()), "TypeException intfId") << name;
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({nullptr})), "TypeException intfId")
        << name;
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({boxed(Kob::Name("Vlan7"))})),
              "TypeException intfId")
        << name;
  }
  for (const auto& [id, name] : settersOfVlan) {
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({boxed(VlanIdOrNone(7))})),
              "TypeException intfId");
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments()), "TypeException intfId");
  }
}

TEST_F(ConfigSmGenericCallTest, AVlanThatIsMissingOrOfAnotherTypeIsNamed) {
  const Wrapper intf = boxedIntf("Ethernet2");
  for (const auto& [id, name] : settersOfVlan) {
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({intf})), "TypeException " + name);
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({intf, nullptr})), "TypeException " + name);
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({intf, boxed(VlanId(7))})),
              "TypeException " + name);
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({intf, boxed(7U)})),
              "TypeException " + name);
  }
}

TEST_F(ConfigSmGenericCallTest, AnElementTooManyNamesTheFunction) {
  const Wrapper intf = boxedIntf("Vlan7");
  for (const auto& [id, name] : handlersOfIntf) {
    EXPECT_EQ(unchanging(wrapper, id, callOp, arguments({intf, intf})),
              "UnknownArgumentException " + name);
  }
  const Wrapper setting = arguments({intf, boxed(VlanIdOrNone(7)), nullptr});
  EXPECT_EQ(unchanging(wrapper, doSetDesiredInternalVlanId, callOp, setting),
            "UnknownArgumentException doSetDesiredInternalVlanId");
  EXPECT_EQ(unchanging(wrapper, doSetInternalVlanId, callOp, setting),
            "UnknownArgumentException doSetInternalVlanId");
  EXPECT_EQ(unchanging(wrapper, doPrepareToDie, callOp, arguments({intf})),
            "UnknownArgumentException doPrepareToDie");
}

TEST_F(ConfigSmGenericCallTest, FunctionsAreOnlyCalled) {
  for (const auto& [id, name] : handlersOfIntf) {
    for (const unsigned operation : {1U, 2U, 3U, 4U, 127U, 128U, 129U, 130U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, boxed(true)), notSupported(name, operation));
    }
  }
  EXPECT_EQ(unchanging(wrapper, doVerify, countOp), notSupported("doVerify", 1));
  EXPECT_EQ(unchanging(wrapper, doPrepareToDie, writeOp), notSupported("doPrepareToDie", 128));
}

TEST_F(ConfigSmGenericCallTest, AnExceptionOutOfTheCalledOperationPasses) {
  EXPECT_EQ(unchanging(wrapper, handleVlanIntfStatus, callOp, arguments({boxedIntf("Vlan5000")})),
            "RangeException VlanIdOrNone::value > 4094 not allowed");
}

TEST_F(ConfigSmGenericCallTest, AnAssertionInTheCalledOperationIsItsOwn) {
  EXPECT_FATAL(outcome(wrapper, handleVlanIntfStatus, callOp, arguments({boxedIntf("Ethernet1")})),
               machineFailure("void FyrL3Intf::ConfigSm::handleVlanIntfStatus(Plexo::IntfId)",
                              "Plexo::VlanIntfId::isVlanIntfId( intfId )", " intf: Ethernet1"));
}

// ---------------------------------------------------------------------------------------------
// Making a machine from a list

struct ConfigSmListConstructorTest : testing::Test {
  World world{internalVlans};
  std::vector<Wrapper> elements = {Kob::generic(world.activity), Kob::generic(world.config),
                                   readOnlyOf(world.statusDir),  readOnlyOf(world.indexDir),
                                   Kob::generic(world.table),    boxed(true)};

  static Wrapper make(const Wrapper& list) {
    return ConfigSm::GenericIf_::genericIfListConstructor(Kob::Ptr<const Kob::GenericIf>(list));
  }
  [[nodiscard]] Wrapper makeOfElements() const { return make(new Kob::GenericIf::List_(elements)); }
  [[nodiscard]] std::string madeOfElements() const {
    return outcomeOf([this] { return makeOfElements(); });
  }
  /// What comes of the elements when the one at this place is another.
  [[nodiscard]] std::string madeWith(std::size_t at, const Wrapper& element) {
    const Wrapper kept = std::exchange(elements[at], element);
    std::string text = madeOfElements();
    elements[at] = kept;
    return text;
  }
};

const std::vector<std::string> parameters = {"kobFwkActivity",    "config",
                                             "vlanIntfStatusDir", "fyrL3IndexDir",
                                             "fyrL3IntfTable",    "internalVlanNeeded"};

TEST_F(ConfigSmListConstructorTest, AMachineIsMadeOfTheFactorysArguments) {
  world.routedPort("Ethernet1", 100);
  const Wrapper wrapper = makeOfElements();
  const Kob::Ptr machine(dynamic_cast<ConfigSm*>(objectIn(wrapper)));
  ASSERT_TRUE(machine);
  EXPECT_EQ(machine->kobFwkActivity(), world.activity);
  EXPECT_EQ(machine->config(), world.config);
  EXPECT_EQ(machine->vlanIntfStatusDir(), world.statusDir);
  EXPECT_EQ(machine->fyrL3IndexDir(), world.indexDir);
  EXPECT_EQ(machine->fyrL3IntfTable(), world.table);
  EXPECT_TRUE(machine->internalVlanNeeded());
  EXPECT_TRUE(machine->hasNotificationActive());
  EXPECT_FALSE(wrapper->readOnly());
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(ConfigSmListConstructorTest, TakesAGenericList) {
  EXPECT_EQ(outcomeOf([] { return make(nullptr); }), "TypeException List");
  EXPECT_EQ(outcomeOf([] { return make(boxed(true)); }), "TypeException List");
}

TEST_F(ConfigSmListConstructorTest, NamesTheParameterOfAnElementOfAnotherType) {
  for (std::size_t at = 0; at < parameters.size(); ++at) {
    EXPECT_EQ(madeWith(at, boxedIntf("Ethernet1")), "TypeException " + parameters[at]);
    EXPECT_EQ(madeWith(at, arguments()), "TypeException " + parameters[at]);
  }
  EXPECT_EQ(madeWith(1, Kob::generic(world.table)), "TypeException config");
  EXPECT_EQ(madeWith(4, Kob::generic(world.config)), "TypeException fyrL3IntfTable");
}

TEST_F(ConfigSmListConstructorTest, NamesTheFirstParameterThatIsMissing) {
  for (std::size_t count = parameters.size(); count-- > 0;) {
    elements.resize(count);
    EXPECT_EQ(madeOfElements(), "TypeException " + parameters[count]);
  }
}

TEST_F(ConfigSmListConstructorTest, RefusesASeventhElement) {
  elements.push_back(nullptr);
  EXPECT_EQ(madeOfElements(), "UnknownArgumentException ConfigSm");
}

TEST_F(ConfigSmListConstructorTest, InputsMayBeNullButTheConfiguration) {
  EXPECT_EQ(madeWith(0, nullptr), "FyrL3Intf::ConfigSm");
  EXPECT_EQ(madeWith(1, nullptr), "TypeException config");
  EXPECT_EQ(madeWith(2, nullptr), "FyrL3Intf::ConfigSm");
  EXPECT_EQ(madeWith(3, nullptr), "FyrL3Intf::ConfigSm");
  EXPECT_EQ(madeWith(5, nullptr), "TypeException internalVlanNeeded");
}

TEST_F(ConfigSmListConstructorTest, WhatTheMachineWritesMustNotBeReadOnly) {
  EXPECT_EQ(madeWith(4, readOnlyOf(world.table)), "TypeException fyrL3IntfTable");
  EXPECT_EQ(madeWith(0, readOnlyOf(world.activity)), "TypeException kobFwkActivity");
}

TEST_F(ConfigSmListConstructorTest, AnExceptionOutOfTheFactoryPasses) {
  world.vlanIntf("Vlan5000");
  EXPECT_EQ(madeOfElements(), "RangeException VlanIdOrNone::value > 4094 not allowed");
}

TEST_F(ConfigSmListConstructorTest, TheTypeMakesMachinesOfListsToo) {
  const Wrapper list = new Kob::GenericIf::List_(elements);
  EXPECT_TRUE(objectIn(ConfigSm::_fwkType()->genericIf(list.get(), false)));
  EXPECT_TRUE(ConfigSm::_fwkType()->genericIf(list.get(), true)->readOnly());
}

}  // namespace
}  // namespace FyrL3Intf::Tests
