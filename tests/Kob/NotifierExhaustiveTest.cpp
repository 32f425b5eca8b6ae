// What callbacks may do to the announcement walk that calls them, exhausted: each deed of the table
// in Kob/Notifier.h, done to members before, at and after its own place, in lists of one to twenty
// members (a snapshot has room for sixteen of them in itself), in walks over a change and over the
// loss of the last reference, in nested walks, and in every combination that three members make.
//
// An oracle says who is called: a snapshot is a copy of the list that holds its members; each is
// called in order, and released, unless by then nobody else holds it.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Kob/Exception.h"
#include "Kob/Notifier.h"
#include "tests/Kob/Source.h"

namespace KobTest {
namespace {

using Kob::Ptr;

/// What a member does in its first callback, and to which member.
enum class Deed {
  nothing,
  /// Takes the target from its list.
  removes,
  /// Gives back the reference that is held from outside, and with it the target's registration, as
  /// soon as nobody else holds it.
  drops,
  removesAndDrops,
  /// Takes it from its list, if it is there, and adds it.
  adds,
  /// To another notifier.
  moves,
  /// Announces again, a nested walk.
  announces,
  /// Gives back the reference to the notifier that is held from outside.
  releasesTheNotifier,
};
constexpr std::initializer_list<Deed> deedsToATarget = {
    Deed::removes, Deed::drops, Deed::removesAndDrops, Deed::adds, Deed::moves};
constexpr std::initializer_list<Deed> deedsToNobody = {Deed::nothing, Deed::announces,
                                                       Deed::releasesTheNotifier};

struct Act {
  Deed deed = Deed::nothing;
  std::size_t target = 0;
  /// Throws when it has done that, and again when it is told.
  bool throws = false;
};

/// What is played: the act of each member, of which the last is not in the list at first.
struct Play {
  std::vector<Act> acts;
  /// The members hold their notifiers without counting.
  bool weak = false;
  /// The walk is over the loss of the notifier's last reference, not over a change.
  bool atTheEnd = false;
};

std::ostream& operator<<(std::ostream& stream, const Play& play) {
  stream << (play.weak ? "weak " : "counted ") << (play.atTheEnd ? "end" : "change");
  for (std::size_t who = 0; who < play.acts.size(); ++who) {
    const Act& act = play.acts[who];
    if (act.deed == Deed::nothing && !act.throws) continue;
    stream << "; " << who << " of " << play.acts.size() - 1 << ": deed "
           << static_cast<int>(act.deed) << " to " << act.target << (act.throws ? " throws" : "");
  }
  return stream;
}

constexpr int outerKey = 1;
constexpr int nestedKey = 2;

/// What a call writes down.
std::string keyHeard(int key) { return " key " + std::to_string(key); }
const std::string endHeard = " zero";  // NOLINT(cert-err58-cpp)

/// Whom a play leaves where: what two notifiers and their members are afterwards.
struct Outcome {
  friend bool operator==(const Outcome&, const Outcome&) = default;

  Log log;
  /// The members of both lists, by label; those of a notifier that has gone are none.
  std::array<Log, 2> lists;
  std::array<bool, 2> gone = {};
  /// The references of each member that is held from outside.
  std::vector<std::pair<std::string, unsigned>> references;
  int membersAlive = 0;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
  for (const std::string& line : outcome.log) stream << line << ", ";
  for (const Log& list : outcome.lists) {
    stream << "\n list";
    for (const std::string& label : list) stream << ' ' << label;
  }
  stream << "\n gone " << outcome.gone[0] << outcome.gone[1] << ", references";
  for (const auto& [label, count] : outcome.references) stream << ' ' << label << ':' << count;
  return stream << ", alive " << outcome.membersAlive << '\n';
}

// ---------------------------------------------------------------------------------------------
// The oracle

class Oracle {
 public:
  explicit Oracle(const Play& play) : play_(play), members_(play.acts.size()) {
    for (std::size_t who = 0; who < members_.size(); ++who) {
      if (!play.weak) ++notifiers_[0].references;
      registeredIs(who, who + 1 < members_.size());
    }
  }

  void run() {
    if (play_.atTheEnd) return carryOut(0, {Deed::releasesTheNotifier});
    announce(0, keyHeard(outerKey), Source::valueId);
  }
  void announceEverywhere() {
    for (const int which : {0, 1}) announce(which, keyHeard(outerKey), Source::valueId);
  }

