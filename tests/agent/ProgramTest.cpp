// Runs of the built program on the examples, as the manual promises them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "agent/Progress.h"
#include "tests/agent/ProgramRun.h"

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* leaf = "examples/leaf32.config_db.json";
constexpr const char* leafIndexes = "examples/leaf32.asic_db.json";
constexpr const char* contradictions = "examples/contradictions.config_db.json";
constexpr const char* contradictoryIndexes = "examples/contradictions.counters_db.json";

/// How many interfaces of each kind the JSON output lists.
std::map<std::string, int> kindsIn(const std::string& text) {
  std::map<std::string, int> kinds;
  const auto document = nlohmann::json::parse(text);
  for (const auto& interface : document["interfaces"]) {
    ++kinds[interface["kind"].get<std::string>()];
  }
  return kinds;
}

TEST(Show, PrintsTheTableOfTheLeafInBothDirections) {
  const auto run = runProgram({"show", "--config", leaf});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "INTERFACE        KIND          L3 ID  STATE\n"
            "Eth104.200       subInterface      1  holding\n"
            "Ethernet104      routed            2  holding\n"
            "Ethernet104.100  subInterface      3  holding\n"
            "Ethernet108      routed            4  holding\n"
            "Ethernet112      routed            5  holding\n"
            "Ethernet116      routed            6  holding\n"
            "Po100.300        subInterface      7  holding\n"
            "PortChannel100   portChannel       8  holding\n"
            "Vlan10           vlan              9  holding\n"
            "Vlan20           vlan             10  holding\n"
            "Vlan30           vlan             11  holding\n"
            "\n"
            "L3 ID  INTERFACE\n"
            "    1  Eth104.200\n"
            "    2  Ethernet104\n"
            "    3  Ethernet104.100\n"
            "    4  Ethernet108\n"
            "    5  Ethernet112\n"
            "    6  Ethernet116\n"
            "    7  Po100.300\n"
            "    8  PortChannel100\n"
            "    9  Vlan10\n"
            "   10  Vlan20\n"
            "   11  Vlan30\n");
}

TEST(Show, TakesIndexesFromADumpOrAMapAlike) {
  const auto dump = runProgram({"show", "--strict", "--config", leaf, "--l3-index", leafIndexes});
  const auto map = runProgram(
      {"show", "--strict", "--config", leaf, "--l3-index", "examples/leaf32.counters_db.json"});
  EXPECT_EQ(dump.exitCode, 0);
  EXPECT_EQ(map.exitCode, 0);
  EXPECT_EQ(dump.out, map.out);
  EXPECT_THAT(dump.out, HasSubstr("PortChannel100   portChannel    1541  holding\n"));
  EXPECT_THAT(dump.out, HasSubstr("\n 1547  Po100.300\n"));
  EXPECT_EQ(dump.err, "");
}

TEST(Show, ReadsEveryFormat) {
  const auto application =
      runProgram({"show", "--strict", "--json", "--config", "examples/leaf4.appl_db.json"});
  EXPECT_EQ(application.exitCode, 0);
  EXPECT_EQ(kindsIn(application.out),
            (std::map<std::string, int>{
                {"portChannel", 1}, {"routed", 1}, {"subInterface", 1}, {"vlan", 1}}));
  const auto openConfig =
      runProgram({"show", "--strict", "--json", "--config", "examples/border.openconfig.json"});
  EXPECT_EQ(openConfig.exitCode, 0);
  EXPECT_EQ(kindsIn(openConfig.out),
            (std::map<std::string, int>{
                {"portChannel", 1}, {"routed", 3}, {"subInterface", 1}, {"vlan", 2}}));
}

TEST(Show, ReadsStandardInput) {
  const auto run = runProgram({"show", "--config", "-"}, R"({"VLAN_INTERFACE|Vlan7": {}})");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("\nVlan7 "));
}

TEST(Show, PrintsAThousandVlanInterfaces) {
  nlohmann::json list = nlohmann::json::array();
  for (int vlan = 1001; vlan <= 2000; ++vlan) {
    list.push_back(
        {{"name", "Vlan" + std::to_string(vlan)}, {"config", {{"type", "iana-if-type:l2vlan"}}}});
  }
  const nlohmann::json document = {{"openconfig-interfaces:interfaces", {{"interface", list}}}};
  const auto run = runProgram({"show", "--json", "--config", "-"}, document.dump());
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(kindsIn(run.out), (std::map<std::string, int>{{"vlan", 1000}}));
}

