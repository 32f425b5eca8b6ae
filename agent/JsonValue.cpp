#include "agent/JsonValue.h"

#include <nlohmann/json.hpp>

#include "agent/Text.h"

namespace Agent {

using nlohmann::json;

namespace {

std::optional<VlanRange> rangeOf(std::optional<std::uint64_t> first,
                                 std::optional<std::uint64_t> last) {
  const auto firstVlan = first ? vlanOf(*first) : std::nullopt;
  const auto lastVlan = last ? vlanOf(*last) : std::nullopt;
  if (!firstVlan || !lastVlan || *firstVlan > *lastVlan) return std::nullopt;
  return VlanRange{*firstVlan, *lastVlan};
}

}  // namespace

std::string describe(const json& value) {
  if (value.is_object()) return "an object";
  if (value.is_array()) return "an array";
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

const std::string* stringOf(const json& value) { return value.get_ptr<const json::string_t*>(); }

std::optional<std::uint64_t> unsignedOf(const json& value) {
  if (value.is_number_unsigned()) return value.get<std::uint64_t>();
  if (const std::string* text = stringOf(value)) return decimal(*text);
  return std::nullopt;
}

std::optional<Bridging::VlanId> vlanOf(std::uint64_t number) {
  if (number < 1 || number > 4094) return std::nullopt;
  return Bridging::VlanId(static_cast<std::uint16_t>(number));
}

std::optional<Bridging::VlanId> vlanOf(const json& value) {
  const std::optional<std::uint64_t> number = unsignedOf(value);
  return number ? vlanOf(*number) : std::nullopt;
}

std::optional<VlanRange> vlanRangeOf(const json& value) {
  if (const auto vlan = vlanOf(value)) return VlanRange{*vlan, *vlan};
  const std::string* text = stringOf(value);
  if (text == nullptr) return std::nullopt;
  const std::string_view whole = *text;
  for (const std::string_view mark : {"-", ".."}) {
    const std::size_t end = whole.find(mark);
    if (end == std::string_view::npos) continue;
    return rangeOf(decimal(whole.substr(0, end)), decimal(whole.substr(end + mark.size())));
  }
  return std::nullopt;
}

const json* memberOf(const json& object, std::string_view key) {
  if (!object.is_object()) return nullptr;
  const auto found = object.find(key);
  return found == object.end() ? nullptr : &*found;
}

}  // namespace Agent
