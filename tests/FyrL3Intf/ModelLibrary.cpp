#include "tests/FyrL3Intf/ModelLibrary.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "tests/FyrL3Intf/Forged.h"

namespace FyrL3Intf::Tests {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Plexo::IntfId;

namespace {

Bridging::SwitchportMode modeOf(unsigned mode) {
  return static_cast<Bridging::SwitchportMode>(mode);
}

}  // namespace

/// Notes down what the table announces, and what it shows then.
class Library::Listener : public Table::NotifieeConst {
 public:
  explicit Listener(std::vector<Announcement>& heard) : heard_(heard) {}

  using Table::NotifieeConst::onIntfL3Index;
  void onIntfL3Index(IntfId intf) override {
    const auto table = notifier();
    heard_.push_back({intf, Kob::valueAt(table->intfL3IndexCollection(), intf).value(),
                      table->routedPortNames(), table->changeCount()});
  }

 private:
  std::vector<Announcement>& heard_;
};

Library::Library() : listener_(new Listener(announced_)) {
  for (auto& config : configs_) config = Bridging::configFactory("config");
  for (auto& dir : statusDirs_) dir = Interface::vlanIntfStatusDirFactory("status");
  for (auto& dir : indexDirs_) dir = l3IndexDirFactory("indexes");
  listener_->isRegisteredNotifieeIs(true);
  tableIs(tableFactory("table", true));
}

Library::~Library() = default;

void Library::tableIs(const Kob::Ptr<Table>& table) {
  table_ = table;
  listener_->notifierIs(table);
  readsOfVerify_ = 0;
}

void Library::port(int object, IntfId intf, unsigned mode, std::uint16_t vlan) {
  const auto config = at(configs_, object);
  if (const auto entry = config->switchIntfConfig(intf)) {
    entry->switchportModeAndNativeVlanIs(modeOf(mode), forged<VlanId>(vlan));
  } else {
    entries_[nextEntry_++] = config->switchIntfConfigIs(intf, modeOf(mode), forged<VlanId>(vlan));
  }
}

void Library::portDel(int object, IntfId intf) { at(configs_, object)->switchIntfConfigDel(intf); }

void Library::watchedPort(IntfId intf, unsigned mode, std::uint16_t vlan) {
  const auto port = machine_ ? machine_->switchIntfConfigSm(intf) : nullptr;
  if (!port) return;
  const auto& entry = entries_.at(numberOf(port->switchIntfConfig().get()));
  entry->switchportModeAndNativeVlanIs(modeOf(mode), forged<VlanId>(vlan));
}

void Library::vlanIntf(int object, IntfId intf) { at(statusDirs_, object)->intfStatusIs(intf); }
void Library::vlanIntfDel(int object, IntfId intf) { at(statusDirs_, object)->intfStatusDel(intf); }
void Library::l3Index(int object, IntfId intf, std::uint64_t l3Id) {
  at(indexDirs_, object)->l3IndexIs(intf, L3Id(l3Id));
}
void Library::l3IndexDel(int object, IntfId intf) { at(indexDirs_, object)->l3IndexDel(intf); }

void Library::deferralIs(bool deferral) { activity_->deferralIs(deferral); }
void Library::run() { activity_->run(); }

void Library::start(bool internalVlanNeeded, bool freshTable, int statusDir, int indexDir) {
  machine_ = nullptr;
  if (freshTable) tableIs(tableFactory("table", internalVlanNeeded));
  machine_ = configSmFactory(activity_, at(configs_, 0), at(statusDirs_, statusDir),
                             at(indexDirs_, indexDir), table_, internalVlanNeeded);
}

void Library::prepareToDie() {
  if (machine_) machine_->doPrepareToDie();
}
void Library::release() { machine_ = nullptr; }

void Library::configIs(int object) {
  if (machine_) machine_->configIs(at(configs_, object));
}
void Library::configDel() {
  if (machine_) machine_->configDel();
}
void Library::statusDirIs(int object) {
  if (machine_) machine_->vlanIntfStatusDirIs(at(statusDirs_, object));
}
void Library::statusDirDel() {
  if (machine_) machine_->vlanIntfStatusDirDel();
}
void Library::indexDirIs(int object) {
  if (machine_) machine_->fyrL3IndexDirIs(at(indexDirs_, object));
}
void Library::indexDirDel() {
  if (machine_) machine_->fyrL3IndexDirDel();
}

void Library::wish(IntfId intf, std::uint16_t vlan) {
  if (machine_) machine_->doSetDesiredInternalVlanId(intf, forged<VlanIdOrNone>(vlan));
}
void Library::grant(IntfId intf, std::uint16_t vlan) {
  if (machine_) machine_->doSetInternalVlanId(intf, forged<VlanIdOrNone>(vlan));
}
void Library::portHandled(IntfId intf) {
  if (machine_ && machine_->config()) machine_->handleSwitchIntfConfig(intf);
}
void Library::vlanIntfHandled(IntfId intf) {
  if (machine_) machine_->handleVlanIntfStatus(intf);
}
void Library::l3IndexHandled(IntfId intf) {
  if (machine_) machine_->handleL3Index(intf);
}

void Library::verify() {
  if (!machine_) return;
  const bool complete = machine_->internalVlanNeeded()
                            ? machine_->config() && machine_->vlanIntfStatusDir()
                            : static_cast<bool>(machine_->fyrL3IndexDir());
  if (!complete) return;
  struct ReadsAside {
    Library& library;
    const std::uint32_t before = library.table_->readCount();
    ~ReadsAside() { library.readsOfVerify_ += library.table_->readCount() - before; }
  };
  const ReadsAside readsAside{*this};
  machine_->doVerify();
}

void Library::tableForwardIs(IntfId intf, std::uint64_t l3Id) {
  table_->intfL3IndexIs(intf, L3Id(l3Id));
}
void Library::tableForwardDel(IntfId intf) { table_->intfL3IndexDel(intf); }
void Library::tableReverseIs(std::uint64_t l3Id, IntfId intf) {
  table_->routedPortNameIs(L3Id(l3Id), intf);
}
void Library::tableReverseDel(std::uint64_t l3Id) { table_->routedPortNameDel(L3Id(l3Id)); }

void Library::wishEntryIs(IntfId intf, std::uint16_t vlan) {
  if (machine_) machine_->desiredInternalVlanIdIs(intf, forged<VlanIdOrNone>(vlan));
}
void Library::wishEntryDel(IntfId intf) {
  if (machine_) machine_->desiredInternalVlanIdDel(intf);
}
void Library::wisherIs(std::uint16_t vlan, IntfId intf, bool member) {
  if (!machine_) return;
  auto set = machine_->desiredRoutedPortName(vlan);
  set.memberIs(intf, member);
  machine_->desiredRoutedPortNameIs(vlan, set);
}
void Library::wishersEmptied(std::uint16_t vlan) {
  if (machine_) machine_->desiredRoutedPortNameIs(vlan, {});
}
void Library::wishersDel(std::uint16_t vlan) {
  if (machine_) machine_->desiredRoutedPortNameDel(vlan);
}

void Library::forgetUnused() {
  std::erase_if(entries_, [](const auto& entry) { return entry.second->references() == 1; });
}

std::size_t Library::numberOf(const Bridging::SwitchIntfConfig* entry) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [entry](const auto& candidate) {
    return candidate.second.get() == entry;
  });
  return found != entries_.end() ? found->first : nextEntry_;
}

