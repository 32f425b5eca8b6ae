#include "Kob/Strep.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace KobTest {
namespace {

using Kob::RangeException;
using Kob::String8;

/// A value that takes decimal digits, and refuses a text that does not begin with one.
struct Number {
  Number(String8::IteratorConst& position, const String8::IteratorConst& end) {
    if (*position < '0' || *position > '9') Kob::throwRangeException("no number");
    for (; !(position == end) && *position >= '0' && *position <= '9'; ++position) {
      value = value * 10 + (*position - '0');
    }
  }
  int value = 0;
};

Number parsed(const char* text) { return Kob::strepToValue(text, static_cast<Number*>(nullptr)); }

std::string refusalOf(const char* text) {
  try {
    parsed(text);
    return "none";
  } catch (const RangeException& refusal) {
    return refusal.what();
  }
}

TEST(Strep, AValueTakesTheWholeText) {
  EXPECT_EQ(parsed("0").value, 0);
  EXPECT_EQ(parsed("4094").value, 4094);
}

TEST(Strep, WhatIsLeftAfterTheValueIsRefusedWithItsColumn) {
  EXPECT_EQ(refusalOf("12 apples"), "junk at column 2 deserializing 12 apples");
  EXPECT_EQ(refusalOf("1x"), "junk at column 1 deserializing 1x");
  EXPECT_EQ(refusalOf("4094 "), "junk at column 4 deserializing 4094 ");
}

TEST(Strep, TheValuesOwnRefusalPassesOn) {
  EXPECT_EQ(refusalOf("x"), "no number");
  EXPECT_EQ(refusalOf(""), "no number");
}

// ---------------------------------------------------------------------------------------------
// Numbers

/// What is left of the text behind the number, and the number.
struct Taken {
  std::uint64_t number;
  std::string rest;

  bool operator==(const Taken&) const = default;
};
Taken taken(const char* text, std::uint64_t max = UINT64_MAX, std::size_t from = 0) {
  const String8 whole(text);
  String8::IteratorConst position(whole, from);
  const std::uint64_t number = Kob::strepToNumber(position, whole.end(), max);
  return {number, whole.charPtr() + position.position()};
}
std::string numberRefusalOf(const char* text, std::uint64_t max = UINT64_MAX,
                            std::size_t from = 0) {
  try {
    taken(text, max, from);
    return "none";
  } catch (const RangeException& refusal) {
    return refusal.what();
  }
}

TEST(StrepNumber, IsDecimalAndEndsWithItsDigits) {
  EXPECT_EQ(taken("0"), (Taken{0, ""}));
  EXPECT_EQ(taken("4094"), (Taken{4094, ""}));
  EXPECT_EQ(taken("0012"), (Taken{12, ""}));
  EXPECT_EQ(taken("12a"), (Taken{12, "a"}));
  EXPECT_EQ(taken("12F"), (Taken{12, "F"}));
  EXPECT_EQ(taken("12 13"), (Taken{12, " 13"}));
  EXPECT_EQ(taken("9/"), (Taken{9, "/"}));
  EXPECT_EQ(taken("9:"), (Taken{9, ":"}));
}

TEST(StrepNumber, IsHexadecimalAfter0xInEitherCase) {
  EXPECT_EQ(taken("0x0"), (Taken{0, ""}));
  EXPECT_EQ(taken("0xfF"), (Taken{255, ""}));
  EXPECT_EQ(taken("0x19afAF"), (Taken{0x19AFAF, ""}));
  EXPECT_EQ(taken("0x9g"), (Taken{9, "g"}));
  EXPECT_EQ(taken("0xFG"), (Taken{15, "G"}));
  EXPECT_EQ(taken("0xF@"), (Taken{15, "@"}));
  EXPECT_EQ(taken("0xF`"), (Taken{15, "`"}));
}

TEST(StrepNumber, WithoutADigitAfter0xIsTheZeroBeforeIt) {
  EXPECT_EQ(taken("0x"), (Taken{0, "x"}));
  EXPECT_EQ(taken("0xg"), (Taken{0, "xg"}));
  EXPECT_EQ(taken("0X1"), (Taken{0, "X1"})) << "the prefix is 0x";
  EXPECT_EQ(taken("1x1"), (Taken{1, "x1"}));
}

TEST(StrepNumber, BeginsWhereThePositionStands) {
  EXPECT_EQ(taken("12-34", UINT64_MAX, 3), (Taken{34, ""}));
  EXPECT_EQ(numberRefusalOf("12-", UINT64_MAX, 2), "no number at column 2");
  EXPECT_EQ(numberRefusalOf("12-34", 33, 3), "number at column 3 is greater than 33");
}

TEST(StrepNumber, ThatIsNoneIsRefusedWithItsColumn) {
  for (const char* const text : {"", " 1", "-1", "+1", "x1", "a", "f"}) {
    EXPECT_EQ(numberRefusalOf(text), "no number at column 0") << text;
  }
}

TEST(StrepNumber, UpToTheLargestIsTakenAndTheNextRefused) {
  EXPECT_EQ(taken("65535", 65535), (Taken{65535, ""}));
  EXPECT_EQ(numberRefusalOf("65536", 65535), "number at column 0 is greater than 65535");
  EXPECT_EQ(taken("0xffff", 65535), (Taken{65535, ""}));
  EXPECT_EQ(numberRefusalOf("0x10000", 65535), "number at column 0 is greater than 65535");
  EXPECT_EQ(taken("18446744073709551615"), (Taken{UINT64_MAX, ""}));
  EXPECT_EQ(numberRefusalOf("18446744073709551616"),
            "number at column 0 is greater than 18446744073709551615");
  EXPECT_EQ(taken("0xFFFFFFFFFFFFFFFF"), (Taken{UINT64_MAX, ""}));
  EXPECT_EQ(numberRefusalOf("0x10000000000000000"),
            "number at column 0 is greater than 18446744073709551615");
}

TEST(StrepNumber, MayHaveALargestBelowOneDigit) {
  EXPECT_EQ(taken("3", 3), (Taken{3, ""}));
  EXPECT_EQ(numberRefusalOf("4", 3), "number at column 0 is greater than 3");
  EXPECT_EQ(taken("000", 0), (Taken{0, ""}));
  EXPECT_EQ(numberRefusalOf("01", 0), "number at column 0 is greater than 0");
}

}  // namespace
}  // namespace KobTest
