#pragma once

// What single values of a configuration document mean. Numbers are accepted as JSON numbers and as
// strings of decimal digits, since the formats in the wild disagree.

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "platform/VlanId.h"

namespace Agent {

/// The value as a message shows it: scalars as JSON writes them, containers as "an object" or "an
/// array". Strings may be long and hold any byte; printing them is the message's business.
[[nodiscard]] std::string describe(const nlohmann::json& value);

/// The string that the value is; null for a value of any other type.
[[nodiscard]] const std::string* stringOf(const nlohmann::json& value);

/// The unsigned number that the value is or spells; none otherwise.
[[nodiscard]] std::optional<std::uint64_t> unsignedOf(const nlohmann::json& value);

/// The number as a VLAN; none when it is not from 1 to 4094.
[[nodiscard]] std::optional<Bridging::VlanId> vlanOf(std::uint64_t number);
/// The VLAN that the value is or spells; none otherwise.
[[nodiscard]] std::optional<Bridging::VlanId> vlanOf(const nlohmann::json& value);

struct VlanRange {
  Bridging::VlanId first;
  Bridging::VlanId last;
};

/// One VLAN, or a range `10-20` or `10..20` that does not run backwards; none otherwise.
[[nodiscard]] std::optional<VlanRange> vlanRangeOf(const nlohmann::json& value);

/// The member of an object; null when it is missing or `object` is no object.
[[nodiscard]] const nlohmann::json* memberOf(const nlohmann::json& object, std::string_view key);

}  // namespace Agent
