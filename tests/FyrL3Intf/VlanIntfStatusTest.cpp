// From the status of a VLAN interface to its wish.

#include <string>
#include <vector>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

using Plexo::IntfId;

constexpr const char* function = "void FyrL3Intf::ConfigSm::handleVlanIntfStatus(Plexo::IntfId)";
const std::string fullTrace = "8 handleVlanIntfStatus ConfigSm::handleVlanIntfStatus()";

std::string keyedStatusTrace(const std::string& intf) {
  return "8 handleVlanIntfStatus ConfigSm::handleVlanIntfStatus(" + intf + ")";
}

using VlanIntfStatus = MachinesTest;

struct VlanIntfStatusNotNeeded : testing::Test {
  VlanIntfStatusNotNeeded() { world.start(); }
  World world{noInternalVlans};
};

// ---------------------------------------------------------------------------------------------
// Internal VLANs not needed

TEST_F(VlanIntfStatusNotNeeded, EachKeyedNotificationIsTracedAsNotProcessedAndChangesNothing) {
  const Log expected{keyedStatusTrace("Vlan10"),
                     "8 handleVlanIntfStatus ConfigSm internalVlan not needed. VlanIntfStatus "
                     "won't be processed for Intf: Vlan10"};
  const auto before = textOf(*world.table) + textOf(*world.machine);
  Trace trace;
  world.vlanIntf("Vlan10");
  EXPECT_EQ(trace.taken(), expected);
  world.vlanIntfDel("Vlan10");
  EXPECT_EQ(trace.taken(), expected);
  EXPECT_EQ(textOf(*world.table) + textOf(*world.machine), before);
  EXPECT_EQ(world.table->readCount(), 0);
}

TEST_F(VlanIntfStatusNotNeeded, TheFullHandlerIsTracedAsNotProcessedOnce) {
  world.vlanIntf("Vlan10");
  world.vlanIntf("Vlan20");
  Trace trace;
  world.machine->handleVlanIntfStatus();
  EXPECT_EQ(trace.taken(), (Log{fullTrace,
                                "8 handleVlanIntfStatus ConfigSm internalVlan not needed. "
                                "VlanIntfStatus won't be processed"}));
  EXPECT_EQ(world.wishes(), Wishes());
}

TEST_F(VlanIntfStatusNotNeeded, AnInterfaceThatIsNoVlanInterfaceIsOnlyTraced) {
  for (const char* intf : {"Ethernet1", "Vlan5000"}) {
    world.vlanIntf(intf);
    world.machine->handleVlanIntfStatus(IntfId(intf));
  }
  EXPECT_EQ(world.wishes(), Wishes());
}

// ---------------------------------------------------------------------------------------------
// Entries that come and go

TEST_F(VlanIntfStatus, AVlanInterfaceThatAppearsWishesForItsVlanAndOneThatGoesForNone) {
  Trace trace;
  world.vlanIntf("Vlan10");
  EXPECT_EQ(trace.taken(), (Log{keyedStatusTrace("Vlan10"), wishTrace(10), grantTrace(10)}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan10", 10}}));
  EXPECT_EQ(world.forward(), (Forward{{"Vlan10", 10}}));
  world.vlanIntfDel("Vlan10");
  EXPECT_EQ(trace.taken(), (Log{keyedStatusTrace("Vlan10"), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(world.wishes(), Wishes());
  EXPECT_EQ(world.forward(), Forward());
}

TEST_F(VlanIntfStatus, AVlanInterfaceWhoseVlanAPortHoldsWaitsForIt) {
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan10");
  EXPECT_EQ(world.wishes(), (Wishes{{"Ethernet1", 10}, {"Vlan10", 10}}));
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}}));
  world.portDel("Ethernet1");
  EXPECT_EQ(world.forward(), (Forward{{"Vlan10", 10}}));
}

TEST_F(VlanIntfStatus, APortWhoseVlanAVlanInterfaceHoldsWaitsForIt) {
  world.vlanIntf("Vlan10");
  world.routedPort("Ethernet1", 10);
  EXPECT_EQ(world.forward(), (Forward{{"Vlan10", 10}}));
  world.vlanIntfDel("Vlan10");
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 10}}));
}

TEST_F(VlanIntfStatus, BothSpellingsAreVlanInterfacesOfTheirOwn) {
  world.vlanIntf("Vlan10");
  world.vlanIntf("vlan10");
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan10", 10}, {"vlan10", 10}}));
  EXPECT_EQ(world.forward(), (Forward{{"Vlan10", 10}}));
}

