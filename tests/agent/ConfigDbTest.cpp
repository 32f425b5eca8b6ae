#include "agent/ConfigDb.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/agent/Reading.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ConfigDb, MakesTheSameSwitchOfEachSpelling) {
  const Configured nested(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
      "VLAN": {"Vlan10": {"vlanid": "10"}},
      "VLAN_MEMBER": {"Vlan10|Ethernet4": {"tagging_mode": "untagged"}},
      "VLAN_INTERFACE": {"Vlan10": {}}, "INTERFACE": {"Ethernet0|fc00::1/64": {}}})");
  const Configured flat(R"({"PORT|Ethernet0": {}, "PORT|Ethernet4": {},
      "VLAN|Vlan10": {"vlanid": "10"}, "VLAN_MEMBER|Vlan10|Ethernet4": {"tagging_mode": "untagged"},
      "VLAN_INTERFACE|Vlan10": {"NULL": "NULL"}, "INTERFACE|Ethernet0|fc00::1/64": {}})");
  const Configured application(R"({"PORT_TABLE:Ethernet0": {}, "PORT_TABLE:Ethernet4": {},
      "VLAN_TABLE:Vlan10": {}, "VLAN_MEMBER_TABLE:Vlan10:Ethernet4": {"tagging_mode": "untagged"},
      "INTF_TABLE:Vlan10": {}, "INTF_TABLE:Ethernet0:fc00::1/64": {}})");
  for (const Configured* read : {&nested, &flat, &application}) {
    EXPECT_THAT(l3Interfaces(read->theSwitch), ElementsAre("Ethernet0 routed", "Vlan10 vlan"));
    EXPECT_THAT(ports(read->theSwitch), ElementsAre("Ethernet0 routed -", "Ethernet4 access 10"));
    EXPECT_THAT(usedVlans(read->theSwitch), ElementsAre(10));
    EXPECT_THAT(briefly(read->problems), IsEmpty());
  }
}

