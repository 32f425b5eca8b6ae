#pragma once

// A notifier with one keyed attribute, the notifiees that watch it, and a notifiee that writes down
// what it hears.

#include <string>
#include <utility>
#include <vector>

#include "Kob/Entity.h"
#include "Kob/ListRaw.h"
#include "Kob/Notifier.h"

namespace KobTest {

/// What was heard, in order.
using Log = std::vector<std::string>;

/// Announces keys of its attribute `value`, and the loss of its last reference.
class Source : public Kob::Entity {
 public:
  class NotifieeConst;

  static constexpr Kob::AttributeId valueId = 260;

  explicit Source(Kob::Name name = "source") : Entity(std::move(name)) { ++alive; }
  ~Source() override {
    notifiees_.deleteAll();
    --alive;
  }

  /// Calls onValue(key) on each notifiee.
  void valueNotify(int key) const;
  void zeroReferencesIs(bool zero) override;

  Kob::ListRaw<NotifieeConst>& kobNotifiees() const noexcept { return notifiees_; }

  /// How many there are now.
  static inline int alive = 0;

 private:
  mutable Kob::ListRaw<NotifieeConst> notifiees_;
};

class Source::NotifieeConst
    : public Kob::NotifieeFor<Source::NotifieeConst, Source, Kob::Entity::NotifieeConst> {
 public:
  ~NotifieeConst() override { leave(); }
  virtual void onValue(int /*key*/) {}
};

inline void Source::valueNotify(int key) const {
  Kob::announce(notifiees_, valueId, [key](NotifieeConst& notifiee) { notifiee.onValue(key); });
}
inline void Source::zeroReferencesIs(bool) { Kob::announceZeroReferences(notifiees_); }

/// Writes down what it hears: "NAME" for a key, and the rest by name.
class Recorder : public Source::NotifieeConst {
 public:
  Recorder(std::string label, Log& log) : label_(std::move(label)), log_(log) { ++alive; }
  ~Recorder() override { --alive; }

  using Source::NotifieeConst::onNotificationException;

  void onValue(int /*key*/) override { heard(""); }
  void onZeroReferences() override { heard(" zero"); }
  void onNotificationException(Kob::AttributeId id) override {
    heard(" exception " + std::to_string(id));
  }

  [[nodiscard]] const std::string& label() const noexcept { return label_; }

  /// How many there are now.
  static inline int alive = 0;

 protected:
  void heard(const std::string& what) { log_.push_back(label_ + what); }

 private:
  std::string label_;
  Log& log_;
};

/// Makes a recorder that watches `source`, registered or not.
inline Kob::Ptr<Recorder> watch(const Kob::Ptr<const Source>& source, std::string label, Log& log,
                                bool registered = true) {
  const Kob::Ptr<Recorder> recorder(new Recorder(std::move(label), log));
  recorder->notifierIs(source);
  recorder->isRegisteredNotifieeIs(registered);
  return recorder;
}

/// The members of a source's list, in order.
inline std::vector<const Source::NotifieeConst*> membersOf(const Source& source) {
  std::vector<const Source::NotifieeConst*> members;
  const auto& list = source.kobNotifiees();
  for (auto* member = list.head(); member != nullptr; member = list.next(member)) {
    members.push_back(member);
  }
  return members;
}

}  // namespace KobTest
