// What a change does to the announcement walk that it happens in: one test for each row of the
// table in Kob/Notifier.h, with the member that makes the change at each place of the list, and one
// observer for each thing that a callback may do.

#include "Kob/Notifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/Kob/Source.h"

namespace KobTest {
namespace {

using Kob::Ptr;

constexpr std::size_t count = 4;

/// Does one thing in its first callback, and none in the later ones.
class Disrupter : public Recorder {
 public:
  using Recorder::Recorder;

  void onValue(int key) override {
    Recorder::onValue(key);
    if (!std::exchange(done_, true)) disrupt();
  }

 protected:
  virtual void disrupt() = 0;

 private:
  bool done_ = false;
};

class RemovesItself final : public Disrupter {
  using Disrupter::Disrupter;
  void disrupt() override { isRegisteredNotifieeIs(false); }
};

class RemovesItselfAndJoinsAgain final : public Disrupter {
  using Disrupter::Disrupter;
  void disrupt() override {
    isRegisteredNotifieeIs(false);
    isRegisteredNotifieeIs(true);
  }
};

class RemovesAnother final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  Ptr<Recorder> other;

 private:
  void disrupt() override { other->isRegisteredNotifieeIs(false); }
};

/// Gives the only outside reference to a member back, which takes it from the list.
class DropsAnother final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  Ptr<Recorder>* only = nullptr;

 private:
  void disrupt() override {
    (*only)->isRegisteredNotifieeIs(false);
    *only = nullptr;
  }
};

class RemovesEveryone final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  std::vector<Ptr<Recorder>>* everyone = nullptr;

 private:
  void disrupt() override {
    for (const Ptr<Recorder>& member : *everyone) member->isRegisteredNotifieeIs(false);
  }
};

class AddsAnother final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  Ptr<Recorder> other;

 private:
  void disrupt() override { other->isRegisteredNotifieeIs(true); }
};

class RemovesAndAddsAnother final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  Ptr<Recorder> other;

 private:
  void disrupt() override {
    other->isRegisteredNotifieeIs(false);
    other->isRegisteredNotifieeIs(true);
  }
};

class ChangesTheNotifier final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  std::function<void()> before = [] {};

 private:
  void disrupt() override {
    before();
    notifier()->valueNotify(2);
  }
};

class Throws final : public Disrupter {
  using Disrupter::Disrupter;
  void disrupt() override { throw std::runtime_error("thrown on purpose"); }
};

class ThrowsANumber final : public Disrupter {
  using Disrupter::Disrupter;
  void disrupt() override { throw 7; }
};

class ThrowsAgainWhenToldOfIt final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  using Disrupter::onNotificationException;
  void onNotificationException(Kob::AttributeId id) override {
    Recorder::onNotificationException(id);
    throw std::runtime_error("thrown again");
  }

 private:
  void disrupt() override { throw std::runtime_error("thrown on purpose"); }
};

class RemovesItselfAndThrows final : public Disrupter {
  using Disrupter::Disrupter;
  void disrupt() override {
    isRegisteredNotifieeIs(false);
    throw std::runtime_error("thrown on purpose");
  }
};

class DestroysTheNotifier final : public Disrupter {
 public:
  using Disrupter::Disrupter;
  Ptr<Source>* only = nullptr;

 private:
  void disrupt() override { *only = nullptr; }
};

/// Four notifiees "0" to "3" of one source. The one at `place` is of a kind of its own.
template <class Special>
class Walk {
 public:
  explicit Walk(std::size_t place) {
    const Ptr<Special> made(new Special(std::to_string(place), log));
    special = made.get();
    for (std::size_t at = 0; at < count; ++at) {
      members.push_back(at == place ? Ptr<Recorder>(made)
                                    : Ptr<Recorder>(new Recorder(std::to_string(at), log)));
      members.back()->notifierIs(source);
      members.back()->isRegisteredNotifieeIs(true);
    }
  }

  /// Announces once; who was called, in order.
  const Log& called() {
    log.clear();
    source.get()->valueNotify(1);
    return log;
  }

  Log log;
  Ptr<Source> source{new Source};
  std::vector<Ptr<Recorder>> members;
  Special* special;
};

