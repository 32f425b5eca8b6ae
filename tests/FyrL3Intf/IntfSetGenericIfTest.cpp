// The interface set through its generic interface: its members by key, and its making.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/FyrL3Intf/Generic.h"

namespace FyrL3Intf::Tests {
namespace {

using IntfSet = ConfigSm::IntfSet;

constexpr Kob::AttributeId member = 2;

/// A set of one member, and one entry that is none.
struct IntfSetGenericIfTest : testing::Test {
  IntfSetGenericIfTest() {
    set.memberIs(p, true);
    set.memberIs(q, false);
    wrapper = Kob::generic(set);
    readOnly = Kob::generic(set, true);
  }

  const Plexo::IntfId p = "Ethernet1"_intf;
  const Plexo::IntfId q = "Ethernet2"_intf;
  const Plexo::IntfId r = "Ethernet3"_intf;
  IntfSet set;
  Wrapper wrapper;
  Wrapper readOnly;

  [[nodiscard]] Members entries(const Wrapper& of) const {
    return membersOf(*Kob::valueIn<IntfSet>(of.get()));
  }
  /// The outcome, of an operation that must leave the set as it is.
  [[nodiscard]] std::string unchanging(const Wrapper& through, Kob::AttributeId id,
                                       unsigned operation, const Wrapper& arg = nullptr,
                                       const Wrapper& value = nullptr) const {
    std::string text = outcome(through, id, operation, arg, value);
    EXPECT_EQ(entries(through), both) << text;
    return text;
  }

