#include "benches/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

// Plain, not atomic: it must not slow down those who allocate, and what is measured has one thread.
std::uint64_t count = 0;

void* counted(void* memory) {
  ++count;
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

/// aligned_alloc wants a size that is a multiple of the alignment.
std::size_t roundedUp(std::size_t size, std::size_t alignment) {
  return (size + alignment - 1) / alignment * alignment;
}

}  // namespace

std::uint64_t Benches::allocations() noexcept { return count; }

// The forms for arrays and without exceptions come to these.
void* operator new(std::size_t size) { return counted(std::malloc(size != 0 ? size : 1)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto bytes = static_cast<std::size_t>(alignment);
  return counted(std::aligned_alloc(bytes, roundedUp(size != 0 ? size : 1, bytes)));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
