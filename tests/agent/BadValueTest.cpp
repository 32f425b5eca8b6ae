// Numbers at and over each limit, and names that a terminal would obey, in each place of the
// documents where one can stand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/Commands.h"
#include "agent/L3Indexes.h"
#include "agent/Printer.h"
#include "agent/Session.h"
#include "tests/agent/BadInput.h"

namespace Agent {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// A number as a file may spell it.
struct Spelled {
  const char* text;
  /// The VLAN that it is, or 0 where it is none.
  int vlan;
};

constexpr Spelled numbers[] = {
    {"1", 1},
    {"2", 2},
    {"4093", 4093},
    {"4094", 4094},
    {"0", 0},
    {"-0", 0},
    {"-1", 0},
    {"4095", 0},
    {"4096", 0},
    {"65535", 0},
    {"65536", 0},
    {"65546", 0},  // 10 behind 2^16
    {"2147483647", 0},
    {"2147483648", 0},  // 2^31
    {"-2147483649", 0},
    {"4294967295", 0},
    {"4294967306", 0},  // 10 behind 2^32
    {"9223372036854775807", 0},
    {"9223372036854775808", 0},  // 2^63
    {"-9223372036854775809", 0},
    {"18446744073709551615", 0},
    {"18446744073709551616", 0},  // 2^64
    {"18446744073709551626", 0},  // 10 behind it
    {"100000000000000000000000010", 0},
    {"10.0", 0},
    {"10.5", 0},
    {"1e1", 0},
    {"1E+1", 0},
    {"1e-400", 0},
    {"1e308", 0},
};

/// A place where a VLAN number may stand, and what to call it by in problems.
struct Place {
  const char* text;
  const char* key;
};

constexpr Place places[] = {
    {R"({"VLAN": {"blue": {"vlanid": @}}})", "blue"},
    {R"({"PORT": {"Ethernet0": {}}, "VLAN_SUB_INTERFACE": {"Ethernet0.1": {"vlan": @}}})",
     "Ethernet0.1"},
    {R"({"interfaces": {"interface": [{"name": "Ethernet1", "switched-vlan":
        {"config": {"interface-mode": "ACCESS", "access-vlan": @}}}]}})",
     "Ethernet1"},
    {R"({"interfaces": {"interface": [{"name": "Ethernet1", "switched-vlan":
        {"config": {"interface-mode": "TRUNK", "native-vlan": @}}}]}})",
     "Ethernet1"},
    {R"({"interfaces": {"interface": [{"name": "Ethernet1", "switched-vlan":
        {"config": {"interface-mode": "TRUNK", "trunk-vlans": [@]}}}]}})",
     "Ethernet1"},
    {R"({"interfaces": {"interface": [{"name": "Ethernet1", "subinterfaces": {"subinterface": [
        {"index": 7, "ipv6": {"config": {"enabled": true}}, "vlan": {"config": {"vlan-id": @}}}]}}]}})",
     "Ethernet1.7"},
};

/// Expects that the VLAN is used, or that one problem says that it is none.
void expectVlan(const std::string& text, int vlan, const std::string& key) {
  SCOPED_TRACE(text);
  const Configured read(text);
  if (vlan != 0) {
    EXPECT_EQ(briefly(read.problems), Texts());
    EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre(vlan));
  } else {
    ASSERT_EQ(read.problems.size(), 1U);
    EXPECT_EQ(read.problems[0].kind, ProblemKind::badVlanNumber);
    EXPECT_EQ(read.problems[0].key, key);
    EXPECT_THAT(usedVlans(read.theSwitch), ElementsAre());
  }
}

TEST(BadNumber, IsNoVlanWhereverItStands) {
  for (const Place& place : places) {
    for (const Spelled& number : numbers) {
      expectVlan(filled(place.text, "@", number.text), number.vlan, place.key);
      const std::string quoted = std::string("\"") + number.text + "\"";
      expectVlan(filled(place.text, "@", quoted), number.vlan, place.key);
    }
  }
}

