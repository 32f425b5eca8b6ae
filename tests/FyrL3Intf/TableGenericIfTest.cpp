// The table through its generic interface: attributes by name and id, every operation that each of
// them has, and every refusal.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/FyrL3Intf/Generic.h"
#include "tests/FyrL3Intf/InternalVlan.h"
#include "tests/FyrL3Intf/TableFixture.h"

namespace FyrL3Intf::Tests {
namespace {

// The ids are the contract: they are not taken from the library.
constexpr Kob::AttributeId internalVlanNeeded = 258;
constexpr Kob::AttributeId routedPortName = 259;
constexpr Kob::AttributeId intfL3Index = 260;
constexpr Kob::AttributeId l3IdToIntfId = 261;
constexpr Kob::AttributeId intfIdToL3Id = 262;

const Log listOfNames = {"internalVlanNeeded", "routedPortName", "intfL3Index", "l3IdToIntfId",
                         "intfIdToL3Id"};

struct TableGenericIfTest : TableFixture {
  TableGenericIfTest() {
    table->routedPortNameIs(idX, p);
    table->intfL3IndexIs(p, idX);
    listener->heard.clear();
  }

  Wrapper wrapper = Kob::generic(table);
  Wrapper readOnly = readOnlyOf(table);

  /// The outcome, of an operation that must leave everything as it is.
  [[nodiscard]] std::string unchanging(const Wrapper& through, Kob::AttributeId id,
                                       unsigned operation, const Wrapper& arg = nullptr,
                                       const Wrapper& value = nullptr) const {
    const std::string before = wholeState(*table);
    std::string text = outcome(through, id, operation, arg, value);
    EXPECT_EQ(wholeState(*table), before) << text;
    EXPECT_EQ(listener->heard, Log{}) << text;
    return text;
  }
};

// ---------------------------------------------------------------------------------------------
// Names and ids

TEST_F(TableGenericIfTest, TheTableNamesItsAttributesById) {
  Log names;
  for (Kob::AttributeId id = 258; id <= 262; ++id) {
    names.push_back(stdText(table->attributeString(id)));
  }
  EXPECT_EQ(names, listOfNames);
}

TEST_F(TableGenericIfTest, OtherIdsHaveTheNameThatEveryEntityGivesThem) {
  const auto entity = Kob::activityFactory("an entity");
  for (const Kob::AttributeId id : {-2, -1, 0, 1, 5, 130, 257, 263, 386}) {
    EXPECT_EQ(table->attributeString(id), entity->attributeString(id)) << id;
    EXPECT_EQ(table->attributeString(id), Kob::String8("")) << id;
  }
}

TEST_F(TableGenericIfTest, AttributesAreFoundByName) {
  Kob::AttributeId id = 258;
  for (const auto& name : listOfNames) {
    EXPECT_EQ(wrapper->attributeId(Kob::String8(name)), id) << name;
    EXPECT_EQ(readOnly->attributeId(Kob::String8(name)), id) << name;
    ++id;
  }
}

TEST_F(TableGenericIfTest, NamesThatTheTableDoesNotKnowHaveNoId) {
  for (const char* name : {"", "name", "IntfL3Index", "intfL3Index ", "doVerify", "unknown"}) {
    EXPECT_EQ(wrapper->attributeId(name), 0) << name;
  }
}

// ---------------------------------------------------------------------------------------------
// What is wrapped

TEST_F(TableGenericIfTest, HasTheTypeOfTheTable) {
  EXPECT_EQ(wrapper->type(), Table::_fwkType());
  EXPECT_EQ(stdText(wrapper->type()->qualifiedName()), "FyrL3Intf::Table");
}

TEST_F(TableGenericIfTest, GivesTheAddressOfTheTableAsItsTypesHaveIt) {
  EXPECT_EQ(wrapper->voidPtrIs(Table::_fwkType()), static_cast<void*>(table.get()));
  EXPECT_EQ(wrapper->voidPtrIs(Kob::PtrInterface::_fwkType()),
            static_cast<void*>(static_cast<Kob::PtrInterface*>(table.get())));
  EXPECT_EQ(wrapper->voidPtrIs(ConfigSm::_fwkType()), nullptr);
}

TEST_F(TableGenericIfTest, GivesTheAddressOfTheTableAsAnEntity) {
  EXPECT_EQ(wrapper->voidPtrIs(Kob::Entity::_fwkType()),
            static_cast<void*>(static_cast<Kob::Entity*>(table.get())));
}

TEST_F(TableGenericIfTest, GivesTheTableUnlessItIsReadOnly) {
  EXPECT_EQ(objectIn(wrapper), table.get());
  EXPECT_EQ(objectIn(readOnly), nullptr);
  EXPECT_EQ(constObjectIn(wrapper), table.get());
  EXPECT_EQ(constObjectIn(readOnly), table.get());
}

TEST_F(TableGenericIfTest, AnObjectThatIsNoTableIsNotWrapped) {
  const auto activity = Kob::activityFactory("activity");
  EXPECT_FALSE(Table::_fwkType()->genericIf_(activity.get(), false));
  EXPECT_FALSE(Table::_fwkType()->genericIf_(nullptr, false));
}

TEST_F(TableGenericIfTest, NoTableIsFatal) {
  EXPECT_FATAL(Kob::Ptr(new Table::GenericIf_(nullptr, false)),
               ".*Assertion `object != nullptr' "
               "failed\\.\n");
}

TEST_F(TableGenericIfTest, PrintsAsTheTable) {
  EXPECT_THAT(stdText(wrapper->strRep()), testing::MatchesRegex("<.*Table table .*>"));
}

TEST_F(TableGenericIfTest, KeepsTheTableAlive) {
  Kob::Ptr<Table> other = tableFactory("other", true);
  const Wrapper keeper = Kob::generic(other);
  other = nullptr;
  EXPECT_EQ(outcome(keeper, internalVlanNeeded, readOp), "bool true");
}

TEST_F(TableGenericIfTest, ACloneWrapsTheSameTableAsItWasWrapped) {
  const Wrapper clone = wrapper->clone();
  EXPECT_NE(clone, wrapper);
  EXPECT_EQ(objectIn(clone), table.get());
  EXPECT_EQ(clone->type(), Table::_fwkType());
  EXPECT_TRUE(readOnly->clone()->readOnly());
  EXPECT_EQ(constObjectIn(readOnly->clone()), table.get());
}

TEST_F(TableGenericIfTest, ACloneOfAConstWrapperIsReadOnly) {
  const auto clone = std::as_const(*wrapper).clone();
  EXPECT_TRUE(clone->readOnly());
  EXPECT_EQ(constObjectIn(clone), table.get());
}

TEST_F(TableGenericIfTest, ACloneIsATableWrapperThatHearsTheTable) {
  const Wrapper clone = wrapper->clone();
  const auto heard = genericListenerOf(clone);
  table->intfL3IndexIs(q, idY);
  EXPECT_EQ(heard->heard, Log{"260 Ethernet2"});
}

// ---------------------------------------------------------------------------------------------
// internalVlanNeeded

TEST_F(TableGenericIfTest, InternalVlanNeededIsRead) {
  EXPECT_EQ(unchanging(wrapper, internalVlanNeeded, readOp), "bool false");
  EXPECT_EQ(unchanging(readOnly, internalVlanNeeded, readOp), "bool false");
  EXPECT_EQ(outcome(Kob::generic(tableFactory("other", true)), internalVlanNeeded, readOp),
            "bool true");
}

TEST_F(TableGenericIfTest, InternalVlanNeededTakesNoIndexWhateverTheOperation) {
  for (const unsigned operation : {0U, 1U, 2U, 3U, 4U, 127U, 128U, 129U, 130U}) {
    EXPECT_EQ(unchanging(wrapper, internalVlanNeeded, operation, boxed(p)),
              "BadIndexException internalVlanNeeded");
    EXPECT_EQ(unchanging(wrapper, internalVlanNeeded, operation, arguments()),
              "BadIndexException internalVlanNeeded");
  }
}

TEST_F(TableGenericIfTest, InternalVlanNeededIsOnlyRead) {
  for (const unsigned operation : {1U, 2U, 3U, 4U, 127U, 128U, 129U, 130U}) {
    EXPECT_EQ(unchanging(wrapper, internalVlanNeeded, operation, nullptr, boxed(true)),
              notSupported("internalVlanNeeded", operation));
  }
}

// ---------------------------------------------------------------------------------------------
// The collections: reading

TEST_F(TableGenericIfTest, EntriesAreReadByKey) {
  EXPECT_EQ(outcome(wrapper, intfL3Index, readOp, boxed(p)), "FyrL3Intf::L3Id 10");
  EXPECT_EQ(outcome(wrapper, routedPortName, readOp, boxed(idX)), "Plexo::IntfId Ethernet1");
}

TEST_F(TableGenericIfTest, AbsentEntriesReadAsTheNeutralValue) {
  EXPECT_EQ(outcome(wrapper, intfL3Index, readOp, boxed(q)), "FyrL3Intf::L3Id 0");
  EXPECT_EQ(outcome(wrapper, intfL3Index, readOp, boxed(Plexo::IntfId())), "FyrL3Intf::L3Id 0");
  EXPECT_EQ(outcome(wrapper, routedPortName, readOp, boxed(idY)), "Plexo::IntfId ");
  const L3Id sameLowWord((std::uint64_t{1} << 32) + 10);
  EXPECT_EQ(outcome(wrapper, routedPortName, readOp, boxed(sameLowWord)), "Plexo::IntfId ");
}

TEST_F(TableGenericIfTest, ReadingRoutedPortNameCountsAReadAndTracesNothing) {
  Trace trace;
  const Counted counted(*table);
  static_cast<void>(outcome(wrapper, routedPortName, readOp, boxed(idX)));
  static_cast<void>(outcome(readOnly, routedPortName, readOp, boxed(idY)));
  EXPECT_EQ(counted.reads(), 2U);
  EXPECT_EQ(counted.changes(), 0U);
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(TableGenericIfTest, ReadingIntfL3IndexCountsNoReadAndTracesNothing) {
  Trace trace;
  EXPECT_EQ(unchanging(wrapper, intfL3Index, readOp, boxed(p)), "FyrL3Intf::L3Id 10");
  EXPECT_EQ(unchanging(readOnly, intfL3Index, readOp, boxed(q)), "FyrL3Intf::L3Id 0");
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(TableGenericIfTest, EntriesAreCounted) {
  table->intfL3IndexIs(q, idY);
  listener->heard.clear();
  EXPECT_EQ(unchanging(wrapper, intfL3Index, countOp), "unsigned 2");
  EXPECT_EQ(unchanging(wrapper, routedPortName, countOp), "unsigned 1");
  EXPECT_EQ(unchanging(readOnly, routedPortName, countOp), "unsigned 1");
  const Wrapper empty = Kob::generic(tableFactory("empty", false));
  EXPECT_EQ(outcome(empty, intfL3Index, countOp), "unsigned 0");
}

TEST_F(TableGenericIfTest, KeysAreWalkedInTheOrderOfTheCollection) {
  writeThree();
  EXPECT_EQ(walkedKeys(wrapper, intfL3Index), orderOfNames());
  EXPECT_EQ(orderOfNames().size(), 3U);
}

TEST_F(TableGenericIfTest, TheKeyAfterAnAbsentOneIsTheFirstThatDoesNotComeBeforeIt) {
  writeThree();
  const auto names = order();
  table->intfL3IndexDel(names[1]);
  listener->heard.clear();
  EXPECT_EQ(unchanging(wrapper, intfL3Index, nextKeyOp, boxed(names[1])),
            "Plexo::IntfId " + nameOf(names[2]));
  EXPECT_EQ(unchanging(wrapper, intfL3Index, nextKeyOp, boxed(names[2])), "nothing");
}

TEST_F(TableGenericIfTest, KeysOfTheReverseMapAreWalkedToo) {
  EXPECT_EQ(unchanging(wrapper, routedPortName, firstKeyOp), "FyrL3Intf::L3Id 10");
  EXPECT_EQ(unchanging(wrapper, routedPortName, nextKeyOp, boxed(idX)), "nothing");
  const Wrapper empty = Kob::generic(tableFactory("empty", false));
  EXPECT_EQ(outcome(empty, routedPortName, firstKeyOp), "nothing");
}

// ---------------------------------------------------------------------------------------------
// The collections: writing and deleting

TEST_F(TableGenericIfTest, WritingIntfL3IndexInsertsOverwritesAndAnnounces) {
  const Counted counted(*table);
  EXPECT_EQ(outcome(wrapper, intfL3Index, writeOp, boxed(q), boxed(idY)), "nothing");
  EXPECT_EQ(outcome(wrapper, intfL3Index, writeOp, boxed(p), boxed(idY)), "nothing");
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 11}, {"Ethernet2", 11}}));
  EXPECT_EQ(listener->heard, (Log{"Ethernet2", "Ethernet1"}));
  EXPECT_EQ(counted.changes(), 2U);
}

