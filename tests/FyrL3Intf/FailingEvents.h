#pragma once

// Events of the small world, each with every allocation of it failing in turn: alone, and with all
// that follow it. Nothing is rolled back, so the state that is left is one through which the event
// goes when it succeeds; nothing is lost, and from whatever is left the machine can be dropped and
// made anew.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/FyrL3Intf/World.h"
#include "tests/Kob/FailingHeap.h"

namespace FyrL3Intf::Tests {

using KobTest::Failing;
using KobTest::failingAfter;
using KobTest::Outcome;
using KobTest::FailingHeap::live;

/// Notes what it hears of without needing memory.
class Reader : public Table::NotifieeConst {
 public:
  using Table::NotifieeConst::onIntfL3Index;
  void onIntfL3Index(Plexo::IntfId intfId) override { heard_.at(count_++) = intfId; }

  [[nodiscard]] std::string text() const {
    std::string names = "heard";
    for (std::size_t at = 0; at < count_; ++at) names += " " + nameOf(heard_.at(at));
    return names;
  }

 private:
  std::array<Plexo::IntfId, 64> heard_;
  std::size_t count_ = 0;
};

/// More readers of the table than are announced to without memory for the list of them.
inline std::vector<Kob::Ptr<Reader>> manyReadersOf(const Kob::Ptr<Table>& table) {
  std::vector<Kob::Ptr<Reader>> readers;
  while (readers.size() <= Kob::InlineRoom::size) {
    readers.push_back(joined(Kob::Ptr(new Reader), table));
  }
  return readers;
}

/// The block that walks use again goes when it can not be made as large as one of them needs.
inline void giveUpTheBlockOfTheWalks() {
  const auto table = tableFactory("table", noInternalVlans);
  std::vector<Kob::Ptr<Reader>> readers;
  do {
    readers.push_back(joined(Kob::Ptr(new Reader), table));
  } while (!failingAfter(0, [&] { table->intfL3IndexNotify({}); }).failed);
}

/// Something that happens in a world.
using Event = std::function<void(World&)>;

/// What becomes of a world in which something happens.
struct Case {
  const char* name;
  bool internalVlanNeeded;
  Event before;
  Event event;
  /// Whether the event consists of several that do not stop each other.
  bool severalEvents = false;

  friend void PrintTo(const Case& happening, std::ostream* stream) { *stream << happening.name; }
};

/// The inputs on the first line, then table, machine and what the reader heard.
inline std::string stateOf(const World& world, const Reader& reader) {
  std::ostringstream text;
  text << "ports " << world.config->switchIntfConfigs() << " vlans "
       << world.statusDir->intfStatuss() << " indexes " << world.indexDir->l3Indexs() << " pending "
       << world.activity->activitySm()->pendings() << '\n'
       << textOf(*world.table) << (world.machine ? textOf(*world.machine) : "no machine\n")
       << reader.text();
  return text.str();
}

/// Whatever is left, a machine on a table of its own comes right from the inputs alone.
inline void expectStartsAnew(World& world) {
  const World other(world.internalVlanNeeded);
  world.machine = nullptr;
  world.table = other.table;
  world.activity = other.activity;
  world.start().doVerify();
}

/// Puts into `left` the state in which the event leaves a world of its own when an allocation
/// fails.
inline Outcome outcomeOf(const Case& happening, std::size_t successes, Failing mode,
                         std::string& left) {
  World world(happening.internalVlanNeeded);
  const auto reader = joined(Kob::Ptr(new Reader), world.table);
  happening.before(world);
  const Outcome outcome = failingAfter(successes, [&] { happening.event(world); }, mode);
  left.assign(stateOf(world, *reader));
  if (outcome.thrown) left += ", thrown";
  expectStartsAnew(world);
  return outcome;
}

/// The states in which the event leaves the world when its first allocation fails, its second, and
/// so on; the last is that of the event that succeeds. Nothing is lost on the way.
inline std::vector<std::string> statesLeftBy(const Case& happening, Failing mode) {
  constexpr std::size_t enough = 1000;
  constexpr std::size_t roomForText = 4096;
  std::string left;
  left.reserve(roomForText);
  std::vector<std::string> states;
  // What is made once in a process, names among it, is there from now on.
  outcomeOf(happening, enough, mode, left);
  for (std::size_t successes = 0; successes < enough; ++successes) {
    const std::size_t before = live();
    const Outcome outcome = outcomeOf(happening, successes, mode, left);
    EXPECT_LE(live(), before) << "allocation " << successes;
    states.push_back(left);
    if (!outcome.failed) return states;
  }
  ADD_FAILURE() << "no end of allocations";
  return states;
}

/// Those states without the line of the inputs, equal neighbours once.
inline std::vector<std::string> stepsOf(const Event& before, const Event& event,
                                        bool internalVlanNeeded = internalVlans) {
  std::vector<std::string> steps;
  for (const std::string& state :
       statesLeftBy({"", internalVlanNeeded, before, event}, Failing::once)) {
    std::string step = state.substr(state.find('\n') + 1);
    if (steps.empty() || steps.back() != step) steps.push_back(std::move(step));
  }
  return steps;
}

}  // namespace FyrL3Intf::Tests
