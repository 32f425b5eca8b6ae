// JSON Patches: carried out all or not at all, as another implementation of RFC 6902 does, and
// followed by a session, whose table must become that of a session that begins with the result.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "agent/ConfigurationPatch.h"
#include "tests/fuzz/Configured.h"
#include "tests/fuzz/Finding.h"

namespace Fuzz {
namespace {

using Agent::Document;
using Agent::Session;
using nlohmann::json;

constexpr const char* configuration = R"({
    "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}}, "LIST": [1, [2, {"a~/b": 3}]],
    "VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
    "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})";

constexpr std::array operations = {"add", "remove", "replace", "move", "copy", "test", "ADD", ""};
constexpr std::array paths = {"",
                              "/",
                              "/PORT",
                              "/PORT/Ethernet0",
                              "/PORT/Ethernet4",
                              "/PORT/Ethernet12",
                              "/INTERFACE",
                              "/INTERFACE/Ethernet0",
                              "/INTERFACE/Ethernet8",
                              "/INTERFACE/Ethernet12",
                              "/VLAN/Vlan10",
                              "/VLAN/Vlan20",
                              "/VLAN_INTERFACE/Vlan10",
                              "/VLAN_INTERFACE/Vlan20",
                              "/VLAN_MEMBER",
                              "/VLAN_MEMBER/Vlan10|Ethernet8",
                              "/LIST",
                              "/LIST/0",
                              "/LIST/1",
                              "/LIST/2",
                              "/LIST/-",
                              "/LIST/00",
                              "/LIST/1/1/a~0~1b",
                              "/LIST/1/1/a~2",
                              "/LIST/18446744073709551616",
                              "/x\x1b[2J",
                              "PORT"};
constexpr std::array words = {"Ethernet0", "Vlan10", "tagging_mode", "untagged", "10", ""};

json operation(Choices& from) {
  json one = {{"op", from.of(operations)}, {"path", from.of(paths)}};
  if (from.below(8) != 0) one["value"] = from.flag() ? json::object() : valueOf(from, words, 2);
  if (from.below(8) != 0) one["from"] = from.of(paths);
  return one;
}

std::string composed(Choices from) {
  json list = json::array();
  while (!from.isEmpty() && list.size() < 12) list.push_back(operation(from));
  return list.dump();
}

/// What another implementation makes of the list of operations; none when it refuses.
std::optional<json> patchedElsewhere(const json& root, const json& list) {
  try {
    return root.patch(list);
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

/// The operations of the patch up to the refused one.
json refusedPart(const Document& patch, const std::string& refusal) {
  std::size_t number = 0;
  require(std::sscanf(refusal.c_str(), "patch.json: operation %zu", &number) == 1,
          "a refusal names no operation: " + refusal);
  const auto begin = patch.root().begin();
  return json(begin, begin + static_cast<json::difference_type>(number));
}

/// The other one would not refuse it: it moves values into themselves and has no limits, and it
/// takes for granted that a value's place is in an object or an array.
bool isRefusedHereAlone(const std::string& refusal) {
  constexpr std::array reasons = {"moved into itself", "there is no object or list to hold",
                                  "the patch copies more than", "within each other"};
  return std::ranges::any_of(
      reasons, [&refusal](const char* reason) { return refusal.find(reason) != refusal.npos; });
}

/// The last operation removes a member of what has none, which the other one takes for done.
bool endsRemovingFromAScalar(const json& root, json list) {
  const json last = list.back();
  if (last.value("op", "") != "remove") return false;
  const json::json_pointer path(last.at("path").get<std::string>());
  list.erase(list.size() - 1);
  return root.patch(list).at(path.parent_pointer()).is_primitive();
}

/// The whole document goes elsewhere, which the other one refuses.
bool movesTheWhole(const Document& patch) {
  return std::ranges::any_of(patch.root(), [](const json& operation) {
    return operation.value("op", "") == "move" && operation.value("from", "/") == "";
  });
}

/// What is carried out is what another implementation makes of it, and what is refused it refuses.
void compare(const json& root, const Document& patch) {
  const json before = root;
  json result;
  const auto refusal = refusalOf([&] { result = Agent::patched(root, patch); });
  require(root == before, "the document itself was changed");
  if (refusal) {
    if (isRefusedHereAlone(*refusal)) return;
    const json part = refusedPart(patch, *refusal);
    require(!patchedElsewhere(root, part) || endsRemovingFromAScalar(root, part),
            "a patch is refused that can be carried out: " + *refusal);
  } else if (const auto elsewhere = patchedElsewhere(root, patch.root())) {
    require(*elsewhere == result, "the result is another one: " + result.dump());
  } else {
    require(movesTheWhole(patch), "a patch is carried out that cannot be");
  }
}

/// A session that follows the patch stands where one stands that begins with the result.
void follow(const Document& before, const Document& patch) {
  Session session(before, assignedIndexes());
  if (!unlessRefused([&] { session.apply(patch); })) {
    requireSame(session, Session(before, assignedIndexes()));
    return;
  }
  checkSession(session);
  requireSame(session, Session(session.document(), assignedIndexes()));
  Session reserved(before, internalVlans(3));
  reserved.apply(patch);
  checkSession(reserved);
}

}  // namespace
}  // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text = Fuzz::textOf(bytes, size, Fuzz::composed);
  static const Agent::Document before("config.json", Fuzz::configuration);
  Fuzz::unlessRefused([&text] {
    const Agent::Document patch("patch.json", text);
    Agent::refuseUnlessPatch(patch);
    Fuzz::compare(before.root(), patch);
    Fuzz::follow(before, patch);
  });
  return 0;
}