  [[nodiscard]] Outcome outcome() const {
    Outcome outcome;
    outcome.log = log_;
    for (const std::size_t which : {0U, 1U}) {
      for (const std::size_t who : notifiers_[which].list) {
        outcome.lists[which].push_back(std::to_string(who));
      }
      outcome.gone[which] = notifiers_[which].references == 0;
    }
    for (std::size_t who = 0; who < members_.size(); ++who) {
      if (members_[who].references > 0) ++outcome.membersAlive;
      if (!members_[who].isHeld) continue;
      outcome.references.emplace_back(std::to_string(who), members_[who].references);
    }
    return outcome;
  }

 private:
  static constexpr int none = -1;

  struct Notifier {
    std::vector<std::size_t> list;
    unsigned references = 1;
  };
  struct Member {
    unsigned references = 1;
    bool isHeld = true;
    bool isRegistered = false;
    bool hasActed = false;
    int notifier = 0;
  };

  Notifier& notifier(int which) { return notifiers_[static_cast<std::size_t>(which)]; }

  void announce(int which, const std::string& heard, Kob::AttributeId id) {
    const std::vector<std::size_t> snapshot = notifier(which).list;
    for (const std::size_t who : snapshot) ++members_[who].references;
    for (const std::size_t who : snapshot) {
      if (members_[who].references > 1) call(who, heard, id);
      release(who);
    }
  }

  void call(std::size_t who, const std::string& heard, Kob::AttributeId id) {
    log_.push_back(std::to_string(who) + heard);
    if (std::exchange(members_[who].hasActed, true)) return;
    carryOut(who, play_.acts[who]);
    if (!play_.acts[who].throws) return;
    log_.push_back(std::to_string(who) + " exception " + std::to_string(id));
  }

  void carryOut(std::size_t who, const Act& act) {
    if (act.deed == Deed::announces) return announceAgain(members_[who].notifier);
    if (act.deed == Deed::releasesTheNotifier) {
      if (std::exchange(isNotifierHeld_, false)) releaseNotifier(0);
    } else if (act.deed != Deed::nothing && members_[act.target].isHeld) {
      carryOutOn(act.target, act.deed);
    }
  }

  void carryOutOn(std::size_t target, Deed deed) {
    if (deed == Deed::moves) return moves(target);
    if (deed != Deed::drops) registeredIs(target, false);
    if (deed == Deed::adds) registeredIs(target, true);
    if (deed != Deed::drops && deed != Deed::removesAndDrops) return;
    members_[target].isHeld = false;
    release(target);
  }

  void announceAgain(int which) {
    if (which == none) return;
    ++notifier(which).references;
    announce(which, keyHeard(nestedKey), Source::valueId);
    releaseNotifier(which);
  }

  void registeredIs(std::size_t who, bool registered) {
    Member& member = members_[who];
    if (std::exchange(member.isRegistered, registered) == registered) return;
    if (member.notifier == none) return;
    auto& list = notifier(member.notifier).list;
    registered ? list.push_back(who) : static_cast<void>(std::erase(list, who));
  }

  void moves(std::size_t who) {
    Member& member = members_[who];
    const int old = std::exchange(member.notifier, 1);
    if (old == 1) return;
    if (!play_.weak) ++notifiers_[1].references;
    if (member.isRegistered) notifiers_[1].list.push_back(who);
    if (old == none) return;
    std::erase(notifier(old).list, who);
    if (!play_.weak) releaseNotifier(old);
  }

  void release(std::size_t who) {
    Member& member = members_[who];
    if (--member.references > 0) return;
    registeredIs(who, false);
    if (!play_.weak) releaseNotifier(member.notifier);
  }

  /// The last reference is told of before the notifier goes; a reference stands for that time.
  void releaseNotifier(int which) {
    unsigned& references = notifier(which).references;
    if (references > 1) {
      --references;
      return;
    }
    announce(which, endHeard, Kob::zeroReferencesAttributeId);
    references = 0;
    notifier(which).list.clear();
    for (Member& member : members_) {
      if (member.notifier == which) member.notifier = none;
    }
  }

