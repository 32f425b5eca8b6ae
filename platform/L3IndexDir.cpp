#include "platform/L3IndexDir.h"

#include <utility>

namespace FyrL3Intf {

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
