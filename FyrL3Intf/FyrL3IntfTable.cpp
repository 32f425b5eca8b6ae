#include "FyrL3Intf/FyrL3IntfTable.h"

#include <utility>

#include "Kob/Activity.h"
#include "Kob/Trace.h"

namespace FyrL3Intf {

namespace {

const Kob::TraceHandle& traceHandle() {
  static const Kob::TraceHandle handle("FyrL3IntfSm", false);
  return handle;
}
// Made at load: a look-up never runs out of memory for it, nor asks whether it is there.
const Kob::TraceHandle& trace = traceHandle();

// What the table publishes.

KOB_COLLECTION_ACCESS(RoutedPortName, Table, routedPortName);
KOB_COLLECTION_ACCESS(CountedIntfL3Index, Table, intfL3Index);
/// Looked up in the collection itself: a read by a tool is not counted.
struct IntfL3Index : CountedIntfL3Index {
  static L3Id read(const Table& table, Plexo::IntfId intfId) {
    return Kob::valueAt(map(table), intfId);
  }
};

constexpr Kob::AttributeRow tableRows[] = {
    // name, id, flags, kind code
    Kob::readable<&Table::internalVlanNeeded>("internalVlanNeeded", Table::internalVlanNeededId,
                                              {0x00220109, 0x40000400}, 2),
    Kob::collection<RoutedPortName>("routedPortName", Table::routedPortNameId,
                                    {0x01A20103, 0x00000400}, 2),
    Kob::collection<IntfL3Index>("intfL3Index", Table::intfL3IndexId, {0x01A20143, 0x00000400}, 2),
    Kob::function<&Table::l3IdToIntfId>("l3IdToIntfId", Table::l3IdToIntfIdId,
                                        {0x00020001, 0x00000400}, {"l3Id"}),
    Kob::function<&Table::intfIdToL3Id>("intfIdToL3Id", Table::intfIdToL3IdId,
                                        {0x00020001, 0x00000400}, {"intfId"}),
};
constinit Kob::KobAttr* tableHandles[std::size(tableRows)] = {};

constexpr Kob::Description tableDescription = {
    .qualifiedName = Table::kobTypeName,
    .type = Table::_fwkType,
    .instanceSize = sizeof(Table),
    .constructorParameters =
        Kob::Signature<decltype(&tableFactory)>::parameters({"name", "internalVlanNeeded"}),
    .rows = tableRows,
    .callRefusal = {.missing = "List"},
    .constructorRefusal = {.missing = "List"},
    .handles = tableHandles,
};

constexpr const Kob::Description* types[] = {&tableDescription};
constinit Kob::TypeInitialiser initialiser("FyrL3Intf", types);
[[maybe_unused]] const bool loaded = initialiser.load(types);

}  // namespace

Table::Table(Kob::Name name, bool internalVlanNeeded)
    : Entity(std::move(name)), internalVlanNeeded_(internalVlanNeeded) {}

Table::~Table() { notifiees_.deleteAll(); }

L3Id Table::intfIdToL3Id(Plexo::IntfId intfId) const {
  const L3Id l3Id = intfL3Index(intfId);
  KOB_TRACE_COPYING(trace, 7, "<unknown>", "intfIdToL3Id",
                    "intfIdToL3Id( " << intfId << " ) is " << l3Id);
  return l3Id;
}

Plexo::IntfId Table::l3IdToIntfId(const L3Id& l3Id) const {
  const Plexo::IntfId intfId = routedPortName(l3Id);
  KOB_TRACE_COPYING(trace, 7, "<unknown>", "l3IdToIntfId",
                    "l3IdToIntfId( " << l3Id << " ) is " << intfId);
  return intfId;
}

void Table::intfL3IndexNotify(Plexo::IntfId intfId) {
  Kob::announce(notifiees_, intfL3IndexId,
                [intfId](NotifieeConst& notifiee) { notifiee.onIntfL3Index(intfId); });
}

void Table::routedPortNameNotify(const L3Id&) {}

void Table::zeroReferencesIs(bool) { Kob::announceZeroReferences(notifiees_); }

Table::NotifieeConst::~NotifieeConst() { leave(); }
void Table::NotifieeConst::onIntfL3Index(Plexo::IntfId) {}
void Table::NotifieeConst::onIntfL3IndexkobImmediate() {}
void Table::NotifieeConst::onIntfL3Index() {}
Table::Notifiee::~Notifiee() = default;

// ---------------------------------------------------------------------------------------------
// The description

void kobInitFyrL3IntfTable() { initialiser.describe(); }

Kob::KobType* Table::_fwkType() {
  static constinit Kob::TypePointer pointer;
  return pointer.get(kobInitFyrL3IntfTable, [] {
    auto* const type = new _Type;
    type->hasFactoryIs(true);
    return type;
  });
}

Kob::KobType* Table::fwkType() const { return _fwkType(); }

Kob::String8 Table::attributeString(Kob::AttributeId id) const {
  const char* const name = tableDescription.attributeName(id);
  return name != nullptr ? Kob::String8(name) : Entity::attributeString(id);
}

Table::_Type::_Type() : DescribedObjectType(Kob::Entity::_fwkType()) {}
Table::_Type::~_Type() = default;
std::span<Kob::KobAttr* const> Table::_Type::attributeHandles() noexcept { return tableHandles; }

// ---------------------------------------------------------------------------------------------
// The generic interface

using TableIf = Table::GenericIf_;
using Adapter = Table::GenericIf_::GenericIf_Adapter_;

TableIf::GenericIf_(const Kob::Ptr<Table>& table, bool readOnly) : Described(table, readOnly) {
  // Nobody holds this object yet: the references that the adapter takes must not release it.
  kobHeldIs(true);
  adapter_ = GenericIf_Adapter_Is(table, Kob::Ptr(this));
  kobHeldIs(false);
}

TableIf::~GenericIf_() { adapter_->kobReactorAdapterIs(nullptr); }

const Kob::Description& TableIf::description() { return tableDescription; }

Kob::Ptr<Kob::GenericIf> TableIf::genericIfListConstructor(const Kob::Ptr<const GenericIf>& list) {
  return Kob::generic(Kob::constructFromList<&tableFactory>(list, description()));
}

Kob::Ptr<Adapter> TableIf::GenericIf_Adapter_Is(const Kob::Ptr<Table>& table,
                                                const Kob::Ptr<GenericIf_>& wrapper) {
  return {new GenericIf_Adapter_(table, wrapper)};
}

bool TableIf::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) return active;
  kobNotificationActiveIs(active);
  adapter_->hasNotificationActiveIs(active);
  return active;
}

