#include "Kob/Strep.h"

#include <optional>

namespace Kob {

namespace {

/// The value of the digit that stands here; none at the end and before anything that is no digit.
std::optional<unsigned> digitAt(const String8::IteratorConst& position,
                                const String8::IteratorConst& end, unsigned base) {
  if (position == end) return std::nullopt;
  const char byte = *position;
  if (byte >= '0' && byte <= '9') return static_cast<unsigned>(byte - '0');
  if (base == 16 && byte >= 'a' && byte <= 'f') return static_cast<unsigned>(byte - 'a' + 10);
  if (base == 16 && byte >= 'A' && byte <= 'F') return static_cast<unsigned>(byte - 'A' + 10);
  return std::nullopt;
}

/// Steps over "0x" if a hexadecimal digit follows it.
bool takePrefix(String8::IteratorConst& position, const String8::IteratorConst& end) {
  String8::IteratorConst at = position;
  for (const char expected : {'0', 'x'}) {
    if (at == end || *at != expected) return false;
    ++at;
  }
  if (!digitAt(at, end, 16)) return false;
  position = at;
  return true;
}

}  // namespace

std::uint64_t strepToNumber(String8::IteratorConst& position, const String8::IteratorConst& end,
                            std::uint64_t max) {
  const std::size_t column = position.position();
  const unsigned base = takePrefix(position, end) ? 16 : 10;
  auto digit = digitAt(position, end, base);
  if (!digit) throwRangeException(("no number at column " + std::to_string(column)).c_str());
  std::uint64_t number = 0;
  for (; digit; digit = digitAt(++position, end, base)) {
    if (*digit > max || number > (max - *digit) / base) {
      throwRangeException(
          ("number at column " + std::to_string(column) + " is greater than " + std::to_string(max))
              .c_str());
    }
    number = number * base + *digit;
  }
  return number;
}

}  // namespace Kob
