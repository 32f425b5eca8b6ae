#include "agent/Story.h"

#include <gtest/gtest.h>

#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

constexpr const char* configuration = R"({
    "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}, "Ethernet16": {}},
    "PORTCHANNEL": {"PortChannel1": {}},
    "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet16": {}},
    "VLAN": {"Vlan007": {"vlanid": 7}, "Vlan3968": {}},
    "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
    "VLAN_SUB_INTERFACE": {"Ethernet12.1": {}},
    "VLAN_INTERFACE": {"Vlan007": {}, "Vlan3968": {}},
    "LOOPBACK_INTERFACE": {"Loopback0": {}, "Loopback0|10.0.0.1/32": {}}})";

Session sessionOf(ReservationRules rules) {
  return {Document("c.json", configuration), {std::move(rules), std::nullopt}};
}

/// Three ports that wish for VLAN 4000.
ReservationRules contested() {
  ReservationRules rules;
  rules.pins = {{"Ethernet0"_intf, 4000}, {"Ethernet4"_intf, 4000}, {"Ethernet8"_intf, 4000}};
  return rules;
}

const std::string sinceLoading =
    "since event 1, loading: Ethernet0 enters the bridging configuration: routed, VLAN 4000.";

TEST(Story, OfAHolderNamesThoseWhoComeAfterIt) {
  const Session session = sessionOf(contested());
  EXPECT_EQ(storyOf("Ethernet0"_intf, session),
            (Story{"Ethernet0 has L3 id 4000: it holds internal VLAN 4000.",
                   "It wishes for it, and holds it, " + sinceLoading,
                   "After it, in the order of hand-over, come: Ethernet4, Ethernet8.",
                   "It loses it only when Ethernet0 is no longer routed."}));
}

TEST(Story, OfOneWhoWaitsTellsItsPlaceAndWhatWouldHaveToChange) {
  const Session session = sessionOf(contested());
  EXPECT_EQ(storyOf("Ethernet8"_intf, session),
            (Story{"Ethernet8 has no L3 id: it waits for internal VLAN 4000.",
                   "It wishes for VLAN 4000 since event 3, loading: Ethernet8 enters the bridging "
                   "configuration: routed, VLAN 4000.",
                   "Ethernet0 holds it " + sinceLoading,
                   "In the order of hand-over Ethernet8 is number 2 of 2: Ethernet4, Ethernet8.",
                   "It gets VLAN 4000 when Ethernet0 is no longer routed, and Ethernet4 is no "
                   "longer routed; or it gets another one, with --internal-vlan Ethernet8=VLAN."}));
}

TEST(Story, OfAnHeirTellsWishAndHandOverApart) {
  Session session = sessionOf(contested());
  session.apply(Document("p.json", R"([{"op": "remove", "path": "/INTERFACE/Ethernet0"}])"));
  const Story story = storyOf("Ethernet4"_intf, session);
  EXPECT_EQ(story.at(1),
            "It wishes for VLAN 4000 since event 2, loading: Ethernet4 enters the bridging "
            "configuration: routed, VLAN 4000.");
  EXPECT_EQ(story.at(2),
            "It holds it since event 7, p.json: Ethernet0 changes in the bridging configuration: "
            "routed, VLAN 4000 becomes access.");
}

TEST(Story, OfAVlanInterfaceThatWaitsHasNoOtherRemedy) {
  ReservationRules rules;
  rules.pins = {{"Ethernet0"_intf, 3968}};
  const Session session = sessionOf(rules);
  EXPECT_EQ(storyOf("Vlan3968"_intf, session).back(),
            "It gets VLAN 3968 when Ethernet0 is no longer routed.");
}

TEST(Story, OfAVlanInterfaceThatHoldsEndsWithIt) {
  const Session session = sessionOf({});
  EXPECT_EQ(storyOf("Vlan3968"_intf, session),
            (Story{"Vlan3968 has L3 id 3968: it holds internal VLAN 3968.",
                   "It wishes for it, and holds it, since event 6, loading: Vlan3968 enters the "
                   "VLAN interface status directory.",
                   "It loses it only when Vlan3968 is removed from the VLAN interfaces."}));
}

