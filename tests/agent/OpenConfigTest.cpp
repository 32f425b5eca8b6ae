#include "agent/OpenConfig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/agent/Reading.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A document with these interfaces.
Configured withInterfaces(const std::string& list) {
  return Configured(R"({"openconfig-interfaces:interfaces": {"interface": [)" + list + "]}}");
}

const std::string ipv4 =
    R"("openconfig-if-ip:ipv4": {"addresses": {"address": [{"ip": "10.0.0.1"}]}})";
const std::string ipv6 =
    R"("openconfig-if-ip:ipv6": {"addresses": {"address": [{"ip": "fc00::1"}]}})";
const std::string ipv6Enabled = R"("openconfig-if-ip:ipv6": {"config": {"enabled": true}})";

/// An interface with a subinterface 0 that holds this, and with more members.
std::string interface(const std::string& name, const std::string& type,
                      const std::string& subInterface, const std::string& more = "\"x\": 1") {
  return R"({"name": ")" + name + R"(", "config": {"type": "iana-if-type:)" + type +
         R"("}, "subinterfaces": {"subinterface": [{"index": 0, )" + subInterface + "}]}, " + more +
         "}";
}

std::string ethernet(const std::string& name, const std::string& subInterface = "\"y\": 1",
                     const std::string& more = "\"x\": 1") {
  return interface(name, "ethernetCsmacd", subInterface, more);
}

std::string switched(const std::string& settings) {
  return R"("openconfig-if-ethernet:ethernet": {"openconfig-vlan:switched-vlan": {"config": {)" +
         settings + "}}}";
}

TEST(OpenConfig, RoutesInterfacesWithAddressesOrIpv6) {
  const auto read = withInterfaces(
      ethernet("Ethernet10", ipv4) + "," + ethernet("Ethernet2", ipv6) + "," +
      ethernet("Ethernet3", ipv6Enabled) + "," + ethernet("Ethernet4") + "," +
      ethernet("Ethernet5", R"("openconfig-if-ip:ipv4": {"addresses": {"address": []}})") + "," +
      ethernet("Ethernet6", R"("openconfig-if-ip:ipv6": {"config": {"enabled": false}})"));
  EXPECT_THAT(l3Interfaces(read.theSwitch),
              ElementsAre("Ethernet2 routed", "Ethernet3 routed", "Ethernet10 routed"));
  EXPECT_THAT(ports(read.theSwitch),
              ElementsAre("Ethernet2 routed -", "Ethernet3 routed -", "Ethernet4 access -",
                          "Ethernet5 access -", "Ethernet6 access -", "Ethernet10 routed -"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(OpenConfig, TakesWhatIsConfiguredBeforeWhatIsReported) {
  const auto read = withInterfaces(
      ethernet("Ethernet1",
               R"("ipv6": {"config": {"enabled": false}, "state": {"enabled": true}})") +
      "," + ethernet("Ethernet2", R"("ipv6": {"state": {"enabled": true}})") + "," +
      ethernet("Ethernet3", "\"y\": 1",
               R"("ethernet": {"switched-vlan": {"config": {"access-vlan": 10},
                  "state": {"access-vlan": 20, "interface-mode": "TRUNK", "native-vlan": 30}}})"));
  EXPECT_THAT(ports(read.theSwitch),
              ElementsAre("Ethernet1 access -", "Ethernet2 routed -", "Ethernet3 trunk 30"));
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(10, 30));
}

TEST(OpenConfig, AcceptsKeysWithAndWithoutTheirModule) {
  const Configured read(R"({"interfaces": {"interface": [{"name": "Ethernet1",
      "config": {"type": "ethernetCsmacd"}, "subinterfaces": {"subinterface": [{"index": 0,
      "ipv4": {"addresses": {"address": [{"ip": "10.0.0.1"}]}}}]}}]}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Ethernet1 routed"));
}