TEST_F(TableGenericIfTest, WritingWhatStandsAlreadyChangesNothing) {
  EXPECT_EQ(unchanging(wrapper, intfL3Index, writeOp, boxed(p), boxed(idX)), "nothing");
}

TEST_F(TableGenericIfTest, WritingRoutedPortNameCountsAlwaysAndAnnouncesNothing) {
  const Counted counted(*table);
  EXPECT_EQ(outcome(wrapper, routedPortName, writeOp, boxed(idX), boxed(p)), "nothing");
  EXPECT_EQ(outcome(wrapper, routedPortName, writeOp, boxed(idY), boxed(q)), "nothing");
  EXPECT_EQ(reverseOf(*table), (Reverse{{10, "Ethernet1"}, {11, "Ethernet2"}}));
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(counted.changes(), 2U);
  EXPECT_EQ(counted.reads(), 0U);
}

TEST_F(TableGenericIfTest, DeletingRemovesTheEntry) {
  EXPECT_EQ(outcome(wrapper, intfL3Index, deleteOp, boxed(p)), "nothing");
  EXPECT_EQ(forwardOf(*table), Forward{});
  EXPECT_EQ(listener->heard, Log{"Ethernet1"});
  EXPECT_EQ(outcome(wrapper, routedPortName, deleteOp, boxed(idX)), "nothing");
  EXPECT_EQ(reverseOf(*table), Reverse{});
}

