#include "platform/L3Id.h"

#include <array>
#include <charconv>
#include <limits>
#include <ostream>
#include <string_view>

#include "Kob/GenericValue.h"

namespace FyrL3Intf {

L3Id::L3Id(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end)
    : L3Id(Kob::strepToNumber(position, end, std::numeric_limits<std::uint64_t>::max())) {}

Kob::KobType* L3Id::_fwkType() { return Kob::valueType<L3Id>(); }

std::ostream& operator<<(std::ostream& stream, const L3Id& l3Id) {
  // Apart from the stream's base, and without memory: a trace may print it at any time.
  std::array<char, std::numeric_limits<std::uint64_t>::digits10 + 1> digits{};
  const auto end = std::to_chars(digits.begin(), digits.end(), l3Id.value()).ptr;
  return stream << std::string_view(digits.begin(), end);
}

}  // namespace FyrL3Intf
