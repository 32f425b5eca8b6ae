// Visiting every value. Plain: nothing changes meanwhile. Tolerant: our iterator, which stays in
// use while the collection changes and keeps the entry it stands on.

#include "benches/Allocations.h"
#include "benches/Families.h"
#include "benches/Load.h"
#include "benches/Maps.h"

namespace Benches {

namespace {

using FyrL3Intf::L3Id;
using Plexo::IntfId;

/// `walk(map, call)` calls `call(value)` for each value.
template <class Map, class Walk>
void walks(benchmark::State& state, std::size_t entries, const Walk& walk) {
  Map map;
  fill<L3Id>(map, keys<IntfId>(entries));
  const Count count;
  for (auto _ : state) {
    std::uint64_t sum = 0;
    walk(map, [&sum](const L3Id& value) { sum += value.value(); });
    benchmark::DoNotOptimize(sum);
  }
  count.report(state, entries);
}

template <class Map, class Walk>
void addWalk(const char* name, const Size& size, Load load, Walk walk) {
  add({"iteration", name, Map::name, size.label, label(load)}, [=](benchmark::State& state) {
    walks<Map>(state, entriesAt<IntfId, Map>(size.entries, load), walk);
  });
}

}  // namespace

void addIteration() {
  using Ours = OurMap<IntfId, L3Id>;
  for (const Size& size : cachedSizes) {
    for (const Load load : loads) {
      forEachMap<IntfId, L3Id>([&]<class Map>() {
        addWalk<Map>("plain", size, load,
                     [](const Map& map, const auto& call) { map.forEachValue(call); });
      });
      addWalk<Ours>("tolerant", size, load, [](const Ours& map, const auto& call) {
        for (Ours::Map::IteratorConst it(&map.map()); it; ++it) call(*it);
      });
    }
  }
}

}  // namespace Benches
