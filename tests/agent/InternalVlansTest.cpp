// Runs of the built program with internal VLANs and with patches, as the manual promises them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/agent/ProgramRun.h"

namespace Agent {
namespace {

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

constexpr const char* leaf = "examples/leaf32.config_db.json";
constexpr const char* claim = "examples/leaf32.claim.patch.json";
constexpr const char* release = "examples/leaf32.release.patch.json";

Arguments operator+(Arguments arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

/// As many routed ports.
std::string routedPorts(int count) {
  json document;
  for (int port = 0; port < count; ++port) {
    const std::string name = "Ethernet" + std::to_string(4 * port);
    document["PORT"][name] = json::object();
    document["INTERFACE"][name + "|192.0.2." + std::to_string(2 * port) + "/31"] = json::object();
  }
  return document.dump();
}

/// How many interfaces of the JSON output are in the state.
auto countOf(const std::string& text, const char* state) {
  const auto interfaces = json::parse(text)["interfaces"];
  return std::count_if(interfaces.begin(), interfaces.end(),
                       [&](const json& interface) { return interface["state"] == state; });
}

TEST(InternalVlans, AreHeldByThirtyTwoRoutedPorts) {
  const std::string ports = routedPorts(32);
  const auto shown = runProgram({"show", "--json", "--internal-vlans", "--config", "-"}, ports);
  EXPECT_EQ(shown.exitCode, 0);
  EXPECT_EQ(shown.err, "");
  EXPECT_EQ(countOf(shown.out, "holding"), 32);
  EXPECT_EQ(json::parse(shown.out)["interfaces"][31]["l3Id"], 3999);
  const auto verified =
      runProgram({"verify", "--strict", "--internal-vlans", "--config", "-"}, ports);
  EXPECT_EQ(verified.exitCode, 0);
  EXPECT_EQ(verified.out, "consistent\n");
  EXPECT_EQ(verified.err, "");
}

TEST(InternalVlans, AreMissingForThoseWhoFindTheRangeExhausted) {
  const std::string ports = routedPorts(32);
  const Arguments arguments{"show", "--internal-vlans=3968-3983", "--config", "-"};
  const auto text = runProgram(arguments, ports);
  EXPECT_EQ(text.exitCode, 0);
  EXPECT_EQ(std::count(text.err.begin(), text.err.end(), '\n'), 16);
  EXPECT_THAT(text.err,
              StartsWith("problem: standard input: internal VLANs Ethernet64: the range 3968-3983 "
                         "is exhausted, 16 VLANs are missing; the port gets no internal VLAN\n"));
  EXPECT_THAT(text.out, HasSubstr("\nEthernet60   routed   3983  holding  3983\n"
                                  "Ethernet64   routed      -  none        -\n"));
  const auto asJson = runProgram(arguments + Arguments{"--json", "--strict"}, ports);
  EXPECT_EQ(asJson.exitCode, 3);
  EXPECT_EQ(countOf(asJson.out, "holding"), 16);
  EXPECT_EQ(countOf(asJson.out, "none"), 16);
  EXPECT_EQ(json::parse(asJson.out)["problems"].size(), 16U);
  EXPECT_EQ(runProgram({"verify", "--internal-vlans=3968-3983", "--config", "-"}, ports).out,
            "consistent\n");
}

TEST(InternalVlans, GoToPortsAndPortChannelsAndVlanInterfacesOfTheLeaf) {
  const auto run = runProgram({"show", "--strict", "--internal-vlans=4000-4010", "--policy",
                               "descending", "--internal-vlan", "Ethernet112=7", "--config", leaf});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "INTERFACE        KIND          L3 ID  STATE    WISH\n"
            "Eth104.200       subInterface      -  none        -\n"
            "Ethernet104      routed         4010  holding  4010\n"
            "Ethernet104.100  subInterface      -  none        -\n"
            "Ethernet108      routed         4009  holding  4009\n"
            "Ethernet112      routed            7  holding     7\n"
            "Ethernet116      routed         4008  holding  4008\n"
            "Po100.300        subInterface      -  none        -\n"
            "PortChannel100   portChannel    4007  holding  4007\n"
            "Vlan10           vlan             10  holding    10\n"
            "Vlan20           vlan             20  holding    20\n"
            "Vlan30           vlan             30  holding    30\n"
            "\n"
            "L3 ID  INTERFACE\n"
            "    7  Ethernet112\n"
            "   10  Vlan10\n"
            "   20  Vlan20\n"
            "   30  Vlan30\n"
            " 4007  PortChannel100\n"
            " 4008  Ethernet116\n"
            " 4009  Ethernet108\n"
            " 4010  Ethernet104\n");
}

TEST(InternalVlans, AreLookedUpInBothDirections) {
  const auto answer = [](const char* question) {
    return runProgram({"lookup", question, "--internal-vlans", "--config", leaf}).out;
  };
  EXPECT_EQ(answer("Ethernet104"), "3968\n");
  EXPECT_EQ(answer("3968"), "Ethernet104\n");
  EXPECT_EQ(answer("Vlan10"), "10\n");
}

/// The leaf with two ports that want one VLAN.
const Arguments contested{"--config",         leaf,
                          "--internal-vlans", "--internal-vlan",
                          "Ethernet104=4000", "--internal-vlan",
                          "Ethernet108=4000"};

TEST(Contention, LetsTheSecondPortWait) {
  const auto run = runProgram(Arguments{"show", "--json"} + contested);
  EXPECT_EQ(run.exitCode, 0);
  const auto interfaces = json::parse(run.out)["interfaces"];
  EXPECT_EQ(interfaces[1], json::parse(R"({"interface": "Ethernet104", "kind": "routed",
      "l3Id": 4000, "state": "holding", "wish": 4000, "holder": "Ethernet104"})"));
  EXPECT_EQ(interfaces[3], json::parse(R"({"interface": "Ethernet108", "kind": "routed",
      "l3Id": null, "state": "waiting", "wish": 4000, "holder": "Ethernet104"})"));
  const auto lookup = runProgram(Arguments{"lookup", "Ethernet108"} + contested);
  EXPECT_EQ(lookup.exitCode, 1);
  EXPECT_EQ(lookup.err, "fyrl3: Ethernet108 has no L3 id\n");
}

TEST(Contention, EndsWithAHandOverThatIsPrinted) {
  const auto run = runProgram(Arguments{"verify", "--strict", "--apply", release} + contested);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "");
  const std::string event =
      " (event 33, examples/leaf32.release.patch.json: Ethernet104 changes "
      "in the bridging configuration: routed, VLAN 4000 becomes access)\n";
  EXPECT_EQ(run.out, "consistent\n- Ethernet104: 4000 -> -" + event + "+ Ethernet108: - -> 4000" +
                         event + "consistent\n");
}

TEST(Contention, IsToldFromBothSides) {
  const auto before = runProgram(Arguments{"why", "Ethernet104", "Ethernet108"} + contested);
  EXPECT_EQ(before.exitCode, 0);
  EXPECT_EQ(before.err, "");
  EXPECT_THAT(before.out, StartsWith("Ethernet104 has L3 id 4000: it holds internal VLAN 4000.\n"));
  EXPECT_THAT(before.out,
              HasSubstr("\n  After it, in the order of hand-over, come: Ethernet108.\n"));
  EXPECT_THAT(before.out,
              HasSubstr("\nEthernet108 has no L3 id: it waits for internal VLAN 4000.\n"));
  EXPECT_THAT(before.out, HasSubstr("\n  In the order of hand-over Ethernet108 is number 1 of 1: "
                                    "Ethernet108.\n"));
  const auto after =
      runProgram(Arguments{"why", "Ethernet108", "Ethernet104", "--apply", release} + contested);
  EXPECT_THAT(after.out,
              HasSubstr("\n  It holds it since event 33, examples/leaf32.release.patch.json: "));
  EXPECT_THAT(after.out,
              HasSubstr("\nEthernet104 has no L3 id: it is a port that is not routed.\n"));
}

TEST(Why, AnswersInJsonWithEverythingTheStoryIsMadeOf) {
  const auto run = runProgram(Arguments{"why", "Ethernet108", "Ethernet0", "--json"} + contested);
  EXPECT_EQ(run.exitCode, 0);
  const auto interfaces = json::parse(run.out)["interfaces"];
  ASSERT_EQ(interfaces.size(), 2U);
  const auto& story = interfaces[0];
  EXPECT_EQ(story["state"], "waiting");
  EXPECT_EQ(story["queue"], json::parse(R"(["Ethernet108"])"));
  EXPECT_EQ(story["l3IdSince"], nullptr);
  EXPECT_EQ(story["wishSince"]["origin"], "loading");
  EXPECT_EQ(story["wishSince"]["text"],
            "Ethernet108 enters the bridging configuration: routed, VLAN 4000");
  EXPECT_EQ(story["story"].size(), 5U);
  EXPECT_EQ(interfaces[1]["interface"], "Ethernet0");
  EXPECT_EQ(interfaces[1]["story"].size(), 2U);
  const auto indexed = runProgram({"why", "Ethernet104", "--json", "--config", leaf});
  const auto entry = json::parse(indexed.out)["interfaces"][0];
  EXPECT_EQ(entry["l3IdSince"]["number"], 34);
  EXPECT_FALSE(entry.contains("wish"));
  EXPECT_FALSE(entry.contains("queue"));
}

TEST(Why, ExitsWithOneForANameThatNobodyHas) {
  const auto text = runProgram({"why", "Ethernet108", "nobody", "a b", "--config", leaf});
  EXPECT_EQ(text.exitCode, 1);
  EXPECT_THAT(text.out, StartsWith("Ethernet108 has L3 id 4, its L3 index.\n"));
  EXPECT_EQ(text.err, "fyrl3: no interface is \"nobody\"\nfyrl3: no interface is \"a b\"\n");
  const auto asJson = runProgram({"why", "nobody", "--json", "--config", leaf});
  EXPECT_EQ(asJson.exitCode, 1);
  EXPECT_EQ(json::parse(asJson.out)["interfaces"], json::array());
}

TEST(Apply, LetsAVlanInterfaceWaitThatClaimsAReservedVlan) {
  const Arguments arguments{"show", "--internal-vlans", "--config", leaf, "--apply", claim};
  const auto run = runProgram(arguments);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err,
            "problem: examples/leaf32.config_db.json: internal VLANs Vlan3968: VLAN 3968 is the "
            "internal VLAN of Ethernet104; the VLAN interface waits\n");
  EXPECT_THAT(run.out, StartsWith("- Vlan20: 20 -> - (event "));
  EXPECT_THAT(run.out, HasSubstr("\nEthernet104      routed         3968  holding  3968\n"));
  EXPECT_THAT(run.out, HasSubstr("\nVlan3968         vlan              -  waiting  3968\n"));
  EXPECT_EQ(runProgram(arguments + Arguments{"--strict"}).exitCode, 3);
  const auto freed = runProgram(arguments + Arguments{"--apply", release});
  EXPECT_THAT(freed.out, HasSubstr("\n+ Vlan3968: - -> 3968 (event "));
  EXPECT_THAT(freed.out, HasSubstr("\nVlan3968         vlan           3968  holding  3968\n"));
  EXPECT_EQ(freed.err, run.err);
}

