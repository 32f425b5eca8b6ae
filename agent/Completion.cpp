#include "agent/Completion.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "Kob/Trace.h"
#include "agent/AttributePath.h"
#include "agent/CommandError.h"
#include "agent/InterfaceName.h"
#include "agent/TypeListing.h"

namespace Agent {
namespace {

using Candidates = std::vector<std::string>;

/// Where the last step of an unfinished path begins: behind its last dot, or behind the bracket
/// that is open.
struct Unfinished {
  /// The path before the step; where a key is wanted, the path of the collection.
  std::string_view before;
  std::string_view rest;
  bool isKey = false;
};

Unfinished lastStep(std::string_view path) {
  Unfinished step{"", path, false};
  bool isQuoted = false;
  for (std::size_t at = 0; at < path.size(); ++at) {
    const char c = path[at];
    if (isQuoted) {
      if (c == '\\') ++at;
      isQuoted = c != '"';
    } else if (step.isKey) {
      isQuoted = c == '"' && at == step.before.size() + 1;
      if (c == ']') step = {"", path.substr(at + 1), false};
    } else if (c == '.' || c == '[') {
      step = {path.substr(0, at), path.substr(at + 1), c == '['};
    }
  }
  return step;
}

class Completer {
 public:
  Completer(std::string_view word, const ShellContext& context) : word_(word), context_(context) {}

  [[nodiscard]] Candidates found() && { return std::move(found_); }

  void offer(const std::string& candidate) {
    if (candidate.starts_with(word_)) found_.push_back(candidate);
  }
  void offerCommands();
  void offerInterfaces();
  void offerTypes();
  void offerPaths(ArgumentKind kind);

 private:
  void offerKeys(std::string_view collection, ArgumentKind kind);
  void offerAttributes(std::string_view owner, ArgumentKind kind);
  void offerAttribute(const std::string& path, const Kob::KobAttr& attr, ArgumentKind kind);

  std::string_view word_;
  const ShellContext& context_;
  Candidates found_;
};

void Completer::offerCommands() {
  for (const ShellCommand& command : shellCommands()) {
    offer(std::string(command.name) + (command.arguments.empty() ? "" : " "));
  }
}

void Completer::offerInterfaces() {
  const Switch& theSwitch = context_.session.theSwitch();
  for (const auto& [id, kind] : theSwitch.l3Interfaces) {
    offer(nameOf(id));
  }
}

void Completer::offerTypes() {
  for (const std::string& name : typeNames()) {
    offer(name);
  }
}

/// A path that leads nowhere has no candidates.
void Completer::offerPaths(ArgumentKind kind) {
  const Unfinished step = lastStep(word_);
  try {
    if (step.isKey) {
      offerKeys(step.before, kind);
    } else if (!step.before.empty()) {
      offerAttributes(step.before, kind);
    } else {
      for (const Root& root : context_.roots) {
        offer(root.name + ".");
      }
    }
  } catch (const CommandError&) {
    found_.clear();
  }
}

/// Behind an entry, paths go on where entries have attributes.
void Completer::offerKeys(std::string_view collection, ArgumentKind kind) {
  const Place place(pathOf(collection), context_.roots);
  const bool goesOn = !place.attribute().attr->type()->attrs().empty();
  for (auto entry = place.entries(); entry; ++entry) {
    const std::string path =
        std::string(collection) + bracketed(std::string(entry.key()->strRep().view()));
    if (kind == ArgumentKind::readable || kind == ArgumentKind::writable) offer(path);
    if (goesOn) offer(path + ".");
  }
}

void Completer::offerAttributes(std::string_view owner, ArgumentKind kind) {
  const auto object = Place(pathOf(owner), context_.roots).read();
  if (!object) return;
  for (const auto& attr : object->type()->attrs()) {
    offerAttribute(std::string(owner) + "." + attr->name().charPtr(), *attr, kind);
  }
}

void Completer::offerAttribute(const std::string& path, const Kob::KobAttr& attr,
                               ArgumentKind kind) {
  if (attr.kindCode() == Kob::KobAttr::functionKind) {
    if (kind == ArgumentKind::function) offer(path + "(");
  } else if (attr.keyType() != nullptr) {
    if (kind == ArgumentKind::collection) offer(path);
    offer(path + "[");
  } else {
    if (kind == ArgumentKind::readable) offer(path);
    if (!attr.type()->attrs().empty()) offer(path + ".");
  }
}

void offerWords(Completer& completer, std::initializer_list<const char*> words) {
  for (const char* word : words) {
    completer.offer(word);
  }
}

void offerTraceWords(Completer& completer, std::size_t place) {
  if (place == 0) {
    for (const std::string_view facility : traceFacilities()) {
      completer.offer(std::string(facility) + " ");
    }
  } else if (place == 1) {
    for (unsigned level = 0; level < Kob::TraceFacility::levels; ++level) {
      completer.offer(std::to_string(level) + " ");
    }
  } else if (place == 2) {
    offerWords(completer, {"on", "off"});
  }
}

/// `place` counts the arguments before the one that is completed.
void offerArguments(Completer& completer, ArgumentKind kind, std::size_t place) {
  switch (kind) {
    case ArgumentKind::none:
    case ArgumentKind::anything:
      return;
    case ArgumentKind::interface:
      return completer.offerInterfaces();
    case ArgumentKind::traceLevel:
      return offerTraceWords(completer, place);
    default:
      break;
  }
  if (place > 0) return;
  switch (kind) {
    case ArgumentKind::command:
      return completer.offerCommands();
    case ArgumentKind::onOff:
      return offerWords(completer, {"on", "off"});
    case ArgumentKind::type:
      return completer.offerTypes();
    default:
      return completer.offerPaths(kind);
  }
}

/// The words of the text; the last one is empty where a blank stands before the cursor.
std::vector<std::string_view> splitAtBlanks(std::string_view text) {
  std::vector<std::string_view> words;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::size_t end = text.find(' ');
    words.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return words;
    text.remove_prefix(end);
  }
}

}  // namespace

std::vector<std::string> completionsOf(std::string_view textBeforeCursor,
                                       const ShellContext& context) {
  const auto words = splitAtBlanks(textBeforeCursor);
  Completer completer(words.back(), context);
  if (words.size() == 1) {
    completer.offerCommands();
  } else if (const ShellCommand* const command = shellCommand(words.front())) {
    offerArguments(completer, command->argumentKind, words.size() - 2);
  }
  return std::move(completer).found();
}

}  // namespace Agent
