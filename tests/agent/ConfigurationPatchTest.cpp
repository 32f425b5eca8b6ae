#include "agent/ConfigurationPatch.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/agent/Reading.h"

namespace Agent {
namespace {

using nlohmann::json;

const json document = json::parse(R"({"PORT": {"Ethernet0": {}}, "LIST": [1, 2]})");

json result(std::string_view patch) { return patched(document, Document("p.json", patch)); }

std::string refusal(std::string_view patch) {
  return refusalOf([&] { static_cast<void>(result(patch)); });
}

TEST(ConfigurationPatch, CarriesEachOperationOut) {
  EXPECT_EQ(result("[]"), document);
  EXPECT_EQ(result(R"([{"op": "add", "path": "/VLAN", "value": {"Vlan10": {}}}])")["VLAN"],
            json::parse(R"({"Vlan10": {}})"));
  EXPECT_EQ(result(R"([{"op": "remove", "path": "/PORT/Ethernet0"}])")["PORT"], json::object());
  EXPECT_EQ(result(R"([{"op": "replace", "path": "/LIST/0", "value": 7}])")["LIST"],
            json::parse("[7, 2]"));
  EXPECT_EQ(result(R"([{"op": "replace", "path": "", "value": {}}])"), json::object());
  EXPECT_EQ(result(R"([{"op": "move", "from": "/LIST/0", "path": "/LIST/1"}])")["LIST"],
            json::parse("[2, 1]"));
  EXPECT_EQ(result(R"([{"op": "move", "from": "", "path": ""}])"), document);
  EXPECT_EQ(result(R"([{"op": "copy", "from": "/LIST", "path": "/PORT/x"}])")["PORT"]["x"],
            document["LIST"]);
  EXPECT_EQ(result(R"([{"op": "test", "path": "/LIST/0", "value": 1.0}])"), document);
}

TEST(ConfigurationPatch, MovesWhatIsThereAndNothingElse) {
  EXPECT_EQ(result(R"([{"op": "move", "from": "/PORT", "path": "/X"}])"),
            json::parse(R"({"X": {"Ethernet0": {}}, "LIST": [1, 2]})"));
  EXPECT_EQ(result(R"([{"op": "move", "from": "/PORT", "path": "/PORT"}])"), document);
  EXPECT_EQ(result(R"([{"op": "move", "from": "/PORT", "path": "/LIST/0"},
                       {"op": "move", "from": "/LIST/2", "path": "/LIST/0"}])"),
            json::parse(R"({"LIST": [2, {"Ethernet0": {}}, 1]})"));
}

TEST(ConfigurationPatch, LetsEachOperationSeeTheOnesBefore) {
  EXPECT_EQ(result(R"([{"op": "add", "path": "/A", "value": {}},
                       {"op": "add", "path": "/A/B", "value": 1, "comment": "ignored"},
                       {"op": "move", "from": "/A/B", "path": "/B"},
                       {"op": "remove", "path": "/A"}])"),
            json::parse(R"({"PORT": {"Ethernet0": {}}, "LIST": [1, 2], "B": 1})"));
}

TEST(ConfigurationPatch, NamesFileOperationAndPathOfWhatFails) {
  EXPECT_EQ(refusal(R"([{"op": "test", "path": "/LIST", "value": [1, 2]},
                        {"op": "remove", "path": "/VLAN/Vlan10"}])"),
            "p.json: operation 2 (remove /VLAN/Vlan10): there is no \"VLAN\"");
  EXPECT_EQ(refusal(R"([{"op": "replace", "path": "/LIST/2", "value": 1}])"),
            "p.json: operation 1 (replace /LIST/2): the list ends before place 2");
  EXPECT_EQ(refusal(R"([{"op": "copy", "from": "/x", "path": "/y"}])"),
            "p.json: operation 1 (copy /y): from /x: there is no \"x\"");
  EXPECT_EQ(refusal(R"([{"op": "test", "path": "/LIST/0", "value": 2}])"),
            "p.json: operation 1 (test /LIST/0): the value there is 1, not the one in the patch");
  EXPECT_EQ(refusal(R"([{"op": "move", "from": "/PORT", "path": "/PORT/a"}])"),
            "p.json: operation 1 (move /PORT/a): a value cannot be moved into itself");
  EXPECT_EQ(refusal(R"([{"op": "remove", "path": ""}])"),
            "p.json: operation 1 (remove): the whole document cannot be removed");
}

