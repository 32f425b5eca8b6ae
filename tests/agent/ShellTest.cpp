#include "agent/Shell.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "agent/LineEditor.h"
#include "tests/agent/ProgramRun.h"
#include "tests/agent/ShellBench.h"

namespace Agent {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* leaf = "examples/leaf32.config_db.json";

ProgramRun runShell(const std::string& input, std::vector<std::string> options = {}) {
  options.insert(options.begin(), {"shell", "--internal-vlans", "--config", leaf});
  return runProgram(options, input);
}

TEST(Shell, TakesBlankLinesAndCommentsForNoCommands) {
  ShellBench bench(true, true);
  for (const char* line : {"", "  \t", "# show", "  #"}) {
    const ShellAnswer answer = bench.obey(line);
    EXPECT_EQ(answer.exitCode, exitSuccess);
    EXPECT_EQ(answer.out, "");
  }
}

TEST(Shell, EndsWithQuit) {
  ShellBench bench(true);
  EXPECT_FALSE(bench.shell.isEnded());
  (void)bench.obey("  quit  ");
  EXPECT_TRUE(bench.shell.isEnded());
}

TEST(Shell, LeavesAStateThatCannotBeWithdrawn) {
  testing::internal::CaptureStderr();
  {
    Session session(Document("c.json", shellConfiguration), {std::nullopt, std::nullopt});
    Printer printer(false);
    Shell shell(session, printer);
    EXPECT_EQ(shell.obey("set configSm.desiredInternalVlanId[Ethernet0] 5"), exitSuccess);
  }
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              StartsWith("fyrl3: the state is left as it is, since the library cannot withdraw it:"
                         "\n"));
}

TEST(ShellProgram, ObeysAPipe) {
  const auto run = runShell("# a question\n\nlookup Ethernet104\nlookup 3969");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out, "3968\nEthernet108\n");
  EXPECT_EQ(run.err, "");
}

