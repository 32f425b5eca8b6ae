// What input may cost: however the bytes are arranged, reading them, telling what is wrong with
// them and letting the library follow takes memory in proportion to their number, and ends soon.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "agent/Commands.h"
#include "agent/ConfigurationPatch.h"
#include "agent/Printer.h"
#include "agent/Session.h"
#include "agent/Shell.h"
#include "tests/agent/BadInput.h"

namespace Agent {
namespace {

using nlohmann::json;

/// The bound: this much, and so many bytes for each byte of input.
constexpr std::size_t megabytesAtFirst = 64;
constexpr std::size_t bytesPerByte = 400;
/// What a patch may copy besides: texts of 64 MiB, and a million values.
constexpr std::size_t megabytesOfCopies = 256;
/// Sanitizers and valgrind keep what was freed, and surround what was not.
constexpr std::size_t factor = isWatched ? 8 : 1;
/// Of what is read at once: so much that it is mostly the bytes for each byte that bound it.
constexpr std::size_t flatSize = (std::size_t{1} << 20U) / (isWatched ? 4 : 1);
/// Of what makes more work.
constexpr std::size_t size = isQuick ? flatSize : std::size_t{32} << 10U;
constexpr unsigned secondsAtMost = 60;

/// Bytes of memory that the process has now.
std::size_t residentSize() {
  std::ifstream file("/proc/self/statm");
  std::size_t pages = 0;
  std::size_t residentPages = 0;
  file >> pages >> residentPages;
  return residentPages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// Carries the action out with nobody watching; the bytes of memory that it took at most.
std::size_t takenBy(const std::function<void()>& action) {
  const int nowhere = ::open("/dev/null", O_WRONLY);
  ::dup2(nowhere, STDOUT_FILENO);
  ::dup2(nowhere, STDERR_FILENO);
  const std::size_t before = residentSize();
  action();
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const std::size_t peak = static_cast<std::size_t>(usage.ru_maxrss) << 10U;
  return peak > before ? peak - before : 0;
}

/// Expects that a child that carries the action out ends in time, and takes no more than it may for
/// so much input, and so much more.
void expectBounded(std::size_t inputSize, const std::function<void()>& action,
                   std::size_t megabytesMore = 0) {
  ::malloc_trim(0);
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(secondsAtMost);
    const std::size_t taken = takenBy(action);
    const bool isTold = ::write(pipe[1], &taken, sizeof taken) == sizeof taken;
    ::_exit(isTold ? 0 : 1);
  }
  ::close(pipe[1]);
  std::size_t taken = 0;
  const bool isTold = ::read(pipe[0], &taken, sizeof taken) == sizeof taken;
  ::close(pipe[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(isTold && status == 0) << "the child ended with status " << status;
  EXPECT_LT(taken,
            factor * (((megabytesAtFirst + megabytesMore) << 20U) + bytesPerByte * inputSize));
}

/// As many units as there is room for, each with its number in the place of the mark, apart by
/// commas.
std::string many(std::string_view unit, std::size_t room = size) {
  const std::size_t mark = unit.find('@');
  std::string text;
  for (std::size_t number = 0; text.size() < room; ++number) {
    if (number > 0) text += ',';
    text += unit.substr(0, mark);
    if (mark == std::string_view::npos) continue;
    text += std::to_string(number);
    text += unit.substr(mark + 1);
  }
  return text;
}

/// Loads a configuration in both manners of L3 ids, and tells of it in both manners of output.
void load(const std::string& configuration, const std::string& l3Indexes = "") {
  for (const bool isJson : {false, true}) {
    Printer printer(isJson);
    try {
      L3IdSource source;
      if (isJson) source.internalVlans = ReservationRules();
      if (!isJson && !l3Indexes.empty()) source.l3Indexes = Document("i.json", l3Indexes);
      Session session(Document("f.json", configuration), source);
      printer.tellProblems(session.problems());
      show(session, printer);
    } catch (const UnreadableInput& refusal) {
      printer.refuse(refusal.what());
    }
    printer.finish();
  }
}

struct Sample {
  const char* what;
  std::string text;
};

TEST(InputBound, HoldsForConfigurations) {
  const std::string longText(size / 2, 'k');
  const std::string trunk = R"({"interfaces": {"interface": [{"name": "Ethernet1", "switched-vlan":
      {"config": {"interface-mode": "TRUNK", "trunk-vlans": [@]}}}]}})";
  const Sample samples[] = {
      {"lists", R"({"X": [)" + many("[]", flatSize) + "]}"},
      {"objects", R"({"X": [)" + many("{}", flatSize) + "]}"},
      {"ports", R"({"PORT": {)" + many(R"("@":{})") + "}}"},
      {"rows", "{" + many(R"("PORT|@":{})") + "}"},
      {"routed ports", R"({"INTERFACE": {)" + many(R"("@":{})") + "}}"},
      {"rows that are none", R"({"PORT": {)" + many(R"("@":0)") + "}}"},
      {"one key", R"({"PORT": {)" + many(R"("":0)") + "}}"},
      {"one key under a long one",
       R"({"PORT": {")" + longText + R"(": {)" + many(R"("":0)", size / 2) + "}}}"},
      {"a long row", R"({"PORT": {")" + longText + R"(": ")" + longText + R"("}})"},
      {"members that are none", R"({"VLAN": {"Vlan1": {"members": [)" + many("0") + "]}}}"},
      {"members", R"({"VLAN": {"Vlan1": {"members": [)" + many(R"("@")") + "]}}}"},
      {"sub-interfaces of one VLAN",
       R"({"VLAN_SUB_INTERFACE": {)" + many(R"("E.@":{"vlan":1})") + "}}"},
      {"a key of many parts", R"({"VLAN_MEMBER": {")" + std::string(flatSize, '|') + R"(": {}}})"},
      {"interfaces that are none", R"({"interfaces": {"interface": [)" + many("0") + "]}}"},
      {"interfaces", R"({"interfaces": {"interface": [)" + many(R"({"name":"Ethernet@"})") + "]}}"},
      {"one interface", R"({"interfaces": {"interface": [)" + many(R"({"name":"Vlan1"})") + "]}}"},
      {"subinterfaces that are none",
       R"({"interfaces": {"interface": [{"name": "E1", "subinterfaces": {"subinterface": [)" +
           many("0") + "]}}]}}"},
      {"settings", R"({"interfaces": {"interface": [{"name": "Ethernet1", "config": {)" +
                       many(R"("@":0)", flatSize) + "}}]}}"},
      {"ranges of all VLANs", filled(trunk, "@", many(R"("1-4094")", 8 * size))},
      {"ranges that are none", filled(trunk, "@", many("0"))},
      {"blanks", std::string(flatSize, ' ') + "{}"},
      {"what is no JSON", "{\"" + std::string(flatSize, 'x')}};
  for (const auto& [what, text] : samples) {
    SCOPED_TRACE(what);
    expectBounded(text.size(), [&sample = text] { load(sample); });
  }
}

