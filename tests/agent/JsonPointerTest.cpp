#include "agent/JsonPointer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace Agent {
namespace {

using nlohmann::json;

const json document = json::parse(R"({"a": {"b/c": 1, "m~n": 2, "": 3, "~1": 4}, "l": [10, 11]})");

json found(std::string_view path) {
  json copy = document;
  return JsonPointer(path).in(copy);
}

/// The message of what the call throws; "" when it does not.
template <typename Call>
std::string complaintOf(const Call& call) {
  try {
    call();
  } catch (const PointerError& error) {
    return error.what();
  }
  return "";
}

std::string complaintAt(std::string_view path) {
  return complaintOf([&] { found(path); });
}

TEST(JsonPointer, LeadsThroughObjectsAndLists) {
  EXPECT_EQ(found(""), document);
  EXPECT_EQ(found("/a/b~1c"), 1);
  EXPECT_EQ(found("/a/m~0n"), 2);
  EXPECT_EQ(found("/a/"), 3);
  EXPECT_EQ(found("/a/~01"), 4);
  EXPECT_EQ(found("/l/0"), 10);
  EXPECT_EQ(found("/l/1"), 11);
}

TEST(JsonPointer, SaysWhereItLeadsNowhere) {
  EXPECT_EQ(complaintAt("/x"), "there is no \"x\"");
  EXPECT_EQ(complaintAt("/a/b~1c/d"), "there is no \"d\"");
  EXPECT_EQ(complaintAt("/l/2"), "the list ends before place 2");
  for (const char* path : {"/l/-", "/l/01", "/l/+1", "/l/", "/l/x", "/l/18446744073709551616"}) {
    EXPECT_NE(complaintAt(path).find("is no place in a list"), std::string::npos) << path;
  }
}

TEST(JsonPointer, IsRefusedWhereItIsNone) {
  EXPECT_EQ(complaintAt("a"), "a path begins with /");
  for (const char* path : {"/~", "/~2", "/a~"}) {
    EXPECT_EQ(complaintAt(path), "a ~ in a path is followed by 0 or 1") << path;
  }
}

json added(std::string_view path) {
  json copy = document;
  JsonPointer(path).add(copy, "new");
  return copy;
}

TEST(JsonPointer, AddsToObjectsAndLists) {
  EXPECT_EQ(added("/a/b~1c")["a"]["b/c"], "new");
  EXPECT_EQ(added("/z")["z"], "new");
  EXPECT_EQ(added("/l/0")["l"], json::parse(R"(["new", 10, 11])"));
  EXPECT_EQ(added("/l/2")["l"], json::parse(R"([10, 11, "new"])"));
  EXPECT_EQ(added("/l/-")["l"], json::parse(R"([10, 11, "new"])"));
  EXPECT_EQ(added(""), "new");
}

TEST(JsonPointer, AddsNowhereElse) {
  EXPECT_EQ(complaintOf([] { added("/l/3"); }), "the list ends before place 3");
  EXPECT_EQ(complaintOf([] { added("/x/y"); }), "there is no \"x\"");
  EXPECT_EQ(complaintOf([] { added("/l/0/y"); }), "there is no object or list to hold \"y\"");
}

TEST(JsonPointer, RemovesFromObjectsAndLists) {
  json copy = document;
  JsonPointer("/a").remove(copy);
  JsonPointer("/l/0").remove(copy);
  EXPECT_EQ(copy, json::parse(R"({"l": [11]})"));
  EXPECT_EQ(complaintOf([&] { JsonPointer("/a").remove(copy); }), "there is no \"a\"");
  EXPECT_EQ(complaintOf([&] { JsonPointer("/l/1").remove(copy); }), "the list ends before place 1");
}

TEST(JsonPointer, KnowsWhatItLeadsInto) {
  const JsonPointer outer("/a");
  EXPECT_TRUE(outer.isProperPrefixOf(JsonPointer("/a/b")));
  EXPECT_FALSE(outer.isProperPrefixOf(outer));
  EXPECT_FALSE(outer.isProperPrefixOf(JsonPointer("/ab/c")));
  EXPECT_TRUE(JsonPointer("").isProperPrefixOf(outer));
  EXPECT_TRUE(JsonPointer("").isRoot());
  EXPECT_EQ(JsonPointer("/a/b").depth(), 2U);
}

}  // namespace
}  // namespace Agent
