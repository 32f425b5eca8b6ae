#include "agent/ConfigDb.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "agent/ConfigTables.h"
#include "agent/InterfaceName.h"
#include "agent/JsonValue.h"
#include "agent/Progress.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::json;
using Plexo::IntfId;

constexpr const char* rowIgnored = "the row is ignored";
constexpr const char* kept = "the interface is kept";

/// A port's place in a VLAN.
struct Membership {
  IntfId port;
  Bridging::VlanId vlan;
  bool isUntagged;
  const Row* row;
};

std::string vlanText(Bridging::VlanId vlan) { return "VLAN " + std::to_string(vlan.value()); }

class Reader {
 public:
  Reader(const Document& document, Problems& problems)
      : file_(document.name()),
        problems_(problems),
        tables_(document, problems),
        progress_("interpreting " + printable(file_)) {}

  /// Reads in an order in which each step finds what it is judged by.
  Switch read();

 private:
  void readPorts();
  void readPortChannels();
  void readChannelMembers();
  void readVlans();
  void readVlanInterfaces();
  void readRoutedInterfaces(Table table);
  void readSubInterfaces();
  void readLoopbacks();
  void readVlanMembers();
  void readMemberLists();
  void joinVlans();

  void readChannelMember(const Row& row, IntfId channel, IntfId member);
  void readVlan(const Row& row, IntfId id);
  void compareNumbers(const Row& row, Bridging::VlanId vlan, const json& field);
  void readVlanInterface(const Row& row, IntfId id);
  void readRoutedInterface(const Row& row, IntfId id);
  void readSubInterface(IntfId id, const std::vector<const Row*>& rows);
  bool isParent(const Row& row, IntfId id);
  [[nodiscard]] IntfId parentOf(IntfId id, const SubInterfaceName& name) const;
  Bridging::VlanId encapsulationOf(const std::vector<const Row*>& rows,
                                   const SubInterfaceName& name);
  void addEncapsulation(const Row& row, IntfId id, const SubInterface& settings);
  void readVlanMember(const Row& row);
  std::optional<Bridging::VlanId> vlanOfMember(const Row& row, IntfId vlan);
  bool isUntagged(const Row& row);
  void readMemberList(const Row& row, Bridging::VlanId vlan);
  void readListedMember(const Row& row, Bridging::VlanId vlan, const json& listed);
  void addMembership(const Row& row, Bridging::VlanId vlan, IntfId member, bool isUntagged);
  void joinVlan(const Membership& membership);

  std::optional<IntfId> named(const Row& row, std::string_view name);
  std::map<IntfId, std::vector<const Row*>> rowsByName(Table table);
  [[nodiscard]] bool isPortChannel(IntfId id) const;
  [[nodiscard]] bool exists(IntfId id) const;
  bool isRefusedAsRouted(const Row& row, IntfId id);
  void reportMissing(const Row& row, IntfId id);
  void report(ProblemKind kind, const Row& row, std::string found, std::string done);

  const std::string& file_;
  Problems& problems_;
  const ConfigTables tables_;
  Progress progress_;
  Switch switch_;
  std::unordered_set<IntfId> portChannels_;
  std::unordered_map<IntfId, Bridging::VlanId> vlans_;
  /// VLANs that were dropped for their number; what refers to them is not reported again.
  std::unordered_set<IntfId> droppedVlans_;
  /// The first sub-interface, in natural order, of each parent and outer VLAN.
  std::map<std::pair<IntfId, Bridging::VlanId>, IntfId> encapsulations_;
  /// The parent of a sub-interface, if it exists and is no channel's member: mostly that of the
  /// next one too.
  IntfId parent_;
  std::vector<Membership> memberships_;
  /// The keys of the table of VLAN members.
  std::set<std::pair<std::string_view, std::string_view>> memberRows_;
};

Switch Reader::read() {
  readPorts();
  readPortChannels();
  readChannelMembers();
  readVlans();
  readVlanInterfaces();
  readRoutedInterfaces(Table::interface);
  readRoutedInterfaces(Table::portChannelInterface);
  readSubInterfaces();
  readLoopbacks();
  readVlanMembers();
  readMemberLists();
  joinVlans();
  return std::move(switch_);
}

void Reader::readPorts() {
  for (const auto& [id, rows] : rowsByName(Table::port)) {
    if (vlanDigits(nameOf(id))) {
      report(ProblemKind::wrongTable, *rows.front(), "no port has the name of a VLAN interface",
             rowIgnored);
    } else {
      switch_.ports[id];
    }
  }
}

