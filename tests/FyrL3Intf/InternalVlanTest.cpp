// Wishes for internal VLANs, what is granted, and what is handed over.

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Kob/BitReverse.h"
#include "Kob/Exception.h"
#include "tests/FyrL3Intf/InternalVlan.h"
#include "tests/FyrL3Intf/TableListener.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanIdOrNone;
using Plexo::IntfId;

using InternalVlan = InternalVlanTest;

/// The interfaces in the order in which a set of them is walked.
std::vector<std::string> inIterationOrder(std::vector<std::string> names) {
  std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    const IntfId x(a.c_str());
    const IntfId y(b.c_str());
    const auto reversedX = Kob::bitReverse(x.hash());
    const auto reversedY = Kob::bitReverse(y.hash());
    return reversedX != reversedY ? reversedX < reversedY : x < y;
  });
  return names;
}

/// Two interface names that have the same hash, the lesser interface first.
std::pair<std::string, std::string> namesOfOneHash() {
  std::unordered_map<std::uint32_t, unsigned> numbers;
  for (unsigned number = 1;; ++number) {
    const std::string name = "Ethernet" + std::to_string(number);
    const auto [known, isNew] = numbers.try_emplace(Kob::String8(name).hash(), number);
    if (!isNew) return {"Ethernet" + std::to_string(known->second), name};
  }
}

// ---------------------------------------------------------------------------------------------
// Wishes, step by step

TEST_F(InternalVlan, AWishForAFreeVlanIsRecordedAndGranted) {
  wish("Ethernet1", 100);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet1", true}}}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet1"}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(InternalVlan, ALaterWishForTheSameVlanIsRecordedAndGetsNothing) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet1", true}, {"Ethernet2", true}}}}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}, {"Ethernet2", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet1"}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(InternalVlan, WithdrawingTheHoldersWishGrantsTheVlanToWhoWaitsWithinTheCall) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet1", noVlan);
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet2", true}}}}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet2", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet2"}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 100}}));
}

TEST_F(InternalVlan, WithdrawingAWaitingWishChangesOnlyTheCollections) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  const Counted counted(table());
  wish("Ethernet2", noVlan);
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet1", true}}}}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet1"}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
  EXPECT_EQ(counted.changes(), 0);
}

TEST_F(InternalVlan, ARepeatedWishIsTracedAndMakesNotEvenALookUp) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  const auto before = state();
  const Counted counted(table());
  Trace trace;
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  EXPECT_EQ(trace.taken(),
            Log(2, "8 doSetDesiredInternalVlanId ConfigSm::doSetDesiredInternalVlanId( 100 )"));
  EXPECT_EQ(state(), before);
  EXPECT_EQ(counted.reads(), 0);
}

TEST_F(InternalVlan, WithdrawingAWishThatDoesNotExistIsTracedAndMakesNotEvenALookUp) {
  wish("Ethernet1", 100);
  const auto before = state();
  const Counted counted(table());
  Trace trace;
  wish("Ethernet2", noVlan);
  EXPECT_EQ(trace.taken(),
            (Log{"8 doSetDesiredInternalVlanId ConfigSm::doSetDesiredInternalVlanId( 0 )"}));
  EXPECT_EQ(state(), before);
  EXPECT_EQ(counted.reads(), 0);
}

TEST_F(InternalVlan, AWishForVlan0IsNoneAndWithdrawsAnyWish) {
  wish("Ethernet1", 100);
  wish("Ethernet1", VlanIdOrNone(std::uint16_t{0}));
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.wishers(), Wishers());
  EXPECT_EQ(world.reverse(), Reverse());
  EXPECT_EQ(world.forward(), Forward());
}

TEST_F(InternalVlan, TheFirstAndTheLastVlanAreGranted) {
  wish("Ethernet1", 1);
  wish("Ethernet2", 4094);
  EXPECT_EQ(world.reverse(), (Reverse{{1, "Ethernet1"}, {4094, "Ethernet2"}}));
}

TEST_F(InternalVlan, AHolderThatChangesItsWishMovesAndTheFirstWhoWaitsGetsItsOldVlan) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet1", 200);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 200}, {"Ethernet2", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{200, "Ethernet1"}, {100, "Ethernet2"}}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 200}, {"Ethernet2", 100}}));
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet2", true}}}, {200, {{"Ethernet1", true}}}}));
}

