#include "Kob/Strep.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace KobTest