void Reader::readPortChannels() {
  for (const auto& [id, rows] : rowsByName(Table::portChannel)) {
    if (vlanDigits(nameOf(id)) || switch_.ports.contains(id)) {
      report(ProblemKind::wrongTable, *rows.front(),
             "no port channel has the name of a VLAN interface or a port", rowIgnored);
    } else {
      switch_.ports[id];
      portChannels_.insert(id);
    }
  }
}

void Reader::readChannelMembers() {
  // Natural order of channels, so that a port in two of them stays in the first.
  std::map<std::pair<IntfId, IntfId>, const Row*> members;
  for (const Row& row : tables_.rows(Table::portChannelMember)) {
    const auto channel = named(row, row.name);
    const auto member = named(row, row.second);
    if (channel && member) members.emplace(std::pair(*channel, *member), &row);
  }
  for (const auto& [names, row] : members) {
    readChannelMember(*row, names.first, names.second);
  }
  for (const auto& [member, channel] : switch_.channelOf) {
    switch_.ports.erase(member);
  }
}

void Reader::readChannelMember(const Row& row, IntfId channel, IntfId member) {
  if (vlanDigits(nameOf(channel)) ||
      (tables_.has(Table::portChannel) && !portChannels_.contains(channel))) {
    report(ProblemKind::missingPortChannel, row,
           nameOf(channel) + " is no port channel that exists", rowIgnored);
  } else if (isPortChannel(member) || !exists(member)) {
    report(ProblemKind::missingMember, row, nameOf(member) + " is no port that exists", rowIgnored);
  } else if (const auto [other, isFirst] = switch_.channelOf.emplace(member, channel); !isFirst) {
    report(ProblemKind::memberOfTwoChannels, row,
           nameOf(member) + " is a member of " + nameOf(other->second) + " as well",
           "it stays a member of " + nameOf(other->second) + " alone");
  } else if (portChannels_.insert(channel).second) {
    switch_.ports[channel];
  }
}

void Reader::readVlans() {
  for (const auto& [id, rows] : rowsByName(Table::vlan)) {
    readVlan(*rows.front(), id);
  }
}

void Reader::readVlan(const Row& row, IntfId id) {
  const auto digits = vlanDigits(nameOf(id));
  const json* field = row.field("vlanid");
  const auto byField = field == nullptr ? std::nullopt : vlanOf(*field);
  const auto vlan = digits ? vlanOf(*digits) : byField;
  if (!vlan) {
    report(ProblemKind::badVlanNumber, row,
           digits ? "the number in the name is not from 1 to 4094"
                  : "neither name nor vlanid tells a number from 1 to 4094",
           "the VLAN and its members are dropped");
    droppedVlans_.insert(id);
    return;
  }
  if (field != nullptr) compareNumbers(row, *vlan, *field);
  vlans_.emplace(id, *vlan);
  switch_.usedVlans.insert(*vlan);
}

void Reader::compareNumbers(const Row& row, Bridging::VlanId vlan, const json& field) {
  const auto byField = vlanOf(field);
  if (!byField) {
    report(ProblemKind::badVlanNumber, row,
           "vlanid " + describe(field) + " is no number from 1 to 4094",
           "the number in the name counts");
  } else if (*byField != vlan) {
    report(ProblemKind::vlanNumberMismatch, row,
           "the name says " + vlanText(vlan) + ", vlanid says " + vlanText(*byField),
           "the number in the name counts");
  }
}

void Reader::readVlanInterfaces() {
  for (const auto& [id, rows] : rowsByName(Table::vlanInterface)) {
    readVlanInterface(*rows.front(), id);
  }
}

void Reader::readVlanInterface(const Row& row, IntfId id) {
  const auto digits = vlanDigits(nameOf(id));
  const auto found = vlans_.find(id);
  const bool hasRow = found != vlans_.end();
  const auto vlan = hasRow ? found->second : digits ? vlanOf(*digits) : std::nullopt;
  if (!vlan) {
    report(ProblemKind::badVlanNumber, row, "no VLAN number from 1 to 4094 belongs to it",
           "the VLAN interface is dropped");
    return;
  }
  if (tables_.has(Table::vlan) && !hasRow) {
    report(ProblemKind::missingVlan, row, "its VLAN does not exist", "the VLAN interface is kept");
  }
  if (!digits) {
    report(ProblemKind::vlanNameWithoutNumber, row,
           "the name does not tell its number, " + std::to_string(vlan->value()),
           "the VLAN interface is kept, without a status entry");
  }
  switch_.l3Interfaces.emplace(id, InterfaceKind::vlan);
  switch_.vlanInterfaces.emplace(id, *vlan);
  switch_.usedVlans.insert(*vlan);
}

