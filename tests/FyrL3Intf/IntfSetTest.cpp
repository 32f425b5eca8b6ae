// The interface set: entries, equality, copies, its one text form.

#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <string>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "Kob/Strep.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

using IntfSet = ConfigSm::IntfSet;

const Plexo::IntfId p = "Ethernet1"_intf;
const Plexo::IntfId q = "Ethernet2"_intf;

Plexo::IntfId numbered(unsigned number) {
  return {Kob::String8(std::string_view("Ethernet" + std::to_string(number)))};
}

IntfSet setOf(std::initializer_list<std::pair<Plexo::IntfId, bool>> entries) {
  IntfSet set;
  for (const auto& [intf, value] : entries) set.memberIs(intf, value);
  return set;
}

Log orderOf(const IntfSet& set) { return namesOf(set.memberIteratorConst()); }

TEST(IntfSet, ANewOneHasNoEntries) {
  const IntfSet set;
  EXPECT_EQ(set.members(), 0U);
  EXPECT_FALSE(set.memberIteratorConst());
}

TEST(IntfSet, AKeyThatWasNeverSetIsNoMember) { EXPECT_FALSE(setOf({{q, true}}).member(p)); }

TEST(IntfSet, AnEntryOfFalseIsNoMemberButAnEntry) {
  IntfSet set;
  set.memberIs(p, false);
  EXPECT_FALSE(set.member(p));
  EXPECT_EQ(set.members(), 1U);
  EXPECT_NE(set, IntfSet());
  EXPECT_EQ(membersOf(set), (Members{{"Ethernet1", false}}));
}

TEST(IntfSet, SettingAMemberTwiceLeavesOneEntryWhichFalseKeeps) {
  IntfSet set;
  set.memberIs(p, true);
  set.memberIs(p, true);
  EXPECT_EQ(membersOf(set), (Members{{"Ethernet1", true}}));
  EXPECT_TRUE(set.member(p));
  set.memberIs(p, false);
  EXPECT_EQ(membersOf(set), (Members{{"Ethernet1", false}}));
}

TEST(IntfSet, AValueIsOverwrittenInPlace) {
  IntfSet set = setOf({{p, true}});
  const auto entry = set.memberCollection()[p];
  set.memberIs(p, false);
  EXPECT_EQ(set.memberCollection()[p], entry);
  EXPECT_FALSE(entry->value());
}

TEST(IntfSet, TheEmptyInterfaceIsAKeyLikeAnyOther) {
  IntfSet set;
  set.memberIs(Plexo::IntfId(), true);
  EXPECT_TRUE(set.member(Plexo::IntfId()));
  EXPECT_FALSE(set.member(p));
}

TEST(IntfSet, ANewEntryIsGivenToTheCaller) {
  IntfSet set;
  const auto entry = set.newMember(p, true);
  EXPECT_EQ(entry->fwkKey(), p);
  EXPECT_TRUE(entry->value());
  EXPECT_EQ(set.memberCollection()[p], entry);
}

TEST(IntfSet, AnEntryIsRemovedThroughTheCollection) {
  IntfSet set = setOf({{p, true}, {q, true}});
  set.memberCollection().deleteMember(set.memberCollection().find(p));
  EXPECT_EQ(membersOf(set), (Members{{"Ethernet2", true}}));
}

TEST(IntfSet, RemovingAllOfNothingDoesNothing) {
  IntfSet set;
  set.memberDelAll();
  EXPECT_EQ(set, IntfSet());
}

TEST(IntfSet, RemovingAllLeavesASetThatEqualsTheEmptyOne) {
  IntfSet set = setOf({{p, true}, {q, false}});
  for (unsigned n = 0; n < 50; ++n) set.memberIs(numbered(n), true);
  set.memberDelAll();
  EXPECT_EQ(set.members(), 0U);
  EXPECT_EQ(set, IntfSet());
  EXPECT_FALSE(set.memberIteratorConst());
}

// ---------------------------------------------------------------------------------------------
// Equality

TEST(IntfSet, TheOrderOfInsertionDoesNotMatter) {
  IntfSet up;
  IntfSet down;
  for (unsigned n = 0; n < 50; ++n) {
    up.memberIs(numbered(n), n % 2 == 0);
    down.memberIs(numbered(49 - n), n % 2 != 0);
  }
  EXPECT_EQ(up, down);
  EXPECT_EQ(orderOf(up), orderOf(down));
}

TEST(IntfSet, OneValueMakesADifference) {
  EXPECT_NE(setOf({{p, true}, {q, true}}), setOf({{p, true}, {q, false}}));
}

TEST(IntfSet, OneKeyMakesADifference) { EXPECT_NE(setOf({{p, true}}), setOf({{q, true}})); }

TEST(IntfSet, TheNumberOfEntriesMakesADifference) {
  EXPECT_NE(setOf({{p, true}}), setOf({{p, true}, {q, true}}));
  EXPECT_NE(setOf({{p, true}, {q, true}}), setOf({{p, true}}));
  EXPECT_NE(setOf({{p, true}}), setOf({{p, true}, {q, false}}));
}

