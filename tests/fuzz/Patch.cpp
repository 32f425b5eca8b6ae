// JSON Patches: carried out all or not at all, as another implementation of RFC 6902 does, and
// followed by a session, whose table must become that of a session that begins with the result.

#include <array>
#include <nlohmann/json.hpp>
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

/// What is carried out is what another implementation makes of it.
void compare(const json& root, const Document& patch) {
  const json before = root;
  json result;
  const bool isDone = unlessRefused([&] { result = Agent::patched(root, patch); });
  require(root == before, "the document itself was changed");
  if (!isDone) return;
  try {
    require(root.patch(patch.root()) == result, "the result is another one: " + result.dump());
  } catch (const json::exception& refusal) {
    constexpr int noParent = 405;  // The other one never moves the whole document.
    if (refusal.id == noParent) return;
    found(std::string("a patch is carried out that cannot be: ") + refusal.what());
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
