#include "agent/ValueText.h"

#include <optional>
#include <utility>

#include "Kob/GenericValue.h"
#include "agent/CommandError.h"
#include "agent/Refusal.h"
#include "agent/Text.h"
#include "platform/L3Id.h"
#include "platform/VlanId.h"

namespace Agent {
namespace {

using Kob::GenericIf;
using Kob::KobAttr;
using Kob::KobType;
using Kob::Ptr;
using nlohmann::ordered_json;

// From text

/// Objects have none, and that of a set is a placeholder which nothing can be made of.
bool hasTextForm(const KobType& type) {
  return type.keyType() == nullptr && !type.isA(Kob::PtrInterface::_fwkType());
}

template <class Action>
auto asked(std::string_view text, const Action& action) {
  try {
    return action();
  } catch (const Kob::Exception& refusal) {
    throw CommandError("\"" + printable(text) + "\": " + printable(wordsOf(refusal)));
  }
}

std::string unquoted(std::string_view text) {
  if (!text.starts_with('"')) return std::string(text);
  std::string_view rest = text;
  std::string content = takeQuoted(rest);
  if (!rest.empty()) {
    throw CommandError("\"" + printable(rest) + "\" is too much after a quotation mark");
  }
  return content;
}

Ptr<GenericIf> fromText(std::string_view text, KobType& type) {
  const std::string content = unquoted(text);
  return asked(text,
               [&] { return type.genericIf(Kob::String8(std::string_view(content)), false); });
}

bool isList(std::string_view text) { return text.starts_with('(') && text.ends_with(')'); }

Ptr<GenericIf> fromList(std::string_view text, KobType& type, const Roots& roots) {
  const auto list = argumentsFrom(text.substr(1, text.size() - 2), type.parameters(), roots);
  return asked(text, [&] { return type.genericIf(list.get(), false); });
}

Ptr<GenericIf> valueOf(std::string_view text, KobType& type, const Roots& roots) {
  if (hasTextForm(type)) return fromText(text, type);
  if (type.keyType() != nullptr && isList(text)) return fromList(text, type, roots);
  return Place(pathOf(text), roots).read();
}

/// Where the argument at the front of the text ends: at a comma outside brackets and quotation
/// marks, or at the end.
std::size_t endOfArgument(std::string_view text) {
  bool isQuoted = false;
  unsigned depth = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (isQuoted) {
      if (c == '\\') ++at;
      isQuoted = c != '"';
    } else if (c == '"') {
      isQuoted = true;
    } else if (c == '[') {
      ++depth;
    } else if (c == ']' && depth > 0) {
      --depth;
    } else if (c == ',' && depth == 0) {
      return at;
    }
  }
  return text.size();
}

std::vector<std::string_view> splitArguments(std::string_view text) {
  std::vector<std::string_view> arguments;
  if (trimmed(text).empty()) return arguments;
  while (true) {
    const std::size_t end = endOfArgument(text);
    arguments.push_back(trimmed(text.substr(0, end)));
    if (end == text.size()) return arguments;
    text.remove_prefix(end + 1);
  }
}

// To text

/// Whether it is of one of the types whose text is a number.
bool isNumber(const GenericIf& value) {
  return Kob::valueIn<unsigned>(&value) != nullptr ||
         Kob::valueIn<Bridging::VlanId>(&value) != nullptr ||
         Kob::valueIn<Bridging::VlanIdOrNone>(&value) != nullptr ||
         Kob::valueIn<FyrL3Intf::L3Id>(&value) != nullptr;
}

std::string textOf(const GenericIf& value) {
  const std::string text = printable(value.strRep().view());
  return text.empty() ? "\"\"" : text;
}

std::string setText(const GenericIf& set) {
  std::string text;
  for (const auto& attr : set.type()->attrs()) {
    for (auto entry = set.attributeIteratorConst(attr->id()); entry; ++entry) {
      text += (text.empty() ? "" : ", ") + textOf(*entry.key()) + ": " + briefText(entry.value());
    }
  }
  return "{" + text + "}";
}

ordered_json setJson(const GenericIf& set) {
  ordered_json object = ordered_json::object();
  for (const auto& attr : set.type()->attrs()) {
    ordered_json& entries = object[attr->name().charPtr()] = ordered_json::object();
    for (auto entry = set.attributeIteratorConst(attr->id()); entry; ++entry) {
      entries[entry.key()->strRep().charPtr()] = briefJson(entry.value());
    }
  }
  return object;
}

ordered_json typeJson(const GenericIf& object) {
  return {{"type", object.type()->qualifiedName().charPtr()}};
}

/// What an object's attribute that is no function shows: the value, or a collection's size.
struct Shown {
  Ptr<GenericIf> value;
  bool isCount;
};

Shown shown(const Ptr<GenericIf>& owner, const KobAttr& attr) {
  const LiveAttribute attribute{owner, &attr, nullptr};
  const bool isCount = attribute.isCollection();
  return {attribute.operate(isCount ? GenericIf::countOperation : GenericIf::readOperation),
          isCount};
}

}  // namespace