TEST_F(InternalVlan, AHolderThatChangesItsWishLeavesItsOldVlanFreeWhenNobodyWaits) {
  wish("Ethernet1", 100);
  wish("Ethernet1", 200);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 200}}));
  EXPECT_EQ(world.reverse(), (Reverse{{200, "Ethernet1"}}));
}

TEST_F(InternalVlan, AHolderThatChangesToAVlanThatIsHeldLosesItsOwnAndWaits) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 200);
  wish("Ethernet3", 100);
  wish("Ethernet1", 200);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 200}, {"Ethernet3", 100}}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 200}, {"Ethernet2", 200}, {"Ethernet3", 100}}));
}

TEST_F(InternalVlan, TheLastWhoLeavesAVlanLeavesNoEmptySet) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet2", noVlan);
  EXPECT_EQ(world.machine->desiredRoutedPortNames(), 1);
  wish("Ethernet1", 200);
  EXPECT_EQ(world.wishers(), (Wishers{{200, {{"Ethernet1", true}}}}));
  wish("Ethernet1", noVlan);
  EXPECT_EQ(world.machine->desiredRoutedPortNames(), 0);
}

TEST_F(InternalVlan, AWishIsRemovedFromTheSetAndNotSetToFalse) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet1", noVlan);
  EXPECT_EQ(world.machine->desiredRoutedPortName(Bridging::VlanId(100)).members(), 1);
}

TEST_F(InternalVlan, AFalseMemberIsToleratedAndOverwritten) {
  ConfigSm::IntfSet set;
  set.memberIs(IntfId("Ethernet1"), false);
  world.machine->desiredRoutedPortNameIs(Bridging::VlanId(100), set);
  wish("Ethernet1", 100);
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet1", true}}}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(InternalVlan, ASetThatSomebodyEmptiedMeanwhileHandsNothingOver) {
  wish("Ethernet1", 100);
  const auto reader = listenerOf(world.table);
  reader->onKey = [&](IntfId) {
    world.machine->desiredRoutedPortNameIs(Bridging::VlanId(100), ConfigSm::IntfSet());
  };
  wish("Ethernet1", noVlan);
  EXPECT_EQ(world.wishers(), (Wishers{{100, {}}}));
  EXPECT_EQ(world.reverse(), Reverse());
  EXPECT_EQ(reader->heard, Log{"Ethernet1"});
}

TEST_F(InternalVlan, TheTableOutlivesTheOperationInWhichAReaderDropsIt) {
  for (const bool withdrawn : {false, true}) {
    World dropped(internalVlans);
    dropped.start();
    if (withdrawn) dropped.machine->doSetInternalVlanId(IntfId("Ethernet1"), 100);
    const auto reader = listenerOf(dropped.table);
    reader->isWeakReferenceIs(true);
    Log log;
    reader->onKey = [&](IntfId) {
      dropped.machine = nullptr;
      dropped.table = nullptr;
      log.push_back("dropped");
    };
    reader->onZero = [&] { log.push_back("zero references"); };
    dropped.machine->doSetInternalVlanId(IntfId("Ethernet1"), withdrawn ? noVlan : 100);
    EXPECT_EQ(log, (Log{"dropped", "zero references"}));
  }
}

// ---------------------------------------------------------------------------------------------
// Who gets the VLAN

TEST_F(InternalVlan, TheFirstToWishForAFreeVlanGetsItHoweverTheyCompare) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet2", 200);
  wish("Ethernet1", 200);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 200}}));
}

TEST_F(InternalVlan, AHolderKeepsItsVlanUntilItsOwnWishChanges) {
  wish("Ethernet3", 100);
  for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet4"}) {
    wish(intf, 100);
    EXPECT_EQ(world.forward(), (Forward{{"Ethernet3", 100}})) << intf;
  }
  for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet4"}) {
    wish(intf, 200);
    EXPECT_EQ(world.forward().at("Ethernet3"), 100) << intf;
  }
}