TEST_F(TableGenericIfTest, DeletingWhatIsAbsentChangesNothing) {
  EXPECT_EQ(unchanging(wrapper, intfL3Index, deleteOp, boxed(q)), "nothing");
  EXPECT_EQ(unchanging(wrapper, routedPortName, deleteOp, boxed(idY)), "nothing");
}

// ---------------------------------------------------------------------------------------------
// The collections: refusals

TEST_F(TableGenericIfTest, AKeyIsRequiredWhereOneEntryIsMeant) {
  for (const unsigned operation : {readOp, nextKeyOp, writeOp, deleteOp}) {
    for (const Kob::AttributeId id : {routedPortName, intfL3Index}) {
      EXPECT_EQ(unchanging(wrapper, id, operation), "TypeException kob_index") << id << operation;
    }
  }
}

TEST_F(TableGenericIfTest, AKeyOfAnotherTypeIsRefusedAsAMissingOne) {
  for (const unsigned operation : {readOp, nextKeyOp, writeOp, deleteOp}) {
    EXPECT_EQ(unchanging(wrapper, routedPortName, operation, boxed(p), boxed(p)),
              "TypeException kob_index");
    EXPECT_EQ(unchanging(wrapper, intfL3Index, operation, boxed(idX), boxed(idX)),
              "TypeException kob_index");
    EXPECT_EQ(unchanging(wrapper, intfL3Index, operation, arguments({boxed(p)}), boxed(idX)),
              "TypeException kob_index");
  }
}

