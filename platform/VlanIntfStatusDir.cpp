#include "platform/VlanIntfStatusDir.h"

#include <utility>

#include "Kob/Described.h"

namespace Interface {

namespace {

KOB_COLLECTION_LOOKUP(DirEntries, VlanIntfStatusDir, intfStatus);

constexpr Kob::AttributeRow intfStatusRows[] = {
    Kob::readable<&IntfStatus::intfId>("intfId", IntfStatus::intfIdId, {0x00220001, 0x00000400}, 0),
};
constexpr Kob::Description intfStatusDescription = Kob::describedModel<IntfStatus>(intfStatusRows);

constexpr Kob::AttributeRow dirRows[] = {
    Kob::collection<DirEntries>("intfStatus", VlanIntfStatusDir::intfStatusId,
                                {0x01A20103, 0x00000400}, 2),
};
constexpr Kob::Description dirDescription = Kob::describedModel<VlanIntfStatusDir>(dirRows);

constexpr const Kob::Description* types[] = {&intfStatusDescription, &dirDescription};
constinit Kob::TypeInitialiser initialiser("Interface", types);
[[maybe_unused]] const bool loaded = initialiser.load(types);

}  // namespace

KOB_MODEL_TYPE(IntfStatus, intfStatusDescription, initialiser);
KOB_MODEL_TYPE(VlanIntfStatusDir, dirDescription, initialiser);

IntfStatus::IntfStatus(Plexo::IntfId intfId) : Entity(intfId.name()), intfId_(intfId) {}
IntfStatus::~IntfStatus() = default;

IntfStatusDirBase::IntfStatusDirBase(Kob::Name name) : Entity(std::move(name)) {}
IntfStatusDirBase::~IntfStatusDirBase() = default;
IntfStatusDirBase::NotifieeConst::~NotifieeConst() = default;

VlanIntfStatusDir::VlanIntfStatusDir(Kob::Name name) : IntfStatusDirBase(std::move(name)) {}

VlanIntfStatusDir::~VlanIntfStatusDir() { notifiees_.deleteAll(); }

Kob::Ptr<IntfStatus> VlanIntfStatusDir::newIntfStatus(Plexo::IntfId intfId) {
  Kob::Ptr entry(new IntfStatus(intfId));
  intfStatus_.newMember(entry);
  return entry;
}

Kob::Ptr<IntfStatus> VlanIntfStatusDir::intfStatusIs(Plexo::IntfId intfId) {
  if (auto known = intfStatus_[intfId]) return known;
  auto entry = newIntfStatus(intfId);
  changeCountInc();
  intfStatusNotify(intfId);
  return entry;
}

void VlanIntfStatusDir::intfStatusNotify(Plexo::IntfId intfId) {
  Kob::announce(notifiees_, intfStatusId,
                [intfId](NotifieeConst& notifiee) { notifiee.onIntfStatus(intfId); });
}

void VlanIntfStatusDir::zeroReferencesIs(bool) { Kob::announceZeroReferences(notifiees_); }

VlanIntfStatusDir::NotifieeConst::~NotifieeConst() { leave(); }
void VlanIntfStatusDir::NotifieeConst::onIntfStatus(Plexo::IntfId) {}
void VlanIntfStatusDir::NotifieeConst::onIntfStatuskobImmediate() {}
void VlanIntfStatusDir::NotifieeConst::onIntfStatus() {}

Kob::Ptr<VlanIntfStatusDir> vlanIntfStatusDirFactory(Kob::Name name) {
  return {new VlanIntfStatusDir(std::move(name))};
}

}  // namespace Interface
