// Keyed look-up by interface of ports that have no entry, in random order.

#include "benches/Families.h"
#include "benches/Load.h"
#include "benches/LookupLoop.h"
#include "benches/Maps.h"

namespace Benches {

namespace {

using FyrL3Intf::L3Id;
using Plexo::IntfId;

template <class Map>
void misses(benchmark::State& state, std::size_t entries) {
  const auto known = keys<IntfId>(2 * entries);
  Map map;
  fill<L3Id>(map, known.first(entries));
  independentLookups<IntfId>(state, probesInto(known.subspan(entries)),
                             [&map](const IntfId& key) { return map.at(key); });
}

}  // namespace

void addMiss() {
  for (const Size& size : cachedSizes) {
    for (const Load load : loads) {
      forEachMap<IntfId, L3Id>([&]<class Map>() {
        add({"miss", "independent", Map::name, size.label, label(load)},
            [=](benchmark::State& state) {
              misses<Map>(state, entriesAt<IntfId, Map>(size.entries, load));
            });
      });
    }
  }
}

}  // namespace Benches
