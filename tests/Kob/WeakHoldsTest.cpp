// Weak holds, seen from the notifiees that have them.

#include "Kob/WeakHolds.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "tests/Kob/Source.h"

namespace KobTest {
namespace {

using Kob::Ptr;

// These outlive everything that is made while the tests run, and go in the opposite order.
Log logUntilExit;
Ptr<Recorder> holderUntilExit;
Ptr<Source> sourceUntilExit;

class WeakHold : public testing::Test {
 protected:
  /// A notifiee with a weak hold on `source`.
  Ptr<Recorder> weakly(const Ptr<Source>& source, bool registered) {
    const Ptr<Recorder> holder = watch(source, "holder", log_, registered);
    holder->isWeakReferenceIs(true);
    return holder;
  }
  void TearDown() override { EXPECT_EQ(Source::alive, 0); }

  Log log_;
};

TEST_F(WeakHold, DoesNotCount) {
  const Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = watch(source, "holder", log_);
  EXPECT_EQ(source->references(), 2U);
  EXPECT_FALSE(holder->isWeakReference());
  holder->isWeakReferenceIs(true);
  EXPECT_TRUE(holder->isWeakReference());
  EXPECT_EQ(source->references(), 1U);
  EXPECT_EQ(holder->notifier(), source);
}

TEST_F(WeakHold, ReadsNullOnceTheNotifierHasGoneRegisteredOrNot) {
  for (const bool registered : {true, false}) {
    Ptr<Source> source(new Source);
    const Ptr<Recorder> holder = weakly(source, registered);
    source = nullptr;
    EXPECT_EQ(Source::alive, 0);
    EXPECT_EQ(holder->notifier(), nullptr);
    EXPECT_EQ(holder->isRegisteredNotifiee(), registered);
    EXPECT_TRUE(holder->isWeakReference());
    EXPECT_EQ(holder->name(), "");
  }
}

TEST_F(WeakHold, HearsOfTheLastReferenceWhileItIsRegistered) {
  Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = weakly(source, true);
  source = nullptr;
  EXPECT_EQ(log_, Log{"holder zero"});
}

TEST_F(WeakHold, MaySetOutBeforeThereIsANotifier) {
  const Ptr<Recorder> holder(new Recorder("holder", log_));
  holder->isWeakReferenceIs(true);
  Ptr<Source> source(new Source);
  holder->notifierIs(source);
  EXPECT_EQ(source->references(), 1U);
  source = nullptr;
  EXPECT_EQ(holder->notifier(), nullptr);
}

TEST_F(WeakHold, ThatIsTakenByTheLastHolderReleasesTheNotifier) {
  const Ptr<Recorder> holder = watch(Ptr<Source>(new Source), "holder", log_);
  EXPECT_EQ(Source::alive, 1);
  holder->isWeakReferenceIs(true);
  EXPECT_EQ(Source::alive, 0);
  EXPECT_EQ(holder->notifier(), nullptr);
}

TEST_F(WeakHold, SwitchedBackCountsAgain) {
  Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = weakly(source, true);
  holder->isWeakReferenceIs(false);
  EXPECT_EQ(source->references(), 2U);
  source = nullptr;
  ASSERT_NE(holder->notifier(), nullptr);
  EXPECT_EQ(holder->notifier()->references(), 2U) << "the notifiee's and the one just read";
}

TEST_F(WeakHold, SwitchedBackAfterTheNotifierHasGoneHoldsNothing) {
  Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = weakly(source, true);
  source = nullptr;
  holder->isWeakReferenceIs(false);
  EXPECT_EQ(holder->notifier(), nullptr);
}

TEST_F(WeakHold, TheSameValueAgainChangesNothing) {
  const Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = weakly(source, true);
  holder->isWeakReferenceIs(true);
  EXPECT_EQ(source->references(), 1U);
  holder->isWeakReferenceIs(false);
  holder->isWeakReferenceIs(false);
  EXPECT_EQ(source->references(), 2U);
}

TEST_F(WeakHold, FollowsWhenTheNotifieeIsBoundToAnotherNotifier) {
  for (const bool registered : {true, false}) {
    Ptr<Source> first(new Source("first"));
    Ptr<Source> second(new Source("second"));
    const Ptr<Recorder> holder = weakly(first, registered);
    holder->notifierIs(second);
    EXPECT_EQ(second->references(), 1U);
    first = nullptr;
    EXPECT_EQ(holder->notifier(), second);
    second = nullptr;
    EXPECT_EQ(holder->notifier(), nullptr);
  }
}

TEST_F(WeakHold, EndsWhenTheNotifieeIsUnbound) {
  Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = weakly(source, true);
  holder->notifierIs(nullptr);
  Ptr<Source> next(new Source("next"));
  holder->isWeakReferenceIs(false);
  holder->notifierIs(next);
  source = nullptr;
  EXPECT_EQ(holder->notifier(), next);
}

TEST_F(WeakHold, OfANotifierThatIsGoneMovesToANewOneWithItsRegistration) {
  Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = weakly(source, true);
  source = nullptr;
  log_.clear();
  const Ptr<Source> next(new Source("next"));
  holder->notifierIs(next);
  next->valueNotify(1);
  EXPECT_EQ(log_, Log{"holder"});
}

TEST_F(WeakHold, ThatDiesFirstLeavesNoTrace) {
  for (const bool registered : {true, false}) {
    Ptr<Source> source(new Source);
    const Ptr<Recorder> other = weakly(source, registered);
    weakly(source, registered);
    EXPECT_EQ(Recorder::alive, 1);
    EXPECT_EQ(source->kobNotifiees().members(), registered ? 1U : 0U);
    source = nullptr;
    EXPECT_EQ(other->notifier(), nullptr);
  }
}

TEST_F(WeakHold, OfSeveralNotifieesReadsNullInEachOfThem) {
  Ptr<Source> source(new Source);
  const Ptr<Source> bystander(new Source("bystander"));
  const Ptr<Recorder> first = weakly(source, true);
  const Ptr<Recorder> second = weakly(source, false);
  const Ptr<Recorder> elsewhere = weakly(bystander, true);
  source = nullptr;
  EXPECT_EQ(first->notifier(), nullptr);
  EXPECT_EQ(second->notifier(), nullptr);
  EXPECT_EQ(elsewhere->notifier(), bystander);
  elsewhere->notifierIs(nullptr);
}

/// Reads its notifier, and so takes a reference and drops it, when the last one has gone.
class ReadsAtTheEnd : public Recorder {
 public:
  using Recorder::Recorder;
  void onZeroReferences() override { heard(notifier() ? " reads" : " reads null"); }
};

TEST_F(WeakHold, MayBeReadWhileTheNotifierTellsOfItsEnd) {
  Ptr<Source> source(new Source);
  const Ptr<ReadsAtTheEnd> reader(new ReadsAtTheEnd("reader", log_));
  reader->isWeakReferenceIs(true);
  reader->notifierIs(source);
  reader->isRegisteredNotifieeIs(true);
  source = nullptr;
  EXPECT_EQ(log_, Log{"reader reads"});
  EXPECT_EQ(Source::alive, 0);
}

/// Turns its weak hold into a counted one when the last reference has gone.
class SavesTheNotifier : public Recorder {
 public:
  using Recorder::Recorder;
  void onZeroReferences() override { isWeakReferenceIs(false); }
};

TEST_F(WeakHold, MaySaveTheNotifierAtItsEnd) {
  Ptr<Source> source(new Source);
  Ptr<SavesTheNotifier> saver(new SavesTheNotifier("saver", log_));
  saver->isWeakReferenceIs(true);
  saver->notifierIs(source);
  saver->isRegisteredNotifieeIs(true);
  source = nullptr;
  EXPECT_EQ(Source::alive, 1);
  EXPECT_NE(saver->notifier(), nullptr);
  saver = nullptr;
}

/// A source that owns a notifiee of its own, and lets it go when it is destroyed.
class WatchesItself final : public Source {
 public:
  ~WatchesItself() override {
    watcher = nullptr;
    leftInTheList = kobNotifiees().members();
  }

  Ptr<Recorder> watcher;

  static inline std::uint32_t leftInTheList = 0;
};

TEST_F(WeakHold, IsForANotifierThatOwnsItsWatcher) {
  for (const bool registered : {true, false}) {
    Ptr<WatchesItself> source(new WatchesItself);
    source->watcher = weakly(source, registered);
    source->valueNotify(1);
    EXPECT_EQ(log_, registered ? Log{"holder"} : Log());
    log_.clear();
    source = nullptr;
    EXPECT_EQ(log_, registered ? Log{"holder zero"} : Log());
    EXPECT_EQ(WatchesItself::leftInTheList, 0U);
    EXPECT_EQ(Recorder::alive, 0);
    log_.clear();
  }
}

TEST_F(WeakHold, EndsWithItsNotifierWhileTheProcessExits) {
  EXPECT_EXIT(
      {
        sourceUntilExit = Ptr<Source>(new Source);
        holderUntilExit = watch(sourceUntilExit, "holder", logUntilExit);
        holderUntilExit->isWeakReferenceIs(true);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace KobTest