/// "0" to "3", without those given.
Log everyoneBut(const std::vector<std::size_t>& excepted) {
  Log labels;
  for (std::size_t at = 0; at < count; ++at) {
    if (std::find(excepted.begin(), excepted.end(), at) == excepted.end()) {
      labels.push_back(std::to_string(at));
    }
  }
  return labels;
}
const Log everyone{"0", "1", "2", "3"};  // NOLINT(cert-err58-cpp)

Log then(Log labels, const Log& more) {
  labels.insert(labels.end(), more.begin(), more.end());
  return labels;
}

/// The labels up to and with `place`, and those after it.
Log upTo(std::size_t place) {
  return {everyone.begin(), everyone.begin() + static_cast<std::ptrdiff_t>(place) + 1};
}
Log after(std::size_t place) {
  return {everyone.begin() + static_cast<std::ptrdiff_t>(place) + 1, everyone.end()};
}

class AnnouncementWalk : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(Recorder::alive, 0);
    EXPECT_EQ(Source::alive, 0);
  }

  template <class Visit>
  static void atEachPlace(const Visit& visit) {
    for (std::size_t place = 0; place < count; ++place) {
      SCOPED_TRACE("at place " + std::to_string(place));
      visit(place);
    }
  }
  /// Each member and each that is called before it.
  template <class Visit>
  static void withEachEarlier(const Visit& visit) {
    atEachPlace([&](std::size_t place) {
      for (std::size_t other = 0; other < place; ++other) visit(place, other);
    });
  }
  /// Each member and each that is called after it, the last included.
  template <class Visit>
  static void withEachLater(const Visit& visit) {
    atEachPlace([&](std::size_t place) {
      for (std::size_t other = place + 1; other < count; ++other) visit(place, other);
    });
  }
};

TEST_F(AnnouncementWalk, CallsEveryMemberOnceInOrder) {
  Walk<Recorder> walk(0);
  EXPECT_EQ(walk.called(), everyone);
}

TEST_F(AnnouncementWalk, OverAnEmptyListCallsNobody) {
  const Ptr<Source> source(new Source);
  int called = 0;
  Kob::announce(source->kobNotifiees(), Source::valueId,
                [&called](Source::NotifieeConst&) { ++called; });
  EXPECT_EQ(called, 0);
}

TEST_F(AnnouncementWalk, GoesOnWithTheNextAfterAMemberThatRemovesItself) {
  atEachPlace([](std::size_t place) {
    Walk<RemovesItself> walk(place);
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), everyoneBut({place}));
  });
}

TEST_F(AnnouncementWalk, GoesOnAfterAMemberThatRemovesItselfAndJoinsAgain) {
  atEachPlace([](std::size_t place) {
    Walk<RemovesItselfAndJoinsAgain> walk(place);
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), then(everyoneBut({place}), {std::to_string(place)}));
  });
}

TEST_F(AnnouncementWalk, GoesOnAfterAMemberThatRemovesAnEarlierOne) {
  withEachEarlier([](std::size_t place, std::size_t other) {
    Walk<RemovesAnother> walk(place);
    walk.special->other = walk.members[other];
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), everyoneBut({other}));
  });
}

TEST_F(AnnouncementWalk, GoesOnAfterAMemberThatDropsAnEarlierOne) {
  withEachEarlier([](std::size_t place, std::size_t other) {
    Walk<DropsAnother> walk(place);
    walk.special->only = &walk.members[other];
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), everyoneBut({other}));
  });
}

TEST_F(AnnouncementWalk, CallsALaterMemberThatWasRemovedWhileSomebodyHoldsIt) {
  withEachLater([](std::size_t place, std::size_t other) {
    Walk<RemovesAnother> walk(place);
    walk.special->other = walk.members[other];
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), everyoneBut({other}));
  });
}

TEST_F(AnnouncementWalk, ANotifieeRemovedByAnEarlierOneAndReleasedByEveryoneElseIsNotCalled) {
  withEachLater([](std::size_t place, std::size_t other) {
    Walk<DropsAnother> walk(place);
    walk.special->only = &walk.members[other];
    EXPECT_EQ(walk.called(), everyoneBut({other}));
    EXPECT_EQ(Recorder::alive, 3);
    EXPECT_EQ(walk.called(), everyoneBut({other}));
  });
}

TEST_F(AnnouncementWalk, CallsEveryoneOnceWhenEveryoneIsRemoved) {
  atEachPlace([](std::size_t place) {
    Walk<RemovesEveryone> walk(place);
    walk.special->everyone = &walk.members;
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), Log());
  });
}

