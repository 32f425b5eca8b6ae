#include "agent/ConfigTables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/agent/Reading.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// "Vlan10 Ethernet0" for each row: the parts of its key.
Texts keysOf(const std::vector<Row>& rows) {
  Texts keys;
  for (const Row& row : rows) {
    keys.emplace_back(row.name);
    if (!row.second.empty()) keys.back().append(" ").append(row.second);
  }
  return keys;
}

class ConfigTablesTest : public testing::Test {
 protected:
  const ConfigTables& tablesOf(std::string_view text) {
    document_.emplace("test.json", text);
    tables_.emplace(*document_, problems_);
    return *tables_;
  }

  Problems problems_;

 private:
  std::optional<Document> document_;
  std::optional<ConfigTables> tables_;
};

TEST_F(ConfigTablesTest, ReadsNestedObjects) {
  const auto& tables = tablesOf(R"({"VLAN_MEMBER": {"Vlan10|Ethernet0": {"tagging_mode": "x"}}})");
  ASSERT_THAT(keysOf(tables.rows(Table::vlanMember)), ElementsAre("Vlan10 Ethernet0"));
  EXPECT_EQ(*tables.rows(Table::vlanMember).front().field("tagging_mode"), "x");
  EXPECT_EQ(tables.rows(Table::vlanMember).front().field("other"), nullptr);
}

TEST_F(ConfigTablesTest, ReadsOneObjectPerRow) {
  const auto& tables = tablesOf(R"({"VLAN|Vlan10": {}, "VLAN_INTERFACE|Vlan10|fc00::1/64": {}})");
  EXPECT_THAT(keysOf(tables.rows(Table::vlan)), ElementsAre("Vlan10"));
  EXPECT_THAT(keysOf(tables.rows(Table::vlanInterface)), ElementsAre("Vlan10 fc00::1/64"));
}

TEST_F(ConfigTablesTest, ReadsTheApplicationDatabase) {
  const auto& tables = tablesOf(R"({"PORT_TABLE:Ethernet0": {}, "LAG_TABLE:PortChannel1": {},
      "LAG_MEMBER_TABLE:PortChannel1:Ethernet0": {}, "VLAN_TABLE:Vlan1": {},
      "VLAN_MEMBER_TABLE:Vlan1:Ethernet4": {}})");
  EXPECT_THAT(keysOf(tables.rows(Table::port)), ElementsAre("Ethernet0"));
  EXPECT_THAT(keysOf(tables.rows(Table::portChannel)), ElementsAre("PortChannel1"));
  EXPECT_THAT(keysOf(tables.rows(Table::portChannelMember)), ElementsAre("PortChannel1 Ethernet0"));
  EXPECT_THAT(keysOf(tables.rows(Table::vlan)), ElementsAre("Vlan1"));
  EXPECT_THAT(keysOf(tables.rows(Table::vlanMember)), ElementsAre("Vlan1 Ethernet4"));
}

TEST_F(ConfigTablesTest, SplitsKeysOfTheApplicationDatabaseAtTheFirstTwoColonsOnly) {
  const auto& tables = tablesOf(R"({"INTF_TABLE:Ethernet0:2001:db8::1/127": {}})");
  EXPECT_THAT(keysOf(tables.rows(Table::interface)), ElementsAre("Ethernet0 2001:db8::1/127"));
}

TEST_F(ConfigTablesTest, TellsInterfacesOfTheApplicationDatabaseApartByName) {
  const auto& tables = tablesOf(R"({"INTF_TABLE:Ethernet0": {}, "INTF_TABLE:PortChannel1": {},
      "INTF_TABLE:Vlan10": {}, "INTF_TABLE:Ethernet0.10": {}, "INTF_TABLE:Po1.1": {},
      "INTF_TABLE:Loopback0": {}, "INTF_TABLE:lo:10.0.0.1/32": {}, "INTF_TABLE:eth0": {}})");
  EXPECT_THAT(keysOf(tables.rows(Table::interface)), ElementsAre("Ethernet0"));
  EXPECT_THAT(keysOf(tables.rows(Table::portChannelInterface)), ElementsAre("PortChannel1"));
  EXPECT_THAT(keysOf(tables.rows(Table::vlanInterface)), ElementsAre("Vlan10"));
  EXPECT_THAT(keysOf(tables.rows(Table::vlanSubInterface)), ElementsAre("Ethernet0.10", "Po1.1"));
  EXPECT_THAT(keysOf(tables.rows(Table::loopbackInterface)),
              ElementsAre("Loopback0", "eth0", "lo 10.0.0.1/32"));
}

