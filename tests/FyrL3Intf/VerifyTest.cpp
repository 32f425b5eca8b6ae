// The self-check: that it passes what is consistent and names the first breach of what is not, in
// the order of its checks, each on a state corrupted for it.

#include <functional>
#include <string>
#include <vector>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/Forged.h"
#include "tests/FyrL3Intf/Machines.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::SwitchportMode;
using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Plexo::IntfId;

constexpr const char* function = "void FyrL3Intf::ConfigSm::doVerify()";

/// The report of a plain check.
std::string plainReport(std::string_view expression) {
  return machineAssertion(function, expression);
}
/// The report of a check that tells what failed first.
std::string fullReport(const std::string& condition, const std::string& detail) {
  return machineFailure(function, condition, detail);
}

/// What the self-check throws; the empty string when it throws nothing.
std::string thrownBy(ConfigSm& machine) {
  try {
    machine.doVerify();
  } catch (const Kob::RangeException& exception) {
    return exception.what();
  }
  return {};
}

ConfigSm::IntfSet setOf(std::initializer_list<const char*> members) {
  ConfigSm::IntfSet set;
  for (const char* intf : members) set.memberIs(IntfId(intf), true);
  return set;
}

// ---------------------------------------------------------------------------------------------
// Internal VLANs needed: what passes

using Verify = MachinesTest;

TEST_F(Verify, EverythingEmptyIsConsistent) { EXPECT_NO_THROW(machine().doVerify()); }

TEST_F(Verify, HoldersAndWaitersAreConsistent) {
  world.routedPort("Ethernet1", 10);
  world.routedPort("Ethernet2", 10);
  world.routedPort("Ethernet3", 30);
  world.port("Ethernet4", SwitchportMode::trunk, VlanId(10));
  world.vlanIntf("Vlan10");
  world.vlanIntf("Vlan20");
  world.vlanIntf("Vlan0");
  EXPECT_NO_THROW(machine().doVerify());
  world.portDel("Ethernet1");
  world.vlanIntfDel("Vlan20");
  EXPECT_NO_THROW(machine().doVerify());
}

TEST_F(Verify, ARoutedPortWhoseNativeVlanIs0DesiresNoneAndIsNotCounted) {
  world.port("Ethernet1", SwitchportMode::routed);
  EXPECT_NO_THROW(machine().doVerify());
}

TEST_F(Verify, AnInternalInterfaceInAnotherModeIsConsistent) {
  world.port("Internal1", SwitchportMode::access, VlanId(10));
  EXPECT_NO_THROW(machine().doVerify());
}

TEST_F(Verify, TheL3IndexDirectoryIsNotNeeded) {
  world.routedPort("Ethernet1", 10);
  machine().fyrL3IndexDirDel();
  EXPECT_NO_THROW(machine().doVerify());
}

TEST_F(Verify, NothingIsChangedAndTheCallIsTracedAtLevel9) {
  world.routedPort("Ethernet1", 10);
  world.routedPort("Ethernet2", 10);
  world.vlanIntf("Vlan20");
  const auto before = state();
  const auto listener = listenerOf(world.table);
  Trace trace;
  machine().doVerify();
  EXPECT_EQ(trace.taken(), (Log{"9 doVerify ConfigSm::doVerify()"}));
  EXPECT_EQ(state(), before);
  EXPECT_EQ(listener->heard, Log());
}

TEST_F(Verify, NothingIsTracedBelowLevel9) {
  Trace trace(8);
  machine().doVerify();
  EXPECT_EQ(trace.taken(), Log());
}

// ---------------------------------------------------------------------------------------------
// Internal VLANs needed: each breach. Ethernet1 holds 10, Ethernet2 waits for it, Vlan20 holds 20.

struct VerifyDeath : MachinesTest {
  VerifyDeath() {
    world.routedPort("Ethernet1", 10);
    world.routedPort("Ethernet2", 10);
    world.vlanIntf("Vlan20");
    machine().doVerify();
  }

  [[nodiscard]] Table& table() const { return *world.table; }
  void wishersAre(std::uint16_t vlan, const ConfigSm::IntfSet& set) const {
    machine().desiredRoutedPortNameIs(VlanId(vlan), set);
  }
  void expectBreach(std::string_view expression) const {
    EXPECT_FATAL(machine().doVerify(), plainReport(expression));
  }
};