TEST(Show, ReportsContradictionsOnStandardErrorAndGoesOn) {
  const auto run =
      runProgram({"show", "--config", contradictions, "--l3-index", contradictoryIndexes});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out,
            "INTERFACE     KIND         L3 ID  STATE\n"
            "Ethernet0     routed        1793  holding\n"
            "Ethernet8     routed           -  none\n"
            "Ethernet40    routed           -  none\n"
            "PortChannel1  portChannel   1796  holding\n"
            "Vlan10        vlan             -  none\n"
            "Vlan40        vlan             -  none\n"
            "\n"
            "L3 ID  INTERFACE\n"
            " 1793  Ethernet0\n"
            " 1796  PortChannel1\n");
  EXPECT_THAT(run.err,
              HasSubstr("problem: examples/contradictions.config_db.json: VLAN_MEMBER "
                        "Vlan20|Ethernet4: Ethernet4 is untagged in VLAN 10 and in VLAN 20; its "
                        "native VLAN is 10\n"));
  EXPECT_THAT(run.err,
              HasSubstr("problem: examples/contradictions.counters_db.json: COUNTERS_RIF_NAME_MAP "
                        "Ethernet8: index 1793 of Ethernet8 is that of Ethernet0 already; the "
                        "index is not fed\n"));
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 19);
}

TEST(Show, ExitsWithThreeUnderStrictWithTheTablePrinted) {
  const auto plain = runProgram({"show", "--config", contradictions});
  const auto strict = runProgram({"show", "--config", contradictions, "--strict"});
  EXPECT_EQ(strict.exitCode, 3);
  EXPECT_EQ(strict.out, plain.out);
  EXPECT_EQ(strict.err, plain.err);
}

TEST(Show, PutsProblemsIntoTheJsonOutputAlone) {
  const auto run = runProgram({"show", "--json", "--config", contradictions});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "");
  const auto document = nlohmann::json::parse(run.out);
  EXPECT_EQ(document["problems"].size(), 15U);
  EXPECT_EQ(document["problems"][0]["kind"], "missingMember");
  EXPECT_EQ(document["problems"][0]["table"], "PORTCHANNEL_MEMBER");
  EXPECT_EQ(document["problems"][0]["key"], "PortChannel1|Ethernet96");
}

TEST(Show, MakesTheSameOfTheSameInput) {
  const std::vector<std::string> arguments{"show", "--json", "--config", contradictions};
  EXPECT_EQ(runProgram(arguments).out, runProgram(arguments).out);
}

TEST(Show, TracesUpToTheLevel) {
  const auto seven = runProgram({"show", "--trace", "7", "--config", leaf});
  EXPECT_EQ(seven.exitCode, 0);
  EXPECT_THAT(seven.err, HasSubstr(" FyrL3IntfSm 7 "));
  EXPECT_THAT(seven.err, HasSubstr("ConfigSm::handleL3Index(Vlan10)"));
  EXPECT_THAT(seven.err, Not(HasSubstr(" FyrL3IntfSm 8 ")));
  const auto eight = runProgram({"show", "--trace", "8", "--config", leaf});
  EXPECT_THAT(eight.err, HasSubstr(" FyrL3IntfSm 8 "));
  EXPECT_EQ(seven.out, eight.out);
}

/// The answer of `lookup` on the leaf with its indexes.
ProgramRun lookup(const std::string& question) {
  return runProgram({"lookup", question, "--config", leaf, "--l3-index", leafIndexes});
}

TEST(Lookup, AnswersInBothDirections) {
  EXPECT_EQ(lookup("Ethernet108").out, "1538\n");
  EXPECT_EQ(lookup("Ethernet108").exitCode, 0);
  EXPECT_EQ(lookup("1538").out, "Ethernet108\n");
  EXPECT_EQ(lookup("0x602").out, "Ethernet108\n");
  EXPECT_EQ(lookup("0X602").exitCode, 0);
}

TEST(Lookup, ExitsWithOneWhereThereIsNoAnswer) {
  for (const char* question : {"Ethernet0", "Loopback0", "nothing", "", "0", "99", "0x", "0xg",
                               "18446744073709551616", "a b", "\x1b[31m"}) {
    const auto run = lookup(question);
    EXPECT_EQ(run.exitCode, 1) << question;
    EXPECT_EQ(run.out, "") << question;
    EXPECT_THAT(run.err, StartsWith("fyrl3: no L3 interface and no L3 id is \"")) << question;
    EXPECT_THAT(run.err, Not(HasSubstr("\x1b"))) << question;
  }
}

TEST(Lookup, TellsAnInterfaceWithoutIdFromNone) {
  const auto run = runProgram(
      {"lookup", "Vlan40", "--config", contradictions, "--l3-index", contradictoryIndexes});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, testing::EndsWith("fyrl3: Vlan40 has no L3 id\n"));
}

