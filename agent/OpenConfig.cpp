#include "agent/OpenConfig.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "agent/InterfaceName.h"
#include "agent/JsonValue.h"
#include "agent/OpenConfigTree.h"
#include "agent/Progress.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::json;
using Plexo::IntfId;

bool isLayer3(const json& subInterface) {
  return isFilledList(child(&subInterface, {"ipv4", "addresses", "address"})) ||
         isFilledList(child(&subInterface, {"ipv6", "addresses", "address"})) ||
         isTrue(setting(child(&subInterface, "ipv6"), "enabled"));
}

/// The container of the interface's switching; null when it is missing or says nothing.
const json* switchedVlanOf(const json& node) {
  for (const json* holder : {child(&node, "ethernet"), child(&node, "aggregation"), &node}) {
    const json* switched = child(holder, "switched-vlan");
    for (const json* part : {child(switched, "config"), child(switched, "state")}) {
      if (part != nullptr && part->is_object() && !part->empty()) return switched;
    }
  }
  return nullptr;
}

/// A VLAN may also be referred to by a name, which tells no number.
bool isVlanName(const json& value) { return value.is_string() && !unsignedOf(value); }

/// What an interface of the document is to the switch.
enum class Role { vlan, ethernet, aggregate, loopback, leftOut };

Role roleOf(IntfId id, const json& node) {
  const std::string name = nameOf(id);
  const std::string_view type = nameSetting(&node, "type");
  if (type == "softwareLoopback" || isLoopbackName(name)) return Role::loopback;
  if (isManagementName(name) || isTrue(setting(&node, "management"))) return Role::leftOut;
  if (type == "l2vlan" || type == "l3ipvlan" || child(&node, "routed-vlan") != nullptr) {
    return Role::vlan;
  }
  if (type == "ieee8023adLag" || child(&node, "aggregation") != nullptr) return Role::aggregate;
  if (type == "ethernetCsmacd") return Role::ethernet;
  if (!type.empty()) return Role::leftOut;
  if (isPortChannelName(name)) return Role::aggregate;
  return child(&node, "ethernet") != nullptr || name.starts_with("Ethernet") ? Role::ethernet
                                                                             : Role::leftOut;
}

class Reader {
 public:
  Reader(const Document& document, Problems& problems)
      : file_(document.name()), problems_(problems) {}

  Switch read(const json& interfaces);

 private:
  struct Interface {
    Role role;
    const json* node;
  };

  void addInterface(const json& node);
  Role usableRole(IntfId id, const json& node);
  void reportMisshapen(IntfId id, const json& node);
  void readMember(IntfId id, const json& node);
  void readVlanInterface(IntfId id, const json& node);
  std::optional<Bridging::VlanId> vlanOfInterface(IntfId id, const json& node);
  void readPort(IntfId id, const Interface& interface);
  bool isRoutedAsFound(IntfId id, const json& node, bool isSwitched);
  void readSwitchedVlan(IntfId id, const json& switched, SwitchPort& port);
  Bridging::VlanId vlanSetting(IntfId id, const json& switched, std::string_view name);
  void readTrunkVlans(IntfId id, const json& switched);
  void useTrunkVlans();
  void readSubInterfaces(IntfId id, const json& node);
  void readSubInterface(IntfId parent, const json& node);
  Bridging::VlanId encapsulationOf(IntfId id, const json& node);
  void report(ProblemKind kind, std::string key, std::string found, std::string done);
  void report(ProblemKind kind, IntfId id, std::string found, std::string done) {
    report(kind, nameOf(id), std::move(found), std::move(done));
  }

  const std::string& file_;
  Problems& problems_;
  std::map<IntfId, Interface> interfaces_;
  /// The ranges of VLANs on trunks: the first of each with its last.
  std::map<Bridging::VlanId, Bridging::VlanId> trunkVlans_;
  Switch switch_;
};