constexpr const char* portWish = "desiredInternalVlanId( iter->intfId() ) == vlanId";
constexpr const char* portMember =
    "desiredRoutedPortName( vlanId.value() ).member( iter->intfId() )";
constexpr const char* vlanIntfWish = "desiredInternalVlanId( iter.key() ) == vlanId";
constexpr const char* vlanIntfMember =
    "desiredRoutedPortName( vlanId.value() ).member( iter.key() )";
constexpr const char* memberCount = "internalVlansDesiredByIntfs == intfsDesiringInternalVlans";
constexpr const char* wishCount = "desiredInternalVlanIds() == intfsDesiringInternalVlans";
constexpr const char* forwardWish = "desiredInternalVlanId( iter.key() ) == *iter";
constexpr const char* reverseCount =
    "fyrL3IntfTable()->routedPortNames() == desiredRoutedPortNames()";
constexpr const char* reverseMember =
    "desiredRoutedPortName( Bridging::VlanId( id.value() ) ).member( *iter )";
constexpr const char* bothCounts =
    "fyrL3IntfTable()->intfL3Indexs() == fyrL3IntfTable()->routedPortNames()";
constexpr const char* mirrored = "fyrL3IntfTable()->intfL3Index( *iter ) == iter.key()";

TEST_F(VerifyDeath, APortWithoutItsWish) {
  machine().desiredInternalVlanIdDel(IntfId("Ethernet2"));
  expectBreach(portWish);
}

TEST_F(VerifyDeath, APortWithAnotherWish) {
  machine().desiredInternalVlanIdIs(IntfId("Ethernet2"), 11);
  expectBreach(portWish);
}

TEST_F(VerifyDeath, APortThatIsNotRoutedWithAWish) {
  world.port("Ethernet3", SwitchportMode::trunk, VlanId(30));
  EXPECT_NO_THROW(machine().doVerify());
  machine().doSetDesiredInternalVlanId(IntfId("Ethernet3"), 30);
  expectBreach(portWish);
}

TEST_F(VerifyDeath, ARoutedInternalInterfaceIsExpectedToHaveItsWish) {
  world.routedPort("Internal1", 30);
  expectBreach(portWish);
}

TEST_F(VerifyDeath, ARoutedInternalInterfaceWhoseWishWasMadeForItIsConsistent) {
  world.routedPort("Internal1", 30);
  machine().doSetDesiredInternalVlanId(IntfId("Internal1"), 30);
  EXPECT_NO_THROW(machine().doVerify());
}

TEST_F(VerifyDeath, APortWhoseWishIsOutOfRangeThrows) {
  world.port("Ethernet3", SwitchportMode::trunk);
  machine().switchIntfConfigSm(IntfId("Ethernet3"))->hasNotificationActiveIs(false);
  world.port("Ethernet3", SwitchportMode::routed, forged<VlanId>(4095));
  machine().desiredInternalVlanIdIs(IntfId("Ethernet3"), forged<VlanIdOrNone>(4095));
  EXPECT_EQ(thrownBy(machine()), "VlanId::value < 1 or > 4094 not allowed");
}

TEST_F(VerifyDeath, APortMissingFromItsVlansSet) {
  wishersAre(10, setOf({"Ethernet1"}));
  expectBreach(portMember);
}

TEST_F(VerifyDeath, APortWhoseMemberIsFalse) {
  auto set = setOf({"Ethernet1"});
  set.memberIs(IntfId("Ethernet2"), false);
  wishersAre(10, set);
  expectBreach(portMember);
}

TEST_F(VerifyDeath, AVlanInterfaceWithoutItsWish) {
  machine().desiredInternalVlanIdDel(IntfId("Vlan20"));
  expectBreach(vlanIntfWish);
}

TEST_F(VerifyDeath, AVlanInterfaceWithAnotherWish) {
  machine().doSetDesiredInternalVlanId(IntfId("Vlan20"), 21);
  expectBreach(vlanIntfWish);
}

TEST_F(VerifyDeath, Vlan0WithAWish) {
  world.vlanIntf("Vlan0");
  machine().doSetDesiredInternalVlanId(IntfId("Vlan0"), 21);
  expectBreach(vlanIntfWish);
}

TEST_F(VerifyDeath, AVlanInterfaceWhoseNumberIsOutOfRangeThrows) {
  world.vlanIntf("Vlan4095");
  EXPECT_EQ(thrownBy(machine()), "VlanIdOrNone::value > 4094 not allowed");
}

