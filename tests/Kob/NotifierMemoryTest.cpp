// What stands when memory runs out among notifiers, notifiees and the activities in which they run.

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "Kob/Activity.h"
#include "Kob/Entity.h"
#include "Kob/ListRaw.h"
#include "tests/Kob/FailingHeap.h"
#include "tests/Kob/Machine.h"
#include "tests/Kob/Source.h"

namespace KobTest {
namespace {

using Kob::Ptr;

/// Counts what it hears of without needing memory, and may need some.
class Counter : public Source::NotifieeConst {
 public:
  using Source::NotifieeConst::onNotificationException;
  void onValue(int /*key*/) override {
    if (needsMemory) const Ptr<Source> taken(new Source("a name that needs memory"));
    ++heard;
  }
  void onNotificationException(Kob::AttributeId id) override { exception = id; }
  void onZeroReferences() override { ++zeros; }

  bool needsMemory = false;
  int heard = 0;
  int zeros = 0;
  Kob::AttributeId exception = 0;
};

Ptr<Counter> counterOf(const Ptr<const Source>& source) {
  Ptr<Counter> counter(new Counter);
  counter->notifierIs(source);
  counter->isRegisteredNotifieeIs(true);
  return counter;
}

std::vector<Ptr<Counter>> countersOf(const Ptr<const Source>& source, std::size_t count) {
  std::vector<Ptr<Counter>> counters;
  while (counters.size() < count) counters.push_back(counterOf(source));
  return counters;
}

/// The block that walks over many notifiees use again goes when it can not be made as large as one
/// of them needs.
void giveUpTheBlockOfTheWalks() {
  const Ptr<Source> source(new Source);
  std::vector<Ptr<Counter>> counters;
  do {
    counters.push_back(counterOf(source));
  } while (!failingAfter(0, [&] { source->valueNotify(1); }).failed);
}

constexpr std::size_t many = Kob::InlineRoom::size + 1;

TEST(AnnouncementOutOfMemory, CallsNobodyWhenThereAreTooManyToNoteThem) {
  const Ptr<Source> source(new Source);
  const auto counters = countersOf(source, many);
  giveUpTheBlockOfTheWalks();
  const int failures = failingEachAllocationOf([&] { source->valueNotify(1); },
                                               [&] {
                                                 for (const auto& counter : counters)
                                                   EXPECT_EQ(counter->heard, 0);
                                                 EXPECT_EQ(source->kobNotifiees().members(), many);
                                               });
  EXPECT_EQ(failures, 2) << "the block that the walks use again, and its cells";
  for (const auto& counter : counters) {
    EXPECT_EQ(counter->heard, 1);
    EXPECT_EQ(counter->references(), 1U);
  }
}

TEST(AnnouncementOutOfMemory, WithinAnAnnouncementIsTheNotifieesOwn) {
  const Ptr<Source> outer(new Source);
  const Ptr<Source> inner(new Source);
  const auto counters = countersOf(inner, many);
  class Relay : public Source::NotifieeConst {
   public:
    using Source::NotifieeConst::onNotificationException;
    void onValue(int key) override { next->valueNotify(key); }
    void onNotificationException(Kob::AttributeId id) override { exception = id; }
    const Source* next = nullptr;
    Kob::AttributeId exception = 0;
  };
  const Ptr<Relay> relay(new Relay);
  relay->next = inner.get();
  relay->notifierIs(outer);
  relay->isRegisteredNotifieeIs(true);
  const auto last = counterOf(outer);
  giveUpTheBlockOfTheWalks();
  const int failures =
      outcomesOfEachAllocation([&] { outer->valueNotify(1); },
                               [&](const Outcome& outcome) {
                                 EXPECT_FALSE(outcome.thrown);
                                 EXPECT_EQ(relay->exception, outcome.failed ? Source::valueId : 0);
                                 EXPECT_EQ(last->heard, 1);
                                 EXPECT_EQ(counters.front()->heard, outcome.failed ? 0 : 1);
                                 relay->exception = last->heard = 0;
                               });
  EXPECT_EQ(failures, 2);
}

TEST(AnnouncementOutOfMemory, OfTheLastReferenceEndsTheProcess) {
  Ptr<Source> source(new Source);
  const std::vector<Ptr<Counter>> counters = countersOf(source, many);
  for (const auto& counter : counters) counter->isWeakReferenceIs(true);
  giveUpTheBlockOfTheWalks();
  EXPECT_EXIT((FailingHeap::failAfter(0), source = nullptr), testing::KilledBySignal(SIGABRT),
              "std::bad_alloc");
  source = nullptr;
  for (const auto& counter : counters) EXPECT_EQ(counter->zeros, 1);
}

TEST(NotifieeOutOfMemory, IsToldAndStopsNobody) {
  const Ptr<Source> source(new Source);
  const auto counters = countersOf(source, 3);
  counters[1]->needsMemory = true;
  const int failures =
      outcomesOfEachAllocation([&] { source->valueNotify(1); },
                               [&](const Outcome& outcome) {
                                 EXPECT_FALSE(outcome.thrown);
                                 EXPECT_EQ(Source::alive, 1);
                                 for (const auto& counter : counters) {
                                   const bool stopped = outcome.failed && counter == counters[1];
                                   EXPECT_EQ(counter->heard, stopped ? 0 : 1);
                                   EXPECT_EQ(counter->exception, stopped ? Source::valueId : 0);
                                   counter->heard = counter->exception = 0;
                                 }
                               });
  EXPECT_GT(failures, 0);
}

TEST(NotifieeOutOfMemory, LosesNothingWhenItIsMadeRegisteredAndHeldWeakly) {
  const Ptr<Source> source(new Source);
  counterOf(source)->isWeakReferenceIs(true);
  const std::size_t before = FailingHeap::live();
  failingEachAllocationOf([&] { counterOf(source)->isWeakReferenceIs(true); },
                          [&] {
                            EXPECT_EQ(FailingHeap::live(), before);
                            EXPECT_EQ(source->references(), 1U);
                            EXPECT_EQ(source->kobNotifiees().members(), 0U);
                          });
  EXPECT_EQ(FailingHeap::live(), before);
}

TEST(EntityOutOfMemory, AnswersNoPathThatIsCutShort) {
  class Folder : public Kob::Entity {
   public:
    using Entity::Entity;
  };
  const Ptr<Folder> root(new Folder("a root with a long name"));
  const Ptr<Folder> leaf(new Folder("leaf"));
  leaf->parentIs(root);
  Kob::String8 path;
  const int failures = failingEachAllocationOf([&] { path = leaf->uriPath(); },
                                               [&] { EXPECT_EQ(path.length(), 0U); });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(path.view(), "a root with a long name/leaf");
}

/// A machine with a reactor in an activity that defers.
class DeferralOutOfMemory : public testing::Test {
 protected:
  Log log;
  Ptr<Kob::ActivityConfig> activity = Kob::activityFactory("activity");
  Ptr<Source> source{new Source};
  Ptr<Machine> machine{new Machine("machine", log, activity)};
  Ptr<Machine::KobSource> reactor = machine->source.newReactor(*machine, source);