TEST(ConfigDb, CountsARowBareOrWithAnAddressAndOnce) {
  const Configured read(R"({"VLAN_INTERFACE": {"Vlan1|10.0.0.1/24": {}, "Vlan2": {},
      "Vlan2|10.0.1.1/24": {}, "Vlan2|10.0.2.1/24": {"NULL": "NULL"}, "Vlan3": {"NULL": "NULL"}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Vlan1 vlan", "Vlan2 vlan", "Vlan3 vlan"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, StandsInNaturalOrder) {
  const Configured read(R"({"INTERFACE": {"Ethernet10": {}, "Ethernet2": {}, "Ethernet1": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch),
              ElementsAre("Ethernet1 routed", "Ethernet2 routed", "Ethernet10 routed"));
}

TEST(ConfigDb, RoutesPortsAndPortChannels) {
  const Configured read(R"({"INTERFACE": {"Ethernet0": {}, "PortChannel7": {}},
      "PORTCHANNEL_INTERFACE": {"PortChannel1": {}, "PortChannel7": {}}})");
  EXPECT_THAT(
      l3Interfaces(read.theSwitch),
      ElementsAre("Ethernet0 routed", "PortChannel1 portChannel", "PortChannel7 portChannel"));
  EXPECT_THAT(ports(read.theSwitch),
              ElementsAre("Ethernet0 routed -", "PortChannel1 routed -", "PortChannel7 routed -"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, IgnoresAPortChannelWithTheNameOfAPort) {
  const Configured read(R"({"PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"Ethernet0": {}},
                            "INTERFACE": {"Ethernet0": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Ethernet0 routed"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("wrongTable PORTCHANNEL Ethernet0"));
}

TEST(ConfigDb, TakesAMembershipInTwoSpellingsForOne) {
  const Configured read(R"({"VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|Ethernet0": {}},
                            "VLAN_MEMBER|Vlan10|Ethernet0": {"tagging_mode": "untagged"}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access 10"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, KnowsPortChannelsByTheirTableToo) {
  const Configured read(
      R"({"PORTCHANNEL": {"bond0": {}}, "PORTCHANNEL_INTERFACE": {"bond0": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("bond0 portChannel"));
}

TEST(ConfigDb, KnowsPortChannelsByTheTableOfTheirInterfacesToo) {
  const Configured read(R"({"PORT": {"Ethernet0": {}},
                            "PORTCHANNEL_INTERFACE": {"bond0": {}, "Ethernet0": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Ethernet0 routed", "bond0 portChannel"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, KnowsLoopbacksButForManagementInterfaces) {
  const Configured read(R"({"INTF_TABLE:lo:10.0.0.1/32": {}, "INTF_TABLE:eth0": {},
                            "LOOPBACK_INTERFACE": {"a b": {}, "Loopback0|10.0.0.1/32": {}}})");
  EXPECT_EQ(read.theSwitch.loopbacks, (std::set{Plexo::IntfId("Loopback0"), Plexo::IntfId("lo")}));
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, TakesVlanInterfacesForNoPortsWhereTheTablesOfPortsAreAbsent) {
  const Configured read(
      R"({"PORTCHANNEL_MEMBER": {"PortChannel1|Vlan10": {}, "Vlan10|Ethernet0": {}},
      "VLAN": {"Vlan20": {}}, "VLAN_MEMBER": {"Vlan20|Vlan10": {}}})");
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("missingMember PORTCHANNEL_MEMBER PortChannel1|Vlan10",
                          "missingPortChannel PORTCHANNEL_MEMBER Vlan10|Ethernet0",
                          "missingMember VLAN_MEMBER Vlan20|Vlan10"));
}

TEST(ConfigDb, IgnoresSubInterfacesOfVlanInterfaces) {
  const Configured read(R"({"VLAN": {"Vlan10": {}}, "VLAN_SUB_INTERFACE": {"Vlan10.1": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), ElementsAre("wrongTable VLAN_SUB_INTERFACE Vlan10.1"));
}

TEST(ConfigDb, LeavesMembersOfPortChannelsOut) {
  const Configured read(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
      "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access -", "PortChannel1 access -"));
  ASSERT_EQ(read.theSwitch.channelOf.size(), 1U);
  EXPECT_EQ(nameOf(read.theSwitch.channelOf.at(Plexo::IntfId("Ethernet4"))), "PortChannel1");
}

TEST(ConfigDb, NeedsNoTableOfChannelsToKnowTheirMembers) {
  const Configured read(R"({"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("PortChannel1 access -"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, TakesTheUntaggedVlanAsNative) {
  const Configured read(R"({"VLAN_MEMBER": {
      "Vlan10|Ethernet0": {"tagging_mode": "untagged"}, "Vlan20|Ethernet0": {"tagging_mode": "tagged"},
      "Vlan30|Ethernet4": {"tagging_mode": "tagged"}, "Vlan40|Ethernet8": {},
      "Vlan50|Ethernet12": {"tagging_mode": "priority_tagged"}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 trunk 10", "Ethernet4 trunk -",
                                                 "Ethernet8 access 40", "Ethernet12 trunk -"));
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(10, 20, 30, 40, 50));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, ReadsMemberListsWhereTheTableOfMembersIsAbsent) {
  const Configured read(R"({"VLAN": {"Vlan10": {"members": ["Ethernet0", "Ethernet4"]}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access 10", "Ethernet4 access 10"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, HoldsMemberListsAgainstTheTableOfMembers) {
  const Configured read(R"({"VLAN": {"Vlan10": {"members": ["Ethernet0", "Ethernet4"]}},
                            "VLAN_MEMBER": {"Vlan10|Ethernet0": {}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access 10"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("missingMemberRow VLAN Vlan10"));
}

TEST(ConfigDb, ReportsMemberListsThatAreNoListsOfNames) {
  const Configured read(R"({"VLAN": {"Vlan10": {"members": "Ethernet0"},
                                     "Vlan20": {"members": ["Ethernet4", 8, "Ethernet 8"]}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet4 access 20"));
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("wrongType VLAN Vlan10", "badName VLAN Vlan20", "badName VLAN Vlan20"));
}

TEST(ConfigDb, ReadsVlanNumbersAsTextOrNumber) {
  const Configured read(R"({"VLAN": {"Vlan10": {"vlanid": 10}, "Vlan20": {"vlanid": "20"},
                                     "Vlan30": {}, "blue": {"vlanid": "40"}},
                            "VLAN_MEMBER": {"blue|Ethernet0": {}}})");
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(10, 20, 30, 40));
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access 40"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, GoesByTheNameWhereNameAndNumberOfAVlanDisagree) {
  const Configured read(R"({"VLAN": {"Vlan10": {"vlanid": "11"}},
                            "VLAN_MEMBER": {"Vlan10|Ethernet0": {}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access 10"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("vlanNumberMismatch VLAN Vlan10"));
}

TEST(ConfigDb, GoesByTheNameWhereTheNumberOfAVlanIsNone) {
  for (const char* number : {"\"4095\"", "0", "\"ten\"", "\" 10\"", "true", "null", "-10", "[]"}) {
    const Configured read(R"({"VLAN": {"Vlan10": {"vlanid": )" + std::string(number) + "}}}");
    EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(10)) << number;
    EXPECT_THAT(briefly(read.problems), ElementsAre("badVlanNumber VLAN Vlan10")) << number;
  }
}

TEST(ConfigDb, DropsVlansOutOfRangeWithTheirMembers) {
  const Configured read(R"({"VLAN": {"Vlan4095": {"vlanid": "100"}, "blue": {}},
      "VLAN_MEMBER": {"Vlan4095|Ethernet0": {}, "blue|Ethernet4": {}}})");
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(usedVlans(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("badVlanNumber VLAN Vlan4095", "badVlanNumber VLAN blue"));
}

TEST(ConfigDb, DropsVlanInterfacesOutOfRange) {
  const Configured read(R"({"VLAN_INTERFACE": {"Vlan0": {}, "Vlan4094": {}, "Vlan4095": {},
      "Vlan99999999999999999999": {}, "Vlan010": {}, "blue": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Vlan4094 vlan"));
  EXPECT_THAT(
      briefly(read.problems),
      ElementsAre("badVlanNumber VLAN_INTERFACE Vlan0", "badVlanNumber VLAN_INTERFACE Vlan010",
                  "badVlanNumber VLAN_INTERFACE Vlan4095",
                  "badVlanNumber VLAN_INTERFACE Vlan99999999999999999999",
                  "badVlanNumber VLAN_INTERFACE blue"));
}

TEST(ConfigDb, KeepsAVlanInterfaceWithoutItsVlan) {
  const Configured read(
      R"({"VLAN": {"Vlan20": {}}, "VLAN_INTERFACE": {"Vlan10": {}, "Vlan20": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Vlan10 vlan", "Vlan20 vlan"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("missingVlan VLAN_INTERFACE Vlan10"));
}

TEST(ConfigDb, KeepsAVlanInterfaceWhoseNameTellsNoNumber) {
  const Configured read(R"({"VLAN": {"blue": {"vlanid": 40}}, "VLAN_INTERFACE": {"blue": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("blue vlan"));
  EXPECT_EQ(read.theSwitch.vlanInterfaces.at(Plexo::IntfId("blue")).value(), 40);
  EXPECT_THAT(briefly(read.problems), ElementsAre("vlanNameWithoutNumber VLAN_INTERFACE blue"));
}

TEST(ConfigDb, LetsRoutedWinOverMembershipInAVlan) {
  const Configured read(R"({"INTERFACE": {"Ethernet0": {}},
                            "VLAN_MEMBER": {"Vlan10|Ethernet0": {"tagging_mode": "untagged"}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 routed -"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("routedVlanMember VLAN_MEMBER Vlan10|Ethernet0"));
}

TEST(ConfigDb, TakesTheLowerOfTwoUntaggedVlans) {
  const Configured read(R"({"VLAN_MEMBER": {"Vlan100|Ethernet0": {"tagging_mode": "untagged"},
                                            "Vlan20|Ethernet0": {"tagging_mode": "untagged"}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access 20"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("untaggedTwice VLAN_MEMBER Vlan100|Ethernet0"));
}

TEST(ConfigDb, CountsAnUnknownTaggingModeAsTagged) {
  const Configured read(R"({"VLAN_MEMBER": {"Vlan10|Ethernet0": {"tagging_mode": "both"},
                                            "Vlan10|Ethernet4": {"tagging_mode": 1}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 trunk -", "Ethernet4 trunk -"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("badValue VLAN_MEMBER Vlan10|Ethernet0",
                                                  "badValue VLAN_MEMBER Vlan10|Ethernet4"));
}

TEST(ConfigDb, IgnoresMembersOfVlansThatDoNotExist) {
  const Configured read(R"({"VLAN": {}, "VLAN_MEMBER": {"Vlan10|Ethernet0": {}}})");
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), ElementsAre("missingVlan VLAN_MEMBER Vlan10|Ethernet0"));
}

TEST(ConfigDb, IgnoresMembersOfVlansWithoutNumberWhereThereIsNoTableOfVlans) {
  const Configured read(R"({"VLAN_MEMBER": {"blue|Ethernet0": {}, "Vlan5000|Ethernet0": {}}})");
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), ElementsAre("badVlanNumber VLAN_MEMBER Vlan5000|Ethernet0",
                                                  "badVlanNumber VLAN_MEMBER blue|Ethernet0"));
}

TEST(ConfigDb, IgnoresMembersThatDoNotExist) {
  const Configured read(R"({"PORT": {"Ethernet0": {}}, "PORTCHANNEL": {},
      "VLAN_MEMBER": {"Vlan10|Ethernet4": {}, "Vlan10|PortChannel1": {}}})");
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet0 access -"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("missingMember VLAN_MEMBER Vlan10|Ethernet4",
                                                  "missingMember VLAN_MEMBER Vlan10|PortChannel1"));
}

TEST(ConfigDb, IgnoresMembersOfPortChannelsThatDoNotExist) {
  const Configured read(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
      "PORTCHANNEL": {"PortChannel1": {}},
      "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet8": {}, "PortChannel1|PortChannel1": {},
                             "PortChannel2|Ethernet0": {}}})");
  EXPECT_THAT(read.theSwitch.channelOf, IsEmpty());
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("missingMember PORTCHANNEL_MEMBER PortChannel1|Ethernet8",
                          "missingMember PORTCHANNEL_MEMBER PortChannel1|PortChannel1",
                          "missingPortChannel PORTCHANNEL_MEMBER PortChannel2|Ethernet0"));
}

