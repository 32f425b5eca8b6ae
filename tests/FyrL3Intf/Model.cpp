#include "tests/FyrL3Intf/Model.h"

#include <utility>

#include "Kob/BitReverse.h"
#include "tests/FyrL3Intf/ModelParts.h"
#include "tests/platform/Fatal.h"

namespace FyrL3Intf::Tests {

using Plexo::IntfId;

namespace {

constexpr const char* desiredFunction =
    "void FyrL3Intf::ConfigSm::doSetDesiredInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";
constexpr const char* grantFunction =
    "void FyrL3Intf::ConfigSm::doSetInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";
constexpr const char* l3IndexFunction = "void FyrL3Intf::ConfigSm::handleL3Index(Plexo::IntfId)";
constexpr const char* vlanIntfFunction =
    "void FyrL3Intf::ConfigSm::handleVlanIntfStatus(Plexo::IntfId)";
constexpr const char* prepareFunction = "void FyrL3Intf::ConfigSm::doPrepareToDie()";

template <class Word, class Key>
bool inOrder(Word hashA, Word hashB, const Key& a, const Key& b) {
  const std::uint32_t reversedA = Kob::bitReverse(hashA);
  const std::uint32_t reversedB = Kob::bitReverse(hashB);
  return reversedA != reversedB ? reversedA < reversedB : a < b;
}

}  // namespace

bool InIterationOrder::operator()(IntfId a, IntfId b) const {
  return inOrder(a.hash(), b.hash(), a, b);
}
bool InIterationOrder::operator()(std::uint64_t a, std::uint64_t b) const {
  return inOrder(static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b), a, b);
}
bool InIterationOrder::operator()(std::uint16_t a, std::uint16_t b) const {
  return inOrder(std::uint32_t{a}, std::uint32_t{b}, a, b);
}

std::string Death::report() const {
  return ::Tests::literally(said) + ::Tests::assertion(file, function, expression);
}

void Model::trace(unsigned level, const char* function, const std::string& message) {
  if (tracing_) traced_.push_back(std::to_string(level) + " " + function + " " + message);
}

// ---------------------------------------------------------------------------------------------
// The table

void Model::announce(IntfId intf) {
  announced_.push_back(
      {intf, valueAt(table_.forward, intf), table_.reverse.size(), table_.changes});
}

void Model::forwardIs(IntfId intf, std::uint64_t l3Id) {
  const auto [entry, isNew] = table_.forward.try_emplace(intf, l3Id);
  if (!isNew && entry->second == l3Id) return;
  entry->second = l3Id;
  ++table_.changes;
  announce(intf);
}

void Model::forwardDel(IntfId intf) {
  if (table_.forward.erase(intf) == 0) return;
  ++table_.changes;
  announce(intf);
}

IntfId Model::ownerOf(std::uint64_t l3Id) {
  ++table_.reads;
  return valueAt(table_.reverse, l3Id);
}

void Model::reverseIs(std::uint64_t l3Id, IntfId intf) {
  table_.reverse[l3Id] = intf;
  ++table_.changes;
}

void Model::reverseDel(std::uint64_t l3Id) {
  if (table_.reverse.erase(l3Id) != 0) ++table_.changes;
}

// ---------------------------------------------------------------------------------------------
// The platform

void Model::entryIs(std::size_t number, unsigned mode, std::uint16_t vlan) {
  Entry& entry = entries_.at(number);
  if (entry.mode == mode && entry.vlan == vlan) return;
  entry.mode = mode;
  entry.vlan = vlan;
  if (!machine_) return;
  const auto watcher = machine_->ports.find(entry.intf);
  if (watcher == machine_->ports.end() || watcher->second != number) return;
  try {
    portStatesWish(number);
  } catch (const Thrown&) {  // The announcing entry keeps it from its caller.
  }
}

void Model::port(int object, IntfId intf, unsigned mode, std::uint16_t vlan) {
  auto& configured = configs_[static_cast<std::size_t>(object)];
  if (const auto known = configured.find(intf); known != configured.end()) {
    entryIs(known->second, mode, vlan);
    return;
  }
  configured[intf] = nextEntry_;
  entries_[nextEntry_++] = {intf, mode, vlan};
  keyChanged(config, object, intf);
}

