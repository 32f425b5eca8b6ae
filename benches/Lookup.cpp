// Keyed look-up by interface: from a port's identifier to its L3 id, hits in random order.

#include "benches/Families.h"
#include "benches/Load.h"
#include "benches/LookupLoop.h"
#include "benches/Maps.h"

namespace Benches {

namespace {

using FyrL3Intf::L3Id;
using Plexo::IntfId;

enum class Chain { independent, dependent };

template <class Map>
void lookups(benchmark::State& state, Chain chain, std::size_t entries) {
  const auto present = keys<IntfId>(entries);
  Map map;
  fill<L3Id>(map, present);
  const auto probes = probesInto(present);
  const auto at = [&map](const IntfId& key) { return map.at(key); };
  chain == Chain::independent ? independentLookups<IntfId>(state, probes, at)
                              : dependentLookups<IntfId>(state, probes, at);
}

void addSizes(const char* name, Chain chain, std::span<const Size> of) {
  for (const Size& size : of) {
    for (const Load load : loads) {
      forEachMap<IntfId, L3Id>([&]<class Map>() {
        add({"lookup", name, Map::name, size.label, label(load)}, [=](benchmark::State& state) {
          lookups<Map>(state, chain, entriesAt<IntfId, Map>(size.entries, load));
        });
      });
    }
  }
}

}  // namespace

void addLookup() {
  addSizes("independent", Chain::independent, sizes);
  addSizes("dependent", Chain::dependent, cachedSizes);
}

}  // namespace Benches
