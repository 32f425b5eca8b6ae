#pragma once

// Events of the small world, each with every allocation of it failing in turn: alone, and with all
// that follow it. Nothing is rolled back: what is left, counts and announcements included, is what
// stands at that allocation when the event succeeds. Nothing is lost. From whatever is left the
// machine can be dropped while memory still fails, and then made anew on the same table and inputs,
// all of which still take, find and give up entries.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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

using KobTest::allModes;
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

/// The readers of a table, all of which hear the same.
using Readers = std::vector<Kob::Ptr<Reader>>;

inline Readers readersOf(const Kob::Ptr<Table>& table, std::size_t count) {
  Readers readers;
  while (readers.size() < count) readers.push_back(joined(Kob::Ptr(new Reader), table));
  return readers;
}
inline std::string heardBy(const Readers& readers) {
  for (const auto& reader : readers) EXPECT_EQ(reader->text(), readers.front()->text());
  return readers.front()->text();
}

/// More readers than are announced to without memory for the list of them.
constexpr std::size_t manyReaders = Kob::InlineRoom::size + 1;

/// The block that walks use again goes when it can not be made as large as one of them needs.
inline void giveUpTheBlockOfTheWalks() {
  const auto table = tableFactory("table", noInternalVlans);
  Readers readers;
  do {
    readers.push_back(joined(Kob::Ptr(new Reader), table));
  } while (!failingAfter(0, [&] { table->intfL3IndexNotify({}); }).failed);
}

/// Something that happens in a world.
using Event = std::function<void(World&)>;

/// Where the failures of an event end.
enum class Ends {
  /// With whoever makes it happen.
  withTheCaller,
  /// With whoever hears of it, once something has changed and announced that.
  withTheListener,
};

/// What becomes of a world in which something happens.
struct Case {
  const char* name;
  bool internalVlanNeeded;
  Event before;
  Event event;
  Ends ends = Ends::withTheCaller;
  std::size_t readers = 1;
  /// What stands, but for the inputs, when the machine of a port found no place and has withdrawn
  /// its wish: the one step that is taken back. Empty where no place is looked for.
  const char* withdrawn = "";

  friend void PrintTo(const Case& happening, std::ostream* stream) { *stream << happening.name; }
};

/// The entries and changes of an input.
template <class Input>
std::string inputText(const Input& input, unsigned entries) {
  return std::to_string(entries) + " after " + std::to_string(input.changeCount());
}
inline std::string inputsOf(const World& world) {
  std::ostringstream text;
  text << "ports " << inputText(*world.config, world.config->switchIntfConfigs());
  for (auto it = world.config->switchIntfConfigIteratorConst(); it; ++it) {
    text << ' ' << it->changeCount();
  }
  text << " vlans " << inputText(*world.statusDir, world.statusDir->intfStatuss()) << " indexes "
       << inputText(*world.indexDir, world.indexDir->l3Indexs()) << " pending "
       << world.activity->activitySm()->pendings() << " reads " << world.table->readCount() << ' '
       << world.config->readCount() << ' ' << world.statusDir->readCount() << ' '
       << world.indexDir->readCount() << '\n';
  return text.str();
}

/// The inputs and all reads on the first line, then table, machine and what the readers heard.
inline std::string stateOf(const World& world, const Readers& readers) {
  return inputsOf(world) + textOf(*world.table) +
         (world.machine ? textOf(*world.machine) : "no machine\n") + heardBy(readers);
}

/// Table and inputs take an entry of a new interface, find it and give it up.
inline void expectTakesFindsAndGivesUp(const World& world) {
  const Plexo::IntfId intf = "Vlan99"_intf;
  const L3Id l3Id(99);
  world.table->intfL3IndexIs(intf, l3Id);
  world.table->routedPortNameIs(l3Id, intf);
  EXPECT_EQ(world.table->intfIdToL3Id(intf), l3Id);
  EXPECT_EQ(world.table->l3IdToIntfId(l3Id), intf);
  EXPECT_EQ(world.table->routedPortNameDel(l3Id), intf);
  EXPECT_EQ(world.table->intfL3IndexDel(intf), l3Id);
  EXPECT_FALSE(world.table->intfL3IndexCollection().isMemberOf(intf));
  const auto port = world.config->switchIntfConfigIs(intf);
  EXPECT_EQ(world.config->switchIntfConfig(intf), port);
  EXPECT_EQ(world.config->switchIntfConfigDel(intf), port);
  const auto status = world.statusDir->intfStatusIs(intf);
  EXPECT_EQ(world.statusDir->intfStatus(intf), status);
  EXPECT_EQ(world.statusDir->intfStatusDel(intf), status);
  const auto index = world.indexDir->l3IndexIs(intf, l3Id);
  EXPECT_EQ(world.indexDir->l3Index(intf), index);
  EXPECT_EQ(world.indexDir->l3IndexDel(intf), index);
}

