// Entries that come and go: filling an empty collection (its growth included), emptying one entry
// by entry, and churn, where one random entry goes and another comes while their number stays.

#include <chrono>
#include <random>
#include <utility>
#include <vector>

#include "benches/Allocations.h"
#include "benches/Families.h"
#include "benches/Load.h"
#include "benches/Maps.h"

namespace Benches {

namespace {

using FyrL3Intf::L3Id;
using Plexo::IntfId;
using Clock = std::chrono::steady_clock;

/// Filling or emptying one small collection is too short for the clock: so many at once.
constexpr std::size_t changesPerIteration = 1U << 14U;

std::size_t mapsPerIteration(std::size_t entries) {
  return entries < changesPerIteration ? changesPerIteration / entries : 1;
}

/// Runs `timed(maps)` on new collections made ready by `prepare(map)`, and times only that.
template <class Map, class Prepare, class Timed>
void timeNewMaps(benchmark::State& state, std::size_t entries, const Prepare& prepare,
                 const Timed& timed) {
  const auto count = mapsPerIteration(entries);
  for (auto _ : state) {
    std::vector<Map> maps(count);
    for (Map& map : maps) prepare(map);
    const auto start = Clock::now();
    for (Map& map : maps) timed(map);
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count * entries));
}

template <class Map>
void inserts(benchmark::State& state, std::size_t entries) {
  const auto order = shuffled(keys<IntfId>(entries));
  const auto values = keys<L3Id>(entries);
  timeNewMaps<Map>(
      state, entries, [](Map&) {},
      [&](Map& map) {
        for (std::size_t at = 0; at < entries; ++at) map.insert(order[at], values[at]);
      });
}

template <class Map>
void erasures(benchmark::State& state, std::size_t entries) {
  const auto present = keys<IntfId>(entries);
  auto order = shuffled(present);
  std::shuffle(order.begin(), order.end(), std::mt19937_64(3));
  timeNewMaps<Map>(
      state, entries, [&](Map& map) { fill<L3Id>(map, present); },
      [&](Map& map) {
        for (const IntfId key : order) map.erase(key);
      });
}

/// One step of churn: who goes, who comes.
struct Step {
  IntfId goes;
  IntfId comes;
};

/// Random steps on a collection that holds the first half of `known`, followed by those that undo
/// them from the last to the first; so that they can be repeated for ever.
std::vector<Step> churnSteps(std::span<const IntfId> known) {
  constexpr std::size_t stepsOut = 8 * blockLength;
  const auto half = known.size() / 2;
  std::vector<IntfId> present(known.begin(), known.begin() + static_cast<std::ptrdiff_t>(half));
  std::vector<IntfId> absent(known.begin() + static_cast<std::ptrdiff_t>(half), known.end());
  std::mt19937_64 random(4);
  std::vector<Step> steps;
  steps.reserve(2 * stepsOut);
  while (steps.size() < stepsOut) {
    auto& goes = present[random() % present.size()];
    auto& comes = absent[random() % absent.size()];
    steps.push_back({goes, comes});
    std::swap(goes, comes);
  }
  for (auto at = stepsOut; at-- > 0;) steps.push_back({steps[at].comes, steps[at].goes});
  return steps;
}

template <class Map>
void churn(benchmark::State& state, std::size_t entries) {
  const auto known = keys<IntfId>(2 * entries);
  const auto steps = churnSteps(known);
  Map map;
  fill<L3Id>(map, known.first(entries));
  Blocks<Step> blocks(steps);
  const Count count;
  for (auto _ : state) {
    for (const Step& step : blocks.next()) {
      map.erase(step.goes);
      map.insert(step.comes, L3Id(1));
    }
  }
  count.report(state, blockLength);
}

template <class Map>
void addMap(const Size& size, Load load) {
  const auto entries = [=] { return entriesAt<IntfId, Map>(size.entries, load); };
  add({"change", "insert", Map::name, size.label, label(load)}, [=](benchmark::State& state) {
    inserts<Map>(state, entries());
  })->UseManualTime();
  add({"change", "erase", Map::name, size.label, label(load)}, [=](benchmark::State& state) {
    erasures<Map>(state, entries());
  })->UseManualTime();
  add({"change", "churn", Map::name, size.label, label(load)},
      [=](benchmark::State& state) { churn<Map>(state, entries()); });
}

}  // namespace

void addChange() {
  for (const Size& size : cachedSizes) {
    for (const Load load : loads) {
      forEachMap<IntfId, L3Id>([&]<class Map>() { addMap<Map>(size, load); });
    }
  }
}

}  // namespace Benches
