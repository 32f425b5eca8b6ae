#include "agent/ShellCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "Kob/Trace.h"
#include "tests/agent/ShellBench.h"

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* unrouteEthernet0 =
    R"(apply [{"op": "remove", "path": "/INTERFACE/Ethernet0"}])";

/// Expects that the line is refused with this message, as text, and as bad usage.
void expectRefusal(ShellBench& bench, const std::string& line, const std::string& message) {
  const ShellAnswer answer = bench.obey(line);
  EXPECT_EQ(answer.exitCode, exitUnusable) << line;
  EXPECT_EQ(answer.out, "") << line;
  EXPECT_EQ(answer.err, "fyrl3: " + message + "\n");
}

TEST(ShellCommands, AreEachNamedOnceAndListedByHelp) {
  ShellBench bench(true);
  const ShellAnswer help = bench.obey("help");
  EXPECT_EQ(help.exitCode, exitSuccess);
  std::set<std::string_view> names;
  for (const ShellCommand& command : shellCommands()) {
    EXPECT_TRUE(names.insert(command.name).second) << command.name;
    EXPECT_THAT("\n" + help.out, HasSubstr("\n" + std::string(command.name) + " "));
    EXPECT_EQ(shellCommand(command.name), &command);
  }
  EXPECT_EQ(names, (std::set<std::string_view>{"show", "lookup", "why", "verify", "apply", "watch",
                                               "trace", "defer", "run", "types", "get", "set",
                                               "del", "count", "list", "call", "help", "quit"}));
  EXPECT_EQ(shellCommand("x"), nullptr);
}

TEST(ShellCommands, OfWhichMayEndFatallyAreTriedFirst) {
  for (const ShellCommand& command : shellCommands()) {
    const std::set<std::string_view> tried{"call", "set", "del", "apply", "run", "defer"};
    EXPECT_EQ(command.isTriedFirst, tried.contains(command.name)) << command.name;
  }
}

TEST(ShellCommands, AreRefusedWithTheirUsage) {
  ShellBench bench(true);
  for (const char* line : {"show x",
                           "lookup",
                           "lookup a b",
                           "why",
                           "verify x",
                           "apply",
                           "watch",
                           "watch maybe",
                           "watch on off",
                           "trace",
                           "trace FyrL3IntfSm 10 on",
                           "trace FyrL3IntfSm x on",
                           "trace FyrL3IntfSm 1 maybe",
                           "defer",
                           "defer maybe",
                           "run x",
                           "types a b",
                           "get",
                           "set",
                           "set table.a",
                           "set table.a[b]c",
                           "del",
                           "count",
                           "list",
                           "call",
                           "call table.a",
                           "call table.a(",
                           "call table.a(b) c",
                           "help a b",
                           "quit x"}) {
    const ShellAnswer answer = bench.obey(line);
    EXPECT_EQ(answer.exitCode, exitUnusable) << line;
    EXPECT_THAT(answer.err, StartsWith("fyrl3: usage: ")) << line;
  }
  expectRefusal(bench, "set table.a", "usage: set PATH VALUE");
  expectRefusal(bench, "run x", "usage: run");
  expectRefusal(bench, "frobnicate", "there is no command \"frobnicate\"; help lists them");
}

TEST(ShellCommands, HelpWithOne) {
  ShellBench bench(true);
  EXPECT_EQ(bench.obey("help del").out,
            "del PATH                     Delete an entry of a collection\n");
  const ShellAnswer unknown = bench.obey("help x");
  EXPECT_EQ(unknown.exitCode, exitNotFound);
  EXPECT_EQ(unknown.err, "fyrl3: there is no command \"x\"\n");
}

TEST(ShellCommands, AskAsTheProgramDoes) {
  ShellBench bench(true);
  EXPECT_THAT(bench.obey("show").out, StartsWith("INTERFACE  KIND    L3 ID  STATE    WISH\n"));
  EXPECT_EQ(bench.obey("lookup Ethernet0").out, "3968\n");
  EXPECT_EQ(bench.obey("lookup 3969").out, "Ethernet4\n");
  EXPECT_EQ(bench.obey("lookup x").exitCode, exitNotFound);
  EXPECT_THAT(bench.obey("why Ethernet0 Vlan10").out, HasSubstr("\nVlan10 has L3 id 10: "));
  EXPECT_EQ(bench.obey("why x").exitCode, exitNotFound);
  EXPECT_EQ(bench.obey("verify").out, "consistent\n");
}

