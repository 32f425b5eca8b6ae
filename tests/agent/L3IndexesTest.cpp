#include "agent/L3Indexes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/RouterInterface.h"
#include "tests/agent/Reading.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Indexes that were read for a configuration.
struct Indexed {
  Indexed(std::string_view configuration, std::string_view text) {
    const Configured configured(configuration);
    l3Indexes = readL3Indexes(Document("index.json", text), configured.theSwitch, problems);
  }

  Problems problems;
  L3Indexes l3Indexes;
};

constexpr std::string_view threePorts =
    R"({"INTERFACE": {"Ethernet10": {}, "Ethernet2": {}, "Ethernet1": {}}})";

TEST(AssignedL3Indexes, CountFromOneInNaturalOrderOverAllInterfaces) {
  const Configured read(R"({"INTERFACE": {"Ethernet10": {}, "Ethernet2": {}},
      "VLAN_INTERFACE": {"Vlan5": {}}, "VLAN_SUB_INTERFACE": {"Ethernet2.1": {}},
      "LOOPBACK_INTERFACE": {"Loopback0": {}}})");
  EXPECT_THAT(indexes(assignL3Indexes(read.theSwitch)),
              ElementsAre("Ethernet2 1", "Ethernet2.1 2", "Ethernet10 3", "Vlan5 4"));
}

TEST(ObjectId, IsHexadecimalBehindItsPrefix) {
  EXPECT_EQ(objectId("oid:0x6000000000c7c"), 0x6000000000c7cU);
  for (const char* text : {"0x6000000000c7c", "oid:", "oid:0x", "oid:12", "oid:0xg", " oid:0x1",
                           "oid:0x11111111111111111"}) {
    EXPECT_EQ(objectId(text), std::nullopt) << text;
  }
}

TEST(L3Index, IsTheLow39BitsOfTheObjectId) {
  EXPECT_EQ(indexOf(0x6000000000c7c), 3196U);
  EXPECT_EQ(indexOf(UINT64_MAX), 0x7fffffffffU);
  EXPECT_EQ(indexOf(0x8000000000), 0U);
}

TEST(NameMap, GivesEachInterfaceItsIndex) {
  const Indexed read(threePorts, R"({"COUNTERS_RIF_NAME_MAP": {"Ethernet1": "oid:0x6000000000c7c",
      "Ethernet2": "oid:0x6000000000C7D"}, "COUNTERS:oid:0x1": {}})");
  EXPECT_THAT(indexes(read.l3Indexes), ElementsAre("Ethernet1 3196", "Ethernet2 3197"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(NameMap, IsReportedWhereItCannotBeUsed) {
  const Indexed read(threePorts, R"({"COUNTERS_RIF_NAME_MAP": {"Ethernet1": "oid:0x6000000000000",
      "Ethernet2": "12", "Ethernet10": 12, "Ethernet3": "oid:0x1", "a b": "oid:0x2"}})");
  EXPECT_THAT(indexes(read.l3Indexes), IsEmpty());
  EXPECT_THAT(briefly(read.problems),
              ElementsAre("badObjectId COUNTERS_RIF_NAME_MAP Ethernet10",
                          "badObjectId COUNTERS_RIF_NAME_MAP Ethernet2",
                          "unknownInterface COUNTERS_RIF_NAME_MAP Ethernet3",
                          "unknownInterface COUNTERS_RIF_NAME_MAP a b",
                          "zeroIndex COUNTERS_RIF_NAME_MAP Ethernet1"));
}

TEST(NameMap, LeavesASharedIndexToTheFirstInNaturalOrder) {
  const Indexed read(threePorts, R"({"COUNTERS_RIF_NAME_MAP": {"Ethernet10": "oid:0x7",
                                     "Ethernet2": "oid:0x6000000000007"}})");
  EXPECT_THAT(indexes(read.l3Indexes), ElementsAre("Ethernet2 7"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("sharedIndex COUNTERS_RIF_NAME_MAP Ethernet10"));
}

