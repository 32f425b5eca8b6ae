// Lines of the shell, and words of the command line, that are cut off, too deep, out of range, no
// text, or meant for the terminal: each is refused with one message and an exit code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "agent/ShellCommands.h"
#include "tests/agent/BadInput.h"
#include "tests/agent/ProgramRun.h"
#include "tests/agent/ShellBench.h"

namespace Agent {
namespace {

using nlohmann::json;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t deep = 10'000;

/// Expects that a line is answered, or refused with one message, and says nothing that a terminal
/// obeys. Returns its exit code.
int expectAnswered(ShellBench& bench, const std::string& line) {
  const ShellAnswer answer = bench.obey(line);
  EXPECT_THAT(answer.exitCode, AnyOf(exitSuccess, exitNotFound, exitUnusable)) << line;
  EXPECT_TRUE(isShownAsItIs(answer.out)) << line;
  EXPECT_TRUE(isShownAsItIs(answer.err)) << line;
  if (bench.printer.isJson()) {
    const bool isOneObject = json::parse(answer.out, nullptr, false).is_object();
    EXPECT_TRUE(isOneObject || answer.out.empty()) << line << answer.out;
  } else if (answer.exitCode == exitUnusable) {
    EXPECT_THAT(answer.err, StartsWith("fyrl3: ")) << line;
    EXPECT_THAT(answer.err, EndsWith("\n")) << line;
  }
  return answer.exitCode;
}

/// As expectAnswered(), in both manners, and for no but the refusing answer.
void expectRefused(const std::string& line) {
  static ShellBench text(true);
  static ShellBench asJson(true, true);
  EXPECT_EQ(expectAnswered(text, line), exitUnusable) << line;
  EXPECT_EQ(expectAnswered(asJson, line), exitUnusable) << line;
}

/// Lines that are obeyed, one of each command.
constexpr const char* lines[] = {
    "lookup Ethernet0",
    "why Ethernet0 Vlan10",
    "trace FyrL3IntfSm 0 off",
    "types FyrL3Intf::Table",
    "get configSm.config.switchIntfConfig[Ethernet0].nativeVlan",
    R"(get table.intfL3Index["Ethernet0"])",
    "list table.intfL3Index",
    "count configSm.desiredRoutedPortName[3968].member",
    "set table.intfL3Index[Ethernet0] 3968",
    R"(del table.intfL3Index["a\"b"])",
    "call table.intfIdToL3Id(Ethernet0)",
    R"(apply [{"op": "test", "path": "/PORT/Ethernet0", "value": {}}])",
    "defer off",
    "help apply",
    "verify"};

TEST(TruncatedLine, IsAnsweredAtEveryByte) {
  ShellBench bench(true);
  for (const std::string line : lines) {
    for (std::size_t length = 0; length < line.size(); ++length) {
      (void)expectAnswered(bench, line.substr(0, length));
    }
    EXPECT_THAT(bench.obey(line).exitCode, AnyOf(exitSuccess, exitUnusable)) << line;
  }
  EXPECT_EQ(bench.obey("verify").out, "consistent\n");
}

TEST(TruncatedLine, IsNoPatchAtAnyByte) {
  const std::string patch = R"([{"op": "remove", "path": "/INTERFACE/Ethernet0"}])";
  for (std::size_t length = 1; length < patch.size(); ++length) {
    expectRefused("apply " + patch.substr(0, length));
  }
}

TEST(DeepLine, IsRefusedWhateverItNests) {
  for (const std::string& line :
       {"apply " + nestedIn("[", "", "]", deep), "apply " + nestedIn("[", "", "", deep),
        "apply [" + nestedIn("{\"op\":", "", "", deep),
        "apply [{\"op\": \"remove\", \"path\": \"" + nestedIn("/a", "", "", deep) + "\"}]",
        "get table" + nestedIn(".table", "", "", deep),
        "get configSm.fyrL3IntfTable" + nestedIn("[Ethernet0]", "", "", deep),
        "get table.intfL3Index" + nestedIn("[", "Ethernet0", "]", deep),
        "get table.intfL3Index[" + nestedIn("\\\"", "", "", deep),
        "set table.intfL3Index[Ethernet0] " + nestedIn("(", "1", ")", deep),
        "set configSm.desiredRoutedPortName[1] " + nestedIn("(", "", ")", deep),
        "call table.intfIdToL3Id" + nestedIn("(", "Ethernet0", ")", deep),
        "call table.intfIdToL3Id(" + nestedIn("[", "", "]", deep) + ")",
        "call table.intfIdToL3Id(" + nestedIn("a,", "", "", deep) + ")"}) {
    expectRefused(line);
  }
}

