#include "agent/ConfigurationPatch.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "agent/JsonPointer.h"
#include "agent/JsonValue.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::json;

/// An operation that cannot be carried out; what() says why.
class BadOperation : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// How much a value takes.
struct Extent {
  std::size_t values = 0;
  /// Of keys and strings.
  std::size_t bytes = 0;

  void add(const json& value);
};

void Extent::add(const json& value) {
  ++values;
  if (const std::string* text = stringOf(value)) bytes += text->size();
  if (!value.is_structured()) return;
  for (auto part = value.begin(); part != value.end(); ++part) {
    if (value.is_object()) bytes += part.key().size();
    add(*part);
  }
}

std::size_t depthOf(const json& value) {
  std::size_t deepest = 0;
  if (!value.is_structured()) return deepest;
  for (const json& part : value) {
    deepest = std::max(deepest, depthOf(part));
  }
  return deepest + 1;
}

/// Carries the operations of one patch out.
class Patcher {
 public:
  explicit Patcher(json root) : root_(std::move(root)) {}

  /// Throws BadOperation or PointerError.
  void carryOut(const json& operation);
  [[nodiscard]] json result() { return std::move(root_); }

 private:
  void add(const json& operation);
  void remove(const json& operation);
  void replace(const json& operation);
  void move(const json& operation);
  void copy(const json& operation);
  void test(const json& operation);
  void put(const JsonPointer& path, json value);

  json root_;
  Extent copied_;
};

const json& member(const json& operation, const char* name) {
  const json* found = memberOf(operation, name);
  if (found == nullptr) throw BadOperation(std::string("it has no \"") + name + "\"");
  return *found;
}

const std::string& text(const json& operation, const char* name) {
  const std::string* found = stringOf(member(operation, name));
  if (found == nullptr) throw BadOperation(std::string("\"") + name + "\" is no string");
  return *found;
}

JsonPointer pathOf(const json& operation) { return JsonPointer(text(operation, "path")); }

/// What stands at `from`; a failure there says so.
json& sourceOf(const json& operation, json& root) {
  try {
    return JsonPointer(text(operation, "from")).in(root);
  } catch (const PointerError& error) {
    throw BadOperation("from " + text(operation, "from") + ": " + error.what());
  }
}

void Patcher::carryOut(const json& operation) {
  struct Entry {
    const char* name;
    void (Patcher::*carryOut)(const json&);
  };
  static constexpr std::array<Entry, 6> entries{{{"add", &Patcher::add},
                                                 {"remove", &Patcher::remove},
                                                 {"replace", &Patcher::replace},
                                                 {"move", &Patcher::move},
                                                 {"copy", &Patcher::copy},
                                                 {"test", &Patcher::test}}};
  if (!operation.is_object()) {
    throw BadOperation("it is " + describe(operation) + ", not an object");
  }
  const std::string& name = text(operation, "op");
  for (const Entry& entry : entries) {
    if (entry.name == name) return (this->*entry.carryOut)(operation);
  }
  throw BadOperation("there is no operation \"" + name +
                     "\"; op is add, remove, replace, move, copy or test");
}

void Patcher::add(const json& operation) {
  const JsonPointer path = pathOf(operation);
  put(path, member(operation, "value"));
}

void Patcher::remove(const json& operation) {
  const JsonPointer path = pathOf(operation);
  if (path.isRoot()) throw BadOperation("the whole document cannot be removed");
  path.remove(root_);
}

void Patcher::replace(const json& operation) {
  const JsonPointer path = pathOf(operation);
  static_cast<void>(path.in(root_));
  const json& value = member(operation, "value");
  if (!path.isRoot()) path.remove(root_);
  put(path, value);
}

void Patcher::move(const json& operation) {
  const JsonPointer path = pathOf(operation);
  json& source = sourceOf(operation, root_);
  const JsonPointer from(text(operation, "from"));
  if (from.isProperPrefixOf(path)) throw BadOperation("a value cannot be moved into itself");
  json value = std::move(source);
  if (!from.isRoot()) from.remove(root_);
  put(path, std::move(value));
}

void Patcher::copy(const json& operation) {
  const JsonPointer path = pathOf(operation);
  json value = sourceOf(operation, root_);
  copied_.add(value);
  if (copied_.values > mostCopiedValues) {
    throw BadOperation("the patch copies more than " + std::to_string(mostCopiedValues) +
                       " values");
  }
  if (copied_.bytes > mostCopiedBytes) {
    throw BadOperation("the patch copies more than " + std::to_string(mostCopiedBytes >> 20U) +
                       " MiB");
  }
  put(path, std::move(value));
}

void Patcher::test(const json& operation) {
  const json& found = pathOf(operation).in(root_);
  if (found != member(operation, "value")) {
    throw BadOperation("the value there is " + describe(found) + ", not the one in the patch");
  }
}

void Patcher::put(const JsonPointer& path, json value) {
  if (path.depth() + depthOf(value) > Document::deepest) {
    throw BadOperation("the document would have more than " + std::to_string(Document::deepest) +
                       " objects and arrays within each other");
  }
  path.add(root_, std::move(value));
}

/// "operation 3 (remove /VLAN/Vlan10)".
std::string titleOf(std::size_t number, const json& operation) {
  std::string title;
  for (const char* name : {"op", "path"}) {
    const json* found = memberOf(operation, name);
    const std::string* part = found == nullptr ? nullptr : stringOf(*found);
    if (part != nullptr && !part->empty()) title += (title.empty() ? "" : " ") + *part;
  }
  return "operation " + std::to_string(number) +
         (title.empty() ? "" : " (" + printable(title) + ")");
}

}  // namespace

void refuseUnlessPatch(const Document& patch) {
  if (!patch.repeatedKeys().empty()) {
    throw UnreadableInput(patch.name(), "no JSON Patch: the key \"" +
                                            printable(patch.repeatedKeys().front().key) +
                                            "\" stands twice in one object");
  }
  if (!patch.root().is_array()) {
    throw UnreadableInput(patch.name(), "no JSON Patch: the document is " +
                                            printable(describe(patch.root())) +
                                            "; give a list of operations");
  }
}

json patched(const json& root, const Document& patch) {
  refuseUnlessPatch(patch);
  Patcher patcher(root);
  std::size_t number = 0;
  for (const json& operation : patch.root()) {
    ++number;
    try {
      patcher.carryOut(operation);
    } catch (const std::runtime_error& error) {
      throw UnreadableInput(patch.name(),
                            titleOf(number, operation) + ": " + printable(error.what()));
    }
  }
  return patcher.result();
}

}  // namespace Agent
