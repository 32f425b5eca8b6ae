// The table's own look-ups, intfIdToL3Id and l3IdToIntfId, whole: the call into the library, the
// read counter, the check of the trace point. Beside them the bare look-ups of other libraries,
// which do nothing of that.

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "benches/Families.h"
#include "benches/Load.h"
#include "benches/LookupLoop.h"
#include "benches/Maps.h"

namespace Benches {

namespace {

using FyrL3Intf::L3Id;
using Plexo::IntfId;

/// A table under the operations of a map from Key to Value, so that it is filled as they are.
template <class Key, class Value>
class TableMap {
 public:
  static constexpr bool forward = std::same_as<Key, IntfId>;
  static constexpr const char* name = "ours";

  void insert(const Key& key, const Value& value) {
    if constexpr (forward) {
      table_->intfL3IndexIs(key, value);
    } else {
      table_->routedPortNameIs(key, value);
    }
  }
  [[nodiscard]] Value at(const Key& key) const {
    if constexpr (forward) {
      return table_->intfIdToL3Id(key);
    } else {
      return table_->l3IdToIntfId(key);
    }
  }
  [[nodiscard]] std::size_t buckets() const {
    if constexpr (forward) {
      return table_->intfL3IndexCollection().buckets();
    } else {
      return table_->routedPortNameCollection().buckets();
    }
  }

 private:
  Kob::Ptr<FyrL3Intf::Table> table_ = FyrL3Intf::tableFactory("table", false);
};

template <class Key, class Value, class Map>
void addLookups(const char* name, const Size& size, Load load) {
  add({"tableLookup", name, Map::name, size.label, label(load)}, [=](benchmark::State& state) {
    const auto present = keys<Key>(entriesAt<Key, Map>(size.entries, load));
    Map map;
    fill<Value>(map, present);
    independentLookups<Key>(state, probesInto(present),
                            [&map](const Key& key) { return map.at(key); });
  });
}

template <class Key, class Value>
void addDirection(const char* name) {
  for (const Size& size : cachedSizes) {
    for (const Load load : loads) {
      addLookups<Key, Value, TableMap<Key, Value>>(name, size, load);
      forEachLibraryMap<Key, Value>(
          [&]<class Map>() { addLookups<Key, Value, Map>(name, size, load); });
    }
  }
}

}  // namespace

void addTableLookup() {
  addDirection<IntfId, L3Id>("intfIdToL3Id");
  addDirection<L3Id, IntfId>("l3IdToIntfId");
}

}  // namespace Benches