Switch Reader::read(const json& interfaces) {
  Progress progress("interpreting " + printable(file_), interfaces.size());
  for (const json& node : interfaces) {
    progress.step();
    addInterface(node);
  }
  for (const auto& [id, interface] : interfaces_) {
    if (interface.role == Role::loopback) switch_.loopbacks.insert(id);
  }
  for (const auto& [id, interface] : interfaces_) {
    if (interface.role == Role::ethernet) readMember(id, *interface.node);
  }
  for (const auto& [id, interface] : interfaces_) {
    if (interface.role == Role::vlan) readVlanInterface(id, *interface.node);
  }
  for (const auto& [id, interface] : interfaces_) {
    if (interface.role == Role::ethernet || interface.role == Role::aggregate) {
      readPort(id, interface);
    }
  }
  useTrunkVlans();
  return std::move(switch_);
}

void Reader::addInterface(const json& node) {
  if (!node.is_object()) {
    report(ProblemKind::wrongType, std::string(), "an interface of the list is " + describe(node),
           "it is ignored");
    return;
  }
  const json* listKey = memberOf(node, "name");
  const json* name = listKey != nullptr ? listKey : setting(&node, "name");
  const std::string* text = name == nullptr ? nullptr : stringOf(*name);
  const auto id = text == nullptr ? std::nullopt : interfaceNamed(*text);
  if (!id) {
    report(ProblemKind::badName, text == nullptr ? "" : *text,
           name == nullptr ? "an interface of the list has no name"
                           : "name " + describe(*name) + " is no name of an interface",
           "the interface is ignored");
  } else if (interfaces_.emplace(*id, Interface{usableRole(*id, node), &node}).second) {
    reportMisshapen(*id, node);
  } else {
    report(ProblemKind::repeatedInterface, *id, "the list has the interface twice",
           "the first one counts");
  }
}

/// The library tells VLAN interfaces by their names.
Role Reader::usableRole(IntfId id, const json& node) {
  const Role role = roleOf(id, node);
  const bool isPort = role == Role::ethernet || role == Role::aggregate;
  if (!isPort || !vlanDigits(nameOf(id))) return role;
  report(ProblemKind::wrongTable, id, "no port has the name of a VLAN interface",
         "the interface is ignored");
  return Role::leftOut;
}

void Reader::reportMisshapen(IntfId id, const json& node) {
  for (const auto& [path, wanted, value] : misshapenParts(node)) {
    report(ProblemKind::wrongType, id,
           path + " is " + describe(*value) + ", not " + std::string(wanted), "it is ignored");
  }
}

void Reader::readMember(IntfId id, const json& node) {
  const json* aggregate = setting(child(&node, "ethernet"), "aggregate-id");
  if (aggregate == nullptr) return;
  const std::string* name = stringOf(*aggregate);
  const auto channel = name == nullptr ? std::nullopt : interfaceNamed(*name);
  const auto found = channel ? interfaces_.find(*channel) : interfaces_.end();
  if (!channel || found == interfaces_.end() || found->second.role != Role::aggregate) {
    report(ProblemKind::missingPortChannel, id,
           "aggregate-id " + describe(*aggregate) + " names no aggregate that exists",
           "the membership is ignored");
    return;
  }
  switch_.channelOf.emplace(id, *channel);
}

void Reader::readVlanInterface(IntfId id, const json& node) {
  const auto vlan = vlanOfInterface(id, node);
  if (!vlan) {
    report(ProblemKind::badVlanNumber, id, "no VLAN number from 1 to 4094 belongs to it",
           "the VLAN interface is dropped");
    return;
  }
  if (!vlanDigits(nameOf(id))) {
    report(ProblemKind::vlanNameWithoutNumber, id,
           "the name does not tell its number, " + std::to_string(vlan->value()),
           "the VLAN interface is kept, without a status entry");
  }
  switch_.l3Interfaces.emplace(id, InterfaceKind::vlan);
  switch_.vlanInterfaces.emplace(id, *vlan);
  switch_.usedVlans.insert(*vlan);
}

