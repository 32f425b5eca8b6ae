// In which order wishes and grants take effect: what whoever hears of the table sees, what is
// traced and counted, and what stands when a step fails.

#include <string>
#include <utility>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/Forged.h"
#include "tests/FyrL3Intf/InternalVlan.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanIdOrNone;
using Plexo::IntfId;

constexpr const char* desiredFunction =
    "void FyrL3Intf::ConfigSm::doSetDesiredInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";
constexpr const char* grantFunction =
    "void FyrL3Intf::ConfigSm::doSetInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";

using InternalVlanOrder = InternalVlanTest;

// ---------------------------------------------------------------------------------------------
// The order of effects

/// Notes down what stands whenever the table announces.
struct Witness {
  explicit Witness(InternalVlanTest& test) : listener(listenerOf(test.world.table)) {
    listener->onKey = [this, &test](IntfId intf) {
      seen.push_back(nameOf(intf) + ": " + test.state());
    };
  }
  Kob::Ptr<TableListener> listener;
  Log seen;
};

TEST_F(InternalVlanOrder, AGrantIsAnnouncedOnceWithTheWishRecordedAndTheReverseEntryThere) {
  Witness witness(*this);
  wish("Ethernet1", 100);
  EXPECT_EQ(witness.seen, (Log{"Ethernet1: Ethernet1->100 100->Ethernet1 changes 2\n"
                               "Ethernet1 wishes 100 100 wished by Ethernet1 machines 0\n"}));
}

TEST_F(InternalVlanOrder, AWithdrawnGrantIsAnnouncedWithTheWishAndBothEntriesGone) {
  wish("Ethernet1", 100);
  Witness witness(*this);
  wish("Ethernet1", noVlan);
  EXPECT_EQ(witness.seen, (Log{"Ethernet1: changes 4\nmachines 0\n"}));
}

TEST_F(InternalVlanOrder, AMoveIsAnnouncedOnceWithTheOldReverseEntryGoneAndTheNewOneThere) {
  wish("Ethernet1", 100);
  Witness witness(*this);
  wish("Ethernet1", 200);
  EXPECT_EQ(witness.seen, (Log{"Ethernet1: Ethernet1->200 200->Ethernet1 changes 5\n"
                               "Ethernet1 wishes 200 200 wished by Ethernet1 machines 0\n"}));
}

TEST_F(InternalVlanOrder, AHandOverComesAfterTheReleasingPortIsSettled) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  Witness witness(*this);
  wish("Ethernet1", 200);
  const std::string wishes =
      "Ethernet1 wishes 200 Ethernet2 wishes 100 100 wished by Ethernet2 "
      "200 wished by Ethernet1 machines 0\n";
  EXPECT_EQ(witness.seen,
            (Log{"Ethernet1: Ethernet1->200 200->Ethernet1 changes 5\n" + wishes,
                 "Ethernet2: Ethernet1->200 Ethernet2->100 100->Ethernet2 200->Ethernet1 "
                 "changes 7\n" +
                     wishes}));
}

TEST_F(InternalVlanOrder, AHandOverAfterAWithdrawalIsTwoAnnouncements) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  Witness witness(*this);
  wish("Ethernet1", noVlan);
  const std::string wishes = "Ethernet2 wishes 100 100 wished by Ethernet2 machines 0\n";
  EXPECT_EQ(witness.seen, (Log{"Ethernet1: changes 4\n" + wishes,
                               "Ethernet2: Ethernet2->100 100->Ethernet2 changes 6\n" + wishes}));
}

TEST_F(InternalVlanOrder, EachStepReadsAndChangesTheTableAsOftenAsItMust) {
  const auto countedOf = [&](const char* intf, std::uint16_t vlan) {
    const Counted counted(table());
    wish(intf, vlan);
    return std::pair(counted.reads(), counted.changes());
  };
  using Counts = std::pair<std::uint32_t, std::uint32_t>;
  // Who owns it, whether it is free; the reverse and the forward entry.
  EXPECT_EQ(countedOf("Ethernet1", 100), Counts(2, 2));
  // Who owns it.
  EXPECT_EQ(countedOf("Ethernet2", 100), Counts(1, 0));
  // Who owns the new one, whether the old one is the port's, whether the new one is free, who owns
  // the old one now, whether it is free; two reverse entries and the forward one, then two more.
  EXPECT_EQ(countedOf("Ethernet1", 200), Counts(5, 5));
  // Who owns the new one; who owns the one that it waited for.
  EXPECT_EQ(countedOf("Ethernet3", 200), Counts(1, 0));
  EXPECT_EQ(countedOf("Ethernet3", 100), Counts(2, 0));
  // Who owns the one that it waited for.
  EXPECT_EQ(countedOf("Ethernet3", noVlan), Counts(1, 0));
  // Whether the old one is the port's, who owns it now; both entries.
  EXPECT_EQ(countedOf("Ethernet1", noVlan), Counts(2, 2));
}

