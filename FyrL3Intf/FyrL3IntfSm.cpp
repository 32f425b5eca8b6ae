#include "FyrL3Intf/FyrL3IntfSm.h"

#include <ostream>
#include <sstream>

#include "FyrL3Intf/FyrL3IntfSmPublished.h"
#include "Kob/Exception.h"
#include "Kob/Trace.h"

namespace FyrL3Intf {

namespace {

const Kob::TraceHandle& traceHandle() {
  static const Kob::TraceHandle handle("FyrL3IntfSm", false);
  return handle;
}
// Made at load: a look-up never runs out of memory for it, nor asks whether it is there.
const Kob::TraceHandle& trace = traceHandle();

// The functions as failure reports name them.
constexpr const char* handleL3IndexFunction =
    "void FyrL3Intf::ConfigSm::handleL3Index(Plexo::IntfId)";
constexpr const char* handleVlanIntfStatusFunction =
    "void FyrL3Intf::ConfigSm::handleVlanIntfStatus(Plexo::IntfId)";
constexpr const char* doSetDesiredInternalVlanIdFunction =
    "void FyrL3Intf::ConfigSm::doSetDesiredInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";
constexpr const char* doSetInternalVlanIdFunction =
    "void FyrL3Intf::ConfigSm::doSetInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";
constexpr const char* doPrepareToDieFunction = "void FyrL3Intf::ConfigSm::doPrepareToDie()";
constexpr const char* doVerifyFunction = "void FyrL3Intf::ConfigSm::doVerify()";

/// The VLAN for which the configuration of an interface asks.
Bridging::VlanIdOrNone configuredWish(const Bridging::SwitchIntfConfig& config) {
  if (config.switchportMode() != Bridging::SwitchportMode::routed) return {};
  return config.nativeVlan();
}

/// The identifier by which a VLAN, or none, shows in the table.
L3Id platformId(Bridging::VlanIdOrNone vlanId) { return L3Id(vlanId.value()); }

// The names of the published types, for loaders that do not run the library: each with its NUL, in
// a section that neither strip nor the linker's garbage collection takes away.
#ifdef __clang__
[[clang::no_sanitize("address")]]  // Which would pad them.
#endif
[[gnu::section(".kob.type"), gnu::used, gnu::retain]] constexpr char typeNames[] =
    "FyrL3Intf::ConfigSm\0"
    "FyrL3Intf::SwitchIntfConfigSm\0"
    "FyrL3Intf::ConfigSm::IntfSet\0"
    "FyrL3Intf::Table";
static_assert(sizeof typeNames == 96);

constexpr const Kob::Description* types[] = {&Published::switchIntfConfigSmDescription,
                                             &Published::configSmDescription};
constexpr const Kob::Description* nodes[] = {&Published::intfSetDescription,
                                             &Published::switchIntfConfigSmDescription,
                                             &Published::configSmDescription};
constinit Kob::TypeInitialiser initialiser("FyrL3Intf", types);
[[maybe_unused]] const bool loaded = initialiser.load(nodes);

}  // namespace

void kobInitFyrL3IntfSm() { initialiser.describe(); }

// ---------------------------------------------------------------------------------------------
// Type objects and generic interfaces

Kob::KobType* SwitchIntfConfigSm::_fwkType() {
  static constinit Kob::TypePointer pointer;
  return pointer.get(kobInitFyrL3IntfSm, [] { return new _Type; });
}

Kob::KobType* ConfigSm::IntfSet::_fwkType() {
  static constinit Kob::TypePointer pointer;
  return pointer.get(kobInitFyrL3IntfSm, [] { return new _Type; });
}

Kob::KobType* ConfigSm::_fwkType() {
  static constinit Kob::TypePointer pointer;
  return pointer.get(kobInitFyrL3IntfSm, [] {
    auto* const type = new _Type;
    type->hasFactoryIs(true);
    return type;
  });
}

Kob::KobType* SwitchIntfConfigSm::fwkType() const { return _fwkType(); }
Kob::KobType* ConfigSm::fwkType() const { return _fwkType(); }

SwitchIntfConfigSm::_Type::_Type() : DescribedObjectType(Kob::PtrInterface::_fwkType()) {}
SwitchIntfConfigSm::_Type::~_Type() = default;
std::span<Kob::KobAttr* const> SwitchIntfConfigSm::_Type::attributeHandles() noexcept {
  return Published::switchIntfConfigSmHandles;
}

ConfigSm::_Type::_Type() : DescribedObjectType(Kob::PtrInterface::_fwkType()) {}
ConfigSm::_Type::~_Type() = default;
std::span<Kob::KobAttr* const> ConfigSm::_Type::attributeHandles() noexcept {
  return Published::configSmHandles;
}

ConfigSm::IntfSet::_Type::_Type() : ValueType(IntfSet::kobTypeName) {}
ConfigSm::IntfSet::_Type::~_Type() = default;
Kob::Ptr<Kob::GenericIf> ConfigSm::IntfSet::_Type::genericIf(const Kob::GenericIf* list,
                                                             bool readOnly) {
  return Kob::restricted(GenericIf_::genericIfListConstructor(Kob::Ptr(list)), readOnly);
}

SwitchIntfConfigSm::GenericIf_::GenericIf_(const Kob::Ptr<SwitchIntfConfigSm>& machine,
                                           bool readOnly)
    : Described(machine, readOnly) {}
SwitchIntfConfigSm::GenericIf_::~GenericIf_() = default;
const Kob::Description& SwitchIntfConfigSm::GenericIf_::description() {
  return Published::switchIntfConfigSmDescription;
}
Kob::Ptr<Kob::GenericIf> SwitchIntfConfigSm::GenericIf_::genericIfListConstructor(
    const Kob::Ptr<const GenericIf>& list) {
  return Kob::generic(Kob::constructFromList<&Published::machineOf>(list, description()));
}
bool SwitchIntfConfigSm::GenericIf_::hasNotificationActiveIs(bool active) {
  return modified().hasNotificationActiveIs(active);
}
bool SwitchIntfConfigSm::GenericIf_::kobDoZombieReactors(bool zombie) {
  return modified().kobDoZombieReactors(zombie);
}

ConfigSm::GenericIf_::GenericIf_(const Kob::Ptr<ConfigSm>& machine, bool readOnly)
    : Described(machine, readOnly) {}
ConfigSm::GenericIf_::~GenericIf_() = default;
const Kob::Description& ConfigSm::GenericIf_::description() {
  return Published::configSmDescription;
}
Kob::Ptr<Kob::GenericIf> ConfigSm::GenericIf_::genericIfListConstructor(
    const Kob::Ptr<const GenericIf>& list) {
  return Kob::generic(Kob::constructFromList<&Published::configSmOf>(list, description()));
}
bool ConfigSm::GenericIf_::hasNotificationActiveIs(bool active) {
  return modified().hasNotificationActiveIs(active);
}
bool ConfigSm::GenericIf_::kobDoZombieReactors(bool zombie) {
  return modified().kobDoZombieReactors(zombie);
}

ConfigSm::IntfSet::GenericIf_::GenericIf_(const IntfSet& set, bool readOnly)
    : Described(set, readOnly) {}
ConfigSm::IntfSet::GenericIf_::~GenericIf_() = default;
const Kob::Description& ConfigSm::IntfSet::GenericIf_::description() {
  return Published::intfSetDescription;
}
Kob::Ptr<Kob::GenericIf> ConfigSm::IntfSet::GenericIf_::genericIfListConstructor(
    const Kob::Ptr<const GenericIf>& list) {
  return Kob::generic(Kob::constructFromList<&Published::emptySet>(list, description()));
}

// ---------------------------------------------------------------------------------------------
// The interface set

ConfigSm::IntfSet::IntfSet(Kob::String8::IteratorConst&, const Kob::String8::IteratorConst&) {
  Kob::HashMapGeneric::strepUnsupported();
}

bool ConfigSm::IntfSet::member(Plexo::IntfId intfId) const { return Kob::valueAt(member_, intfId); }

void ConfigSm::IntfSet::memberIs(Plexo::IntfId intfId, bool value) {
  static_cast<void>(Kob::valueIsAt<Kob::Always, KobMember>(member_, intfId, value));
}

Kob::Ptr<ConfigSm::IntfSet::KobMember> ConfigSm::IntfSet::newMember(Plexo::IntfId intfId,
                                                                    bool value) {
  Kob::Ptr entry(new KobMember(intfId, value));
  member_.newMember(entry);
  return entry;
}

void ConfigSm::IntfSet::memberDelAll() {
  for (MemberCollection::Iterator it(&member_); it; ++it) member_.deleteMember(it.ptr().get());
}

bool ConfigSm::IntfSet::operator==(const IntfSet& other) const {
  if (members() != other.members()) return false;
  for (auto it = memberIteratorConst(); it; ++it) {
    const auto* const entry = other.member_.find(it.key());
    if (entry == nullptr || entry->value() != *it) return false;
  }
  return true;
}

Kob::String8 valueToStrep(const ConfigSm::IntfSet&) {
  Kob::String8 text;
  text += "None";
  return text;
}

std::ostream& operator<<(std::ostream& stream, const ConfigSm::IntfSet& set) {
  return stream << valueToStrep(set);
}

// ---------------------------------------------------------------------------------------------
// The machine of one interface

SwitchIntfConfigSm::SwitchIntfConfigSm(const Kob::Ptr<const Bridging::SwitchIntfConfig>& config,
                                       ConfigSm* configSm)
    : configSm_(configSm) {
  if (config) newSwitchIntfConfig(config);
  handleSwitchportModeAndNativeVlan();
}

SwitchIntfConfigSm::~SwitchIntfConfigSm() = default;

Kob::Ptr<SwitchIntfConfigSm> SwitchIntfConfigSm::SwitchIntfConfigSmIs(
    const Kob::Ptr<const Bridging::SwitchIntfConfig>& config, ConfigSm* configSm) {
  Kob::Ptr machine(new SwitchIntfConfigSm(config, configSm));
  machine->hasNotificationActiveIs(true);
  return machine;
}

bool SwitchIntfConfigSm::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) return active;
  kobNotificationActiveIs(active);
  if (const auto reactor = switchIntfConfig_.reactor()) reactor->hasNotificationActiveIs(active);
  return active;
}