TEST(Lookup, TakesANumberForANameWhereAnInterfaceHasIt) {
  const std::string named = R"({"INTERFACE": {"7": {}, "Ethernet0": {}}, "PORT": {"2": {}, "7": {},
                                "Ethernet0": {}}})";
  const auto answer = [&](const char* question) {
    return runProgram({"lookup", question, "--config", "-"}, named);
  };
  EXPECT_EQ(answer("7").out, "1\n");
  EXPECT_EQ(answer("1").out, "7\n");
  EXPECT_EQ(answer("2").exitCode, 1);
  EXPECT_EQ(answer("0x2").out, "Ethernet0\n");
}

TEST(Lookup, AnswersInJsonWithTheOneInterface) {
  const auto run =
      runProgram({"lookup", "1538", "--json", "--config", leaf, "--l3-index", leafIndexes});
  EXPECT_EQ(nlohmann::json::parse(run.out)["interfaces"],
            nlohmann::json::parse(R"([{"interface": "Ethernet108", "kind": "routed", "l3Id": 1538,
                                       "state": "holding"}])"));
  const auto none = runProgram({"lookup", "nothing", "--json", "--config", leaf});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(nlohmann::json::parse(none.out)["interfaces"], nlohmann::json::array());
}

TEST(Lookup, ExitsWithThreeUnderStrictWhateverTheAnswer) {
  for (const char* question : {"Ethernet0", "nothing"}) {
    EXPECT_EQ(runProgram({"lookup", question, "--strict", "--config", contradictions}).exitCode, 3);
  }
}

TEST(Program, ExitsWithTwoAndPrintsNothingForUnreadableInput) {
  const std::vector<std::vector<std::string>> commands{
      {"show", "--config", "/no/such/file"},
      {"show", "--config", "examples"},
      {"show", "--config", leaf, "--l3-index", "/no/such/file"},
      {"show", "--config", leaf, "--l3-index", leaf},
      {"show", "--config", leafIndexes},
      {"lookup", "1", "--config", "CMakeLists.txt"},
      {"show", "--json", "--config", "-"}};
  for (const auto& arguments : commands) {
    const auto run = runProgram(arguments, R"({"VLAN": [7]})");
    EXPECT_EQ(run.exitCode, 2) << arguments.back();
    EXPECT_EQ(run.out, "") << arguments.back();
    EXPECT_THAT(run.err, StartsWith("fyrl3: ")) << arguments.back();
  }
}

TEST(Program, ExitsWithTwoForBadUsage) {
  const auto run = runProgram({"show", "--frobnicate"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, testing::EndsWith("\nTry 'fyrl3 --help'.\n"));
  EXPECT_EQ(runProgram({}).exitCode, 2);
}

TEST(Program, HelpsOnStandardOutput) {
  const auto help = runProgram({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_THAT(help.out, HasSubstr("Examples:\n"));
  EXPECT_EQ(help.err, "");
  EXPECT_THAT(runProgram({"show", "--help"}).out, HasSubstr("Examples:\n"));
  EXPECT_THAT(runProgram({"--version"}).out, StartsWith("fyrl3 "));
}

TEST(Program, TellsWhenItCannotWrite) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"show", "--config", leaf}, {"--help"}}) {
    const auto run = runProgramInto("/dev/full", arguments);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "fyrl3: cannot write to standard output: No space left on device\n");
  }
}

TEST(Program, NeverTakesAFileForAStandardDescriptorThatIsClosed) {
  const std::vector<std::string> verify{"verify", "--config", leaf, "--apply", "-"};
  const auto input = runProgramWithout(STDIN_FILENO, verify);
  EXPECT_EQ(input.exitCode, 2);
  EXPECT_EQ(input.err, "fyrl3: standard input: cannot be read: Bad file descriptor\n");
  const auto output = runProgramWithout(STDOUT_FILENO, verify);
  EXPECT_EQ(output.exitCode, 2);
  EXPECT_EQ(output.err, "fyrl3: cannot write to standard output: Bad file descriptor\n");
  const auto error = runProgramWithout(STDERR_FILENO, {"show", "--config", contradictions});
  EXPECT_EQ(error.exitCode, 0);
  EXPECT_THAT(error.out, StartsWith("INTERFACE "));
}

TEST(Program, ColoursOnATerminalOnly) {
  const std::vector<std::string> arguments{"show", "--config", contradictions};
  const auto terminal = runProgramOnTerminal(arguments, "xterm", "");
  EXPECT_THAT(terminal.out, HasSubstr("\033[1mINTERFACE"));
  EXPECT_THAT(terminal.out, HasSubstr("\033[33mproblem:"));
  EXPECT_THAT(runProgramOnTerminal(arguments, "xterm", "1").out, Not(HasSubstr("\033")));
  EXPECT_THAT(runProgramOnTerminal(arguments, "dumb", "").out, Not(HasSubstr("\033")));
  EXPECT_THAT(runProgram(arguments).out, Not(HasSubstr("\033")));
}

