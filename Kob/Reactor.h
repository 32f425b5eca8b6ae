#pragma once

// Reactors: how a state machine holds an input. A reactor is the notifiee by which its owner
// watches one notifier; it turns notifications into calls of the owner's handlers, at once or
// deferred through its activity.
//
// A reactor class says which notifiee class it derives from and who owns it, and has what its base
// calls: `renewed()`, what a new notifier makes it do; and for a keyed attribute `keyedHook(key)`
// and `unkeyedHook()`, the attribute's hooks by name, and `handleKey(key)`, the owner's handler.
//
//   class KobStore final
//       : public Kob::KeyedReactor<KobStore, Store::NotifieeConst, Clerk, Store::parcelId, Name>
//       {};
//
// A zombie reactor still receives its hooks and calls no handler. A reactor whose owner has gone is
// a zombie; waking it without an owner and notifying it is fatal.

#include <cstdint>
#include <utility>

#include "Kob/Activity.h"
#include "Kob/Export.h"
#include "Kob/Notifiee.h"

namespace Kob {

/// What every reactor does: notifier, activity, owner, notification switch, zombie.
template <class Self, class NotifieeBase, class Owner>
class KOB_EXPORT Reactor : public NotifieeBase {
 public:
  using NotifierPtr = decltype(std::declval<const NotifieeBase&>().notifier());
  using OwnerType = Owner;

  ~Reactor() override = default;

  /// Off leaves the notifier's list and remembers; on joins again what had joined. Returns the
  /// value that stands afterwards.
  bool hasNotificationActiveIs(bool active) override { return this->listeningIs(active); }

  /// Watches `object` and joins its list. A notifier that is new, of the right type and not null
  /// makes a reactor that is not a zombie resynchronise through `renewed()`. What that throws
  /// passes to the caller after the reactor has joined. The same notifier changes nothing.
  void notifierIs(const Ptr<const PtrInterface>& object) override {
    const auto old = this->notifier();
    if (dynamicCast<const typename NotifieeBase::NotifierType>(object) == old) return;
    NotifieeBase::notifierIs(object);
    const Joiner joiner{*this};
    if (this->notifier() && !this->kobMarkedForDeletion()) self().renewed();
  }

  Ptr<ActivityConfig> kobFwkActivity() override { return activity_; }
  [[nodiscard]] Ptr<const ActivityConfig> kobFwkActivity() const override { return activity_; }
  ActivitySm* actsm() override { return activity_ ? activity_->activitySm() : nullptr; }

  void kobFwkActivityIs(const Ptr<ActivityConfig>& activity) { activity_ = activity; }

  /// The state machine that owns this reactor; using it once it has let go is fatal. It is kept for
  /// as long as the result lives, so that a machine that its own handler drops stays to the end.
  [[nodiscard]] Keep<Owner> owner() const noexcept { return Keep<Owner>(owner_); }
  void ownerIs(Owner* owner) noexcept { owner_ = owner; }

  /// Makes a zombie of the reactor (it stops listening), or wakes it (it listens again). Returns
  /// the value that stands afterwards; the same value changes nothing.
  virtual bool kobDoZombieReactors(bool zombie) { return this->zombieIs(zombie); }

 protected:
  /// In this order: the notifier (no handler runs), the activity, joining the notifier's list.
  Reactor(const Ptr<ActivityConfig>& activity, const NotifierPtr& notifier, Owner* owner)
      : owner_(owner) {
    NotifieeBase::notifierIs(notifier);
    kobFwkActivityIs(activity);
    this->isRegisteredNotifieeIs(true);
  }
  Self& self() noexcept { return static_cast<Self&>(*this); }

 private:
  struct Joiner {
    Reactor& reactor;
    ~Joiner() { reactor.isRegisteredNotifieeIs(true); }
  };