bool SwitchIntfConfigSm::kobDoZombieReactors(bool zombie) {
  if (zombie == kobMarkedForDeletion()) return zombie;
  if (const auto reactor = switchIntfConfig_.reactor()) reactor->kobDoZombieReactors(zombie);
  kobMarkedForDeletionIs(zombie);
  return zombie;
}

Kob::Keep<ConfigSm> SwitchIntfConfigSm::owner() const { return Kob::Keep(configSm_); }

Plexo::IntfId SwitchIntfConfigSm::intfId() const {
  const auto& reactor = switchIntfConfig_.reactor();
  return reactor ? reactor->notifier()->intfId() : Plexo::IntfId();
}

void SwitchIntfConfigSm::handleSwitchportModeAndNativeVlan() {
  KOB_TRACE(trace, 8, "SwitchIntfConfigSm", "handleSwitchportModeAndNativeVlan",
            this << "::handleSwitchportModeAndNativeVlan()");
  const auto desired = configuredWish(*switchIntfConfig());
  if (Plexo::InternalIntfId::isInternalIntfId(intfId())) return;
  owner()->doSetDesiredInternalVlanId(intfId(), desired);
}

void SwitchIntfConfigSm::doPrepareToDie() {
  KOB_TRACE(trace, 8, "SwitchIntfConfigSm", "doPrepareToDie", this << "::doPrepareToDie()");
  owner()->doSetDesiredInternalVlanId(intfId(), Bridging::VlanIdOrNone());
}