TEST(OpenConfig, KnowsVlanInterfacesByTypeOrContainer) {
  const auto read = withInterfaces(R"({"name": "Vlan1", "config": {"type": "iana-if-type:l2vlan"}},
      {"name": "Vlan2", "state": {"type": "l3ipvlan"}},
      {"name": "Vlan3", "openconfig-vlan:routed-vlan": {}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Vlan1 vlan", "Vlan2 vlan", "Vlan3 vlan"));
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(1, 2, 3));
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(OpenConfig, NumbersVlanInterfacesByTheirVlanOrTheirName) {
  const auto read = withInterfaces(R"({"name": "Vlan10", "routed-vlan": {"config": {"vlan": 10}}},
      {"name": "Vlan20", "routed-vlan": {"config": {"vlan": "blue"}}},
      {"name": "irb.30", "routed-vlan": {"state": {"vlan": "30"}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch),
              ElementsAre("Vlan10 vlan", "Vlan20 vlan", "irb.30 vlan"));
  EXPECT_EQ(read.theSwitch.vlanInterfaces.at(Plexo::IntfId("irb.30")).value(), 30);
  EXPECT_THAT(briefly(read.problems), ElementsAre("vlanNameWithoutNumber interfaces irb.30"));
}

TEST(OpenConfig, GoesByTheNameWhereNameAndNumberDisagree) {
  const auto read = withInterfaces(R"({"name": "Vlan10", "routed-vlan": {"config": {"vlan": 11}}},
      {"name": "Vlan20", "routed-vlan": {"config": {"vlan": 5000}}})");
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(10, 20));
  EXPECT_THAT(briefly(read.problems), ElementsAre("vlanNumberMismatch interfaces Vlan10",
                                                  "badVlanNumber interfaces Vlan20"));
}

TEST(OpenConfig, DropsVlanInterfacesWithoutANumberInRange) {
  const auto read = withInterfaces(R"({"name": "Vlan4095", "config": {"type": "l2vlan"}},
      {"name": "Vlan0", "routed-vlan": {"config": {"vlan": 7}}},
      {"name": "blue", "routed-vlan": {}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("badVlanNumber interfaces Vlan0", "badVlanNumber interfaces Vlan4095",
                          "badVlanNumber interfaces blue"));
}

TEST(OpenConfig, LeavesLoopbacksAndManagementInterfacesOut) {
  const auto read = withInterfaces(
      ethernet("eth0", ipv4) + "," + ethernet("Management1", ipv4) + "," + ethernet("mgmt0", ipv4) +
      "," + interface("Loopback0", "softwareLoopback", ipv4) + "," +
      interface("system0", "softwareLoopback", ipv4) + "," +
      ethernet("Ethernet99", ipv4, R"("state": {"management": true})") + "," +
      interface("Tunnel1", "tunnel", ipv4));
  EXPECT_EQ(read.theSwitch.loopbacks,
            (std::set{Plexo::IntfId("Loopback0"), Plexo::IntfId("system0")}));
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(OpenConfig, KnowsALoopbackByItsNameAlone) {
  const Configured read(R"({"interfaces": {"interface": [
      {"name": "Loopback7", "config": {"enabled": "false"}}, {"name": "Ethernet1"}]}})");
  EXPECT_EQ(read.theSwitch.loopbacks, std::set{Plexo::IntfId("Loopback7")});
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet1 access -"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(OpenConfig, GuessesAMissingTypeFromContainersAndName) {
  const auto read = withInterfaces(R"({"name": "Ethernet1"}, {"name": "swp2", "ethernet": {}},
      {"name": "PortChannel3"}, {"name": "bond4", "aggregation": {}}, {"name": "other"})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet1 access -", "PortChannel3 access -",
                                                 "bond4 access -", "swp2 access -"));
}

TEST(OpenConfig, RoutesAggregatesAndLeavesTheirMembersOut) {
  const auto read = withInterfaces(
      interface("Port-Channel1", "ieee8023adLag", ipv4) + "," +
      ethernet(
          "Ethernet1", "\"y\": 1",
          R"("ethernet": {"config": {"openconfig-if-aggregate:aggregate-id": "Port-Channel1"}})"));
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Port-Channel1 portChannel"));
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Port-Channel1 routed -"));
  EXPECT_EQ(nameOf(read.theSwitch.channelOf.at(Plexo::IntfId("Ethernet1"))), "Port-Channel1");
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(OpenConfig, IgnoresMembershipInAggregatesThatDoNotExist) {
  const auto member = [](const std::string& name, const std::string& aggregate) {
    return ethernet(name, ipv4, R"("ethernet": {"config": {"aggregate-id": )" + aggregate + "}}");
  };
  const auto read =
      withInterfaces(member("Ethernet1", "\"Port-Channel1\"") + "," +
                     member("Ethernet2", "\"Ethernet1\"") + "," + member("Ethernet3", "7"));
  EXPECT_THAT(ports(read.theSwitch),
              ElementsAre("Ethernet1 routed -", "Ethernet2 routed -", "Ethernet3 routed -"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("missingPortChannel interfaces Ethernet1",
                                                  "missingPortChannel interfaces Ethernet2",
                                                  "missingPortChannel interfaces Ethernet3"));
}

TEST(OpenConfig, IgnoresAddressesOfMembers) {
  const auto read = withInterfaces(
      interface("Port-Channel1", "ieee8023adLag", "\"y\": 1") + "," +
      ethernet("Ethernet1", ipv4, R"("ethernet": {"config": {"aggregate-id": "Port-Channel1"}})"));
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), ElementsAre("channelMemberInterface interfaces Ethernet1"));
}

