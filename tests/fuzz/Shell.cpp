// Lines of commands on a live session, as text or composed: what they print holds nothing that a
// terminal obeys, and the state stays consistent as long as nothing was changed by hand.
//
// The shell tries commands that may end the process in a child first, which costs a thousand times
// what they cost themselves. Here trials have children only in lives that change the state by hand;
// in all others no command may end the process, and each trial passes untried.

#include <sanitizer/common_interface_defs.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Kob/Trace.h"
#include "agent/Completion.h"
#include "agent/Shell.h"
#include "agent/Trial.h"
#include "tests/fuzz/Configured.h"
#include "tests/fuzz/Finding.h"

namespace Fuzz {
namespace {

/// Whether trials have children in the life that is lived.
bool hasTrials = false;
constexpr std::size_t mostLines = 12;
/// Of a life whose trials have children, which cost 20 ms each.
constexpr std::size_t mostTriedLines = 5;

constexpr const char* configuration = R"({
    "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
    "VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
    "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})";

constexpr std::array questions = {"show",   "lookup", "why",   "watch", "defer", "run",
                                  "types",  "get",    "count", "list",  "help",  "trace",
                                  "verify", "apply",  "frobn", "#",     ""};
constexpr std::array changes = {"set", "del", "call", "apply", "defer", "run"};
constexpr std::array arguments = {"on",
                                  "off",
                                  "Ethernet0",
                                  "Ethernet4",
                                  "Vlan10",
                                  "1",
                                  "100",
                                  "0x64",
                                  "18446744073709551616",
                                  "\x1b[2J",
                                  "table",
                                  "configSm",
                                  "table.intfL3Index",
                                  "table.intfL3Index[Ethernet0]",
                                  "table.routedPortName[100]",
                                  "table.routedPortName[100] Ethernet0",
                                  "table.intfL3Index[Ethernet0] 100",
                                  "table.l3IdToIntfId(100)",
                                  "configSm.desiredRoutedPortName[100]",
                                  "configSm.desiredRoutedPortName[100].member[Ethernet0]",
                                  "configSm.desiredInternalVlanId[Ethernet0] 100",
                                  "configSm.desiredInternalVlanId[Ethernet4]",
                                  "configSm.switchIntfConfigSm[Ethernet0]",
                                  "configSm.switchIntfConfigSm[Ethernet0].doPrepareToDie()",
                                  "configSm.doSetDesiredInternalVlanId(Ethernet0, 100)",
                                  "configSm.doSetInternalVlanId(Ethernet4, 100)",
                                  "configSm.handleSwitchIntfConfig(Ethernet0)",
                                  "configSm.handleL3Index(Ethernet0)",
                                  "configSm.handleVlanIntfStatus(Vlan10)",
                                  "configSm.doPrepareToDie()",
                                  "configSm.doVerify()",
                                  "FyrL3Intf::Table",
                                  "FyrL3IntfSm 8 on",
                                  "FyrL3IntfSm 8 off",
                                  R"([{"op": "remove", "path": "/INTERFACE/Ethernet0"}])",
                                  R"([{"op": "add", "path": "/INTERFACE/Ethernet8", "value": {}}])",
                                  R"([{"op": "remove", "path": "/VLAN_INTERFACE/Vlan10"}])",
                                  R"([{"op": "replace", "path": "", "value": {"PORT": {}}}])",
                                  "[{",
                                  ""};

/// Takes the place of a standard descriptor while it lives, and keeps what is written there.
class Capture {
 public:
  explicit Capture(int descriptor) : descriptor_(descriptor), saved_(::dup(descriptor)) {
    ::lseek(file(), 0, SEEK_SET);
    require(::ftruncate(file(), 0) == 0, "no file in memory");
    ::dup2(file(), descriptor);
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture() { restore(); }

  /// Gives the descriptor back, and returns what was written.
  std::string taken() {
    restore();
    std::string text(static_cast<std::size_t>(::lseek(file(), 0, SEEK_END)), '\0');
    require(::pread(file(), text.data(), text.size(), 0) >= 0, "no file in memory");
    return text;
  }

 private:
  [[nodiscard]] int file() const {
    static const std::array files = {::memfd_create("out", 0), ::memfd_create("err", 0)};
    return files[descriptor_ == STDOUT_FILENO ? 0 : 1];
  }
  void restore() {
    if (saved_ < 0) return;
    ::dup2(saved_, descriptor_);
    ::close(saved_);
    saved_ = -1;
  }

  const int descriptor_;
  int saved_;
};

std::vector<std::string> linesOf(Choices& from, bool hasChanges) {
  std::vector<std::string> lines;
  while (!from.isEmpty() && lines.size() < mostLines) {
    const bool isChange = hasChanges && from.below(3) != 0;
    std::string line = isChange ? from.of(changes) : from.of(questions);
    for (unsigned words = 1 + from.below(8) / 7; words > 0; --words) {
      line += std::string(" ") + from.of(arguments);
    }
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> linesIn(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty() && lines.size() < mostLines) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

void obey(Agent::Shell& shell, const std::string& line) {
  Capture out(STDOUT_FILENO);
  Capture err(STDERR_FILENO);
  const int exitCode = shell.obey(line);
  const std::string refused = err.taken();
  requirePrintable(out.taken(), "the output of " + line, true);
  requirePrintable(refused, "the refusal of " + line, true);
  require(exitCode >= 0 && exitCode <= 125, "an exit code that is none");
  for (const std::string& completion : Agent::completionsOf(line, shell.context())) {
    requirePrintable(completion, "a completion", false);
  }
}

bool changesByHand(const std::string& line) {
  const std::size_t start = std::min(line.find_first_not_of(" \t"), line.size());
  const std::string_view command = std::string_view(line).substr(start);
  return command.starts_with("set") || command.starts_with("del") || command.starts_with("call");
}

void live(std::vector<std::string> lines, bool needsVlans, bool isJson) {
  hasTrials = std::ranges::any_of(lines, changesByHand);
  if (hasTrials && lines.size() > mostTriedLines) lines.resize(mostTriedLines);
  Agent::Session session(Agent::Document("c.json", configuration),
                         needsVlans ? internalVlans(3) : assignedIndexes());
  Agent::Printer printer(isJson);
  Agent::Shell shell(session, printer);
  for (const std::string& line : lines) {
    if (!shell.isEnded()) obey(shell, line);
    const bool isTouched = hasTrials || session.deferral();
    if (!isTouched) checkSession(session);
  }
  Kob::TraceFacility::named("FyrL3IntfSm").levelsUpToIs(0);
}

}  // namespace
}  // namespace Fuzz

Agent::Trial realTrial(const std::function<void()>& action) asm(
    "__real__ZN5Agent10tryInChildERKSt8functionIFvvEE");
Agent::Trial foreseenTrial(const std::function<void()>& action) asm(
    "__wrap__ZN5Agent10tryInChildERKSt8functionIFvvEE");

/// A trial that passes untried, or one whose child ends by an assertion if it does not end well.
Agent::Trial foreseenTrial(const std::function<void()>& action) {
  if (!Fuzz::hasTrials) return {};
  Agent::Trial trial = realTrial(action);
  if (trial.outcome == Agent::TrialOutcome::died) {
    Fuzz::require(trial.report.find("Assertion `") != std::string::npos,
                  "a command ends the process without an assertion");
  }
  return trial;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace Fuzz;
  static const int report = ::dup(STDERR_FILENO);
  __sanitizer_set_report_fd(reinterpret_cast<void*>(std::intptr_t{report}));
  if (size > 0 && std::islower(bytes[0]) != 0) {
    const auto lines = linesIn(std::string_view(reinterpret_cast<const char*>(bytes), size));
    live(lines, size % 2 != 0, size / 2 % 2 != 0);
    return 0;
  }
  Choices choices(bytes, size);
  const unsigned kind = choices.byte();
  live(linesOf(choices, kind % 16 == 15), kind % 2 != 0, kind / 2 % 2 != 0);
  return 0;
}
