// Iterating over the table's collections through its generic interface, also while they change.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/FyrL3Intf/Generic.h"
#include "tests/FyrL3Intf/InternalVlan.h"
#include "tests/FyrL3Intf/Machines.h"
#include "tests/FyrL3Intf/TableFixture.h"

namespace FyrL3Intf::Tests {
namespace {

constexpr Kob::AttributeId routedPortName = 259;
constexpr Kob::AttributeId intfL3Index = 260;

struct TableGenericIterationTest : TableFixture {
  TableGenericIterationTest() { writeThree(); }
  Wrapper wrapper = Kob::generic(table);

  [[nodiscard]] auto iterator() const { return wrapper->attributeIteratorConst(intfL3Index); }
  [[nodiscard]] auto iteratorAt(const Wrapper& key) const {
    return wrapper->attributeIteratorKeyConst(intfL3Index, key);
  }
};

TEST_F(TableGenericIterationTest, VisitsEachEntryInTheOrderOfTheCollection) {
  Log expected;
  for (const auto intf : order()) {
    expected.push_back(nameOf(intf) + " FyrL3Intf::L3Id " +
                       std::to_string(forwardOf(*table)[nameOf(intf)]));
  }
  EXPECT_EQ(entriesOf(iterator()), expected);
  EXPECT_EQ(expected.size(), 3U);
}

TEST_F(TableGenericIterationTest, VisitsTheReverseMap) {
  table->routedPortNameIs(idX, p);
  EXPECT_EQ(entriesOf(wrapper->attributeIteratorConst(routedPortName)),
            Log{"10 Plexo::IntfId Ethernet1"});
}

TEST_F(TableGenericIterationTest, CountsNoReads) {
  const Counted counted(*table);
  EXPECT_EQ(entriesOf(iterator()).size(), 3U);
  EXPECT_EQ(counted.reads(), 0U);
}

TEST_F(TableGenericIterationTest, BeginsAtAKey) {
  const auto names = orderOfNames();
  EXPECT_EQ(keysOf(iteratorAt(boxed(order()[1]))), (Log{names[1], names[2]}));
}

TEST_F(TableGenericIterationTest, BeginsAfterAnAbsentKey) {
  const auto before = order();
  table->intfL3IndexDel(before[1]);
  EXPECT_EQ(keysOf(iteratorAt(boxed(before[1]))), Log{nameOf(before[2])});
}

TEST_F(TableGenericIterationTest, AKeyThatIsMissingOrOfAnotherTypeIsRefused) {
  EXPECT_EQ(outcomeOf([&] { return iteratorAt(nullptr).key(); }), "TypeException kob_index");
  EXPECT_EQ(outcomeOf([&] { return iteratorAt(boxed(idX)).key(); }), "TypeException kob_index");
}

TEST_F(TableGenericIterationTest, WhatIsNoCollectionIsAtItsEndWhateverTheKey) {
  for (const Kob::AttributeId id : {-1, 0, 2, 257, 258, 261, 262, 263}) {
    EXPECT_FALSE(wrapper->attributeIteratorConst(id)) << id;
    EXPECT_FALSE(wrapper->attributeIteratorKeyConst(id, boxed(p))) << id;
    EXPECT_FALSE(wrapper->attributeIteratorKeyConst(id, nullptr)) << id;
  }
}

TEST_F(TableGenericIterationTest, StaysAtTheEnd) {
  auto it = iterator();
  for (int step = 0; step < 5; ++step) ++it;
  EXPECT_FALSE(it);
  Kob::GenericIf::AttributeIteratorConst nowhere;
  EXPECT_FALSE(++nowhere);
}

TEST_F(TableGenericIterationTest, ReadingAtTheEndIsFatal) {
  auto it = iteratorAt(boxed(order()[2]));
  ++it;
  EXPECT_FATAL(static_cast<void>(it.key()), nullDereference);
  EXPECT_FATAL(static_cast<void>(it.value()), nullDereference);
  const Kob::GenericIf::AttributeIteratorConst nowhere;
  EXPECT_FATAL(static_cast<void>(nowhere.key()), ".*Assertion `state_ != nullptr' failed\\.\n");
}

TEST_F(TableGenericIterationTest, ACopyGoesItsOwnWay) {
  auto it = iterator();
  const auto names = orderOfNames();
  auto copy = it;
  ++it;
  EXPECT_EQ(keysOf(copy), names);
  EXPECT_EQ(keysOf(it), (Log{names[1], names[2]}));
  copy = it;
  EXPECT_EQ(keysOf(copy), (Log{names[1], names[2]}));
}

TEST_F(TableGenericIterationTest, GoesOnBehindAnEntryThatIsRemovedUnderIt) {
  const auto names = orderOfNames();
  auto it = iterator();
  table->intfL3IndexDel(order()[0]);
  EXPECT_EQ(stdText(it.key()->strRep()), names[0]);
  ++it;
  EXPECT_EQ(keysOf(it), (Log{names[1], names[2]}));
}

TEST_F(TableGenericIterationTest, RemovingEachEntryOnTheWayVisitsAll) {
  Log visited;
  for (auto it = iterator(); it; ++it) {
    visited.push_back(stdText(it.key()->strRep()));
    static_cast<void>(wrapper->attributeOp({intfL3Index, deleteOp}, it.key(), nullptr));
  }
  EXPECT_EQ(visited.size(), 3U);
  EXPECT_EQ(forwardOf(*table), Forward{});
}

TEST_F(TableGenericIterationTest, SeesAnEntryThatIsOverwrittenAheadOfIt) {
  auto it = iterator();
  table->intfL3IndexIs(order()[1], L3Id(77));
  ++it;
  EXPECT_EQ(answerText(it.value().get()), "FyrL3Intf::L3Id 77");
}

TEST_F(TableGenericIterationTest, KeepsTheTableAlive) {
  auto it = iterator();
  listener->notifierIs(nullptr);
  wrapper = nullptr;
  table = nullptr;
  EXPECT_EQ(keysOf(it).size(), 3U);
}

TEST_F(TableGenericIterationTest, ShowsReadOnlyValues) {
  EXPECT_TRUE(iterator().value()->readOnly());
}

TEST_F(TableGenericIterationTest, ItsStepsCanBeTakenOneByOne) {
  const auto id = intfL3Index;
  auto state = Table::GenericIf_::description().iterate(id, table.get(), nullptr);
  const auto names = orderOfNames();
  const auto clone = wrapper->attributeIterator_iterClone(id, *state);
  wrapper->attributeIterator_iterInc(id, *state);
  EXPECT_EQ(stdText(wrapper->attributeIterator_iterKey(id, *state)->strRep()), names[1]);
  EXPECT_EQ(stdText(wrapper->attributeIterator_iterKey(id, *clone)->strRep()), names[0]);
  EXPECT_FALSE(wrapper->attributeIterator_iterObj(id, *state)->readOnly());
  EXPECT_TRUE(std::as_const(*wrapper).attributeIterator_iterObj(id, *state)->readOnly());
  EXPECT_TRUE(readOnlyOf(table)->attributeIterator_iterObj(id, *state)->readOnly());
  for (int step = 0; step < 2; ++step) wrapper->attributeIterator_iterInc(id, *state);
  EXPECT_FALSE(wrapper->attributeIterator_nonNull(id, *state));
  EXPECT_TRUE(wrapper->attributeIterator_nonNull(id, *clone));
  wrapper->attributeIterator_iterDel(id, std::move(state));
  EXPECT_EQ(state, nullptr);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
