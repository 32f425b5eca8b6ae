#pragma once

// The keyed collections that are compared, each under the same few operations. Ours is what the
// accessor families are made of (Kob/AccessorFamily.h); the others are used as their documentation
// recommends. A library that was not installed when the benches were configured is left out.
//
// Hashes. An interface identifier carries a stored hash that spreads over all bits; every
// collection uses the stored word as it is. Other keys are hashed by each library's own hash.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <unordered_set>

#ifdef BENCHES_ABSL
#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <absl/container/node_hash_map.h>
#include <absl/hash/hash.h>
#endif
#ifdef BENCHES_BOOST
#include <boost/container_hash/hash.hpp>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>
#include <boost/unordered/unordered_map.hpp>
#endif
#ifdef BENCHES_ROBIN
#include <tsl/robin_map.h>
#endif

#include "Kob/AccessorFamily.h"
#include "platform/IntfId.h"
#include "platform/L3Id.h"

namespace Benches {

template <class Key, template <class> class LibraryHash>
struct HashOf {
  std::size_t operator()(const Key& key) const noexcept {
    if constexpr (std::same_as<Key, Plexo::IntfId>) {
      return key.kobReversedHash();
    } else if constexpr (std::same_as<Key, FyrL3Intf::L3Id>) {
      return LibraryHash<std::uint64_t>{}(key.value());
    } else {
      return LibraryHash<Key>{}(key);
    }
  }
};

template <class Key, class Value>
class OurMap {
 public:
  static constexpr const char* name = "ours";

  class Entry final : public Kob::HashMapEntry<Entry, Key, Value> {
   public:
    using Kob::HashMapEntry<Entry, Key, Value>::HashMapEntry;
  };
  using Map = Kob::HashMap<Entry, Key, Value>;

  [[nodiscard]] Value at(const Key& key) const { return Kob::valueAt(map_, key); }
  void insert(const Key& key, const Value& value) {
    map_.newMember(Kob::Ptr<Entry>(new Entry(key, value)));
  }
  void erase(const Key& key) {
    if (Entry* const entry = map_.find(key)) map_.deleteMember(entry);
  }
  [[nodiscard]] std::size_t buckets() const { return map_.buckets(); }
  void bucketsIs(unsigned buckets) { map_.setSize0(buckets); }
  [[nodiscard]] const Map& map() const noexcept { return map_; }

  /// The plain walk: nothing may change meanwhile.
  template <class Call>
  void forEachValue(const Call& call) const {
    Kob::HashMapGeneric::Cursor cursor;
    auto* entry = static_cast<Entry*>(map_.findNextG(nullptr, cursor));
    while (entry != nullptr) {
      call(entry->value());
      entry = Kob::HashMapLink::of(*entry).get();
      if (entry == nullptr) entry = static_cast<Entry*>(map_.findNextBucket(cursor));
    }
  }

 private:
  Map map_;
};

/// A collection with the interface of std::unordered_map.
template <class Map>
class LibraryMap {
 public:
  using Key = typename Map::key_type;
  using Value = typename Map::mapped_type;

  [[nodiscard]] Value at(const Key& key) const {
    const auto found = map_.find(key);
    return found != map_.end() ? found->second : Value();
  }
  void insert(const Key& key, const Value& value) { map_.emplace(key, value); }
  void erase(const Key& key) { map_.erase(key); }
  [[nodiscard]] std::size_t buckets() const { return map_.bucket_count(); }
  template <class Call>
  void forEachValue(const Call& call) const {
    for (const auto& [key, value] : map_) call(value);
  }

 private:
  Map map_;
};

/// The libraries whose maps and sets the programs of Rival.h are written with.
struct Std {
  static constexpr const char* name = "std";
  template <class Key, class Value>
  using Map = std::unordered_map<Key, Value, HashOf<Key, std::hash>>;
  template <class Key>
  using Set = std::unordered_set<Key, HashOf<Key, std::hash>>;
};

template <class Key, class Value>
struct StdMap : LibraryMap<Std::Map<Key, Value>> {
  static constexpr const char* name = "std";
};

#ifdef BENCHES_ABSL
struct AbslFlat {
  static constexpr const char* name = "abslFlat";
  template <class Key, class Value>
  using Map = absl::flat_hash_map<Key, Value, HashOf<Key, absl::Hash>>;
  template <class Key>
  using Set = absl::flat_hash_set<Key, HashOf<Key, absl::Hash>>;
};
template <class Key, class Value>
struct AbslFlatMap : LibraryMap<AbslFlat::Map<Key, Value>> {
  static constexpr const char* name = "abslFlat";
};
template <class Key, class Value>
struct AbslNodeMap : LibraryMap<absl::node_hash_map<Key, Value, HashOf<Key, absl::Hash>>> {
  static constexpr const char* name = "abslNode";
};
#endif

#ifdef BENCHES_BOOST
struct BoostFlat {
  static constexpr const char* name = "boostFlat";
  template <class Key, class Value>
  using Map = boost::unordered_flat_map<Key, Value, HashOf<Key, boost::hash>>;
  template <class Key>
  using Set = boost::unordered_flat_set<Key, HashOf<Key, boost::hash>>;
};
template <class Key, class Value>
struct BoostFlatMap : LibraryMap<BoostFlat::Map<Key, Value>> {
  static constexpr const char* name = "boostFlat";
};
template <class Key, class Value>
struct BoostNodeMap : LibraryMap<boost::unordered_map<Key, Value, HashOf<Key, boost::hash>>> {
  static constexpr const char* name = "boostNode";
};
#endif

#ifdef BENCHES_ROBIN
template <class Key, class Value>
struct RobinMap : LibraryMap<tsl::robin_map<Key, Value, HashOf<Key, std::hash>>> {
  static constexpr const char* name = "robin";
};
#endif

/// Calls `visit.template operator()<Map>()` for the collections of all other libraries.
template <class Key, class Value, class Visit>
void forEachLibraryMap(const Visit& visit) {
  visit.template operator()<StdMap<Key, Value>>();
#ifdef BENCHES_ABSL
  visit.template operator()<AbslFlatMap<Key, Value>>();
  visit.template operator()<AbslNodeMap<Key, Value>>();
#endif
#ifdef BENCHES_BOOST
  visit.template operator()<BoostFlatMap<Key, Value>>();
  visit.template operator()<BoostNodeMap<Key, Value>>();
#endif
#ifdef BENCHES_ROBIN
  visit.template operator()<RobinMap<Key, Value>>();
#endif
}

/// The same for all collections, ours first.
template <class Key, class Value, class Visit>
void forEachMap(const Visit& visit) {
  visit.template operator()<OurMap<Key, Value>>();
  forEachLibraryMap<Key, Value>(visit);
}

}  // namespace Benches