TEST_F(VlanIntfStatus, TheFirstAndTheLastVlanAreWishedFor) {
  world.vlanIntf("Vlan1");
  world.vlanIntf("Vlan4094");
  EXPECT_EQ(world.forward(), (Forward{{"Vlan1", 1}, {"Vlan4094", 4094}}));
}

TEST_F(VlanIntfStatus, Vlan0WishesForNone) {
  Trace trace;
  world.vlanIntf("Vlan0");
  EXPECT_EQ(trace.taken(), (Log{keyedStatusTrace("Vlan0"), wishTrace(0)}));
  EXPECT_EQ(world.wishes(), Wishes());
}

TEST_F(VlanIntfStatus, ANumberAbove4094ThrowsBeforeAnyChange) {
  const auto before = state();
  for (const char* intf : {"Vlan4095", "Vlan65535"}) {
    Trace trace;
    try {
      machine().handleVlanIntfStatus(IntfId(intf));
      ADD_FAILURE() << intf;
    } catch (const Kob::RangeException& exception) {
      EXPECT_STREQ(exception.what(), "VlanIdOrNone::value > 4094 not allowed");
    }
    EXPECT_EQ(trace.taken(), (Log{keyedStatusTrace(intf)}));
    EXPECT_EQ(state(), before);
  }
}

TEST_F(VlanIntfStatus, ANumberAbove4094DoesNotReachWhoAddsTheEntry) {
  EXPECT_NO_THROW(world.vlanIntf("Vlan4095"));
  EXPECT_EQ(world.wishes(), Wishes());
}

TEST_F(VlanIntfStatus, AKnownVlanInterfaceStatesItsWishAgainWithoutEffect) {
  world.vlanIntf("Vlan10");
  const auto before = state();
  Trace trace;
  machine().handleVlanIntfStatus(IntfId("Vlan10"));
  EXPECT_EQ(trace.taken(), (Log{keyedStatusTrace("Vlan10"), wishTrace(10)}));
  EXPECT_EQ(state(), before);
}

// ---------------------------------------------------------------------------------------------
// The directory