TEST(BadNumber, IsNoVlanInAName) {
  for (const Spelled& number : numbers) {
    const std::string name = std::string("Vlan") + number.text;
    expectVlan(filled(R"({"VLAN": {"@": {}}})", "@", name), number.vlan, name);
    expectVlan(filled(R"({"VLAN_INTERFACE": {"@": {}}})", "@", name), number.vlan, name);
    expectVlan(
        filled(R"({"interfaces": {"interface": [{"name": "@", "config": {"type": "l3ipvlan"}}]}})",
               "@", name),
        number.vlan, name);
  }
}

TEST(BadNumber, EndsNoRangeOfVlans) {
  const std::string text = filled(places[4].text, "[@]", "[\"@\"]");
  for (const Spelled& number : numbers) {
    if (std::string_view(number.text).starts_with('-') || number.vlan != 0) continue;
    for (const char* range : {"4090-@", "4090..@", "@-4094", "@..4094", "-@", "@-", "..", "-"}) {
      expectVlan(filled(text, "@", filled(range, "@", number.text)), 0, "Ethernet1");
    }
  }
  EXPECT_EQ(usedVlans(Configured(filled(text, "@", "4090..4094")).theSwitch),
            (std::vector{4090, 4091, 4092, 4093, 4094}));
}

TEST(BadNumber, IsRefusedWhereNoNumberIsThatLarge) {
  for (const Place& place : places) {
    const std::string text = filled(place.text, "@", "1e400");
    EXPECT_THAT(refusalOf([&] { (void)Configured(text); }), StartsWith("test.json: line "));
    EXPECT_THAT(refusalOf([&] { (void)Configured(text); }), HasSubstr("'1e400'"));
    expectVlan(filled(place.text, "@", R"("1e400")"), 0, place.key);
  }
}

TEST(BadNumber, IsNoIndexOfASubinterface) {
  const char* const text = R"({"interfaces": {"interface": [{"name": "Ethernet1", "subinterfaces":
      {"subinterface": [{"index": @, "ipv6": {"config": {"enabled": true}}}]}}]}})";
  for (const char* index : {"-1", "1.5", "1e3", "18446744073709551616", "\"\"", "\"-1\"", "[]"}) {
    const Configured read(filled(text, "@", index));
    EXPECT_THAT(briefly(read.problems), ElementsAre("badName interfaces Ethernet1")) << index;
    EXPECT_THAT(l3Interfaces(read.theSwitch), ElementsAre("Ethernet1 routed")) << index;
  }
  EXPECT_THAT(l3Interfaces(Configured(filled(text, "@", "18446744073709551615")).theSwitch),
              ElementsAre("Ethernet1 routed", "Ethernet1.18446744073709551615 subInterface"));
}

/// The index that is read for Ethernet0 out of a name map with this object id, or the problem.
std::string indexed(const std::string& objectId) {
  const Configured configured(R"({"INTERFACE": {"Ethernet0": {}}})");
  Problems problems;
  const json map = {{"COUNTERS_RIF_NAME_MAP", {{"Ethernet0", objectId}}}};
  const L3Indexes all =
      readL3Indexes(Document("index.json", map.dump()), configured.theSwitch, problems);
  if (all.empty() && problems.size() == 1) return briefly(problems).front();
  return problems.empty() && all.size() == 1 ? indexes(all).front() : "neither or both";
}

TEST(BadNumber, IsNoL3Index) {
  const std::string bad = "badObjectId COUNTERS_RIF_NAME_MAP Ethernet0";
  const std::string zero = "zeroIndex COUNTERS_RIF_NAME_MAP Ethernet0";
  for (const char* text :
       {"", "oid:", "oid:0x", "oid:0x-1", "oid:0x1.5", "oid:0x1e400x", "oid:0x 1", "oid:1",
        "oid:0x10000000000000000", "0x1", "oid:0x0x1", "OID:0x1"}) {
    EXPECT_EQ(indexed(text), bad) << text;
  }
  EXPECT_EQ(indexed("oid:0x1"), "Ethernet0 1");
  EXPECT_EQ(indexed("oid:0x7fffffffff"), "Ethernet0 549755813887");
  EXPECT_EQ(indexed("oid:0xffffffffffffffff"), "Ethernet0 549755813887");
  EXPECT_EQ(indexed("oid:0x8000000001"), "Ethernet0 1");
  for (const char* text : {"oid:0x0", "oid:0x8000000000", "oid:0xffffff8000000000"}) {
    EXPECT_EQ(indexed(text), zero) << text;
  }
}