std::ostream& operator<<(std::ostream& stream, const SwitchIntfConfigSm* machine) {
  return stream << "SwitchIntfConfigSm( " << machine->intfId() << " )";
}

// ---------------------------------------------------------------------------------------------
// Construction and destruction

ConfigSm::ConfigSm(const Kob::Ptr<Kob::ActivityConfig>& activity,
                   const Kob::Ptr<const Bridging::Config>& config,
                   const Kob::Ptr<const Interface::VlanIntfStatusDir>& vlanIntfStatusDir,
                   const Kob::Ptr<const L3IndexDir>& fyrL3IndexDir,
                   const Kob::Ptr<Table>& fyrL3IntfTable, bool internalVlanNeeded)
    : kobFwkActivity_(activity),
      fyrL3IntfTable_(fyrL3IntfTable),
      internalVlanNeeded_(internalVlanNeeded) {
  if (config) newConfig(config);
  if (vlanIntfStatusDir) newVlanIntfStatusDir(vlanIntfStatusDir);
  if (fyrL3IndexDir) newFyrL3IndexDir(fyrL3IndexDir);
  handleSwitchIntfConfig();
  handleVlanIntfStatus();
  handleL3Index();
}

ConfigSm::~ConfigSm() {
  // Zombies first: a notification that is under way must find a reactor that calls nobody before
  // the back pointers and the collections go.
  kobDoZombieReactors(true);
  if (const auto& reactor = config_.reactor()) reactor->configSmIs(nullptr);
  if (const auto& reactor = vlanIntfStatusDir_.reactor()) reactor->configSmIs(nullptr);
  if (const auto& reactor = fyrL3IndexDir_.reactor()) reactor->configSmIs(nullptr);
  for (auto it = switchIntfConfigSmIterator(); it; ++it) {
    it->kobDoZombieReactors(true);
    it->configSmIs(nullptr);
  }
  switchIntfConfigSmDelAll();
}

Kob::Ptr<ConfigSm> ConfigSm::ConfigSmIs(
    const Kob::Ptr<Kob::ActivityConfig>& activity, const Kob::Ptr<const Bridging::Config>& config,
    const Kob::Ptr<const Interface::VlanIntfStatusDir>& vlanIntfStatusDir,
    const Kob::Ptr<const L3IndexDir>& fyrL3IndexDir, const Kob::Ptr<Table>& fyrL3IntfTable,
    bool internalVlanNeeded) {
  Kob::Ptr machine(new ConfigSm(activity, config, vlanIntfStatusDir, fyrL3IndexDir, fyrL3IntfTable,
                                internalVlanNeeded));
  machine->hasNotificationActiveIs(true);
  return machine;
}