TEST(Apply, FeedsAnIndexThatChangesAsRemovalAndAddition) {
  const auto run = runProgram({"lookup", "Vlan30", "--config", leaf, "--apply", claim});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out,
            "- Vlan20: 10 -> - (event 46, examples/leaf32.claim.patch.json: Vlan20 leaves the L3 "
            "index directory)\n"
            "- Vlan30: 11 -> - (event 47, examples/leaf32.claim.patch.json: Vlan30 leaves the L3 "
            "index directory)\n"
            "+ Vlan30: - -> 10 (event 48, examples/leaf32.claim.patch.json: Vlan30 enters the L3 "
            "index directory: index 10)\n"
            "+ Vlan3968: - -> 11 (event 49, examples/leaf32.claim.patch.json: Vlan3968 enters the "
            "L3 index directory: index 11)\n"
            "10\n");
}

TEST(Apply, ReadsOnePatchFromEachLineOfStandardInput) {
  const auto run =
      runProgram({"verify", "--internal-vlans", "--config", leaf, "--apply", "-"},
                 "[{\"op\": \"remove\", \"path\": \"/VLAN_INTERFACE/Vlan30\"}]\n"
                 " \r\n"
                 "[{\"op\": \"remove\", \"path\": \"/VLAN_INTERFACE/Vlan30|10.32.30.1~124\"}]\n"
                 "[{\"op\": \"add\", \"path\": \"/VLAN_INTERFACE/Vlan30\", \"value\": {}}]");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "consistent\n"
            "consistent\n"
            "- Vlan30: 30 -> - (event 33, standard input, line 3: Vlan30 leaves the VLAN interface "
            "status directory)\n"
            "consistent\n"
            "+ Vlan30: - -> 30 (event 34, standard input, line 4: Vlan30 enters the VLAN interface "
            "status directory)\n"
            "consistent\n");
}