TEST_F(InternalVlanOrder, EachCallIsTracedAtLevel8WithoutItsInterface) {
  Trace trace;
  wish("Ethernet1", 100);
  EXPECT_EQ(trace.taken(),
            (Log{"8 doSetDesiredInternalVlanId ConfigSm::doSetDesiredInternalVlanId( 100 )",
                 "8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( 100 )"}));
  wish("Ethernet2", 100);
  EXPECT_EQ(trace.taken(),
            (Log{"8 doSetDesiredInternalVlanId ConfigSm::doSetDesiredInternalVlanId( 100 )",
                 "8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( 0 )"}));
  wish("Ethernet1", 200);
  EXPECT_EQ(trace.taken(),
            (Log{"8 doSetDesiredInternalVlanId ConfigSm::doSetDesiredInternalVlanId( 200 )",
                 "8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( 200 )",
                 "8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( 100 )"}));
  grant("Ethernet1", 200);
  EXPECT_EQ(trace.taken(), (Log{"8 doSetInternalVlanId ConfigSm::doSetInternalVlanId( 200 )"}));
}

TEST_F(InternalVlanOrder, NothingIsTracedBelowLevel8) {
  Trace trace(7);
  wish("Ethernet1", 100);
  wish("Ethernet1", noVlan);
  EXPECT_EQ(trace.taken(), Log());
}

// ---------------------------------------------------------------------------------------------
// Values that no constructor makes

TEST_F(InternalVlanOrder, AWishOutOfRangeFailsBetweenTheOldWishAndTheNew) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 100);
  const Counted counted(table());
  try {
    wish("Ethernet1", forged<VlanIdOrNone>(4095));
    ADD_FAILURE();
  } catch (const Kob::RangeException& exception) {
    EXPECT_STREQ(exception.what(), "VlanId::value < 1 or > 4094 not allowed");
  }
  EXPECT_EQ(world.wishers(), (Wishers{{100, {{"Ethernet2", true}}}}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}, {"Ethernet2", 100}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
  EXPECT_EQ(world.reverse(), (Reverse{{100, "Ethernet1"}}));
  EXPECT_EQ(counted.changes(), 0);
  EXPECT_EQ(counted.reads(), 0);
}

TEST_F(InternalVlanOrder, AWishOutOfRangeLeavesNoEmptySetBehind) {
  wish("Ethernet1", 100);
  EXPECT_THROW(wish("Ethernet1", forged<VlanIdOrNone>(65535)), Kob::RangeException);
  EXPECT_EQ(world.wishers(), Wishers());
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 100}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
}

TEST_F(InternalVlanOrder, AWishOutOfRangeFromWhoWishedNothingChangesNothing) {
  const auto before = state();
  EXPECT_THROW(wish("Ethernet1", forged<VlanIdOrNone>(4095)), Kob::RangeException);
  EXPECT_EQ(state(), before);
}

TEST_F(InternalVlanOrder, AnOldWishOutOfRangeFailsBeforeAnyChange) {
  world.machine->desiredInternalVlanIdIs(IntfId("Ethernet1"), forged<VlanIdOrNone>(4095));
  const auto before = state();
  for (const std::uint16_t vlan : {std::uint16_t{100}, noVlan}) {
    try {
      wish("Ethernet1", vlan);
      ADD_FAILURE() << vlan;
    } catch (const Kob::RangeException& exception) {
      EXPECT_STREQ(exception.what(), "VlanId::value < 1 or > 4094 not allowed");
    }
    EXPECT_EQ(state(), before);
  }
}

TEST_F(InternalVlanOrder, RepeatingAWishOutOfRangeIsNoError) {
  world.machine->desiredInternalVlanIdIs(IntfId("Ethernet1"), forged<VlanIdOrNone>(4095));
  EXPECT_NO_THROW(wish("Ethernet1", forged<VlanIdOrNone>(4095)));
}

// ---------------------------------------------------------------------------------------------
// Broken invariants

using InternalVlanDeath = InternalVlanTest;

TEST_F(InternalVlanDeath, AHolderWhoseReverseEntryIsAnothersIsFatal) {
  wish("Ethernet1", 100);
  world.table->routedPortNameIs(L3Id(100), IntfId("Ethernet2"));
  EXPECT_FATAL(
      {
        onAbortWrite([&] { return state(); });
        grant("Ethernet1", noVlan);
      },
      machineAssertion(grantFunction,
                       "fyrL3IntfTable()->routedPortName( oldPlatformId ) == intfId") +
          literally(state()));
}

