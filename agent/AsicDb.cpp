#include "agent/AsicDb.h"

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "agent/InterfaceName.h"
#include "agent/JsonValue.h"

namespace Agent {
namespace {

using nlohmann::json;
using Plexo::IntfId;

constexpr std::string_view dumpPrefix = "ASIC_STATE:";
constexpr std::string_view typePrefix = "SAI_OBJECT_TYPE_";

/// Why an object has no name: a clause for the operator.
class Unnamed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string hexText(std::uint64_t id) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  do {
    text.insert(text.begin(), digits[id & 0xFU]);
    id >>= 4U;
  } while (id != 0);
  return "oid:0x" + text;
}

/// One object of the dump: its key is its type and its object id.
struct Object {
  std::string_view type;
  std::string_view idText;
};

/// None for keys of other tables and for entries that are keyed by something else than an id.
std::optional<Object> objectOf(std::string_view key) {
  if (!key.starts_with(dumpPrefix)) return std::nullopt;
  key.remove_prefix(dumpPrefix.size());
  if (!key.starts_with(typePrefix)) return std::nullopt;
  key.remove_prefix(typePrefix.size());
  const std::size_t end = key.find(':');
  if (end == std::string_view::npos) return std::nullopt;
  return Object{key.substr(0, end), key.substr(end + 1)};
}

class Reader {
 public:
  Reader(const Document& document, const Switch& theSwitch, Problems& problems);

  RouterInterfaces read();

 private:
  void collect(std::string_view type, std::uint64_t id, const json& attributes);
  void readRouterInterface(const std::string& key, std::uint64_t id, const json& attributes);
  [[nodiscard]] std::string nameOfRouterInterface(const std::string& type,
                                                  const json& attributes) const;
  [[nodiscard]] std::string portOrChannelName(std::uint64_t id) const;
  [[nodiscard]] std::string portChannelName(std::uint64_t id) const;
  [[nodiscard]] std::string vlanInterfaceName(std::uint64_t id) const;
  [[nodiscard]] std::string subInterfaceNameOf(const json& attributes) const;
  void report(ProblemKind kind, const std::string& key, std::string found);

  static const json* attribute(const json& attributes, std::string_view name);
  static std::optional<std::uint64_t> idAttribute(const json& attributes, std::string_view name);
  static std::uint64_t neededId(const json& attributes, std::string_view name);