/// The number in the name is the one that the library goes by.
std::optional<Bridging::VlanId> Reader::vlanOfInterface(IntfId id, const json& node) {
  const auto digits = vlanDigits(nameOf(id));
  const auto byName = digits ? vlanOf(*digits) : std::nullopt;
  const json* field = setting(child(&node, "routed-vlan"), "vlan");
  if (field == nullptr || isVlanName(*field)) return byName;
  const auto byField = vlanOf(*field);
  if (byName && byName != byField) {
    report(byField ? ProblemKind::vlanNumberMismatch : ProblemKind::badVlanNumber, id,
           "the name says VLAN " + std::to_string(byName->value()) + ", routed-vlan says " +
               describe(*field),
           "the number in the name counts");
  }
  return digits ? byName : byField;
}

void Reader::readPort(IntfId id, const Interface& interface) {
  const json& node = *interface.node;
  const json* switched = switchedVlanOf(node);
  const bool isRouted = isRoutedAsFound(id, node, switched != nullptr);
  if (switch_.channelOf.contains(id)) return;
  SwitchPort& port = switch_.ports[id];
  if (switched != nullptr) readSwitchedVlan(id, *switched, port);
  if (!isRouted) return;
  port.mode = Bridging::SwitchportMode::routed;
  switch_.l3Interfaces.emplace(
      id, interface.role == Role::aggregate ? InterfaceKind::portChannel : InterfaceKind::routed);
  readSubInterfaces(id, node);
}

bool Reader::isRoutedAsFound(IntfId id, const json& node, bool isSwitched) {
  const json* list = child(&node, {"subinterfaces", "subinterface"});
  if (!isFilledList(list) || !std::any_of(list->begin(), list->end(), isLayer3)) return false;
  if (const auto member = switch_.channelOf.find(id); member != switch_.channelOf.end()) {
    report(ProblemKind::channelMemberInterface, id,
           "a member of " + nameOf(member->second) + " has addresses or IPv6 enabled",
           "they are ignored");
    return false;
  }
  if (isSwitched) {
    report(ProblemKind::routedVlanMember, id,
           "it has addresses or IPv6 enabled, and a switched-vlan",
           "it is switched, the addresses are ignored");
    return false;
  }
  if (Plexo::InternalIntfId::isInternalIntfId(id)) {
    report(ProblemKind::internalRouted, id, "internal interfaces are never routed",
           "the addresses are ignored");
    return false;
  }
  return true;
}

void Reader::readSwitchedVlan(IntfId id, const json& switched, SwitchPort& port) {
  const json* mode = setting(&switched, "interface-mode");
  const std::string_view name = nameSetting(&switched, "interface-mode");
  if (mode != nullptr && mode->is_string() && name != "ACCESS" && name != "TRUNK") {
    report(ProblemKind::badValue, id,
           "interface-mode " + describe(*mode) + " is neither ACCESS nor TRUNK",
           "it counts as ACCESS");
  }
  const bool isTrunk = name == "TRUNK";
  port.mode = isTrunk ? Bridging::SwitchportMode::trunk : Bridging::SwitchportMode::access;
  const Bridging::VlanId access = vlanSetting(id, switched, "access-vlan");
  const Bridging::VlanId native = vlanSetting(id, switched, "native-vlan");
  port.nativeVlan = isTrunk ? native : access;
  readTrunkVlans(id, switched);
}

/// Unset when the setting is missing or no VLAN.
Bridging::VlanId Reader::vlanSetting(IntfId id, const json& switched, std::string_view name) {
  const json* value = setting(&switched, name);
  if (value == nullptr) return {};
  const auto vlan = vlanOf(*value);
  if (!vlan) {
    report(ProblemKind::badVlanNumber, id,
           std::string(name) + " " + describe(*value) + " is no number from 1 to 4094",
           "the number is dropped");
    return {};
  }
  switch_.usedVlans.insert(*vlan);
  return *vlan;
}

void Reader::readTrunkVlans(IntfId id, const json& switched) {
  const json* list = setting(&switched, "trunk-vlans");
  if (list == nullptr) return;
  if (!list->is_array()) {
    report(ProblemKind::wrongType, id, "trunk-vlans is " + describe(*list) + ", not a list",
           "the trunk VLANs are ignored");
    return;
  }
  for (const json& item : *list) {
    const auto range = vlanRangeOf(item);
    if (!range) {
      report(
          ProblemKind::badVlanNumber, id,
          "trunk-vlans holds " + describe(item) + ", no VLAN and no range of VLANs from 1 to 4094",
          "that part is dropped");
      continue;
    }
    Bridging::VlanId& last = trunkVlans_[range->first];
    last = std::max(last, range->last);
  }
}

