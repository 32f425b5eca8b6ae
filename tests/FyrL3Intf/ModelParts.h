#pragma once

// What the parts of the model share: its assertions, its range checks, look-ups in its containers.

#include <cstdint>
#include <string>

#include "tests/FyrL3Intf/Model.h"

namespace FyrL3Intf::Tests {

inline std::string textOf(Plexo::IntfId intf) { return intf.name().charPtr(); }

inline std::uint16_t low16(std::uint64_t l3Id) {
  return static_cast<std::uint16_t>(l3Id & 0xFFFFU);
}

/// An assertion without a line before it.
inline void require(bool condition, const char* function, const char* expression) {
  if (!condition) throw Death{"", "FyrL3Intf/FyrL3IntfSm.cpp", function, expression};
}

/// An assertion that tells what failed first.
inline void requireReported(bool condition, const char* function, const std::string& text,
                            const std::string& detail) {
  if (condition) return;
  throw Death{"Failed(" + text + ") " + detail, "FyrL3Intf/FyrL3IntfSm.cpp", function,
              "! \"" + text + "\""};
}

/// The number as a VLAN or none.
inline std::uint16_t vlanOrNone(std::uint16_t number) {
  if (number > 4094) throw Thrown{"VlanIdOrNone::value > 4094 not allowed"};
  return number;
}

/// The number as a VLAN.
inline std::uint16_t vlanOf(std::uint16_t number) {
  if (number < 1 || number > 4094) throw Thrown{"VlanId::value < 1 or > 4094 not allowed"};
  return number;
}

/// The value of the key, a neutral one when there is none.
template <class Map>
auto valueAt(const Map& map, const typename Map::key_type& key) {
  const auto entry = map.find(key);
  return entry != map.end() ? entry->second : typename Map::mapped_type();
}

}  // namespace FyrL3Intf::Tests