TEST_F(AnnouncementWalk, DoesNotCallAMemberThatIsAdded) {
  atEachPlace([](std::size_t place) {
    Walk<AddsAnother> walk(place);
    walk.special->other = watch(walk.source, "newcomer", walk.log, false);
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), then(everyone, {"newcomer"}));
  });
}

TEST_F(AnnouncementWalk, CallsALaterMemberThatIsRemovedAndAddedOnceAtItsOldPlace) {
  withEachLater([](std::size_t place, std::size_t other) {
    Walk<RemovesAndAddsAnother> walk(place);
    walk.special->other = walk.members[other];
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), then(everyoneBut({other}), {std::to_string(other)}));
  });
}

TEST_F(AnnouncementWalk, DoesNotCallAnEarlierMemberAgainThatIsRemovedAndAdded) {
  withEachEarlier([](std::size_t place, std::size_t other) {
    Walk<RemovesAndAddsAnother> walk(place);
    walk.special->other = walk.members[other];
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(walk.called(), then(everyoneBut({other}), {std::to_string(other)}));
  });
}

TEST_F(AnnouncementWalk, NestedCallsEveryoneAndThenTheOuterOneGoesOn) {
  atEachPlace([](std::size_t place) {
    Walk<ChangesTheNotifier> walk(place);
    EXPECT_EQ(walk.called(), then(then(upTo(place), everyone), after(place)));
  });
}

TEST_F(AnnouncementWalk, NestedCallsTheMembersAsTheyAreNow) {
  atEachPlace([](std::size_t place) {
    Walk<ChangesTheNotifier> walk(place);
    const Ptr<Recorder> newcomer = watch(walk.source, "newcomer", walk.log, false);
    const std::size_t removed = (place + 1) % count;
    walk.special->before = [&] {
      walk.members[removed]->isRegisteredNotifieeIs(false);
      newcomer->isRegisteredNotifieeIs(true);
    };
    const Log nested = then(everyoneBut({removed}), {"newcomer"});
    EXPECT_EQ(walk.called(), then(then(upTo(place), nested), after(place)));
  });
}

TEST_F(AnnouncementWalk, TellsAMemberThatThrowsAndGoesOn) {
  atEachPlace([](std::size_t place) {
    const Log told{std::to_string(place) + " exception 260"};
    Walk<Throws> walk(place);
    EXPECT_EQ(walk.called(), then(then(upTo(place), told), after(place)));
    EXPECT_EQ(walk.called(), everyone) << "it stays in the list";
  });
}

TEST_F(AnnouncementWalk, IsolatesWhatIsNoExceptionOfTheStandardLibraryToo) {
  atEachPlace([](std::size_t place) {
    const Log told{std::to_string(place) + " exception 260"};
    Walk<ThrowsANumber> walk(place);
    EXPECT_EQ(walk.called(), then(then(upTo(place), told), after(place)));
  });
}

TEST_F(AnnouncementWalk, DropsWhatTheExceptionHookItselfThrows) {
  atEachPlace([](std::size_t place) {
    const Log told{std::to_string(place) + " exception 260"};
    Walk<ThrowsAgainWhenToldOfIt> walk(place);
    EXPECT_EQ(walk.called(), then(then(upTo(place), told), after(place)));
  });
}

TEST_F(AnnouncementWalk, TellsAMemberThatThrowsEvenAfterItRemovedItself) {
  atEachPlace([](std::size_t place) {
    const Log told{std::to_string(place) + " exception 260"};
    Walk<RemovesItselfAndThrows> walk(place);
    EXPECT_EQ(walk.called(), then(then(upTo(place), told), after(place)));
  });
}

TEST_F(AnnouncementWalk, GoesOnAfterAMemberThatDropsItself) {
  atEachPlace([](std::size_t place) {
    Walk<DropsAnother> walk(place);
    walk.special->only = &walk.members[place];
    EXPECT_EQ(walk.called(), everyone);
    EXPECT_EQ(Recorder::alive, 3) << "it lived until its callback had returned";
    EXPECT_EQ(walk.called(), everyoneBut({place}));
  });
}

