#include "agent/Session.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "agent/SelfCheck.h"
#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

constexpr const char* twoPorts = R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
                                     "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})";

L3IdSource internalVlans(ReservationRules rules = {}) { return {std::move(rules), std::nullopt}; }

/// Both ports pinned to VLAN 4000.
ReservationRules contested() {
  ReservationRules rules;
  rules.pins = {{"Ethernet0"_intf, 4000}, {"Ethernet4"_intf, 4000}};
  return rules;
}

void apply(Session& session, std::string_view patch) { session.apply(Document("p.json", patch)); }

std::uint64_t l3IdOf(const Session& session, Plexo::IntfId id) {
  return session.table().intfIdToL3Id(id).value();
}

TEST(Session, AssignsL3IndexesWhereNothingElseIsAskedFor) {
  const Session session(Document("c.json", twoPorts), {});
  EXPECT_FALSE(session.machine().internalVlanNeeded());
  EXPECT_EQ(l3IdOf(session, "Ethernet0"_intf), 1U);
  EXPECT_EQ(l3IdOf(session, "Ethernet4"_intf), 2U);
}

TEST(Session, TakesL3IndexesFromADocument) {
  L3IdSource source;
  source.l3Indexes = Document("i.json", R"({"COUNTERS_RIF_NAME_MAP": {"Ethernet4": "oid:0x7"}})");
  Session session(Document("c.json", twoPorts), std::move(source));
  EXPECT_EQ(l3IdOf(session, "Ethernet0"_intf), 0U);
  EXPECT_EQ(l3IdOf(session, "Ethernet4"_intf), 7U);
  apply(session, R"([{"op": "remove", "path": "/INTERFACE/Ethernet4"}])");
  EXPECT_EQ(l3IdOf(session, "Ethernet4"_intf), 0U);
  EXPECT_EQ(briefly(session.problems()),
            (Texts{"unknownInterface COUNTERS_RIF_NAME_MAP Ethernet4"}));
}

TEST(Session, ReservesInternalVlans) {
  const Session session(Document("c.json", twoPorts), internalVlans());
  EXPECT_TRUE(session.machine().internalVlanNeeded());
  EXPECT_EQ(l3IdOf(session, "Ethernet0"_intf), 3968U);
  EXPECT_EQ(l3IdOf(session, "Ethernet4"_intf), 3969U);
}

TEST(Session, HandsAContestedVlanOver) {
  Session session(Document("c.json", twoPorts), internalVlans(contested()));
  EXPECT_EQ(l3IdOf(session, "Ethernet0"_intf), 4000U);
  EXPECT_EQ(l3IdOf(session, "Ethernet4"_intf), 0U);
  Texts heard;
  session.watch([&](const TableChange& change) { heard.push_back(textOf(change)); });
  apply(session, R"([{"op": "remove", "path": "/INTERFACE/Ethernet0"}])");
  EXPECT_EQ(heard,
            (Texts{"- Ethernet0: 4000 -> - (event 3, p.json: Ethernet0 changes in the bridging "
                   "configuration: routed, VLAN 4000 becomes access)",
                   "+ Ethernet4: - -> 4000 (event 3, p.json: Ethernet0 changes in the bridging "
                   "configuration: routed, VLAN 4000 becomes access)"}));
  EXPECT_EQ(l3IdOf(session, "Ethernet4"_intf), 4000U);
  EXPECT_TRUE(selfCheck(session.machine()).isConsistent);
}

TEST(Session, LetsAVlanInterfaceWaitThatClaimsAReservedVlan) {
  Session session(Document("c.json", twoPorts), internalVlans());
  apply(session, R"([{"op": "add", "path": "/VLAN_INTERFACE", "value": {"Vlan3968": {}}}])");
  EXPECT_EQ(l3IdOf(session, "Ethernet0"_intf), 3968U);
  EXPECT_EQ(l3IdOf(session, "Vlan3968"_intf), 0U);
  EXPECT_EQ(session.machine().desiredInternalVlanId("Vlan3968"_intf).value(), 3968U);
  EXPECT_EQ(briefly(session.problems()), (Texts{"usedReservation internal VLANs Vlan3968"}));
  EXPECT_TRUE(selfCheck(session.machine()).isConsistent);
}

TEST(Session, LetsPortsKeepTheirVlanWhenOthersComeAndGo) {
  Session session(Document("c.json", twoPorts), internalVlans());
  apply(session, R"([{"op": "remove", "path": "/INTERFACE/Ethernet0"},
                     {"op": "add", "path": "/INTERFACE/PortChannel1", "value": {}}])");
  EXPECT_EQ(l3IdOf(session, "Ethernet4"_intf), 3969U);
  EXPECT_EQ(l3IdOf(session, "PortChannel1"_intf), 3968U);
}

