// The table's look-ups: exact keys, neutral values on a miss, the read counter and the traces.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/Trace.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

class TableLookupTest : public testing::Test {
 protected:
  const Plexo::IntfId known = "Ethernet1"_intf;
  const Plexo::IntfId unknown = "Ethernet2"_intf;
  const L3Id knownId{0x100000005};
  const L3Id unknownId{7};

  Kob::Ptr<Table> table = tableFactory("table", false);

  void SetUp() override {
    table->routedPortNameIs(knownId, known);
    table->intfL3IndexIs(known, knownId);
  }
};

TEST_F(TableLookupTest, AHitGivesWhatIsStored) {
  EXPECT_EQ(table->intfIdToL3Id(known), knownId);
  EXPECT_EQ(table->l3IdToIntfId(knownId), known);
  EXPECT_EQ(table->routedPortName(knownId), known);
  EXPECT_EQ(table->intfL3Index(known), knownId);
}

TEST_F(TableLookupTest, AMissGivesTheZeroIdentifierOrTheEmptyInterface) {
  EXPECT_EQ(table->intfIdToL3Id(unknown), L3Id());
  EXPECT_EQ(table->intfIdToL3Id(Plexo::IntfId()), L3Id());
  EXPECT_FALSE(table->l3IdToIntfId(unknownId));
  EXPECT_FALSE(table->l3IdToIntfId(L3Id()));
  EXPECT_FALSE(table->routedPortName(unknownId));
}

TEST_F(TableLookupTest, AVlanInterfaceWithoutAnEntryGetsNoIdentifierFromItsNumber) {
  EXPECT_EQ(table->intfIdToL3Id("Vlan10"_intf), L3Id());
}

TEST_F(TableLookupTest, AnIdentifierOfWhichOnlyTheLowWordMatchesIsUnknown) {
  EXPECT_FALSE(table->l3IdToIntfId(L3Id(0x200000005)));
  EXPECT_FALSE(table->routedPortName(L3Id(0x000000005)));
}

TEST_F(TableLookupTest, AnIdentifierOfWhichOnlyTheHighWordMatchesIsUnknown) {
  EXPECT_FALSE(table->l3IdToIntfId(L3Id(0x100000006)));
}

TEST_F(TableLookupTest, NeitherMapStandsInForTheOther) {
  table->intfL3IndexIs(unknown, unknownId);
  table->routedPortNameIs(L3Id(8), "Ethernet3"_intf);
  EXPECT_FALSE(table->l3IdToIntfId(unknownId));
  EXPECT_EQ(table->intfIdToL3Id("Ethernet3"_intf), L3Id());
}

TEST_F(TableLookupTest, AStoredZeroIdentifierLooksLikeAMiss) {
  table->intfL3IndexIs(unknown, L3Id());
  EXPECT_EQ(table->intfIdToL3Id(unknown), L3Id());
}

TEST_F(TableLookupTest, EachLookUpCountsOneReadAndNoChange) {
  EXPECT_EQ(table->intfIdToL3Id(known), knownId);
  EXPECT_EQ(table->readCount(), 1U);
  EXPECT_EQ(table->l3IdToIntfId(knownId), known);
  EXPECT_EQ(table->readCount(), 2U);
  EXPECT_EQ(table->routedPortName(knownId), known);
  EXPECT_EQ(table->readCount(), 3U);
  EXPECT_EQ(table->changeCount(), 2U);
}

TEST_F(TableLookupTest, EachMissCountsOneReadAndNoChange) {
  EXPECT_EQ(table->intfIdToL3Id(unknown), L3Id());
  EXPECT_FALSE(table->l3IdToIntfId(unknownId));
  EXPECT_FALSE(table->routedPortName(unknownId));
  EXPECT_EQ(table->readCount(), 3U);
  EXPECT_EQ(table->changeCount(), 2U);
}

