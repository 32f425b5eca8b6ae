#pragma once

// Both extremes of a collection's load. Each collection doubles at a number of entries of its own,
// and is at its most crowded just before that and at its roomiest just after; so each is measured
// on both sides of the doubling that comes closest to a nominal size.

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <span>

#include "benches/Keys.h"

namespace Benches {

enum class Load { beforeDoubling, afterDoubling };
inline constexpr std::array loads = {Load::beforeDoubling, Load::afterDoubling};
[[nodiscard]] constexpr const char* label(Load load) {
  return load == Load::beforeDoubling ? "before" : "after";
}

/// How far apart two sizes are: the larger divided by the smaller.
[[nodiscard]] inline double distance(std::size_t a, std::size_t b) {
  return static_cast<double>(std::max(a, b)) /
         static_cast<double>(std::max<std::size_t>(1, std::min(a, b)));
}

/// The number of entries with which a collection that is filled one by one is full: the one closest
/// to `about`.
template <class Key, class Map>
[[nodiscard]] std::size_t fullNear(std::size_t about) {
  static std::map<std::size_t, std::size_t> known;
  auto& full = known[about];
  if (full != 0) return full;
  Map map;
  std::size_t entries = 0;
  for (const Key key : keys<Key>(2 * about)) {
    const auto buckets = map.buckets();
    map.insert(key, {});
    if (map.buckets() != buckets && distance(entries, about) < distance(full, about)) {
      full = entries;
    }
    ++entries;
  }
  return full;
}

template <class Key, class Map>
[[nodiscard]] std::size_t entriesAt(std::size_t about, Load load) {
  return fullNear<Key, Map>(about) + (load == Load::afterDoubling ? 1 : 0);
}

/// Fills the map with those keys in random order; the n-th key has the n-th key of the other type
/// as its value.
template <class Value, class Map, class Key>
void fill(Map& map, std::span<const Key> with) {
  const auto values = keys<Value>(with.size());
  std::size_t at = 0;
  for (const Key key : shuffled(with)) map.insert(key, values[at++]);
}

}  // namespace Benches
