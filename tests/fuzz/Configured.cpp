#include "tests/fuzz/Configured.h"

#include <array>
#include <cctype>
#include <limits>

#include "agent/Report.h"
#include "agent/Story.h"
#include "tests/FyrL3Intf/State.h"
#include "tests/fuzz/Finding.h"

namespace Fuzz {

using Agent::Document;
using Agent::L3IdSource;
using Agent::Session;
using nlohmann::json;

std::string textOf(const std::uint8_t* bytes, std::size_t size, std::string (*composed)(Choices)) {
  const bool isText =
      size > 0 && (std::isspace(bytes[0]) != 0 || bytes[0] == '{' || bytes[0] == '[');
  return isText ? std::string(bytes, bytes + size) : composed(Choices(bytes, size));
}

std::optional<std::string> refusalOf(const std::function<void()>& action) {
  try {
    action();
    return std::nullopt;
  } catch (const Agent::UnreadableInput& refusal) {
    requirePrintable(refusal.what(), "a refusal", false);
    return refusal.what();
  }
}

bool unlessRefused(const std::function<void()>& action) { return !refusalOf(action); }

L3IdSource assignedIndexes() { return {}; }

L3IdSource internalVlans(unsigned count) {
  Agent::ReservationRules rules;
  rules.range = {Bridging::VlanId(100), Bridging::VlanId(static_cast<std::uint16_t>(99 + count))};
  rules.pins.emplace(Plexo::IntfId("Ethernet4"), Bridging::VlanId(101));
  return {rules, std::nullopt};
}

void checkProblems(const Agent::Problems& problems) {
  requirePrintable(Agent::textOf(problems, false), "the text of problems", true);
}

void checkSession(Session& session) {
  session.machine().doVerify();
  checkProblems(session.problems());
  for (const auto& [id, kind] : session.theSwitch().l3Interfaces) {
    const Agent::Story story = Agent::storyOf(id, session);
    require(!story.empty(), "an L3 interface has no story");
    for (const std::string& sentence : story) requirePrintable(sentence, "a story", false);
    require(session.machine().internalVlanNeeded() || session.table().intfIdToL3Id(id) ||
                session.deferral(),
            "an interface has no L3 id, though each is assigned one");
  }
}

void requireSame(const Session& one, const Session& other) {
  using namespace FyrL3Intf::Tests;
  require(forwardOf(one.table()) == forwardOf(other.table()), "another forward map");
  require(reverseOf(one.table()) == reverseOf(other.table()), "another reverse map");
  require(wishesOf(one.machine()) == wishesOf(other.machine()), "other wishes");
  require(one.theSwitch().ports == other.theSwitch().ports, "other ports");
  require(one.problems() == other.problems(), "other problems");
}

void configure(const std::string& text) {
  unlessRefused([&text] {
    const Document document("config.json", text);
    Session indexed(document, assignedIndexes());
    checkSession(indexed);
    Session reserved(document, internalVlans(4));
    checkSession(reserved);
    if (!document.repeatedKeys().empty()) return;
    const Document again("config.json", document.root().dump());
    requireSame(indexed, Session(again, assignedIndexes()));
  });
}

json valueOf(Choices& from, std::span<const char* const> words, unsigned depth) {
  const unsigned kind = from.below(depth > 0 ? 10 : 8);
  if (kind < 4) return from.of(words);
  if (kind == 4) return from.of({0, 1, 100, 4094, 4095, 65535, -1});
  if (kind == 5) return from.of({1.5, 1e300, -0.0});
  if (kind == 6) return from.flag() ? json(nullptr) : json(from.flag());
  if (kind == 7) return std::numeric_limits<std::uint64_t>::max();
  json value = kind == 8 ? json::object() : json::array();
  for (unsigned part = from.below(4); part > 0; --part) {
    if (kind == 8) {
      const char* const key = from.of(words);
      value[key] = valueOf(from, words, depth - 1);
    } else {
      value.push_back(valueOf(from, words, depth - 1));
    }
  }
  return value;
}

}  // namespace Fuzz