TEST_F(TableLookupTest, EachKeyIsFoundAmongMany) {
  for (unsigned n = 1000; n < 2000; ++n) {
    const Plexo::IntfId intf(("Many" + std::to_string(n)).c_str());
    table->intfL3IndexIs(intf, L3Id(n));
    table->routedPortNameIs(L3Id(n), intf);
  }
  for (unsigned n = 1000; n < 2000; ++n) {
    const Plexo::IntfId intf(("Many" + std::to_string(n)).c_str());
    ASSERT_EQ(table->intfIdToL3Id(intf), L3Id(n));
    ASSERT_EQ(table->l3IdToIntfId(L3Id(n)), intf);
  }
}

// ---------------------------------------------------------------------------------------------
// Traces

TEST_F(TableLookupTest, AHitTracesKeyAndResultAtLevel7) {
  Trace trace;
  EXPECT_EQ(table->intfIdToL3Id(known), knownId);
  EXPECT_EQ(table->l3IdToIntfId(knownId), known);
  EXPECT_EQ(trace.taken(), (Log{"7 intfIdToL3Id intfIdToL3Id( Ethernet1 ) is 4294967301",
                                "7 l3IdToIntfId l3IdToIntfId( 4294967301 ) is Ethernet1"}));
}

TEST_F(TableLookupTest, AMissTracesTheZeroIdentifierOrTheEmptyInterface) {
  Trace trace;
  EXPECT_EQ(table->intfIdToL3Id(unknown), L3Id());
  EXPECT_FALSE(table->l3IdToIntfId(unknownId));
  EXPECT_EQ(trace.taken(), (Log{"7 intfIdToL3Id intfIdToL3Id( Ethernet2 ) is 0",
                                "7 l3IdToIntfId l3IdToIntfId( 7 ) is "}));
}

TEST_F(TableLookupTest, TheUntracedLookUpsAndTheWritersTraceNothing) {
  Trace trace;
  EXPECT_EQ(table->routedPortName(knownId), known);
  EXPECT_EQ(table->intfL3Index(known), knownId);
  table->routedPortNameDel(knownId);
  table->intfL3IndexDel(known);
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(TableLookupTest, NothingIsTracedWhileLevel7IsOff) {
  Trace upTo6(6);
  EXPECT_EQ(table->intfIdToL3Id(known), knownId);
  EXPECT_EQ(table->l3IdToIntfId(knownId), known);
  EXPECT_EQ(upTo6.taken(), Log{});
}

TEST_F(TableLookupTest, NothingIsTracedWhileTheFacilityIsOff) {
  Trace trace;
  Trace::facility().onIs(false);
  EXPECT_EQ(table->intfIdToL3Id(known), knownId);
  EXPECT_EQ(table->l3IdToIntfId(knownId), known);
  EXPECT_EQ(trace.taken(), Log{});
}

TEST_F(TableLookupTest, EachTracedLookUpAsksTheFacilityOnce) {
  const auto before = Trace::facility().checks();
  EXPECT_EQ(table->intfIdToL3Id(known), knownId);
  EXPECT_EQ(table->l3IdToIntfId(knownId), known);
  EXPECT_EQ(table->routedPortName(knownId), known);
  EXPECT_EQ(Trace::facility().checks(), before + 2);
}

TEST_F(TableLookupTest, ACoverageStreamGetsTheMessageWithSourceFileAndContext) {
  std::ostringstream coverage;
  Kob::coverageStream_ = &coverage;
  EXPECT_EQ(table->intfIdToL3Id(known), knownId);
  EXPECT_EQ(table->l3IdToIntfId(knownId), known);
  Kob::coverageStream_ = nullptr;
  const auto record = [](const std::string& function, const std::string& message) {
    return "[0-9-]+ [0-9:.]+ " + literally("FyrL3IntfSm 7 " + function + " " + message) +
           " \\[FyrL3Intf/FyrL3IntfTable\\.cpp:[0-9]+ <unknown>\\]\n";
  };
  EXPECT_THAT(
      coverage.str(),
      testing::MatchesRegex(record("intfIdToL3Id", "intfIdToL3Id( Ethernet1 ) is 4294967301") +
                            record("l3IdToIntfId", "l3IdToIntfId( 4294967301 ) is Ethernet1")));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
