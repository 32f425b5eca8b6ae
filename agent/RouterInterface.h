#pragma once

// The router interfaces that a file of L3 indexes tells of, each with the name it goes by.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

struct RouterInterface {
  /// Where it stands in the file, for reports.
  std::string table;
  std::string key;
  /// The interface's name as the file or the configuration gives it.
  std::string name;
  std::uint64_t index;
};

using RouterInterfaces = std::vector<RouterInterface>;

/// The number in `oid:0x6000000000c7c`; none for anything else.
[[nodiscard]] std::optional<std::uint64_t> objectId(std::string_view text);

/// The L3 index of a router interface's object id: its low 39 bits.
[[nodiscard]] constexpr std::uint64_t indexOf(std::uint64_t objectId) {
  return objectId & ((std::uint64_t{1} << 39U) - 1);
}

}  // namespace Agent
