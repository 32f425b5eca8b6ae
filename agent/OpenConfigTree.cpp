#include "agent/OpenConfigTree.h"

#include <nlohmann/json.hpp>
#include <span>

#include "agent/JsonValue.h"

namespace Agent {

using nlohmann::json;

namespace {

enum class Type { object, list, text, truth };

/// A part of the tree: its type, and the parts in it or in each object of the list that it is.
struct Part {
  std::string_view name;
  Type type;
  std::span<const Part> parts;
};

constexpr Part settings[] = {
    {"type", Type::text, {}},
    {"enabled", Type::truth, {}},
    {"management", Type::truth, {}},
    {"interface-mode", Type::text, {}},
};
constexpr Part settled[] = {
    {"config", Type::object, settings},
    {"state", Type::object, settings},
};
constexpr Part addressList[] = {{"address", Type::list, {}}};
constexpr Part ip[] = {
    {"config", Type::object, settings},
    {"state", Type::object, settings},
    {"addresses", Type::object, addressList},
};
constexpr Part match[] = {{"single-tagged", Type::object, settled}};
constexpr Part tag[] = {
    {"config", Type::object, settings},
    {"state", Type::object, settings},
    {"match", Type::object, match},
};
constexpr Part subInterface[] = {
    {"config", Type::object, settings}, {"state", Type::object, settings},
    {"ipv4", Type::object, ip},         {"ipv6", Type::object, ip},
    {"vlan", Type::object, tag},
};
constexpr Part subInterfaceList[] = {{"subinterface", Type::list, subInterface}};
constexpr Part link[] = {
    {"config", Type::object, settings},
    {"state", Type::object, settings},
    {"switched-vlan", Type::object, settled},
};
constexpr Part wholeInterface[] = {
    {"config", Type::object, settings},
    {"state", Type::object, settings},
    {"ethernet", Type::object, link},
    {"aggregation", Type::object, link},
    {"switched-vlan", Type::object, settled},
    {"routed-vlan", Type::object, settled},
    {"subinterfaces", Type::object, subInterfaceList},
};

bool isOfType(const json& value, Type type) {
  switch (type) {
    case Type::object:
      return value.is_object();
    case Type::list:
      return value.is_array();
    case Type::text:
      return value.is_string();
    case Type::truth:
      return value.is_boolean() || value == "true" || value == "false";
  }
  return false;
}

std::string_view wantedOf(Type type) {
  switch (type) {
    case Type::object:
      return "an object";
    case Type::list:
      return "a list";
    case Type::text:
      return "a text";
    case Type::truth:
      return "true or false";
  }
  return "";
}

/// Goes as deep as the parts above do.
void collect(const json& node, std::span<const Part> parts, const std::string& path,
             std::vector<Misshapen>& misshapen) {
  for (const Part& part : parts) {
    const json* value = child(&node, part.name);
    if (value == nullptr) continue;
    const std::string partPath = path + std::string(part.name);
    if (!isOfType(*value, part.type)) {
      misshapen.push_back({partPath, wantedOf(part.type), value});
    } else if (part.type == Type::object) {
      collect(*value, part.parts, partPath + "/", misshapen);
    } else if (part.type == Type::list) {
      for (const json& item : *value) {
        if (item.is_object()) {
          collect(item, part.parts, partPath + "/", misshapen);
        } else {
          misshapen.push_back({partPath, "a list of objects", &item});
        }
      }
    }
  }
}

}  // namespace

std::string_view withoutModule(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  return colon == std::string_view::npos ? text : text.substr(colon + 1);
}

const json* child(const json* node, std::string_view name) {
  if (node == nullptr || !node->is_object()) return nullptr;
  for (const auto& [key, value] : node->get_ref<const json::object_t&>()) {
    if (withoutModule(key) == name) return &value;
  }
  return nullptr;
}

const json* child(const json* node, std::initializer_list<std::string_view> path) {
  for (const std::string_view name : path) {
    node = child(node, name);
  }
  return node;
}

const json* setting(const json* node, std::string_view name) {
  const json* configured = child(node, {"config", name});
  return configured != nullptr ? configured : child(node, {"state", name});
}

std::string_view nameSetting(const json* node, std::string_view name) {
  const json* value = setting(node, name);
  const std::string* text = value == nullptr ? nullptr : stringOf(*value);
  return text == nullptr ? std::string_view() : withoutModule(*text);
}

bool isTrue(const json* value) { return value != nullptr && (*value == true || *value == "true"); }

bool isFilledList(const json* value) {
  return value != nullptr && value->is_array() && !value->empty();
}

std::vector<Misshapen> misshapenParts(const json& interface) {
  std::vector<Misshapen> misshapen;
  collect(interface, wholeInterface, "", misshapen);
  return misshapen;
}

}  // namespace Agent
