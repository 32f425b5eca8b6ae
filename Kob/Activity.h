#pragma once

// An activity: the scheduling context in which a state machine and its reactors run, and the queue
// of what its reactors have deferred.
//
// While the activity defers, a reactor that runs in it records its notifications instead of
// handling them. Delivery calls each reactor that has something pending once, in the order in which
// they became pending; what becomes pending during delivery is delivered in the same run, after the
// rest. A run ends after `roundsPerRun` such rounds at the latest, so that reactors which keep each
// other busy cannot hold the thread for ever; what is left then waits for the next run.
//
// What merging hides. A reactor's record holds one key. One notification pending: the keyed handler
// runs with that key. Two or more, be they of one key or of several: the full handler runs once,
// and no key is told. So an entry that goes and comes back while delivery is deferred is one full
// resynchronisation, and a reactor whose full handler only adds does not see what went.
//
// A reactor that is a zombie when its turn comes is skipped, and its record is cleared. What a
// reactor throws during delivery is caught, told to it with `onNotificationException(id)`, and
// delivery goes on.

#include <cstddef>
#include <list>

#include "Kob/Entity.h"
#include "Kob/Export.h"
#include "Kob/Notifiee.h"

namespace Kob {

/// The running side of an activity: the queue. Reactors know it as their `actsm()`.
class KOB_EXPORT ActivitySm {
 public:
  static constexpr unsigned roundsPerRun = 64;

  explicit ActivitySm(ActivityConfig& activity) noexcept : activity_(activity) {}
  ActivitySm(const ActivitySm&) = delete;
  ActivitySm& operator=(const ActivitySm&) = delete;
  ~ActivitySm();

  [[nodiscard]] ActivityConfig& activity() const noexcept { return activity_; }
  [[nodiscard]] bool deferral() const noexcept { return deferral_; }
  /// Switches deferral; off delivers what is pending.
  void deferralIs(bool deferral);
  /// Delivers what is pending now, whether or not the activity defers. Within a delivery it does
  /// nothing: the run that is under way delivers.
  void run();
  /// How many reactors have something pending.
  [[nodiscard]] std::size_t pendings() const noexcept { return queue_.size(); }

  /// Whether a notification of this notifiee has to wait.
  [[nodiscard]] bool waits(const PtrInterface::NotifieeConst* notifiee) noexcept;
  /// Records that `id` (an attribute's, `pendingSeveral` or `pendingReplaced`) is pending for the
  /// notifiee, and queues it.
  void pendingIs(PtrInterface::NotifieeConst* notifiee, AttributeId id);
  /// Queues the notifiee for what it has recorded; at the tail, unless it stands in the queue.
  void queueIs(PtrInterface::NotifieeConst* notifiee);
  /// Clears the notifiee's record and takes it from the queue.
  void pendingDel(PtrInterface::NotifieeConst* notifiee) noexcept;
  /// Lets the next notification of this notifiee through: its deferred one is being delivered by
  /// the very hook that would defer it.
  void deliveringIs(const PtrInterface::NotifieeConst* notifiee) noexcept {
    delivering_ = notifiee;
  }

 private:
  void deliverRound();
  void deliver(PtrInterface::NotifieeConst& notifiee);

  ActivityConfig& activity_;
  bool deferral_ = false;
  bool running_ = false;
  const PtrInterface::NotifieeConst* delivering_ = nullptr;
  // Holds no references: a notifiee that dies leaves the queue.
  std::list<PtrInterface::NotifieeConst*> queue_;
};

/// An activity as the host creates it and hands it to state machines.
class KOB_EXPORT ActivityConfig : public Entity {
 public:
  explicit ActivityConfig(Name name);
  ~ActivityConfig() override;

  /// The type "Kob::ActivityConfig".
  static constexpr const char* kobTypeName = "Kob::ActivityConfig";
  static KobType* _fwkType();
  KobType* fwkType() const override;

  /// Whether reactors that run in this activity defer; false at start.
  [[nodiscard]] bool deferral() const noexcept { return sm_.deferral(); }
  /// Switches deferral; switching it off delivers what is pending.
  void deferralIs(bool deferral) { sm_.deferralIs(deferral); }
  /// Delivers what is pending now and leaves deferral as it is.
  void run() { sm_.run(); }

  [[nodiscard]] ActivitySm* activitySm() noexcept { return &sm_; }

 private:
  ActivitySm sm_;
};

/// Creates an activity that does not defer, and returns the only reference.
KOB_EXPORT Ptr<ActivityConfig> activityFactory(Name name);

}  // namespace Kob
