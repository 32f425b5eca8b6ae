// The library against its model: random sequences of events, compared after each of them. And the
// means of that comparison, each shown to find what it is there to find.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "tests/FyrL3Intf/ModelRandom.h"
#include "tests/FyrL3Intf/ModelRun.h"
#include "tests/FyrL3Intf/Sanitized.h"

namespace FyrL3Intf::Tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t eventsPerSequence = 200;
/// A process that dies of one sequence takes with it no more than these.
constexpr std::uint64_t sequencesPerChild = 50;

/// How many sequences are run; the environment can ask for another number.
std::uint64_t sequences() {
  const char* const asked = std::getenv("FYRL3INTF_MODEL_SEQUENCES");
  if (asked != nullptr) return std::stoull(asked);
  return sanitized ? 200 : 2000;
}

/// Traces and deaths cost more than all the rest, and are looked at in some sequences only.
Looking lookingAt(std::uint64_t seed) { return {seed % 4 == 0, seed % 8 == 1}; }

/// Whether a child gets through the sequences of the seeds from `first` on without a difference.
bool getsThrough(std::uint64_t first, std::uint64_t end) {
  const Ended ended = inChild([&] {
    for (std::uint64_t seed = first; seed < end; ++seed) {
      std::cerr << differenceAfter(randomSequence(seed, eventsPerSequence), lookingAt(seed));
    }
  });
  return ended.successful && ended.standardError.empty();
}

/// The failing sequence of this seed, as short as it can be, as a test, and why it fails.
std::string explained(std::uint64_t seed) {
  const auto shortest = shrunk(randomSequence(seed, eventsPerSequence),
                               [](const auto& sequence) { return !failureOf(sequence).empty(); });
  const std::string name = "SequenceOfSeed" + std::to_string(seed);
  return "seed " + std::to_string(seed) + "\n" + failureOf(shortest) + "\n" +
         testCode(name, shortest);
}

TEST(Model, AgreesWithTheLibraryAfterEachEventOfRandomSequences) {
  const std::uint64_t end = sequences();
  for (std::uint64_t first = 0; first < end; first += sequencesPerChild) {
    const std::uint64_t last = std::min(first + sequencesPerChild, end);
    if (getsThrough(first, last)) continue;
    std::uint64_t seed = first;
    while (seed + 1 < last && getsThrough(seed, seed + 1)) ++seed;
    FAIL() << explained(seed);
  }
}

TEST(Model, MeetsInRandomSequencesWhatItIsMeantToMeet) {
  Met met;
  for (std::uint64_t seed = 0; seed < 150; ++seed) {
    ASSERT_EQ(
        differenceAfter(randomSequence(seed, eventsPerSequence), {false, seed % 30 == 1}, &met),
        "");
  }
  for (const char* const death :
       {"! \"!fyrL3IntfTable()-> intfL3IndexIteratorConst().isMemberOf( intfId )\"",
        "! \"!fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )\"",
        "! \"fyrL3IntfTable()->intfL3IndexIteratorConst().isMemberOf( intfId )\"",
        "! \"Plexo::VlanIntfId::isVlanIntfId( intfId )\"",
        "fyrL3IntfTable()->routedPortName( L3Id( newDesiredInternalVlanId.value() ) ) != intfId",
        "fyrL3IntfTable()->routedPortName( oldPlatformId ) == intfId",
        "!fyrL3IntfTable()->routedPortName( newPlatformId )", "intfSet.member( intfId )",
        "desiredInternalVlanIds() == 0", "desiredInternalVlanId( iter->intfId() ) == vlanId",
        "desiredInternalVlanId( iter.key() ) == vlanId",
        "! \"fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->intfL3Indexs()\""}) {
    EXPECT_GT(met.deaths[death], 0) << death;
  }
  EXPECT_GT(met.deathsCarriedOut, 5);
  for (const char* const exception : {"Reinstantiating", "VlanIdOrNone::v", "VlanId::value <"}) {
    EXPECT_GT(met.exceptions[exception], 0) << exception;
  }
  EXPECT_GT(met.consistent, 150 * eventsPerSequence / 2);
}

TEST(Model, RandomSequencesAreFunctionsOfTheirSeed) {
  const auto codeOf = [](std::uint64_t seed) {
    return testCode("Sequence", randomSequence(seed, eventsPerSequence));
  };
  EXPECT_EQ(codeOf(7), codeOf(7));
  EXPECT_NE(codeOf(7), codeOf(8));
  EXPECT_EQ(randomSequence(7, eventsPerSequence).size(), eventsPerSequence);
}