/// The VLANs of all ranges together: many ranges may name the same ones.
void Reader::useTrunkVlans() {
  std::uint16_t next = 0;
  for (const auto& [first, last] : trunkVlans_) {
    for (next = std::max(next, first.value()); next <= last.value(); ++next) {
      switch_.usedVlans.insert(next);
    }
  }
}

void Reader::readSubInterfaces(IntfId id, const json& node) {
  for (const json& subInterface : *child(&node, {"subinterfaces", "subinterface"})) {
    if (isLayer3(subInterface)) readSubInterface(id, subInterface);
  }
}

/// Index 0 is the interface itself.
void Reader::readSubInterface(IntfId parent, const json& node) {
  const json* listKey = memberOf(node, "index");
  const json* index = listKey != nullptr ? listKey : setting(&node, "index");
  if (index == nullptr || unsignedOf(*index) == 0U) return;
  const auto number = unsignedOf(*index);
  const auto id =
      number ? interfaceNamed(nameOf(parent) + "." + std::to_string(*number)) : std::nullopt;
  if (!id) {
    report(ProblemKind::badName, parent,
           "index " + describe(*index) + " of a subinterface makes no name of an interface",
           "the subinterface is ignored");
  } else if (interfaces_.contains(*id) ||
             !switch_.l3Interfaces.emplace(*id, InterfaceKind::subInterface).second) {
    report(ProblemKind::repeatedInterface, *id, "the interface is there twice",
           "the subinterface of " + nameOf(parent) + " is ignored");
  } else {
    switch_.subInterfaces.emplace(*id, SubInterface{parent, encapsulationOf(*id, node)});
  }
}

Bridging::VlanId Reader::encapsulationOf(IntfId id, const json& node) {
  const json* container = child(&node, "vlan");
  const json* matched = child(container, {"match", "single-tagged"});
  const json* value = setting(matched, "vlan-id");
  if (value == nullptr) value = setting(container, "vlan-id");
  if (value == nullptr) return {};
  const auto vlan = vlanOf(*value);
  if (!vlan) {
    report(ProblemKind::badVlanNumber, id,
           "vlan-id " + describe(*value) + " is no number from 1 to 4094", "the number is dropped");
    return {};
  }
  switch_.usedVlans.insert(*vlan);
  return *vlan;
}

void Reader::report(ProblemKind kind, std::string key, std::string found, std::string done) {
  addProblem(problems_,
             {kind, file_, "interfaces", std::move(key), std::move(found), std::move(done)});
}

/// The container of all interfaces; null when the root has none.
const json* interfacesOf(const json& root) {
  if (const json* interfaces = memberOf(root, "openconfig-interfaces:interfaces"))
    return interfaces;
  const json* interfaces = memberOf(root, "interfaces");
  return interfaces != nullptr && interfaces->is_object() ? interfaces : nullptr;
}

[[noreturn]] void refuse(const Document& document, std::string_view what, const json& value) {
  throw UnreadableInput(document.name(), std::string(what) + " is " + printable(describe(value)) +
                                             "; write interfaces as an object with a list named "
                                             "interface");
}

}  // namespace

bool isOpenConfig(const json& root) { return interfacesOf(root) != nullptr; }

Switch readOpenConfig(const Document& document, Problems& problems) {
  static const json none = json::array();
  const json* interfaces = interfacesOf(document.root());
  if (!interfaces->is_object()) refuse(document, "openconfig-interfaces:interfaces", *interfaces);
  const json* list = child(interfaces, "interface");
  if (list != nullptr && !list->is_array()) refuse(document, "interfaces/interface", *list);
  return Reader(document, problems).read(list == nullptr ? none : *list);
}

}  // namespace Agent