TEST_F(TableGenericIfTest, AValueIsRequiredForAWrite) {
  EXPECT_EQ(unchanging(wrapper, routedPortName, writeOp, boxed(idY)),
            "TypeException routedPortName");
  EXPECT_EQ(unchanging(wrapper, intfL3Index, writeOp, boxed(q)), "TypeException intfL3Index");
}

TEST_F(TableGenericIfTest, AValueOfAnotherTypeIsRefusedAsAMissingOne) {
  EXPECT_EQ(unchanging(wrapper, routedPortName, writeOp, boxed(idY), boxed(idY)),
            "TypeException routedPortName");
  EXPECT_EQ(unchanging(wrapper, intfL3Index, writeOp, boxed(q), boxed(q)),
            "TypeException intfL3Index");
  EXPECT_EQ(unchanging(wrapper, intfL3Index, writeOp, boxed(q), arguments({boxed(idX)})),
            "TypeException intfL3Index");
}

TEST_F(TableGenericIfTest, OtherOperationsOfTheCollectionsAreNotSupported) {
  for (const unsigned operation : {4U, 5U, 127U, 130U, 255U, 256U, 0x80000000U}) {
    EXPECT_EQ(unchanging(wrapper, routedPortName, operation),
              notSupported("routedPortName", operation));
    EXPECT_EQ(unchanging(wrapper, intfL3Index, operation, boxed(p), boxed(idY)),
              notSupported("intfL3Index", operation));
  }
}

