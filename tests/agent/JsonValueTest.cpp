#include "agent/JsonValue.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace Agent {
namespace {

using nlohmann::json;

TEST(Describe, ShowsScalarsAsJsonWritesThem) {
  EXPECT_EQ(describe("x"), "\"x\"");
  EXPECT_EQ(describe(-7), "-7");
  EXPECT_EQ(describe(nullptr), "null");
  EXPECT_EQ(describe(true), "true");
}

TEST(Describe, NamesContainersOnly) {
  EXPECT_EQ(describe(json::object({{"a", 1}})), "an object");
  EXPECT_EQ(describe(json::array({1, 2})), "an array");
}

TEST(UnsignedOf, ReadsNumbersAndTheirDigits) {
  EXPECT_EQ(unsignedOf(json::parse("10")), 10U);
  EXPECT_EQ(unsignedOf("10"), 10U);
  for (const char* text : {"-1", "1.0", "true", "null", "[]", "\"\"", "\" 10\"", "\"ten\""}) {
    EXPECT_EQ(unsignedOf(json::parse(text)), std::nullopt) << text;
  }
}

TEST(VlanOf, HoldsOneTo4094) {
  EXPECT_EQ(vlanOf(json::parse("1"))->value(), 1);
  EXPECT_EQ(vlanOf(json("4094"))->value(), 4094);
  for (const char* text : {"0", "4095", "65537", "\"18446744073709551616\"", "1.5"}) {
    EXPECT_EQ(vlanOf(json::parse(text)), std::nullopt) << text;
  }
}

void expectRange(const json& value, int first, int last) {
  const auto range = vlanRangeOf(value);
  ASSERT_TRUE(range) << value;
  EXPECT_EQ(range->first.value(), first) << value;
  EXPECT_EQ(range->last.value(), last) << value;
}

TEST(VlanRangeOf, ReadsBothSpellingsAndSingleVlans) {
  expectRange("10-20", 10, 20);
  expectRange("10..20", 10, 20);
  expectRange("1..4094", 1, 4094);
  expectRange("7-7", 7, 7);
  expectRange("7", 7, 7);
  expectRange(json::parse("7"), 7, 7);
}

TEST(VlanRangeOf, RefusesEverythingElse) {
  for (const char* text :
       {"20-10", "0-5", "5-4095", "5-", "-5", "..", "1.5", "1...5", "1-2-3", "a-b", "", "1 - 5"}) {
    EXPECT_FALSE(vlanRangeOf(text)) << text;
  }
  EXPECT_FALSE(vlanRangeOf(json::array()));
  EXPECT_FALSE(vlanRangeOf(nullptr));
}

TEST(MemberOf, IsNullWhereThereIsNone) {
  const json object = {{"a", 1}};
  EXPECT_EQ(*memberOf(object, "a"), 1);
  EXPECT_EQ(memberOf(object, "b"), nullptr);
  EXPECT_EQ(memberOf(json::array(), "a"), nullptr);
}

TEST(StringOf, IsNullForOtherTypes) {
  const json text = "x";
  EXPECT_EQ(*stringOf(text), "x");
  EXPECT_EQ(stringOf(json(1)), nullptr);
}

}  // namespace
}  // namespace Agent
