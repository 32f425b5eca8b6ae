// The L3 index directory in the table: what comes and goes, in which order, and what is fatal.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

constexpr const char* function = "void FyrL3Intf::ConfigSm::handleL3Index(Plexo::IntfId)";

class L3IndexTest : public testing::Test {
 protected:
  World world{noInternalVlans};
  const Plexo::IntfId a = "Ethernet1"_intf;
  const Plexo::IntfId b = "Ethernet2"_intf;
};

TEST_F(L3IndexTest, ANewEntryYieldsBothEntriesOfTheTable) {
  world.start();
  world.l3Index("Ethernet1", 5);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}}));
  EXPECT_EQ(world.reverse(), (Reverse{{5, "Ethernet1"}}));
  EXPECT_EQ(world.table->changeCount(), 2U);
}

TEST_F(L3IndexTest, RemovingTheEntryYieldsNeither) {
  world.start();
  world.l3Index("Ethernet1", 5);
  world.l3Index("Ethernet2", 6);
  world.l3IndexDel("Ethernet1");
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet2", 6}}));
  EXPECT_EQ(world.reverse(), (Reverse{{6, "Ethernet2"}}));
  EXPECT_EQ(world.table->changeCount(), 6U);
}

TEST_F(L3IndexTest, AnIndexIsRemovedAndAddedAgainToChangeIt) {
  world.start();
  world.l3Index("Ethernet1", 5);
  world.l3IndexDel("Ethernet1");
  world.l3Index("Ethernet1", 6);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 6}}));
  EXPECT_EQ(world.reverse(), (Reverse{{6, "Ethernet1"}}));
}

TEST_F(L3IndexTest, AReaderThatHearsOfANewInterfaceFindsItsReverseEntry) {
  world.start();
  const auto reader = listenerOf(world.table);
  reader->onKey = [&](Plexo::IntfId intf) {
    EXPECT_EQ(world.table->routedPortName(world.table->intfL3Index(intf)), intf);
    EXPECT_EQ(world.reverse(), (Reverse{{5, "Ethernet1"}}));
  };
  world.l3Index("Ethernet1", 5);
  EXPECT_EQ(reader->heard, (Log{"Ethernet1"}));
}

TEST_F(L3IndexTest, AReaderThatHearsOfARemovedInterfaceFindsNeitherEntry) {
  world.start();
  world.l3Index("Ethernet1", 5);
  const auto reader = listenerOf(world.table);
  reader->onKey = [&](Plexo::IntfId) {
    EXPECT_EQ(world.forward(), Forward{});
    EXPECT_EQ(world.reverse(), Reverse{});
  };
  world.l3IndexDel("Ethernet1");
  EXPECT_EQ(reader->heard, (Log{"Ethernet1"}));
}

TEST_F(L3IndexTest, IdentifiersOfOneLowWordDoNotCollide) {
  world.start();
  world.l3Index("Ethernet1", 0x100000005);
  world.l3Index("Ethernet2", 0x200000005);
  EXPECT_EQ(world.reverse(), (Reverse{{0x100000005, "Ethernet1"}, {0x200000005, "Ethernet2"}}));
  world.l3IndexDel("Ethernet1");
  EXPECT_EQ(world.reverse(), (Reverse{{0x200000005, "Ethernet2"}}));
}

TEST_F(L3IndexTest, TheZeroIdentifierIsCopiedLikeAnyOther) {
  world.start();
  world.l3Index("Ethernet1", 0);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 0}}));
  EXPECT_EQ(world.reverse(), (Reverse{{0, "Ethernet1"}}));
  world.l3IndexDel("Ethernet1");
  EXPECT_EQ(world.forward(), Forward{});
  EXPECT_EQ(world.reverse(), Reverse{});
}

TEST_F(L3IndexTest, AVlanInterfaceGetsTheIdentifierOfTheDirectory) {
  world.start();
  world.l3Index("Vlan10", 0x500000000);
  EXPECT_EQ(world.forward(), (Forward{{"Vlan10", 0x500000000}}));
}

TEST_F(L3IndexTest, EachChangeTracesItsInterfaceAtLevel7) {
  world.start();
  Trace trace;
  world.l3Index("Ethernet1", 5);
  world.l3IndexDel("Ethernet1");
  EXPECT_EQ(trace.taken(), (Log{"7 handleL3Index ConfigSm::handleL3Index(Ethernet1)",
                                "7 handleL3Index ConfigSm::handleL3Index(Ethernet1)"}));
}

TEST_F(L3IndexTest, NothingIsTracedWhileLevel7IsOff) {
  world.start();
  Trace upTo6(6);
  world.l3Index("Ethernet1", 5);
  world.machine->fyrL3IndexDirDel();
  world.machine->handleL3Index();
  EXPECT_EQ(upTo6.taken(), Log{});
}

// ---------------------------------------------------------------------------------------------
// The whole directory