TEST_F(TableGenericIfTest, RefusalsAreTestedInOrderOperationKeyValue) {
  const Wrapper wrong = boxed(true);
  EXPECT_EQ(unchanging(wrapper, intfL3Index, 130, wrong, wrong), notSupported("intfL3Index", 130));
  EXPECT_EQ(unchanging(wrapper, intfL3Index, writeOp, wrong, wrong), "TypeException kob_index");
  EXPECT_EQ(unchanging(wrapper, intfL3Index, writeOp, boxed(p), wrong),
            "TypeException intfL3Index");
}

// ---------------------------------------------------------------------------------------------
// The look-ups

TEST_F(TableGenericIfTest, TheLookUpsAnswerCountAndTrace) {
  Trace trace;
  const Counted counted(*table);
  EXPECT_EQ(outcome(wrapper, intfIdToL3Id, callOp, arguments({boxed(p)})), "FyrL3Intf::L3Id 10");
  EXPECT_EQ(outcome(wrapper, l3IdToIntfId, callOp, arguments({boxed(idX)})),
            "Plexo::IntfId Ethernet1");
  EXPECT_EQ(trace.taken(), (Log{"7 intfIdToL3Id intfIdToL3Id( Ethernet1 ) is 10",
                                "7 l3IdToIntfId l3IdToIntfId( 10 ) is Ethernet1"}));
  EXPECT_EQ(counted.reads(), 2U);
  EXPECT_EQ(counted.changes(), 0U);
}

TEST_F(TableGenericIfTest, TheLookUpsAnswerMissesNeutrally) {
  EXPECT_EQ(outcome(readOnly, intfIdToL3Id, callOp, arguments({boxed(q)})), "FyrL3Intf::L3Id 0");
  EXPECT_EQ(outcome(readOnly, l3IdToIntfId, callOp, arguments({boxed(idY)})), "Plexo::IntfId ");
}