void Model::portDel(int object, IntfId intf) {
  if (configs_[static_cast<std::size_t>(object)].erase(intf) != 0) keyChanged(config, object, intf);
}

void Model::watchedPort(IntfId intf, unsigned mode, std::uint16_t vlan) {
  if (!machine_) return;
  const auto machine = machine_->ports.find(intf);
  if (machine != machine_->ports.end()) entryIs(machine->second, mode, vlan);
}

void Model::vlanIntf(int object, IntfId intf) {
  if (statusDirs_[static_cast<std::size_t>(object)].insert(intf).second) {
    keyChanged(statusDir, object, intf);
  }
}

void Model::vlanIntfDel(int object, IntfId intf) {
  if (statusDirs_[static_cast<std::size_t>(object)].erase(intf) != 0) {
    keyChanged(statusDir, object, intf);
  }
}

void Model::l3Index(int object, IntfId intf, std::uint64_t l3Id) {
  const auto [entry, isNew] = indexDirs_[static_cast<std::size_t>(object)].try_emplace(intf, l3Id);
  if (!isNew && entry->second == l3Id) return;
  entry->second = l3Id;
  keyChanged(indexDir, object, intf);
}

void Model::l3IndexDel(int object, IntfId intf) {
  if (indexDirs_[static_cast<std::size_t>(object)].erase(intf) != 0) {
    keyChanged(indexDir, object, intf);
  }
}

void Model::forgetUnused() {
  std::set<std::size_t> used;
  const auto use = [&used](const ByIntf<std::size_t>& numbers) {
    for (const auto& entry : numbers) used.insert(entry.second);
  };
  for (const auto& configured : configs_) use(configured);
  if (machine_) use(machine_->ports);
  std::erase_if(entries_, [&used](const auto& entry) { return !used.contains(entry.first); });
}

// ---------------------------------------------------------------------------------------------
// Notification, at once or deferred and merged

void Model::keyChanged(Which which, int object, IntfId intf) {
  if (!machine_ || inputOf(which) != object) return;
  if (deferral_) {
    Input& input = machine_->inputs[which];
    input.pendingKey = intf;
    if (input.pendings++ == 0) queue_.push_back(which);
    return;
  }
  try {
    handle(which, intf);
  } catch (const Thrown&) {  // The announcing input keeps it from its caller.
  }
}

void Model::deliver(Which which) {
  Input& input = machine_->inputs[which];
  const unsigned pendings = std::exchange(input.pendings, 0);
  try {
    if (pendings == 1) {
      handle(which, input.pendingKey);
    } else if (which != indexDir) {
      handleAll(which);
    }
  } catch (const Thrown&) {  // The activity keeps it to itself and goes on.
  }
}

void Model::deferralIs(bool deferral) {
  deferral_ = deferral;
  if (!deferral) run();
}

void Model::run() {
  while (!queue_.empty()) {
    const Which which = queue_.front();
    queue_.pop_front();
    deliver(which);
  }
}

// ---------------------------------------------------------------------------------------------
// The host

void Model::start(bool internalVlanNeeded, bool freshTable, int statusDirObject,
                  int indexDirObject) {
  release();
  if (freshTable) table_ = {};
  machine_.emplace(Machine{});
  machine_->internalVlanNeeded = internalVlanNeeded;
  machine_->inputs[config].object = 0;
  machine_->inputs[statusDir].object = statusDirObject;
  machine_->inputs[indexDir].object = indexDirObject;
  try {
    handlePorts();
    handleVlanIntfs();
    handleL3Indexes();
  } catch (const Thrown&) {
    release();
    throw;
  }
}

void Model::release() {
  machine_.reset();
  queue_.clear();
}

void Model::inputIs(Which which, int object) {
  if (!machine_ || inputOf(which) == object) return;
  if (object == none) {
    inputDel(which);
    return;
  }
  machine_->inputs[which].object = object;
  if (which != indexDir) handleAll(which);
}

void Model::inputDel(Which which) {
  if (!machine_) return;
  machine_->inputs[which] = {};
  std::erase(queue_, which);
}

