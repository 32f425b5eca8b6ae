#pragma once

// A state machine with one input, a Source, that writes down which of its handlers run and can be
// told what to do in them.

#include <functional>
#include <string>
#include <utility>

#include "Kob/Activity.h"
#include "Kob/Reactor.h"
#include "tests/Kob/Source.h"

namespace KobTest {

class Machine : public Kob::PtrInterface {
 public:
  /// Watches the machine's source.
  class KobSource final
      : public Kob::KeyedReactor<KobSource, Source::NotifieeConst, Machine, Source::valueId, int> {
   public:
    using Source::NotifieeConst::onNotificationException;

    KobSource(const Kob::Ptr<Kob::ActivityConfig>& activity, const NotifierPtr& notifier,
              Machine* owner)
        : KeyedReactor(activity, notifier, owner) {
      ++alive;
    }
    ~KobSource() override { --alive; }

    void onValue(int key) override { keyChanged(key); }
    void onAttribute(Kob::AttributeId id) override { owner()->note(" attribute " + text(id)); }
    void onNotification() override { owner()->note(" notification"); }
    void onNotificationException(Kob::AttributeId id) override {
      owner()->note(" exception " + text(id));
    }

    void keyedHook(int key) { onValue(key); }
    void unkeyedHook() {
      if (!kobMarkedForDeletion()) renewed();
    }
    void handleKey(int key) { owner()->handleSource(key); }
    void renewed() { owner()->handleSource(); }

    /// How many there are now.
    static inline int alive = 0;

   private:
    static std::string text(Kob::AttributeId id) { return std::to_string(id); }
  };

  Machine(std::string label, Log& log, const Kob::Ptr<Kob::ActivityConfig>& activity)
      : label_(std::move(label)), log_(log), activity_(activity) {
    ++alive;
  }
  ~Machine() override { --alive; }

  [[nodiscard]] Kob::Ptr<Kob::ActivityConfig> kobFwkActivity() const { return activity_; }

  /// The handlers: of one key, and of everything. `whenHandled` runs in both, after the note.
  void handleSource(int key) { handled(" key " + std::to_string(key)); }
  void handleSource() { handled(" all"); }
  void note(const std::string& what) { log_.push_back(label_ + what); }

  std::function<void()> whenHandled = [] {};
  Kob::Input<KobSource> source;

  /// How many there are now.
  static inline int alive = 0;

 private:
  void handled(const std::string& what) {
    note(what);
    // A copy, because a handler may replace the script that it runs.
    const auto script = whenHandled;
    script();
  }

  std::string label_;
  Log& log_;
  Kob::Ptr<Kob::ActivityConfig> activity_;
};

}  // namespace KobTest
