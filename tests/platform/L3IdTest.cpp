// Layer-3 identifiers: two words, equality over both, order of the 64-bit value, hash of the low
// one.

#include "platform/L3Id.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <ios>
#include <sstream>
#include <string>

#include "Kob/BitReverse.h"
#include "Kob/HashMap.h"

namespace Tests {
namespace {

using FyrL3Intf::L3Id;

constexpr std::array<std::uint64_t, 12> boundaries{0,
                                                   1,
                                                   0x7FFFFFFF,
                                                   0x80000000,
                                                   0xFFFFFFFF,
                                                   0x100000000,
                                                   0x100000001,
                                                   0x7FFFFFFFFFFFFFFF,
                                                   0x8000000000000000,
                                                   0x80000000FFFFFFFF,
                                                   0xFFFFFFFF00000000,
                                                   0xFFFFFFFFFFFFFFFF};

std::string printed(const L3Id& l3Id) {
  std::ostringstream stream;
  stream << std::hex << std::showbase << l3Id << ' ' << 255;
  return stream.str();
}

TEST(L3Id, IsTwoWordsTheLowOneFirst) {
  const L3Id l3Id(0x1122334455667788);
  std::array<std::uint32_t, 2> words{};
  static_assert(sizeof l3Id == sizeof words);
  std::memcpy(words.data(), &l3Id, sizeof words);
  EXPECT_EQ(words, (std::array<std::uint32_t, 2>{0x55667788, 0x11223344}));
  EXPECT_EQ(l3Id.low(), 0x55667788U);
  EXPECT_EQ(l3Id.high(), 0x11223344U);
}

TEST(L3Id, OfAVlanNumberHasItInTheLowWordAndZeroInTheHighOne) {
  const L3Id l3Id(4094);
  EXPECT_EQ(l3Id.low(), 4094U);
  EXPECT_EQ(l3Id.high(), 0U);
}

TEST(L3Id, GivesBackItsValue) {
  for (const std::uint64_t value : boundaries) EXPECT_EQ(L3Id(value).value(), value);
}

TEST(L3Id, IsZeroWhenNothingIsSaid) {
  EXPECT_EQ(L3Id().value(), 0U);
  EXPECT_EQ(L3Id(), L3Id(0));
}

TEST(L3Id, TestsFalseOnlyWhenBothWordsAreZero) {
  EXPECT_FALSE(L3Id());
  for (const std::uint64_t value : boundaries)
    EXPECT_EQ(static_cast<bool>(L3Id(value)), value != 0);
}

TEST(L3Id, EqualityAndOrderAreThoseOfThe64BitValue) {
  for (const std::uint64_t a : boundaries) {
    for (const std::uint64_t b : boundaries) {
      EXPECT_EQ(L3Id(a) == L3Id(b), a == b) << a << " and " << b;
      EXPECT_EQ(L3Id(a) < L3Id(b), a < b) << a << " and " << b;
    }
  }
}

TEST(L3Id, TwoThatDifferOnlyInTheHighWordShareAHashAndAreUnequal) {
  const L3Id low(0x0000000100000005);
  const L3Id high(0x0000000200000005);
  EXPECT_EQ(Kob::reversedHash(low), Kob::reversedHash(high));
  EXPECT_NE(low, high);
}

TEST(L3Id, TheSmallerHighWordOrdersFirstWhateverTheLowWords) {
  EXPECT_LT(L3Id(0x00000001FFFFFFFF), L3Id(0x0000000200000000));
  EXPECT_LT(L3Id(0x7FFFFFFFFFFFFFFF), L3Id(0x8000000000000000));
}

TEST(L3Id, CollectionsHashTheLowWordReversed) {
  for (const std::uint64_t value : boundaries) {
    const L3Id l3Id(value);
    EXPECT_EQ(Kob::reversedHash(l3Id), Kob::bitReverse(static_cast<std::uint32_t>(value)));
  }
}

TEST(L3Id, PrintsInDecimalAndLeavesTheStreamAsItIs) {
  EXPECT_EQ(printed(L3Id()), "0 0xff");
  EXPECT_EQ(printed(L3Id(100)), "100 0xff");
  EXPECT_EQ(printed(L3Id(0x100000000)), "4294967296 0xff");
  EXPECT_EQ(printed(L3Id(0xFFFFFFFFFFFFFFFF)), "18446744073709551615 0xff");
}

}  // namespace
}  // namespace Tests