TEST_F(VerifyDeath, AVlanInterfaceMissingFromItsVlansSet) {
  machine().desiredRoutedPortNameDel(VlanId(20));
  expectBreach(vlanIntfMember);
}

TEST_F(VerifyDeath, AnEmptySetEvenIfEveryCountAgrees) {
  wishersAre(30, {});
  table().routedPortNameIs(L3Id(30), IntfId("Ethernet3"));
  expectBreach("iter->members()");
}

TEST_F(VerifyDeath, AMemberThatNoInputExplains) {
  wishersAre(20, setOf({"Vlan20", "Ethernet3"}));
  expectBreach(memberCount);
}

TEST_F(VerifyDeath, AFalseMemberIsCountedToo) {
  auto set = setOf({"Vlan20"});
  set.memberIs(IntfId("Ethernet3"), false);
  wishersAre(20, set);
  expectBreach(memberCount);
}

TEST_F(VerifyDeath, AWishThatNoInputExplains) {
  machine().desiredInternalVlanIdIs(IntfId("Ethernet3"), 30);
  expectBreach(wishCount);
}

TEST_F(VerifyDeath, AnEntryThatWishesForNoneIsCountedToo) {
  machine().desiredInternalVlanIdIs(IntfId("Ethernet3"), VlanIdOrNone());
  expectBreach(wishCount);
}

TEST_F(VerifyDeath, AZeroIdentifier) {
  table().intfL3IndexIs(IntfId("Ethernet3"), L3Id());
  expectBreach("*iter");
}

TEST_F(VerifyDeath, AnIdentifierThatIsNotWishedFor) {
  table().intfL3IndexIs(IntfId("Ethernet1"), L3Id(20));
  expectBreach(forwardWish);
}

TEST_F(VerifyDeath, AnIdentifierOfAnInterfaceThatWishesForNone) {
  world.l3Index("Loopback0", 7);
  expectBreach(forwardWish);
}

TEST_F(VerifyDeath, AnIdentifierThatIsTheWishInItsLowBitsOnly) {
  for (const std::uint64_t highBits : {std::uint64_t{1} << 16U, std::uint64_t{1} << 32U}) {
    table().intfL3IndexIs(IntfId("Ethernet1"), L3Id(highBits + 10));
    expectBreach(forwardWish);
  }
}

TEST_F(VerifyDeath, AVlanThatIsWishedForAndNotInTheTable) {
  table().routedPortNameDel(L3Id(20));
  expectBreach(reverseCount);
}

TEST_F(VerifyDeath, AVlanInTheTableForWhichNobodyWishes) {
  table().routedPortNameIs(L3Id(30), IntfId("Ethernet3"));
  expectBreach(reverseCount);
}

TEST_F(VerifyDeath, TheOwnerOfAZeroIdentifier) {
  table().routedPortNameDel(L3Id(20));
  table().routedPortNameIs(L3Id(), IntfId("Vlan20"));
  expectBreach("!!id");
}

TEST_F(VerifyDeath, TheOwnerOfAnIdentifierWithoutLow16BitsThrows) {
  for (const std::uint64_t l3Id : {std::uint64_t{1} << 16U, std::uint64_t{1} << 32U}) {
    table().routedPortNameDel(L3Id(20));
    table().routedPortNameIs(L3Id(l3Id), IntfId("Vlan20"));
    EXPECT_EQ(thrownBy(machine()), "VlanId::value < 1 or > 4094 not allowed");
    table().routedPortNameDel(L3Id(l3Id));
  }
}

TEST_F(VerifyDeath, TheOwnerOfAnIdentifierAbove4094Throws) {
  table().routedPortNameDel(L3Id(20));
  table().routedPortNameIs(L3Id(4095), IntfId("Vlan20"));
  EXPECT_EQ(thrownBy(machine()), "VlanId::value < 1 or > 4094 not allowed");
}

TEST_F(VerifyDeath, AnOwnerThatDoesNotWishForItsVlan) {
  table().routedPortNameIs(L3Id(20), IntfId("Ethernet3"));
  expectBreach(reverseMember);
}

TEST_F(VerifyDeath, AnOwnerWithoutAnIdentifier) {
  table().intfL3IndexDel(IntfId("Vlan20"));
  expectBreach(bothCounts);
}