TEST(ShellProgram, ObeysCommandsOfTheCommandLine) {
  const auto run =
      runShell("lookup Ethernet112\n", {"--exec", "lookup Ethernet104", "--exec", "lookup 3969"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out, "3968\nEthernet108\n");
}

TEST(ShellProgram, StopsAtTheFirstFailureWithItsExitCode) {
  const std::vector<std::pair<std::string, int>> failures{
      {"lookup nobody", 1},
      {"get table.x", 2},
      {"frobnicate", 2},
      {"set configSm.desiredInternalVlanId[Ethernet104] 5\nverify", 4},
      {"set configSm.desiredInternalVlanId[Ethernet104] 5\ncall configSm.doVerify()", 4}};
  for (const auto& [input, exitCode] : failures) {
    const auto run = runShell(input + "\nlookup Ethernet108\n");
    EXPECT_EQ(run.exitCode, exitCode) << input;
    EXPECT_THAT(run.out, Not(HasSubstr("3969"))) << input;
  }
}

TEST(ShellProgram, GoesOnWhenItIsToldTo) {
  const auto run = runShell("lookup nobody\nget table.x\nlookup Ethernet104\n", {"--keep-going"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "3968\n");
  EXPECT_EQ(run.err,
            "fyrl3: no L3 interface and no L3 id is \"nobody\"\n"
            "fyrl3: table.x: FyrL3Intf::Table has no attribute \"x\"\n");
  const auto commands =
      runShell("", {"--keep-going", "--exec", "get table.x", "--exec", "lookup nobody", "--exec",
                    "quit", "--exec", "lookup Ethernet104"});
  EXPECT_EQ(commands.exitCode, 2);
  EXPECT_EQ(commands.out, "");
}

TEST(ShellProgram, PrintsJsonLines) {
  const auto run = runShell("lookup Ethernet104\nget table.x\nquit\n", {"--json", "--keep-going"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.err, "");
  std::istringstream lines(run.out);
  std::vector<nlohmann::json> answers;
  for (std::string line; std::getline(lines, line);) {
    answers.push_back(nlohmann::json::parse(line));
  }
  ASSERT_EQ(answers.size(), 3U);
  EXPECT_EQ(answers[0]["interfaces"][0]["l3Id"], 3968);
  EXPECT_EQ(answers[1]["error"], "table.x: FyrL3Intf::Table has no attribute \"x\"");
  EXPECT_EQ(answers[2], nlohmann::json::object());
}

TEST(ShellProgram, TellsTheProblemsOfLoadingWithTheFirstAnswer) {
  const std::vector<std::string> options{
      "shell",  "--json",   "--strict", "--config", "examples/contradictions.config_db.json",
      "--exec", "help run", "--exec",   "help run"};
  const auto run = runProgram(options);
  EXPECT_EQ(run.exitCode, 3);
  const std::size_t second = run.out.find('\n') + 1;
  EXPECT_FALSE(nlohmann::json::parse(run.out.substr(0, second))["problems"].empty());
  EXPECT_FALSE(nlohmann::json::parse(run.out.substr(second)).contains("problems"));
}

TEST(ShellProgram, AppliesPatchesOfTheCommandLineFirst) {
  const auto run = runShell("lookup Vlan3968\n",
                            {"--apply", "examples/leaf32.claim.patch.json", "--keep-going"});
  EXPECT_THAT(run.out, StartsWith("- Vlan20: 20 -> - (event "));
  EXPECT_EQ(run.exitCode, 1);
}

TEST(ShellProgram, WantsStandardInputForItself) {
  const auto run = runProgram({"shell", "--config", "-"}, "{}");
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, StartsWith("fyrl3: the commands of the shell and --config cannot both be "
                                  "standard input\n"));
  const auto commands = runProgram({"shell", "--config", "-", "--exec", "lookup 1"},
                                   R"({"VLAN_INTERFACE|Vlan7": {}})");
  EXPECT_EQ(commands.out, "Vlan7\n");
}

TEST(ShellProgram, TellsWhenItCannotWrite) {
  const auto run = runProgramInto(
      "/dev/full", {"shell", "--config", leaf, "--exec", "show", "--exec", "frobnicate"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.err, "fyrl3: cannot write to standard output: No space left on device\n");
}

TEST(ShellProgram, HelpsWithExamples) {
  const auto run = runProgram({"shell", "--help"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("\nExamples:\n"));
  EXPECT_THAT(runProgram({"types", "--help"}).out, HasSubstr("\nExamples:\n"));
}

TEST(TypesProgram, ListsTypesWithoutAConfiguration) {
  EXPECT_THAT(runProgram({"types"}).out, HasSubstr("\nFyrL3Intf::Table\n"));
  EXPECT_EQ(runProgram({"types", "Table"}).out, runShell("types FyrL3Intf::Table\n").out);
  EXPECT_EQ(runProgram({"types", "x"}).exitCode, 1);
  const auto json = nlohmann::json::parse(runProgram({"types", "--json", "Table"}).out);
  EXPECT_EQ(json["types"][0]["type"], "FyrL3Intf::Table");
}

TEST(TypesProgram, ListsThoseOfALibrary) {
  const std::string library =
      std::filesystem::path(FYRL3_PROGRAM).parent_path().parent_path() / "lib" / "libFyrL3Intf.so";
  EXPECT_EQ(runProgram({"types", "--library", library}).out,
            "FyrL3Intf::ConfigSm\nFyrL3Intf::SwitchIntfConfigSm\nFyrL3Intf::ConfigSm::IntfSet\n"
            "FyrL3Intf::Table\n");
  const auto json =
      nlohmann::json::parse(runProgram({"types", "--json", "--library", library}).out);
  EXPECT_EQ(json["types"].size(), 4U);
  const auto none = runProgram({"types", "--library", "/bin/sh"});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(none.err, "fyrl3: /bin/sh provides no types: it has no section .kob.type\n");
  const auto noneInJson = runProgram({"types", "--json", "--library", "/bin/sh"});
  EXPECT_EQ(noneInJson.exitCode, 1);
  EXPECT_EQ(nlohmann::json::parse(noneInJson.out)["types"], nlohmann::json::array());
  EXPECT_EQ(runProgram({"types", "--library", "README.md"}).exitCode, 2);
  EXPECT_EQ(runProgram({"types", "--library", ""}).exitCode, 2);
  EXPECT_EQ(runProgram({"types", "--library", library, "Table"}).exitCode, 2);
}

/// Keeps the history of the program in a folder of the test.
class TerminalTest : public testing::Test {
 protected:
  void SetUp() override { setenv("XDG_STATE_HOME", folder_.c_str(), 1); }
  void TearDown() override {
    unsetenv("XDG_STATE_HOME");
    std::filesystem::remove_all(folder_);
  }

  [[nodiscard]] static ProgramRun type(const std::vector<std::string>& keys) {
    return typeAtProgram({"shell", "--internal-vlans", "--config", leaf}, "fyrl3> ", keys);
  }

  const std::string folder_ = testing::TempDir() + "shell-state-" + std::to_string(getpid());
};

TEST_F(TerminalTest, AsksAndEndsAtTheEndOfTheInput) {
  const auto run = type({"lookup Ethernet104\r", "\x04"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("fyrl3> "));
  EXPECT_THAT(run.out, HasSubstr("\n3968\r\n"));
}

TEST_F(TerminalTest, GoesOnAfterErrors) {
  const auto run = type({"frobnicate\r", "lookup Ethernet104\r", "quit\r"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("there is no command \"frobnicate\""));
  EXPECT_THAT(run.out, HasSubstr("\n3968\r\n"));
}

TEST_F(TerminalTest, ClearsTheLineWhenInterrupted) {
  const auto run = type({"frobni\x03lookup Ethernet104\r", "quit\r"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("\n3968\r\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("there is no command")));
}

TEST_F(TerminalTest, CompletesWords) {
  const auto run = type({"loo\tEthernet104\r", "get table.intfL3Index[Ethernet10\t8]\r", "quit\r"});
  EXPECT_THAT(run.out, HasSubstr("\n3968\r\n"));
  EXPECT_THAT(run.out, HasSubstr("\n3969\r\n"));
}

TEST_F(TerminalTest, RemembersLinesOfFormerRuns) {
  EXPECT_EQ(historyFile(), folder_ + "/fyrl3/history");
  (void)type({"lookup Ethernet104\r", "\x04"});
  const auto run = type({"\x10\r", "\x04"});
  EXPECT_THAT(run.out, HasSubstr("\n3968\r\n"));
}

TEST_F(TerminalTest, DoesWithoutAHistoryThatCannotBeWritten) {
  setenv("XDG_STATE_HOME", "/proc/no/such/folder", 1);
  const auto run = type({"lookup Ethernet104\r", "\x04"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("\n3968\r\n"));
}

TEST_F(TerminalTest, KeepsTheHistoryUnderHomeWithoutAFolderOfItsOwn) {
  const char* const home = std::getenv("HOME");
  const std::string former = home != nullptr ? home : "";
  unsetenv("XDG_STATE_HOME");
  setenv("HOME", folder_.c_str(), 1);
  EXPECT_EQ(historyFile(), folder_ + "/.local/state/fyrl3/history");
  unsetenv("HOME");
  EXPECT_EQ(historyFile(), "");
  if (home != nullptr) setenv("HOME", former.c_str(), 1);
}

}  // namespace
}  // namespace Agent
