#pragma once

// The 32-bit word by which objects and strings are counted: 29 bits of count below three flags.
//
//   bits 0-28  count of references
//   bit 29     notification active (notifiees); does not keep an object alive
//   bit 30     held: keeps an object alive without a reference
//   bit 31     marked for deletion (zombie); does not keep an object alive
//
// Counts are plain increments, or atomic ones while `ReferenceWord::threadSafe` is on. It is to be
// switched on before a second thread sees the first counted object, and stays on from then.

#include <atomic>
#include <cstdint>

#include "Kob/Assert.h"
#include "Kob/Export.h"

namespace Kob {

class KOB_EXPORT ReferenceWord {
 public:
  static constexpr std::uint32_t countMask = 0x1FFFFFFFU;
  static constexpr std::uint32_t notificationActive = 0x20000000U;
  static constexpr std::uint32_t held = 0x40000000U;
  static constexpr std::uint32_t markedForDeletion = 0x80000000U;
  /// What keeps an object alive: the count, and bit 30.
  static constexpr std::uint32_t aliveMask = countMask | held;

  /// The process-wide switch; off at start.
  static bool threadSafe;

  constexpr explicit ReferenceWord(std::uint32_t word = 0) noexcept : word_(word) {}
  ReferenceWord(const ReferenceWord&) = delete;
  ReferenceWord& operator=(const ReferenceWord&) = delete;

  [[nodiscard]] std::uint32_t word() const noexcept {
    return threadSafe ? atomic().load(std::memory_order_relaxed) : word_;
  }
  [[nodiscard]] std::uint32_t count() const noexcept { return word() & countMask; }
  [[nodiscard]] bool flag(std::uint32_t mask) const noexcept { return (word() & mask) != 0; }

  void flagIs(std::uint32_t mask, bool on) noexcept {
    if (threadSafe) {
      on ? atomic().fetch_or(mask, std::memory_order_relaxed)
         : atomic().fetch_and(~mask, std::memory_order_relaxed);
    } else {
      word_ = on ? (word_ | mask) : (word_ & ~mask);
    }
  }

  // Inlined always: a call would cost as much as what they do.

  /// Counts one reference more. A count that would flow into the flags is fatal.
  [[gnu::always_inline]] void inc() noexcept {
    const std::uint32_t after =
        threadSafe ? atomic().fetch_add(1, std::memory_order_relaxed) + 1 : ++word_;
    KOB_ASSERT((after & countMask) != 0, "references() < 0x1FFFFFFF",
               "void Kob::ReferenceWord::inc()");
  }

  /// Counts one reference less; true when nothing keeps the object alive any more. Giving back a
  /// reference that nobody holds is fatal.
  [[nodiscard, gnu::always_inline]] bool dec() noexcept {
    const std::uint32_t before =
        threadSafe ? atomic().fetch_sub(1, std::memory_order_acq_rel) : word_--;
    // One comparison for the two that matter, because most releases are not the last.
    const std::uint32_t count = before & countMask;
    if (count > 1) [[likely]]
      return false;
    KOB_ASSERT(count != 0, "references() > 0", "bool Kob::ReferenceWord::dec()");
    return (before & aliveMask) == 1;
  }

 private:
  [[nodiscard]] std::atomic_ref<std::uint32_t> atomic() const noexcept {
    return std::atomic_ref<std::uint32_t>(word_);
  }

  mutable std::uint32_t word_;
};

}  // namespace Kob