TEST(IntfSet, ASetWithManyBucketsEqualsOneWithFew) {
  IntfSet shrunk = setOf({{p, true}});
  for (unsigned n = 100; n < 200; ++n) shrunk.memberIs(numbered(n), true);
  for (unsigned n = 100; n < 200; ++n) {
    shrunk.memberCollection().deleteMember(shrunk.memberCollection().find(numbered(n)));
  }
  const IntfSet small = setOf({{p, true}});
  ASSERT_NE(shrunk.memberCollection().buckets(), small.memberCollection().buckets());
  EXPECT_EQ(shrunk, small);
  EXPECT_EQ(small, shrunk);
}

TEST(IntfSet, AnyTwoSetsOverFourInterfacesAreEqualExactlyWhenTheirEntriesAre) {
  // Each interface is absent, an entry of false or an entry of true: 3^4 sets.
  std::vector<IntfSet> sets;
  for (unsigned number = 0; number < 81; ++number) {
    IntfSet set;
    for (unsigned n = 0, digits = number; n < 4; ++n, digits /= 3) {
      if (digits % 3 != 0) set.memberIs(numbered(n), digits % 3 == 2);
    }
    sets.push_back(set);
  }
  for (const auto& a : sets) {
    for (const auto& b : sets) {
      ASSERT_EQ(a == b, &a == &b) << testing::PrintToString(membersOf(a)) << " and "
                                  << testing::PrintToString(membersOf(b));
      ASSERT_EQ(a != b, &a != &b);
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Copies

TEST(IntfSet, ACopyEqualsItsSourceAndIteratesInItsOrder) {
  IntfSet source;
  for (unsigned n = 0; n < 50; ++n) source.memberIs(numbered(n), n % 3 == 0);
  const IntfSet copy(source);
  EXPECT_EQ(copy, source);
  EXPECT_EQ(membersOf(copy), membersOf(source));
  EXPECT_EQ(orderOf(copy), orderOf(source));
  EXPECT_EQ(copy.memberCollection().buckets(), source.memberCollection().buckets());
}

TEST(IntfSet, ACopyIsDeep) {
  const IntfSet source = setOf({{p, true}});
  IntfSet copy(source);
  EXPECT_NE(copy.memberCollection()[p], source.memberCollection()[p]);
  copy.memberIs(p, false);
  copy.memberIs(q, true);
  EXPECT_EQ(membersOf(source), (Members{{"Ethernet1", true}}));
}

TEST(IntfSet, AnAssignedSetEqualsItsSourceAndIteratesInItsOrder) {
  IntfSet source;
  for (unsigned n = 0; n < 50; ++n) source.memberIs(numbered(n), true);
  IntfSet target = setOf({{"Vlan1"_intf, true}});
  target = source;
  EXPECT_EQ(target, source);
  EXPECT_EQ(orderOf(target), orderOf(source));
  EXPECT_EQ(target.memberCollection().buckets(), source.memberCollection().buckets());
  target.memberDelAll();
  EXPECT_EQ(source.members(), 50U);
}

TEST(IntfSet, AnAssignedSetHasAsManyBucketsAsItsSource) {
  IntfSet target;
  for (unsigned n = 0; n < 50; ++n) target.memberIs(numbered(n), true);
  const IntfSet source = setOf({{p, true}});
  target = source;
  EXPECT_EQ(membersOf(target), (Members{{"Ethernet1", true}}));
  EXPECT_EQ(target.memberCollection().buckets(), source.memberCollection().buckets());
}

TEST(IntfSet, AssigningASetToItselfDoesNothing) {
  IntfSet set = setOf({{p, true}, {q, false}});
  const auto entry = set.memberCollection()[p];
  const IntfSet& itself = set;
  set = itself;
  EXPECT_EQ(membersOf(set), (Members{{"Ethernet1", true}, {"Ethernet2", false}}));
  EXPECT_EQ(set.memberCollection()[p], entry);
}

// ---------------------------------------------------------------------------------------------
// Text

std::string printed(const IntfSet& set) {
  std::ostringstream stream;
  stream << set;
  return stream.str();
}

TEST(IntfSet, EverySetPrintsAsNone) {
  for (const IntfSet& set : {IntfSet(), setOf({{p, true}}), setOf({{p, false}, {q, true}})}) {
    EXPECT_EQ(valueToStrep(set), Kob::String8("None"));
    EXPECT_EQ(printed(set), "None");
  }
}

/// The report of an attempt to build a set from text.
std::string parsingReport() {
  return literally(program_invocation_short_name) + ": Kob/HashMapGeneric\\.[^:]+:[0-9]+: .+: " +
         literally(
             "Assertion `String(\"This should not be used and doesn't work\") == "
             "String(\"\")' failed.") +
         "\n";
}

TEST(IntfSet, BuildingOneFromAnyTextIsFatal) {
  for (const char* const text : {"", "None", "Ethernet1", "{}"}) {
    const Kob::String8 strep(text);
    EXPECT_FATAL(
        {
          auto position = strep.begin();
          IntfSet(position, strep.end());
        },
        parsingReport())
        << text;
    EXPECT_FATAL(Kob::strepToValue(strep, static_cast<IntfSet*>(nullptr)), parsingReport()) << text;
  }
}

TEST(IntfSet, ASecondNewEntryOfAnInterfaceIsFatal) {
  IntfSet set = setOf({{p, true}});
  EXPECT_FATAL(set.newMember(p, true),
               assertion("Kob/HashMapGeneric.cpp",
                         "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)",
                         "!isMemberOf( key )"));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