void Reader::readRoutedInterfaces(Table table) {
  for (const auto& [id, rows] : rowsByName(table)) {
    if (isRefusedAsRouted(*rows.front(), id)) continue;
    if (table == Table::portChannelInterface && !switch_.ports.contains(id)) {
      portChannels_.insert(id);
    }
    readRoutedInterface(*rows.front(), id);
  }
}

void Reader::readRoutedInterface(const Row& row, IntfId id) {
  if (!exists(id)) reportMissing(row, id);
  const bool isChannel = isPortChannel(id);
  if (isChannel) portChannels_.insert(id);
  switch_.l3Interfaces[id] = isChannel ? InterfaceKind::portChannel : InterfaceKind::routed;
  switch_.ports[id].mode = Bridging::SwitchportMode::routed;
}

bool Reader::isRefusedAsRouted(const Row& row, IntfId id) {
  const std::string name = nameOf(id);
  const bool isPort = switch_.ports.contains(id);
  if (vlanDigits(name) || switch_.vlanInterfaces.contains(id) || isLoopbackName(name) ||
      (subInterfaceName(name) && !isPort)) {
    report(ProblemKind::wrongTable, row, name + " is neither a port nor a port channel",
           rowIgnored);
    return true;
  }
  if (Plexo::InternalIntfId::isInternalIntfId(id)) {
    report(ProblemKind::internalRouted, row, "internal interfaces are never routed", rowIgnored);
    return true;
  }
  if (const auto member = switch_.channelOf.find(id); member != switch_.channelOf.end()) {
    report(ProblemKind::channelMemberInterface, row,
           name + " is a member of " + nameOf(member->second) + ", not an interface of its own",
           rowIgnored);
    return true;
  }
  return false;
}

void Reader::readSubInterfaces() {
  for (const auto& [id, rows] : rowsByName(Table::vlanSubInterface)) {
    readSubInterface(id, rows);
  }
  // Those of one port stand together.
  auto place = switch_.l3Interfaces.begin();
  for (const auto& item : switch_.subInterfaces) {
    place = switch_.l3Interfaces.emplace_hint(place, item.first, InterfaceKind::subInterface);
    ++place;
  }
}

void Reader::readSubInterface(IntfId id, const std::vector<const Row*>& rows) {
  const Row& row = *rows.front();
  const auto name = subInterfaceName(nameOf(id));
  if (!name || vlanDigits(name->parent) || switch_.ports.contains(id)) {
    report(ProblemKind::wrongTable, row, nameOf(id) + " is no sub-interface of a port", rowIgnored);
    return;
  }
  const IntfId parent = parentOf(id, *name);
  if (parent != parent_ && !isParent(row, parent)) return;
  const Bridging::VlanId encapsulation = encapsulationOf(rows, *name);
  switch_.subInterfaces.emplace_hint(switch_.subInterfaces.end(), id,
                                     SubInterface{parent, encapsulation});
  if (encapsulation != Bridging::VlanId()) addEncapsulation(row, id, {parent, encapsulation});
}

/// Whether it can have sub-interfaces; one that does not exist can.
bool Reader::isParent(const Row& row, IntfId id) {
  if (const auto member = switch_.channelOf.find(id); member != switch_.channelOf.end()) {
    report(ProblemKind::channelMemberInterface, row,
           nameOf(id) + " is a member of " + nameOf(member->second), rowIgnored);
    return false;
  }
  if (exists(id)) {
    parent_ = id;
  } else {
    reportMissing(row, id);
  }
  return true;
}

IntfId Reader::parentOf(IntfId id, const SubInterfaceName& name) const {
  const std::string whole = nameOf(id);
  const IntfId asSpelled(Kob::String8(whole.substr(0, whole.rfind('.'))));
  if (asSpelled == parent_ || switch_.ports.contains(asSpelled) ||
      switch_.channelOf.contains(asSpelled)) {
    return asSpelled;
  }
  return interfaceNamed(name.parent).value_or(asSpelled);
}