TEST_F(VerifyDeath, AnOwnerThatIsNotTheOneWithTheIdentifier) {
  table().routedPortNameIs(L3Id(10), IntfId("Ethernet2"));
  expectBreach(mirrored);
}

TEST_F(VerifyDeath, AnOwnedIdentifierThatIsTheRightOneInItsLowBitsOnly) {
  for (const std::uint64_t highBits : {std::uint64_t{1} << 16U, std::uint64_t{1} << 32U}) {
    table().routedPortNameDel(L3Id(20));
    table().routedPortNameIs(L3Id(highBits + 20), IntfId("Vlan20"));
    expectBreach(mirrored);
    table().routedPortNameDel(L3Id(highBits + 20));
  }
}

/// Of several breaches the one whose check comes first is reported.
TEST_F(VerifyDeath, TheChecksRunInTheirOrder) {
  struct Breach {
    std::function<void()> corrupts;
    const char* report;
  };
  const std::vector<Breach> lastToFirst{
      {[&] { table().routedPortNameIs(L3Id(10), IntfId("Ethernet2")); }, mirrored},
      {[&] { table().intfL3IndexDel(IntfId("Vlan20")); }, bothCounts},
      {[&] { table().routedPortNameIs(L3Id(20), IntfId("Ethernet3")); }, reverseMember},
      {[&] {
         table().routedPortNameDel(L3Id(20));
         table().routedPortNameIs(L3Id(), IntfId("Vlan20"));
         // Both stand first in iteration order: the zero before any other.
       },
       "!!id"},
      {[&] { table().routedPortNameIs(L3Id(30), IntfId("Ethernet3")); }, reverseCount},
      {[&] { table().intfL3IndexIs(IntfId("Ethernet1"), L3Id(11)); }, forwardWish},
      {[&] { table().intfL3IndexIs(IntfId("Ethernet1"), L3Id()); }, "*iter"},
      {[&] { machine().desiredInternalVlanIdIs(IntfId("Ethernet3"), 30); }, wishCount},
      {[&] { wishersAre(30, setOf({"Ethernet3"})); }, memberCount},
      {[&] { wishersAre(30, {}); }, "iter->members()"},
      {[&] { machine().desiredRoutedPortNameDel(VlanId(20)); }, vlanIntfMember},
      {[&] { machine().desiredInternalVlanIdDel(IntfId("Vlan20")); }, vlanIntfWish},
      {[&] { machine().desiredRoutedPortNameDel(VlanId(10)); }, portMember},
      {[&] {
         machine().desiredInternalVlanIdDel(IntfId("Ethernet1"));
         machine().desiredInternalVlanIdDel(IntfId("Ethernet2"));
       },
       portWish},
  };
  for (const Breach& breach : lastToFirst) {
    breach.corrupts();
    expectBreach(breach.report);
  }
}

TEST_F(VerifyDeath, TheInputsMustBeThere) {
  world.machine->vlanIntfStatusDirDel();
  EXPECT_FATAL(machine().doVerify(), nullDereference);
  world.machine->configDel();
  EXPECT_FATAL(machine().doVerify(), nullDereference);
}

// ---------------------------------------------------------------------------------------------
// Internal VLANs not needed

struct VerifyNotNeeded : testing::Test {
  VerifyNotNeeded() { world.start(); }

  [[nodiscard]] ConfigSm& machine() const { return *world.machine; }
  [[nodiscard]] Table& table() const { return *world.table; }

  World world{noInternalVlans};
};

TEST_F(VerifyNotNeeded, EverythingEmptyIsConsistent) { EXPECT_NO_THROW(machine().doVerify()); }

TEST_F(VerifyNotNeeded, ATableThatMirrorsTheDirectoryIsConsistent) {
  world.l3Index("Ethernet1", 7);
  world.l3Index("Ethernet2", (std::uint64_t{1} << 32U) + 7);
  world.l3Index("Ethernet3", 0);
  world.routedPort("Ethernet1", 10);
  world.vlanIntf("Vlan10");
  EXPECT_NO_THROW(machine().doVerify());
  world.l3IndexDel("Ethernet1");
  EXPECT_NO_THROW(machine().doVerify());
}

TEST_F(VerifyNotNeeded, ConfigurationAndStatusDirectoryAreNotNeeded) {
  world.l3Index("Ethernet1", 7);
  machine().configDel();
  machine().vlanIntfStatusDirDel();
  EXPECT_NO_THROW(machine().doVerify());
}