Kob::Ptr<ConfigSm> configSmFactory(
    const Kob::Ptr<Kob::ActivityConfig>& activity, const Kob::Ptr<const Bridging::Config>& config,
    const Kob::Ptr<const Interface::VlanIntfStatusDir>& vlanIntfStatusDir,
    const Kob::Ptr<const L3IndexDir>& fyrL3IndexDir, const Kob::Ptr<Table>& fyrL3IntfTable,
    bool internalVlanNeeded) {
  return ConfigSm::ConfigSmIs(activity, config, vlanIntfStatusDir, fyrL3IndexDir, fyrL3IntfTable,
                              internalVlanNeeded);
}

bool ConfigSm::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) return active;
  kobNotificationActiveIs(active);
  if (const auto reactor = config_.reactor()) reactor->hasNotificationActiveIs(active);
  if (const auto reactor = vlanIntfStatusDir_.reactor()) reactor->hasNotificationActiveIs(active);
  if (const auto reactor = fyrL3IndexDir_.reactor()) reactor->hasNotificationActiveIs(active);
  for (auto it = switchIntfConfigSmIterator(); it; ++it) it->hasNotificationActiveIs(active);
  return active;
}

bool ConfigSm::kobDoZombieReactors(bool zombie) {
  if (zombie == kobMarkedForDeletion()) return zombie;
  if (const auto reactor = config_.reactor()) reactor->kobDoZombieReactors(zombie);
  if (const auto reactor = vlanIntfStatusDir_.reactor()) reactor->kobDoZombieReactors(zombie);
  if (const auto reactor = fyrL3IndexDir_.reactor()) reactor->kobDoZombieReactors(zombie);
  kobMarkedForDeletionIs(zombie);
  return zombie;
}

std::ostream& operator<<(std::ostream& stream, const ConfigSm*) { return stream << "ConfigSm"; }

// ---------------------------------------------------------------------------------------------
// The private collections announce to nobody

void ConfigSm::desiredRoutedPortNameNotify(Bridging::VlanId) {}
void ConfigSm::desiredInternalVlanIdNotify(Plexo::IntfId) {}
void ConfigSm::switchIntfConfigSmNotify(Plexo::IntfId) {}

Kob::Ptr<SwitchIntfConfigSm> ConfigSm::newSwitchIntfConfigSm(
    const Kob::Ptr<const Bridging::SwitchIntfConfig>& config) {
  auto machine = SwitchIntfConfigSm::SwitchIntfConfigSmIs(config, this);
  try {
    switchIntfConfigSm_.newMember(machine);
  } catch (...) {
    machine->doPrepareToDie();  // Nobody knows the machine, so nobody else would withdraw its wish.
    throw;
  }
  return machine;
}

Kob::Ptr<SwitchIntfConfigSm> ConfigSm::switchIntfConfigSmIs(
    const Kob::Ptr<const Bridging::SwitchIntfConfig>& config) {
  if (auto known = switchIntfConfigSm_[config->intfId()]) {
    if (known->switchIntfConfig() == config) return known;
    std::ostringstream message;
    message.exceptions(std::ios_base::badbit);  // Out of memory, a text is not cut short.
    message << "Reinstantiating the pointer interface where constructor parameter attribute "
               "_switchIntfConfig has a different value of "
            << config << " than the current value of " << known->switchIntfConfig()
            << " not allowed";
    Kob::throwNameInUseException(Kob::String8(message.view()));
  }
  auto machine = newSwitchIntfConfigSm(config);
  machine->hasNotificationActiveIs(true);
  return machine;
}

// ---------------------------------------------------------------------------------------------
// Switch interface configuration

void ConfigSm::handleSwitchIntfConfig(Plexo::IntfId intfId) {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 8, "ConfigSm", "handleSwitchIntfConfig",
            this << "::handleSwitchIntfConfig( " << intfId << " )");
  if (!internalVlanNeeded_) {
    KOB_TRACE(trace, 8, "ConfigSm", "handleSwitchIntfConfig",
              this << " internalVlan not needed. "
                   << "SwitchIntfConfig won't be processed for intf: " << intfId);
    return;
  }
  if (const auto entry = config()->switchIntfConfig(intfId)) {
    switchIntfConfigSmIs(entry);
  } else if (const auto machine = switchIntfConfigSm(intfId)) {
    machine->doPrepareToDie();
    switchIntfConfigSmDel(intfId);
  }
}