TEST_F(TableGenericIfTest, TheLookUpsTakeAGenericList) {
  for (const Kob::AttributeId id : {l3IdToIntfId, intfIdToL3Id}) {
    EXPECT_EQ(unchanging(wrapper, id, callOp), "TypeException List");
    EXPECT_EQ(unchanging(wrapper, id, callOp, nullptr, arguments({boxed(p)})),
              "TypeException List");
  }
  EXPECT_EQ(unchanging(wrapper, l3IdToIntfId, callOp, boxed(idX)),
            "TypeException Kob::GenericIf::List_");
  EXPECT_EQ(unchanging(wrapper, intfIdToL3Id, callOp, boxed(p)),
            "TypeException Kob::GenericIf::List_");
  EXPECT_EQ(unchanging(wrapper, intfIdToL3Id, callOp, Kob::generic(table)),
            "TypeException Kob::GenericIf::List_");
}

TEST_F(TableGenericIfTest, TheLookUpsTakeOneElementOfTheParametersType) {
  EXPECT_EQ(unchanging(wrapper, l3IdToIntfId, callOp, arguments({boxed(p)})), "TypeException l3Id");
  EXPECT_EQ(unchanging(wrapper, intfIdToL3Id, callOp, arguments({boxed(idX)})),
            "TypeException intfId");
  EXPECT_EQ(unchanging(wrapper, l3IdToIntfId, callOp, arguments()), "TypeException l3Id");
  EXPECT_EQ(unchanging(wrapper, intfIdToL3Id, callOp, arguments({nullptr})),
            "TypeException intfId");
}

TEST_F(TableGenericIfTest, TheLookUpsRefuseASecondElement) {
  EXPECT_EQ(unchanging(wrapper, l3IdToIntfId, callOp, arguments({boxed(idX), boxed(idX)})),
            "UnknownArgumentException l3IdToIntfId");
  EXPECT_EQ(unchanging(wrapper, intfIdToL3Id, callOp, arguments({boxed(p), nullptr})),
            "UnknownArgumentException intfIdToL3Id");
}

TEST_F(TableGenericIfTest, TheLookUpsAreOnlyCalled) {
  for (const unsigned operation : {1U, 2U, 3U, 4U, 127U, 128U, 129U, 130U}) {
    EXPECT_EQ(unchanging(wrapper, l3IdToIntfId, operation),
              notSupported("l3IdToIntfId", operation));
    EXPECT_EQ(unchanging(wrapper, intfIdToL3Id, operation, arguments({boxed(p)})),
              notSupported("intfIdToL3Id", operation));
  }
}

// ---------------------------------------------------------------------------------------------
// Read-only wrappers and unknown ids

TEST_F(TableGenericIfTest, AReadOnlyWrapperRefusesToModifyBeforeItLooksAtAnything) {
  for (const unsigned operation : {128U, 129U, 130U, 255U, 0xFFFFFFFFU}) {
    for (const Kob::AttributeId id : {-1, 0, 2, 130, 257, 258, 259, 260, 261, 262, 263}) {
      EXPECT_EQ(unchanging(readOnly, id, operation), constRefusal) << id;
      EXPECT_EQ(unchanging(readOnly, id, operation, boxed(p), boxed(idX)), constRefusal) << id;
    }
  }
}

TEST_F(TableGenericIfTest, AReadOnlyWrapperRefusesOtherCodesAsAnyWrapper) {
  EXPECT_EQ(unchanging(readOnly, intfL3Index, 127), notSupported("intfL3Index", 127));
  EXPECT_EQ(unchanging(readOnly, intfL3Index, readOp), "TypeException kob_index");
  EXPECT_EQ(unchanging(readOnly, 263, readOp), unknownAttribute("FyrL3Intf::Table", 263));
}

TEST_F(TableGenericIfTest, IdsThatTheTableDoesNotKnowAreRefused) {
  for (const Kob::AttributeId id : {-260, -1, 0, 2, 5, 130, 257, 263, 300, 386}) {
    for (const unsigned operation : {0U, 1U, 4U, 128U, 129U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, boxed(p), boxed(idX)),
                unknownAttribute("FyrL3Intf::Table", id));
    }
  }
}

