#include "Kob/BitReverse.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace KobTest {
namespace {

using Kob::bitReverse;

static_assert(bitReverse(1) == 0x80000000U, "the compiler can evaluate it");

/// The definition, bit by bit.
std::uint32_t reversedBitByBit(std::uint32_t x) {
  std::uint32_t reversed = 0;
  for (int bit = 0; bit < 32; ++bit) reversed |= ((x >> bit) & 1U) << (31 - bit);
  return reversed;
}

TEST(BitReverse, OfOneIsTheHighestBit) { EXPECT_EQ(bitReverse(1), 0x80000000U); }

TEST(BitReverse, OfTheLowHalfIsTheHighHalf) { EXPECT_EQ(bitReverse(0x0000FFFFU), 0xFFFF0000U); }

TEST(BitReverse, OfZeroIsZero) { EXPECT_EQ(bitReverse(0), 0U); }

TEST(BitReverse, MovesEachBitAlone) {
  for (int bit = 0; bit < 32; ++bit) {
    EXPECT_EQ(bitReverse(std::uint32_t{1} << bit), std::uint32_t{1} << (31 - bit)) << bit;
  }
}

TEST(BitReverse, FollowsItsDefinitionAndUndoesItself) {
  std::uint32_t x = 0;
  for (int sample = 0; sample < 100000; ++sample) {
    ASSERT_EQ(bitReverse(x), reversedBitByBit(x)) << x;
    ASSERT_EQ(bitReverse(bitReverse(x)), x);
    x = x * 1664525U + 1013904223U;
  }
}

}  // namespace
}  // namespace KobTest
