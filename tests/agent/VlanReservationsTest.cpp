#include "agent/VlanReservations.h"

#include <gtest/gtest.h>

#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

/// Rules over the range 100-103.
ReservationRules smallRules() {
  ReservationRules rules;
  rules.range = {100, 103};
  return rules;
}

/// "Ethernet0 100" for each reservation.
Texts vlans(const VlanReservations& reservations) {
  Texts texts;
  for (const auto& [id, vlan] : reservations.vlans()) {
    texts.push_back(nameOf(id) + " " + std::to_string(vlan.value()));
  }
  return texts;
}

/// Renews for the configuration that the text describes, which must not contradict itself; the
/// problems of the reservations alone.
Problems renew(VlanReservations& reservations, std::string_view text) {
  const Configured read(text);
  EXPECT_EQ(briefly(read.problems), Texts());
  Problems problems;
  reservations.renew(read.theSwitch, "test.json", problems);
  return problems;
}

TEST(VlanReservations, AreMadeForRoutedPortsAndPortChannelsAlone) {
  VlanReservations reservations(smallRules());
  const auto problems = renew(reservations, R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
      "INTERFACE": {"Ethernet4": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
      "VLAN_INTERFACE": {"Vlan10": {}}, "VLAN_SUB_INTERFACE": {"Ethernet0.1": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet4 100", "PortChannel1 101"}));
  EXPECT_EQ(briefly(problems), Texts());
}

constexpr const char* threePorts =
    R"({"INTERFACE": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet10": {}}})";

TEST(VlanReservations, BeginAtTheEndThatThePolicySays) {
  VlanReservations ascending(smallRules());
  renew(ascending, threePorts);
  EXPECT_EQ(vlans(ascending), (Texts{"Ethernet0 100", "Ethernet4 101", "Ethernet10 102"}));
  ReservationRules rules = smallRules();
  rules.policy = ReservationPolicy::descending;
  VlanReservations descending(rules);
  renew(descending, threePorts);
  EXPECT_EQ(vlans(descending), (Texts{"Ethernet0 103", "Ethernet4 102", "Ethernet10 101"}));
}

TEST(VlanReservations, HaveTheDocumentedDefaults) {
  EXPECT_EQ(textOf(ReservationRules().range), "3968-4094");
  EXPECT_EQ(ReservationRules().policy, ReservationPolicy::ascending);
}

TEST(VlanReservations, LeaveOutWhatTheConfigurationUsesOrNamesInAVlanInterface) {
  VlanReservations reservations(smallRules());
  const auto problems = renew(reservations, R"({"VLAN": {"Vlan100": {}, "Vlan102": {}},
      "VLAN_INTERFACE": {"Vlan102": {}}, "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 101", "Ethernet4 103"}));
  EXPECT_EQ(briefly(problems), Texts());
}

TEST(VlanReservations, ReportEachPortThatFindsTheRangeExhausted) {
  ReservationRules rules;
  rules.range = {100, 100};
  VlanReservations reservations(rules);
  const auto problems = renew(reservations, threePorts);
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 100"}));
  EXPECT_EQ(briefly(problems), (Texts{"rangeExhausted internal VLANs Ethernet4",
                                      "rangeExhausted internal VLANs Ethernet10"}));
  EXPECT_EQ(problems[0].file, "test.json");
  EXPECT_EQ(problems[0].found, "the range 100-100 is exhausted, 2 VLANs are missing");
  EXPECT_EQ(problems[0].done, "the port gets no internal VLAN");
  const auto fewer = renew(reservations, R"({"INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})");
  EXPECT_EQ(fewer.at(0).found, "the range 100-100 is exhausted, 1 VLAN is missing");
}

TEST(VlanReservations, StayWithThePortThatHasThem) {
  VlanReservations reservations(smallRules());
  renew(reservations, threePorts);
  renew(reservations, R"({"INTERFACE": {"Ethernet2": {}, "Ethernet4": {}, "Ethernet10": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet2 100", "Ethernet4 101", "Ethernet10 102"}));
}

TEST(VlanReservations, AreGivenBackByPortsThatGoOrAreNoLongerRouted) {
  VlanReservations reservations(smallRules());
  renew(reservations, threePorts);
  renew(reservations, R"({"PORT": {"Ethernet0": {}, "Ethernet10": {}},
                          "INTERFACE": {"Ethernet10": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet10 102"}));
}

TEST(VlanReservations, ReachPortsThatLackedOneOnceThereIsOneLeft) {
  ReservationRules rules;
  rules.range = {100, 100};
  VlanReservations reservations(rules);
  renew(reservations, threePorts);
  const auto problems = renew(reservations, R"({"INTERFACE": {"Ethernet10": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet10 100"}));
  EXPECT_EQ(briefly(problems), Texts());
}