TEST(Apply, StopsAtAPatchThatCannotBeAppliedAndShowsWhatWas) {
  const std::string lines =
      "[{\"op\": \"remove\", \"path\": \"/VLAN_INTERFACE\"}]\n"
      "[{\"op\": \"remove\", \"path\": \"/INTERFACE\"}, {\"op\": \"remove\", \"path\": \"/x\"}]\n"
      "[{\"op\": \"remove\", \"path\": \"/INTERFACE\"}]\n";
  const Arguments arguments{"show", "--internal-vlans", "--config", leaf, "--apply", "-"};
  const auto run = runProgram(arguments, lines);
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.err, "fyrl3: standard input, line 2: operation 2 (remove /x): there is no \"x\"\n");
  EXPECT_THAT(run.out, StartsWith("- Vlan10: 10 -> - ("));
  EXPECT_THAT(run.out, HasSubstr("\nEthernet104      routed         3968  holding  3968\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("\nVlan10 ")));
  const auto asJson = runProgram(arguments + Arguments{"--json"}, lines);
  EXPECT_EQ(asJson.exitCode, 2);
  EXPECT_EQ(asJson.err, run.err);
  EXPECT_EQ(json::parse(asJson.out)["changes"].size(), 3U);
}

TEST(Apply, ExitsWithTwoForPatchesThatAreNone) {
  for (const char* file : {"/no/such/file", "CMakeLists.txt", leaf}) {
    const auto run = runProgram({"show", "--config", leaf, "--apply", claim, "--apply", file});
    EXPECT_EQ(run.exitCode, 2) << file;
    EXPECT_EQ(run.out, "") << file;
    EXPECT_THAT(run.err, StartsWith("fyrl3: ")) << file;
  }
  const auto line = runProgram({"lookup", "Vlan10", "--config", leaf, "--apply", "-"}, "x");
  EXPECT_EQ(line.exitCode, 2);
  EXPECT_EQ(line.out, "9\n");
  EXPECT_THAT(line.err, StartsWith("fyrl3: standard input, line 1: line 1, column 1: not JSON: "));
  const auto directory = runProgramReading("examples", {"show", "--config", leaf, "--apply", "-"});
  EXPECT_EQ(directory.exitCode, 2);
  EXPECT_EQ(directory.err, "fyrl3: standard input: cannot be read: Is a directory\n");
}

TEST(Apply, TellsWhenAChangeCannotBeWritten) {
  const auto run = runProgramInto(
      "/dev/full", {"lookup", "nobody", "--internal-vlans", "--config", leaf, "--apply", release});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.err, "fyrl3: cannot write to standard output: No space left on device\n");
}