TEST(BadLine, IsRefusedForBracketsAndNamesThatAreNone) {
  for (const char* line :
       {"get table.intf_L3Index", "get table{", "get table.`", "get table.a|b",
        "set configSm.desiredRoutedPortName[1] (", "set configSm.desiredRoutedPortName[1] )",
        "call table.intfIdToL3Id([a,b], c)", R"(get table.intfL3Index["a]b)",
        R"(set table.intfL3Index[a] "1"2)"}) {
    expectRefused(line);
  }
}

/// A number in a line, which is what a VLAN or an L3 id is read from.
constexpr const char* noVlans[] = {"4095",
                                   "65536",
                                   "65546",
                                   "2147483648",
                                   "4294967296",
                                   "4294967306",
                                   "9223372036854775808",
                                   "18446744073709551615",
                                   "18446744073709551616",
                                   "18446744073709551626",
                                   "-1",
                                   "-0",
                                   "+1",
                                   "1.5",
                                   "1e1",
                                   "1e400",
                                   "ten",
                                   "0x",
                                   "1 2"};

TEST(BadNumberInALine, IsNoVlan) {
  for (const char* number : noVlans) {
    expectRefused(std::string("get configSm.desiredRoutedPortName[") + number + "]");
    expectRefused(std::string("set configSm.desiredInternalVlanId[Ethernet0] ") + number);
    expectRefused(std::string("call configSm.doSetDesiredInternalVlanId(Ethernet0, ") + number +
                  ")");
  }
}

TEST(BadNumberInALine, IsNoL3Id) {
  ShellBench bench(false);
  for (const char* number : {"18446744073709551616", "18446744073709551626", "-1", "1.5", "1e400",
                             "99999999999999999999999999", "ten", "\"\""}) {
    for (const char* line : {"set table.intfL3Index[x] @", "call table.l3IdToIntfId(@)",
                             "get table.routedPortName[@]"}) {
      EXPECT_EQ(expectAnswered(bench, filled(line, "@", number)), exitUnusable) << line << number;
    }
    EXPECT_EQ(expectAnswered(bench, filled("lookup @", "@", number)), exitNotFound);
  }
  EXPECT_EQ(expectAnswered(bench, "set table.intfL3Index[x] 18446744073709551615"), exitSuccess);
  EXPECT_EQ(bench.obey("get table.intfL3Index[x]").out, "18446744073709551615\n");
}

/// Expects that a line is obeyed with the number in the place of the mark, and that the other one
/// then prints the value.
void expectReadBack(ShellBench& bench, const std::string& writing, const std::string& reading,
                    const std::string& number, const std::string& value) {
  EXPECT_EQ(expectAnswered(bench, filled(writing, "@", number)), exitSuccess) << writing << number;
  EXPECT_EQ(bench.obey(filled(reading, "@", number)).out, value + "\n") << reading << number;
}

TEST(NumberAtALimitInALine, IsAVlanFrom1To4094) {
  ShellBench bench(true);
  for (const std::string number : {"1", "2", "4093", "4094"}) {
    EXPECT_EQ(bench.obey("get configSm.desiredRoutedPortName[" + number + "]").out, "{}\n");
    expectReadBack(bench, "set configSm.desiredInternalVlanId[x] @",
                   "get configSm.desiredInternalVlanId[x]", number, number);
    expectReadBack(bench, "call configSm.doSetDesiredInternalVlanId(Ethernet0, @)",
                   "lookup Ethernet0", number, number);
    EXPECT_EQ(bench.obey("lookup " + number).out, "Ethernet0\n");
  }
  EXPECT_EQ(expectAnswered(bench, "del configSm.desiredInternalVlanId[x]"), exitSuccess);
}

