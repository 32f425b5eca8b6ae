#include "agent/Document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/agent/Reading.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string refusalOfText(std::string_view text) {
  return refusalOf([&] { (void)Document("f.json", text); });
}

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST(Document, HoldsEveryTypeOfValue) {
  const std::string_view text =
      R"({"o": {"a": [1, -2, 2.5, "s", true, false, null, [], {}]}, "n": 18446744073709551615})";
  const Document document("f.json", text);
  EXPECT_EQ(document.root(), nlohmann::json::parse(text));
  EXPECT_EQ(document.name(), "f.json");
  EXPECT_THAT(document.repeatedKeys(), IsEmpty());
}

TEST(Document, MayBeASingleValue) { EXPECT_EQ(Document("f.json", " 7 ").root(), 7); }

TEST(Document, TellsLineAndColumnOfASyntaxError) {
  EXPECT_THAT(refusalOfText("{\n  \"a\": 1,\n  b\n}"),
              StartsWith("f.json: line 3, column 3: not JSON: "));
  EXPECT_THAT(refusalOfText("[1,"), StartsWith("f.json: line 1, column 4: not JSON: "));
  EXPECT_THAT(refusalOfText("{} x"), StartsWith("f.json: line 1, column 4: not JSON: "));
}

TEST(Document, NeverRepeatsControlCharactersOfTheInput) {
  EXPECT_THAT(refusalOfText("[\x1b[31m]"), testing::Not(HasSubstr("\x1b")));
  EXPECT_THAT(refusalOfText("[\"\xff\"]"), testing::Not(HasSubstr("\xff")));
  EXPECT_EQ(refusalOf([] { (void)Document("\x1b.json", ""); }),
            "\\x1b.json: empty; give a JSON document");
}

TEST(Document, IsRefusedWhenEmpty) {
  EXPECT_EQ(refusalOfText(""), "f.json: empty; give a JSON document");
  EXPECT_EQ(refusalOfText(" \r\n\t"), "f.json: empty; give a JSON document");
}

TEST(Document, IsRefusedForANumberThatDoesNotFit) {
  EXPECT_EQ(refusalOfText("[1e999]"),
            "f.json: line 1, column 6: not JSON: number overflow parsing '1e999'");
}

TEST(Document, IsRefusedForAZeroByteBehindTheText) {
  EXPECT_EQ(refusalOfText(std::string("{}\n\0{}", 6)),
            "f.json: line 2, column 1: not JSON: a zero byte; JSON is text, check what wrote the "
            "file");
}

TEST(Document, NestsAsDeepAsTheLimit) {
  EXPECT_EQ(refusalOfText(nested(Document::deepest)), "");
  EXPECT_THAT(refusalOfText(nested(Document::deepest + 1)),
              StartsWith("f.json: more than 64 objects and arrays within each other; "));
}

TEST(Document, SurvivesNestingThatIsMeantToOverflowTheStack) {
  EXPECT_THAT(refusalOfText(std::string(1000000, '[')), HasSubstr("within each other"));
}

TEST(Document, KeepsTheLastOfRepeatedKeysAndTellsWhereTheyStand) {
  const Document document("f.json",
                          R"({"VLAN": {"Vlan1": {"a": 1, "a": 2}}, "x": [{"b": 1, "b": 2}],
                                        "VLAN": {"Vlan2": {}}})");
  EXPECT_EQ(document.root()["VLAN"], nlohmann::json::parse(R"({"Vlan2": {}})"));
  EXPECT_THAT(briefly(document.repeatedKeys()),
              ElementsAre("repeatedKey VLAN Vlan1/a", "repeatedKey x b", "repeatedKey VLAN "));
}

TEST(Document, TellsWhyAFileCannotBeRead) {
  EXPECT_EQ(refusalOf([] { (void)Document::read("/no/such/file"); }),
            "/no/such/file: cannot be read: No such file or directory");
  EXPECT_EQ(refusalOf([] { (void)Document::read("/"); }), "/: cannot be read: Is a directory");
}

TEST(Document, IsRefusedWhenItDoesNotEnd) {
  EXPECT_EQ(refusalOf([] { (void)Document::read("/dev/zero"); }),
            "/dev/zero: longer than 256 MiB; no configuration is that long, check the name");
}

TEST(Document, CanBeReadFromAFile) {
  EXPECT_TRUE(Document::read("examples/leaf32.config_db.json").root().contains("PORT"));
}

TEST(Document, MayBeMadeOfAnotherOne) {
  const Document document = Document::of("c.json", nlohmann::json::parse(R"({"a": 1})"));
  EXPECT_EQ(document.name(), "c.json");
  EXPECT_EQ(document.root()["a"], 1);
  EXPECT_TRUE(document.repeatedKeys().empty());
}

}  // namespace
}  // namespace Agent