TEST(ShellCommands, ListTypesAndOneOfThem) {
  ShellBench bench(true);
  EXPECT_THAT(bench.obey("types").out, HasSubstr("\nFyrL3Intf::ConfigSm\n"));
  const ShellAnswer table = bench.obey("types FyrL3Intf::Table");
  EXPECT_EQ(table.out,
            "FyrL3Intf::Table: Kob::Entity\n"
            "  made from (name: Kob::Name, internalVlanNeeded: bool)\n"
            "  258  internalVlanNeeded: bool\n"
            "  259  routedPortName[FyrL3Intf::L3Id]: Plexo::IntfId\n"
            "  260  intfL3Index[Plexo::IntfId]: FyrL3Intf::L3Id\n"
            "  261  l3IdToIntfId(l3Id: FyrL3Intf::L3Id): Plexo::IntfId\n"
            "  262  intfIdToL3Id(intfId: Plexo::IntfId): FyrL3Intf::L3Id\n");
  EXPECT_EQ(bench.obey("types Table").out, table.out);
  EXPECT_THAT(bench.obey("types SwitchIntfConfigSm").out, HasSubstr("\n    -  fwkKey: "));
  EXPECT_THAT(bench.obey("types ConfigSm").out,
              HasSubstr("switchIntfConfigSm[Plexo::IntfId]: FyrL3Intf::SwitchIntfConfigSm, made "
                        "from (switchIntfConfig: Bridging::SwitchIntfConfig, intfId: "));
  const ShellAnswer unknown = bench.obey("types x");
  EXPECT_EQ(unknown.exitCode, exitNotFound);
  EXPECT_EQ(unknown.err, "fyrl3: no type is \"x\"\n");
}

TEST(ShellCommands, GetCountAndListWhatIsThere) {
  ShellBench bench(true);
  EXPECT_EQ(bench.obey("get table.intfL3Index[Ethernet0]").out, "3968\n");
  EXPECT_EQ(bench.obey("get table").out,
            "FyrL3Intf::Table\n"
            "  internalVlanNeeded: true\n"
            "  routedPortName: 3 entries\n"
            "  intfL3Index: 3 entries\n");
  EXPECT_EQ(bench.obey("count table.intfL3Index").out, "3\n");
  EXPECT_EQ(bench.obey("list configSm.desiredRoutedPortName[10].member").out, "[Vlan10] true\n");
  EXPECT_EQ(bench.obey("list configSm.vlanIntfStatusDir.intfStatus").out,
            "[Vlan10] Interface::IntfStatus\n");
  expectRefusal(bench, "list table.internalVlanNeeded",
                "table.internalVlanNeeded: 'internalVlanNeeded' does not support operation 1");
  expectRefusal(bench, "count table", "table is an object; give one of its attributes");
  const ShellAnswer null = bench.obey("get configSm.switchIntfConfigSm[x].intfId");
  EXPECT_EQ(null.exitCode, exitNotFound);
  EXPECT_EQ(null.err, "fyrl3: configSm.switchIntfConfigSm[x] is null\n");
}

TEST(ShellCommands, SetAndDeleteEntries) {
  ShellBench bench(false);
  EXPECT_EQ(bench.obey("set table.intfL3Index[Ethernet8] \"77\"").exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("get table.intfL3Index[Ethernet8]").out, "77\n");
  EXPECT_EQ(bench.obey("del table.intfL3Index[Ethernet8]").exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("get table.intfL3Index[Ethernet8]").out, "0\n");
  expectRefusal(bench, "set table.intfL3Index[Ethernet8] x",
                "table.intfL3Index[Ethernet8]: \"x\": no number at column 0");
  expectRefusal(bench, "set configSm.config.switchIntfConfig[Ethernet0].nativeVlan 7",
                "configSm.config.switchIntfConfig[Ethernet0].nativeVlan: attempting to modify a "
                "const instance");
  expectRefusal(bench, "set configSm.desiredRoutedPortName[7] None",
                "configSm.desiredRoutedPortName[7]: a path begins with table or configSm, not with "
                "\"None\"");
  expectRefusal(bench, "del configSm.doVerify",
                "configSm.doVerify: 'doVerify' does not support operation 129");
}