TEST(OpenConfig, ReadsAccessAndTrunkPorts) {
  const auto read = withInterfaces(
      ethernet("Ethernet1", "\"y\": 1",
               switched(R"("interface-mode": "ACCESS", "access-vlan": 10)")) +
      "," +
      ethernet("Ethernet2", "\"y\": 1", switched(R"("interface-mode": "TRUNK", "native-vlan": "20",
                           "trunk-vlans": ["30..32", "40-41", 50, "60"])")) +
      "," +
      interface("Port-Channel1", "ieee8023adLag", "\"y\": 1",
                R"("openconfig-if-aggregate:aggregation": {"switched-vlan": {"config":
                   {"interface-mode": "openconfig-vlan-types:TRUNK"}}})"));
  EXPECT_THAT(ports(read.theSwitch),
              ElementsAre("Ethernet1 access 10", "Ethernet2 trunk 20", "Port-Channel1 trunk -"));
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(10, 20, 30, 31, 32, 40, 41, 50, 60));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(OpenConfig, DropsVlansOfSwitchedPortsThatAreNone) {
  const auto read = withInterfaces(
      ethernet("Ethernet1", "\"y\": 1", switched(R"("access-vlan": 4095)")) + "," +
      ethernet(
          "Ethernet2", "\"y\": 1",
          switched(R"("interface-mode": "TRUNK", "trunk-vlans": ["7..5", true, "1-4095", 9])")) +
      "," + ethernet("Ethernet3", "\"y\": 1", switched(R"("trunk-vlans": "1-5")")) + "," +
      ethernet("Ethernet4", "\"y\": 1", switched(R"("interface-mode": "BOTH", "access-vlan": 8)")));
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet1 access -", "Ethernet2 trunk -",
                                                 "Ethernet3 access -", "Ethernet4 access 8"));
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(8, 9));
  EXPECT_THAT(
      briefly(read.problems),
      ElementsAre("badVlanNumber interfaces Ethernet1", "badVlanNumber interfaces Ethernet2",
                  "badVlanNumber interfaces Ethernet2", "badVlanNumber interfaces Ethernet2",
                  "wrongType interfaces Ethernet3", "badValue interfaces Ethernet4"));
}

TEST(OpenConfig, KeepsASwitchedInterfaceWithAddressesSwitched) {
  const auto read = withInterfaces(ethernet("Ethernet1", ipv4, switched(R"("access-vlan": 10)")));
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet1 access 10"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("routedVlanMember interfaces Ethernet1"));
}

TEST(OpenConfig, TakesASwitchedVlanThatSaysNothingForNone) {
  const auto read =
      withInterfaces(ethernet("Ethernet1", ipv4, switched("")) + "," +
                     ethernet("Ethernet2", ipv4, R"("ethernet": {"switched-vlan": {}})"));
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Ethernet1 routed", "Ethernet2 routed"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(OpenConfig, IgnoresPortsWithTheNameOfAVlanInterface) {
  const auto read =
      withInterfaces(ethernet("Vlan5", ipv4) + "," + interface("Vlan6", "ieee8023adLag", ipv4));
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("wrongTable interfaces Vlan5", "wrongTable interfaces Vlan6"));
}

TEST(OpenConfig, NeverRoutesInternalInterfaces) {
  const auto read = withInterfaces(ethernet("Internal1", ipv4));
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Internal1 access -"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("internalRouted interfaces Internal1"));
}

/// A routed Ethernet1 with these subinterfaces.
Configured withSubInterfaces(const std::string& list, const std::string& more = "") {
  return withInterfaces(
      R"({"name": "Ethernet1", "config": {"type": "ethernetCsmacd"},
          "subinterfaces": {"subinterface": [)" +
      list + "]}}" + more);
}

TEST(OpenConfig, ListsSubInterfacesBesidesTheirPort) {
  const auto read = withSubInterfaces(
      R"({"index": 0}, {"index": 100, "vlan": {"config": {"vlan-id": 10}}, )" + ipv4 +
      R"(}, {"index": "200", "openconfig-vlan:vlan": {"match": {"single-tagged": {"config":
          {"vlan-id": 20}}}}, )" +
      ipv4 + R"(}, {"config": {"index": 300}, )" + ipv6Enabled +
      R"(}, {"index": 400}, {"index": 500, "vlan": {"config": {"vlan-id": 5000}}, )" + ipv4 + "}");
  EXPECT_THAT(
      l3Interfaces(read.theSwitch),
      ElementsAre("Ethernet1 routed", "Ethernet1.100 subInterface", "Ethernet1.200 subInterface",
                  "Ethernet1.300 subInterface", "Ethernet1.500 subInterface"));
  EXPECT_THAT(
      subInterfaces(read.theSwitch),
      ElementsAre("Ethernet1.100 of Ethernet1 VLAN 10", "Ethernet1.200 of Ethernet1 VLAN 20",
                  "Ethernet1.300 of Ethernet1 VLAN 0", "Ethernet1.500 of Ethernet1 VLAN 0"));
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(10, 20));
  EXPECT_THAT(briefly(read.problems), ElementsAre("badVlanNumber interfaces Ethernet1.500"));
}