  void TearDown() override {
    machine = nullptr;
    EXPECT_EQ(activity->activitySm()->pendings(), 0U);
  }
};

TEST_F(DeferralOutOfMemory, LosesTheKeyThatFoundNoPlaceInTheQueueAndTellsTheReactor) {
  activity->deferralIs(true);
  for (const Failing mode : allModes) {
    const Outcome outcome = failingAfter(0, [&] { source->valueNotify(1); }, mode);
    EXPECT_TRUE(outcome.failed);
    EXPECT_FALSE(outcome.thrown);
    // The note of what it was told needs memory too.
    const Log told = mode == Failing::once ? Log{"machine exception 260"} : Log();
    EXPECT_EQ(log, told);
    source->valueNotify(2);
    activity->run();
    EXPECT_EQ(std::exchange(log, {}).back(), "machine key 2") << "one is pending, not two";
  }
}

TEST_F(DeferralOutOfMemory, TellsTheReactorWhatItsHandlerThrewAndGoesOn) {
  const Ptr<Machine> next(new Machine("next", log, activity));
  next->source.newReactor(*next, source);
  machine->whenHandled = [] { throw std::bad_alloc(); };
  activity->deferralIs(true);
  source->valueNotify(1);
  activity->deferralIs(false);
  EXPECT_EQ(log, (Log{"machine key 1", "machine exception 260", "next key 1"}));
  EXPECT_EQ(reactor->kobPendingAttributeId(), Kob::pendingNone);
}

}  // namespace
}  // namespace KobTest