void Model::configIs(int object) { inputIs(config, object); }
void Model::configDel() { inputDel(config); }
void Model::statusDirIs(int object) { inputIs(statusDir, object); }
void Model::statusDirDel() { inputDel(statusDir); }
void Model::indexDirIs(int object) { inputIs(indexDir, object); }
void Model::indexDirDel() { inputDel(indexDir); }

void Model::wish(IntfId intf, std::uint16_t vlan) {
  if (machine_) desiredVlanIs(intf, vlan);
}
void Model::grant(IntfId intf, std::uint16_t vlan) {
  if (machine_) vlanIs(intf, vlan);
}
void Model::portHandled(IntfId intf) {
  if (machine_ && inputOf(config) != none) handlePort(intf);
}
void Model::vlanIntfHandled(IntfId intf) {
  if (machine_) handleVlanIntf(intf);
}
void Model::l3IndexHandled(IntfId intf) {
  if (machine_) handleL3Index(intf);
}

void Model::prepareToDie() {
  if (!machine_) return;
  trace(8, "doPrepareToDie", "ConfigSm::doPrepareToDie()");
  if (machine_->internalVlanNeeded) {
    while (!machine_->ports.empty()) {
      const IntfId intf = machine_->ports.begin()->first;
      portPreparesToDie(intf);
      machine_->ports.erase(intf);
    }
    if (inputOf(statusDir) == none) return;
    for (const IntfId intf : statusDirs_[static_cast<std::size_t>(inputOf(statusDir))]) {
      desiredVlanIs(intf, 0);
    }
    return;
  }
  require(machine_->ports.empty(), prepareFunction, "switchIntfConfigSms() == 0");
  require(machine_->wishes.empty(), prepareFunction, "desiredInternalVlanIds() == 0");
  require(machine_->wishers.empty(), prepareFunction, "desiredRoutedPortNames() == 0");
  trace(8, "doPrepareToDie", "ConfigSm internalVlan not needed. Nothing to cleanup");
}

// ---------------------------------------------------------------------------------------------
// Behind the machine's back

void Model::wishEntryIs(IntfId intf, std::uint16_t vlan) {
  if (machine_) machine_->wishes[intf] = vlan;
}
void Model::wishEntryDel(IntfId intf) {
  if (machine_) machine_->wishes.erase(intf);
}
void Model::wisherIs(std::uint16_t vlan, IntfId intf, bool member) {
  if (machine_) machine_->wishers[vlan][intf] = member;
}
void Model::wishersEmptied(std::uint16_t vlan) {
  if (machine_) machine_->wishers[vlan].clear();
}
void Model::wishersDel(std::uint16_t vlan) {
  if (machine_) machine_->wishers.erase(vlan);
}

// ---------------------------------------------------------------------------------------------
// The handlers

void Model::handle(Which which, IntfId intf) {
  switch (which) {
    case config:
      return handlePort(intf);
    case statusDir:
      return handleVlanIntf(intf);
    case indexDir:
      return handleL3Index(intf);
  }
}

void Model::handleAll(Which which) { which == config ? handlePorts() : handleVlanIntfs(); }

void Model::handlePort(IntfId intf) {
  const std::string name = textOf(intf);
  trace(8, "handleSwitchIntfConfig", "ConfigSm::handleSwitchIntfConfig( " + name + " )");
  if (!machine_->internalVlanNeeded) {
    trace(
        8, "handleSwitchIntfConfig",
        "ConfigSm internalVlan not needed. SwitchIntfConfig won't be processed for intf: " + name);
    return;
  }
  const auto& configured = configs_[static_cast<std::size_t>(inputOf(config))];
  if (const auto entry = configured.find(intf); entry != configured.end()) {
    portMachineIs(entry->second);
  } else if (machine_->ports.contains(intf)) {
    portPreparesToDie(intf);
    machine_->ports.erase(intf);
  }
}

void Model::handlePorts() {
  trace(8, "handleSwitchIntfConfig", "ConfigSm::handleSwitchIntfConfig()");
  if (!machine_->internalVlanNeeded) {
    trace(8, "handleSwitchIntfConfig",
          "ConfigSm internalVlan not needed. SwitchIntfConfig won't be processed");
  }
  for (const auto& entry : configs_[static_cast<std::size_t>(inputOf(config))]) {
    handlePort(entry.first);
  }
}