TEST_F(VerifyNotNeeded, NothingIsChangedAndEachLookUpIsTraced) {
  world.l3Index("Ethernet1", 7);
  world.l3Index("Ethernet2", 8);
  const auto before = textOf(table()) + textOf(machine());
  Log expected{"9 doVerify ConfigSm::doVerify()"};
  for (const auto& intf : namesOf(world.indexDir->l3IndexIteratorConst())) {
    expected.push_back("7 intfIdToL3Id intfIdToL3Id( " + intf + " ) is " +
                       std::to_string(world.forward().at(intf)));
  }
  Trace trace;
  machine().doVerify();
  EXPECT_EQ(trace.taken(), expected);
  EXPECT_EQ(textOf(table()) + textOf(machine()), before);
}

using VerifyNotNeededDeath = VerifyNotNeeded;

TEST_F(VerifyNotNeededDeath, ASingleLeftoverMachineFailsBeforeAnyTableComparison) {
  world.l3Index("Ethernet1", 7);
  table().intfL3IndexDel(IntfId("Ethernet1"));
  machine().newSwitchIntfConfigSm(otherEntry("Internal1", 10));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("switchIntfConfigSms() == 0", " non 0 switchIntfConfigSms detected: 1"));
}

TEST_F(VerifyNotNeededDeath, ThreeLeftoverMachinesAreCounted) {
  for (const char* intf : {"Internal1", "Internal2", "Internal3"}) {
    machine().newSwitchIntfConfigSm(otherEntry(intf, 10));
  }
  EXPECT_FATAL(machine().doVerify(),
               literally("Failed(switchIntfConfigSms() == 0)  non 0 switchIntfConfigSms "
                         "detected: 3") +
                   machineAssertion(function, "! \"switchIntfConfigSms() == 0\""));
}

TEST_F(VerifyNotNeededDeath, LeftoverWishesAreCounted) {
  machine().desiredInternalVlanIdIs(IntfId("Ethernet1"), 10);
  machine().desiredInternalVlanIdIs(IntfId("Ethernet2"), 10);
  EXPECT_FATAL(machine().doVerify(),
               fullReport("desiredInternalVlanIds() == 0", " desiredInternalVlanIds: 2"));
}

TEST_F(VerifyNotNeededDeath, LeftoverSetsOfWishersAreCounted) {
  machine().desiredRoutedPortNameIs(VlanId(10), {});
  EXPECT_FATAL(machine().doVerify(),
               fullReport("desiredRoutedPortNames() == 0", " desiredRoutedPortNames: 1"));
}

TEST_F(VerifyNotNeededDeath, AnIndexThatIsMissingInTheTable) {
  world.activity->deferralIs(true);
  world.l3Index("Ethernet1", 7);
  EXPECT_FATAL(machine().doVerify(),
               fullReport("fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->intfL3Indexs()",
                          " Mnemo entries: 1 table intfL3Index entries: 0"));
}

TEST_F(VerifyNotNeededDeath, AnIdentifierInTheTableThatTheDirectoryDoesNotGive) {
  table().intfL3IndexIs(IntfId("Ethernet1"), L3Id(7));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->intfL3Indexs()",
                          " Mnemo entries: 0 table intfL3Index entries: 1"));
}

TEST_F(VerifyNotNeededDeath, AMissingReverseEntry) {
  world.l3Index("Ethernet1", 7);
  world.l3Index("Ethernet2", 8);
  table().routedPortNameDel(L3Id(7));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->routedPortNames()",
                          " Mnemo entries: 2 table routedPortName entries: 1"));
}

TEST_F(VerifyNotNeededDeath, AnotherIdentifierThanTheDirectorys) {
  world.l3Index("Ethernet1", 7);
  table().intfL3IndexIs(IntfId("Ethernet1"), L3Id(8));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("l3Index->l3Id() == tableId",
                          " Mnemo L3 index for IntfId: Ethernet1 is 7. Table index is 8"));
}

TEST_F(VerifyNotNeededDeath, AnotherIdentifierInItsHighBitsOnly) {
  world.l3Index("Ethernet1", 7);
  table().intfL3IndexIs(IntfId("Ethernet1"), L3Id((std::uint64_t{1} << 32U) + 7));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("l3Index->l3Id() == tableId",
                          " Mnemo L3 index for IntfId: Ethernet1 is 7. Table index is 4294967303"));
}