void ConfigSm::handleSwitchIntfConfig() {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 8, "ConfigSm", "handleSwitchIntfConfig", this << "::handleSwitchIntfConfig()");
  if (!internalVlanNeeded_) {
    KOB_TRACE(trace, 8, "ConfigSm", "handleSwitchIntfConfig",
              this << " internalVlan not needed. "
                   << "SwitchIntfConfig won't be processed");
  }
  const auto config = this->config();
  for (auto it = config->switchIntfConfigIteratorConst(); it; ++it) {
    handleSwitchIntfConfig(it.key());
  }
}

// ---------------------------------------------------------------------------------------------
// VLAN interface status

void ConfigSm::handleVlanIntfStatus(Plexo::IntfId intfId) {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 8, "ConfigSm", "handleVlanIntfStatus",
            this << "::handleVlanIntfStatus(" << intfId << ")");
  if (!internalVlanNeeded_) {
    KOB_TRACE(trace, 8, "ConfigSm", "handleVlanIntfStatus",
              this << " internalVlan not needed. "
                   << "VlanIntfStatus won't be processed for Intf: " << intfId);
    return;
  }
  KOB_ASSERT_REPORTED(Plexo::VlanIntfId::isVlanIntfId(intfId),
                      "Plexo::VlanIntfId::isVlanIntfId( intfId )", handleVlanIntfStatusFunction,
                      " intf: " << intfId);
  const Bridging::VlanIdOrNone vlanId(Plexo::VlanIntfId::vlanId(intfId));
  const auto dir = vlanIntfStatusDir();
  const bool exists = dir && dir->intfStatus(intfId);
  doSetDesiredInternalVlanId(intfId, exists ? vlanId : Bridging::VlanIdOrNone());
}

void ConfigSm::handleVlanIntfStatus() {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 8, "ConfigSm", "handleVlanIntfStatus", this << "::handleVlanIntfStatus()");
  if (!internalVlanNeeded_) {
    KOB_TRACE(trace, 8, "ConfigSm", "handleVlanIntfStatus",
              this << " internalVlan not needed. "
                   << "VlanIntfStatus won't be processed");
    return;
  }
  const auto dir = vlanIntfStatusDir();
  if (!dir) return;
  for (auto it = dir->intfStatusIteratorConst(); it; ++it) handleVlanIntfStatus(it.key());
}

// ---------------------------------------------------------------------------------------------
// L3 indexes

void ConfigSm::handleL3Index(Plexo::IntfId intfId) {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 7, "ConfigSm", "handleL3Index", this << "::handleL3Index(" << intfId << ")");
  const auto dir = fyrL3IndexDir();
  if (const auto entry = dir ? dir->l3Index(intfId) : nullptr) {
    l3IndexAppeared(intfId, entry->l3Id());
  } else {
    l3IndexVanished(intfId);
  }
}

void ConfigSm::l3IndexAppeared(Plexo::IntfId intfId, const L3Id& l3Id) {
  KOB_ASSERT_REPORTED(!fyrL3IntfTable()->intfL3IndexIteratorConst().isMemberOf(intfId),
                      "!fyrL3IntfTable()-> intfL3IndexIteratorConst().isMemberOf( intfId )",
                      handleL3IndexFunction,
                      " intf " << intfId << " found in platformL3IntfTable.");
  KOB_ASSERT_REPORTED(!fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf(l3Id),
                      "!fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
                      handleL3IndexFunction,
                      " intf " << intfId << " info not consistent in fyrL3IntfTable");
  fyrL3IntfTable()->routedPortNameIs(l3Id, intfId);
  fyrL3IntfTable()->intfL3IndexIs(intfId, l3Id);
}

void ConfigSm::l3IndexVanished(Plexo::IntfId intfId) {
  const auto table = fyrL3IntfTable();
  KOB_ASSERT_REPORTED(table && table->intfL3IndexIteratorConst().isMemberOf(intfId),
                      "fyrL3IntfTable()->intfL3IndexIteratorConst().isMemberOf( intfId )",
                      handleL3IndexFunction, " intf " << intfId << " not found in fyrL3IntfTable.");
  const L3Id l3Id = table->intfL3Index(intfId);
  KOB_ASSERT_REPORTED(table->routedPortNameIteratorConst().isMemberOf(l3Id),
                      "fyrL3IntfTable()->routedPortNameIteratorConst().isMemberOf( id )",
                      handleL3IndexFunction,
                      " intf " << intfId << " info not consistent in fyrL3IntfTable");
  table->routedPortNameDel(l3Id);
  table->intfL3IndexDel(intfId);
}

void ConfigSm::handleL3Index() {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 7, "ConfigSm", "handleL3Index", this << "::handleL3Index()");
  const auto dir = fyrL3IndexDir();
  if (!dir) {
    KOB_TRACE(trace, 7, "ConfigSm", "handleL3Index",
              this << "::handleL3Index() fyrL3IndexDir is NULL. Returning");
    return;
  }
  for (auto it = dir->l3IndexIteratorConst(); it; ++it) handleL3Index(it.key());
}

