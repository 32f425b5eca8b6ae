#include "platform/L3IndexDir.h"

#include <utility>

#include "Kob/Described.h"

namespace FyrL3Intf {

namespace {

KOB_COLLECTION_LOOKUP(DirEntries, L3IndexDir, l3Index);

constexpr Kob::AttributeRow l3IndexRows[] = {
    Kob::readable<&L3Index::intfId>("intfId", L3Index::intfIdId, {0x00220001, 0x00000400}, 0),
    Kob::readable<&L3Index::l3Id>("l3Id", L3Index::l3IdId, {0x00220001, 0x00000400}, 0),
};
constexpr Kob::Description l3IndexDescription = Kob::describedModel<L3Index>(l3IndexRows);

constexpr Kob::AttributeRow dirRows[] = {
    Kob::collection<DirEntries>("l3Index", L3IndexDir::l3IndexId, {0x01A20103, 0x00000400}, 2),
};
constexpr Kob::Description dirDescription = Kob::describedModel<L3IndexDir>(dirRows);

constexpr const Kob::Description* types[] = {&l3IndexDescription, &dirDescription};
constinit Kob::TypeInitialiser initialiser("FyrL3Intf", types);
[[maybe_unused]] const bool loaded = initialiser.load(types);

}  // namespace

KOB_MODEL_TYPE(L3Index, l3IndexDescription, initialiser);
KOB_MODEL_TYPE(L3IndexDir, dirDescription, initialiser);

L3Index::L3Index(Plexo::IntfId intfId, const L3Id& l3Id)
    : Entity(intfId.name()), intfId_(intfId), l3Id_(l3Id) {}
L3Index::~L3Index() = default;

L3IndexDir::L3IndexDir(Kob::Name name) : Entity(std::move(name)) {}

L3IndexDir::~L3IndexDir() { notifiees_.deleteAll(); }

Kob::Ptr<L3Index> L3IndexDir::newL3Index(Plexo::IntfId intfId, const L3Id& l3Id) {
  Kob::Ptr entry(new L3Index(intfId, l3Id));
  l3Index_.newMember(entry);
  return entry;
}

Kob::Ptr<L3Index> L3IndexDir::l3IndexIs(Plexo::IntfId intfId, const L3Id& l3Id) {
  auto entry = l3Index_[intfId];
  if (entry) {
    if (entry->l3Id_ == l3Id) return entry;
    entry->l3Id_ = l3Id;
    entry->changeCountInc();
  } else {
    entry = newL3Index(intfId, l3Id);
  }
  changeCountInc();
  l3IndexNotify(intfId);
  return entry;
}

void L3IndexDir::l3IndexNotify(Plexo::IntfId intfId) {
  Kob::announce(notifiees_, l3IndexId,
                [intfId](NotifieeConst& notifiee) { notifiee.onL3Index(intfId); });
}

void L3IndexDir::zeroReferencesIs(bool) { Kob::announceZeroReferences(notifiees_); }

L3IndexDir::NotifieeConst::~NotifieeConst() { leave(); }
void L3IndexDir::NotifieeConst::onL3Index(Plexo::IntfId) {}
void L3IndexDir::NotifieeConst::onL3IndexkobImmediate() {}
void L3IndexDir::NotifieeConst::onL3Index() {}

Kob::Ptr<L3IndexDir> l3IndexDirFactory(Kob::Name name) { return {new L3IndexDir(std::move(name))}; }

}  // namespace FyrL3Intf
