#pragma once

// A framework object whose last moments a test can script and count.

#include <functional>

#include "Kob/PtrInterface.h"

namespace KobTest {

class Mortal : public Kob::PtrInterface {
 public:
  using Script = std::function<void(Mortal&)>;

  Mortal() { ++alive; }
  ~Mortal() override {
    if (whenDestroyed) whenDestroyed(*this);
    --alive;
  }

  /// Runs the script for the moment when the last reference has gone.
  void zeroReferencesIs(bool zero) override {
    if (zero) ++timesUnreferenced;
    if (whenUnreferenced) whenUnreferenced(*this);
  }

  Script whenUnreferenced;
  Script whenDestroyed;
  int timesUnreferenced = 0;

  /// How many there are now.
  static inline int alive = 0;
};

}  // namespace KobTest