/// What the program would write.
struct Said {
  std::string out;
  std::string err;
};

/// What is said of a configuration and, where a text is given for it, of a file of L3 indexes or of
/// a patch.
Said saidOf(bool isJson, const std::string& configuration, const std::string& l3Indexes,
            const std::string& patch) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Printer printer(isJson);
  try {
    L3IdSource source;
    if (!l3Indexes.empty()) source.l3Indexes = Document("i.json", l3Indexes);
    Session session(Document("f.json", configuration), source);
    printer.tellProblems(session.problems());
    session.watch([&](const TableChange& change) { printer.tellChange(change); });
    if (!patch.empty()) session.apply(Document("p.json", patch));
    printer.tellProblems(session.problems());
    show(session, printer);
  } catch (const UnreadableInput& refusal) {
    printer.refuse(refusal.what());
  }
  printer.finish();
  return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// Expects that neither manner says anything that a terminal obeys. Returns the JSON document.
json expectShownAsItIs(const std::string& configuration, const std::string& l3Indexes = "",
                       const std::string& patch = "") {
  const Said text = saidOf(false, configuration, l3Indexes, patch);
  EXPECT_TRUE(isShownAsItIs(text.out)) << configuration << l3Indexes << patch;
  EXPECT_TRUE(isShownAsItIs(text.err)) << configuration << l3Indexes << patch;
  const Said said = saidOf(true, configuration, l3Indexes, patch);
  EXPECT_TRUE(isShownAsItIs(said.out)) << configuration << l3Indexes << patch;
  EXPECT_TRUE(isShownAsItIs(said.err)) << configuration << l3Indexes << patch;
  return json::parse(said.out, nullptr, false);
}

/// The name as it stands between the quotation marks of JSON.
std::string asJson(const std::string& name) {
  const std::string quoted = json(name).dump();
  return quoted.substr(1, quoted.size() - 2);
}

constexpr const char* configurationsWithAName[] = {
    R"("@")",
    R"({"@": {"Ethernet0": {}}})",
    R"({"PORT": {}, "@": {"Ethernet0": {}}})",
    R"({"PORT": "@"})",
    R"({"PORT": {"@": {}}})",
    R"({"PORT": {"Ethernet0": {"@": "@"}}})",
    R"({"PORT": {"@": {"@": 1, "@": 2}}})",
    R"({"PORTCHANNEL_MEMBER": {"@|Ethernet0": {}, "PortChannel1|@": {}, "@": {}}})",
    R"({"VLAN": {"@": {}, "Vlan@": {"vlanid": "10"}}})",
    R"({"VLAN": {"Vlan10": {"vlanid": "@", "members": "@"}}})",
    R"({"VLAN": {"Vlan10": {"members": ["@", "@"]}}})",
    R"({"VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|@": {}, "@|Ethernet0": {}, "@|@|@": {}}})",
    R"({"VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|Ethernet0": {"tagging_mode": "@"}}})",
    R"({"INTERFACE": {"@": {}, "Ethernet0|@": {}, "Ethernet0@": {}, "Ethernet4": "@"}})",
    R"({"VLAN_SUB_INTERFACE": {"Ethernet0.1": {"vlan": "@"}, "@.1": {}, "Ethernet0.@": {}}})",
    R"({"VLAN_INTERFACE|@": {}, "INTERFACE|@|@": {}, "INTERFACE|Ethernet0|@": {}})",
    R"({"INTF_TABLE:@:@": {}, "VLAN_MEMBER_TABLE:@:@": {}, "PORT_TABLE:@": "@"})",
    R"({"interfaces": "@"})",
    R"({"openconfig-interfaces:interfaces": "@"})",
    R"({"interfaces": {"interface": "@", "@": 1}})",
    R"({"interfaces": {"interface": ["@", {"name": "@"}, {"name": 7, "@": "@"}]}})",
    R"({"interfaces": {"interface": [{"name": "Ethernet1", "config": {"type": "@", "enabled": "@"},
        "subinterfaces": "@", "ethernet": {"config": {"aggregate-id": "@"}}}]}})",
    R"({"interfaces": {"interface": [{"name": "Ethernet1", "switched-vlan": {"config": {
        "interface-mode": "@", "access-vlan": "@", "trunk-vlans": ["@", "1-@"]}}}]}})",
    R"({"interfaces": {"interface": [{"name": "Ethernet1", "subinterfaces": {"subinterface": [
        {"index": "@", "ipv6": {"config": {"enabled": true}}}, {"index": 7, "vlan": {"config":
        {"vlan-id": "@"}}, "ipv6": {"config": {"enabled": true}}}, "@"]}}]}})",
    R"({"interfaces": {"interface": [{"name": "Vlan10", "routed-vlan": {"config": {"vlan": "@"}}},
        {"name": "Vlan11", "routed-vlan": "@"}]}})",
};

