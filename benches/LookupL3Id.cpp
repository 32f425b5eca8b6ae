// Keyed look-up by L3 id: from an identifier to the interface that has it, hits in random order.
// Ours uses hashes bit-reversed, and this key does not keep its hash so: each look-up reverses it.

#include "benches/Families.h"
#include "benches/Load.h"
#include "benches/LookupLoop.h"
#include "benches/Maps.h"

namespace Benches {

namespace {

using FyrL3Intf::L3Id;
using Plexo::IntfId;

template <class Map>
void lookups(benchmark::State& state, std::size_t entries) {
  const auto present = keys<L3Id>(entries);
  Map map;
  fill<IntfId>(map, present);
  independentLookups<L3Id>(state, probesInto(present),
                           [&map](const L3Id& key) { return map.at(key); });
}

}  // namespace

void addLookupL3Id() {
  for (const Size& size : cachedSizes) {
    for (const Load load : loads) {
      forEachMap<L3Id, IntfId>([&]<class Map>() {
        add({"lookupL3Id", "independent", Map::name, size.label, label(load)},
            [=](benchmark::State& state) {
              lookups<Map>(state, entriesAt<L3Id, Map>(size.entries, load));
            });
      });
    }
  }
}

}  // namespace Benches