/// A configuration without interfaces, of which the second half comes late, for `run(file)`.
template <class Run>
ProgramRun withSlowFile(const Run& run) {
  const std::string fifo = testing::TempDir() + "fyrl3-slow-" + std::to_string(getpid());
  EXPECT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  ProgramRun seen;
  {
    const std::jthread writer([&fifo] {
      std::ofstream file(fifo);
      file << "{" << std::flush;
      std::this_thread::sleep_for(Progress::patience + std::chrono::milliseconds(200));
      file << "}";
    });
    seen = run(fifo);
  }
  std::filesystem::remove(fifo);
  return seen;
}

TEST(Program, ShowsOnATerminalWhatTakesLong) {
  std::string name;
  const auto run = withSlowFile([&name](const std::string& file) {
    name = file;
    return runProgramOnTerminal({"show", "--config", file}, "xterm", "");
  });
  EXPECT_EQ(run.out, "\033[Kreading " + name + " ...\r\033[K\rno L3 interfaces\r\n");
}

TEST(Program, ShowsNothingMoreOfWhatTakesLongElsewhere) {
  const auto run =
      withSlowFile([](const std::string& file) { return runProgram({"show", "--config", file}); });
  EXPECT_EQ(run.out, "no L3 interfaces\n");
  EXPECT_EQ(run.err, "");
}

TEST(Program, ExitsWith130WhenInterrupted) {
  const std::string fifo = testing::TempDir() + "fyrl3-" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const auto run = runProgramInterrupted(fifo, {"show", "--config", fifo});
  std::filesystem::remove(fifo);
  EXPECT_EQ(run.exitCode, 130);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "");
}

/// A command that a document shows, and what it says that the program prints.
struct Transcript {
  std::vector<std::string> words;
  std::string out;
};

/// The transcripts of a Markdown file: indented blocks that begin with "$ ", until the next one.
std::vector<Transcript> transcriptsIn(const std::string& path) {
  std::ifstream file(path);
  std::vector<Transcript> transcripts;
  bool isInside = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("    $ ")) {
      std::istringstream words(line.substr(6));
      transcripts.push_back({{std::istream_iterator<std::string>(words), {}}, ""});
      isInside = true;
    } else if (!line.empty() && !line.starts_with("    ")) {
      isInside = false;
    } else if (isInside) {
      transcripts.back().out += (line.empty() ? line : line.substr(4)) + "\n";
    }
  }
  return transcripts;
}

/// Blank lines part transcripts from each other.
std::string withoutLineEnds(std::string text) {
  while (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

/// Replays what a person did in a shell: the lines behind its prompts go in, and everything else
/// has to come out, errors in their places.
void expectShell(std::vector<std::string> words, const std::string& shown) {
  constexpr std::string_view prompt = "fyrl3> ";
  std::string input;
  std::string output;
  std::istringstream lines(shown);
  for (std::string line; std::getline(lines, line);) {
    const bool isTyped = line.starts_with(prompt);
    (isTyped ? input : output) += line.substr(isTyped ? prompt.size() : 0) + "\n";
  }
  words.emplace_back("--keep-going");
  EXPECT_EQ(withoutLineEnds(runProgramAsSeen(words, input).out), withoutLineEnds(output));
}

TEST(Program, PrintsWhatTheDocumentsShow) {
  for (const auto& [path, count] : {std::pair{"README.md", 3U}, {"docs/host.md", 4U}}) {
    const auto transcripts = transcriptsIn(path);
    EXPECT_EQ(transcripts.size(), count) << path;
    for (auto [words, out] : transcripts) {
      words.erase(words.begin());
      if (!words.empty() && words.front() == "shell") {
        expectShell(words, out);
        continue;
      }
      const std::vector<std::string> alone{"show", "--config", leaf};
      EXPECT_EQ(withoutLineEnds(runProgram(words.empty() ? alone : words).out),
                withoutLineEnds(out));
    }
  }
}

TEST(Program, NeverPrintsNamesRaw) {
  const auto run = runProgram({"show", "--config", "-"},
                              R"({"PORT": {"\u001b[2J": {}}, "INTERFACE": {"a\nb": 7}})");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, HasSubstr("PORT \\x1b[2J: "));
  EXPECT_THAT(run.err, HasSubstr("INTERFACE a\\nb: the row is 7; "));
  EXPECT_THAT(run.err, Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace Agent