TEST(NumberAtALimitInALine, IsNoVlanButNoneWhereItIs0) {
  expectRefused("get configSm.desiredRoutedPortName[0]");
  expectRefused("set configSm.desiredRoutedPortName[0] ()");
  ShellBench bench(true);
  expectReadBack(bench, "call configSm.doSetDesiredInternalVlanId(Ethernet0, @)",
                 "get configSm.desiredInternalVlanId[Ethernet0]", "0", "0");
  EXPECT_EQ(expectAnswered(bench, "lookup Ethernet0"), exitNotFound);
  expectReadBack(bench, "set configSm.desiredInternalVlanId[Ethernet4] @",
                 "get configSm.desiredInternalVlanId[Ethernet4]", "0", "0");
}

TEST(NumberAtALimitInALine, IsAnL3IdFrom0To64Bits) {
  ShellBench bench(false);
  for (const std::string number :
       {"0", "1", "4294967295", "4294967296", "18446744073709551614", "18446744073709551615"}) {
    expectReadBack(bench, "set table.intfL3Index[Ethernet0] @", "get table.intfL3Index[Ethernet0]",
                   number, number);
    expectReadBack(bench, "set table.routedPortName[@] Ethernet0", "get table.routedPortName[@]",
                   number, "Ethernet0");
    EXPECT_EQ(bench.obey("call table.l3IdToIntfId(" + number + ")").out, "Ethernet0\n") << number;
    EXPECT_EQ(bench.obey("lookup " + number).exitCode, number == "0" ? exitNotFound : exitSuccess);
  }
  expectReadBack(bench, "set table.intfL3Index[Ethernet0] @", "get table.intfL3Index[Ethernet0]",
                 "0xffffffffffffffff", "18446744073709551615");
}

/// Lines with a word in each place that takes one.
constexpr const char* linesWithAName[] = {"@",
                                          "lookup @",
                                          "why @ Ethernet0",
                                          "trace @ 1 on",
                                          "trace FyrL3IntfSm @ on",
                                          "watch @",
                                          "types @",
                                          "get @",
                                          "get table.@",
                                          "get table.intfL3Index[@]",
                                          "get table.intfL3Index[\"@\"]",
                                          "get table.intfL3Index[Ethernet0]@",
                                          "list @",
                                          "count table.@",
                                          "set table.intfL3Index[Ethernet0] @",
                                          "set table.intfL3Index[Ethernet0] \"@\"",
                                          "set @ 1",
                                          "del table.@",
                                          "call table.@()",
                                          "call table.intfIdToL3Id(@)",
                                          "call table.intfIdToL3Id(\"@\")",
                                          "apply @",
                                          "apply [\"@\"]",
                                          "apply [@]",
                                          "help @"};

TEST(HostileLine, IsNeverPrintedRaw) {
  ShellBench text(true);
  ShellBench asJson(true, true);
  std::vector<std::string> names = hostileNames();
  names.insert(names.end(), invalidUtf8().begin(), invalidUtf8().end());
  for (const std::string& name : names) {
    for (const char* line : linesWithAName) {
      (void)expectAnswered(text, filled(line, "@", name));
      (void)expectAnswered(asJson, filled(line, "@", name));
    }
  }
}

TEST(HostileWord, IsNeverPrintedRawByTheProgram) {
  const std::string leaf = "examples/leaf4.appl_db.json";
  for (const std::string& word :
       {hostileNames().front(), std::string("a\nfyrl3: forged"), invalidUtf8().back()}) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"show", "--config", word},
          {"show", "--config", leaf, "--l3-index", word},
          {"show", "--config", leaf, "--apply", word},
          {"lookup", word, "--config", leaf},
          {"why", word, "--config", leaf, "--json"},
          {"types", word},
          {word},
          {"show", "--config", leaf, "--internal-vlans=" + word},
          {"show", "--config", leaf, "--internal-vlans", "--internal-vlan", word},
          {"show", "--config", leaf, "--internal-vlans", "--policy", word},
          {"show", "--config", leaf, "--trace", word},
          {"show", "--config", leaf, word},
          {"shell", "--config", leaf, "--exec", word}}) {
      const ProgramRun run = runProgram(words);
      SCOPED_TRACE(json(words).dump(-1, ' ', true, json::error_handler_t::replace));
      EXPECT_THAT(run.exitCode, AnyOf(exitNotFound, exitUnusable));
      EXPECT_TRUE(isShownAsItIs(run.out));
      EXPECT_TRUE(isShownAsItIs(run.err)) << run.err;
      EXPECT_THAT(run.err + run.out, testing::Not(testing::IsEmpty()));
    }
  }
}

}  // namespace
}  // namespace Agent
