#pragma once

// VLAN numbers (IEEE 802.1Q VID without its reserved values), and VLAN numbers that may be none.

#include <compare>
#include <cstdint>
#include <iosfwd>

#include "Kob/Export.h"
#include "Kob/String8.h"
#include "Kob/Type.h"
#include "platform/L3Id.h"

namespace Bridging {

class VlanIdOrNone;

/// A VLAN number, 1 to 4094; or unset, as a native VLAN that was never configured is.
class KOB_EXPORT VlanId {
 public:
  /// Accessors take and return VLAN numbers by value.
  using kobPassedByValue = void;

  /// Unset: its value is 0, which no number constructs.
  constexpr VlanId() noexcept = default;
  /// Throws Kob::RangeException "VlanId::value < 1 or > 4094 not allowed" outside 1 to 4094.
  VlanId(std::uint16_t value);  // NOLINT(google-explicit-constructor): numbers are VLANs
  /// As from the number; none throws likewise.
  explicit VlanId(VlanIdOrNone vlanId);
  /// From text: a number, with its range check.
  VlanId(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end);

  /// The type "Bridging::VlanId".
  static constexpr const char* kobTypeName = "Bridging::VlanId";
  static Kob::KobType* _fwkType();

  [[nodiscard]] constexpr std::uint16_t value() const noexcept { return value_; }
  [[nodiscard]] constexpr std::uint32_t hash() const noexcept { return value_; }

  friend constexpr bool operator==(VlanId, VlanId) = default;
  friend constexpr auto operator<=>(VlanId, VlanId) = default;

 private:
  std::uint16_t value_ = 0;
};

/// A VLAN number, 1 to 4094, or none, which is 0.
class KOB_EXPORT VlanIdOrNone {
 public:
  using kobPassedByValue = void;

  /// None.
  constexpr VlanIdOrNone() noexcept = default;
  /// Throws Kob::RangeException "VlanIdOrNone::value > 4094 not allowed" above 4094.
  VlanIdOrNone(std::uint16_t value);  // NOLINT(google-explicit-constructor): numbers are VLANs
  /// The same VLAN; none for the unset one.
  VlanIdOrNone(VlanId vlanId) noexcept  // NOLINT(google-explicit-constructor): always possible
      : value_(vlanId.value()) {}
  /// The low 16 bits of the identifier's low word, whatever the rest, with the range check of a
  /// number.
  explicit VlanIdOrNone(const FyrL3Intf::L3Id& l3Id);
  /// From text: a number, with its range check.
  VlanIdOrNone(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end);

  /// The type "Bridging::VlanIdOrNone".
  static constexpr const char* kobTypeName = "Bridging::VlanIdOrNone";
  static Kob::KobType* _fwkType();

  [[nodiscard]] constexpr std::uint16_t value() const noexcept { return value_; }
  /// Whether it is a VLAN.
  constexpr explicit operator bool() const noexcept { return value_ != 0; }

  friend constexpr bool operator==(VlanIdOrNone, VlanIdOrNone) = default;

 private:
  std::uint16_t value_ = 0;
};

/// Print the number in decimal, whatever the stream's base; 0 for none and for unset.
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, VlanId vlanId);
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, VlanIdOrNone vlanId);

}  // namespace Bridging