  const Play& play_;
  std::vector<Member> members_;
  std::array<Notifier, 2> notifiers_;
  bool isNotifierHeld_ = true;
  Log log_;
};

// ---------------------------------------------------------------------------------------------
// The play

class Stage {
 public:
  explicit Stage(const Play& play);
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  /// Members that are still held weakly, or by notifiers that they hold, go first.
  ~Stage() { held_.clear(); }

  void run() {
    if (play_.atTheEnd) {
      notifiers_[0] = nullptr;
    } else {
      notifiers_[0].get()->valueNotify(outerKey);
    }
  }
  /// REQUIRES: `gone` tells which of the notifiers have gone.
  void announceEverywhere(const std::array<bool, 2>& gone) const {
    for (const std::size_t which : {0U, 1U}) {
      if (!gone[which]) sources_[which]->valueNotify(outerKey);
    }
  }
  void carryOut(Source::NotifieeConst& self, const Act& act);
  [[nodiscard]] const Act& actOf(std::size_t who) const { return play_.acts[who]; }

  /// What is left. REQUIRES: `gone` tells which of the notifiers have gone.
  [[nodiscard]] Outcome outcome(const std::array<bool, 2>& gone) const;

  Log log;

 private:
  const Play& play_;
  std::array<Ptr<Source>, 2> notifiers_ = {Ptr<Source>(new Source), Ptr<Source>(new Source)};
  /// The same, whether they are held or not.
  const std::array<const Source*, 2> sources_ = {notifiers_[0].get(), notifiers_[1].get()};
  std::vector<Ptr<Recorder>> held_;
};

/// Acts in its first callback.
class Member final : public Recorder {
 public:
  Member(std::size_t number, Stage& stage)
      : Recorder(std::to_string(number), stage.log), number_(number), stage_(stage) {}

  using Recorder::onNotificationException;

  void onValue(int key) override { called(keyHeard(key)); }
  void onZeroReferences() override { called(endHeard); }
  void onNotificationException(Kob::AttributeId id) override {
    Recorder::onNotificationException(id);
    throw std::runtime_error("thrown when told of it");
  }

 private:
  void called(const std::string& what) {
    const Kob::Expect* const scope = Kob::Expect::innermost();
    heard(scope != nullptr && scope->id() == 0 ? what : what + " out of scope");
    if (std::exchange(hasActed_, true)) return;
    // Of the play, which outlives all members.
    const Act& act = stage_.actOf(number_);
    stage_.carryOut(*this, act);
    if (act.throws) throw std::runtime_error("thrown on purpose");
  }

  const std::size_t number_;
  Stage& stage_;
  bool hasActed_ = false;
};

Stage::Stage(const Play& play) : play_(play) {
  for (std::size_t who = 0; who < play.acts.size(); ++who) {
    const Ptr<Member> member(new Member(who, *this));
    member->isWeakReferenceIs(play.weak);
    member->notifierIs(notifiers_[0]);
    member->isRegisteredNotifieeIs(who + 1 < play.acts.size());
    held_.emplace_back(member);
  }
}

void Stage::carryOut(Source::NotifieeConst& self, const Act& act) {
  Ptr<Recorder>& target = held_[act.target];
  if (act.deed == Deed::announces) {
    if (const auto notifier = self.notifier()) notifier->valueNotify(nestedKey);
  } else if (act.deed == Deed::releasesTheNotifier) {
    notifiers_[0] = nullptr;
  } else if (act.deed == Deed::nothing || !target) {
    return;
  } else if (act.deed == Deed::moves) {
    target->notifierIs(notifiers_[1]);
  } else {
    if (act.deed != Deed::drops) target->isRegisteredNotifieeIs(false);
    if (act.deed == Deed::adds) target->isRegisteredNotifieeIs(true);
    if (act.deed != Deed::adds && act.deed != Deed::removes) target = nullptr;
  }
}

Outcome Stage::outcome(const std::array<bool, 2>& gone) const {
  Outcome outcome;
  outcome.log = log;
  outcome.gone = gone;
  for (const std::size_t which : {0U, 1U}) {
    if (gone[which]) continue;
    for (const auto* const member : membersOf(*sources_[which])) {
      outcome.lists[which].push_back(static_cast<const Recorder*>(member)->label());
    }
  }
  for (const Ptr<Recorder>& member : held_) {
    if (member) outcome.references.emplace_back(member->label(), member->references());
  }
  outcome.membersAlive = Recorder::alive;
  return outcome;
}

// ---------------------------------------------------------------------------------------------
// The tests

class AnnouncementExhaustive : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(Recorder::alive, 0);
    EXPECT_EQ(Source::alive, 0);
  }