TEST(HostileName, IsNeverPrintedRawOutOfAConfiguration) {
  for (const std::string& name : hostileNames()) {
    for (const char* text : configurationsWithAName) {
      const json said = expectShownAsItIs(filled(text, "@", asJson(name)));
      EXPECT_TRUE(said.is_object()) << text;
    }
  }
}

TEST(HostileName, IsWholeInTheJsonOutput) {
  for (const std::string& name : hostileNames()) {
    const std::string text = filled(R"({"PORT": {"@": 7}})", "@", asJson(name));
    EXPECT_EQ(expectShownAsItIs(text)["problems"][0]["key"], name);
  }
}

constexpr const char* indexesWithAName[] = {
    R"("@")",
    R"({"@": 1})",
    R"({"COUNTERS_RIF_NAME_MAP": "@"})",
    R"({"COUNTERS_RIF_NAME_MAP": {"@": "oid:0x6000000000001", "Ethernet0": "@"}})",
    R"({"COUNTERS_RIF_NAME_MAP": {"@": 1, "@": 2}})",
    R"({"ASIC_STATE:@": {}, "ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:@": {}})",
    R"({"ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x1": {"SAI_ROUTER_INTERFACE_ATTR_TYPE": "@"}})",
    R"({"ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x1": {"SAI_ROUTER_INTERFACE_ATTR_TYPE":
        "SAI_ROUTER_INTERFACE_TYPE_PORT", "SAI_ROUTER_INTERFACE_ATTR_PORT_ID": "oid:0x2"},
        "ASIC_STATE:SAI_OBJECT_TYPE_HOSTIF:oid:0x3": {"SAI_HOSTIF_ATTR_NAME": "@",
        "SAI_HOSTIF_ATTR_OBJ_ID": "oid:0x2"}})",
};

TEST(HostileName, IsNeverPrintedRawOutOfL3Indexes) {
  for (const std::string& name : hostileNames()) {
    for (const char* text : indexesWithAName) {
      (void)expectShownAsItIs(everyTable, filled(text, "@", asJson(name)));
    }
  }
}

constexpr const char* patchesWithAName[] = {
    R"("@")",
    R"(["@"])",
    R"([{"@": "@"}])",
    R"([{"op": "add", "@": 1, "@": 2}])",
    R"([{"op": "@", "path": "/@"}])",
    R"([{"op": "add", "path": "@", "value": 1}])",
    R"([{"op": "add", "path": "/@/@", "value": 1}])",
    R"([{"op": "add", "path": "/PORT/@", "value": {}}])",
    R"([{"op": "replace", "path": "/INTERFACE/Ethernet0", "value": "@"}])",
    R"([{"op": "replace", "path": "", "value": "@"}])",
    R"([{"op": "replace", "path": "/INTERFACE", "value": "@"}])",
    R"([{"op": "move", "from": "/@", "path": "/@"}])",
    R"([{"op": "add", "path": "/@", "value": "@"}, {"op": "test", "path": "/@", "value": "x"}])",
};

TEST(HostileName, IsNeverPrintedRawOutOfAPatch) {
  for (const std::string& name : hostileNames()) {
    for (const char* text : patchesWithAName) {
      (void)expectShownAsItIs(everyTable, "", filled(text, "@", asJson(name)));
    }
  }
}

}  // namespace
}  // namespace Agent
