#include "platform/L3Id.h"

#include <limits>
#include <ostream>
#include <string>

#include "Kob/GenericValue.h"

namespace FyrL3Intf {

L3Id::L3Id(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end)
    : L3Id(Kob::strepToNumber(position, end, std::numeric_limits<std::uint64_t>::max())) {}

Kob::KobType* L3Id::_fwkType() { return Kob::valueType<L3Id>(); }

std::ostream& operator<<(std::ostream& stream, const L3Id& l3Id) {
  return stream << std::to_string(l3Id.value());
}

}  // namespace FyrL3Intf