TEST(OpenConfig, IgnoresSubInterfacesWithoutANameOfTheirOwn) {
  const auto read = withSubInterfaces(R"({"index": -1, )" + ipv4 + R"(}, {"index": "x", )" + ipv4 +
                                          R"(}, {"index": 7, )" + ipv4 + R"(}, {"index": 7, )" +
                                          ipv4 + R"(}, {"index": 8, )" + ipv4 + "}, {" + ipv4 + "}",
                                      R"(, {"name": "Ethernet1.8"})");
  EXPECT_THAT(l3Interfaces(read.theSwitch),
              ElementsAre("Ethernet1 routed", "Ethernet1.7 subInterface"));
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("badName interfaces Ethernet1", "badName interfaces Ethernet1",
                          "repeatedInterface interfaces Ethernet1.7",
                          "repeatedInterface interfaces Ethernet1.8"));
}

TEST(OpenConfig, ReportsInterfacesWithoutAName) {
  const auto read = withInterfaces(R"(7, {}, {"name": 1}, {"name": "a b"},
      {"config": {"name": "Ethernet1"}}, {"name": "Ethernet1"})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet1 access -"));
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("wrongType interfaces ", "badName interfaces ", "badName interfaces ",
                          "badName interfaces a b", "repeatedInterface interfaces Ethernet1"));
}

TEST(OpenConfig, MayHoldNoInterfaces) {
  const Configured read(R"({"openconfig-interfaces:interfaces": {}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
}

TEST(OpenConfig, IsRefusedWhenTheInterfacesAreNoList) {
  EXPECT_EQ(
      refusalOf([] { Configured(R"({"openconfig-interfaces:interfaces": []})"); }),
      "test.json: openconfig-interfaces:interfaces is an array; write interfaces as an object "
      "with a list named interface");
  EXPECT_EQ(refusalOf([] { Configured(R"({"interfaces": {"interface": "x"}})"); }),
            "test.json: interfaces/interface is \"x\"; write interfaces as an object with a list "
            "named interface");
}

TEST(OpenConfig, SurvivesWrongTypesInEveryPlace) {
  for (const char* wrong : {"null", "7", "\"x\"", "[]", "[7]", "{}", "true"}) {
    const std::string value = wrong;
    const auto read = withInterfaces(
        R"({"name": "Ethernet1", "config": )" + value + R"(, "state": )" + value +
        R"(, "ethernet": )" + value + R"(, "subinterfaces": )" + value + "}," +
        R"({"name": "Ethernet2", "subinterfaces": {"subinterface": )" + value + "}}," +
        R"({"name": "Ethernet3", "ethernet": {"switched-vlan": {"config": )" + value + "}}}," +
        R"({"name": "Vlan4", "routed-vlan": )" + value + "}");
    EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Vlan4 vlan")) << wrong;
    EXPECT_NE(read.problems.size(), 0U) << wrong;
  }
}

TEST(OpenConfig, ReportsPartsOfTheWrongType) {
  const auto read = withInterfaces(R"({"name": "Ethernet1", "config": {"type": 7, "enabled": "yes"},
      "openconfig-if-ethernet:ethernet": {"switched-vlan": {"config": {"interface-mode": 1}}},
      "subinterfaces": {"subinterface": [7, {"ipv4": {"addresses": {"address": {}}},
                                             "ipv6": {"config": {"enabled": "true"}}}]}})");
  Texts found;
  for (const Problem& problem : read.problems) {
    EXPECT_EQ(problem.done, problem.kind == ProblemKind::wrongType
                                ? "it is ignored"
                                : "it is switched, the addresses are ignored");
    found.push_back(problem.found);
  }
  EXPECT_THAT(found, ElementsAre("config/type is 7, not a text",
                                 "config/enabled is \"yes\", not true or false",
                                 "ethernet/switched-vlan/config/interface-mode is 1, not a text",
                                 "subinterfaces/subinterface is 7, not a list of objects",
                                 "subinterfaces/subinterface/ipv4/addresses/address is an object, "
                                 "not a list",
                                 "it has addresses or IPv6 enabled, and a switched-vlan"));
}

}  // namespace
}  // namespace Agent
