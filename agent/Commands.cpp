#include "agent/Commands.h"

#include <optional>

#include "agent/InterfaceName.h"
#include "agent/Output.h"
#include "agent/Report.h"
#include "agent/SelfCheck.h"
#include "agent/Story.h"
#include "agent/Text.h"
#include "agent/TypeListing.h"
#include "agent/TypeSection.h"

namespace Agent {
namespace {

using nlohmann::ordered_json;

ordered_json jsonOf(const InterfaceEntries& entries, const Session& session) {
  ordered_json list = ordered_json::array();
  for (const InterfaceEntry& entry : entries) {
    list.push_back(jsonOf(entry, session.machine().internalVlanNeeded()));
  }
  return list;
}

bool isKnownName(const Switch& theSwitch, Plexo::IntfId id) {
  return theSwitch.l3Interfaces.contains(id) || theSwitch.ports.contains(id) ||
         theSwitch.channelOf.contains(id);
}

/// The number that the question is, unless an interface has that name.
std::optional<FyrL3Intf::L3Id> askedL3Id(const std::string& question, const Switch& theSwitch) {
  const auto id = interfaceNamed(question);
  if (id && isKnownName(theSwitch, *id)) return std::nullopt;
  const bool isHexadecimal = question.starts_with("0x") || question.starts_with("0X");
  const auto number = isHexadecimal ? hexadecimal(question.substr(2)) : decimal(question);
  return number ? std::optional(FyrL3Intf::L3Id(*number)) : std::nullopt;
}

/// The L3 interface that the question is about, or none.
InterfaceEntries askedEntries(const std::string& question, const Session& session) {
  const auto l3Id = askedL3Id(question, session.theSwitch());
  const auto id = l3Id ? session.table().l3IdToIntfId(*l3Id)
                       : interfaceNamed(question).value_or(Plexo::IntfId());
  const auto found = session.theSwitch().l3Interfaces.find(id);
  if (found == session.theSwitch().l3Interfaces.end()) return {};
  return {entryOf(id, found->second, session.machine())};
}

std::string textOf(const Story& story) {
  std::string text;
  for (const std::string& sentence : story) {
    text += (text.empty() ? "" : "  ") + sentence + "\n";
  }
  return text;
}

/// The entry as the other commands give it, and what the story is made of. What is no L3 interface
/// has its name and its story alone.
ordered_json jsonOf(Plexo::IntfId id, const Story& story, const Session& session) {
  ordered_json object;
  const auto found = session.theSwitch().l3Interfaces.find(id);
  if (found == session.theSwitch().l3Interfaces.end()) {
    object["interface"] = nameOf(id);
  } else {
    const InterfaceEntry entry = entryOf(id, found->second, session.machine());
    const bool internalVlanNeeded = session.machine().internalVlanNeeded();
    object = jsonOf(entry, internalVlanNeeded);
    object["l3IdSince"] = jsonOf(session.journal().l3IdSince(id));
    if (internalVlanNeeded) {
      object["wishSince"] = jsonOf(session.journal().wishSince(id));
      object["queue"] = ordered_json::array();
      if (entry.wish) {
        for (const auto next : queueFor(Bridging::VlanId(entry.wish), session.machine())) {
          object["queue"].push_back(nameOf(next));
        }
      }
    }
  }
  object["story"] = story;
  return object;
}

void answerTypes(const std::vector<std::string>& names, Printer& printer) {
  if (printer.isJson()) {
    printer.answer("types", names);
    return;
  }
  std::string text;
  for (const std::string& name : names) {
    text += printable(name) + "\n";
  }
  printer.answer(text);
}

}  // namespace

void show(const Session& session, Printer& printer) {
  const auto entries = interfaceEntries(session.theSwitch(), session.machine());
  if (printer.isJson()) {
    printer.answer("interfaces", jsonOf(entries, session));
  } else {
    printer.answer(textOf(entries, session.machine(), isOutputColoured()));
  }
}

bool lookup(const Session& session, const std::string& question, Printer& printer) {
  const InterfaceEntries entries = askedEntries(question, session);
  const bool hasAnswer = !entries.empty() && entries.front().l3Id;
  const std::string asked = printable(question);
  if (printer.isJson()) {
    printer.answer("interfaces", jsonOf(entries, session));
  } else if (entries.empty()) {
    printer.refuse("no L3 interface and no L3 id is \"" + asked + "\"");
  } else if (!hasAnswer) {
    printer.refuse(asked + " has no L3 id");
  } else {
    const InterfaceEntry& entry = entries.front();
    const bool isNumber = askedL3Id(question, session.theSwitch()).has_value();
    printer.answer((isNumber ? nameOf(entry.id) : std::to_string(entry.l3Id.value())) + "\n");
  }
  return hasAnswer;
}

bool why(const Session& session, const std::vector<std::string>& names, Printer& printer) {
  bool isEveryNameKnown = true;
  ordered_json list = ordered_json::array();
  for (const std::string& name : names) {
    const auto id = interfaceNamed(name).value_or(Plexo::IntfId());
    const Story story = storyOf(id, session);
    if (story.empty()) {
      isEveryNameKnown = false;
      if (!printer.isJson()) printer.refuse("no interface is \"" + printable(name) + "\"");
    } else if (printer.isJson()) {
      list.push_back(jsonOf(id, story, session));
    } else {
      printer.answer(textOf(story));
    }
  }
  if (printer.isJson()) printer.answer("interfaces", list);
  return isEveryNameKnown;
}

bool verify(Session& session, const std::string& after, Printer& printer) {
  const SelfCheck check = selfCheck(session.machine());
  if (printer.isJson()) {
    printer.append(
        "checks", {{"after", after}, {"consistent", check.isConsistent}, {"report", check.report}});
  } else if (check.isConsistent) {
    printer.answer("consistent\n");
  } else {
    printer.refuse("the self-check failed after " + printable(after) + ":\n" + check.report);
  }
  return check.isConsistent;
}

bool types(const std::string& name, Printer& printer) {
  if (name.empty()) {
    answerTypes(typeNames(), printer);
    return true;
  }
  const Kob::KobType* const type = typeNamed(name);
  if (printer.isJson()) {
    printer.answer("types",
                   type != nullptr ? ordered_json::array({jsonOf(*type)}) : ordered_json::array());
  } else if (type == nullptr) {
    printer.refuse("no type is \"" + printable(name) + "\"");
  } else {
    printer.answer(textOf(*type));
  }
  return type != nullptr;
}

bool libraryTypes(const std::string& file, Printer& printer) {
  const std::vector<std::string> names = typesProvidedBy(file);
  if (names.empty() && !printer.isJson()) {
    printer.refuse(printable(file) + " provides no types: it has no section " + typeSectionName);
  } else {
    answerTypes(names, printer);
  }
  return !names.empty();
}

}  // namespace Agent
