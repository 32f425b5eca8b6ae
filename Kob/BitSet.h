#pragma once

// A set of small numbers in one 32-bit word. A notifiee keeps its flags in a BitSet<29>.

#include <cstdint>

#include "Kob/Assert.h"

namespace Kob {

/// A set over the numbers 0 to `bits` - 1, empty when constructed.
template <int bits>
class BitSet {
  static_assert(bits > 0 && bits <= 32, "one 32-bit word holds the set");

 public:
  /// Adds `pos`. REQUIRES: 0 <= pos < bits; anything else is fatal.
  constexpr void set(int pos) {
    check(pos, "void Kob::BitSet<bits>::set(int)");
    word_ |= bit(pos);
  }

  /// Takes `pos` out. REQUIRES: 0 <= pos < bits; anything else is fatal.
  constexpr void reset(int pos) {
    check(pos, "void Kob::BitSet<bits>::reset(int)");
    word_ &= ~bit(pos);
  }

  /// Whether `pos` is in the set. REQUIRES: 0 <= pos < bits; anything else is fatal.
  [[nodiscard]] constexpr bool test(int pos) const {
    check(pos, "bool Kob::BitSet<bits>::test(int) const");
    return (word_ & bit(pos)) != 0;
  }

  [[nodiscard]] constexpr bool any() const noexcept { return word_ != 0; }
  [[nodiscard]] constexpr bool none() const noexcept { return word_ == 0; }

  /// The set as a word: bit n is set when n is a member.
  [[nodiscard]] constexpr std::uint32_t word() const noexcept { return word_; }

  friend constexpr bool operator==(BitSet, BitSet) = default;

 private:
  static constexpr std::uint32_t bit(int pos) noexcept { return std::uint32_t{1} << pos; }

  static constexpr void check(int pos, const char* function) {
    KOB_ASSERT(pos >= 0 && pos < bits, "pos>=0 && pos<bits", function);
  }

  std::uint32_t word_ = 0;
};

}  // namespace Kob

/// The flags of a notifiee, as `kob_bitSetIs` takes them.
using Kob_BitSet = Kob::BitSet<29>;