void Model::portMachineIs(std::size_t number) {
  const IntfId intf = entries_.at(number).intf;
  const auto known = machine_->ports.find(intf);
  if (known == machine_->ports.end()) {
    portStatesWish(number);
    machine_->ports[intf] = number;
  } else if (known->second != number) {
    throw Thrown{
        "Reinstantiating the pointer interface where constructor parameter attribute "
        "_switchIntfConfig has a different value of {" +
        std::to_string(number) + "} than the current value of {" + std::to_string(known->second) +
        "} not allowed"};
  }
}

void Model::portStatesWish(std::size_t number) {
  const Entry& entry = entries_.at(number);
  trace(8, "handleSwitchportModeAndNativeVlan",
        "SwitchIntfConfigSm( " + textOf(entry.intf) + " )::handleSwitchportModeAndNativeVlan()");
  if (textOf(entry.intf).starts_with("Internal")) return;
  desiredVlanIs(entry.intf, entry.mode == routed ? entry.vlan : std::uint16_t{0});
}

void Model::portPreparesToDie(IntfId intf) {
  trace(8, "doPrepareToDie", "SwitchIntfConfigSm( " + textOf(intf) + " )::doPrepareToDie()");
  desiredVlanIs(intf, 0);
}

void Model::handleVlanIntf(IntfId intf) {
  const std::string name = textOf(intf);
  trace(8, "handleVlanIntfStatus", "ConfigSm::handleVlanIntfStatus(" + name + ")");
  if (!machine_->internalVlanNeeded) {
    trace(8, "handleVlanIntfStatus",
          "ConfigSm internalVlan not needed. VlanIntfStatus won't be processed for Intf: " + name);
    return;
  }
  requireReported(Plexo::VlanIntfId::isVlanIntfId(intf), vlanIntfFunction,
                  "Plexo::VlanIntfId::isVlanIntfId( intfId )", " intf: " + name);
  const std::uint16_t vlan = vlanOrNone(Plexo::VlanIntfId::vlanId(intf));
  const int object = inputOf(statusDir);
  const bool exists =
      object != none && statusDirs_[static_cast<std::size_t>(object)].contains(intf);
  desiredVlanIs(intf, exists ? vlan : std::uint16_t{0});
}

void Model::handleVlanIntfs() {
  trace(8, "handleVlanIntfStatus", "ConfigSm::handleVlanIntfStatus()");
  if (!machine_->internalVlanNeeded) {
    trace(8, "handleVlanIntfStatus",
          "ConfigSm internalVlan not needed. VlanIntfStatus won't be processed");
    return;
  }
  if (inputOf(statusDir) == none) return;
  for (const IntfId intf : statusDirs_[static_cast<std::size_t>(inputOf(statusDir))]) {
    handleVlanIntf(intf);
  }
}

void Model::handleL3Index(IntfId intf) {
  trace(7, "handleL3Index", "ConfigSm::handleL3Index(" + textOf(intf) + ")");
  const int object = inputOf(indexDir);
  if (object != none && indexDirs_[static_cast<std::size_t>(object)].contains(intf)) {
    l3IndexAppeared(intf, indexDirs_[static_cast<std::size_t>(object)].at(intf));
  } else {
    l3IndexVanished(intf);
  }
}

void Model::l3IndexAppeared(IntfId intf, std::uint64_t l3Id) {
  requireReported(!table_.forward.contains(intf), l3IndexFunction,
                  "!fyrL3IntfTable()-> intfL3IndexIteratorConst().isMemberOf( intfId )",
                  " intf " + textOf(intf) + " found in platformL3IntfTable.");
  requireReported(!table_.reverse.contains(l3Id), l3IndexFunction,
                  "!fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
                  " intf " + textOf(intf) + " info not consistent in fyrL3IntfTable");
  reverseIs(l3Id, intf);
  forwardIs(intf, l3Id);
}