TEST(NameMap, IsRefusedWhenItIsNoObject) {
  EXPECT_EQ(refusalOf([] { Indexed(threePorts, R"({"COUNTERS_RIF_NAME_MAP": []})"); }),
            "index.json: table COUNTERS_RIF_NAME_MAP is an array; write it as an object of names "
            "and object ids");
}

TEST(NameMap, CountsBeforeADumpInTheSameDocument) {
  const Indexed read(threePorts, R"({"COUNTERS_RIF_NAME_MAP": {"Ethernet1": "oid:0x1"},
      "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x2": {}})");
  EXPECT_THAT(indexes(read.l3Indexes), ElementsAre("Ethernet1 1"));
  EXPECT_THAT(briefly(read.problems), IsEmpty());
}

TEST(L3Indexes, AreRefusedInADocumentWithoutAny) {
  for (const char* text : {"{}", "[]", "7", R"({"PORT": {}})", R"({"ASIC_STATES": {}})"}) {
    EXPECT_EQ(refusalOf([&] { Indexed(threePorts, text); }),
              "index.json: no L3 indexes; give a document with COUNTERS_RIF_NAME_MAP or a dump of "
              "the ASIC database (keys ASIC_STATE:...)")
        << text;
  }
}

TEST(L3Indexes, ReportRepeatedKeys) {
  const Indexed read(
      threePorts, R"({"COUNTERS_RIF_NAME_MAP": {"Ethernet1": "oid:0x1", "Ethernet1": "oid:0x2"}})");
  EXPECT_THAT(indexes(read.l3Indexes), ElementsAre("Ethernet1 2"));
  EXPECT_THAT(briefly(read.problems), ElementsAre("repeatedKey COUNTERS_RIF_NAME_MAP Ethernet1"));
}

/// A dump out of objects, each "TYPE:oid" with attributes whose common prefix is left out.
class AsicDbTest : public testing::Test {
 protected:
  void object(const std::string& type, const std::string& id,
              const std::vector<std::pair<std::string, std::string>>& attributes) {
    text_ +=
        (text_.empty() ? "{" : ",") + ("\"ASIC_STATE:SAI_OBJECT_TYPE_" + type + ":" + id) + "\": {";
    const char* separator = "";
    for (const auto& [name, value] : attributes) {
      text_ += separator + ("\"SAI_" + type + "_ATTR_" + name) + "\": \"" + value + "\"";
      separator = ",";
    }
    text_ += "}";
  }

  void port(const std::string& id, const std::string& name) {
    object("HOSTIF", "oid:0xd00" + id.substr(6), {{"OBJ_ID", id}, {"NAME", name}});
  }

  void router(const std::string& id, const std::string& type,
              std::vector<std::pair<std::string, std::string>> attributes) {
    attributes.emplace_back("TYPE", "SAI_ROUTER_INTERFACE_TYPE_" + type);
    object("ROUTER_INTERFACE", id, attributes);
  }

  [[nodiscard]] Indexed read(std::string_view configuration) const {
    return Indexed(configuration, text_ + "}");
  }

  std::string text_;
};

TEST_F(AsicDbTest, NamesPortsThroughTheirHostInterface) {
  port("oid:0x11", "Ethernet1");
  router("oid:0x6000000000c7c", "PORT", {{"PORT_ID", "oid:0x11"}});
  const Indexed indexed = read(threePorts);
  EXPECT_THAT(indexes(indexed.l3Indexes), ElementsAre("Ethernet1 3196"));
  EXPECT_THAT(briefly(indexed.problems), IsEmpty());
}

TEST_F(AsicDbTest, NamesVlanInterfacesThroughTheirVlan) {
  object("VLAN", "oid:0x26", {{"VLAN_ID", "10"}});
  object("VLAN", "oid:0x27", {{"VLAN_ID", "30"}});
  router("oid:0x61", "VLAN", {{"VLAN_ID", "oid:0x26"}});
  router("oid:0x62", "VLAN", {{"VLAN_ID", "oid:0x27"}});
  const Indexed indexed = read(R"({"VLAN": {"Vlan10": {}, "blue": {"vlanid": 30}},
               "VLAN_INTERFACE": {"Vlan10": {}, "blue": {}}})");
  EXPECT_THAT(indexes(indexed.l3Indexes), ElementsAre("Vlan10 97", "blue 98"));
}

