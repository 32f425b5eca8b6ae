// What allocates, and what stands when memory runs out: each allocation of an operation fails,
// alone and with all that follow it.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstddef>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "Kob/Activity.h"
#include "Kob/PtrInterface.h"
#include "Kob/Slab.h"
#include "Kob/String8.h"
#include "Kob/Trace.h"
#include "tests/Kob/FailingHeap.h"
#include "tests/Kob/Machine.h"
#include "tests/Kob/Pairs.h"
#include "tests/Kob/Source.h"

namespace KobTest {
namespace {

using Kob::Ptr;
using Kob::String8;

TEST(TheHeap, SeesAndFailsEachFormOfAllocation) {
  struct alignas(64) Line {
    char bytes[64];
  };
  const std::size_t before = FailingHeap::live();
  int* volatile one = new int;
  int* volatile several = new int[3];
  Line* volatile aligned = new (std::nothrow) Line;
  Line* volatile alignedSeveral = new Line[2];
  const std::size_t during = FailingHeap::live();
  delete one;
  delete[] several;
  delete aligned;
  delete[] alignedSeveral;
  EXPECT_EQ(during, before + 4);
  EXPECT_EQ(FailingHeap::live(), before);
  one = nullptr;
  EXPECT_TRUE(failingAfter(0, [&] { one = new (std::nothrow) int; }).failed);
  EXPECT_EQ(one, nullptr);
  EXPECT_TRUE(failingAfter(0, [&] { alignedSeveral = new Line[2]; }).thrown);
}

template <class Hash>
class CollectionOutOfMemory : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Pair<Hash>::alive, 0); }
};
TYPED_TEST_SUITE(CollectionOutOfMemory, AllHashes, HashNames);

TYPED_TEST(CollectionOutOfMemory, HasNotInsertedWhenItCanNotGrow) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(4));
  const int failures = failingEachAllocationOf([&] { insert(pairs, 4); },
                                               [&] {
                                                 expectHolds(pairs, firstNumbers(4));
                                                 EXPECT_EQ(pairs.buckets(), 4U);
                                               });
  EXPECT_EQ(failures, 2) << "the entry, and the buckets";
  expectHolds(pairs, firstNumbers(5));
}

TYPED_TEST(CollectionOutOfMemory, TakesEachEntryThatItCouldNotTakeBefore) {
  Pairs<TypeParam> pairs;
  Pairs<TypeParam> untroubled;
  for (int number = 0; number < 70; ++number) {
    insert(untroubled, number);
    failingEachAllocationOf([&] { insert(pairs, number); },
                            [&] { expectHolds(pairs, firstNumbers(number)); });
    EXPECT_EQ(pairs.buckets(), untroubled.buckets());
  }
  expectHolds(pairs, firstNumbers(70));
}

TYPED_TEST(CollectionOutOfMemory, HasChangedNothingWhenItCanNotBeResized) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(9));
  const int failures = failingEachAllocationOf([&] { pairs.setSize0(256); },
                                               [&] {
                                                 expectHolds(pairs, firstNumbers(9));
                                                 EXPECT_EQ(pairs.buckets(), 64U);
                                               });
  EXPECT_EQ(failures, 1);
  expectHolds(pairs, firstNumbers(9));
}

TYPED_TEST(CollectionOutOfMemory, HasChangedNothingWhenItCanNotGetAsManyBucketsAsItMayHave) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(9));
  EXPECT_TRUE(failingAfter(0, [&] { pairs.setSize0(UINT_MAX); }).thrown);
  EXPECT_EQ(FailingHeap::refused(), (sizeof(void*) + 1) << 31U) << "2^31 buckets and no more";
  expectHolds(pairs, firstNumbers(9));
  EXPECT_EQ(pairs.buckets(), 64U);
}

TYPED_TEST(CollectionOutOfMemory, LeavesNothingBehindWhenItCanNotBeCopied) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(6));
  const int failures = failingEachAllocationOf([&] { const Pairs<TypeParam> copy(pairs); },
                                               [&] { EXPECT_EQ(Pair<TypeParam>::alive, 6); });
  EXPECT_EQ(failures, 1 + 6) << "the buckets and each entry";
  expectHolds(pairs, firstNumbers(6));
}

TYPED_TEST(CollectionOutOfMemory, KeepsItsContentWhenItCanNotBeAssigned) {
  Pairs<TypeParam> source;
  insertAll(source, firstNumbers(6));
  Pairs<TypeParam> target;
  insertAll(target, {3, 50});
  failingEachAllocationOf([&] { target = source; }, [&] { expectHolds(target, {3, 50}); });
  expectHolds(target, firstNumbers(6));
  expectHolds(source, firstNumbers(6));
}

TYPED_TEST(CollectionOutOfMemory, IsWalkedAndEmptiedWithoutAny) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(20));
  const Outcome outcome = failingAfter(
      0,
      [&] {
        for (typename Pairs<TypeParam>::Iterator it(&pairs); it; ++it) {
          if (it.key().number % 2 == 0) pairs.deleteMember(it.ptr().get());
        }
        pairs.emptyAllBuckets();
      },
      Failing::fromThereOn);
  EXPECT_FALSE(outcome.failed);
  expectHolds(pairs, {});
}

