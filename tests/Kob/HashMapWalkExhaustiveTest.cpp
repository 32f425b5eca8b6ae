// Iteration over a collection that changes under the iterator, exhausted under three hash
// functions: each set of up to eight entries is removed, replaced or inserted at each place of a
// walk, and on three entries everything is tried that up to six steps can do.
//
// The oracle knows an entry by its rank in the order of iteration. What a collection holds is then
// a set of bits, and the next entry of an iterator the lowest bit above its own. The whole state is
// checked after the last change of each trial, and at each step from there to the end; the changes
// before the last make shorter trials, which are trials of their own.

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Kob/HashMap.h"
#include "tests/Kob/Pairs.h"

namespace KobTest {
namespace {

using Kob::Ptr;

/// Entries by their rank in the order of iteration, a bit for each.
using Ranks = std::uint32_t;

constexpr Ranks only(int rank) { return Ranks{1} << static_cast<unsigned>(rank); }
constexpr Ranks firstRanks(int count) { return only(count) - 1; }
constexpr bool has(Ranks ranks, int rank) { return (ranks & only(rank)) != 0; }

/// Calls visit(rank) for each of them, from the first to the last or the other way.
template <class Visit>
void forEachRank(Ranks ranks, bool backwards, const Visit& visit) {
  for (Ranks left = ranks; left != 0;) {
    const int rank = backwards ? 31 - std::countl_zero(left) : std::countr_zero(left);
    left &= ~only(rank);
    visit(rank);
  }
}

/// A collection whose buckets and filters a test can see.
template <class Hash>
class OpenPairs : public Pairs<Hash> {
 public:
  using Pairs<Hash>::Pairs;
  using Pairs<Hash>::bucketHead;
  using Pairs<Hash>::mayHold;
};

/// A walk over a collection of some of the first numbers, and what must come of it.
template <class Hash>
class Walk {
 public:
  /// Of `count` numbers those of `present` are in the collection; the walk stands on the first.
  Walk(int count, Ranks present, unsigned buckets = 4)
      : order_(inOrder<Hash>(firstNumbers(count))), pairs_(buckets), it_(&pairs_) {
    for (const int number : order_) hashes_.push_back(reversedHashOf<Hash>(number));
    forEachRank(present, false, [this](int rank) { insert(rank); });
    it_ = Iterator(&pairs_);
    stayed_ = present_;
    arrive(std::countr_zero(present_));
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  [[nodiscard]] bool stands() const { return standing_ != nullptr; }
  [[nodiscard]] int place() const { return place_; }
  [[nodiscard]] bool holds(int rank) const { return has(present_, rank); }
  [[nodiscard]] std::uint32_t buckets() const { return pairs_.buckets(); }

  void insert(int rank) {
    entries_[at(rank)] = KobTest::insert(pairs_, numberOf(rank)).get();
    present_ |= only(rank);
  }
  void remove(int rank) {
    const std::uint32_t before = pairs_.modificationCount();
    ASSERT_TRUE(KobTest::remove(pairs_, numberOf(rank)));
    ASSERT_NE(pairs_.modificationCount(), before);
    present_ &= ~only(rank);
    stayed_ &= ~only(rank);
  }
  /// Removes the entry that the iterator stands on, unless it is in the collection no more.
  void removeThroughTheIterator() {
    if (!stands()) return;
    const bool removes = isHere();
    ASSERT_EQ(pairs_.deleteMember(it_.ptr().get()), removes);
    if (!removes) return;
    present_ &= ~only(place_);
    stayed_ &= ~only(place_);
  }
  /// Removes the entry and inserts another one of its key.
  void replace(int rank) {
    remove(rank);
    insert(rank);
  }
  /// Removes the entry and inserts it again.
  void putBack(int rank) {
    const Ptr<Pair<Hash>> entry = pairs_[{numberOf(rank)}];
    remove(rank);
    pairs_.newMember(entry);
    present_ |= only(rank);
  }
  void rearrange(unsigned buckets) { pairs_.setSize0(buckets); }

  void advance() {
    ++it_;
    if (stands()) arrive(std::countr_zero(present_ & ~firstRanks(place_ + 1)));
  }
  /// Stands on the entry of this rank. REQUIRES: it is in the collection.
  void goTo(int rank) {
    while (place_ != rank) advance();
  }

  /// Checks the whole state, and where the iterator stands.
  void check() const {
    checkPlace();
    Numbers numbers;
    for (int rank = 0; rank < count(); ++rank) {
      if (holds(rank)) numbers.push_back(numberOf(rank));
      const Pair<Hash>* const found = pairs_.find({numberOf(rank)});
      ASSERT_EQ(found, holds(rank) ? entries_[at(rank)] : nullptr);
    }
    expectHolds(pairs_, numbers, standing_);
    checkBuckets();
  }

  /// Walks to the end, where what was there throughout has been visited, and checks the whole state
  /// at each step.
  void finish() {
    check();
    while (stands() && !testing::Test::HasFatalFailure()) {
      advance();
      check();
    }
    ASSERT_EQ(stayed_ & ~visited_, 0U) << "it stayed and was not visited";
  }

 private:
  using Iterator = typename Pairs<Hash>::Iterator;

  /// Entries in the largest collection.
  static constexpr int most = 9;

  static std::size_t at(int rank) { return static_cast<std::size_t>(rank); }
  [[nodiscard]] int count() const { return static_cast<int>(order_.size()); }
  [[nodiscard]] int numberOf(int rank) const { return order_[at(rank)]; }

  /// The iterator stands where it must, and holds its entry, even one that was removed, and no
  /// other.
  void checkPlace() const {
    ASSERT_EQ(it_.ptr().get(), standing_);
    ASSERT_EQ(static_cast<bool>(it_), stands());
    ASSERT_TRUE(!stands() || it_.key().number == numberOf(place_));
    const bool isGone = stands() && !isHere();
    ASSERT_TRUE(!isGone || standing_->references() == 1);
    forEachRank(present_, false, [this](int rank) {
      const Pair<Hash>* const entry = entries_[at(rank)];
      ASSERT_EQ(entry->references(), entry == standing_ ? 2U : 1U);
    });
    ASSERT_EQ(Pair<Hash>::alive, std::popcount(present_) + (isGone ? 1 : 0));
  }
  /// Each bucket's chain is exactly the entries that belong there, and its filter knows exactly
  /// their groups: the values of the three hash bits after those that choose the bucket.
  void checkBuckets() const {
    const auto groupShift = static_cast<unsigned>(29 - std::countr_zero(pairs_.buckets()));
    Ranks left = present_;
    for (std::uint32_t bucket = 0; bucket < pairs_.buckets(); ++bucket) {
      const auto* entry = static_cast<const Pair<Hash>*>(pairs_.bucketHead(bucket));
      unsigned groups = 0;
      for (; entry != nullptr; entry = Kob::HashMapLink::of(*entry).get()) {
        const int rank = std::countr_zero(left);
        ASSERT_LT(rank, count());
        ASSERT_EQ(entry, entries_[at(rank)]);
        ASSERT_EQ(std::uint64_t{hashes_[at(rank)]} >> (groupShift + 3), bucket);
        groups |= 1U << (hashes_[at(rank)] >> groupShift & 7U);
        left &= ~only(rank);
      }
      unsigned filter = 0;
      for (std::uint32_t group = 0; group < 8; ++group) {
        filter |= (pairs_.mayHold(bucket, group << groupShift) ? 1U : 0U) << group;
      }
      ASSERT_EQ(filter, groups) << "bucket " << bucket;
    }
    ASSERT_EQ(left, 0U);
  }

  /// The entry that the iterator stands on is in the collection.
  [[nodiscard]] bool isHere() const { return holds(place_) && entries_[at(place_)] == standing_; }

  /// The iterator is on the entry of this rank, or at the end when there is no such rank.
  void arrive(int rank) {
    if (rank >= count()) {
      standing_ = nullptr;
      return;
    }
    ASSERT_FALSE(has(visited_, rank)) << "visited twice";
    visited_ |= only(rank);
    place_ = rank;
    standing_ = entries_[at(rank)];
  }

  /// The numbers by rank, and their reversed hashes.
  const Numbers order_;
  std::vector<std::uint32_t> hashes_;
  OpenPairs<Hash> pairs_;
  Iterator it_;
  /// The entry of each rank that was inserted last.
  const Pair<Hash>* entries_[most] = {};
  Ranks present_ = 0;
  /// Those that were there from the beginning of the walk on.
  Ranks stayed_ = 0;
  Ranks visited_ = 0;
  /// Where the iterator stands, or stood last; the entry, or null at the end.
  int place_ = -1;
  const Pair<Hash>* standing_ = nullptr;
};

template <class Hash>
class HashMapWalkExhaustive : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Pair<Hash>::alive, 0); }