Bridging::VlanId Reader::encapsulationOf(const std::vector<const Row*>& rows,
                                         const SubInterfaceName& name) {
  for (const Row* row : rows) {
    const json* field = row->field("vlan");
    if (field == nullptr) continue;
    if (const auto vlan = vlanOf(*field)) return *vlan;
    report(ProblemKind::badVlanNumber, *row,
           "vlan " + describe(*field) + " is no number from 1 to 4094", "the number is dropped");
    return {};
  }
  if (name.isShort) return {};
  const auto vlan = vlanOf(json(name.number));
  if (!vlan) {
    report(ProblemKind::badVlanNumber, *rows.front(),
           "there is no vlan, and the number in the name is not from 1 to 4094",
           "the number is dropped");
  }
  return vlan.value_or(Bridging::VlanId());
}

void Reader::addEncapsulation(const Row& row, IntfId id, const SubInterface& settings) {
  const auto& [parent, encapsulation] = settings;
  switch_.usedVlans.insert(encapsulation);
  const auto first =
      encapsulations_.emplace_hint(encapsulations_.end(), std::pair(parent, encapsulation), id);
  if (first->second == id) return;
  const std::string firstName = nameOf(first->second);
  report(
      ProblemKind::sameEncapsulation, row,
      vlanText(encapsulation) + " of " + nameOf(parent) + " is that of " + firstName + " as well",
      "both are kept, " + firstName + " is taken for it where an L3 index is named by VLAN");
}

/// The application database has its management interfaces among them.
void Reader::readLoopbacks() {
  for (const Row& row : tables_.rows(Table::loopbackInterface)) {
    const auto id = interfaceNamed(row.name);
    if (id && !isManagementName(row.name)) switch_.loopbacks.insert(*id);
  }
}

void Reader::readVlanMembers() {
  for (const Row& row : tables_.rows(Table::vlanMember)) {
    memberRows_.emplace(row.name, row.second);
    readVlanMember(row);
  }
}

void Reader::readVlanMember(const Row& row) {
  const auto vlanName = named(row, row.name);
  const auto member = named(row, row.second);
  if (!vlanName || !member || droppedVlans_.contains(*vlanName)) return;
  if (const auto vlan = vlanOfMember(row, *vlanName)) {
    addMembership(row, *vlan, *member, isUntagged(row));
  }
}

std::optional<Bridging::VlanId> Reader::vlanOfMember(const Row& row, IntfId vlan) {
  if (const auto found = vlans_.find(vlan); found != vlans_.end()) return found->second;
  if (tables_.has(Table::vlan)) {
    report(ProblemKind::missingVlan, row, nameOf(vlan) + " does not exist", rowIgnored);
    return std::nullopt;
  }
  const auto digits = vlanDigits(nameOf(vlan));
  const auto number = digits ? vlanOf(*digits) : std::nullopt;
  if (!number) {
    report(ProblemKind::badVlanNumber, row,
           "the name of the VLAN does not tell a number from 1 to 4094", rowIgnored);
  }
  return number;
}

bool Reader::isUntagged(const Row& row) {
  const json* field = row.field("tagging_mode");
  if (field == nullptr || *field == "untagged") return true;
  if (*field != "tagged" && *field != "priority_tagged") {
    report(ProblemKind::badValue, row,
           "tagging_mode " + describe(*field) + " is neither \"tagged\" nor \"untagged\"",
           "it counts as tagged");
  }
  return false;
}

void Reader::readMemberLists() {
  for (const Row& row : tables_.rows(Table::vlan)) {
    const auto id = interfaceNamed(row.name);
    const auto vlan = id ? vlans_.find(*id) : vlans_.end();
    if (vlan != vlans_.end()) readMemberList(row, vlan->second);
  }
}

void Reader::readMemberList(const Row& row, Bridging::VlanId vlan) {
  if (const json* members = row.field("members")) {
    if (!members->is_array()) {
      report(ProblemKind::wrongType, row, "members is " + describe(*members) + ", not a list",
             "the members are ignored");
      return;
    }
    for (const json& member : *members) {
      readListedMember(row, vlan, member);
    }
  }
}

void Reader::readListedMember(const Row& row, Bridging::VlanId vlan, const json& listed) {
  const std::string* name = stringOf(listed);
  const auto member = name == nullptr ? std::nullopt : interfaceNamed(*name);
  if (!member) {
    report(ProblemKind::badName, row,
           "members holds " + describe(listed) + ", no interface has that name",
           "that member is ignored");
    return;
  }
  if (!tables_.has(Table::vlanMember)) {
    addMembership(row, vlan, *member, true);
    return;
  }
  if (!memberRows_.contains({row.name, *name})) {
    report(ProblemKind::missingMemberRow, row,
           "members holds " + *name + ", which has no row in VLAN_MEMBER",
           "that member is ignored");
  }
}