TEST(StringOutOfMemory, KeepsItsContent) {
  String8 string("old");
  const String8 tail("er");
  const auto isOld = [&] { EXPECT_EQ(string.view(), "old"); };
  EXPECT_EQ(failingEachAllocationOf([&] { string += tail; }, isOld), 1);
  EXPECT_EQ(string.view(), "older");
  string = "old";
  EXPECT_EQ(failingEachAllocationOf([&] { string.init("newer", 0, 3); }, isOld), 1);
  EXPECT_EQ(string.view(), "new");
}

TEST(WeakHoldOutOfMemory, StaysCounted) {
  Log log;
  const Ptr<Source> source(new Source);
  const Ptr<Recorder> holder = watch(source, "holder", log);
  failingEachAllocationOf([&] { holder->isWeakReferenceIs(true); },
                          [&] {
                            EXPECT_FALSE(holder->isWeakReference());
                            EXPECT_EQ(source->references(), 2U);
                          });
  EXPECT_TRUE(holder->isWeakReference());
  EXPECT_EQ(source->references(), 1U);
}

TEST(WeakHoldOutOfMemory, StaysOnTheFormerNotifier) {
  Log log;
  Ptr<Source> former(new Source("former"));
  const Ptr<Source> next(new Source("next"));
  const Ptr<Recorder> holder = watch(former, "holder", log);
  holder->isWeakReferenceIs(true);
  failingEachAllocationOf([&] { holder->notifierIs(next); },
                          [&] {
                            EXPECT_EQ(holder->notifier(), former);
                            EXPECT_EQ(former->kobNotifiees().members(), 1U);
                          });
  EXPECT_EQ(holder->notifier(), next);
}

TEST(ActivityOutOfMemory, HasRecordedNothing) {
  Log log;
  const auto activity = Kob::activityFactory("activity");
  const Ptr<Machine> machine(new Machine("machine", log, activity));
  const auto reactor = machine->source.newReactor(*machine, nullptr);
  activity->deferralIs(true);
  failingEachAllocationOf([&] { reactor->onValue(1); },
                          [&] {
                            EXPECT_EQ(activity->activitySm()->pendings(), 0U);
                            EXPECT_EQ(reactor->kobPendingAttributeId(), Kob::pendingNone);
                            EXPECT_EQ(reactor->kobPendingCount(), 0U);
                          });
  activity->run();
  EXPECT_EQ(log, Log{"machine key 1"});
}

TEST(InputOutOfMemory, KeepsItsReactor) {
  Log log;
  const Ptr<Source> source(new Source);
  const Ptr<Machine> machine(new Machine("machine", log, nullptr));
  const auto reactor = machine->source.newReactor(*machine, source);
  failingEachAllocationOf([&] { machine->source.newReactor(*machine, source); },
                          [&] {
                            EXPECT_EQ(machine->source.reactor(), reactor);
                            EXPECT_EQ(source->kobNotifiees().members(), 1U);
                            EXPECT_EQ(reactor->owner(), machine.get());
                          });
  EXPECT_NE(machine->source.reactor(), reactor);
  EXPECT_EQ(source->kobNotifiees().members(), 1U);
}

/// A slab with cells, with plain reference counts and with atomic ones, under which it is locked.
class SlabOutOfMemory : public testing::TestWithParam<bool> {
 protected:
  /// Never destroyed: it does not give its pages back.
  Kob::Slab& slab = *made().emplace_back(new Kob::Slab(true));

  void SetUp() override { Kob::VFPtrInterface::enableThreadSafePointers = GetParam(); }
  void TearDown() override { Kob::VFPtrInterface::enableThreadSafePointers = false; }

 private:
  static std::vector<Kob::Slab*>& made() {
    static auto& slabs = *new std::vector<Kob::Slab*>;
    return slabs;
  }
};

INSTANTIATE_TEST_SUITE_P(References, SlabOutOfMemory, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "Atomic" : "Plain"; });

TEST_P(SlabOutOfMemory, HandsOutNothingAndThenWhatItWouldHaveHandedOut) {
  void* cell = nullptr;
  const int failures =
      failingEachAllocationOf([&] { cell = slab.allocate(40); }, [&] { EXPECT_EQ(cell, nullptr); });
  EXPECT_EQ(failures, 1) << "the first block of pages";
  void* other = nullptr;
  EXPECT_EQ(allocationsOf([&] { other = slab.allocate(48); }), 0) << "the next page of the block";
  EXPECT_NE(other, cell);
  slab.release(cell, 40);
  EXPECT_EQ(slab.allocate(40), cell);
  slab.release(cell, 40);
  slab.release(other, 48);
}