  /// Calls visit(count, place, set) for each place among up to `most` entries, and each set of
  /// these.
  template <class Visit>
  static void forEachPlaceAndSet(int most, const Visit& visit) {
    for (int count = 1; count <= most; ++count) {
      for (int place = 0; place < count; ++place) {
        for (Ranks set = 0; set <= firstRanks(count) && !HasFatalFailure(); ++set) {
          SCOPED_TRACE(std::to_string(count) + " entries, place " + std::to_string(place) +
                       ", set " + std::to_string(set));
          visit(count, place, set);
        }
      }
    }
  }
};
TYPED_TEST_SUITE(HashMapWalkExhaustive, AllHashes, HashNames);

TYPED_TEST(HashMapWalkExhaustive, SkipsWhatIsRemovedBeforeItsTurn) {
  this->forEachPlaceAndSet(8, [](int count, int place, Ranks removed) {
    for (const bool backwards : {false, true}) {
      Walk<TypeParam> walk(count, firstRanks(count));
      walk.goTo(place);
      forEachRank(removed, backwards, [&](int rank) { walk.remove(rank); });
      walk.finish();
    }
  });
}

TYPED_TEST(HashMapWalkExhaustive,
           DeletingTheCurrentEntryAndAdvancingVisitsEveryRemainingEntryOnce) {
  for (int count = 0; count <= 8; ++count) {
    for (Ranks set = 0; set <= firstRanks(count); ++set) {
      Walk<TypeParam> walk(count, firstRanks(count));
      for (; walk.stands(); walk.advance()) {
        if (has(set, walk.place())) walk.removeThroughTheIterator();
        ASSERT_NO_FATAL_FAILURE(walk.check()) << count << " entries, set " << set;
      }
      ASSERT_NO_FATAL_FAILURE(walk.finish()) << count << " entries, set " << set;
    }
  }
}