TEST(ShellCommands, ShowAChangedMemberAsItIs) {
  ShellBench bench(true);
  EXPECT_EQ(bench.obey("set configSm.desiredRoutedPortName[3968].member[Ethernet8] true").exitCode,
            exitSuccess);
  EXPECT_THAT(bench.obey("get configSm.desiredRoutedPortName[3968]").out,
              HasSubstr("Ethernet8: true"));
  EXPECT_EQ(bench.obey("del configSm.desiredRoutedPortName[3968].member[Ethernet8]").exitCode,
            exitSuccess);
  EXPECT_EQ(bench.obey("get configSm.desiredRoutedPortName[3968]").out, "{Ethernet0: true}\n");
}

TEST(ShellCommands, MakeAMachineOfAConfigurationEntry) {
  ShellBench bench(true);
  const std::string machine = "configSm.switchIntfConfigSm[Ethernet8]";
  const std::string set = "set " + machine + " configSm.config.switchIntfConfig";
  EXPECT_EQ(bench.obey("del " + machine).exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("get " + machine).out, "null\n");
  expectRefusal(bench, set + "[Ethernet0]",
                machine + ": 'switchIntfConfigSm' does not take this index");
  expectRefusal(bench, set + "[Ethernet9]",
                machine + ": 'switchIntfConfig' is missing or of the wrong type");
  expectRefusal(bench, set + "[Ethernet8], Ethernet8",
                machine + ": 'switchIntfConfigSm' was given an argument too many");
  EXPECT_EQ(bench.obey(set + "[Ethernet8]").exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("get " + machine + ".intfId").out, "Ethernet8\n");
}

TEST(ShellCommands, CallAndPrintTheResult) {
  ShellBench bench(true);
  EXPECT_EQ(bench.obey("call table.intfIdToL3Id(Ethernet0)").out, "3968\n");
  EXPECT_EQ(bench.obey("call table.l3IdToIntfId(5)").out, "\"\"\n");
  EXPECT_EQ(bench.obey("call configSm.doVerify()").out, "");
  EXPECT_EQ(bench.obey("call configSm.hasNotificationActiveIs(true)").out, "true\n");
  expectRefusal(bench, "call table.internalVlanNeeded()",
                "table.internalVlanNeeded is no function");
  expectRefusal(bench, "call configSm.hasNotificationActiveIs(1)",
                "configSm.hasNotificationActiveIs: \"1\": bool is neither true nor false");
  expectRefusal(bench, "call table.l3IdToIntfId()",
                "table.l3IdToIntfId: 'l3Id' is missing or of the wrong type");
}

TEST(ShellCommands, ApplyAPatchAndTellEachChangeOnceWhileWatched) {
  ShellBench bench(true);
  EXPECT_EQ(bench.obey(R"(apply [{"op": "remove", "path": "/INTERFACE/Ethernet4"}])").out, "");
  EXPECT_EQ(bench.obey("watch on").exitCode, exitSuccess);
  const ShellAnswer answer = bench.obey(unrouteEthernet0);
  EXPECT_EQ(answer.exitCode, exitSuccess);
  EXPECT_EQ(answer.out,
            "- Ethernet0: 3968 -> - (event 6, patch: Ethernet0 changes in the bridging "
            "configuration: routed, VLAN 3968 becomes access)\n");
  EXPECT_EQ(bench.obey("watch off").exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("del table.intfL3Index[Vlan10]").out, "");
  EXPECT_EQ(bench.obey("set table.intfL3Index[Vlan10] 10").out, "");
}

TEST(ShellCommands, ApplyTheFileOfAPatch) {
  const std::string path = testing::TempDir() + "shell-" + std::to_string(getpid()) + ".json";
  std::ofstream(path) << R"([{"op": "remove", "path": "/INTERFACE/Ethernet4"}])";
  ShellBench bench(true);
  EXPECT_EQ(bench.obey("apply " + path).exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("lookup Ethernet4").exitCode, exitNotFound);
  expectRefusal(bench, "apply " + path,
                path + ": operation 1 (remove /INTERFACE/Ethernet4): there is no \"Ethernet4\"");
  std::filesystem::remove(path);
  EXPECT_EQ(bench.obey("apply " + path).exitCode, exitUnusable);
  EXPECT_EQ(bench.obey("apply [7").exitCode, exitUnusable);
  EXPECT_EQ(bench.obey("apply [7]").exitCode, exitUnusable);
  expectRefusal(bench, "apply -", "apply: standard input holds the commands; give a file");
}