TEST_F(AsicDbTest, NamesPortChannelsThroughTheirMembers) {
  port("oid:0x11", "Ethernet0");
  port("oid:0x12", "Ethernet4");
  object("LAG", "oid:0x21", {});
  object("LAG_MEMBER", "oid:0x1b1", {{"LAG_ID", "oid:0x21"}, {"PORT_ID", "oid:0x11"}});
  object("LAG_MEMBER", "oid:0x1b2", {{"LAG_ID", "oid:0x21"}, {"PORT_ID", "oid:0x12"}});
  object("LAG_MEMBER", "oid:0x1b3", {{"LAG_ID", "oid:0x22"}, {"PORT_ID", "oid:0x13"}});
  router("oid:0x61", "PORT", {{"PORT_ID", "oid:0x21"}});
  const Indexed indexed = read(R"({"PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
      "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet8": {}}})");
  EXPECT_THAT(indexes(indexed.l3Indexes), ElementsAre("PortChannel1 97"));
  EXPECT_THAT(briefly(indexed.problems), IsEmpty());
}

TEST_F(AsicDbTest, AcceptsPortChannelsUnderATypeOfTheirOwn) {
  port("oid:0x11", "Ethernet0");
  object("LAG_MEMBER", "oid:0x1b1", {{"LAG_ID", "oid:0x21"}, {"PORT_ID", "oid:0x11"}});
  router("oid:0x61", "LAG", {{"PORT_ID", "oid:0x21"}});
  const Indexed indexed = read(R"({"PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
                                   "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}}})");
  EXPECT_THAT(indexes(indexed.l3Indexes), ElementsAre("PortChannel1 97"));
}

TEST_F(AsicDbTest, DoesNotGuessTheNameOfAPortChannel) {
  port("oid:0x11", "Ethernet0");
  port("oid:0x12", "Ethernet4");
  object("LAG", "oid:0x21", {});
  object("LAG_MEMBER", "oid:0x1b1", {{"LAG_ID", "oid:0x22"}, {"PORT_ID", "oid:0x11"}});
  object("LAG_MEMBER", "oid:0x1b2", {{"LAG_ID", "oid:0x22"}, {"PORT_ID", "oid:0x12"}});
  object("LAG_MEMBER", "oid:0x1b3", {{"LAG_ID", "oid:0x23"}, {"PORT_ID", "oid:0x13"}});
  router("oid:0x61", "PORT", {{"PORT_ID", "oid:0x21"}});
  router("oid:0x62", "PORT", {{"PORT_ID", "oid:0x22"}});
  router("oid:0x63", "PORT", {{"PORT_ID", "oid:0x23"}});
  const Indexed indexed = read(R"({"PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
      "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel2|Ethernet4": {}}})");
  EXPECT_THAT(indexed.l3Indexes, IsEmpty());
  ASSERT_EQ(indexed.problems.size(), 3U);
  EXPECT_EQ(indexed.problems[0].found,
            "index 97: the port channel oid:0x21 has no members to tell its name");
  EXPECT_EQ(
      indexed.problems[1].found,
      "index 98: the members of the port channel oid:0x22 are in several port channels of the "
      "configuration");
  EXPECT_EQ(indexed.problems[2].found,
            "index 99: the members of the port channel oid:0x23 are in no port channel of the "
            "configuration");
  EXPECT_EQ(indexed.problems[2].done, "the index is not fed");
}

TEST_F(AsicDbTest, NamesSubInterfacesThroughPortAndOuterVlan) {
  port("oid:0x11", "Ethernet0");
  object("LAG_MEMBER", "oid:0x1b1", {{"LAG_ID", "oid:0x21"}, {"PORT_ID", "oid:0x12"}});
  port("oid:0x12", "Ethernet4");
  router("oid:0x61", "SUB_PORT", {{"PORT_ID", "oid:0x11"}, {"OUTER_VLAN_ID", "10"}});
  router("oid:0x62", "SUB_PORT", {{"PORT_ID", "oid:0x21"}, {"OUTER_VLAN_ID", "20"}});
  const Indexed indexed = read(R"({"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
      "VLAN_SUB_INTERFACE": {"Eth0.1": {"vlan": "10"}, "PortChannel1.20": {}}})");
  EXPECT_THAT(indexes(indexed.l3Indexes), ElementsAre("Eth0.1 97", "PortChannel1.20 98"));
  EXPECT_THAT(briefly(indexed.problems), IsEmpty());
}