TEST(Verify, AnswersInJsonWithEachCheck) {
  const auto run =
      runProgram({"verify", "--json", "--internal-vlans", "--config", leaf, "--apply", release});
  EXPECT_EQ(run.exitCode, 0);
  const auto document = json::parse(run.out);
  EXPECT_EQ(document["checks"], json::parse(R"([
      {"after": "loading", "consistent": true, "report": ""},
      {"after": "examples/leaf32.release.patch.json", "consistent": true, "report": ""}])"));
  EXPECT_EQ(document["changes"].size(), 1U);
  EXPECT_EQ(document["problems"], json::array());
}

TEST(Verify, ChecksL3IndexesToo) {
  const auto run = runProgram({"verify", "--config", leaf, "--l3-index",
                               "examples/leaf32.asic_db.json", "--apply", release});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, StartsWith("consistent\n"));
  EXPECT_THAT(run.out, EndsWith("\nconsistent\n"));
}

TEST(Verify, TracesTheCheck) {
  const auto run = runProgram({"verify", "--trace", "9", "--internal-vlans", "--config", leaf});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out, "consistent\n");
  EXPECT_THAT(run.err, HasSubstr("ConfigSm::doVerify()\n"));
}

TEST(StateWords, StandNowhereButInTheState) {
  for (const char* word : {"holding", "waiting", "none"}) {
    for (const auto& command : {Arguments{"show"}, Arguments{"why", "Ethernet108", "Ethernet0"}}) {
      const auto run = runProgram(command + Arguments{"--json", "--apply", release} + contested);
      auto document = json::parse(run.out);
      for (auto& interface : document["interfaces"]) {
        interface.erase("state");
      }
      EXPECT_THAT(document.dump(), Not(HasSubstr(word)));
    }
  }
}

}  // namespace
}  // namespace Agent
