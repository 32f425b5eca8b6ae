#pragma once

// The framework's allocator: memory for its objects, most of which are small, come in few sizes and
// live in collections.
//
// Cells of one size stand in pages of 16 KiB. A page knows how many of its cells are
// handed out and chains the free ones; a page that has become empty is carved anew, in address
// order, so that objects which are made one after the other lie one after the other, whatever came
// before. In front of the pages a short stack of free cells, the magazine, serves objects that come
// and go: it is all that the inlined operations know. Sizes above `maxSize` go to the heap. Empty
// pages are kept for their size; new ones come from the heap by the MiB, the unused part of which
// costs addresses alone.
//
// Freed by size: the caller says what it asked for. The inlined operations are part of whoever
// makes framework objects, which is for the framework's thread alone while reference counts are
// plain. While reference counts are atomic (ReferenceWord::threadSafe), the last reference may go
// on any thread, so a lock is taken.
//
// Framework objects come from `objectSlab`, which passes everything on to the heap if libKob is
// built without KOB_SLAB: for sanitizers, valgrind and tests of allocation failures, which want to
// see each object.

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "Kob/Export.h"
#include "Kob/ReferenceWord.h"

namespace Kob {

class KOB_EXPORT Slab {
 public:
  /// Largest size that has cells, in bytes.
  static constexpr std::size_t maxSize = 512;

  /// A slab, or with false a slab of no cells, which passes everything on to the heap. Never gives
  /// pages back, not even when it is destroyed.
  constexpr explicit Slab(bool hasCells) noexcept;
  Slab(const Slab&) = delete;
  Slab& operator=(const Slab&) = delete;

  /// Memory for an object of `size` bytes, aligned to 8, and to 16 when the size is a multiple of
  /// 16. Throws std::bad_alloc.
  [[nodiscard, gnu::always_inline]] void* allocate(std::size_t size) {
    if (isQuick(size)) [[likely]] {
      Magazine& magazine = magazineOf(size);
      if (magazine.count != 0) [[likely]]
        return magazine.cells[--magazine.count];
    }
    return allocateSlowly(size);
  }
  /// Gives memory back. `size` is what was asked for.
  [[gnu::always_inline]] void release(void* memory, std::size_t size) noexcept {
    if (isQuick(size)) [[likely]] {
      Magazine& magazine = magazineOf(size);
      if (magazine.count < room_) [[likely]] {
        magazine.cells[magazine.count++] = memory;
        return;
      }
    }
    releaseSlowly(memory, size);
  }

 private:
  class Cells;
  struct Page;

  static constexpr std::size_t granularity = 8;
  static constexpr std::size_t sizes = maxSize / granularity;
  static constexpr std::uint32_t magazineSize = 32;

  struct Magazine {
    std::uint32_t count = 0;
    std::array<void*, magazineSize> cells{};
  };

  static bool isQuick(std::size_t size) noexcept {
    return size - 1 < maxSize && !ReferenceWord::threadSafe;
  }
  Magazine& magazineOf(std::size_t size) noexcept { return magazines_[(size - 1) / granularity]; }

  void* allocateSlowly(std::size_t size);
  void releaseSlowly(void* memory, std::size_t size) noexcept;
  void* newPage();
  void fill(std::size_t size);
  void drain(std::size_t size) noexcept;

  // How many cells a magazine takes: none in a slab of no cells.
  std::uint32_t room_;
  std::array<Magazine, sizes> magazines_{};
  // Of each size the pages with free cells.
  std::array<Page*, sizes> available_{};
  // What no page has been made of yet.
  char* pages_ = nullptr;
  std::size_t pagesLeft_ = 0;
  std::mutex mutex_;
};

constexpr Slab::Slab(bool hasCells) noexcept : room_(std::uint32_t{hasCells} * magazineSize) {}

/// What framework objects are made in.
KOB_EXPORT extern Slab objectSlab;

}  // namespace Kob