TEST_F(ConfigTablesTest, AcceptsTablesOfTheApplicationDatabaseAsNestedObjects) {
  const auto& tables = tablesOf(R"({"INTF_TABLE": {"Vlan10:10.0.0.1/24": {}}})");
  EXPECT_THAT(keysOf(tables.rows(Table::vlanInterface)), ElementsAre("Vlan10 10.0.0.1/24"));
}

TEST_F(ConfigTablesTest, LeavesOutTheProgressMarksOfTheApplicationDatabase) {
  const auto& tables =
      tablesOf(R"({"PORT_TABLE:PortConfigDone": {}, "PORT_TABLE:PortInitDone": {}})");
  EXPECT_FALSE(tables.has(Table::port));
  EXPECT_THAT(problems_, IsEmpty());
}

TEST_F(ConfigTablesTest, KnowsATableWithoutRowsFromOneThatIsAbsent) {
  const auto& tables = tablesOf(R"({"VLAN": {}})");
  EXPECT_TRUE(tables.has(Table::vlan));
  EXPECT_FALSE(tables.has(Table::port));
  EXPECT_THAT(tables.rows(Table::vlan), IsEmpty());
  EXPECT_THAT(tables.rows(Table::port), IsEmpty());
}

TEST_F(ConfigTablesTest, IgnoresOtherTablesWhateverTheyHold) {
  (void)tablesOf(R"({"ACL_RULE": 7, "ACL_RULE|x": null, "VLAN:Vlan1": 1, "PORT_TABLE|x": 1})");
  EXPECT_THAT(problems_, IsEmpty());
}

TEST_F(ConfigTablesTest, ReportsKeysWithTooFewOrTooManyParts) {
  const auto& tables = tablesOf(R"({"PORT": {"Ethernet0|x": {}}, "VLAN_MEMBER": {"Vlan10": {}},
      "INTERFACE": {"Ethernet0|10.0.0.1/24|x": {}}, "VLAN_MEMBER_TABLE:Vlan10": {}})");
  EXPECT_THAT(tables.rows(Table::vlanMember), IsEmpty());
  EXPECT_THAT(
      briefly(problems_),
      ElementsAre("malformedKey INTERFACE Ethernet0|10.0.0.1/24|x", "malformedKey PORT Ethernet0|x",
                  "malformedKey VLAN_MEMBER Vlan10", "malformedKey VLAN_MEMBER_TABLE Vlan10"));
}

TEST_F(ConfigTablesTest, ReportsRowsThatAreNoObjects) {
  const auto& tables = tablesOf(R"({"PORT": {"Ethernet0": null}, "VLAN|Vlan10": [1]})");
  EXPECT_THAT(tables.rows(Table::port), IsEmpty());
  EXPECT_TRUE(tables.has(Table::vlan));
  EXPECT_THAT(briefly(problems_), ElementsAre("wrongType PORT Ethernet0", "wrongType VLAN Vlan10"));
  EXPECT_EQ(problems_.front().found, "the row is null");
  EXPECT_EQ(problems_.front().done, "the row is ignored");
}

TEST_F(ConfigTablesTest, RefusesATableThatIsNoObject) {
  EXPECT_EQ(refusalOf([&] { (void)tablesOf(R"({"VLAN": "\u001b"})"); }),
            "test.json: table VLAN is \"\\\\u001b\"; write it as an object of rows, each under its "
            "key");
}

}  // namespace
}  // namespace Agent