// ---------------------------------------------------------------------------------------------
// What the comparison finds. These events do one thing on the model and another on the library.

#define DIFFERENT(onModel, onLibrary, ...) \
  Event(#onModel, &Model::onModel, &Library::onLibrary, __VA_ARGS__)

const Event started = EVENT(start, true, false, 0, 0);

TEST(Model, FindsNothingWhereThereIsNothingToFind) {
  EXPECT_EQ(failureOf({}), "");
  EXPECT_EQ(failureOf({started, EVENT(port, 0, "Ethernet1", 5, 100)}), "");
}

TEST(Model, TellsADifferenceWithItsEventAndBothStates) {
  EXPECT_EQ(failureOf({started, DIFFERENT(wishEntryIs, wish, "Ethernet1", 100)}),
            "event 1: EVENT(wishEntryIs, \"Ethernet1\", 100)\n"
            "model:   Ethernet1 wishes 100 changes 0 reads 0 pending 0\n"
            "library: Ethernet1->100 100->Ethernet1 Ethernet1 wishes 100 100 wished by Ethernet1 "
            "changes 2 reads 2 pending 0\n"
            "  announced Ethernet1 with 100, reverse entries 1, changes 2\n"
            "  traced 8 doSetDesiredInternalVlanId ConfigSm::doSetDesiredInternalVlanId( 100 )\n"
            "  traced 8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( 100 )\n");
}

TEST(Model, FindsADifferenceInTheTracesWhereTheyAreLookedAt) {
  const std::vector<Event> sequence{started, DIFFERENT(wish, grant, "Ethernet1", 0)};
  EXPECT_EQ(differenceAfter(sequence, {false, false}), "");
  EXPECT_THAT(differenceAfter(sequence, {true, false}),
              HasSubstr("traced 8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( 0 )"));
}

TEST(Model, FindsADifferenceThatOnlyTheSelfCheckMeets) {
  const std::string difference =
      failureOf({EVENT(start, false, false, 0, 0), EVENT(l3Index, 1, "Loopback0", 7),
                 DIFFERENT(portDel, l3IndexDel, 1, "Loopback0"), EVENT(indexDirIs, 1)});
  EXPECT_THAT(difference, StartsWith("event 3: EVENT(verify)\nmodel: dies with\n"));
  EXPECT_THAT(difference, HasSubstr("library: ends otherwise\n"));
}

TEST(Model, FindsAnExceptionThatWasNotForeseen) {
  EXPECT_THAT(failureOf({started, DIFFERENT(wishEntryDel, vlanIntfHandled, "Vlan4095")}),
              HasSubstr("library: changes 0 reads 0 pending 0\n"
                        "  traced 8 handleVlanIntfStatus ConfigSm::handleVlanIntfStatus(Vlan4095)\n"
                        "  thrown VlanIdOrNone::value > 4094 not allowed\n"));
}

TEST(Model, FindsADeathThatWasNotForeseen) {
  EXPECT_THAT(failureOf({started, DIFFERENT(wishEntryDel, l3IndexHandled, "Ethernet1")}),
              StartsWith("the process ended with\nFailed(fyrL3IntfTable()->intfL3IndexIterator"));
}

TEST(Model, FindsADeathWithAnotherReportWhereDeathsAreLookedAt) {
  const std::vector<Event> sequence{started,
                                    DIFFERENT(l3IndexHandled, vlanIntfHandled, "Ethernet1")};
  EXPECT_EQ(differenceAfter(sequence, {false, false}), "");
  const std::string difference = differenceAfter(sequence, {false, true});
  EXPECT_THAT(difference, HasSubstr("model: dies with\nFailed\\("));
  EXPECT_THAT(difference, HasSubstr("library: dies with\nFailed(Plexo::VlanIntfId::isVlanIntfId("));
}

TEST(Model, FindsThatAForeseenDeathDoesNotCome) {
  EXPECT_THAT(differenceAfter({started, DIFFERENT(l3IndexHandled, wishEntryDel, "Ethernet1")}),
              HasSubstr("library: ends otherwise\n"));
}

TEST(Model, LeavesTheLibraryAloneWhereAnEventEndsTheProcess) {
  EXPECT_EQ(failureOf({started, EVENT(l3IndexHandled, "Ethernet1"),
                       EVENT(l3Index, 0, "Ethernet1", 7), EVENT(l3IndexHandled, "Ethernet1")}),
            "");
}

TEST(Model, ShrinksAFailingSequenceToTheEventsThatItTakes) {
  auto sequence = randomSequence(3, eventsPerSequence);
  const Event first = EVENT(wish, "Port-Channel7", 100);
  const Event second = EVENT(wish, "Port-Channel8", 100);
  sequence.insert(sequence.begin() + 120, second);
  sequence.insert(sequence.begin() + 30, first);
  const auto shortest = shrunk(sequence, [&](const std::vector<Event>& candidate) {
    const std::string code = testCode("Candidate", candidate);
    const auto at = code.find(first.code());
    return at != std::string::npos && code.find(second.code(), at) != std::string::npos;
  });
  EXPECT_EQ(testCode("Shortest", shortest), testCode("Shortest", {first, second}));
}

TEST(Model, ShrinksASequenceThatTheLibraryDoesNotSurvive) {
  auto sequence = randomSequence(3, 20);
  sequence.push_back(DIFFERENT(wishEntryDel, l3IndexHandled, "Ethernet9"));
  const auto shortest =
      shrunk(sequence, [](const auto& candidate) { return !failureOf(candidate).empty(); });
  EXPECT_EQ(shortest.size(), 2);
  EXPECT_THAT(shortest[0].code(), StartsWith("EVENT(start, "));
  EXPECT_EQ(shortest[1].code(), "EVENT(wishEntryDel, \"Ethernet9\")");
}

TEST(Model, PrintsASequenceAsATest) {
  EXPECT_EQ(testCode("SequenceOfSeed1", {started, EVENT(l3Index, 0, "Ethernet1", 4294967396),
                                         EVENT(statusDirIs, Model::none), EVENT(run)}),
            "TEST(Model, SequenceOfSeed1) {\n"
            "  EXPECT_EQ(failureOf({\n"
            "                EVENT(start, true, false, 0, 0),\n"
            "                EVENT(l3Index, 0, \"Ethernet1\", 4294967396),\n"
            "                EVENT(statusDirIs, -1),\n"
            "                EVENT(run),\n"
            "            }),\n"
            "            \"\");\n"
            "}\n");
}

// ---------------------------------------------------------------------------------------------
// Each end of the process that takes a story to reach, foreseen and carried out

/// Whether the last event of the sequence ends the process as the model foresees it.
testing::AssertionResult diesAsForeseen(const std::vector<Event>& sequence) {
  Met met;
  const std::string difference = differenceAfter(sequence, {true, true}, &met);
  if (!difference.empty()) return testing::AssertionFailure() << difference;
  if (met.deathsCarriedOut == 0) return testing::AssertionFailure() << "no death was foreseen";
  return testing::AssertionSuccess();
}

TEST(Model, ForeseesTheDeathOfAnL3IndexThatChangesInPlace) {
  EXPECT_TRUE(diesAsForeseen(
      {started, EVENT(l3Index, 0, "Loopback0", 7), EVENT(l3Index, 0, "Loopback0", 8)}));
}

TEST(Model, ForeseesTheDeathOfAnIdentifierThatAnInternalVlanOccupies) {
  EXPECT_TRUE(diesAsForeseen(
      {started, EVENT(port, 0, "Ethernet1", 5, 100), EVENT(l3Index, 0, "Loopback0", 100)}));
}

TEST(Model, ForeseesTheDeathOfAWishForTheVlanThatIsThePortsOwnIdentifier) {
  EXPECT_TRUE(diesAsForeseen(
      {started, EVENT(l3Index, 0, "Ethernet1", 100), EVENT(port, 0, "Ethernet1", 5, 100)}));
}

TEST(Model, ForeseesTheDeathOfADeferredKeyWhenItIsDelivered) {
  EXPECT_TRUE(diesAsForeseen({started, EVENT(deferralIs, true), EVENT(vlanIntf, 0, "Ethernet1"),
                              EVENT(deferralIs, false)}));
}

TEST(Model, ForeseesTheDeathOfANewMachineOnATableThatHoldsItsIndexes) {
  EXPECT_TRUE(diesAsForeseen({started, EVENT(l3Index, 0, "Loopback0", 7), started}));
}

TEST(Model, ForeseesTheDeathOfAMachineThatFindsWishesWhereItNeedsNone) {
  EXPECT_TRUE(diesAsForeseen({EVENT(start, false, false, 0, Model::none),
                              EVENT(wish, "Ethernet1", 100), EVENT(prepareToDie)}));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