TEST_F(AsicDbTest, ReportsWhatHasNoName) {
  port("oid:0x11", "Ethernet1");
  router("oid:0x61", "PORT", {{"PORT_ID", "oid:0x99"}});
  router("oid:0x62", "PORT", {});
  router("oid:0x63", "VLAN", {{"VLAN_ID", "oid:0x99"}});
  router("oid:0x64", "SUB_PORT", {{"PORT_ID", "oid:0x11"}});
  router("oid:0x65", "SUB_PORT", {{"PORT_ID", "oid:0x11"}, {"OUTER_VLAN_ID", "7"}});
  router("oid:0x66", "BRIDGE", {});
  router("oid:0x67", "LOOPBACK", {});
  object("ROUTER_INTERFACE", "oid:0x68", {});
  const Indexed indexed = read(threePorts);
  Texts found;
  for (const Problem& problem : indexed.problems) {
    EXPECT_EQ(problem.kind, ProblemKind::unnamedIndex);
    found.push_back(problem.found);
  }
  EXPECT_THAT(found,
              ElementsAre("index 97: no host interface names the port oid:0x99",
                          "index 98: SAI_ROUTER_INTERFACE_ATTR_PORT_ID is no object id",
                          "index 99: the VLAN oid:0x99 has no number",
                          "index 100: SAI_ROUTER_INTERFACE_ATTR_OUTER_VLAN_ID is no VLAN number",
                          "index 101: no sub-interface of Ethernet1 has VLAN 7",
                          "index 102: a router interface of type "
                          "\"SAI_ROUTER_INTERFACE_TYPE_BRIDGE\" has no name here",
                          "index 104: a router interface of type \"\" has no name here"));
}

TEST_F(AsicDbTest, ReportsInterfacesThatTheConfigurationDoesNotRoute) {
  port("oid:0x11", "Ethernet5");
  object("VLAN", "oid:0x26", {{"VLAN_ID", "10"}});
  router("oid:0x61", "PORT", {{"PORT_ID", "oid:0x11"}});
  router("oid:0x62", "VLAN", {{"VLAN_ID", "oid:0x26"}});
  const Indexed indexed = read(threePorts);
  EXPECT_THAT(briefly(indexed.problems),
              ElementsAre("unknownInterface ASIC_STATE SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x61",
                          "unknownInterface ASIC_STATE SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x62"));
  EXPECT_EQ(indexed.problems[1].found, "\"Vlan10\" is no L3 interface of the configuration");
}

TEST_F(AsicDbTest, LeavesTheLowerOfTwoIndexesToAnInterface) {
  port("oid:0x11", "Ethernet1");
  router("oid:0x62", "PORT", {{"PORT_ID", "oid:0x11"}});
  router("oid:0x61", "PORT", {{"PORT_ID", "oid:0x11"}});
  const Indexed indexed = read(threePorts);
  EXPECT_THAT(indexes(indexed.l3Indexes), ElementsAre("Ethernet1 97"));
  EXPECT_THAT(briefly(indexed.problems),
              ElementsAre("secondIndex ASIC_STATE SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x62"));
}

TEST_F(AsicDbTest, ReportsRouterInterfacesWithoutObjectId) {
  object("ROUTER_INTERFACE", "7", {});
  text_ += R"(, "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x61": "x")";
  const Indexed indexed = read(threePorts);
  EXPECT_THAT(briefly(indexed.problems),
              ElementsAre("badObjectId ASIC_STATE SAI_OBJECT_TYPE_ROUTER_INTERFACE:7",
                          "badObjectId ASIC_STATE SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x61"));
}

