#pragma once

// The framework's allocator: memory for its objects, most of which are small, come in few sizes and
// live in collections.
//
// Cells of one size stand in pages of 16 KiB. A page knows how many of its cells are in use and
// chains the free ones; a page that has become empty is carved anew, in address order, so that
// objects which are made one after the other lie one after the other, whatever came before. In
// front of the pages a short stack of free cells serves objects that come and go. Sizes above
// `maxSize` go to the heap. Empty pages are kept for their size.
//
// Freed by size: the caller says what it asked for. While reference counts are atomic
// (ReferenceWord::threadSafe), the last reference may go on any thread, so a lock is taken.
//
// Framework objects use it unless libKob is built without KOB_SLAB: for sanitizers, valgrind and
// tests of allocation failures, which want to see each object.

#include <cstddef>

#include "Kob/Export.h"

namespace Kob::Slab {

/// Largest size that has cells, in bytes.
inline constexpr std::size_t maxSize = 512;

/// Memory for an object of `size` bytes, aligned to 8, and to 16 when the size is a multiple of 16.
/// Throws std::bad_alloc.
[[nodiscard]] KOB_EXPORT void* allocate(std::size_t size);
/// Gives memory back. `size` is what was asked for.
KOB_EXPORT void release(void* memory, std::size_t size) noexcept;

}  // namespace Kob::Slab