TEST(InputBound, HoldsForL3Indexes) {
  const std::string router = R"("ASIC_STATE:SAI_OBJECT_TYPE_ROUTER_INTERFACE:oid:0x@":
      {"SAI_ROUTER_INTERFACE_ATTR_TYPE": "SAI_ROUTER_INTERFACE_TYPE_KIND",
       "SAI_ROUTER_INTERFACE_ATTR_PORT_ID": "oid:0x1"})";
  const std::string port = filled(router, "KIND", "PORT");
  const std::string channel = filled(router, "KIND", "LAG");
  const std::string longName = R"("ASIC_STATE:SAI_OBJECT_TYPE_HOSTIF:oid:0x1":
      {"SAI_HOSTIF_ATTR_OBJ_ID": "oid:0x1", "SAI_HOSTIF_ATTR_NAME": ")" +
                               std::string(4 * size, 'k') + "\"}";
  const std::string member = R"("ASIC_STATE:SAI_OBJECT_TYPE_LAG_MEMBER:oid:0x@":
      {"SAI_LAG_MEMBER_ATTR_LAG_ID": "oid:0x1", "SAI_LAG_MEMBER_ATTR_PORT_ID": "oid:0x@"})";
  const Sample samples[] = {
      {"names", R"({"COUNTERS_RIF_NAME_MAP": {)" + many(R"("@":"oid:0x1")") + "}}"},
      {"ids that are none", R"({"COUNTERS_RIF_NAME_MAP": {)" + many(R"("@":0)") + "}}"},
      {"a port with a long name", "{" + longName + "," + many(port, 4 * size) + "}"},
      {"a channel with many members",
       "{" + many(member, size / 2) + "," + many(channel, size / 2) + "}"}};
  for (const auto& [what, text] : samples) {
    SCOPED_TRACE(what);
    expectBounded(text.size(), [&sample = text] { load(everyTable, sample); });
  }
}