Ptr<GenericIf> valueFrom(std::string_view text, const KobAttr& attr, const Roots& roots) {
  if (attr.kindCode() != KobAttr::instantiatingKind) return valueOf(text, *attr.type(), roots);
  auto parameters = attr.parameters();
  parameters.pop_back();
  return argumentsFrom(text, parameters, roots);
}

Ptr<GenericIf> argumentsFrom(std::string_view text,
                             const std::vector<KobAttr::Parameter>& parameters,
                             const Roots& roots) {
  std::vector<Ptr<GenericIf>> elements;
  for (const std::string_view argument : splitArguments(text)) {
    KobType* const type = elements.size() < parameters.size()
                              ? KobType::typeNode(parameters[elements.size()].typeName)
                              : Kob::TypeOf<Kob::Name>::type();
    elements.push_back(valueOf(argument, *type, roots));
  }
  return {new GenericIf::List_(std::move(elements))};
}

std::string briefText(const Ptr<const GenericIf>& value) {
  if (!value) return "null";
  if (!isValue(*value)) return value->type()->qualifiedName().charPtr();
  return value->type()->keyType() != nullptr ? setText(*value) : textOf(*value);
}

ordered_json briefJson(const Ptr<const GenericIf>& value) {
  if (!value) return nullptr;
  if (!isValue(*value)) return typeJson(*value);
  if (value->type()->keyType() != nullptr) return setJson(*value);
  if (const bool* const truth = Kob::valueIn<bool>(value.get())) return *truth;
  std::string text(value->strRep().view());
  if (const auto number = isNumber(*value) ? decimal(text) : std::nullopt) return *number;
  return text;
}

std::string wholeText(const Ptr<GenericIf>& value) {
  std::string text = briefText(value) + "\n";
  if (!value || isValue(*value)) return text;
  for (const auto& attr : value->type()->attrs()) {
    if (attr->kindCode() == KobAttr::functionKind) continue;
    const auto [content, isCount] = shown(value, *attr);
    text += std::string("  ") + attr->name().charPtr() + ": " + briefText(content);
    if (isCount) text += textOf(*content) == "1" ? " entry" : " entries";
    text += "\n";
  }
  return text;
}

ordered_json wholeJson(const Ptr<GenericIf>& value) {
  if (!value || isValue(*value)) return briefJson(value);
  ordered_json object = typeJson(*value);
  ordered_json& attributes = object["attributes"] = ordered_json::object();
  for (const auto& attr : value->type()->attrs()) {
    if (attr->kindCode() == KobAttr::functionKind) continue;
    const auto [content, isCount] = shown(value, *attr);
    ordered_json& member = attributes[attr->name().charPtr()];
    if (isCount) {
      member["entries"] = briefJson(content);
    } else {
      member = briefJson(content);
    }
  }
  return object;
}

}  // namespace Agent
