#include "agent/TypeListing.h"

#include <algorithm>

#include "Kob/GenericValue.h"

namespace Agent {
namespace {

using Kob::KobAttr;
using Kob::KobType;
using nlohmann::ordered_json;

std::string qualified(const KobType* type) { return type->qualifiedName().charPtr(); }

bool isFunction(const KobAttr& attr) { return attr.kindCode() == KobAttr::functionKind; }

/// Whether nothing comes of calling it.
bool hasNoResult(const KobAttr& attr) {
  return isFunction(attr) && attr.type() == Kob::TypeOf<void>::type();
}

std::string parametersOf(const KobAttr& node) {
  std::string text;
  for (const KobAttr::Parameter& parameter : node.parameters()) {
    text += (text.empty() ? "" : ", ") + std::string(parameter.name.charPtr()) + ": " +
            parameter.typeName.charPtr();
  }
  return "(" + text + ")";
}

std::string declarationOf(const KobAttr& attr) {
  std::string text = attr.name().charPtr();
  if (attr.keyType() != nullptr) text += "[" + qualified(attr.keyType()) + "]";
  if (isFunction(attr)) text += parametersOf(attr);
  if (!hasNoResult(attr)) text += ": " + qualified(attr.type());
  if (attr.kindCode() == KobAttr::instantiatingKind) text += ", made from " + parametersOf(attr);
  return text;
}

std::string kindOf(const KobAttr& attr) {
  if (isFunction(attr)) return "function";
  return attr.keyType() != nullptr ? "collection" : "value";
}

ordered_json parametersJson(const KobAttr& node) {
  ordered_json list = ordered_json::array();
  for (const KobAttr::Parameter& parameter : node.parameters()) {
    list.push_back({{"name", parameter.name.charPtr()}, {"type", parameter.typeName.charPtr()}});
  }
  return list;
}

ordered_json orNull(const KobType* type) {
  return type != nullptr ? ordered_json(qualified(type)) : ordered_json(nullptr);
}

ordered_json jsonOf(const KobAttr& attr) {
  ordered_json object;
  object["name"] = attr.name().charPtr();
  object["id"] = attr.id() != 0 ? ordered_json(attr.id()) : ordered_json(nullptr);
  object["kind"] = kindOf(attr);
  object["type"] = orNull(hasNoResult(attr) ? nullptr : attr.type());
  object["key"] = orNull(attr.keyType());
  object["parameters"] = parametersJson(attr);
  object["flags"] = {attr.flags().first, attr.flags().second};
  return object;
}

}  // namespace

KobType* typeNamed(std::string_view name) {
  if (KobType* const type = KobType::typeNode(Kob::Name(name))) return type;
  const auto& types = KobType::typeNodes();
  const auto found = std::find_if(types.begin(), types.end(), [name](const KobType* type) {
    return type->name().view() == name;
  });
  return found == types.end() ? nullptr : *found;
}

std::vector<std::string> typeNames() {
  std::vector<std::string> names;
  for (const KobType* type : KobType::typeNodes()) {
    names.push_back(qualified(type));
  }
  return names;
}

std::string textOf(const KobType& type) {
  std::string text = qualified(&type);
  if (type.base() != nullptr) text += ": " + qualified(type.base());
  text += "\n";
  if (!type.parameters().empty()) text += "  made from " + parametersOf(type) + "\n";
  for (const auto& attr : type.attrs()) {
    const std::string id = attr->id() != 0 ? std::to_string(attr->id()) : "-";
    text += std::string(5 - std::min<std::size_t>(id.size(), 5), ' ') + id + "  " +
            declarationOf(*attr) + "\n";
  }
  return text;
}

ordered_json jsonOf(const KobType& type) {
  ordered_json object;
  object["type"] = qualified(&type);
  object["base"] = orNull(type.base());
  object["size"] =
      type.instanceSize() != 0 ? ordered_json(type.instanceSize()) : ordered_json(nullptr);
  object["key"] = orNull(type.keyType());
  object["constructor"] = parametersJson(type);
  object["attributes"] = ordered_json::array();
  for (const auto& attr : type.attrs()) {
    object["attributes"].push_back(jsonOf(*attr));
  }
  return object;
}

}  // namespace Agent