// ---------------------------------------------------------------------------------------------
// Internal VLANs: wishes, grants, hand-over

void ConfigSm::doSetDesiredInternalVlanId(Plexo::IntfId intfId,
                                          Bridging::VlanIdOrNone newDesiredInternalVlanId) {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 8, "ConfigSm", "doSetDesiredInternalVlanId",
            this << "::doSetDesiredInternalVlanId( " << newDesiredInternalVlanId << " )");
  const auto old = desiredInternalVlanId(intfId);
  if (old == newDesiredInternalVlanId) return;
  if (old) wishWithdrawn(intfId, old);
  wishRecorded(intfId, newDesiredInternalVlanId);
  doSetInternalVlanId(intfId, vlanIsFree(intfId, newDesiredInternalVlanId)
                                  ? newDesiredInternalVlanId
                                  : Bridging::VlanIdOrNone());
  if (old) vlanHandedOver(old);
}

// The sets are changed where they stand, not copied out and back, and a set comes into its
// collection with its first member: nobody is told of either, and copies would cost as much as
// there are ports that wait.

namespace {

/// The interface's membership among the wishes for a VLAN (null: nobody has one), or null.
ConfigSm::IntfSet::KobMember* wishIn(const ConfigSm::KobDesiredRoutedPortName* wishes,
                                     Plexo::IntfId intfId) {
  if (wishes == nullptr) return nullptr;
  auto* const member = wishes->value().memberCollection().find(intfId);
  return member != nullptr && member->value() ? member : nullptr;
}

}  // namespace

bool ConfigSm::wishStands(Plexo::IntfId intfId, Bridging::VlanId vlanId) const {
  return wishIn(desiredRoutedPortName_.find(vlanId), intfId) != nullptr;
}

void ConfigSm::wishWithdrawn(Plexo::IntfId intfId, Bridging::VlanIdOrNone old) {
  const Bridging::VlanId vlanId(old);
  const std::uint32_t vlanHash = Kob::reversedHash(vlanId);
  auto* const wishes = desiredRoutedPortName_.find(vlanId, vlanHash);
  auto* const wish = wishIn(wishes, intfId);
  KOB_ASSERT(wish != nullptr, "intfSet.member( intfId )", doSetDesiredInternalVlanIdFunction);
  auto& members = wishes->mutableValue().memberCollection();
  members.deleteMember(wish);
  if (members.members() == 0) desiredRoutedPortName_.deleteMember(wishes, vlanHash);
}

void ConfigSm::wishRecorded(Plexo::IntfId intfId, Bridging::VlanIdOrNone newDesiredInternalVlanId) {
  if (!newDesiredInternalVlanId) {
    desiredInternalVlanIdDel(intfId);
    return;
  }
  const Bridging::VlanId vlanId(newDesiredInternalVlanId);
  const std::uint32_t vlanHash = Kob::reversedHash(vlanId);
  auto* const wishes = desiredRoutedPortName_.find(vlanId, vlanHash);
  KOB_ASSERT(wishIn(wishes, intfId) == nullptr, "!intfSet.member( intfId )",
             doSetDesiredInternalVlanIdFunction);
  if (wishes != nullptr) {
    wishes->mutableValue().memberIs(intfId, true);
  } else {
    const Kob::Ptr first(new KobDesiredRoutedPortName(vlanId));
    first->mutableValue().memberIs(intfId, true);
    desiredRoutedPortName_.newMember(first, vlanHash);
  }
  desiredInternalVlanIdIs(intfId, newDesiredInternalVlanId);
}

bool ConfigSm::vlanIsFree(Plexo::IntfId intfId,
                          Bridging::VlanIdOrNone newDesiredInternalVlanId) const {
  if (!newDesiredInternalVlanId) return false;
  const auto owner = fyrL3IntfTable_->routedPortName(platformId(newDesiredInternalVlanId));
  if (!owner) return true;
  KOB_ASSERT(
      owner != intfId,
      "fyrL3IntfTable()->routedPortName( L3Id( newDesiredInternalVlanId.value() ) ) != intfId",
      doSetDesiredInternalVlanIdFunction);
  return false;
}

void ConfigSm::vlanHandedOver(Bridging::VlanIdOrNone old) {
  if (fyrL3IntfTable_->routedPortName(platformId(old))) return;
  const auto* const waiting = desiredRoutedPortName_.find(Bridging::VlanId(old));
  if (waiting == nullptr || waiting->value().members() == 0) return;
  doSetInternalVlanId(waiting->value().memberIteratorConst().key(), old);
}