TEST(ConfigurationPatch, IsRefusedWhereItIsNone) {
  EXPECT_EQ(refusal("{}"),
            "p.json: no JSON Patch: the document is an object; give a list of operations");
  EXPECT_EQ(refusal("[7]"), "p.json: operation 1: it is 7, not an object");
  EXPECT_EQ(refusal("[{}]"), "p.json: operation 1: it has no \"op\"");
  EXPECT_EQ(refusal(R"([{"op": "add"}])"), "p.json: operation 1 (add): it has no \"path\"");
  EXPECT_EQ(refusal(R"([{"op": "add", "path": 7}])"),
            "p.json: operation 1 (add): \"path\" is no string");
  EXPECT_EQ(refusal(R"([{"op": "add", "path": "/a"}])"),
            "p.json: operation 1 (add /a): it has no \"value\"");
  EXPECT_EQ(refusal(R"([{"op": "test", "path": "/LIST"}])"),
            "p.json: operation 1 (test /LIST): it has no \"value\"");
  EXPECT_EQ(refusal(R"([{"op": "move", "path": "/a"}])"),
            "p.json: operation 1 (move /a): it has no \"from\"");
  EXPECT_EQ(refusal(R"([{"op": "merge", "path": "/a"}])"),
            "p.json: operation 1 (merge /a): there is no operation \"merge\"; op is add, "
            "remove, replace, move, copy or test");
  EXPECT_EQ(refusal(R"([{"op": "remove", "op": "add", "path": "/a"}])"),
            "p.json: no JSON Patch: the key \"op\" stands twice in one object");
}

TEST(ConfigurationPatch, NeverRepeatsControlCharacters) {
  EXPECT_EQ(refusal(R"([{"op": "remove", "path": "/\u001b[2J"}])"),
            "p.json: operation 1 (remove /\\x1b[2J): there is no \"\\x1b[2J\"");
}

/// "/a/a/a": as many levels.
std::string pathOf(std::size_t levels) {
  std::string path;
  for (std::size_t i = 0; i < levels; ++i) {
    path += "/a";
  }
  return path;
}

/// A patch that builds objects within each other, as many levels below the root.
std::string deepPatch(std::size_t levels) {
  json patch = json::array();
  for (std::size_t i = 1; i <= levels; ++i) {
    patch.push_back({{"op", "add"}, {"path", pathOf(i)}, {"value", json::object()}});
  }
  return patch.dump();
}

TEST(ConfigurationPatch, MayMakeTheDocumentAsDeepAsDocumentsMayBe) {
  EXPECT_EQ(refusal(deepPatch(Document::deepest - 1)), "");
  EXPECT_EQ(refusal(deepPatch(Document::deepest)),
            "p.json: operation 64 (add " + pathOf(Document::deepest) +
                "): the document would have more than 64 objects and arrays within each other");
}

TEST(ConfigurationPatch, CannotMakeTheDocumentGrowWithoutEnd) {
  json patch = json::array();
  for (int i = 0; i < 60; ++i) {
    patch.push_back({{"op", "add"}, {"path", "/LIST/-"}, {"value", 1}});
    patch.push_back({{"op", "copy"}, {"from", "/LIST"}, {"path", "/PORT/" + std::to_string(i)}});
    patch.push_back({{"op", "copy"}, {"from", "/PORT"}, {"path", "/LIST/" + std::to_string(i)}});
  }
  const std::string text = refusal(patch.dump());
  EXPECT_NE(text.find("the patch copies more than 1000000 values"), std::string::npos) << text;
}

}  // namespace
}  // namespace Agent
