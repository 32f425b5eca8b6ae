#include "Kob/Activity.h"

#include <utility>

#include "Kob/Notifier.h"

namespace Kob {

using NotifieeConst = PtrInterface::NotifieeConst;

ActivitySm::~ActivitySm() {
  while (!queue_.empty()) pendingDel(queue_.front());
}

void ActivitySm::deferralIs(bool deferral) {
  deferral_ = deferral;
  if (!deferral_) run();
}

bool ActivitySm::waits(const NotifieeConst* notifiee) noexcept {
  if (delivering_ == notifiee) {
    delivering_ = nullptr;
    return false;
  }
  return deferral_ || notifiee->queue_ != nullptr;
}

void ActivitySm::pendingIs(NotifieeConst* notifiee, AttributeId id) {
  queueIs(notifiee);
  const AttributeId pending = notifiee->pendingId_;
  if (pending == pendingNone || id == pendingReplaced) {
    notifiee->pendingId_ = id;
  } else if (pending != id && pending != pendingReplaced) {
    notifiee->pendingId_ = pendingSeveral;
  }
}

void ActivitySm::queueIs(NotifieeConst* notifiee) {
  if (notifiee->queue_ != nullptr) return;
  queue_.push_back(notifiee);
  notifiee->queue_ = this;
}

void ActivitySm::pendingDel(NotifieeConst* notifiee) noexcept {
  notifiee->pendingIdTake();
  notifiee->pendingCountTake();
  if (notifiee->queue_ != this) return;
  queue_.remove(notifiee);
  notifiee->queue_ = nullptr;
}

void ActivitySm::run() {
  if (running_) return;
  // The activity outlives its own run, whatever the handlers release.
  const Keep keep(&activity_);
  running_ = true;
  for (unsigned round = 0; round < roundsPerRun && !queue_.empty(); ++round) deliverRound();
  running_ = false;
}

void ActivitySm::deliverRound() {
  for (std::size_t turn = queue_.size(); turn > 0 && !queue_.empty(); --turn) {
    const Ptr<NotifieeConst> notifiee(queue_.front());
    queue_.pop_front();
    notifiee->queue_ = nullptr;
    deliver(*notifiee);
  }
}

void ActivitySm::deliver(NotifieeConst& notifiee) {
  if (notifiee.kobMarkedForDeletion()) {
    pendingDel(&notifiee);
    return;
  }
  const AttributeId id = notifiee.kobPendingAttributeId();
  try {
    const Expect expect(0);
    notifiee.handleNotification(&activity_);
  } catch (...) {
    tellException(notifiee, id);
  }
  delivering_ = nullptr;
}

ActivityConfig::ActivityConfig(Name name) : Entity(std::move(name)), sm_(*this) {}
ActivityConfig::~ActivityConfig() = default;

Ptr<ActivityConfig> activityFactory(Name name) { return {new ActivityConfig(std::move(name))}; }

void tellException(NotifieeConst& notifiee, AttributeId id) noexcept {
  try {
    notifiee.onNotificationException(id);
  } catch (...) {  // Nobody is left to tell.
    return;
  }
}

}  // namespace Kob