TEST(InputBound, HoldsForPatches) {
  const std::string configuration = R"({"PORT": {"Ethernet0": {"description": ")" +
                                    std::string(size, 'd') + R"("}}, "X": {"L": []}})";
  const Sample samples[] = {
      {"copies of a long text",
       many(R"({"op":"copy","from":"/PORT/Ethernet0/description","path":"/X/@"})")},
      {"copies of the copies", many(R"({"op":"copy","from":"/X","path":"/X/@"})")},
      {"moves",
       many(
           R"({"op":"move","from":"/PORT","path":"/Y"},{"op":"move","from":"/Y","path":"/PORT"})")},
      {"tests", many(R"({"op":"test","path":"/X","value":{"L":[]}})")},
      {"places in a list", many(R"({"op":"add","path":"/X/L/0","value":0})")},
      {"ports", many(R"({"op":"add","path":"/PORT/@","value":{}})")},
      {"the whole document", many(R"({"op":"replace","path":"","value":{}})")}};
  for (const auto& [what, operations] : samples) {
    SCOPED_TRACE(what);
    expectBounded(
        configuration.size() + operations.size(),
        [&, &patch = operations] {
          Printer printer(false);
          Session session(Document("f.json", configuration), {ReservationRules(), std::nullopt});
          const std::string refusal =
              refusalOf([&] { session.apply(Document("p.json", "[" + patch + "]")); });
          if (!refusal.empty()) printer.refuse(refusal);
          printer.tellProblems(session.problems());
        },
        megabytesOfCopies);
  }
}

TEST(InputBound, HoldsForLinesOfTheShell) {
  const std::string longText(size, 'k');
  for (const std::string& line :
       {longText, "lookup " + longText, "why " + filled(longText, "k", "k "),
        "why " + filled(longText, "kkk", "E0 "), "get table" + filled(longText, "k", ".k"),
        "get table.intfL3Index[" + longText + "]", "set table.intfL3Index[Ethernet0] " + longText,
        "set table.intfL3Index[" + longText + "] 1",
        "call table.intfIdToL3Id(" + filled(longText, "k", "k,") + ")", "apply [" + longText,
        "apply [" + many("0") + "]", "types " + longText}) {
    SCOPED_TRACE(line.substr(0, 40));
    expectBounded(line.size(), [&line] {
      for (const bool isJson : {false, true}) {
        Session session(Document("f.json", everyTable), {ReservationRules(), std::nullopt});
        Printer printer(isJson);
        Shell shell(session, printer);
        (void)shell.obey(line);
      }
    });
  }
}

TEST(InputBound, EndsCopiesThatWouldFillTheMemory) {
  const json root = {{"a", std::string(size, 'a')}};
  json patch = json::array();
  for (std::size_t i = 0; i <= mostCopiedBytes / size; ++i) {
    patch.push_back({{"op", "copy"}, {"from", "/a"}, {"path", "/" + std::to_string(i)}});
  }
  const std::string number = std::to_string(patch.size());
  EXPECT_EQ(refusalOf([&] { (void)patched(root, Document::of("p.json", patch)); }),
            "p.json: operation " + number + " (copy /" + std::to_string(patch.size() - 1) +
                "): the patch copies more than 64 MiB");
  patch.erase(patch.size() - 1);
  EXPECT_EQ(patched(root, Document::of("p.json", patch)).size(), patch.size() + 1);
}

}  // namespace
}  // namespace Agent
