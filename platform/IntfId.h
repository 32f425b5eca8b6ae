#pragma once

// Interface identifiers: 8 bytes, passed by value, one per interface name.
//
// An identifier holds the index of its name in a process-wide table of names, and the name's 32-bit
// hash, bit-reversed as the collections want it. Equal names are equal identifiers. The hash
// depends on the name alone, so that iteration over collections keyed by interface has the same
// order in every run. Names are never forgotten: the table grows with the number of different
// names.
//
// The table belongs to the framework's thread.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>

#include "Kob/BitReverse.h"
#include "Kob/Export.h"
#include "Kob/String8.h"
#include "Kob/Type.h"

namespace Plexo {

class KOB_EXPORT IntfId {
 public:
  /// Accessors take and return identifiers by value.
  using kobPassedByValue = void;

  /// The longest name, in bytes.
  static constexpr std::size_t maxNameLength = 255;

  /// The empty identifier: no interface.
  constexpr IntfId() noexcept = default;
  /// The identifier of the interface of this name; of "", the empty identifier. Throws
  /// Kob::RangeException "IntfId::name is not 1 to 255 printable characters without blanks" for a
  /// name that is longer, or holds a byte outside 0x21 to 0x7E.
  IntfId(const Kob::String8& name);  // NOLINT(google-explicit-constructor): names are identifiers

  IntfId(const char* name)  // NOLINT(google-explicit-constructor): names are identifiers
      : IntfId(Kob::String8(name)) {}

  /// From text: all of it is the name. Throws as the constructor from a name.
  IntfId(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end);

  /// The type "Plexo::IntfId".
  static constexpr const char* kobTypeName = "Plexo::IntfId";
  static Kob::KobType* _fwkType();

  /// Gives the identifier the interface named; what the constructor does after clearing it.
  void handleInitialized(const Kob::String8& name);

  /// The name; "" of the empty identifier.
  [[nodiscard]] Kob::String8 name() const;

  /// The 32-bit hash of the name; 0 of the empty identifier.
  [[nodiscard]] constexpr std::uint32_t hash() const noexcept {
    return Kob::bitReverse(reversedHash_);
  }
  [[nodiscard]] constexpr std::uint32_t kobReversedHash() const noexcept { return reversedHash_; }

  /// False for the empty identifier only.
  constexpr explicit operator bool() const noexcept { return index_ != 0; }

  friend constexpr bool operator==(IntfId a, IntfId b) noexcept { return a.index_ == b.index_; }
  /// Natural order of the names: runs of digits compare as numbers, so Ethernet2 comes before
  /// Ethernet10. Names that are equal so (E1, E01) compare by bytes. The empty identifier is first.
  friend KOB_EXPORT bool operator<(IntfId a, IntfId b);

 private:
  std::uint32_t index_ = 0;
  std::uint32_t reversedHash_ = 0;
};

/// Prints the name; nothing for the empty identifier.
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, const IntfId& intfId);

/// How many different names are known, the empty one not counted.
[[nodiscard]] KOB_EXPORT std::size_t intfNames() noexcept;

/// VLAN interfaces: `Vlan` or `vlan` followed by a number from 0 to 65535 without leading zeros.
/// Numbers that no VLAN can have are recognised too; whoever uses them checks their range.
namespace VlanIntfId {
[[nodiscard]] KOB_EXPORT bool isVlanIntfId(IntfId intfId);
/// The number, 0 to 65535. REQUIRES: isVlanIntfId(intfId); anything else is fatal.
[[nodiscard]] KOB_EXPORT std::uint16_t vlanId(IntfId intfId);
}  // namespace VlanIntfId

/// The platform's internal interfaces: names that begin with `Internal`.
namespace InternalIntfId {
[[nodiscard]] KOB_EXPORT bool isInternalIntfId(IntfId intfId);
}  // namespace InternalIntfId

}  // namespace Plexo

/// The hash that the identifier carries, for the standard's unordered containers.
template <>
struct std::hash<Plexo::IntfId> {
  std::size_t operator()(Plexo::IntfId intfId) const noexcept { return intfId.hash(); }
};
