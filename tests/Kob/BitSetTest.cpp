#include "Kob/BitSet.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "tests/Kob/Fatal.h"

namespace KobTest {
namespace {

using Kob::BitSet;

static_assert(std::is_same_v<Kob_BitSet, BitSet<29>>);
static_assert(sizeof(BitSet<29>) == sizeof(std::uint32_t));

/// The compiler can evaluate it.
constexpr BitSet<29> onlyTheLast = [] {
  BitSet<29> set;
  set.set(28);
  return set;
}();
static_assert(onlyTheLast.test(28) && onlyTheLast.word() == 0x10000000U);

void expectOutOfRange(const char* function, void (*use)(BitSet<29>&, int)) {
  for (const int pos : {29, 31, 32, -1, INT32_MAX, INT32_MIN}) {
    BitSet<29> set;
    EXPECT_FATAL(use(set, pos), "Kob/BitSet.h", function, "pos>=0 && pos<bits") << pos;
  }
}

TEST(BitSet, IsEmptyAtFirst) {
  const BitSet<29> set;
  EXPECT_TRUE(set.none());
  EXPECT_FALSE(set.any());
  EXPECT_EQ(set.word(), 0U);
}

TEST(BitSet, SettingAndResettingTouchOneMemberAlone) {
  for (int pos = 0; pos < 29; ++pos) {
    BitSet<29> set;
    set.set(pos);
    EXPECT_EQ(set.word(), std::uint32_t{1} << pos);
    EXPECT_TRUE(set.any());
    EXPECT_FALSE(set.none());
    for (int other = 0; other < 29; ++other) EXPECT_EQ(set.test(other), other == pos);
    for (int other = 0; other < 29; ++other) set.set(other);
    set.reset(pos);
    EXPECT_EQ(set.word(), 0x1FFFFFFFU & ~(std::uint32_t{1} << pos));
  }
}

TEST(BitSet, SettingTwiceIsSettingOnce) {
  BitSet<29> set;
  set.set(3);
  set.set(3);
  set.reset(3);
  set.reset(3);
  EXPECT_TRUE(set.none());
}

TEST(BitSet, ComparesByItsMembers) {
  BitSet<29> a;
  BitSet<29> b;
  a.set(7);
  EXPECT_NE(a, b);
  b.set(7);
  EXPECT_EQ(a, b);
}

TEST(BitSet, Set29FailsTheAssertion) {
  BitSet<29> set;
  EXPECT_FATAL(set.set(29), "Kob/BitSet.h", "void Kob::BitSet<bits>::set(int)",
               "pos>=0 && pos<bits");
}

TEST(BitSet, PositionsOutsideTheSetAreFatal) {
  expectOutOfRange("void Kob::BitSet<bits>::set(int)",
                   [](BitSet<29>& set, int pos) { set.set(pos); });
  expectOutOfRange("void Kob::BitSet<bits>::reset(int)",
                   [](BitSet<29>& set, int pos) { set.reset(pos); });
  expectOutOfRange("bool Kob::BitSet<bits>::test(int) const",
                   [](BitSet<29>& set, int pos) { static_cast<void>(set.test(pos)); });
}

TEST(BitSet, MayFillItsWordOrHoldOneMember) {
  BitSet<32> full;
  full.set(31);
  EXPECT_EQ(full.word(), 0x80000000U);
  BitSet<1> single;
  single.set(0);
  EXPECT_EQ(single.word(), 1U);
}

}  // namespace
}  // namespace KobTest