bool TableIf::kobDoZombieReactors(bool zombie) {
  if (zombie == kobMarkedForDeletion()) return zombie;
  adapter_->kobDoZombieReactors(zombie);
  kobNotificationActiveIs(!zombie);
  kobMarkedForDeletionIs(zombie);
  return zombie;
}

void TableIf::onIntfL3Index(Plexo::IntfId intfId) {
  adapter_->intfL3IndexPendingKeyIs(intfId);
  if (kobOnAttribute(intfL3IndexId)) return;
  onAttribute(intfL3IndexId, Kob::generic(intfId));
}

void TableIf::handleNotification(Kob::ActivityConfig* activity) {
  const Kob::AttributeId id = pendingIdTake();
  if (id == intfL3IndexId) {
    onAttribute(intfL3IndexId, Kob::generic(adapter_->intfL3IndexPendingKey()));
    return;
  }
  handleDefault(activity, id, true);
  redispatch(actsm());
}

Adapter::GenericIf_Adapter_(const Kob::Ptr<Table>& table, const Kob::Ptr<GenericIf_>& reactor)
    : reactor_(reactor.get()) {
  isRegisteredNotifieeIs(true);
  notifierIs(table);
  isWeakReferenceIs(true);
}

Adapter::~GenericIf_Adapter_() = default;

bool Adapter::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) return active;
  listeningIs(active);
  if (const auto reactor = kobReactorAdapter(); reactor && !kobMarkedForDeletion()) {
    reactor->hasNotificationActiveIs(active);
  }
  return active;
}

Kob::Ptr<Kob::PtrInterface> Adapter::kobReactor() const { return {reactor_}; }
Kob::PtrInterface* Adapter::kobRawReactor() const { return reactor_; }

void Adapter::onNotificationException(Kob::AttributeId id) {
  if (const auto reactor = kobReactorAdapter()) reactor->onNotificationException(id);
}

void Adapter::onZeroReferences() {
  if (const auto reactor = kobReactorAdapter()) reactor->onZeroReferences();
  hasNotificationActiveIs(false);
}

void Adapter::onIntfL3Index(Plexo::IntfId intfId) {
  if (const auto reactor = kobReactorAdapter()) reactor->onIntfL3Index(intfId);
}

void Adapter::onIntfL3Index() {
  if (const auto reactor = kobReactorAdapter()) reactor->onAttribute(intfL3IndexId);
}

bool Adapter::kobDoZombieReactors(bool zombie) { return zombieIs(zombie); }

Kob::Ptr<Table::GenericIf_> Adapter::kobReactorAdapter() { return {reactor_}; }
Kob::Ptr<const Table::GenericIf_> Adapter::kobReactorAdapter() const { return {reactor_}; }
void Adapter::kobReactorAdapterIs(const Kob::Ptr<GenericIf_>& reactor) { reactor_ = reactor.get(); }

Kob::Ptr<Table> tableFactory(Kob::Name name, bool internalVlanNeeded) {
  return {new Table(std::move(name), internalVlanNeeded)};
}

}  // namespace FyrL3Intf
