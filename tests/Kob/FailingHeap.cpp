#include "tests/Kob/FailingHeap.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <utility>

namespace KobTest {
namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

// Tests of thread safety allocate on several threads, but none of them makes allocations fail.
std::atomic<std::size_t> succeeded{0};
std::atomic<std::size_t> alive{0};
std::size_t successesLeft = never;
std::size_t bytesRefused = 0;
bool goesOnFailing = false;
bool hasFailed = false;
const std::function<void()>* watcher = nullptr;

/// Lets the watcher look, which allocates too.
void lookedAt() {
  if (watcher == nullptr) return;
  const auto* const looking = std::exchange(watcher, nullptr);
  (*looking)();
  watcher = looking;
}

bool fails(std::size_t size) noexcept {
  if (successesLeft == never) return false;
  if (successesLeft > 0) {
    --successesLeft;
    return false;
  }
  if (!goesOnFailing) successesLeft = never;
  hasFailed = true;
  bytesRefused = size;
  return true;
}

/// A block of at least one byte, or null.
void* allocate(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) noexcept {
  lookedAt();
  if (fails(size)) return nullptr;
  // A multiple of the alignment, as the C library asks for.
  const std::size_t bytes =
      (std::max<std::size_t>(size, 1) + alignment - 1) / alignment * alignment;
  void* const block = bytes < size ? nullptr : std::aligned_alloc(alignment, bytes);
  if (block == nullptr) return nullptr;
  ++succeeded;
  ++alive;
  return block;
}

void* orThrow(void* block) {
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void release(void* block) noexcept {
  if (block == nullptr) return;
  --alive;
  std::free(block);
}

}  // namespace

void FailingHeap::failAfter(std::size_t successes, Failing mode) noexcept {
  successesLeft = successes;
  goesOnFailing = mode == Failing::fromThereOn;
  hasFailed = false;
}

bool FailingHeap::mend() noexcept {
  successesLeft = never;
  return hasFailed;
}

std::size_t FailingHeap::allocations() noexcept { return succeeded; }
std::size_t FailingHeap::live() noexcept { return alive; }
std::size_t FailingHeap::refused() noexcept { return bytesRefused; }
void FailingHeap::lookIs(const std::function<void()>* look) noexcept { watcher = look; }

}  // namespace KobTest

using KobTest::allocate;
using KobTest::orThrow;
using KobTest::release;
using Size = std::size_t;
using Align = std::align_val_t;
using NoThrow = std::nothrow_t;

// Every form: a form that is left out is the C++ library's, or that of a tool that watches memory.

void* operator new(Size size) { return orThrow(allocate(size)); }
void* operator new[](Size size) { return orThrow(allocate(size)); }
void* operator new(Size size, Align align) { return orThrow(allocate(size, Size(align))); }
void* operator new[](Size size, Align align) { return orThrow(allocate(size, Size(align))); }
void* operator new(Size size, const NoThrow&) noexcept { return allocate(size); }
void* operator new[](Size size, const NoThrow&) noexcept { return allocate(size); }
void* operator new(Size size, Align align, const NoThrow&) noexcept {
  return allocate(size, Size(align));
}
void* operator new[](Size size, Align align, const NoThrow&) noexcept {
  return allocate(size, Size(align));
}

void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, Size) noexcept { release(block); }
void operator delete[](void* block, Size) noexcept { release(block); }
void operator delete(void* block, Align) noexcept { release(block); }
void operator delete[](void* block, Align) noexcept { release(block); }
void operator delete(void* block, Size, Align) noexcept { release(block); }
void operator delete[](void* block, Size, Align) noexcept { release(block); }
void operator delete(void* block, const NoThrow&) noexcept { release(block); }
void operator delete[](void* block, const NoThrow&) noexcept { release(block); }
void operator delete(void* block, Align, const NoThrow&) noexcept { release(block); }
void operator delete[](void* block, Align, const NoThrow&) noexcept { release(block); }