TEST(Session, AppliesPatchesOntoEachOther) {
  Session session(Document("c.json", twoPorts), {});
  apply(session, R"([{"op": "add", "path": "/VLAN_INTERFACE", "value": {}}])");
  apply(session, R"([{"op": "add", "path": "/VLAN_INTERFACE/Vlan10", "value": {}}])");
  EXPECT_EQ(l3IdOf(session, "Vlan10"_intf), 3U);
  EXPECT_EQ(session.document().name(), "c.json");
  EXPECT_EQ(session.document().root()["VLAN_INTERFACE"],
            nlohmann::json::parse(R"({"Vlan10": {}})"));
}

/// What is refused, and whether that left everything as it was.
class RefusedPatch : public testing::Test {
 protected:
  void expectRefused(std::string_view patch, const std::string& why) {
    const auto document = session_.document().root();
    const auto events = session_.journal().event();
    EXPECT_EQ(refusalOf([&] { apply(session_, patch); }), why);
    EXPECT_EQ(session_.document().root(), document);
    EXPECT_EQ(session_.journal().event(), events);
    EXPECT_EQ(l3Interfaces(session_.theSwitch()), (Texts{"Ethernet0 routed", "Ethernet4 routed"}));
    EXPECT_EQ(l3IdOf(session_, "Ethernet0"_intf), 3968U);
  }

  Session session_{Document("c.json", twoPorts), internalVlans()};
};

TEST_F(RefusedPatch, LeavesEverythingAsItWas) {
  expectRefused(R"([{"op": "remove", "path": "/INTERFACE/Ethernet0"},
                    {"op": "remove", "path": "/INTERFACE/Ethernet8"}])",
                "p.json: operation 2 (remove /INTERFACE/Ethernet8): there is no \"Ethernet8\"");
}

TEST_F(RefusedPatch, MayBeOneWhoseResultIsNoConfiguration) {
  expectRefused(R"([{"op": "replace", "path": "/INTERFACE", "value": []}])",
                "p.json: the configuration would be unusable: c.json: table INTERFACE is an array; "
                "write it as an object of rows, each under its key");
}

TEST(Session, RefusesAPatchWhoseL3IndexesWouldMerge) {
  Session session(Document("c.json", twoPorts), {});
  session.deferralIs(true);
  EXPECT_EQ(refusalOf([&] { apply(session, R"([{"op": "remove", "path": "/INTERFACE"}])"); }),
            "p.json: deferral is on, and 2 changes of L3 indexes would wait; they would merge, and "
            "the merged change would be dropped; run, or switch deferral off, before");
  EXPECT_EQ(l3Interfaces(session.theSwitch()), (Texts{"Ethernet0 routed", "Ethernet4 routed"}));
  apply(session, R"([{"op": "remove", "path": "/INTERFACE/Ethernet4"}])");
  EXPECT_EQ(session.table().intfL3Indexs(), 2U);
  session.run();
  EXPECT_EQ(session.table().intfL3Indexs(), 1U);
}

TEST(Session, PassesOnWhatTheSinkThrows) {
  Session session(Document("c.json", twoPorts), internalVlans());
  session.watch([](const TableChange&) { throw std::runtime_error("full"); });
  EXPECT_THROW(apply(session, R"([{"op": "remove", "path": "/INTERFACE"}])"), std::runtime_error);
  EXPECT_EQ(session.table().intfL3Indexs(), 0U);
}

TEST(Session, MakesAnEventOfAChangeByHand) {
  Session session(Document("c.json", R"({"VLAN_INTERFACE": {"Vlan10": {}}})"),
                  {ReservationRules(), std::nullopt});
  const Plexo::IntfId vlan10("Vlan10");
  session.change("a hand", [&] { session.machine().doSetDesiredInternalVlanId(vlan10, 20); });
  EXPECT_EQ(textOf(*session.journal().wishSince(vlan10)), "event 2, shell: a hand");
  EXPECT_EQ(textOf(*session.journal().l3IdSince(vlan10)), "event 2, shell: a hand");
}

TEST(Session, PassesOnWhatTheSinkThrowsAtAChangeByHand) {
  Session session(Document("c.json", R"({"VLAN_INTERFACE": {"Vlan10": {}}})"),
                  {ReservationRules(), std::nullopt});
  session.watch([](const TableChange&) { throw std::runtime_error("full"); });
  const auto withdraw = [&session] {
    session.machine().doSetDesiredInternalVlanId("Vlan10", Bridging::VlanIdOrNone());
  };
  EXPECT_THROW(session.change("a hand", withdraw), std::runtime_error);
}

TEST(Session, IsRefusedForWhatIsNoConfiguration) {
  EXPECT_NE(refusalOf([] { Session(Document("c.json", "[]"), {}); }), "");
}

}  // namespace
}  // namespace Agent
