#include "agent/ShellCommands.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "Kob/Trace.h"
#include "agent/AttributePath.h"
#include "agent/CommandError.h"
#include "agent/Commands.h"
#include "agent/ConfigurationPatch.h"
#include "agent/Document.h"
#include "agent/Text.h"
#include "agent/ValueText.h"

namespace Agent {
namespace {

using Kob::GenericIf;
using Kob::Ptr;
using nlohmann::ordered_json;

constexpr std::string_view facilities[] = {"FyrL3IntfSm"};

// Arguments

[[noreturn]] void refuseUsage(std::string_view command) {
  const ShellCommand& entry = *shellCommand(command);
  throw CommandError("usage: " + std::string(entry.name) + (entry.arguments.empty() ? "" : " ") +
                     std::string(entry.arguments));
}

std::vector<std::string> wordsIn(std::string_view text) {
  std::vector<std::string> words;
  for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
    const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
    words.emplace_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return words;
}

/// The words; refuses any other number of them than from `least` to `most`.
std::vector<std::string> words(std::string_view command, std::string_view text, std::size_t least,
                               std::size_t most) {
  auto found = wordsIn(text);
  if (found.size() < least || found.size() > most) refuseUsage(command);
  return found;
}

bool isOn(std::string_view command, const std::string& word) {
  if (word != "on" && word != "off") refuseUsage(command);
  return word == "on";
}

/// What `read` reads for the place; where it cannot, the refusal begins with the path.
template <class Read>
Ptr<GenericIf> readFor(const Place& place, const Read& read) {
  try {
    return read();
  } catch (const CommandError& refusal) {
    throw CommandError(printable(place.text()) + ": " + refusal.what(), refusal.exitCode());
  }
}

Place placeOf(ShellContext& context, std::string_view command, std::string_view text) {
  if (trimmed(text).empty()) refuseUsage(command);
  return {pathOf(text), context.roots};
}

// Questions

ShellAction prepareShow(ShellContext& context, std::string_view arguments) {
  (void)words("show", arguments, 0, 0);
  return [&context] {
    show(context.session, context.printer);
    return exitSuccess;
  };
}

ShellAction prepareLookup(ShellContext& context, std::string_view arguments) {
  const std::string question = words("lookup", arguments, 1, 1).front();
  return [&context, question] {
    return lookup(context.session, question, context.printer) ? exitSuccess : exitNotFound;
  };
}

ShellAction prepareWhy(ShellContext& context, std::string_view arguments) {
  const auto names = words("why", arguments, 1, arguments.size());
  return [&context, names] {
    return why(context.session, names, context.printer) ? exitSuccess : exitNotFound;
  };
}

ShellAction prepareVerify(ShellContext& context, std::string_view arguments) {
  (void)words("verify", arguments, 0, 0);
  return [&context] {
    const auto& event = context.session.journal().event();
    const std::string after = event ? textOf(*event) : "loading";
    return verify(context.session, after, context.printer) ? exitSuccess : exitInconsistent;
  };
}

// Changes of the configuration, and of how they are followed

Document patchOf(std::string_view text) {
  if (text.starts_with('[')) return {"patch", text};
  if (text == "-") throw CommandError("apply: standard input holds the commands; give a file");
  return Document::read(std::string(text));
}

ShellAction prepareApply(ShellContext& context, std::string_view arguments) {
  const std::string_view text = trimmed(arguments);
  if (text.empty()) refuseUsage("apply");
  const Document patch = patchOf(text);
  refuseUnlessPatch(patch);
  return [&context, patch] {
    context.session.apply(patch);
    context.printer.tellProblems(context.session.problems());
    return exitSuccess;
  };
}

ShellAction prepareWatch(ShellContext& context, std::string_view arguments) {
  const bool isWatched = isOn("watch", words("watch", arguments, 1, 1).front());
  return [&context, isWatched] {
    Printer& printer = context.printer;
    const auto tell = [&printer](const TableChange& change) { printer.tellChange(change); };
    context.session.watch(isWatched ? TableChangeSink(tell) : TableChangeSink());
    return exitSuccess;
  };
}

ShellAction prepareTrace(ShellContext&, std::string_view arguments) {
  const auto given = words("trace", arguments, 3, 3);
  if (std::find(std::begin(facilities), std::end(facilities), given[0]) == std::end(facilities)) {
    throw CommandError("there is no trace facility \"" + printable(given[0]) + "\", but " +
                       std::string(facilities[0]));
  }
  const auto level = decimal(given[1]);
  if (!level || *level >= Kob::TraceFacility::levels) refuseUsage("trace");
  const bool isTraced = isOn("trace", given[2]);
  return [name = given[0], level = static_cast<unsigned>(*level), isTraced] {
    auto& facility = Kob::TraceFacility::named(Kob::String8(std::string_view(name)));
    facility.levelIs(level, isTraced);
    if (isTraced) facility.onIs(true);
    return exitSuccess;
  };
}

ShellAction prepareDefer(ShellContext& context, std::string_view arguments) {
  const bool isDeferred = isOn("defer", words("defer", arguments, 1, 1).front());
  return [&context, isDeferred] {
    context.session.deferralIs(isDeferred);
    return exitSuccess;
  };
}

ShellAction prepareRun(ShellContext& context, std::string_view arguments) {
  (void)words("run", arguments, 0, 0);
  return [&context] {
    context.session.run();
    return exitSuccess;
  };
}

// What the library tells of itself

ShellAction prepareTypes(ShellContext& context, std::string_view arguments) {
  const auto given = words("types", arguments, 0, 1);
  const std::string name = given.empty() ? "" : given.front();
  return [&context, name] { return types(name, context.printer) ? exitSuccess : exitNotFound; };
}

void answer(ShellContext& context, const Ptr<GenericIf>& value) {
  if (context.printer.isJson()) {
    context.printer.answer("value", wholeJson(value));
  } else {
    context.printer.answer(wholeText(value));
  }
}

ShellAction prepareGet(ShellContext& context, std::string_view arguments) {
  const Place place = placeOf(context, "get", arguments);
  return [&context, place] {
    answer(context, place.read());
    return exitSuccess;
  };
}

ShellAction prepareCount(ShellContext& context, std::string_view arguments) {
  const Place place = placeOf(context, "count", arguments);
  return [&context, place] {
    answer(context, place.count());
    return exitSuccess;
  };
}

ShellAction prepareList(ShellContext& context, std::string_view arguments) {
  const Place place = placeOf(context, "list", arguments);
  return [&context, place] {
    std::string text;
    ordered_json entries = ordered_json::array();
    for (auto entry = place.entries(); entry; ++entry) {
      text += bracketed(entry.key()->strRep().view()) + " " + briefText(entry.value()) + "\n";
      entries.push_back({{"key", briefJson(entry.key())}, {"value", briefJson(entry.value())}});
    }
    if (context.printer.isJson()) {
      context.printer.answer("entries", entries);
    } else {
      context.printer.answer(text);
    }
    return exitSuccess;
  };
}

// Changes by hand

ShellAction prepareSet(ShellContext& context, std::string_view arguments) {
  std::string_view value = trimmed(arguments);
  if (value.empty()) refuseUsage("set");
  const AttributePath path = takePath(value);
  if (trimmed(value).empty() || trimmed(value).size() == value.size()) refuseUsage("set");
  const Place place(path, context.roots);
  place.refuseUnlessWritable();
  const auto parsed = readFor(
      place, [&] { return valueFrom(trimmed(value), *place.attribute().attr, context.roots); });
  const std::string text = "set " + std::string(trimmed(arguments));
  return [&context, place, parsed, text] {
    context.session.change(printable(text), [&] { place.write(parsed); });
    return exitSuccess;
  };
}

ShellAction prepareDel(ShellContext& context, std::string_view arguments) {
  const Place place = placeOf(context, "del", arguments);
  return [&context, place] {
    context.session.change("del " + printable(place.text()), [&] { place.del(); });
    return exitSuccess;
  };
}

ShellAction prepareCall(ShellContext& context, std::string_view arguments) {
  std::string_view text = trimmed(arguments);
  if (text.empty()) refuseUsage("call");
  const AttributePath path = takePath(text);
  if (!text.starts_with('(') || !text.ends_with(')')) refuseUsage("call");
  const Place place(path, context.roots);
  const auto list = readFor(place, [&] {
    return argumentsFrom(text.substr(1, text.size() - 2), place.attribute().attr->parameters(),
                         context.roots);
  });
  const std::string event = "call " + std::string(trimmed(arguments));
  return [&context, place, list, event] {
    Ptr<GenericIf> result;
    context.session.change(printable(event), [&] { result = place.call(list); });
    if (result) answer(context, result);
    return exitSuccess;
  };
}

// The shell itself

ShellAction prepareHelp(ShellContext& context, std::string_view arguments);

ShellAction prepareQuit(ShellContext& context, std::string_view arguments) {
  (void)words("quit", arguments, 0, 0);
  return [&context] {
    context.isEnded = true;
    return exitSuccess;
  };
}

using Kind = ArgumentKind;

constexpr std::array commands{
    ShellCommand{"show", "", "Print the L3 interface table in both directions", Kind::none, false,
                 prepareShow},
    ShellCommand{"lookup", "NAME|ID", "Print the L3 id of an interface, or the interface of an id",
                 Kind::interface, false, prepareLookup},
    ShellCommand{"why", "NAME...", "Tell why interfaces have an L3 id, or lack one",
                 Kind::interface, false, prepareWhy},
    ShellCommand{"verify", "", "Check the whole state", Kind::none, false, prepareVerify},
    ShellCommand{"apply", "FILE|[PATCH]", "Apply a JSON Patch to the configuration", Kind::anything,
                 true, prepareApply},
    ShellCommand{"watch", "on|off", "Print each change of the table as it is announced",
                 Kind::onOff, false, prepareWatch},
    ShellCommand{"trace", "FACILITY LEVEL on|off", "Trace a level, 0 to 9, on standard error",
                 Kind::traceLevel, false, prepareTrace},
    ShellCommand{"defer", "on|off", "Let changes of the inputs wait; off delivers them",
                 Kind::onOff, true, prepareDefer},
    ShellCommand{"run", "", "Deliver what waits", Kind::none, true, prepareRun},
    ShellCommand{"types", "[TYPE]", "List the types, or the attributes of one", Kind::type, false,
                 prepareTypes},
    ShellCommand{"get", "PATH", "Print a value or an object", Kind::readable, false, prepareGet},
    ShellCommand{"set", "PATH VALUE", "Write a value, or an entry of a collection", Kind::writable,
                 true, prepareSet},
    ShellCommand{"del", "PATH", "Delete an entry of a collection", Kind::writable, true,
                 prepareDel},
    ShellCommand{"count", "PATH", "Print how many entries a collection has", Kind::collection,
                 false, prepareCount},
    ShellCommand{"list", "PATH", "Print the entries of a collection", Kind::collection, false,
                 prepareList},
    ShellCommand{"call", "PATH(ARGS)", "Call a function and print its result", Kind::function, true,
                 prepareCall},
    ShellCommand{"help", "[COMMAND]", "List the commands", Kind::command, false, prepareHelp},
    ShellCommand{"quit", "", "End the shell", Kind::none, false, prepareQuit}};

std::string helpLine(const ShellCommand& command) {
  constexpr std::size_t width = 29;
  std::string text = std::string(command.name) + " " + std::string(command.arguments);
  text.resize(std::max(width, text.size() + 2), ' ');
  return text + std::string(command.help) + "\n";
}

ShellAction prepareHelp(ShellContext& context, std::string_view arguments) {
  const auto given = words("help", arguments, 0, 1);
  if (!given.empty() && shellCommand(given.front()) == nullptr) {
    throw CommandError("there is no command \"" + printable(given.front()) + "\"", exitNotFound);
  }
  return [&context, given] {
    std::string text;
    ordered_json list = ordered_json::array();
    for (const ShellCommand& command : commands) {
      if (!given.empty() && command.name != given.front()) continue;
      text += helpLine(command);
      list.push_back(
          {{"command", command.name}, {"arguments", command.arguments}, {"help", command.help}});
    }
    if (context.printer.isJson()) {
      context.printer.answer("commands", list);
    } else {
      context.printer.answer(text);
    }
    return exitSuccess;
  };
}

}  // namespace

Roots rootsOf(FyrL3Intf::ConfigSm& machine) {
  return {{"table", machine.fyrL3IntfTable()}, {"configSm", Ptr(&machine)}};
}

std::span<const ShellCommand> shellCommands() { return commands; }

const ShellCommand* shellCommand(std::string_view name) {
  const auto found =
      std::find_if(commands.begin(), commands.end(),
                   [name](const ShellCommand& command) { return command.name == name; });
  return found == commands.end() ? nullptr : &*found;
}

std::span<const std::string_view> traceFacilities() { return facilities; }

}  // namespace Agent