TEST(ConfigDb, KeepsAMemberOfTwoChannelsInTheFirst) {
  const Configured read(R"({"PORTCHANNEL_MEMBER": {"PortChannel10|Ethernet0": {},
                                                   "PortChannel2|Ethernet0": {}}})");
  EXPECT_EQ(nameOf(read.theSwitch.channelOf.at(Plexo::IntfId("Ethernet0"))), "PortChannel2");
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("memberOfTwoChannels PORTCHANNEL_MEMBER PortChannel10|Ethernet0"));
}

TEST(ConfigDb, IgnoresWhatMembersOfPortChannelsAreUsedForBesides) {
  const Configured read(R"({"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
      "INTERFACE": {"Ethernet0|10.0.0.1/31": {}}, "VLAN_MEMBER": {"Vlan10|Ethernet0": {}},
      "VLAN_SUB_INTERFACE": {"Ethernet0.10": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("PortChannel1 access -"));
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("channelMemberInterface INTERFACE Ethernet0|10.0.0.1/31",
                          "channelMemberInterface VLAN_SUB_INTERFACE Ethernet0.10",
                          "channelMemberInVlan VLAN_MEMBER Vlan10|Ethernet0"));
}

TEST(ConfigDb, KeepsInterfacesWithoutTheirPort) {
  const Configured read(R"({"PORT": {}, "PORTCHANNEL": {}, "INTERFACE": {"Ethernet0": {}},
      "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}, "VLAN_SUB_INTERFACE": {"Ethernet4.1": {}}})");
  EXPECT_THAT(
      l3Interfaces(read.theSwitch),
      ElementsAre("Ethernet0 routed", "Ethernet4.1 subInterface", "PortChannel1 portChannel"));
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("missingPort INTERFACE Ethernet0",
                          "missingPortChannel PORTCHANNEL_INTERFACE PortChannel1",
                          "missingPort VLAN_SUB_INTERFACE Ethernet4.1"));
}