void ConfigSm::doSetInternalVlanId(Plexo::IntfId intfId, Bridging::VlanIdOrNone newInternalVlanId) {
  KOB_TRACE(trace, 8, "ConfigSm", "doSetInternalVlanId",
            this << "::doSetInternalVlanId( " << newInternalVlanId << " )");
  const auto table = fyrL3IntfTable();  // Held: a reader may drop the machine and the table.
  const L3Id oldPlatformId = Kob::valueAt(table->intfL3IndexCollection(), intfId);
  const Bridging::VlanIdOrNone oldInternalVlanId(oldPlatformId);
  if (oldInternalVlanId == newInternalVlanId) return;
  if (oldInternalVlanId) {
    KOB_ASSERT(table->routedPortName(oldPlatformId) == intfId,
               "fyrL3IntfTable()->routedPortName( oldPlatformId ) == intfId",
               doSetInternalVlanIdFunction);
    table->routedPortNameDel(oldPlatformId);
  }
  if (newInternalVlanId) {
    const L3Id newPlatformId = platformId(newInternalVlanId);
    KOB_ASSERT(!table->routedPortName(newPlatformId),
               "!fyrL3IntfTable()->routedPortName( newPlatformId )", doSetInternalVlanIdFunction);
    table->routedPortNameIs(newPlatformId, intfId);
    table->intfL3IndexIs(intfId, newPlatformId);
  } else {
    table->intfL3IndexDel(intfId);
  }
}

// ---------------------------------------------------------------------------------------------
// Teardown

void ConfigSm::doPrepareToDie() {
  const Kob::Keep keep(this);  // A reader of the table may drop the machine.
  KOB_TRACE(trace, 8, "ConfigSm", "doPrepareToDie", this << "::doPrepareToDie()");
  if (internalVlanNeeded_) {
    for (auto it = switchIntfConfigSmIterator(); it; ++it) {
      it->doPrepareToDie();
      switchIntfConfigSmDel(it);
    }
    const auto dir = vlanIntfStatusDir();
    if (!dir) return;
    for (auto it = dir->intfStatusIteratorConst(); it; ++it) {
      doSetDesiredInternalVlanId(it.key(), Bridging::VlanIdOrNone());
    }
    return;
  }
  KOB_ASSERT(switchIntfConfigSms() == 0, "switchIntfConfigSms() == 0", doPrepareToDieFunction);
  KOB_ASSERT(desiredInternalVlanIds() == 0, "desiredInternalVlanIds() == 0",
             doPrepareToDieFunction);
  KOB_ASSERT(desiredRoutedPortNames() == 0, "desiredRoutedPortNames() == 0",
             doPrepareToDieFunction);
  KOB_TRACE(trace, 8, "ConfigSm", "doPrepareToDie",
            this << " internalVlan not needed. Nothing to cleanup");
}

// ---------------------------------------------------------------------------------------------
// The self-check

void ConfigSm::doVerify() {
  KOB_TRACE(trace, 9, "ConfigSm", "doVerify", this << "::doVerify()");
  if (internalVlanNeeded_) {
    verifyWishes();
    verifyInternalVlanTable();
  } else {
    verifyL3IndexTable();
  }
}

unsigned ConfigSm::verifySwitchIntfWishes() const {
  unsigned wishes = 0;
  const auto config = this->config();
  for (auto iter = config->switchIntfConfigIteratorConst(); iter; ++iter) {
    const Bridging::VlanIdOrNone vlanId = configuredWish(**iter);
    KOB_ASSERT(desiredInternalVlanId(iter->intfId()) == vlanId,
               "desiredInternalVlanId( iter->intfId() ) == vlanId", doVerifyFunction);
    if (!vlanId) continue;
    KOB_ASSERT(wishStands(iter->intfId(), Bridging::VlanId(vlanId)),
               "desiredRoutedPortName( vlanId.value() ).member( iter->intfId() )",
               doVerifyFunction);
    ++wishes;
  }
  return wishes;
}

unsigned ConfigSm::verifyVlanIntfWishes() const {
  unsigned wishes = 0;
  const auto dir = vlanIntfStatusDir();
  for (auto iter = dir->intfStatusIteratorConst(); iter; ++iter) {
    const Bridging::VlanIdOrNone vlanId(Plexo::VlanIntfId::vlanId(iter.key()));
    KOB_ASSERT(desiredInternalVlanId(iter.key()) == vlanId,
               "desiredInternalVlanId( iter.key() ) == vlanId", doVerifyFunction);
    if (!vlanId) continue;
    KOB_ASSERT(wishStands(iter.key(), Bridging::VlanId(vlanId)),
               "desiredRoutedPortName( vlanId.value() ).member( iter.key() )", doVerifyFunction);
    ++wishes;
  }
  return wishes;
}