TEST_F(InternalVlan, TheVlanPassesToTheFirstInIterationOrderNotToWhoWaitedLongest) {
  std::vector<std::string> waiting{"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet10"};
  const auto order = inIterationOrder(waiting);
  std::sort(waiting.begin(), waiting.end());
  do {
    wish("Port-Channel1", 100);
    for (const auto& intf : waiting) wish(intf.c_str(), 100);
    wish("Port-Channel1", noVlan);
    for (const auto& intf : order) {
      EXPECT_EQ(world.forward(), (Forward{{intf, 100}})) << waiting.front() << " waited longest";
      wish(intf.c_str(), noVlan);
    }
    EXPECT_EQ(world.forward(), Forward());
  } while (std::next_permutation(waiting.begin(), waiting.end()));
}

TEST_F(InternalVlan, OfTwoWhoWaitWithTheSameHashTheLesserInterfaceGetsTheVlan) {
  const auto [lesser, greater] = namesOfOneHash();
  ASSERT_EQ(IntfId(lesser.c_str()).hash(), IntfId(greater.c_str()).hash());
  for (const auto& [first, second] : {std::pair(lesser, greater), std::pair(greater, lesser)}) {
    wish("Port-Channel1", 100);
    wish(first.c_str(), 100);
    wish(second.c_str(), 100);
    wish("Port-Channel1", noVlan);
    EXPECT_EQ(world.forward(), (Forward{{lesser, 100}}));
    wish(greater.c_str(), noVlan);
    wish(lesser.c_str(), noVlan);
  }
}

TEST_F(InternalVlan, OnlyOneOfThoseWhoWaitIsGranted) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet3", 100);
  wish("Ethernet1", noVlan);
  EXPECT_EQ(world.forward().size(), 1);
  EXPECT_EQ(world.reverse().size(), 1);
  EXPECT_EQ(world.wishes().size(), 2);
}

TEST_F(InternalVlan, AWaitingPortThatChangesItsWishReleasesNothing) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet3", 100);
  wish("Ethernet2", 200);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}, {"Ethernet2", 200}}));
}

// ---------------------------------------------------------------------------------------------
// L3 indexes in the way

TEST_F(InternalVlan, AWishForTheIdentifierOfAnL3IndexWaits) {
  world.l3Index("Loopback0", 100);
  wish("Ethernet1", 100);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_EQ(world.forward(), (Forward{{"Loopback0", 100}}));
}

TEST_F(InternalVlan, AnL3IndexThatGoesHandsNothingOverUntilSomebodyWithdraws) {
  world.l3Index("Loopback0", 100);
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  world.l3IndexDel("Loopback0");
  EXPECT_EQ(world.forward(), Forward());
  wish("Ethernet2", noVlan);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(InternalVlan, AnL3IndexThatGoesLeavesTheVlanToTheNextWhoWishesForIt) {
  world.l3Index("Loopback0", 100);
  wish("Ethernet1", 100);
  world.l3IndexDel("Loopback0");
  wish("Ethernet2", 100);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 100}}));
}

TEST_F(InternalVlan, WithdrawingAWishForTheIdentifierOfAnL3IndexHandsNothingOver) {
  world.l3Index("Loopback0", 100);
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  wish("Ethernet1", noVlan);
  EXPECT_EQ(world.forward(), (Forward{{"Loopback0", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Loopback0"}}));
}

TEST_F(InternalVlan, AnL3IndexAbove4094InItsLow16BitsStopsTheGrantBeforeAnyChange) {
  for (const std::uint64_t l3Id : {std::uint64_t{4095}, std::uint64_t{0x1FFFF}}) {
    world.l3Index("Ethernet1", l3Id);
    const auto before = state();
    for (const std::uint16_t vlan : {std::uint16_t{100}, noVlan}) {
      try {
        grant("Ethernet1", vlan);
        ADD_FAILURE() << l3Id << ' ' << vlan;
      } catch (const Kob::RangeException& exception) {
        EXPECT_STREQ(exception.what(), "VlanIdOrNone::value > 4094 not allowed");
      }
      EXPECT_EQ(state(), before);
    }
    world.l3IndexDel("Ethernet1");
  }
}

TEST_F(InternalVlan, AWishWhoseGrantFailsStaysRecorded) {
  world.l3Index("Ethernet1", 5000);
  EXPECT_THROW(wish("Ethernet1", 100), Kob::RangeException);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet1", true}}}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5000}}));
  EXPECT_EQ(world.reverse(), (Reverse{{5000, "Ethernet1"}}));
}

TEST_F(InternalVlan, AHandOverThatFailsLeavesTheReleasingPortSettled) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  world.l3Index("Ethernet2", 5000);
  EXPECT_THROW(wish("Ethernet1", 200), Kob::RangeException);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 200}, {"Ethernet2", 100}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 200}, {"Ethernet2", 5000}}));
  EXPECT_EQ(world.reverse(), (Reverse{{200, "Ethernet1"}, {5000, "Ethernet2"}}));
}