  const Document& document_;
  const Switch& switch_;
  Problems& problems_;
  std::map<std::uint64_t, std::string> portNames_;
  std::map<std::uint64_t, Bridging::VlanId> vlans_;
  /// Every port channel with its member ports.
  std::map<std::uint64_t, std::set<std::uint64_t>> channels_;
  /// The first interface, in natural order, of each VLAN, and of each parent and outer VLAN.
  std::map<Bridging::VlanId, IntfId> vlanInterfaces_;
  std::map<std::pair<IntfId, Bridging::VlanId>, IntfId> subInterfaces_;
  RouterInterfaces routerInterfaces_;
};

Reader::Reader(const Document& document, const Switch& theSwitch, Problems& problems)
    : document_(document), switch_(theSwitch), problems_(problems) {
  for (const auto& [id, vlan] : switch_.vlanInterfaces) {
    vlanInterfaces_.emplace(vlan, id);
  }
  for (const auto& [id, settings] : switch_.subInterfaces) {
    subInterfaces_.emplace(std::pair(settings.parent, settings.encapsulation), id);
  }
}

RouterInterfaces Reader::read() {
  std::vector<std::pair<const std::string*, std::uint64_t>> routers;
  for (const auto& [key, attributes] : document_.root().items()) {
    const auto object = objectOf(key);
    if (!object) continue;
    const auto id = objectId(object->idText);
    if (object->type == "ROUTER_INTERFACE") {
      if (id && attributes.is_object()) {
        routers.emplace_back(&key, *id);
      } else {
        report(ProblemKind::badObjectId, key,
               "no object id of the form oid:0x..., or no object of attributes");
      }
    } else if (id) {
      collect(object->type, *id, attributes);
    }
  }
  for (const auto& [key, id] : routers) {
    readRouterInterface(*key, id, document_.root().at(*key));
  }
  return std::move(routerInterfaces_);
}

void Reader::collect(std::string_view type, std::uint64_t id, const json& attributes) {
  if (type == "HOSTIF") {
    const json* name = attribute(attributes, "SAI_HOSTIF_ATTR_NAME");
    const auto port = idAttribute(attributes, "SAI_HOSTIF_ATTR_OBJ_ID");
    // A name that no interface can have may be as long as the file, and name many objects.
    if (name != nullptr && stringOf(*name) != nullptr && interfaceNamed(*stringOf(*name)) && port) {
      portNames_.emplace(*port, *stringOf(*name));
    }
  } else if (type == "VLAN") {
    const json* number = attribute(attributes, "SAI_VLAN_ATTR_VLAN_ID");
    const auto vlan = number == nullptr ? std::nullopt : vlanOf(*number);
    if (vlan) vlans_.emplace(id, *vlan);
  } else if (type == "LAG") {
    channels_[id];
  } else if (type == "LAG_MEMBER") {
    const auto channel = idAttribute(attributes, "SAI_LAG_MEMBER_ATTR_LAG_ID");
    const auto port = idAttribute(attributes, "SAI_LAG_MEMBER_ATTR_PORT_ID");
    if (channel && port) channels_[*channel].insert(*port);
  }
}

void Reader::readRouterInterface(const std::string& key, std::uint64_t id, const json& attributes) {
  const json* value = attribute(attributes, "SAI_ROUTER_INTERFACE_ATTR_TYPE");
  const std::string type = value == nullptr || stringOf(*value) == nullptr ? "" : *stringOf(*value);
  if (type == "SAI_ROUTER_INTERFACE_TYPE_LOOPBACK") return;
  try {
    routerInterfaces_.push_back({"ASIC_STATE", key.substr(dumpPrefix.size()),
                                 nameOfRouterInterface(type, attributes), indexOf(id)});
  } catch (const Unnamed& reason) {
    report(ProblemKind::unnamedIndex, key,
           "index " + std::to_string(indexOf(id)) + ": " + reason.what());
  }
}

std::string Reader::nameOfRouterInterface(const std::string& type, const json& attributes) const {
  if (type == "SAI_ROUTER_INTERFACE_TYPE_PORT") {
    return portOrChannelName(neededId(attributes, "SAI_ROUTER_INTERFACE_ATTR_PORT_ID"));
  }
  if (type == "SAI_ROUTER_INTERFACE_TYPE_LAG") {
    return portChannelName(neededId(attributes, "SAI_ROUTER_INTERFACE_ATTR_PORT_ID"));
  }
  if (type == "SAI_ROUTER_INTERFACE_TYPE_VLAN") {
    return vlanInterfaceName(neededId(attributes, "SAI_ROUTER_INTERFACE_ATTR_VLAN_ID"));
  }
  if (type == "SAI_ROUTER_INTERFACE_TYPE_SUB_PORT") return subInterfaceNameOf(attributes);
  throw Unnamed("a router interface of type \"" + type + "\" has no name here");
}

std::string Reader::portOrChannelName(std::uint64_t id) const {
  if (const auto port = portNames_.find(id); port != portNames_.end()) return port->second;
  if (channels_.contains(id)) return portChannelName(id);
  throw Unnamed("no host interface names the port " + hexText(id));
}

/// The one channel that the configuration puts the members in.
std::string Reader::portChannelName(std::uint64_t id) const {
  const auto channel = channels_.find(id);
  if (channel == channels_.end() || channel->second.empty()) {
    throw Unnamed("the port channel " + hexText(id) + " has no members to tell its name");
  }
  std::set<IntfId> names;
  for (const std::uint64_t member : channel->second) {
    const auto port = portNames_.find(member);
    const auto name = port == portNames_.end() ? std::nullopt : interfaceNamed(port->second);
    const auto found = name ? switch_.channelOf.find(*name) : switch_.channelOf.end();
    if (found != switch_.channelOf.end()) names.insert(found->second);
  }
  if (names.size() == 1) return nameOf(*names.begin());
  throw Unnamed("the members of the port channel " + hexText(id) +
                (names.empty() ? " are in no port channel of the configuration"
                               : " are in several port channels of the configuration"));
}

std::string Reader::vlanInterfaceName(std::uint64_t id) const {
  const auto vlan = vlans_.find(id);
  if (vlan == vlans_.end()) throw Unnamed("the VLAN " + hexText(id) + " has no number");
  const auto found = vlanInterfaces_.find(vlan->second);
  return found != vlanInterfaces_.end() ? nameOf(found->second)
                                        : "Vlan" + std::to_string(vlan->second.value());
}

std::string Reader::subInterfaceNameOf(const json& attributes) const {
  const std::string parent =
      portOrChannelName(neededId(attributes, "SAI_ROUTER_INTERFACE_ATTR_PORT_ID"));
  const json* tag = attribute(attributes, "SAI_ROUTER_INTERFACE_ATTR_OUTER_VLAN_ID");
  const auto vlan = tag == nullptr ? std::nullopt : vlanOf(*tag);
  if (!vlan) throw Unnamed("SAI_ROUTER_INTERFACE_ATTR_OUTER_VLAN_ID is no VLAN number");
  const auto parentId = interfaceNamed(parent).value_or(IntfId());
  const auto found = subInterfaces_.find(std::pair(parentId, *vlan));
  if (found != subInterfaces_.end()) return nameOf(found->second);
  throw Unnamed("no sub-interface of " + parent + " has VLAN " + std::to_string(vlan->value()));
}

void Reader::report(ProblemKind kind, const std::string& key, std::string found) {
  addProblem(problems_, {kind, document_.name(), "ASIC_STATE", key.substr(dumpPrefix.size()),
                         std::move(found), "the index is not fed"});
}

const json* Reader::attribute(const json& attributes, std::string_view name) {
  return memberOf(attributes, name);
}

std::optional<std::uint64_t> Reader::idAttribute(const json& attributes, std::string_view name) {
  const json* value = attribute(attributes, name);
  const std::string* text = value == nullptr ? nullptr : stringOf(*value);
  return text == nullptr ? std::nullopt : objectId(*text);
}

std::uint64_t Reader::neededId(const json& attributes, std::string_view name) {
  const auto id = idAttribute(attributes, name);
  if (!id) throw Unnamed(std::string(name) + " is no object id");
  return *id;
}

}  // namespace

bool isAsicDb(const json& root) {
  if (!root.is_object()) return false;
  const auto first = root.get_ref<const json::object_t&>().lower_bound(std::string(dumpPrefix));
  return first != root.get_ref<const json::object_t&>().end() &&
         first->first.starts_with(dumpPrefix);
}

RouterInterfaces readAsicDb(const Document& document, const Switch& theSwitch, Problems& problems) {
  return Reader(document, theSwitch, problems).read();
}

}  // namespace Agent