TEST(ConfigDb, NeverRoutesInternalInterfaces) {
  const Configured read(
      R"({"PORT": {"Internal0": {}}, "INTERFACE": {"Internal0": {}, "Internal1": {}},
                            "PORTCHANNEL_INTERFACE": {"InternalPo": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), IsEmpty());
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Internal0 access -"));
  EXPECT_THAT(
      briefly(read.problems),
      ElementsAre("internalRouted INTERFACE Internal0", "internalRouted INTERFACE Internal1",
                  "internalRouted PORTCHANNEL_INTERFACE InternalPo"));
}

TEST(ConfigDb, IgnoresNamesInTablesWhereTheyDoNotBelong) {
  const Configured read(R"({"PORT": {"Vlan1": {}, "Ethernet1.1": {}}, "PORTCHANNEL": {"Vlan2": {}},
      "VLAN": {"blue": {"vlanid": 9}}, "VLAN_INTERFACE": {"blue": {}},
      "INTERFACE": {"Vlan10": {}, "Loopback0": {}, "Ethernet1.1": {}, "Ethernet2.1": {}, "blue": {}},
      "VLAN_SUB_INTERFACE": {"Ethernet3": {}, "Ethernet1.1": {}}})");
  EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Ethernet1.1 routed", "blue vlan"));
  EXPECT_THAT(ports(read.theSwitch), ElementsAre("Ethernet1.1 routed -"));
  EXPECT_THAT(
      briefly(read.problems),
      ElementsAre("wrongTable PORT Vlan1", "wrongTable PORTCHANNEL Vlan2",
                  "vlanNameWithoutNumber VLAN_INTERFACE blue", "wrongTable INTERFACE Ethernet2.1",
                  "wrongTable INTERFACE Loopback0", "wrongTable INTERFACE Vlan10",
                  "wrongTable INTERFACE blue", "wrongTable VLAN_SUB_INTERFACE Ethernet1.1",
                  "wrongTable VLAN_SUB_INTERFACE Ethernet3"));
}