void Reader::addMembership(const Row& row, Bridging::VlanId vlan, IntfId member, bool isUntagged) {
  switch_.usedVlans.insert(vlan);
  if (const auto channel = switch_.channelOf.find(member); channel != switch_.channelOf.end()) {
    report(ProblemKind::channelMemberInVlan, row,
           nameOf(member) + " is a member of " + nameOf(channel->second) +
               ", not an interface of its own",
           "the membership is ignored");
  } else if (!exists(member)) {
    report(ProblemKind::missingMember, row, nameOf(member) + " is no port that exists",
           "the membership is ignored");
  } else {
    memberships_.push_back({member, vlan, isUntagged, &row});
  }
}

/// Port by port and by rising VLAN number, so that the lowest untagged VLAN comes first.
void Reader::joinVlans() {
  const auto place = [](const Membership& m) { return std::pair(m.port, m.vlan); };
  std::stable_sort(memberships_.begin(), memberships_.end(),
                   [&](const Membership& a, const Membership& b) { return place(a) < place(b); });
  for (const Membership& membership : memberships_) {
    joinVlan(membership);
  }
}

void Reader::joinVlan(const Membership& membership) {
  const auto& [id, vlan, isUntagged, row] = membership;
  SwitchPort& port = switch_.ports[id];
  if (port.mode == Bridging::SwitchportMode::routed) {
    report(ProblemKind::routedVlanMember, *row,
           nameOf(id) + " is routed and a member of " + vlanText(vlan),
           "it is routed, the membership is ignored");
  } else if (!isUntagged) {
    port.mode = Bridging::SwitchportMode::trunk;
  } else if (port.nativeVlan == Bridging::VlanId()) {
    port.nativeVlan = vlan;
  } else if (port.nativeVlan != vlan) {
    report(
        ProblemKind::untaggedTwice, *row,
        nameOf(id) + " is untagged in " + vlanText(port.nativeVlan) + " and in " + vlanText(vlan),
        "its native VLAN is " + std::to_string(port.nativeVlan.value()));
  }
}

std::optional<IntfId> Reader::named(const Row& row, std::string_view name) {
  progress_.step();
  const auto id = interfaceNamed(name);
  if (!id) {
    report(ProblemKind::badName, row, "\"" + std::string(name) + "\" is no name of an interface",
           rowIgnored);
  }
  return id;
}

/// In natural order; a name that has a row of its own and rows with addresses is there once.
std::map<IntfId, std::vector<const Row*>> Reader::rowsByName(Table table) {
  std::map<IntfId, std::vector<const Row*>> rows;
  auto last = rows.end();
  for (const Row& row : tables_.rows(table)) {
    const auto id = named(row, row.name);
    if (!id) continue;
    // The addresses of a name follow its own row, and most names the one before: bytes go nearly
    // by natural order.
    if (last == rows.end()) {
      last = rows.try_emplace(last, *id);
    } else if (last->first != *id) {
      last = rows.try_emplace(std::next(last), *id);
    }
    last->second.push_back(&row);
  }
  return rows;
}

bool Reader::isPortChannel(IntfId id) const {
  return portChannels_.contains(id) ||
         (!switch_.ports.contains(id) && isPortChannelName(nameOf(id)));
}

/// A table that is absent lets every name pass, but for those of VLAN interfaces: the library must
/// not meet one of them as a port.
bool Reader::exists(IntfId id) const {
  if (switch_.ports.contains(id) || switch_.channelOf.contains(id)) return true;
  if (vlanDigits(nameOf(id))) return false;
  return !tables_.has(isPortChannel(id) ? Table::portChannel : Table::port);
}

void Reader::reportMissing(const Row& row, IntfId id) {
  report(isPortChannel(id) ? ProblemKind::missingPortChannel : ProblemKind::missingPort, row,
         nameOf(id) + " does not exist", kept);
}

void Reader::report(ProblemKind kind, const Row& row, std::string found, std::string done) {
  addProblem(problems_, {kind, file_, std::string(row.table), std::string(row.key),
                         std::move(found), std::move(done)});
}

}  // namespace

Switch readConfigDb(const Document& document, Problems& problems) {
  return Reader(document, problems).read();
}

}  // namespace Agent