  /// Plays, compares the outcome with the oracle's, announces once more and compares again.
  static void play(const Play& play) {
    Oracle oracle(play);
    Stage stage(play);
    oracle.run();
    stage.run();
    compare(stage, oracle.outcome(), play);
    if (HasFatalFailure()) return;
    const std::array<bool, 2> gone = oracle.outcome().gone;
    oracle.announceEverywhere();
    stage.announceEverywhere(gone);
    compare(stage, oracle.outcome(), play);
  }
  /// The same with counted and with weak holds, over a change and over the end.
  static void playEachWay(const std::vector<Act>& acts) {
    play({acts, false, false});
    play({acts, true, false});
    play({acts, true, true});
  }

  /// Calls visit(act) for each deed, done to each of `targets`.
  template <class Visit>
  static void forEachAct(const std::vector<std::size_t>& targets, const Visit& visit) {
    for (const Deed deed : deedsToNobody) visit(Act{deed, 0, false});
    for (const std::size_t target : targets) {
      for (const Deed deed : deedsToATarget) visit(Act{deed, target, false});
    }
  }

  /// Places in a list of so many: all, or of many the first, the middle and the last.
  static std::vector<std::size_t> places(std::size_t count) {
    if (count > 5) return {0, count / 2, count - 1};
    std::vector<std::size_t> all;
    while (all.size() < count) all.push_back(all.size());
    return all;
  }
  /// Those, and the one that is not in the list.
  static std::vector<std::size_t> targets(std::size_t count) {
    std::vector<std::size_t> all = places(count);
    all.push_back(count);
    return all;
  }

 private:
  static void compare(const Stage& stage, const Outcome& expected, const Play& play) {
    const auto gone =
        static_cast<int>(std::count(expected.gone.begin(), expected.gone.end(), true));
    ASSERT_EQ(Source::alive, 2 - gone) << play;
    ASSERT_EQ(stage.outcome(expected.gone), expected) << play;
    ASSERT_EQ(Kob::Expect::innermost(), nullptr) << play;
  }
};

TEST_F(AnnouncementExhaustive, OneMemberActsInAListOfAnyLength) {
  for (std::size_t count = 1; count <= 20; ++count) {
    for (const std::size_t place : places(count)) {
      forEachAct(targets(count), [&](Act act) {
        for (const bool throws : {false, true}) {
          std::vector<Act> acts(count + 1);
          act.throws = throws;
          acts[place] = act;
          if (!HasFatalFailure()) playEachWay(acts);
        }
      });
    }
  }
}

TEST_F(AnnouncementExhaustive, OneMemberActsInWalksThatAnotherHasNested) {
  for (const std::size_t count : {2U, 5U, 16U, 17U, 20U}) {
    for (const std::size_t nesting : places(count)) {
      for (const std::size_t acting : places(count)) {
        if (acting == nesting) continue;
        forEachAct(targets(count), [&](Act act) {
          for (const unsigned throwing : {0U, 1U, 2U, 3U}) {
            std::vector<Act> acts(count + 1);
            acts[nesting] = {Deed::announces, 0, (throwing & 1U) != 0};
            act.throws = (throwing & 2U) != 0;
            acts[acting] = act;
            if (!HasFatalFailure()) playEachWay(acts);
          }
        });
      }
    }
  }
}

TEST_F(AnnouncementExhaustive, ThreeMembersActInEveryCombination) {
  std::vector<Act> each = {{Deed::nothing, 0, true}};
  forEachAct({0, 1, 2}, [&each](const Act& act) { each.push_back(act); });
  each.push_back({Deed::adds, 3, false});
  for (const Act& first : each) {
    for (const Act& second : each) {
      for (const Act& third : each) {
        playEachWay({first, second, third, {}});
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST_F(AnnouncementExhaustive, MembersNestWalksAsDeepAsTheyAre) {
  for (std::size_t count = 1; count <= 20; ++count) {
    std::vector<Act> acts(count, {Deed::announces, 0, false});
    acts.push_back({});
    playEachWay(acts);
  }
}

}  // namespace
}  // namespace KobTest