TEST(ShellCommands, TellTheProblemsThatAPatchBrings) {
  ShellBench bench(true);
  const ShellAnswer answer = bench.obey(
      R"(apply [{"op": "add", "path": "/VLAN_MEMBER", "value": {"Vlan10|Ethernet99": {}}}])");
  EXPECT_EQ(answer.exitCode, exitSuccess);
  EXPECT_THAT(answer.err, StartsWith("problem: c.json: VLAN_MEMBER Vlan10|Ethernet99: "));
}

TEST(ShellCommands, DeferAndRun) {
  ShellBench bench(true);
  (void)bench.obey("watch on");
  EXPECT_EQ(bench.obey("defer on").exitCode, exitSuccess);
  EXPECT_TRUE(bench.session.deferral());
  EXPECT_EQ(bench.obey(R"(apply [{"op": "remove", "path": "/VLAN_INTERFACE"}])").out, "");
  EXPECT_EQ(bench.obey("lookup Vlan10").exitCode, exitNotFound);
  EXPECT_EQ(bench.obey("get table.intfL3Index[Vlan10]").out, "10\n");
  EXPECT_EQ(bench.obey("run").out,
            "- Vlan10: 10 -> - (event 6, shell: what was deferred is delivered)\n");
  EXPECT_EQ(bench.obey("run").out, "");
  EXPECT_EQ(bench.obey("defer off").exitCode, exitSuccess);
  EXPECT_FALSE(bench.session.deferral());
  EXPECT_EQ(bench.obey("verify").exitCode, exitSuccess);
}

TEST(ShellCommands, RememberSinceWhenADeferredWishStands) {
  ShellBench bench(true);
  (void)bench.obey("defer on");
  (void)bench.obey(R"(apply [{"op": "add", "path": "/VLAN/Vlan20", "value": {}},
                             {"op": "add", "path": "/VLAN_INTERFACE/Vlan20", "value": {}}])");
  EXPECT_EQ(bench.obey("get configSm.desiredInternalVlanId[Vlan20]").out, "0\n");
  (void)bench.obey("defer off");
  EXPECT_THAT(bench.obey("why Vlan20").out,
              HasSubstr("It wishes for it, and holds it, since event 6, shell: what was deferred "
                        "is delivered."));
}

TEST(ShellCommands, RefuseAPatchWhoseL3IndexesWouldMerge) {
  ShellBench bench(false);
  (void)bench.obey("defer on");
  // Ethernet0 goes, and the indexes of the two others change.
  expectRefusal(bench, unrouteEthernet0,
                "patch: deferral is on, and 5 changes of L3 indexes would wait; they would merge, "
                "and the merged change would be dropped; run, or switch deferral off, before");
  EXPECT_EQ(bench.obey("lookup Ethernet0").out, "1\n");
  const std::string removeVlan10 = R"(apply [{"op": "remove", "path": "/VLAN_INTERFACE"}])";
  EXPECT_EQ(bench.obey(removeVlan10).exitCode, exitSuccess);
  const ShellAnswer second =
      bench.obey(R"(apply [{"op": "remove", "path": "/INTERFACE/Ethernet4"}])");
  EXPECT_EQ(second.exitCode, exitUnusable);
  EXPECT_THAT(second.err, HasSubstr("2 changes of L3 indexes"));
  EXPECT_EQ(bench.obey("get table.intfL3Index[Vlan10]").out, "3\n");
  EXPECT_EQ(bench.obey("run").exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("get table.intfL3Index[Vlan10]").out, "0\n");
  EXPECT_EQ(bench.obey(R"(apply [{"op": "remove", "path": "/INTERFACE/Ethernet4"}])").exitCode,
            exitSuccess);
  EXPECT_EQ(bench.obey("defer off").exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("verify").exitCode, exitSuccess);
  EXPECT_EQ(bench.obey("count table.intfL3Index").out, "1\n");
}