TEST_F(TableGenericIfTest, AValueReadThroughAReadOnlyWrapperIsReadOnly) {
  EXPECT_TRUE(readOnly->attributeOp({intfL3Index, readOp}, boxed(p), nullptr)->readOnly());
  EXPECT_FALSE(wrapper->attributeOp({intfL3Index, readOp}, boxed(p), nullptr)->readOnly());
}

// ---------------------------------------------------------------------------------------------
// Making a table from a list

struct TableListConstructorTest : testing::Test {
  static Wrapper make(const Wrapper& list) {
    return Table::GenericIf_::genericIfListConstructor(Kob::Ptr<const Kob::GenericIf>(list));
  }
  static std::string made(const Wrapper& list) {
    return outcomeOf([&] { return make(list); });
  }
  const Wrapper name = boxed(Kob::Name("made"));
  const Wrapper needed = boxed(true);
};

TEST_F(TableListConstructorTest, ATableIsMadeOfItsNameAndFlag) {
  const Wrapper wrapper = make(arguments({name, needed}));
  const auto* const table = dynamic_cast<const Table*>(objectIn(wrapper));
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->name(), Kob::Name("made"));
  EXPECT_TRUE(table->internalVlanNeeded());
  EXPECT_EQ(table->intfL3Indexs() + table->routedPortNames(), 0U);
  EXPECT_FALSE(wrapper->readOnly());
}

TEST_F(TableListConstructorTest, TheFlagMayBeFalse) {
  EXPECT_EQ(outcome(make(arguments({name, boxed(false)})), internalVlanNeeded, readOp),
            "bool false");
}

TEST_F(TableListConstructorTest, TakesAGenericList) {
  EXPECT_EQ(made(nullptr), "TypeException List");
  EXPECT_EQ(made(name), "TypeException Kob::GenericIf::List_");
  EXPECT_EQ(made(Kob::generic(tableFactory("table", true))), "TypeException Kob::GenericIf::List_");
}

TEST_F(TableListConstructorTest, NamesTheParameterOfAnElementThatIsMissingOrOfAnotherType) {
  EXPECT_EQ(made(arguments()), "TypeException name");
  EXPECT_EQ(made(arguments({needed, needed})), "TypeException name");
  EXPECT_EQ(made(arguments({nullptr, needed})), "TypeException name");
  EXPECT_EQ(made(arguments({name})), "TypeException internalVlanNeeded");
  EXPECT_EQ(made(arguments({name, name})), "TypeException internalVlanNeeded");
  EXPECT_EQ(made(arguments({name, boxed(1U)})), "TypeException internalVlanNeeded");
  EXPECT_EQ(made(arguments({name, nullptr})), "TypeException internalVlanNeeded");
}

TEST_F(TableListConstructorTest, RefusesAThirdElement) {
  EXPECT_EQ(made(arguments({name, needed, needed})), "UnknownArgumentException Table");
  EXPECT_EQ(made(arguments({name, needed, nullptr})), "UnknownArgumentException Table");
}

TEST_F(TableListConstructorTest, TheTypeMakesTablesOfListsToo) {
  const Wrapper list = arguments({name, needed});
  EXPECT_NE(objectIn(Table::_fwkType()->genericIf(list.get(), false)), nullptr);
  const Wrapper readOnly = Table::_fwkType()->genericIf(list.get(), true);
  EXPECT_TRUE(readOnly->readOnly());
  EXPECT_EQ(outcome(readOnly, internalVlanNeeded, readOp), "bool true");
  EXPECT_EQ(outcomeOf([] {
              return Table::_fwkType()->genericIf(static_cast<Kob::GenericIf*>(nullptr), false);
            }),
            "TypeException List");
}

}  // namespace
}  // namespace FyrL3Intf::Tests