TEST_F(VlanIntfStatus, WithoutADirectoryAKeyedCallIsAWishForNone) {
  world.vlanIntf("Vlan10");
  world.vlanIntf("Vlan20");
  machine().vlanIntfStatusDirIs(nullptr);
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan10", 10}, {"Vlan20", 20}}));
  Trace trace;
  machine().handleVlanIntfStatus(IntfId("Vlan10"));
  EXPECT_EQ(trace.taken(), (Log{keyedStatusTrace("Vlan10"), wishTrace(0), grantTrace(0)}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan20", 20}}));
}

TEST_F(VlanIntfStatus, WithoutADirectoryTheFullHandlerReturnsWithoutAnotherTrace) {
  world.vlanIntf("Vlan10");
  machine().vlanIntfStatusDirDel();
  const auto before = state();
  Trace trace;
  machine().handleVlanIntfStatus();
  EXPECT_EQ(trace.taken(), (Log{fullTrace}));
  EXPECT_EQ(state(), before);
}

TEST_F(VlanIntfStatus, WithADirectoryThatWasNeverThereAKeyedCallIsAWishForNone) {
  World other(internalVlans);
  other.statusDir = nullptr;
  other.start();
  Trace trace;
  other.machine->handleVlanIntfStatus(IntfId("Vlan10"));
  EXPECT_EQ(trace.taken(), (Log{keyedStatusTrace("Vlan10"), wishTrace(0)}));
}

TEST_F(VlanIntfStatus, ANumberAbove4094ThrowsWithoutADirectoryToo) {
  machine().vlanIntfStatusDirDel();
  EXPECT_THROW(machine().handleVlanIntfStatus(IntfId("Vlan4095")), Kob::RangeException);
}

TEST_F(VlanIntfStatus, TheFullHandlerVisitsTheEntriesInIterationOrder) {
  Log expected{fullTrace};
  for (const char* intf : {"Vlan10", "Vlan20", "Vlan30"}) world.vlanIntf(intf);
  for (const auto& intf : namesOf(world.statusDir->intfStatusIteratorConst())) {
    expected.push_back(keyedStatusTrace(intf));
    expected.push_back(wishTrace(static_cast<unsigned>(std::stoul(intf.substr(4)))));
  }
  Trace trace;
  machine().handleVlanIntfStatus();
  EXPECT_EQ(trace.taken(), expected);
}

TEST_F(VlanIntfStatus, TheFullHandlerLeavesWishesOfInterfacesThatVanished) {
  world.vlanIntf("Vlan10");
  world.vlanIntf("Vlan20");
  world.activity->deferralIs(true);
  world.vlanIntfDel("Vlan10");
  world.vlanIntfDel("Vlan20");
  world.activity->deferralIs(false);
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan10", 10}, {"Vlan20", 20}}));
  machine().handleVlanIntfStatus(IntfId("Vlan10"));
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan20", 20}}));
}

TEST_F(VlanIntfStatus, ANewDirectoryIsHandledAsAWholeAndTheOldOnesWishesStay) {
  world.vlanIntf("Vlan10");
  const auto other = Interface::vlanIntfStatusDirFactory("other");
  other->intfStatusIs(IntfId("Vlan20"));
  Trace trace;
  machine().vlanIntfStatusDirIs(other);
  EXPECT_EQ(trace.taken(),
            (Log{fullTrace, keyedStatusTrace("Vlan20"), wishTrace(20), grantTrace(20)}));
  EXPECT_EQ(world.wishes(), (Wishes{{"Vlan10", 10}, {"Vlan20", 20}}));
}

TEST_F(VlanIntfStatus, ADirectoryWithANumberAbove4094ThrowsAndStaysTheInput) {
  const auto other = Interface::vlanIntfStatusDirFactory("other");
  for (const char* intf : {"Vlan10", "Vlan20", "Vlan4095"}) other->intfStatusIs(IntfId(intf));
  EXPECT_THROW(machine().vlanIntfStatusDirIs(other), Kob::RangeException);
  EXPECT_EQ(machine().vlanIntfStatusDir(), other);
  Wishes visited;
  for (const auto& intf : namesOf(other->intfStatusIteratorConst())) {
    if (intf == "Vlan4095") break;
    visited[intf] = static_cast<unsigned>(std::stoul(intf.substr(4)));
  }
  EXPECT_EQ(world.wishes(), visited);
}

TEST_F(VlanIntfStatus, TheConstructorHandlesPortsBeforeVlanInterfaces) {
  World other(internalVlans);
  other.vlanIntf("Vlan10");
  other.routedPort("Ethernet1", 10);
  other.start();
  EXPECT_EQ(other.forward(), (Forward{{"Ethernet1", 10}}));
}

// ---------------------------------------------------------------------------------------------
// What does not belong into the directory

using VlanIntfStatusDeath = MachinesTest;

TEST_F(VlanIntfStatusDeath, AnInterfaceThatIsNoVlanInterfaceIsFatal) {
  for (const char* intf : {"Ethernet1", "Vlan", "VLAN10", "Vlan010", "Internal1"}) {
    EXPECT_FATAL(machine().handleVlanIntfStatus(IntfId(intf)),
                 machineFailure(function, "Plexo::VlanIntfId::isVlanIntfId( intfId )",
                                std::string(" intf: ") + intf));
    EXPECT_FATAL(world.vlanIntf(intf),
                 machineFailure(function, "Plexo::VlanIntfId::isVlanIntfId( intfId )",
                                std::string(" intf: ") + intf));
  }
}

TEST_F(VlanIntfStatusDeath, TheReportHasTwoBlanksBeforeTheInterfaceAndNothingBehindIt) {
  EXPECT_FATAL(machine().handleVlanIntfStatus(IntfId("Ethernet1")),
               "Failed\\(Plexo::VlanIntfId::isVlanIntfId\\( intfId \\)\\)  intf: Ethernet1"
               "[^ ]*: FyrL3Intf/FyrL3IntfSm\\.cpp:[0-9]+: "
               "void FyrL3Intf::ConfigSm::handleVlanIntfStatus\\(Plexo::IntfId\\): Assertion "
               "`! \"Plexo::VlanIntfId::isVlanIntfId\\( intfId \\)\"' failed\\.\n");
}

TEST_F(VlanIntfStatusDeath, TheInterfaceIsLookedAtBeforeTheDirectory) {
  machine().vlanIntfStatusDirDel();
  EXPECT_FATAL(
      machine().handleVlanIntfStatus(IntfId("Ethernet1")),
      machineFailure(function, "Plexo::VlanIntfId::isVlanIntfId( intfId )", " intf: Ethernet1"));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
