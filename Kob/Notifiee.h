#pragma once

// The base of everything that is notified: readers' notifiees, and the reactors by which state
// machines hold their inputs.
//
// A notifiee watches one notifier, which it keeps alive unless its hold is weak. It is called while
// it is registered, which means: in its notifier's list. The notifier's own notifiee class (made
// with NotifieeFor) knows that list; this base knows only the state.
//
// Deferral. A reactor that runs in an activity asks `kobOnAttribute` whether a notification is to
// wait. What waits is one record per reactor: the attribute id (`pendingSeveral` when there are
// several, `pendingReplaced` when the whole notifier changed), and for a keyed attribute the last
// key and how many notifications there were. So merging hides keys: two or more keyed changes, even
// of the same key, come out as one full resynchronisation.

#include <cstdint>
#include <utility>

#include "Kob/BitSet.h"
#include "Kob/Export.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"

namespace Kob {

class ActivityConfig;
class ActivitySm;

/// Pending attribute ids that are no attribute's.
inline constexpr AttributeId pendingNone = 0;
inline constexpr AttributeId pendingSeveral = -1;
inline constexpr AttributeId pendingReplaced = -2;

/// Id under which an exception out of `onZeroReferences` is told.
inline constexpr AttributeId zeroReferencesAttributeId = 5;

/// Notifications are active from construction (bit 29 of the reference word is set).
class KOB_EXPORT PtrInterface::NotifieeConst : public PtrInterface {
 public:
  ~NotifieeConst() override;

  // Virtual operations, in slot order after those of PtrInterface.

  /// The reactor that this notifiee serves, or null when it serves none.
  virtual Ptr<PtrInterface> kobReactor() const;
  virtual PtrInterface* kobRawReactor() const;
  virtual bool isStreamAdapter() const;
  /// Joins (true) or leaves (false) the notifier's list; without a notifier, only remembers.
  /// Returns the value that stands afterwards.
  virtual bool isRegisteredNotifieeIs(bool registered) const;
  /// Replaces the flags, but for those by which the framework knows registration and weak hold.
  virtual void kob_bitSetIs(Kob_BitSet bits);
  virtual String8 name() const;
  /// Watches another notifier, or none (null).
  virtual void notifierIs(const Ptr<const PtrInterface>& notifier);
  /// Called by the activity when what was deferred is due.
  virtual void handleNotification(ActivityConfig* activity);
  /// What a reactor leaves to the framework: with `deliver`, the id goes to `onAttribute` (or to
  /// `onNotification`, when it stands for several or for a replaced notifier); without, it has been
  /// delivered already and nothing is called.
  virtual void handleDefault(ActivityConfig* activity, AttributeId id, bool deliver);
  /// Hooks for those who want any attribute, any notification, a change of a named collection.
  virtual void onAttribute(AttributeId id);
  virtual void onNotification();
  virtual void onCollectionNotification(String8 collection);
  /// An exception left one of this notifiee's hooks (that of the attribute `id`). Both call their
  /// `handleNotificationException`, and those do nothing.
  virtual void onNotificationException();
  virtual void onNotificationException(AttributeId id);
  virtual void handleNotificationException(AttributeId id);
  virtual void handleNotificationException();
  /// The notifier's last reference has gone.
  virtual void onZeroReferences();
  /// The activity in which this notifiee runs, or null.
  virtual Ptr<ActivityConfig> activityPtr() const;
  virtual Ptr<ActivityConfig> kobFwkActivity();
  virtual Ptr<const ActivityConfig> kobFwkActivity() const;
  virtual ActivitySm* actsm();

  /// The watched object, or null.
  [[nodiscard]] Ptr<const PtrInterface> notifier() const noexcept {
    return Ptr<const PtrInterface>(notifier_);
  }
  [[nodiscard]] bool isRegisteredNotifiee() const noexcept { return bits_.test(registeredBit); }
  [[nodiscard]] bool isWeakReference() const noexcept { return bits_.test(weakBit); }
  /// Makes the hold on the notifier weak (it does not keep it alive, and reads null once the
  /// notifier has gone) or counted. Weak holds are for notifiers that own their watcher.
  void isWeakReferenceIs(bool weak);
  [[nodiscard]] Kob_BitSet kob_bitSet() const noexcept { return bits_; }

  /// Whether a notification of `id` is to wait. If so it is recorded, and the activity calls
  /// `handleNotification` later. It waits while the activity defers, and while this notifiee has
  /// something pending, so that nothing overtakes.
  [[nodiscard]] bool kobOnAttribute(AttributeId id);

  /// What waits: an attribute's id or one of the pending constants, and how many notifications of
  /// the keyed attribute that a reactor watches.
  [[nodiscard]] AttributeId kobPendingAttributeId() const noexcept { return pendingId_; }
  [[nodiscard]] std::uint32_t kobPendingCount() const noexcept { return pendingCount_; }

 protected:
  static constexpr int registeredBit = 17;
  static constexpr int weakBit = 18;
  /// Whether the notifiee was registered when its notifications were last switched off.
  static constexpr int wasRegisteredBit = 19;

  NotifieeConst();

  [[nodiscard]] const PtrInterface* rawNotifier() const noexcept { return notifier_; }
  void registeredIs(bool registered) const {
    registered ? bits_.set(registeredBit) : bits_.reset(registeredBit);
  }
  /// Switches notifications: off leaves the list and remembers whether it was in it, on joins again
  /// if it was. Returns the value that stands afterwards; the same value changes nothing.
  bool listeningIs(bool listening);
  /// The zombie switch of reactors and adapters: a zombie that has a notifier stops listening (its
  /// own `hasNotificationActiveIs`), a revived one listens again; then the mark is set. Returns the
  /// value that stands afterwards; the same value changes nothing.
  bool zombieIs(bool zombie);
  void pendingCountInc() noexcept { ++pendingCount_; }
  /// Read and reset the pending id, the pending count.
  AttributeId pendingIdTake() noexcept { return std::exchange(pendingId_, pendingNone); }
  std::uint32_t pendingCountTake() noexcept { return std::exchange(pendingCount_, 0U); }
  /// What became pending while this notifiee delivered is queued again.
  void redispatch(ActivitySm* activity);

 private:
  friend class ActivitySm;
  friend class WeakHolds;

  const PtrInterface* notifier_ = nullptr;
  mutable Kob_BitSet bits_;
  AttributeId pendingId_ = pendingNone;
  std::uint32_t pendingCount_ = 0;
  // The activity in whose queue this notifiee stands, or null.
  ActivitySm* queue_ = nullptr;
};

}  // namespace Kob