TEST_P(SlabOutOfMemory, KeepsWhatItHandedOutWhenItGetsNoMorePages) {
  constexpr std::size_t size = Kob::Slab::maxSize;
  constexpr std::size_t blockSize = 64 * 16 * 1024;
  std::vector<unsigned char*> cells{static_cast<unsigned char*>(slab.allocate(size))};
  cells.reserve(blockSize / size);
  const auto takeAnother = [&] {
    cells.push_back(static_cast<unsigned char*>(slab.allocate(size)));
  };
  const auto takeAll = [&] {
    while (cells.size() < blockSize / size) takeAnother();
  };
  for (const Failing mode : allModes) EXPECT_TRUE(failingAfter(0, takeAll, mode).thrown);
  EXPECT_GT(cells.size(), blockSize / size * 9 / 10);
  std::sort(cells.begin(), cells.end());
  for (std::size_t at = 1; at < cells.size(); ++at) ASSERT_GE(cells[at], cells[at - 1] + size);
  takeAnother();
  for (unsigned char* const cell : cells) slab.release(cell, size);
}

TEST_P(SlabOutOfMemory, LetsNoOtherThreadInWhileItTakesPagesIfReferencesAreAtomic) {
  const int patience = GetParam() ? 50 : 60000;
  void* const cell = slab.allocate(40);
  std::atomic<bool> isReleased = false;
  bool isReleasedMeanwhile = false;
  std::thread other;
  const std::function<void()> look = [&] {
    other = std::thread([&] {
      slab.release(cell, 40);
      isReleased = true;
    });
    // Long enough for whoever does not wait.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience);
    while (!isReleased && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    isReleasedMeanwhile = isReleased;
  };
  constexpr std::size_t size = Kob::Slab::maxSize;
  std::vector<void*> cells;
  cells.reserve(4096);
  FailingHeap::lookIs(&look);
  while (!other.joinable()) cells.push_back(slab.allocate(size));
  FailingHeap::lookIs(nullptr);
  other.join();
  EXPECT_EQ(isReleasedMeanwhile, !GetParam());
  for (void* const taken : cells) slab.release(taken, size);
}

TEST(Allocations, NoneForALookUp) {
  Pairs<GoodHash> pairs;
  insertAll(pairs, firstNumbers(100));
  int found = 0;
  EXPECT_EQ(allocationsOf([&] {
              for (int number = 0; number < 200; ++number) {
                if (pairs.isMemberOf({number}) && pairs[{number}]) ++found;
              }
            }),
            0);
  EXPECT_EQ(found, 100);
}

TEST(Allocations, NoneForAWalkOverACollection) {
  Pairs<GoodHash> pairs;
  insertAll(pairs, firstNumbers(100));
  int sum = 0;
  EXPECT_EQ(allocationsOf([&] {
              for (Pairs<GoodHash>::IteratorConst it(&pairs); it; ++it) sum += it.key().number;
            }),
            0);
  EXPECT_EQ(sum, 4950);
}

TEST(Allocations, NoneForUpToFourBucketsWhichTheCollectionHoldsItself) {
  Pairs<GoodHash> pairs(16);
  insertAll(pairs, firstNumbers(3));
  EXPECT_EQ(allocationsOf([&] { pairs.setSize0(4); }), 0);
  EXPECT_EQ(allocationsOf([&] { pairs.setSize0(1); }), 0);
  EXPECT_EQ(allocationsOf([&] { pairs.setSize0(8); }), 1);
  expectHolds(pairs, firstNumbers(3));
}

TEST(Allocations, NoneForAnAnnouncementToUpToSixteenAndThenOnceForTheLargest) {
  class Silent : public Source::NotifieeConst {};
  const Ptr<Source> source(new Source);
  std::vector<Ptr<Silent>> notifiees;
  const auto announcementTo = [&](std::size_t count) {
    while (notifiees.size() < count) {
      notifiees.emplace_back(new Silent);
      notifiees.back()->notifierIs(source);
      notifiees.back()->isRegisteredNotifieeIs(true);
    }
    return allocationsOf([&] { source->valueNotify(1); });
  };
  for (const std::size_t count : {0U, 1U, 16U}) EXPECT_EQ(announcementTo(count), 0) << count;
  // Walks before this test may have left a block for more.
  std::size_t largest = 17;
  while (announcementTo(largest) == 0) largest *= 2;
  EXPECT_EQ(announcementTo(largest), 0) << "the block that the walks use from now on";
  EXPECT_LT(largest, 5000U);
}

TEST(Allocations, NoneForJoiningAndLeavingAList) {
  Log log;
  const Ptr<Source> source(new Source);
  const Ptr<Recorder> notifiee = watch(source, "notifiee", log, false);
  EXPECT_EQ(allocationsOf([&] {
              notifiee->isRegisteredNotifieeIs(true);
              notifiee->isRegisteredNotifieeIs(false);
            }),
            0);
}

TEST(Allocations, NoneForCopyingAString) {
  const String8 string("a string that is longer than any small buffer would be");
  EXPECT_EQ(allocationsOf([&] { const String8 copy(string); }), 0);
}

TEST(Allocations, NoneForATracePointThatIsOff) {
  Kob::TraceHandle handle("MemoryTest", false);
  const String8 string("formatted");
  EXPECT_EQ(allocationsOf([&] {
              KOB_TRACE(handle, 7, "<unknown>", "operation", string << 12345678901234567890U);
            }),
            0);
}

}  // namespace
}  // namespace KobTest
