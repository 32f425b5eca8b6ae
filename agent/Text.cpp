#include "agent/Text.h"

#include <charconv>

namespace Agent {
namespace {

constexpr std::size_t longestShown = 400;

void appendEscaped(std::string& shown, char c) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  switch (c) {
    case '\n':
      shown += "\\n";
      return;
    case '\r':
      shown += "\\r";
      return;
    case '\t':
      shown += "\\t";
      return;
    case '\\':
      shown += "\\\\";
      return;
    default:
      if (byte >= 0x20 && byte <= 0x7E) {
        shown += c;
      } else {
        shown += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
      }
  }
}

std::optional<std::uint64_t> unsignedNumber(std::string_view digits, int base) {
  std::uint64_t value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
  if (digits.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string shown;
  for (const char c : text.substr(0, longestShown)) {
    appendEscaped(shown, c);
  }
  if (text.size() > longestShown) shown += "...";
  return shown;
}

std::optional<std::uint64_t> decimal(std::string_view digits) {
  if (digits.size() > 20) return std::nullopt;
  return unsignedNumber(digits, 10);
}

std::optional<std::uint64_t> hexadecimal(std::string_view digits) {
  if (digits.size() > 16) return std::nullopt;
  return unsignedNumber(digits, 16);
}

}  // namespace Agent