void ConfigSm::verifyWishes() const {
  unsigned intfsDesiringInternalVlans = verifySwitchIntfWishes();
  intfsDesiringInternalVlans += verifyVlanIntfWishes();
  unsigned internalVlansDesiredByIntfs = 0;
  for (auto iter = desiredRoutedPortNameIteratorConst(); iter; ++iter) {
    KOB_ASSERT(iter->members() != 0, "iter->members()", doVerifyFunction);
    internalVlansDesiredByIntfs += iter->members();
  }
  KOB_ASSERT(internalVlansDesiredByIntfs == intfsDesiringInternalVlans,
             "internalVlansDesiredByIntfs == intfsDesiringInternalVlans", doVerifyFunction);
  KOB_ASSERT(desiredInternalVlanIds() == intfsDesiringInternalVlans,
             "desiredInternalVlanIds() == intfsDesiringInternalVlans", doVerifyFunction);
}

void ConfigSm::verifyInternalVlanTable() const {
  const auto table = fyrL3IntfTable();
  for (auto iter = table->intfL3IndexIteratorConst(); iter; ++iter) {
    KOB_ASSERT(static_cast<bool>(*iter), "*iter", doVerifyFunction);
    KOB_ASSERT(platformId(desiredInternalVlanId(iter.key())) == *iter,
               "desiredInternalVlanId( iter.key() ) == *iter", doVerifyFunction);
  }
  KOB_ASSERT(table->routedPortNames() == desiredRoutedPortNames(),
             "fyrL3IntfTable()->routedPortNames() == desiredRoutedPortNames()", doVerifyFunction);
  for (auto iter = table->routedPortNameIteratorConst(); iter; ++iter) {
    const L3Id id = iter.key();
    KOB_ASSERT(static_cast<bool>(id), "!!id", doVerifyFunction);
    const Bridging::VlanId vlanId(static_cast<std::uint16_t>(id.value()));
    KOB_ASSERT(wishStands(*iter, vlanId),
               "desiredRoutedPortName( Bridging::VlanId( id.value() ) ).member( *iter )",
               doVerifyFunction);
  }
  KOB_ASSERT(table->intfL3Indexs() == table->routedPortNames(),
             "fyrL3IntfTable()->intfL3Indexs() == fyrL3IntfTable()->routedPortNames()",
             doVerifyFunction);
  for (auto iter = table->routedPortNameIteratorConst(); iter; ++iter) {
    KOB_ASSERT(Kob::valueAt(table->intfL3IndexCollection(), *iter) == iter.key(),
               "fyrL3IntfTable()->intfL3Index( *iter ) == iter.key()", doVerifyFunction);
  }
}

void ConfigSm::verifyL3IndexTable() const {
  KOB_ASSERT_REPORTED(switchIntfConfigSms() == 0, "switchIntfConfigSms() == 0", doVerifyFunction,
                      " non 0 switchIntfConfigSms detected: " << switchIntfConfigSms());
  KOB_ASSERT_REPORTED(desiredInternalVlanIds() == 0, "desiredInternalVlanIds() == 0",
                      doVerifyFunction, " desiredInternalVlanIds: " << desiredInternalVlanIds());
  KOB_ASSERT_REPORTED(desiredRoutedPortNames() == 0, "desiredRoutedPortNames() == 0",
                      doVerifyFunction, " desiredRoutedPortNames: " << desiredRoutedPortNames());
  const auto dir = fyrL3IndexDir();
  const auto table = fyrL3IntfTable();
  KOB_ASSERT_REPORTED(
      dir->l3Indexs() == table->intfL3Indexs(),
      "fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->intfL3Indexs()", doVerifyFunction,
      " Mnemo entries: " << dir->l3Indexs()
                         << " table intfL3Index entries: " << table->intfL3Indexs());
  KOB_ASSERT_REPORTED(
      dir->l3Indexs() == table->routedPortNames(),
      "fyrL3IndexDir()->l3Indexs() == fyrL3IntfTable()->routedPortNames()", doVerifyFunction,
      " Mnemo entries: " << dir->l3Indexs()
                         << " table routedPortName entries: " << table->routedPortNames());
  for (auto iter = dir->l3IndexIteratorConst(); iter; ++iter) {
    const auto& l3Index = *iter;
    const L3Id tableId = table->intfIdToL3Id(iter.key());
    KOB_ASSERT_REPORTED(l3Index->l3Id() == tableId, "l3Index->l3Id() == tableId", doVerifyFunction,
                        " Mnemo L3 index for IntfId: " << iter.key() << " is " << l3Index->l3Id()
                                                       << ". Table index is " << tableId);
    const auto owner = table->routedPortName(tableId);
    KOB_ASSERT_REPORTED(owner == iter.key(),
                        "fyrL3IntfTable()->routedPortName( tableId ) == iter.key()",
                        doVerifyFunction,
                        " IntfId mismatch. Mnemo: " << iter.key() << " Table: " << owner
                                                    << " platformId: " << tableId);
  }
}

}  // namespace FyrL3Intf