/// Whatever is left, the machine goes without memory, and another comes right on the same table,
/// once that is empty, from the same inputs.
inline void expectGoesAndStartsAnew(World& world) {
  EXPECT_FALSE(failingAfter(0, [&] { world.machine = nullptr; }, Failing::fromThereOn).failed);
  world.activity->deferralIs(false);
  EXPECT_EQ(world.activity->activitySm()->pendings(), 0U);
  expectTakesFindsAndGivesUp(world);
  world.table->routedPortNameDelAll();
  world.table->intfL3IndexDelAll();
  world.start().doVerify();
}

/// A world in which an event is about to happen.
struct Stage {
  explicit Stage(const Case& happening)
      : world(happening.internalVlanNeeded), readers(readersOf(world.table, happening.readers)) {
    happening.before(world);
    forgetTheWalks();
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  ~Stage() { forgetTheWalks(); }

  /// Walks over many find no block of former ones.
  void forgetTheWalks() const {
    if (readers.size() >= manyReaders) giveUpTheBlockOfTheWalks();
  }
  [[nodiscard]] std::string state() const { return stateOf(world, readers); }

  World world;
  Readers readers;
};

/// Puts into `left` the state in which the event leaves a world of its own when an allocation
/// fails.
inline Outcome outcomeOf(const Case& happening, std::size_t successes, Failing mode,
                         std::string& left) {
  Stage stage(happening);
  const Outcome outcome = failingAfter(successes, [&] { happening.event(stage.world); }, mode);
  left.assign(stage.state());
  if (outcome.thrown) left += ", thrown";
  expectGoesAndStartsAnew(stage.world);
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

/// The states at each allocation of the event when it succeeds, and that after it; each says
/// whether a failure is to come out there.
inline std::vector<std::string> statesSeenIn(const Case& happening) {
  Stage stage(happening);
  const std::string before = stage.state();
  std::vector<std::string> states;
  const std::function<void()> look = [&] {
    const std::string state = stage.state();
    const bool thrown = happening.ends == Ends::withTheCaller || state == before;
    states.push_back(state + (thrown ? ", thrown" : ""));
  };
  KobTest::FailingHeap::lookIs(&look);
  happening.event(stage.world);
  KobTest::FailingHeap::lookIs(nullptr);
  states.push_back(stage.state());
  return states;
}

/// What failed is not tried again, and nothing follows it.
inline void expectStopsWhereItFails(const Case& happening) {
  const auto withdrawn = testing::EndsWith(std::string("\n") + happening.withdrawn);
  for (const Failing mode : allModes) {
    const auto left = statesLeftBy(happening, mode);
    const auto seen = statesSeenIn(happening);
    ASSERT_EQ(left.size(), seen.size());
    std::size_t withdrawals = 0;
    for (std::size_t at = 0; at < left.size(); ++at) {
      EXPECT_THAT(left[at], testing::AnyOf(seen[at], withdrawn)) << "allocation " << at;
      if (left[at] != seen[at]) ++withdrawals;
    }
    EXPECT_EQ(withdrawals, *happening.withdrawn == '\0' ? 0U : 1U);
  }
}

/// Those states without the line of the inputs, equal neighbours once.
inline std::vector<std::string> stepsOf(const Case& happening, Failing mode) {
  auto steps = statesLeftBy(happening, mode);
  for (std::string& step : steps) step.erase(0, step.find('\n') + 1);
  steps.erase(std::unique(steps.begin(), steps.end()), steps.end());
  return steps;
}
/// The same of an event that stops at once, in whichever mode.
inline std::vector<std::string> stepsOf(const Event& before, const Event& event,
                                        bool internalVlanNeeded = internalVlans) {
  const Case happening{"", internalVlanNeeded, before, event};
  auto steps = stepsOf(happening, Failing::once);
  EXPECT_EQ(steps, stepsOf(happening, Failing::fromThereOn));
  return steps;
}

}  // namespace FyrL3Intf::Tests