  const Members both = {{"Ethernet1", true}, {"Ethernet2", false}};
};

TEST_F(IntfSetGenericIfTest, HasOneAttribute) {
  EXPECT_EQ(wrapper->attributeId("member"), member);
  for (const char* name : {"", "members", "Member", "intfId"}) {
    EXPECT_EQ(wrapper->attributeId(name), 0) << name;
  }
}

TEST_F(IntfSetGenericIfTest, HasItsType) {
  EXPECT_EQ(wrapper->type(), IntfSet::_fwkType());
  EXPECT_EQ(stdText(wrapper->type()->qualifiedName()), "FyrL3Intf::ConfigSm::IntfSet");
  EXPECT_EQ(wrapper->voidPtrIs(ConfigSm::_fwkType()), nullptr);
}

TEST_F(IntfSetGenericIfTest, GivesTheAddressOfItsOwnCopy) {
  auto* const own = static_cast<IntfSet*>(wrapper->voidPtrIs(IntfSet::_fwkType()));
  ASSERT_NE(own, nullptr);
  EXPECT_NE(own, &set);
  EXPECT_EQ(*own, set);
  own->memberDelAll();
  EXPECT_EQ(outcome(wrapper, member, countOp), "unsigned 0");
}

TEST_F(IntfSetGenericIfTest, ItsTypeWrapsAValue) {
  const Wrapper wrapped = IntfSet::_fwkType()->genericIf(static_cast<const void*>(&set), true);
  EXPECT_TRUE(wrapped->readOnly());
  EXPECT_EQ(entries(wrapped), both);
}

TEST_F(IntfSetGenericIfTest, PrintsAsNoneWhateverItHolds) {
  EXPECT_EQ(stdText(wrapper->strRep()), "None");
  EXPECT_EQ(stdText(Kob::generic(IntfSet())->strRep()), "None");
  EXPECT_EQ(wrapper->strRep(), valueToStrep(set));
}

TEST_F(IntfSetGenericIfTest, AChangeOfItsCopyChangesNothingElse) {
  const Wrapper clone = wrapper->clone();
  EXPECT_EQ(outcome(wrapper, member, writeOp, boxed(r), boxed(true)), "nothing");
  EXPECT_EQ(membersOf(set), both);
  EXPECT_EQ(entries(clone), both);
  EXPECT_EQ(entries(wrapper).size(), 3U);
}

TEST_F(IntfSetGenericIfTest, ClonesAreCopies) {
  const Wrapper clone = wrapper->clone();
  EXPECT_FALSE(clone->readOnly());
  EXPECT_EQ(outcome(clone, member, deleteOp, boxed(p)), "nothing");
  EXPECT_EQ(entries(wrapper), both);
  EXPECT_TRUE(readOnly->clone()->readOnly());
  EXPECT_TRUE(std::as_const(*wrapper).clone()->readOnly());
}

// ---------------------------------------------------------------------------------------------
// member

TEST_F(IntfSetGenericIfTest, MembersAreRead) {
  EXPECT_EQ(unchanging(wrapper, member, readOp, boxed(p)), "bool true");
  EXPECT_EQ(unchanging(readOnly, member, readOp, boxed(q)), "bool false");
  EXPECT_EQ(unchanging(wrapper, member, readOp, boxed(r)), "bool false");
}

TEST_F(IntfSetGenericIfTest, EntriesAreCountedThoseOfFalseToo) {
  EXPECT_EQ(unchanging(wrapper, member, countOp), "unsigned 2");
  EXPECT_EQ(unchanging(readOnly, member, countOp), "unsigned 2");
}

TEST_F(IntfSetGenericIfTest, AWriteSetsTheValueAndNeverRemoves) {
  EXPECT_EQ(outcome(wrapper, member, writeOp, boxed(p), boxed(false)), "nothing");
  EXPECT_EQ(outcome(wrapper, member, writeOp, boxed(q), boxed(true)), "nothing");
  EXPECT_EQ(outcome(wrapper, member, writeOp, boxed(r), boxed(false)), "nothing");
  EXPECT_EQ(entries(wrapper),
            (Members{{"Ethernet1", false}, {"Ethernet2", true}, {"Ethernet3", false}}));
}

TEST_F(IntfSetGenericIfTest, ADeleteRemovesTheEntry) {
  EXPECT_EQ(unchanging(wrapper, member, deleteOp, boxed(r)), "nothing");
  EXPECT_EQ(outcome(wrapper, member, deleteOp, boxed(q)), "nothing");
  EXPECT_EQ(entries(wrapper), (Members{{"Ethernet1", true}}));
}

TEST_F(IntfSetGenericIfTest, AKeyIsAnInterface) {
  for (const unsigned operation : {readOp, writeOp, deleteOp}) {
    EXPECT_EQ(unchanging(wrapper, member, operation, nullptr, boxed(true)),
              "TypeException kob_index");
    EXPECT_EQ(unchanging(wrapper, member, operation, boxed(true), boxed(true)),
              "TypeException kob_index");
  }
}

TEST_F(IntfSetGenericIfTest, TheValueOfAWriteIsABool) {
  EXPECT_EQ(unchanging(wrapper, member, writeOp, boxed(r)), "TypeException member");
  EXPECT_EQ(unchanging(wrapper, member, writeOp, boxed(r), boxed(1U)), "TypeException member");
}

TEST_F(IntfSetGenericIfTest, OtherOperationsAreNotSupportedWalkingByKeyNeither) {
  for (const unsigned operation : {2U, 3U, 4U, 127U, 130U, 255U}) {
    EXPECT_EQ(unchanging(wrapper, member, operation), notSupported("member", operation));
    EXPECT_EQ(unchanging(wrapper, member, operation, boxed(p), boxed(true)),
              notSupported("member", operation));
  }
}

TEST_F(IntfSetGenericIfTest, OtherIdsAreRefused) {
  for (const Kob::AttributeId id : {-1, 0, 1, 3, 130, 260}) {
    for (const unsigned operation : {0U, 1U, 128U, 129U}) {
      EXPECT_EQ(unchanging(wrapper, id, operation, boxed(p), boxed(true)),
                unknownAttribute("FyrL3Intf::ConfigSm::IntfSet", id));
    }
  }
}

TEST_F(IntfSetGenericIfTest, AReadOnlyOneRefusesToModifyBeforeItLooksAtAnything) {
  for (const unsigned operation : {128U, 129U, 130U}) {
    for (const Kob::AttributeId id : {0, 1, 2, 3}) {
      EXPECT_EQ(unchanging(readOnly, id, operation), constRefusal);
      EXPECT_EQ(unchanging(readOnly, id, operation, boxed(p), boxed(true)), constRefusal);
    }
  }
}

TEST_F(IntfSetGenericIfTest, MembersAreIterated) {
  const auto order = namesOf(set.memberIteratorConst());
  EXPECT_EQ(keysOf(wrapper->attributeIteratorConst(member)), order);
  EXPECT_EQ(
      keysOf(wrapper->attributeIteratorKeyConst(member, boxed(Plexo::IntfId(order[1].c_str())))),
      Log{order[1]});
  EXPECT_THAT(entriesOf(readOnly->attributeIteratorConst(member)),
              testing::UnorderedElementsAre("Ethernet1 bool true", "Ethernet2 bool false"));
  EXPECT_FALSE(wrapper->attributeIteratorConst(0));
}

TEST_F(IntfSetGenericIfTest, AnIterationGoesOnBehindAMemberThatIsRemovedUnderIt) {
  auto it = wrapper->attributeIteratorConst(member);
  EXPECT_EQ(outcome(wrapper, member, deleteOp, it.key()), "nothing");
  ++it;
  EXPECT_EQ(keysOf(it).size(), 1U);
}

TEST_F(IntfSetGenericIfTest, ItsSwitchesAreItsOwn) {
  EXPECT_FALSE(wrapper->hasNotificationActiveIs(false));
  EXPECT_TRUE(wrapper->hasNotificationActiveIs(true));
  EXPECT_TRUE(wrapper->kobDoZombieReactors(true));
  EXPECT_FALSE(wrapper->kobDoZombieReactors(false));
  EXPECT_EQ(entries(wrapper), both);
}

// ---------------------------------------------------------------------------------------------
// Making a set

Wrapper make(const Wrapper& list) {
  return IntfSet::GenericIf_::genericIfListConstructor(Kob::Ptr<const Kob::GenericIf>(list));
}
std::string made(const Wrapper& list) {
  return outcomeOf([&] { return make(list); });
}

TEST(IntfSetListConstructor, AnEmptyListMakesAnEmptySet) {
  const Wrapper wrapper = make(arguments());
  EXPECT_EQ(*Kob::valueIn<IntfSet>(wrapper.get()), IntfSet());
  EXPECT_FALSE(wrapper->readOnly());
}

TEST(IntfSetListConstructor, AnyElementIsOneTooMany) {
  EXPECT_EQ(made(arguments({boxedIntf("Ethernet1")})), "UnknownArgumentException IntfSet");
  EXPECT_EQ(made(arguments({nullptr})), "UnknownArgumentException IntfSet");
}

TEST(IntfSetListConstructor, TakesAGenericList) {
  EXPECT_EQ(made(nullptr), "TypeException Kob::GenericIf::List_");
  EXPECT_EQ(made(boxedIntf("Ethernet1")), "TypeException Kob::GenericIf::List_");
}

TEST(IntfSetListConstructor, TheTypeMakesSetsOfListsToo) {
  const Wrapper list = arguments();
  EXPECT_EQ(outcome(IntfSet::_fwkType()->genericIf(list.get(), false), member, countOp),
            "unsigned 0");
  EXPECT_TRUE(IntfSet::_fwkType()->genericIf(list.get(), true)->readOnly());
}

TEST(IntfSetFromText, IsFatalWhateverTheText) {
  for (const char* text : {"None", "", "Ethernet1"}) {
    EXPECT_FATAL(IntfSet::_fwkType()->genericIf(Kob::String8(text), false),
                 ".*" +
                     literally("Assertion `String(\"This should not be used and doesn't "
                               "work\") == String(\"\")' failed.") +
                     "\n");
  }
}

}  // namespace
}  // namespace FyrL3Intf::Tests