TEST(ShellCommands, SwitchOneLevelOfAFacility) {
  ShellBench bench(true);
  expectRefusal(bench, "trace x 1 on", "there is no trace facility \"x\", but FyrL3IntfSm");
  (void)bench.obey("trace FyrL3IntfSm 7 on");
  EXPECT_THAT(bench.obey("call table.intfIdToL3Id(Ethernet0)").err,
              HasSubstr(" FyrL3IntfSm 7 intfIdToL3Id "));
  (void)bench.obey("trace FyrL3IntfSm 7 off");
  EXPECT_EQ(bench.obey("call table.intfIdToL3Id(Ethernet0)").err, "");
  Kob::TraceFacility::named("FyrL3IntfSm").onIs(false);
}

/// A wish that was overwritten, so that the next self-check ends fatally.
class FatalCommand : public testing::Test {
 protected:
  void SetUp() override { (void)bench_.obey("set configSm.desiredInternalVlanId[Ethernet0] 100"); }
  void TearDown() override {
    EXPECT_EQ(bench_.obey("set configSm.desiredInternalVlanId[Ethernet0] 3968").exitCode,
              exitSuccess);
    EXPECT_EQ(bench_.obey("verify").exitCode, exitSuccess);
  }

  void expectDeath(const std::string& line, const std::string& report) {
    const std::string before = bench_.obey("show").out;
    const ShellAnswer answer = bench_.obey(line);
    EXPECT_EQ(answer.exitCode, exitInconsistent);
    EXPECT_EQ(answer.out, "");
    EXPECT_THAT(answer.err, StartsWith("fyrl3: " + line.substr(0, line.find(' ')) +
                                       " would end the program, and was not carried out:\n"));
    EXPECT_THAT(answer.err, testing::EndsWith(report + "\n"));
    EXPECT_EQ(bench_.obey("show").out, before);
  }

  ShellBench bench_{true};
};

TEST_F(FatalCommand, LeavesTheStateAsItIsWhenCalled) {
  expectDeath("call configSm.doVerify()",
              "Assertion `desiredInternalVlanId( iter->intfId() ) == vlanId' failed.");
}

TEST_F(FatalCommand, LeavesTheStateAsItIsWhenAPatchIsApplied) {
  (void)bench_.obey("watch on");
  expectDeath(unrouteEthernet0, "Assertion `intfSet.member( intfId )' failed.");
  EXPECT_EQ(bench_.session.theSwitch().l3Interfaces.size(), 3U);
}

TEST_F(FatalCommand, LeavesTheStateAsItIsWhenAMachineIsMade) {
  (void)bench_.obey("del configSm.switchIntfConfigSm[Ethernet0]");
  expectDeath(
      "set configSm.switchIntfConfigSm[Ethernet0] configSm.config.switchIntfConfig[Ethernet0]",
      "Assertion `intfSet.member( intfId )' failed.");
  (void)bench_.obey("set configSm.desiredInternalVlanId[Ethernet0] 3968");
  EXPECT_EQ(bench_
                .obey("set configSm.switchIntfConfigSm[Ethernet0] "
                      "configSm.config.switchIntfConfig[Ethernet0]")
                .exitCode,
            exitSuccess);
}

TEST_F(FatalCommand, LeavesTheStateAsItIsWhenWhatWasDeferredIsDelivered) {
  (void)bench_.obey("defer on");
  (void)bench_.obey(R"(apply [{"op": "remove", "path": "/VLAN_INTERFACE"}])");
  (void)bench_.obey("set configSm.desiredInternalVlanId[Vlan10] 77");
  for (const char* line : {"run", "defer off"}) {
    expectDeath(line, "Assertion `intfSet.member( intfId )' failed.");
  }
  EXPECT_TRUE(bench_.session.deferral());
  (void)bench_.obey("set configSm.desiredInternalVlanId[Vlan10] 10");
  EXPECT_EQ(bench_.obey("run").exitCode, exitSuccess);
}

TEST_F(FatalCommand, PassesOnWhatWasTracedBefore) {
  (void)bench_.obey("trace FyrL3IntfSm 9 on");
  EXPECT_THAT(bench_.obey("call configSm.doVerify()").err, HasSubstr("ConfigSm::doVerify()"));
  (void)bench_.obey("trace FyrL3IntfSm 9 off");
  Kob::TraceFacility::named("FyrL3IntfSm").onIs(false);
}