TEST(Story, OfAPortWithoutVlanBlamesTheRange) {
  ReservationRules rules;
  rules.range = {4001, 4001};
  const Session session = sessionOf(rules);
  EXPECT_EQ(storyOf("Ethernet4"_intf, session),
            (Story{"Ethernet4 has no L3 id: it wishes for no VLAN.",
                   "Its entry in the bridging configuration has no native VLAN, because the range "
                   "4001-4001 is exhausted.",
                   "To change that, give a wider range (--internal-vlans=LOW-HIGH) or a VLAN for "
                   "it alone (--internal-vlan Ethernet4=VLAN), or free a VLAN of the "
                   "range."}));
}

TEST(Story, OfOthersWithoutWishSaysWhatIsMissing) {
  const Session session = sessionOf({});
  EXPECT_EQ(storyOf("Ethernet12.1"_intf, session),
            (Story{"Ethernet12.1 has no L3 id: sub-interfaces wish for no VLAN.",
                   "To change that, L3 ids have to come from L3 indexes, without "
                   "--internal-vlans."}));
  EXPECT_EQ(storyOf("Vlan007"_intf, session),
            (Story{"Vlan007 has no L3 id: it wishes for no VLAN.",
                   "Its entry in the VLAN interface status directory is missing, because its name "
                   "does not tell its number.",
                   "To change that, name it Vlan7."}));
}

TEST(Story, OfWhatIsNoL3InterfaceSaysWhatItIs) {
  const Session session = sessionOf({});
  EXPECT_EQ(storyOf("Ethernet12"_intf, session),
            (Story{"Ethernet12 has no L3 id: it is a port that is not routed.",
                   "To change that, the configuration has to make it an L3 interface."}));
  EXPECT_EQ(storyOf("Ethernet16"_intf, session),
            (Story{"Ethernet16 has no L3 id: it is a member of PortChannel1, which is the "
                   "interface.",
                   "To change that, the configuration has to take it out of PortChannel1 and make "
                   "it an L3 interface."}));
  EXPECT_EQ(storyOf("Loopback0"_intf, session),
            (Story{"Loopback0 has no L3 id: it is a loopback, which never has one."}));
  EXPECT_EQ(storyOf("Loopback1"_intf, session), Story());
  EXPECT_EQ(storyOf("Ethernet20"_intf, session), Story());
  EXPECT_EQ(storyOf(Plexo::IntfId(), session), Story());
}

TEST(Story, OfL3IndexesTellsOfTheDirectory) {
  L3IdSource source;
  source.l3Indexes = Document("i\n.json", R"({"COUNTERS_RIF_NAME_MAP": {"Ethernet4": "oid:0x7"}})");
  const Session session(Document("c.json", configuration), std::move(source));
  EXPECT_EQ(storyOf("Ethernet4"_intf, session),
            (Story{"Ethernet4 has L3 id 7, its L3 index.",
                   "It has it since event 7, loading: Ethernet4 enters the L3 index directory: "
                   "index 7.",
                   "It loses it when its entry leaves the L3 index directory."}));
  EXPECT_EQ(storyOf("Ethernet0"_intf, session),
            (Story{"Ethernet0 has no L3 id.", "Its entry in the L3 index directory is missing.",
                   "To change that, i\\n.json has to hold an index for it that no other interface "
                   "has."}));
}

TEST(Queue, HoldsAllButTheHolderInTheOrderOfHandOver) {
  Session session = sessionOf(contested());
  const auto queue = queueFor(4000, session.machine());
  ASSERT_EQ(queue.size(), 2U);
  session.apply(Document("p.json", R"([{"op": "remove", "path": "/INTERFACE/Ethernet0"}])"));
  EXPECT_EQ(session.table().l3IdToIntfId(FyrL3Intf::L3Id(4000)), queue[0]);
  EXPECT_EQ(queueFor(4000, session.machine()), (std::vector{queue[1]}));
  EXPECT_EQ(queueFor(4001, session.machine()), std::vector<Plexo::IntfId>());
}

}  // namespace
}  // namespace Agent
