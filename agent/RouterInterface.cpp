#include "agent/RouterInterface.h"

#include "agent/Text.h"

namespace Agent {

std::optional<std::uint64_t> objectId(std::string_view text) {
  constexpr std::string_view prefix = "oid:0x";
  if (!text.starts_with(prefix)) return std::nullopt;
  return hexadecimal(text.substr(prefix.size()));
}

}  // namespace Agent
