#pragma once

// Who holds whom weakly: the notifiees that watch an object without keeping it alive. An object
// that goes makes them all read a null notifier. Kept apart from the notifiee lists, because a weak
// holder need not be registered.

#include "Kob/PtrInterface.h"

namespace Kob {

class WeakHolds {
 public:
  /// Records that `notifiee` holds `notifier` without counting.
  static void holdIs(const VFPtrInterface* notifier, PtrInterface::NotifieeConst* notifiee);
  /// Forgets that hold. REQUIRES: it is recorded; forgetting another is fatal.
  static void holdDel(const VFPtrInterface* notifier,
                      const PtrInterface::NotifieeConst* notifiee) noexcept;
  /// The object is going: each of its weak holders reads a null notifier from now on.
  static void notifierDel(const VFPtrInterface* notifier) noexcept;
};

}  // namespace Kob
