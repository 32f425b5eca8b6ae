// The model's self-check, and its snapshots.

#include <ostream>
#include <utility>

#include "tests/FyrL3Intf/Model.h"
#include "tests/FyrL3Intf/ModelParts.h"

namespace FyrL3Intf::Tests {

using Plexo::IntfId;

namespace {

constexpr const char* verifyFunction = "void FyrL3Intf::ConfigSm::doVerify()";

/// The number of a VLAN interface; the identifier library takes no other.
std::uint16_t numberOf(IntfId intf) {
  if (!Plexo::VlanIntfId::isVlanIntfId(intf)) {
    throw Death{"", "platform/IntfId.cpp", "std::uint16_t Plexo::VlanIntfId::vlanId(Plexo::IntfId)",
                "Plexo::VlanIntfId::isVlanIntfId( intfId )"};
  }
  return Plexo::VlanIntfId::vlanId(intf);
}

}  // namespace

void Model::verify() {
  if (!machine_) return;
  const bool complete = machine_->internalVlanNeeded
                            ? inputOf(config) != none && inputOf(statusDir) != none
                            : inputOf(indexDir) != none;
  if (!complete) return;
  trace(9, "doVerify", "ConfigSm::doVerify()");
  if (machine_->internalVlanNeeded) {
    verifyWishes();
    verifyInternalVlans();
  } else {
    verifyL3Indexes();
  }
}

std::size_t Model::verifyPorts() const {
  std::size_t wishing = 0;
  for (const auto& [intf, number] : configs_[static_cast<std::size_t>(inputOf(config))]) {
    const Entry& entry = entries_.at(number);
    const std::uint16_t expected = entry.mode == routed ? entry.vlan : std::uint16_t{0};
    require(wishOf(intf) == expected, verifyFunction,
            "desiredInternalVlanId( iter->intfId() ) == vlanId");
    if (expected == 0) continue;
    require(wishes(intf, vlanOf(expected)), verifyFunction,
            "desiredRoutedPortName( vlanId.value() ).member( iter->intfId() )");
    ++wishing;
  }
  return wishing;
}

std::size_t Model::verifyVlanIntfs() const {
  std::size_t wishing = 0;
  for (const IntfId intf : statusDirs_[static_cast<std::size_t>(inputOf(statusDir))]) {
    const std::uint16_t expected = vlanOrNone(numberOf(intf));
    require(wishOf(intf) == expected, verifyFunction,
            "desiredInternalVlanId( iter.key() ) == vlanId");
    if (expected == 0) continue;
    require(wishes(intf, expected), verifyFunction,
            "desiredRoutedPortName( vlanId.value() ).member( iter.key() )");
    ++wishing;
  }
  return wishing;
}

void Model::verifyWishes() const {
  const std::size_t fromPorts = verifyPorts();
  const std::size_t wishing = fromPorts + verifyVlanIntfs();
  std::size_t wished = 0;
  for (const auto& [vlan, wishers] : machine_->wishers) {
    require(!wishers.empty(), verifyFunction, "iter->members()");
    wished += wishers.size();
  }
  require(wished == wishing, verifyFunction,
          "internalVlansDesiredByIntfs == intfsDesiringInternalVlans");
  require(machine_->wishes.size() == wishing, verifyFunction,
          "desiredInternalVlanIds() == intfsDesiringInternalVlans");
}

void Model::verifyInternalVlans() const {
  verifyForward();
  require(table_.reverse.size() == machine_->wishers.size(), verifyFunction,
          "fyrL3IntfTable()->routedPortNames() == desiredRoutedPortNames()");
  verifyReverse();
  require(table_.forward.size() == table_.reverse.size(), verifyFunction,
          "fyrL3IntfTable()->intfL3Indexs() == fyrL3IntfTable()->routedPortNames()");
  for (const auto& [l3Id, intf] : table_.reverse) {
    require(valueAt(table_.forward, intf) == l3Id, verifyFunction,
            "fyrL3IntfTable()->intfL3Index( *iter ) == iter.key()");
  }
}

void Model::verifyForward() const {
  for (const auto& [intf, l3Id] : table_.forward) {
    require(l3Id != 0, verifyFunction, "*iter");
    require(wishOf(intf) == l3Id, verifyFunction, "desiredInternalVlanId( iter.key() ) == *iter");
  }
}

void Model::verifyReverse() const {
  for (const auto& [l3Id, intf] : table_.reverse) {
    require(l3Id != 0, verifyFunction, "!!id");
    require(wishes(intf, vlanOf(low16(l3Id))), verifyFunction,
            "desiredRoutedPortName( Bridging::VlanId( id.value() ) ).member( *iter )");
  }
}

void Model::verifyL3Indexes() {
  const auto reported = [](bool condition, const char* text, const std::string& detail) {
    requireReported(condition, verifyFunction, text, detail);
  };
  const auto count = [](const auto& collection) { return std::to_string(collection.size()); };
  const auto& dir = indexDirs_[static_cast<std::size_t>(inputOf(indexDir))];
  reported(machine_->ports.empty(), "switchIntfConfigSms() == 0",
           " non 0 switchIntfConfigSms detected: " + count(machine_->ports));
  reported(machine_->wishes.empty(), "desiredInternalVlanIds() == 0",
           " desiredInternalVlanIds: " + count(machine_->wishes));
  reported(machine_->wishers.empty(), "desiredRoutedPortNames() == 0",
           " desiredRoutedPortNames: " + count(machine_->wishers));
  reported(
      dir.size() == table_.forward.size(),
      "fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->intfL3Indexs()",
      " Mnemo entries: " + count(dir) + " table intfL3Index entries: " + count(table_.forward));
  reported(
      dir.size() == table_.reverse.size(),
      "fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->routedPortNames()",
      " Mnemo entries: " + count(dir) + " table routedPortName entries: " + count(table_.reverse));
  for (const auto& [intf, l3Id] : dir) verifyL3Index(intf, l3Id);
}

void Model::verifyL3Index(IntfId intf, std::uint64_t l3Id) {
  const std::uint64_t tableId = valueAt(table_.forward, intf);
  const std::string tableText = std::to_string(tableId);
  trace(7, "intfIdToL3Id", "intfIdToL3Id( " + textOf(intf) + " ) is " + tableText);
  requireReported(l3Id == tableId, verifyFunction, "l3Index->l3Id() == tableId",
                  " Mnemo L3 index for IntfId: " + textOf(intf) + " is " + std::to_string(l3Id) +
                      ". Table index is " + tableText);
  const IntfId owner = valueAt(table_.reverse, tableId);
  requireReported(owner == intf, verifyFunction,
                  "fyrL3IntfTable()->routedPortName( tableId ) == iter.key()",
                  " IntfId mismatch. Mnemo: " + textOf(intf) + " Table: " + textOf(owner) +
                      " platformId: " + tableText);
}

// ---------------------------------------------------------------------------------------------
// Snapshots

Snapshot Model::snapshot() {
  Snapshot now;
  now.forward.assign(table_.forward.begin(), table_.forward.end());
  now.reverse.assign(table_.reverse.begin(), table_.reverse.end());
  if (machine_) {
    now.wishes.assign(machine_->wishes.begin(), machine_->wishes.end());
    for (const auto& [vlan, wishers] : machine_->wishers) {
      now.wishers.push_back({vlan, {wishers.begin(), wishers.end()}});
    }
    now.machines.assign(machine_->ports.begin(), machine_->ports.end());
  }
  now.changes = table_.changes;
  now.reads = table_.reads;
  now.pendings = queue_.size();
  now.announced = std::exchange(announced_, {});
  now.traced = std::exchange(traced_, {});
  return now;
}

std::ostream& operator<<(std::ostream& stream, const Snapshot& snapshot) {
  for (const auto& [intf, l3Id] : snapshot.forward) stream << intf << "->" << l3Id << ' ';
  for (const auto& [l3Id, intf] : snapshot.reverse) stream << l3Id << "->" << intf << ' ';
  for (const auto& [intf, vlan] : snapshot.wishes) stream << intf << " wishes " << vlan << ' ';
  for (const auto& [vlan, wishers] : snapshot.wishers) {
    stream << vlan << " wished by ";
    for (const auto& [intf, member] : wishers) stream << intf << (member ? " " : "(false) ");
  }
  for (const auto& [intf, entry] : snapshot.machines) {
    stream << intf << " watches " << entry << ' ';
  }
  stream << "changes " << snapshot.changes << " reads " << snapshot.reads << " pending "
         << snapshot.pendings << '\n';
  for (const auto& heard : snapshot.announced) {
    stream << "  announced " << heard.intf << " with " << heard.l3Id << ", reverse entries "
           << heard.reverseEntries << ", changes " << heard.changes << '\n';
  }
  for (const auto& record : snapshot.traced) stream << "  traced " << record << '\n';
  if (!snapshot.thrown.empty()) stream << "  thrown " << snapshot.thrown << '\n';
  return stream;
}

}  // namespace FyrL3Intf::Tests
