#include "agent/Text.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

TEST(Printable, LeavesPrintableAsciiAsItIs) {
  EXPECT_EQ(printable("Ethernet0|10.0.0.1/24 ~\"'"), "Ethernet0|10.0.0.1/24 ~\"'");
}

TEST(Printable, EscapesEverythingThatATerminalCouldObey) {
  EXPECT_EQ(printable("\x1b[31m"), "\\x1b[31m");
  EXPECT_EQ(printable("a\nb\rc\td\\e"), "a\\nb\\rc\\td\\\\e");
  EXPECT_EQ(printable("\x7f\xc3\xa9\xff"), "\\x7f\\xc3\\xa9\\xff");
  EXPECT_EQ(printable(std::string_view("\0x", 2)), "\\x00x");
}

TEST(Printable, CutsWhatIsLongerThanFourHundredBytes) {
  EXPECT_EQ(printable(std::string(400, 'a')), std::string(400, 'a'));
  std::string cut(400, 'a');
  cut += "...";
  EXPECT_EQ(printable(std::string(401, 'a')), cut);
}

TEST(Decimal, ReadsDigitsOnly) {
  EXPECT_EQ(decimal("0"), 0U);
  EXPECT_EQ(decimal("007"), 7U);
  EXPECT_EQ(decimal("18446744073709551615"), UINT64_MAX);
  for (const char* text : {"", " 1", "1 ", "+1", "-1", "1.0", "0x1", "1e3", "ten"}) {
    EXPECT_EQ(decimal(text), std::nullopt) << text;
  }
}

TEST(Decimal, RefusesWhatDoesNotFit) {
  EXPECT_EQ(decimal("18446744073709551616"), std::nullopt);
  EXPECT_EQ(decimal("000000000000000000001"), std::nullopt);
}

TEST(Hexadecimal, ReadsDigitsOfEitherCaseWithoutPrefix) {
  EXPECT_EQ(hexadecimal("c7C"), 0xc7cU);
  EXPECT_EQ(hexadecimal("ffffffffffffffff"), UINT64_MAX);
  for (const char* text : {"", "0x1", "g", "-1", "10000000000000000", "00000000000000001"}) {
    EXPECT_EQ(hexadecimal(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace Agent
