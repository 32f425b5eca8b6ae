#include "Kob/Notifiee.h"

#include <algorithm>
#include <unordered_map>

#include "Kob/Activity.h"
#include "Kob/WeakHolds.h"

namespace Kob {

using NotifieeConst = PtrInterface::NotifieeConst;

NotifieeConst::NotifieeConst() { kobNotificationActiveIs(true); }

NotifieeConst::~NotifieeConst() {
  if (queue_ != nullptr) queue_->pendingDel(this);
  if (notifier_ == nullptr) return;
  if (isWeakReference()) {
    WeakHolds::holdDel(notifier_, this);
  } else {
    notifier_->referencesDec();
  }
}

Ptr<PtrInterface> NotifieeConst::kobReactor() const { return nullptr; }
PtrInterface* NotifieeConst::kobRawReactor() const { return nullptr; }
bool NotifieeConst::isStreamAdapter() const { return false; }

bool NotifieeConst::isRegisteredNotifieeIs(bool registered) const {
  registeredIs(registered);
  return registered;
}

void NotifieeConst::kob_bitSetIs(Kob_BitSet bits) {
  for (const int own : {registeredBit, weakBit, wasRegisteredBit}) {
    bits_.test(own) ? bits.set(own) : bits.reset(own);
  }
  bits_ = bits;
}
String8 NotifieeConst::name() const { return {}; }

void NotifieeConst::notifierIs(const Ptr<const PtrInterface>& notifier) {
  const PtrInterface* const next = notifier.get();
  if (isWeakReference()) {
    if (next != nullptr) WeakHolds::holdIs(next, this);
    if (notifier_ != nullptr) WeakHolds::holdDel(notifier_, this);
    notifier_ = next;
    return;
  }
  if (next != nullptr) next->referencesInc();
  const PtrInterface* const old = std::exchange(notifier_, next);
  if (old != nullptr) old->referencesDec();
}

void NotifieeConst::isWeakReferenceIs(bool weak) {
  if (weak == isWeakReference()) return;
  if (weak) {
    if (notifier_ != nullptr) WeakHolds::holdIs(notifier_, this);
    bits_.set(weakBit);
    if (notifier_ != nullptr) notifier_->referencesDec();
  } else {
    if (notifier_ != nullptr) {
      notifier_->referencesInc();
      WeakHolds::holdDel(notifier_, this);
    }
    bits_.reset(weakBit);
  }
}

void NotifieeConst::handleNotification(ActivityConfig* activity) {
  handleDefault(activity, pendingIdTake(), true);
  pendingCountTake();
}

void NotifieeConst::handleDefault(ActivityConfig*, AttributeId id, bool deliver) {
  if (!deliver || id == pendingNone) return;
  if (id > 0) {
    onAttribute(id);
  } else {
    onNotification();
  }
}

void NotifieeConst::onAttribute(AttributeId) {}
void NotifieeConst::onNotification() {}
void NotifieeConst::onCollectionNotification(String8) {}
void NotifieeConst::onNotificationException() { handleNotificationException(); }
void NotifieeConst::onNotificationException(AttributeId id) { handleNotificationException(id); }
void NotifieeConst::handleNotificationException(AttributeId) {}
void NotifieeConst::handleNotificationException() {}
void NotifieeConst::onZeroReferences() {}

Ptr<ActivityConfig> NotifieeConst::activityPtr() const { return nullptr; }
Ptr<ActivityConfig> NotifieeConst::kobFwkActivity() { return nullptr; }
Ptr<const ActivityConfig> NotifieeConst::kobFwkActivity() const { return nullptr; }
ActivitySm* NotifieeConst::actsm() { return nullptr; }

bool NotifieeConst::kobOnAttribute(AttributeId id) {
  ActivitySm* const activity = actsm();
  if (activity == nullptr || !activity->waits(this)) return false;
  activity->pendingIs(this, id);
  return true;
}

bool NotifieeConst::listeningIs(bool listening) {
  if (listening == hasNotificationActive()) return listening;
  kobNotificationActiveIs(listening);
  if (listening) {
    if (bits_.test(wasRegisteredBit)) isRegisteredNotifieeIs(true);
  } else {
    isRegisteredNotifiee() ? bits_.set(wasRegisteredBit) : bits_.reset(wasRegisteredBit);
    isRegisteredNotifieeIs(false);
  }
  return listening;
}

bool NotifieeConst::zombieIs(bool zombie) {
  if (zombie == kobMarkedForDeletion()) return zombie;
  if (notifier_ != nullptr) hasNotificationActiveIs(!zombie);
  kobMarkedForDeletionIs(zombie);
  return zombie;
}

void NotifieeConst::redispatch(ActivitySm* activity) {
  if (activity != nullptr && pendingId_ != pendingNone) activity->queueIs(this);
}

namespace {

using Holds = std::unordered_multimap<const VFPtrInterface*, NotifieeConst*>;

Holds& holds() {
  // Never destroyed: objects with static storage may go later.
  static Holds& all = *new Holds;
  return all;
}

}  // namespace

void WeakHolds::holdIs(const VFPtrInterface* notifier, NotifieeConst* notifiee) {
  holds().emplace(notifier, notifiee);
  notifier->heldWeakly_ = true;
}

void WeakHolds::holdDel(const VFPtrInterface* notifier, const NotifieeConst* notifiee) noexcept {
  const auto [first, last] = holds().equal_range(notifier);
  const auto hold =
      std::find_if(first, last, [notifiee](const auto& h) { return h.second == notifiee; });
  KOB_ASSERT_UNTESTABLE(hold != last, "hold != last",
                        "void Kob::WeakHolds::holdDel(const Kob::VFPtrInterface*, "
                        "const Kob::PtrInterface::NotifieeConst*)",
                        "a weak hold is recorded for as long as it reads its notifier");
  holds().erase(hold);
}

void WeakHolds::notifierDel(const VFPtrInterface* notifier) noexcept {
  const auto [first, last] = holds().equal_range(notifier);
  std::for_each(first, last, [](const auto& hold) { hold.second->notifier_ = nullptr; });
  holds().erase(first, last);
}

}  // namespace Kob