TEST(ConfigDb, ReadsSubInterfacesInLongAndShortForm) {
  const Configured read(R"({"VLAN_SUB_INTERFACE": {"Ethernet0.10": {},
      "Ethernet0.20|10.0.0.1/24": {"NULL": "NULL"}, "Ethernet0.30": {"vlan": 31},
      "Eth4.1": {"vlan": "100"}, "Eth4.1|10.0.1.1/24": {}, "Eth4.2": {}, "Po1.1": {"vlan": "7"}}})");
  EXPECT_THAT(subInterfaces(read.theSwitch),
              ElementsAre("Eth4.1 of Ethernet4 VLAN 100", "Eth4.2 of Ethernet4 VLAN 0",
                          "Ethernet0.10 of Ethernet0 VLAN 10", "Ethernet0.20 of Ethernet0 VLAN 20",
                          "Ethernet0.30 of Ethernet0 VLAN 31", "Po1.1 of PortChannel1 VLAN 7"));
  EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(7, 10, 20, 31, 100));
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(ConfigDb, PrefersAPortThatHasTheShortName) {
  const Configured read(R"({"PORT": {"Eth4": {}}, "VLAN_SUB_INTERFACE": {"Eth4.1": {"vlan": 1}}})");
  EXPECT_THAT(subInterfaces(read.theSwitch), ElementsAre("Eth4.1 of Eth4 VLAN 1"));
}

TEST(ConfigDb, DropsTheOuterVlanThatIsNone) {
  const Configured read(R"({"VLAN_SUB_INTERFACE": {"Ethernet0.10": {"vlan": "4095"},
                                                   "Ethernet0.5000": {}}})");
  EXPECT_THAT(subInterfaces(read.theSwitch), ElementsAre("Ethernet0.10 of Ethernet0 VLAN 0",
                                                         "Ethernet0.5000 of Ethernet0 VLAN 0"));
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("badVlanNumber VLAN_SUB_INTERFACE Ethernet0.10",
                          "badVlanNumber VLAN_SUB_INTERFACE Ethernet0.5000"));
}

TEST(ConfigDb, ReportsSubInterfacesThatShareAnOuterVlan) {
  const Configured read(R"({"VLAN_SUB_INTERFACE": {"Eth0.1": {"vlan": 10}, "Ethernet0.10": {},
                                                   "Ethernet4.10": {}}})");
  EXPECT_EQ(read.theSwitch.subInterfaces.size(), 3U);
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("sameEncapsulation VLAN_SUB_INTERFACE Ethernet0.10"));
}

TEST(ConfigDb, ReportsKeysThatAreNoNames) {
  const Configured read(
      R"({"PORT": {"Ethernet 0": {}, "": {}}, "VLAN_MEMBER": {"Vlan1|\u001b[31m": {}},
      "VLAN": {"\u00e9": {"vlanid": 1}}, "INTERFACE": {"|10.0.0.1/24": {}}})");
  EXPECT_THAT(ports(read.theSwitch), IsEmpty());
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("badName PORT ", "badName PORT Ethernet 0", "badName VLAN \u00e9",
                          "badName INTERFACE |10.0.0.1/24", "badName VLAN_MEMBER Vlan1|\x1b[31m"));
}

TEST(ConfigDb, TellsFileFindingAndRemedyOfAProblem) {
  const Configured read(
      R"({"INTERFACE": {"Ethernet0": {}}, "VLAN_MEMBER": {"Vlan10|Ethernet0": {}}})");
  ASSERT_EQ(read.problems.size(), 1U);
  EXPECT_EQ(read.problems.front().file, "test.json");
  EXPECT_EQ(read.problems.front().found, "Ethernet0 is routed and a member of VLAN 10");
  EXPECT_EQ(read.problems.front().done, "it is routed, the membership is ignored");
}

}  // namespace
}  // namespace Agent