TYPED_TEST(HashMapWalkExhaustive, MayRemoveAsItPassesWhileOthersAreRemovedByKey) {
  this->forEachPlaceAndSet(5, [](int count, int place, Ranks byKey) {
    for (Ranks asItPasses = 0; asItPasses <= firstRanks(count); ++asItPasses) {
      Walk<TypeParam> walk(count, firstRanks(count));
      for (; walk.stands() && !testing::Test::HasFatalFailure(); walk.advance()) {
        if (has(asItPasses, walk.place())) walk.removeThroughTheIterator();
        if (walk.place() != place) continue;
        forEachRank(byKey, false, [&](int rank) {
          if (walk.holds(rank)) walk.remove(rank);
        });
        walk.check();
      }
      walk.finish();
    }
  });
}

TYPED_TEST(HashMapWalkExhaustive, VisitsReplacedEntriesOnceAndNeverTurnsBack) {
  this->forEachPlaceAndSet(8, [](int count, int place, Ranks replaced) {
    Walk<TypeParam> walk(count, firstRanks(count));
    walk.goTo(place);
    forEachRank(replaced, false, [&](int rank) { walk.replace(rank); });
    walk.finish();
  });
}

TYPED_TEST(HashMapWalkExhaustive, VisitsEntriesThatLeaveAndComeBackOnceAndNeverTurnsBack) {
  this->forEachPlaceAndSet(8, [](int count, int place, Ranks back) {
    Walk<TypeParam> walk(count, firstRanks(count));
    walk.goTo(place);
    forEachRank(back, false, [&](int rank) { walk.putBack(rank); });
    walk.finish();
  });
}

TYPED_TEST(HashMapWalkExhaustive, VisitsWhatIsInsertedAfterItsPlaceAndNothingBefore) {
  int grown = 0;
  const auto insertAt = [&grown](Walk<TypeParam> walk, int place, Ranks inserted, bool backwards) {
    walk.goTo(place);
    const std::uint32_t before = walk.buckets();
    forEachRank(inserted, backwards, [&](int rank) { walk.insert(rank); });
    if (walk.buckets() != before) ++grown;
    walk.finish();
  };
  // Up to nine entries: a collection of four buckets grows with the fifth, and with the ninth.
  this->forEachPlaceAndSet(9, [&insertAt](int count, int place, Ranks inserted) {
    if (has(inserted, place)) return;
    const Ranks present = firstRanks(count) & ~inserted;
    insertAt(Walk<TypeParam>(count, present, 1), place, inserted, false);
    insertAt(Walk<TypeParam>(count, present, 4), place, inserted, true);
  });
  EXPECT_GT(grown, 5000) << "collections grow in the middle of walks";
}

/// What a step of a sequence may do. Steps on ranks come last, one for each rank.
enum Step : int { advance, removeHere, rearrange, changeFirstRank };

/// Inserts the entry, or removes it when it is there.
template <class Hash>
void change(Walk<Hash>& walk, int rank) {
  walk.holds(rank) ? walk.remove(rank) : walk.insert(rank);
}

template <class Hash>
void carryOut(Walk<Hash>& walk, int step) {
  switch (step) {
    case advance:
      return walk.advance();
    case removeHere:
      return walk.removeThroughTheIterator();
    case rearrange:
      return walk.rearrange(walk.buckets() == 1 ? 64 : 1);
    default:
      return change(walk, step - changeFirstRank);
  }
}

TYPED_TEST(HashMapWalkExhaustive, StandsWhereItMustAfterEverySequenceOfSteps) {
  constexpr int count = 3;
  constexpr int steps = changeFirstRank + count;
  int sequences = 1;
  for (int length = 1; length <= 6; ++length) {
    sequences *= steps;
    for (int sequence = 0; sequence < sequences; ++sequence) {
      Walk<TypeParam> walk(count, firstRanks(count), 1);
      std::string taken;
      for (int left = sequence, step = 0; step < length; ++step, left /= steps) {
        carryOut(walk, left % steps);
        taken += std::to_string(left % steps);
      }
      ASSERT_NO_FATAL_FAILURE(walk.finish()) << "steps " << taken;
    }
  }
}

}  // namespace
}  // namespace KobTest