TEST_F(InternalVlan, TheIdentifierThatIsReplacedIsTheOneInTheTableWithAllItsBits) {
  constexpr std::uint64_t highBits = std::uint64_t{1} << 32U;
  world.l3Index("Ethernet1", highBits + 100);
  wish("Ethernet2", 100);
  grant("Ethernet1", noVlan);
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet2"}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 100}}));
}

TEST_F(InternalVlan, AnIdentifierWhoseLow16BitsAreTheGrantStandsAsItIs) {
  constexpr std::uint64_t highBits = 0x10000;
  world.l3Index("Ethernet1", highBits + 100);
  const Counted counted(table());
  grant("Ethernet1", 100);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", highBits + 100}}));
  EXPECT_EQ(counted.changes(), 0);
  EXPECT_EQ(counted.reads(), 0);
}

TEST_F(InternalVlan, AnIdentifierWithoutLow16BitsIsNoVlanAndItsReverseEntryStays) {
  world.l3Index("Ethernet1", 0x10000);
  grant("Ethernet1", noVlan);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 0x10000}}));
  grant("Ethernet1", 100);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet1"}, {0x10000, "Ethernet1"}}));
}

// ---------------------------------------------------------------------------------------------
// Grants

TEST_F(InternalVlan, GrantingWhatIsHeldDoesNothing) {
  wish("Ethernet1", 100);
  const auto before = state();
  const Counted counted(table());
  const auto listener = listenerOf(world.table);
  grant("Ethernet1", 100);
  EXPECT_EQ(state(), before);
  EXPECT_EQ(counted.reads(), 0);
  EXPECT_EQ(listener->heard, Log());
}

TEST_F(InternalVlan, GrantingNothingToWhoHoldsNothingDeletesNothing) {
  wish("Ethernet1", 100);
  const auto before = state();
  const Counted counted(table());
  const auto listener = listenerOf(world.table);
  grant("Ethernet2", noVlan);
  EXPECT_EQ(state(), before);
  EXPECT_EQ(counted.reads(), 0);
  EXPECT_EQ(listener->heard, Log());
}

TEST_F(InternalVlan, GrantsLeaveTheWishesAlone) {
  grant("Ethernet1", 100);
  grant("Ethernet1", 200);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 200}}));
  EXPECT_EQ(world.reverse(), (Reverse{{200, "Ethernet1"}}));
  grant("Ethernet1", noVlan);
  EXPECT_EQ(world.forward(), Forward());
  EXPECT_EQ(world.reverse(), Reverse());
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.wishers(), Wishers());
}

// ---------------------------------------------------------------------------------------------
// The two collections of wishes

TEST_F(InternalVlan, BothCollectionsStartEmptyAndAnswerMissesNeutrally) {
  EXPECT_EQ(world.machine->desiredInternalVlanIds(), 0);
  EXPECT_EQ(world.machine->desiredRoutedPortNames(), 0);
  EXPECT_EQ(world.machine->desiredInternalVlanId(IntfId("Ethernet1")), VlanIdOrNone());
  EXPECT_EQ(world.machine->desiredRoutedPortName(Bridging::VlanId(100)), ConfigSm::IntfSet());
}

