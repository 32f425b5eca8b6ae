#pragma once

// Bit reversal of a 32-bit word, the step between a key's hash and its bucket: a collection picks
// the bucket from the top bits of the reversed hash, which keeps the order of iteration when the
// number of buckets doubles.

#include <cstdint>

namespace Kob {

/// Returns `x` with the order of its 32 bits reversed (bit 0 becomes bit 31). Five fixed swap
/// steps: neighbouring bits, pairs, nibbles, bytes, halves (H. S. Warren, "Hacker's Delight", 7-1).
[[nodiscard, gnu::always_inline]] constexpr std::uint32_t bitReverse(std::uint32_t x) noexcept {
  x = ((x >> 1U) & 0x55555555U) | ((x & 0x55555555U) << 1U);
  x = ((x >> 2U) & 0x33333333U) | ((x & 0x33333333U) << 2U);
  x = ((x >> 4U) & 0x0F0F0F0FU) | ((x & 0x0F0F0F0FU) << 4U);
  x = ((x >> 8U) & 0x00FF00FFU) | ((x & 0x00FF00FFU) << 8U);
  return (x >> 16U) | (x << 16U);
}

}  // namespace Kob