TEST(ShellCommands, TellStoriesOfAStateThatWasMadeByHand) {
  ShellBench vlans(true);
  (void)vlans.obey("set table.routedPortName[77] Vlan10");
  (void)vlans.obey("set configSm.desiredInternalVlanId[Ethernet0] 78");
  (void)vlans.obey("del table.intfL3Index[Ethernet0]");
  EXPECT_THAT(vlans.obey("why Ethernet0").out, HasSubstr("Nobody holds it: "));
  (void)vlans.obey("del configSm.desiredInternalVlanId[Ethernet4]");
  EXPECT_THAT(vlans.obey("why Ethernet4").out, HasSubstr(", though it wishes for no VLAN."));
  (void)vlans.obey("set configSm.desiredInternalVlanId[Ethernet0] 3968");
  (void)vlans.obey("set table.intfL3Index[Ethernet0] 3968");
  (void)vlans.obey("set configSm.desiredInternalVlanId[Ethernet4] 3969");
  (void)vlans.obey("del table.routedPortName[77]");
  EXPECT_EQ(vlans.obey("verify").exitCode, exitSuccess);
  ShellBench indexes(false);
  (void)indexes.obey("del table.intfL3Index[Ethernet0]");
  EXPECT_THAT(indexes.obey("why Ethernet0").out, HasSubstr("taken out of the table by hand"));
  (void)indexes.obey("set table.intfL3Index[Ethernet0] 1");
}

TEST(ShellCommands, AnswerOneLineOfJsonEach) {
  ShellBench bench(true, true);
  (void)bench.obey("watch on");
  for (const char* line : {"show",
                           "lookup Ethernet0",
                           "why Ethernet0 x",
                           "verify",
                           unrouteEthernet0,
                           "watch off",
                           "trace FyrL3IntfSm 1 off",
                           "defer on",
                           "run",
                           "defer off",
                           "types",
                           "types Table",
                           "types x",
                           "get table",
                           "get table.x",
                           "set table.intfL3Index[Ethernet8] 7",
                           "del table.intfL3Index[Ethernet8]",
                           "count table.intfL3Index",
                           "list table.intfL3Index",
                           "call table.intfIdToL3Id(Ethernet4)",
                           "call configSm.doVerify()",
                           "help",
                           "frobnicate",
                           "apply /no/such/file",
                           "quit"}) {
    const ShellAnswer answer = bench.obey(line);
    EXPECT_EQ(answer.out.find('\n'), answer.out.size() - 1) << line;
    const auto json = nlohmann::json::parse(answer.out);
    EXPECT_TRUE(json.is_object()) << line;
    EXPECT_EQ(answer.err, "") << line;
  }
  Kob::TraceFacility::named("FyrL3IntfSm").onIs(false);
}

TEST(ShellCommands, AnswerInJsonWithWhatWasAsked) {
  ShellBench bench(true, true);
  const auto answer = [&bench](const std::string& line) {
    return nlohmann::json::parse(bench.obey(line).out);
  };
  EXPECT_EQ(answer("get table.intfL3Index[Ethernet0]")["value"], 3968);
  EXPECT_EQ(answer("get configSm.internalVlanNeeded")["value"], true);
  EXPECT_EQ(answer("list configSm.desiredRoutedPortName[10].member").dump(),
            R"({"entries":[{"key":"Vlan10","value":true}]})");
  EXPECT_EQ(answer("get table.x")["error"], "table.x: FyrL3Intf::Table has no attribute \"x\"");
  EXPECT_EQ(answer("lookup x").dump(), R"({"interfaces":[]})");
  EXPECT_EQ(answer("types x").dump(), R"({"types":[]})");
  EXPECT_EQ(answer("types Table")["types"][0]["attributes"][1].dump(),
            R"({"flags":[27394307,1024],"id":259,"key":"FyrL3Intf::L3Id","kind":"collection",)"
            R"("name":"routedPortName","parameters":[],"type":"Plexo::IntfId"})");
  (void)bench.obey("watch on");
  EXPECT_EQ(answer(unrouteEthernet0)["changes"][0]["interface"], "Ethernet0");
  (void)bench.obey("set configSm.desiredInternalVlanId[Ethernet4] 5");
  EXPECT_THAT(answer("call configSm.doVerify()")["error"].get<std::string>(),
              StartsWith("call would end the program, and was not carried out:\n"));
  (void)bench.obey("set configSm.desiredInternalVlanId[Ethernet4] 3969");
}

}  // namespace
}  // namespace Agent