TEST_F(InternalVlan, AWrittenWishIsInsertedOrOverwrittenAndNoneIsKept) {
  ConfigSm& machine = *world.machine;
  const auto entry = machine.newDesiredInternalVlanId(IntfId("Ethernet1"), 100);
  EXPECT_EQ(entry->value(), VlanIdOrNone(100));
  machine.desiredInternalVlanIdIs(IntfId("Ethernet1"), 200);
  EXPECT_EQ(entry->value(), VlanIdOrNone(200));
  machine.desiredInternalVlanIdIs(IntfId("Ethernet1"), VlanIdOrNone());
  machine.desiredInternalVlanIdIs(IntfId("Ethernet2"), 300);
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 0}, {"Ethernet2", 300}}));
  machine.desiredInternalVlanIdNotify(IntfId("Ethernet1"));
  EXPECT_EQ(machine.desiredInternalVlanIds(), 2);
}

TEST_F(InternalVlan, RemovingAWishReturnsIt) {
  ConfigSm& machine = *world.machine;
  machine.desiredInternalVlanIdIs(IntfId("Ethernet1"), 100);
  EXPECT_EQ(machine.desiredInternalVlanIdDel(IntfId("Ethernet1")), VlanIdOrNone(100));
  EXPECT_EQ(machine.desiredInternalVlanIdDel(IntfId("Ethernet1")), VlanIdOrNone());
}

TEST_F(InternalVlan, WishesAreRemovedThroughAnIteratorOrAllAtOnce) {
  ConfigSm& machine = *world.machine;
  for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    machine.desiredInternalVlanIdIs(IntfId(intf), 100);
  }
  auto it = machine.desiredInternalVlanIdIterator();
  const auto first = nameOf(it.key());
  EXPECT_EQ(machine.desiredInternalVlanIdDel(it), VlanIdOrNone(100));
  EXPECT_FALSE(world.wishes().contains(first));
  EXPECT_EQ(machine.desiredInternalVlanIds(), 2);
  ++it;
  EXPECT_TRUE(world.wishes().contains(nameOf(it.key())));
  machine.desiredInternalVlanIdDelAll();
  EXPECT_EQ(machine.desiredInternalVlanIds(), 0);
}

TEST_F(InternalVlan, SetsOfWishersAreCopiedInAndOut) {
  ConfigSm& machine = *world.machine;
  ConfigSm::IntfSet set;
  set.memberIs(IntfId("Ethernet1"), true);
  const auto entry = machine.newDesiredRoutedPortName(Bridging::VlanId(100), set);
  set.memberIs(IntfId("Ethernet2"), true);
  EXPECT_EQ(membersOf(entry->value()), (Members{{"Ethernet1", true}}));
  machine.desiredRoutedPortNameIs(Bridging::VlanId(100), set);
  EXPECT_EQ(membersOf(entry->value()), (Members{{"Ethernet1", true}, {"Ethernet2", true}}));
  machine.desiredRoutedPortName(Bridging::VlanId(100)).memberDelAll();
  set.memberDelAll();
  EXPECT_EQ(membersOf(entry->value()), (Members{{"Ethernet1", true}, {"Ethernet2", true}}));
  machine.desiredRoutedPortNameNotify(Bridging::VlanId(100));
  EXPECT_EQ(machine.desiredRoutedPortNames(), 1);
}

TEST_F(InternalVlan, SetsOfWishersAreRemovedByVlanThroughAnIteratorOrAllAtOnce) {
  ConfigSm& machine = *world.machine;
  ConfigSm::IntfSet set;
  set.memberIs(IntfId("Ethernet1"), true);
  for (const std::uint16_t vlan : {std::uint16_t{100}, std::uint16_t{101}, std::uint16_t{102}}) {
    machine.desiredRoutedPortNameIs(Bridging::VlanId(vlan), set);
  }
  EXPECT_EQ(machine.desiredRoutedPortNameDel(Bridging::VlanId(100)), set);
  EXPECT_EQ(machine.desiredRoutedPortNameDel(Bridging::VlanId(100)), ConfigSm::IntfSet());
  auto it = machine.desiredRoutedPortNameIterator();
  EXPECT_EQ(machine.desiredRoutedPortNameDel(it), set);
  EXPECT_EQ(machine.desiredRoutedPortNames(), 1);
  machine.desiredRoutedPortNameDelAll();
  EXPECT_EQ(machine.desiredRoutedPortNames(), 0);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
