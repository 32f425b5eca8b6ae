#pragma once

// The platform's layer-3 identifier of an interface: 64 bits in two words.

#include <compare>
#include <cstdint>
#include <iosfwd>

#include "Kob/Export.h"
#include "Kob/String8.h"
#include "Kob/Type.h"

namespace FyrL3Intf {

class KOB_EXPORT L3Id {
 public:
  /// The zero identifier: none.
  constexpr L3Id() noexcept = default;
  /// The identifier of this value; a VLAN number goes into the low word.
  constexpr explicit L3Id(std::uint64_t value) noexcept
      : low_(static_cast<std::uint32_t>(value)), high_(static_cast<std::uint32_t>(value >> 32U)) {}

  /// From text: a number of up to 64 bits, decimal or hexadecimal after 0x.
  L3Id(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end);

  /// The type "FyrL3Intf::L3Id".
  static constexpr const char* kobTypeName = "FyrL3Intf::L3Id";
  static Kob::KobType* _fwkType();

  [[nodiscard]] constexpr std::uint64_t value() const noexcept {
    return (std::uint64_t{high_} << 32U) | low_;
  }
  [[nodiscard]] constexpr std::uint32_t low() const noexcept { return low_; }
  [[nodiscard]] constexpr std::uint32_t high() const noexcept { return high_; }

  /// The low word alone: identifiers that differ only in the high word share a bucket.
  [[nodiscard]] constexpr std::uint32_t hash() const noexcept { return low_; }

  /// False for the zero identifier only.
  constexpr explicit operator bool() const noexcept { return (low_ | high_) != 0; }

  friend constexpr bool operator==(const L3Id&, const L3Id&) = default;
  /// The order of the 64-bit value: high words first.
  friend constexpr auto operator<=>(const L3Id& a, const L3Id& b) noexcept {
    return a.value() <=> b.value();
  }

 private:
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0;
};

/// Prints the value as an unsigned decimal, whatever the stream's base.
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, const L3Id& l3Id);

}  // namespace FyrL3Intf