std::string Library::withEntries(const std::string& message) const {
  std::ostringstream text;
  for (std::size_t from = 0, open = 0; from < message.size();) {
    open = message.find('{', from);
    text << message.substr(from, open - from);
    if (open == std::string::npos) break;
    const std::size_t close = message.find('}', open);
    text << entries_.at(std::stoul(message.substr(open + 1, close - open - 1)));
    from = close + 1;
  }
  return text.str();
}

void Library::wishesTo(Snapshot& snapshot) const {
  for (auto it = machine_->desiredInternalVlanIdIteratorConst(); it; ++it) {
    snapshot.wishes.emplace_back(it.key(), it->value());
  }
  for (auto it = machine_->desiredRoutedPortNameIteratorConst(); it; ++it) {
    auto& wishers = snapshot.wishers.emplace_back().second;
    snapshot.wishers.back().first = it.key().value();
    for (auto member = it->memberIteratorConst(); member; ++member) {
      wishers.emplace_back(member.key(), *member);
    }
  }
  for (auto it = machine_->switchIntfConfigSmIteratorConst(); it; ++it) {
    snapshot.machines.emplace_back(it.key(), numberOf(it->switchIntfConfig().get()));
  }
}

Snapshot Library::snapshot() {
  Snapshot now;
  for (auto it = table_->intfL3IndexIteratorConst(); it; ++it) {
    now.forward.emplace_back(it.key(), it->value());
  }
  for (auto it = table_->routedPortNameIteratorConst(); it; ++it) {
    now.reverse.emplace_back(it.key().value(), *it);
  }
  if (machine_) wishesTo(now);
  now.changes = table_->changeCount();
  now.reads = table_->readCount() - readsOfVerify_;
  now.pendings = activity_->activitySm()->pendings();
  now.announced = std::exchange(announced_, {});
  return now;
}

}  // namespace FyrL3Intf::Tests