TEST_F(VerifyNotNeededDeath, AnIdentifierOfAnotherInterface) {
  world.l3Index("Ethernet1", 7);
  table().intfL3IndexDel(IntfId("Ethernet1"));
  table().intfL3IndexIs(IntfId("Ethernet2"), L3Id(7));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("l3Index->l3Id() == tableId",
                          " Mnemo L3 index for IntfId: Ethernet1 is 7. Table index is 0"));
}

TEST_F(VerifyNotNeededDeath, AnotherOwnerThanTheDirectorys) {
  world.l3Index("Ethernet1", 7);
  table().routedPortNameIs(L3Id(7), IntfId("Ethernet2"));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("fyrL3IntfTable()->routedPortName( tableId ) == iter.key()",
                          " IntfId mismatch. Mnemo: Ethernet1 Table: Ethernet2 platformId: 7"));
}

TEST_F(VerifyNotNeededDeath, NoOwnerAtAll) {
  world.l3Index("Ethernet1", 7);
  table().routedPortNameDel(L3Id(7));
  table().routedPortNameIs(L3Id(8), IntfId("Ethernet1"));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("fyrL3IntfTable()->routedPortName( tableId ) == iter.key()",
                          " IntfId mismatch. Mnemo: Ethernet1 Table:  platformId: 7"));
}

TEST_F(VerifyNotNeededDeath, TheFirstIndexInIterationOrderIsReported) {
  for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    world.l3Index(intf, static_cast<std::uint64_t>(intf[8] - '0'));
  }
  const auto order = namesOf(world.indexDir->l3IndexIteratorConst());
  const auto idOf = [&](const std::string& intf) { return L3Id(world.forward().at(intf)); };
  const auto second = idOf(order[1]);
  table().intfL3IndexIs(IntfId(order[2].c_str()), L3Id(9));
  table().routedPortNameIs(second, IntfId("Ethernet4"));
  EXPECT_FATAL(machine().doVerify(),
               fullReport("fyrL3IntfTable()->routedPortName( tableId ) == iter.key()",
                          " IntfId mismatch. Mnemo: " + order[1] +
                              " Table: Ethernet4 platformId: " + std::to_string(second.value())));
}

/// Of several breaches the one whose check comes first is reported.
TEST_F(VerifyNotNeededDeath, TheChecksRunInTheirOrder) {
  struct Breach {
    std::function<void()> corrupts;
    std::string report;
  };
  world.l3Index("Ethernet1", 7);
  const std::vector<Breach> lastToFirst{
      {[&] { table().routedPortNameIs(L3Id(7), IntfId("Ethernet2")); },
       fullReport("fyrL3IntfTable()->routedPortName( tableId ) == iter.key()",
                  " IntfId mismatch. Mnemo: Ethernet1 Table: Ethernet2 platformId: 7")},
      {[&] { table().intfL3IndexIs(IntfId("Ethernet1"), L3Id(8)); },
       fullReport("l3Index->l3Id() == tableId",
                  " Mnemo L3 index for IntfId: Ethernet1 is 7. Table index is 8")},
      {[&] { table().routedPortNameDelAll(); },
       fullReport("fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->routedPortNames()",
                  " Mnemo entries: 1 table routedPortName entries: 0")},
      {[&] { table().intfL3IndexDelAll(); },
       fullReport("fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->intfL3Indexs()",
                  " Mnemo entries: 1 table intfL3Index entries: 0")},
      {[&] { machine().desiredRoutedPortNameIs(VlanId(10), {}); },
       fullReport("desiredRoutedPortNames() == 0", " desiredRoutedPortNames: 1")},
      {[&] { machine().desiredInternalVlanIdIs(IntfId("Ethernet1"), 10); },
       fullReport("desiredInternalVlanIds() == 0", " desiredInternalVlanIds: 1")},
      {[&] { machine().newSwitchIntfConfigSm(otherEntry("Internal1", 10)); },
       fullReport("switchIntfConfigSms() == 0", " non 0 switchIntfConfigSms detected: 1")},
  };
  for (const Breach& breach : lastToFirst) {
    breach.corrupts();
    EXPECT_FATAL(machine().doVerify(), breach.report);
  }
}

TEST_F(VerifyNotNeededDeath, TheDirectoryMustBeThere) {
  machine().fyrL3IndexDirDel();
  EXPECT_FATAL(machine().doVerify(), nullDereference);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
