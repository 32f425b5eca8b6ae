#include "platform/VlanId.h"

#include <limits>
#include <ostream>
#include <string>

#include "Kob/Exception.h"
#include "Kob/GenericValue.h"

namespace Bridging {

namespace {

constexpr std::uint16_t lastVlan = 4094;

std::uint16_t numberFrom(Kob::String8::IteratorConst& position,
                         const Kob::String8::IteratorConst& end) {
  constexpr std::uint64_t max = std::numeric_limits<std::uint16_t>::max();
  return static_cast<std::uint16_t>(Kob::strepToNumber(position, end, max));
}

}  // namespace

VlanId::VlanId(std::uint16_t value) : value_(value) {
  // One unsigned comparison: 0 wraps to the largest 16-bit number.
  if (static_cast<std::uint16_t>(value - 1U) > lastVlan - 1U) {
    Kob::throwRangeException("VlanId::value < 1 or > 4094 not allowed");
  }
}

VlanId::VlanId(VlanIdOrNone vlanId) : VlanId(vlanId.value()) {}

VlanId::VlanId(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end)
    : VlanId(numberFrom(position, end)) {}

Kob::KobType* VlanId::_fwkType() { return Kob::valueType<VlanId>(); }

VlanIdOrNone::VlanIdOrNone(std::uint16_t value) : value_(value) {
  if (value > lastVlan) Kob::throwRangeException("VlanIdOrNone::value > 4094 not allowed");
}

VlanIdOrNone::VlanIdOrNone(const FyrL3Intf::L3Id& l3Id)
    : VlanIdOrNone(static_cast<std::uint16_t>(l3Id.low())) {}

VlanIdOrNone::VlanIdOrNone(Kob::String8::IteratorConst& position,
                           const Kob::String8::IteratorConst& end)
    : VlanIdOrNone(numberFrom(position, end)) {}

Kob::KobType* VlanIdOrNone::_fwkType() { return Kob::valueType<VlanIdOrNone>(); }

std::ostream& operator<<(std::ostream& stream, VlanId vlanId) {
  return stream << std::to_string(vlanId.value());
}

std::ostream& operator<<(std::ostream& stream, VlanIdOrNone vlanId) {
  return stream << std::to_string(vlanId.value());
}

}  // namespace Bridging