TEST_F(L3IndexTest, ThreeEntriesAndAnEmptyTableYieldThreeEntriesInEachDirection) {
  world.l3Index("Ethernet1", 5);
  world.l3Index("Ethernet2", 6);
  world.l3Index("Ethernet3", 7);
  world.start();
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}, {"Ethernet2", 6}, {"Ethernet3", 7}}));
  EXPECT_EQ(world.reverse(), (Reverse{{5, "Ethernet1"}, {6, "Ethernet2"}, {7, "Ethernet3"}}));
}

TEST_F(L3IndexTest, TheWholeDirectoryIsCopiedInItsIterationOrder) {
  Log expected{"7 handleL3Index ConfigSm::handleL3Index()"};
  for (const char* const intf : {"Ethernet1", "Ethernet2", "Ethernet3", "Vlan7"}) {
    world.l3Index(intf, Plexo::IntfId(intf).hash());
  }
  const Log order = namesOf(world.indexDir->l3IndexIteratorConst());
  for (const auto& intf : order) {
    expected.push_back("7 handleL3Index ConfigSm::handleL3Index(" + intf + ")");
  }
  Trace upTo7(7);
  world.start();
  EXPECT_EQ(upTo7.taken(), expected);
}

TEST_F(L3IndexTest, NoDirectoryTracesThatItIsNullAndChangesNothing) {
  world.indexDir = nullptr;
  Trace trace;
  world.start();
  trace.taken();
  world.machine->handleL3Index();
  EXPECT_EQ(trace.taken(),
            (Log{"7 handleL3Index ConfigSm::handleL3Index()",
                 "7 handleL3Index ConfigSm::handleL3Index() fyrL3IndexDir is NULL. Returning"}));
  EXPECT_EQ(world.table->changeCount(), 0U);
}

TEST_F(L3IndexTest, AReactorWithoutADirectoryIsNoDirectory) {
  world.indexDir = nullptr;
  world.start();
  const auto reactor = world.machine->newFyrL3IndexDir(nullptr);
  Trace trace;
  world.machine->handleL3Index();
  EXPECT_EQ(trace.taken(),
            (Log{"7 handleL3Index ConfigSm::handleL3Index()",
                 "7 handleL3Index ConfigSm::handleL3Index() fyrL3IndexDir is NULL. Returning"}));
}

TEST_F(L3IndexTest, TheWholeDirectoryOnlyAdds) {
  world.start();
  world.l3Index("Ethernet1", 5);
  const auto other = l3IndexDirFactory("other");
  other->l3IndexIs(b, L3Id(6));
  world.machine->fyrL3IndexDirIs(other);
  world.machine->handleL3Index();
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}, {"Ethernet2", 6}}));
}

TEST_F(L3IndexTest, TheWalkGoesOnWhenItsEntryIsRemovedUnderIt) {
  for (const char* const intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    world.l3Index(intf, Plexo::IntfId(intf).hash());
  }
  const Log order = namesOf(world.indexDir->l3IndexIteratorConst());
  const auto reader = listenerOf(world.table);
  reader->onKey = [&](Plexo::IntfId intf) {
    if (nameOf(intf) == order[1] && reader->heard.size() == 2) world.indexDir->l3IndexDel(intf);
  };
  world.start();
  EXPECT_EQ(reader->heard, (Log{order[0], order[1], order[1], order[2]}));
  EXPECT_EQ(world.forward().size(), 2U);
  EXPECT_EQ(world.reverse().size(), 2U);
}

// ---------------------------------------------------------------------------------------------
// Presence decides

TEST_F(L3IndexTest, WithoutADirectoryEveryInterfaceIsAbsent) {
  world.start();
  world.l3Index("Ethernet1", 5);
  world.machine->fyrL3IndexDirDel();
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 5}}));
  world.machine->handleL3Index(a);
  EXPECT_EQ(world.forward(), Forward{});
  EXPECT_EQ(world.reverse(), Reverse{});
}

TEST_F(L3IndexTest, AReactorThatWatchesNothingMakesEveryInterfaceAbsent) {
  world.start();
  world.l3Index("Ethernet1", 5);
  const auto reactor = world.machine->newFyrL3IndexDir(nullptr);
  world.machine->handleL3Index(a);
  EXPECT_EQ(world.forward(), Forward{});
}

TEST_F(L3IndexTest, TheIdentifierThatIsRemovedIsTheOneInTheTable) {
  world.start();
  world.table->routedPortNameIs(L3Id(9), a);
  world.table->intfL3IndexIs(a, L3Id(9));
  world.machine->handleL3Index(a);
  EXPECT_EQ(world.reverse(), Reverse{});
}

// ---------------------------------------------------------------------------------------------
// Contradictions

/// A contradiction ends the process with exactly this report, and before that nothing was changed,
/// counted or announced.
class L3IndexFailure : public L3IndexTest {
 protected:
  /// What the dying process shows.
  void showStateOnAbort() {
    const auto reader = listenerOf(world.table);
    onAbortWrite([this, reader] {
      return textOf(*world.table) + "heard " + std::to_string(reader->heard.size());
    });
  }
  [[nodiscard]] std::string state() const { return literally(textOf(*world.table) + "heard 0"); }
  static std::string report(const std::string& condition, const std::string& detail) {
    return machineFailure(function, condition, detail);
  }
};