TEST(AsicDb, NamesNothingOutOfValuesOfTheWrongType) {
  const Indexed read(threePorts, R"({
      "ASIC_STATE:SAI_OBJECT_TYPE_HOSTIF:oid:0xd1":
          {"SAI_HOSTIF_ATTR_NAME": 1, "SAI_HOSTIF_ATTR_OBJ_ID": "oid:0x11"},
      "ASIC_STATE:SAI_OBJECT_TYPE_HOSTIF:oid:0xd2":
          {"SAI_HOSTIF_ATTR_NAME": "Ethernet1", "SAI_HOSTIF_ATTR_OBJ_ID": 2},
      "ASIC_STATE:SAI_OBJECT_TYPE_HOSTIF:oid:0xd3":
          {"SAI_HOSTIF_ATTR_NAME": "no name", "SAI_HOSTIF_ATTR_OBJ_ID": "oid:0x13"},
      "ASIC_STATE:SAI_OBJECT_TYPE_VLAN:oid:0x21": {},
      "ASIC_STATE:SAI_OBJECT_TYPE_LAG_MEMBER:oid:0x31":
          {"SAI_LAG_MEMBER_ATTR_LAG_ID": "oid:0x30", "SAI_LAG_MEMBER_ATTR_PORT_ID": []},
      "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x1":
          {"SAI_ROUTER_INTERFACE_ATTR_TYPE": "SAI_ROUTER_INTERFACE_TYPE_PORT",
           "SAI_ROUTER_INTERFACE_ATTR_PORT_ID": "oid:0x11"},
      "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x2":
          {"SAI_ROUTER_INTERFACE_ATTR_TYPE": "SAI_ROUTER_INTERFACE_TYPE_PORT",
           "SAI_ROUTER_INTERFACE_ATTR_PORT_ID": "oid:0x13"},
      "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x3":
          {"SAI_ROUTER_INTERFACE_ATTR_TYPE": "SAI_ROUTER_INTERFACE_TYPE_VLAN",
           "SAI_ROUTER_INTERFACE_ATTR_VLAN_ID": "oid:0x21"},
      "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x4":
          {"SAI_ROUTER_INTERFACE_ATTR_TYPE": "SAI_ROUTER_INTERFACE_TYPE_LAG",
           "SAI_ROUTER_INTERFACE_ATTR_PORT_ID": "oid:0x30"},
      "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x5":
          {"SAI_ROUTER_INTERFACE_ATTR_TYPE": 7}})");
  EXPECT_THAT(indexes(read.l3Indexes), IsEmpty());
  Texts why;
  for (const Problem& problem : read.problems) {
    EXPECT_EQ(problem.kind, ProblemKind::unnamedIndex);
    why.push_back(problem.found);
  }
  EXPECT_THAT(why, ElementsAre("index 1: no host interface names the port oid:0x11",
                               "index 2: no host interface names the port oid:0x13",
                               "index 3: the VLAN oid:0x21 has no number",
                               "index 4: the port channel oid:0x30 has no members to tell its name",
                               "index 5: a router interface of type \"\" has no name here"));
}

TEST_F(AsicDbTest, IgnoresEverythingElseThatADumpHolds) {
  object("ROUTE_ENTRY", "{\\\"dest\\\":\\\"10.0.0.0/8\\\"}", {});
  object("HOSTIF", "oid:0xd1", {{"NAME", "Ethernet0"}});
  object("VLAN", "oid:0x26", {{"VLAN_ID", "5000"}});
  object("LAG_MEMBER", "oid:0x1b1", {{"LAG_ID", "x"}});
  text_ += R"(, "ASIC_STATE:x": {}, "ASIC_STATE:SAI_OBJECT_TYPE_VLAN": 1, "OTHER": {},
              "ASIC_STATE:SAI_OBJECT_TYPE_HOSTIF:oid:0xd2": [])";
  const Indexed indexed = read(threePorts);
  EXPECT_THAT(indexed.l3Indexes, IsEmpty());
  EXPECT_THAT(briefly(indexed.problems), IsEmpty());
}

}  // namespace
}  // namespace Agent