void Model::l3IndexVanished(IntfId intf) {
  requireReported(table_.forward.contains(intf), l3IndexFunction,
                  "fyrL3IntfTable()->intfL3IndexIteratorConst().isMemberOf( intfId )",
                  " intf " + textOf(intf) + " not found in fyrL3IntfTable.");
  ++table_.reads;
  const std::uint64_t l3Id = table_.forward.at(intf);
  requireReported(table_.reverse.contains(l3Id), l3IndexFunction,
                  "fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
                  " intf " + textOf(intf) + " info not consistent in fyrL3IntfTable");
  reverseDel(l3Id);
  forwardDel(intf);
}

void Model::handleL3Indexes() {
  trace(7, "handleL3Index", "ConfigSm::handleL3Index()");
  if (inputOf(indexDir) == none) {
    trace(7, "handleL3Index", "ConfigSm::handleL3Index() fyrL3IndexDir is NULL. Returning");
    return;
  }
  for (const auto& entry : indexDirs_[static_cast<std::size_t>(inputOf(indexDir))]) {
    handleL3Index(entry.first);
  }
}

// ---------------------------------------------------------------------------------------------
// Wishes and grants

std::uint16_t Model::wishOf(IntfId intf) const { return valueAt(machine_->wishes, intf); }

bool Model::wishes(IntfId intf, std::uint16_t vlan) const {
  const auto wishers = machine_->wishers.find(vlan);
  return wishers != machine_->wishers.end() && valueAt(wishers->second, intf);
}

void Model::desiredVlanIs(IntfId intf, std::uint16_t wished) {
  trace(8, "doSetDesiredInternalVlanId",
        "ConfigSm::doSetDesiredInternalVlanId( " + std::to_string(wished) + " )");
  const std::uint16_t old = wishOf(intf);
  if (old == wished) return;
  if (old != 0) wishWithdrawn(intf, old);
  wishRecorded(intf, wished);
  vlanIs(intf, grantFor(intf, wished));
  if (old != 0) handedOver(old);
}

void Model::wishWithdrawn(IntfId intf, std::uint16_t old) {
  require(wishes(intf, vlanOf(old)), desiredFunction, "intfSet.member( intfId )");
  auto& wishers = machine_->wishers[old];
  wishers.erase(intf);
  if (wishers.empty()) machine_->wishers.erase(old);
}

void Model::wishRecorded(IntfId intf, std::uint16_t wished) {
  if (wished == 0) {
    machine_->wishes.erase(intf);
    return;
  }
  require(!wishes(intf, vlanOf(wished)), desiredFunction, "!intfSet.member( intfId )");
  machine_->wishers[wished][intf] = true;
  machine_->wishes[intf] = wished;
}

/// What the interface gets: the VLAN that it wishes for, unless somebody holds it.
std::uint16_t Model::grantFor(IntfId intf, std::uint16_t wished) {
  if (wished == 0) return 0;
  const IntfId owner = ownerOf(wished);
  require(owner != intf, desiredFunction,
          "fyrL3IntfTable()->routedPortName( L3Id( newDesiredInternalVlanId.value() ) ) != intfId");
  return owner ? std::uint16_t{0} : wished;
}

/// The first of those who wait for the VLAN gets it, if it is free.
void Model::handedOver(std::uint16_t old) {
  if (ownerOf(old)) return;
  const auto waiting = machine_->wishers.find(old);
  if (waiting == machine_->wishers.end() || waiting->second.empty()) return;
  vlanIs(waiting->second.begin()->first, old);
}

void Model::vlanIs(IntfId intf, std::uint16_t granted) {
  trace(8, "doSetInternalVlanId",
        "ConfigSm::doSetInternalVlanId( " + std::to_string(granted) + " )");
  const std::uint64_t oldL3Id = valueAt(table_.forward, intf);
  const std::uint16_t old = vlanOrNone(low16(oldL3Id));
  if (old == granted) return;
  if (old != 0) {
    require(ownerOf(oldL3Id) == intf, grantFunction,
            "fyrL3IntfTable()->routedPortName( oldPlatformId ) == intfId");
    reverseDel(oldL3Id);
  }
  if (granted == 0) {
    forwardDel(intf);
    return;
  }
  require(!ownerOf(granted), grantFunction, "!fyrL3IntfTable()->routedPortName( newPlatformId )");
  reverseIs(granted, intf);
  forwardIs(intf, granted);
}

}  // namespace FyrL3Intf::Tests