TEST(VlanReservations, FollowPinsInsideAndOutsideOfTheRange) {
  ReservationRules rules = smallRules();
  rules.pins = {{"Ethernet4"_intf, 100}, {"Ethernet10"_intf, 7}};
  VlanReservations reservations(rules);
  const auto problems = renew(reservations, threePorts);
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 101", "Ethernet4 100", "Ethernet10 7"}));
  EXPECT_EQ(briefly(problems), Texts());
}

TEST(VlanReservations, MayBePinnedToTwoPortsAtOnce) {
  ReservationRules rules = smallRules();
  rules.pins = {{"Ethernet0"_intf, 101}, {"Ethernet4"_intf, 101}};
  VlanReservations reservations(rules);
  const auto problems = renew(reservations, threePorts);
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 101", "Ethernet4 101", "Ethernet10 100"}));
  EXPECT_EQ(briefly(problems), Texts());
}

TEST(VlanReservations, KeepAPinnedVlanForAPortThatIsNotThere) {
  ReservationRules rules = smallRules();
  rules.pins = {{"Ethernet20"_intf, 100}};
  VlanReservations reservations(rules);
  const auto problems = renew(reservations, threePorts);
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 101", "Ethernet4 102", "Ethernet10 103"}));
  EXPECT_EQ(briefly(problems), (Texts{"unknownPin internal VLANs Ethernet20"}));
  EXPECT_EQ(problems[0].found, "VLAN 100 is pinned to it, and it is no port");
  EXPECT_EQ(problems[0].done, "the VLAN is kept for it");
  renew(reservations, R"({"INTERFACE": {"Ethernet20": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet20 100"}));
}

TEST(VlanReservations, RestWhileThePinnedPortIsNotRouted) {
  ReservationRules rules = smallRules();
  rules.pins = {{"Ethernet0"_intf, 100}};
  VlanReservations reservations(rules);
  const auto problems = renew(reservations, R"({"PORT": {"Ethernet0": {}}})");
  EXPECT_EQ(vlans(reservations), Texts());
  EXPECT_EQ(briefly(problems), Texts());
}

TEST(VlanReservations, OutlastAVlanInterfaceThatClaimsThemLater) {
  VlanReservations reservations(smallRules());
  renew(reservations, R"({"INTERFACE": {"Ethernet0": {}}})");
  const auto problems =
      renew(reservations, R"({"INTERFACE": {"Ethernet0": {}}, "VLAN_INTERFACE": {"Vlan100": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 100"}));
  EXPECT_EQ(briefly(problems), (Texts{"usedReservation internal VLANs Vlan100"}));
  EXPECT_EQ(problems[0].found, "VLAN 100 is the internal VLAN of Ethernet0");
  EXPECT_EQ(problems[0].done, "the VLAN interface waits");
}

TEST(VlanReservations, OutlastOtherUsesOfTheVlan) {
  VlanReservations reservations(smallRules());
  renew(reservations, R"({"INTERFACE": {"Ethernet0": {}}})");
  const auto problems =
      renew(reservations, R"({"INTERFACE": {"Ethernet0": {}}, "VLAN": {"Vlan100": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 100"}));
  EXPECT_EQ(briefly(problems), (Texts{"usedReservation internal VLANs Ethernet0"}));
  EXPECT_EQ(problems[0].found, "its internal VLAN 100 is used by the configuration as well");
  EXPECT_EQ(problems[0].done, "the port keeps it");
}

TEST(VlanReservations, ReportAPinOnTheVlanOfAVlanInterface) {
  ReservationRules rules;
  rules.pins = {{"Ethernet0"_intf, 10}};
  VlanReservations reservations(rules);
  const auto problems =
      renew(reservations, R"({"INTERFACE": {"Ethernet0": {}}, "VLAN_INTERFACE": {"Vlan10": {}}})");
  EXPECT_EQ(vlans(reservations), (Texts{"Ethernet0 10"}));
  EXPECT_EQ(briefly(problems), (Texts{"usedReservation internal VLANs Vlan10"}));
  EXPECT_EQ(problems[0].done, "the one that holds it keeps it, the other waits");
}

TEST(VlanReservations, AreClaimedByNoVlanInterfaceWithoutStatusEntry) {
  ReservationRules rules;
  rules.pins = {{"Ethernet0"_intf, 10}};
  VlanReservations reservations(rules);
  const Configured read(R"({"INTERFACE": {"Ethernet0": {}}, "VLAN": {"Blue": {"vlanid": 10}},
                            "VLAN_INTERFACE": {"Blue": {}}})");
  Problems problems;
  reservations.renew(read.theSwitch, "test.json", problems);
  EXPECT_EQ(briefly(problems), (Texts{"usedReservation internal VLANs Ethernet0"}));
  EXPECT_EQ(problems[0].done, "the port keeps it");
}

}  // namespace
}  // namespace Agent