TEST_F(InternalVlanDeath, AHolderWithoutReverseEntryIsFatal) {
  wish("Ethernet1", 100);
  world.table->routedPortNameDel(L3Id(100));
  EXPECT_FATAL(grant("Ethernet1", 200),
               machineAssertion(grantFunction,
                                "fyrL3IntfTable()->routedPortName( oldPlatformId ) == intfId"));
}

TEST_F(InternalVlanDeath, GrantingAVlanThatAnotherHoldsIsFatal) {
  wish("Ethernet1", 100);
  EXPECT_FATAL(
      {
        onAbortWrite([&] { return state(); });
        grant("Ethernet2", 100);
      },
      machineAssertion(grantFunction, "!fyrL3IntfTable()->routedPortName( newPlatformId )") +
          literally(state()));
}

TEST_F(InternalVlanDeath, GrantingTheIdentifierOfAnL3IndexIsFatal) {
  world.l3Index("Loopback0", 100);
  EXPECT_FATAL(
      grant("Ethernet1", 100),
      machineAssertion(grantFunction, "!fyrL3IntfTable()->routedPortName( newPlatformId )"));
}

TEST_F(InternalVlanDeath, AGrantThatDiesHasAlreadyGivenTheOldVlanBack) {
  wish("Ethernet1", 100);
  wish("Ethernet2", 200);
  EXPECT_FATAL(
      {
        onAbortWrite([&] { return textOf(table()); });
        grant("Ethernet2", 100);
      },
      machineAssertion(grantFunction, "!fyrL3IntfTable()->routedPortName( newPlatformId )") +
          literally("Ethernet1->100 Ethernet2->200 100->Ethernet1 changes 5\n"));
}

TEST_F(InternalVlanDeath, AnOldWishWithoutItsMemberIsFatal) {
  wish("Ethernet1", 100);
  world.machine->desiredRoutedPortNameDel(Bridging::VlanId(100));
  for (const std::uint16_t vlan : {std::uint16_t{200}, noVlan}) {
    EXPECT_FATAL(
        {
          onAbortWrite([&] { return state(); });
          wish("Ethernet1", vlan);
        },
        machineAssertion(desiredFunction, "intfSet.member( intfId )") + literally(state()));
  }
}

TEST_F(InternalVlanDeath, AnOldWishWithAFalseMemberIsFatal) {
  wish("Ethernet1", 100);
  ConfigSm::IntfSet set;
  set.memberIs(IntfId("Ethernet1"), false);
  world.machine->desiredRoutedPortNameIs(Bridging::VlanId(100), set);
  EXPECT_FATAL(wish("Ethernet1", noVlan),
               machineAssertion(desiredFunction, "intfSet.member( intfId )"));
}

TEST_F(InternalVlanDeath, TheWishAfterOneThatWasOutOfRangeIsFatal) {
  wish("Ethernet1", 100);
  EXPECT_THROW(wish("Ethernet1", forged<VlanIdOrNone>(4095)), Kob::RangeException);
  EXPECT_FATAL(wish("Ethernet1", 200),
               machineAssertion(desiredFunction, "intfSet.member( intfId )"));
}

TEST_F(InternalVlanDeath, AMemberWithoutAWishIsFatalOnceTheOldWishIsWithdrawn) {
  ConfigSm::IntfSet set;
  set.memberIs(IntfId("Ethernet1"), true);
  wish("Ethernet1", 100);
  world.machine->desiredRoutedPortNameIs(Bridging::VlanId(200), set);
  EXPECT_FATAL(
      {
        onAbortWrite([&] { return state(); });
        wish("Ethernet1", 200);
      },
      machineAssertion(desiredFunction, "!intfSet.member( intfId )") +
          literally("Ethernet1->100 100->Ethernet1 changes 2\n"
                    "Ethernet1 wishes 100 200 wished by Ethernet1 machines 0\n"));
}

TEST_F(InternalVlanDeath, AWishForAVlanThatTheTableAlreadyGivesToThePortIsFatalOnceRecorded) {
  world.l3Index("Ethernet1", 100);
  EXPECT_FATAL(
      {
        onAbortWrite([&] { return state(); });
        wish("Ethernet1", 100);
      },
      machineAssertion(desiredFunction,
                       "fyrL3IntfTable()->routedPortName( L3Id( "
                       "newDesiredInternalVlanId.value() ) ) != intfId") +
          literally("Ethernet1->100 100->Ethernet1 changes 2\n"
                    "Ethernet1 wishes 100 100 wished by Ethernet1 machines 0\n"));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