  Ptr<ActivityConfig> activity_;
  Owner* owner_;
};

/// A reactor on one keyed attribute, with the record of what it has deferred: the last key, besides
/// the pending id and count that every notifiee keeps.
template <class Self, class NotifieeBase, class Owner, AttributeId watched, class Key>
class KOB_EXPORT KeyedReactor : public Reactor<Self, NotifieeBase, Owner> {
 public:
  /// Delivers what was deferred: one notification comes out of the keyed hook with its key, two or
  /// more out of the unkeyed hook, once. Ids that are not the watched attribute's are the
  /// framework's to handle.
  void handleNotification(ActivityConfig* activity) override {
    const AttributeId id = this->pendingIdTake();
    ActivitySm* const actsm = this->actsm();
    if (id == watched || id == pendingSeveral) {
      deliver(actsm, this->pendingCountTake());
      if (id == watched) return;
    } else if (id == pendingReplaced) {
      this->pendingCountTake();
      this->self().unkeyedHook();
    } else {
      NotifieeBase::handleDefault(activity, id, true);
      return;
    }
    this->redispatch(actsm);
    NotifieeBase::handleDefault(activity, id, false);
  }

 protected:
  using Reactor<Self, NotifieeBase, Owner>::Reactor;

  /// The keyed hook: records the key, and handles it unless the notification has to wait.
  void keyChanged(Key key) {
    pendingKey_ = key;
    if (this->kobOnAttribute(watched)) {
      this->pendingCountInc();
      return;
    }
    if (!this->kobMarkedForDeletion()) this->self().handleKey(key);
  }

 private:
  void deliver(ActivitySm* actsm, std::uint32_t count) {
    if (count == 1) {
      if (actsm != nullptr) actsm->deliveringIs(this);
      this->self().keyedHook(pendingKey_);
    } else if (count > 1) {
      this->self().unkeyedHook();
    }
  }

  Key pendingKey_{};
};

/// An input of a state machine: the reactor that holds it, or none. The owner answers
/// `kobFwkActivity()`, the activity in which its reactors run.
template <class ReactorType>
class Input {
 public:
  using Owner = typename ReactorType::OwnerType;
  using NotifierPtr = typename ReactorType::NotifierPtr;

  Input() = default;
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  /// Disconnects the reactor: a notification that is under way can no longer reach the owner.
  ~Input() {
    if (reactor_) disconnect();
  }

  /// The watched object, or null.
  [[nodiscard]] NotifierPtr notifier() const { return reactor_ ? reactor_->notifier() : nullptr; }
  /// The reactor, or null.
  [[nodiscard]] const Ptr<ReactorType>& reactor() const noexcept { return reactor_; }

  /// Makes the reactor, on `notifier` or on none; no handler runs. A reactor that is there already
  /// is disconnected.
  Ptr<ReactorType> newReactor(Owner& owner, const NotifierPtr& notifier) {
    const Ptr<ReactorType> made(new ReactorType(owner.kobFwkActivity(), notifier, &owner));
    if (reactor_) disconnect();
    reactor_ = made;
    made->hasNotificationActiveIs(true);
    return made;
  }

  /// Replaces the input; a new one that is not null makes the reactor resynchronise. Null
  /// disconnects the reactor and lets it go: no handler runs, and what was derived from the former
  /// input stays. The same input changes nothing.
  void notifierIs(Owner& owner, const NotifierPtr& notifier) {
    if (reactor_ ? reactor_->notifier() == notifier : notifier == nullptr) return;
    if (notifier == nullptr) {
      disconnect();
      return;
    }
    const Keep<Owner> keep(&owner);
    const Ptr<ReactorType> reactor = reactor_ ? reactor_ : newReactor(owner, nullptr);
    reactor->notifierIs(notifier);
    // The handler may have taken the input away again.
    if (reactor == reactor_) reactor->kobDoZombieReactors(owner.kobMarkedForDeletion());
  }

  /// Disconnects the reactor and switches its notifications off; returns the former input, or null.
  /// No handler runs.
  NotifierPtr notifierDel() {
    if (!reactor_) return nullptr;
    const Ptr<ReactorType> former = disconnect();
    former->hasNotificationActiveIs(false);
    return former->notifier();
  }

 private:
  Ptr<ReactorType> disconnect() {
    Ptr<ReactorType> former = std::exchange(reactor_, nullptr);
    former->kobDoZombieReactors(true);
    former->ownerIs(nullptr);
    return former;
  }

  Ptr<ReactorType> reactor_;
};

}  // namespace Kob