TEST_F(AnnouncementWalk, GoesOnAfterAMemberThatDestroysTheNotifier) {
  atEachPlace([](std::size_t place) {
    Walk<DestroysTheNotifier> walk(place);
    for (const Ptr<Recorder>& member : walk.members) member->isWeakReferenceIs(true);
    walk.special->only = &walk.source;
    const Log zero{"0 zero", "1 zero", "2 zero", "3 zero"};
    EXPECT_EQ(walk.called(), then(then(upTo(place), zero), after(place)));
    EXPECT_EQ(Source::alive, 0);
    for (const Ptr<Recorder>& member : walk.members) EXPECT_EQ(member->notifier(), nullptr);
  });
}

/// Writes down which exception scope is open around its callbacks.
class SeesTheScope final : public Recorder {
 public:
  using Recorder::onNotificationException;
  using Recorder::Recorder;
  void onValue(int key) override {
    const Kob::Expect* const scope = Kob::Expect::innermost();
    heard(scope == nullptr ? " none" : " scope " + std::to_string(scope->id()));
    if (key == 2) throw std::runtime_error("thrown on purpose");
  }
  void onNotificationException(Kob::AttributeId) override {}
};

TEST_F(AnnouncementWalk, OpensAScopeForAnyExceptionAroundEachCall) {
  Log log;
  const Ptr<Source> source(new Source);
  const Ptr<SeesTheScope> notifiee(new SeesTheScope("notifiee", log));
  notifiee->notifierIs(source);
  notifiee->isRegisteredNotifieeIs(true);
  for (const int key : {1, 2}) {
    source->valueNotify(key);
    EXPECT_EQ(Kob::Expect::innermost(), nullptr);
  }
  EXPECT_EQ(log, (Log{"notifiee scope 0", "notifiee scope 0"}));
}

/// Does something when the notifier's last reference has gone.
class ActsAtTheEnd final : public Recorder {
 public:
  using Recorder::Recorder;
  std::function<void()> act;
  void onZeroReferences() override {
    Recorder::onZeroReferences();
    act();
  }
};

/// A source whose notifiees hold it weakly, one of them acting at its end.
class LastReferenceWalk : public AnnouncementWalk {
 protected:
  void SetUp() override {
    acting_ = Ptr<ActsAtTheEnd>(new ActsAtTheEnd("acting", log_));
    acting_->notifierIs(source_);
    acting_->isRegisteredNotifieeIs(true);
    other_ = watch(source_, "other", log_);
    acting_->isWeakReferenceIs(true);
    other_->isWeakReferenceIs(true);
  }
  void TearDown() override {
    acting_ = nullptr;
    other_ = nullptr;
    AnnouncementWalk::TearDown();
  }

  Log log_;
  Ptr<Source> source_{new Source};
  Ptr<ActsAtTheEnd> acting_;
  Ptr<Recorder> other_;
};

TEST_F(LastReferenceWalk, TellsEveryMemberBeforeTheNotifierGoes) {
  int alive = 0;
  acting_->act = [&alive] { alive = Source::alive; };
  source_ = nullptr;
  EXPECT_EQ(log_, (Log{"acting zero", "other zero"}));
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(Source::alive, 0);
}

TEST_F(LastReferenceWalk, TellsAMemberThatThrowsUnderTheId5) {
  acting_->act = [] { throw std::runtime_error("thrown on purpose"); };
  source_ = nullptr;
  EXPECT_EQ(log_, (Log{"acting zero", "acting exception 5", "other zero"}));
  EXPECT_EQ(Source::alive, 0);
}

TEST_F(LastReferenceWalk, AMemberThatKeepsAReferenceKeepsTheNotifier) {
  Ptr<const Source> kept;
  acting_->act = [&] { kept = acting_->notifier(); };
  source_ = nullptr;
  ASSERT_EQ(Source::alive, 1);
  kept->valueNotify(1);
  EXPECT_EQ(log_, (Log{"acting zero", "other zero", "acting", "other"}));
  acting_->act = [] {};
  kept = nullptr;
  EXPECT_EQ(Source::alive, 0);
}

TEST_F(LastReferenceWalk, AMemberMayLeaveAtTheEnd) {
  acting_->act = [&] { acting_->isRegisteredNotifieeIs(false); };
  source_ = nullptr;
  EXPECT_EQ(log_, (Log{"acting zero", "other zero"}));
  EXPECT_EQ(acting_->notifier(), nullptr);
}

}  // namespace
}  // namespace KobTest