TEST_F(L3IndexFailure, AnInterfaceThatIsInNeitherDirectoryNorTable) {
  world.start();
  world.l3Index("Ethernet2", 6);
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.machine->handleL3Index(a);
      },
      report("fyrL3IntfTable()->intfL3IndexIteratorConst().isMemberOf( intfId )",
             " intf Ethernet1 not found in fyrL3IntfTable.") +
          state());
}

TEST_F(L3IndexFailure, AnAbsentInterfaceWithoutATable) {
  world.table = nullptr;
  world.start();
  EXPECT_FATAL(world.machine->handleL3Index(a),
               report("fyrL3IntfTable()->intfL3IndexIteratorConst().isMemberOf( intfId )",
                      " intf Ethernet1 not found in fyrL3IntfTable."));
}

TEST_F(L3IndexFailure, AnIdentifierThatChangesInPlace) {
  world.start();
  world.l3Index("Ethernet1", 5);
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.l3Index("Ethernet1", 6);
      },
      report("!fyrL3IntfTable()-> intfL3IndexIteratorConst().isMemberOf( intfId )",
             " intf Ethernet1 found in platformL3IntfTable.") +
          state());
}

TEST_F(L3IndexFailure, ASecondNotificationOfAnInterfaceWhoseIdentifierStands) {
  world.start();
  world.l3Index("Ethernet1", 5);
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.indexDir->l3IndexNotify(a);
      },
      report("!fyrL3IntfTable()-> intfL3IndexIteratorConst().isMemberOf( intfId )",
             " intf Ethernet1 found in platformL3IntfTable.") +
          state());
}

TEST_F(L3IndexFailure, TheWholeDirectoryASecondTime) {
  world.l3Index("Ethernet1", 5);
  world.start();
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.machine->handleL3Index();
      },
      report("!fyrL3IntfTable()-> intfL3IndexIteratorConst().isMemberOf( intfId )",
             " intf Ethernet1 found in platformL3IntfTable.") +
          state());
}

TEST_F(L3IndexFailure, AnIdentifierThatAnotherInterfaceHas) {
  world.start();
  world.l3Index("Ethernet1", 5);
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.l3Index("Ethernet2", 5);
      },
      report("!fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
             " intf Ethernet2 info not consistent in fyrL3IntfTable") +
          state());
}

TEST_F(L3IndexFailure, AReverseEntryThatIsLeftOverOfTheInterfaceItself) {
  world.start();
  world.table->routedPortNameIs(L3Id(5), a);
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.l3Index("Ethernet1", 5);
      },
      report("!fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
             " intf Ethernet1 info not consistent in fyrL3IntfTable") +
          state());
}

TEST_F(L3IndexFailure, AnInterfaceThatGoesAndWhoseReverseEntryIsMissing) {
  world.start();
  world.l3Index("Ethernet1", 5);
  world.table->routedPortNameDel(L3Id(5));
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.l3IndexDel("Ethernet1");
      },
      report("fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
             " intf Ethernet1 info not consistent in fyrL3IntfTable") +
          state());
}

TEST_F(L3IndexFailure, AnInterfaceThatIsInTheTableIsReportedBeforeItsIdentifier) {
  world.start();
  world.table->routedPortNameIs(L3Id(5), b);
  world.table->intfL3IndexIs(a, L3Id(6));
  EXPECT_FATAL(
      {
        showStateOnAbort();
        world.l3Index("Ethernet1", 5);
      },
      report("!fyrL3IntfTable()-> intfL3IndexIteratorConst().isMemberOf( intfId )",
             " intf Ethernet1 found in platformL3IntfTable.") +
          state());
}

TEST(L3IndexAndInternalVlans, AnIdentifierThatIsAPortsInternalVlanIsFatal) {
  World world(internalVlans);
  world.routedPort("Ethernet1", 100);
  world.start();
  ASSERT_EQ(world.reverse(), (Reverse{{100, "Ethernet1"}}));
  EXPECT_FATAL(
      {
        onAbortWrite([&] { return textOf(*world.table) + textOf(*world.machine); });
        world.l3Index("Ethernet2", 100);
      },
      machineFailure(function, "!fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
                     " intf Ethernet2 info not consistent in fyrL3IntfTable") +
          literally(textOf(*world.table) + textOf(*world.machine)));
}

TEST(L3IndexAndInternalVlans, AnIndexLeavesTheWishesAlone) {
  World world(internalVlans);
  world.start();
  world.l3Index("Ethernet1", 100);
  EXPECT_EQ(world.forward(), (Forward{{"Ethernet1", 100}}));
  EXPECT_EQ(world.wishes(), Wishes{});
  EXPECT_EQ(world.wishers(), Wishers{});
  world.l3IndexDel("Ethernet1");
  EXPECT_EQ(world.forward(), Forward{});
}

}  // namespace
}  // namespace FyrL3Intf::Tests
