#pragma once

// What the name of an interface tells about it.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/IntfId.h"

namespace Agent {

/// The identifier of a name that a document or an operator gives; none when no interface can have
/// that name.
[[nodiscard]] std::optional<Plexo::IntfId> interfaceNamed(std::string_view name);

/// The name of an identifier; "" for the empty one.
[[nodiscard]] std::string nameOf(Plexo::IntfId id);

/// The number in `Vlan10` or `vlan10`, in or out of the range of VLAN numbers; none for other
/// names, and for numbers with leading zeros.
[[nodiscard]] std::optional<std::uint64_t> vlanDigits(std::string_view name);

struct SubInterfaceName {
  /// What stands before the last dot, `Eth` and `Po` before a digit spelled out: `Ethernet0`.
  std::string parent;
  /// What stands behind it: digits.
  std::string number;
  /// Whether the parent's name was shortened.
  bool isShort;
};

/// The parts of `Ethernet0.10` or `Eth0.10`; none for a name that does not end in a dot and digits.
[[nodiscard]] std::optional<SubInterfaceName> subInterfaceName(std::string_view name);

[[nodiscard]] bool isPortChannelName(std::string_view name);
[[nodiscard]] bool isLoopbackName(std::string_view name);
[[nodiscard]] bool isManagementName(std::string_view name);

}  // namespace Agent
