// The core of the collections, driven through its public operations.

#include "Kob/HashMapGeneric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>

#include "tests/Kob/Fatal.h"
#include "tests/Kob/Pairs.h"

namespace KobTest {

/// An entry whose end a test scripts.
class Fragile final : public Kob::HashMapEntry<Fragile, int, int> {
 public:
  using HashMapEntry::HashMapEntry;
  ~Fragile() override {
    if (whenDestroyed) whenDestroyed();
  }

  std::function<void()> whenDestroyed;
};

namespace {

using Kob::HashMapGeneric;
using Kob::Ptr;
using Cursor = HashMapGeneric::Cursor;
using Fragiles = Kob::HashMap<Fragile, int, int>;

template <class Hash>
class HashMapGenericOf : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Pair<Hash>::alive, 0); }

  static Pairs<Hash> holding(int count) {
    Pairs<Hash> pairs;
    insertAll(pairs, firstNumbers(count));
    return pairs;
  }
};
TYPED_TEST_SUITE(HashMapGenericOf, AllHashes, HashNames);

TYPED_TEST(HashMapGenericOf, RemovesExactlyTheEntryThatItIsGiven) {
  for (int count = 1; count <= 8; ++count) {
    for (int number = 0; number < count; ++number) {
      Pairs<TypeParam> pairs = this->holding(count);
      EXPECT_TRUE(pairs.deleteMember(pairs.find({number})));
      expectHolds(pairs, without(firstNumbers(count), {number}));
    }
  }
}

TYPED_TEST(HashMapGenericOf, InsertsAndRemovesWithoutKnowingTheTypeOfItsEntries) {
  Pairs<TypeParam> pairs = this->holding(5);
  HashMapGeneric& core = pairs;
  const Ptr entry(new Pair<TypeParam>(Key<TypeParam>{5}, 50));
  core.newMemberG(entry.get(), &entry->fwkKey());
  EXPECT_EQ(pairs.find({5}), entry.get());
  EXPECT_EQ(core.members(), 6U);
  EXPECT_TRUE(core.deleteMember(entry.get()));
  EXPECT_FALSE(core.deleteMember(entry.get()));
  EXPECT_FALSE(core.deleteMember(nullptr));
  EXPECT_FALSE(pairs.deleteMember(nullptr));
  expectHolds(pairs, firstNumbers(5));
}

TYPED_TEST(HashMapGenericOf, RemovingAnEntryThatIsNotHereChangesNothing) {
  Pairs<TypeParam> pairs = this->holding(5);
  Pairs<TypeParam> others = this->holding(5);
  const Ptr<Pair<TypeParam>> removed = pairs[{2}];
  EXPECT_TRUE(pairs.deleteMember(removed.get()));
  const std::uint32_t before = pairs.modificationCount();
  EXPECT_FALSE(pairs.deleteMember(removed.get())) << "removed before";
  EXPECT_FALSE(pairs.deleteMember(others.find({3}))) << "of an equal key, in another collection";
  EXPECT_EQ(pairs.modificationCount(), before);
  expectHolds(pairs, {0, 1, 3, 4});
  expectHolds(others, firstNumbers(5));
}

TYPED_TEST(HashMapGenericOf, ARemovedEntryIsNotLinkedAndMayJoinAgain) {
  Pairs<TypeParam> pairs = this->holding(6);
  for (const int number : firstNumbers(6)) {
    const Ptr<Pair<TypeParam>> pair = pairs[{number}];
    pairs.deleteMember(pair.get());
    EXPECT_EQ(Kob::HashMapLink::of(*pair), nullptr);
    pairs.newMember(pair);
  }
  expectHolds(pairs, firstNumbers(6));
}

TYPED_TEST(HashMapGenericOf, AnEntryThatIsLinkedInAnotherCollectionIsFatalToInsert) {
  Pairs<TypeParam> pairs(1);
  insertAll(pairs, {1, 2});
  pairs.setSize0(1);
  Pairs<TypeParam> others;
  const Ptr<Pair<TypeParam>> linked = pairs[{walked(pairs).front()}];
  EXPECT_FATAL(others.newMember(linked), "Kob/HashMapGeneric.cpp",
               "void Kob::HashMapGeneric::insert(Kob::PtrInterface*, const void*)",
               "next( entry ) == 0");
}

TYPED_TEST(HashMapGenericOf, ResizingKeepsTheContentAndItsOrder) {
  for (const unsigned from : {1U, 2U, 4U, 8U, 32U}) {
    for (const unsigned to : {0U, 1U, 2U, 3U, 4U, 8U, 16U, 64U, 1024U}) {
      Pairs<TypeParam> pairs = this->holding(13);
      pairs.setSize0(from);
      pairs.setSize0(to);
      std::uint32_t expected = 1;
      while (expected < to) expected *= 2;
      EXPECT_EQ(pairs.buckets(), expected);
      expectHolds(pairs, firstNumbers(13));
    }
  }
}

TYPED_TEST(HashMapGenericOf, RemovingFromCrowdedBucketsLeavesAllOthersToBeFound) {
  for (const unsigned buckets : {1U, 2U, 4U}) {
    // 13 is prime, so each stride visits every number.
    for (int stride = 1; stride < 13; ++stride) {
      Pairs<TypeParam> pairs = this->holding(13);
      pairs.setSize0(buckets);
      Numbers left = firstNumbers(13);
      for (int step = 0; step < 13; ++step) {
        const int number = step * stride % 13;
        EXPECT_TRUE(remove(pairs, number));
        left = without(left, {number});
        expectHolds(pairs, left);
      }
    }
  }
}

TYPED_TEST(HashMapGenericOf, WalksBeginWithTheFirstEntryWhateverWasTakenAwayBefore) {
  const auto takeFirst = [](HashMapGeneric& core, int count) {
    Cursor cursor;
    for (int taken = 0; taken < count; ++taken) {
      EXPECT_TRUE(core.deleteMember(core.findNextG(nullptr, cursor)));
    }
    static_cast<void>(core.findNextG(nullptr, cursor));
  };
  for (int count = 1; count <= 20; ++count) {
    Pairs<TypeParam> again = this->holding(20);
    const Numbers order = walked(again);
    takeFirst(again, count);
    for (int taken = count; taken-- > 0;) insert(again, order[static_cast<std::size_t>(taken)]);
    expectHolds(again, firstNumbers(20));

    Pairs<TypeParam> assigned = this->holding(20);
    takeFirst(assigned, count);
    assigned = again;
    expectHolds(assigned, firstNumbers(20));

    Pairs<TypeParam> resized = this->holding(20);
    takeFirst(resized, count);
    resized.setSize0(2);
    expectHolds(resized, Numbers(order.begin() + count, order.end()));
  }
}

TYPED_TEST(HashMapGenericOf, ResizingAnEmptyCollectionOnlyChangesItsBuckets) {
  Pairs<TypeParam> pairs;
  for (const unsigned size : {1U, 16U, 2U}) {
    pairs.setSize0(size);
    EXPECT_EQ(pairs.buckets(), size);
    expectHolds(pairs, {});
  }
}

TYPED_TEST(HashMapGenericOf, ACollectionOfOneBucketWorksLikeAnyOther) {
  Pairs<TypeParam> pairs(1);
  insert(pairs, 3);
  EXPECT_EQ(pairs.buckets(), 1U);
  expectHolds(pairs, {3});
  insertAll(pairs, {1, 2});
  pairs.setSize0(1);
  expectHolds(pairs, {1, 2, 3});
  remove(pairs, 2);
  expectHolds(pairs, {1, 3});
}

TYPED_TEST(HashMapGenericOf, TheNextEntryIsFoundFromOneThatHasGone) {
  for (const int gone : firstNumbers(8)) {
    Pairs<TypeParam> pairs = this->holding(8);
    const Numbers order = walked(pairs);
    const Ptr<Pair<TypeParam>> removed = pairs[{gone}];
    pairs.deleteMember(removed.get());
    Cursor cursor;
    const auto at = std::find(order.begin(), order.end(), gone) + 1;
    EXPECT_EQ(pairs.findNextG(removed.get(), cursor),
              at == order.end() ? nullptr : pairs.find({*at}));
  }
}

TYPED_TEST(HashMapGenericOf, TheNextEntryIsFoundFromOneThatWasReplaced) {
  for (const int replaced : firstNumbers(8)) {
    Pairs<TypeParam> pairs = this->holding(8);
    const Numbers order = walked(pairs);
    const Ptr<Pair<TypeParam>> old = pairs[{replaced}];
    pairs.deleteMember(old.get());
    insert(pairs, replaced);
    Cursor cursor;
    const auto at = std::find(order.begin(), order.end(), replaced) + 1;
    EXPECT_EQ(pairs.findNextG(old.get(), cursor), at == order.end() ? nullptr : pairs.find({*at}));
  }
}

TYPED_TEST(HashMapGenericOf, TheNextBucketIsFoundAfterTheCursors) {
  Pairs<TypeParam> pairs = this->holding(8);
  Numbers firstOfBuckets;
  std::uint32_t bucket = UINT32_MAX;
  for (const int number : walked(pairs)) {
    if (bucketIn(pairs, number) != bucket) firstOfBuckets.push_back(number);
    bucket = bucketIn(pairs, number);
  }
  Cursor cursor;
  Numbers found = {firstOfBuckets.front()};
  static_cast<void>(pairs.findNextG(nullptr, cursor));
  while (const auto* const entry = pairs.findNextBucket(cursor)) {
    found.push_back(static_cast<const Pair<TypeParam>*>(entry)->fwkKey().number);
    EXPECT_EQ(cursor.bucket, bucketIn(pairs, found.back()));
  }
  EXPECT_EQ(found, firstOfBuckets);
}

TYPED_TEST(HashMapGenericOf, StartingAtAHashFindsTheKeyOrWhatComesAfterIt) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, {0, 2, 4, 6, 8, 10, 12, 14});
  Numbers all = inOrder<TypeParam>(firstNumbers(16));
  const int* expected = nullptr;
  for (auto number = all.rbegin(); number != all.rend(); ++number) {
    if (*number % 2 == 0) expected = &*number;
    const Key<TypeParam> key{*number};
    Cursor cursor;
    const auto* const found = pairs.startAtHash(&key, reversedHashOf<TypeParam>(*number), cursor);
    ASSERT_EQ(found, expected == nullptr ? nullptr : pairs.find({*expected})) << *number;
    ASSERT_TRUE(expected == nullptr || cursor.bucket == bucketIn(pairs, *expected));
  }
}

TYPED_TEST(HashMapGenericOf, EmptyingReleasesEveryEntryAndKeepsTheBuckets) {
  Pairs<TypeParam> pairs = this->holding(20);
  const std::uint32_t before = pairs.modificationCount();
  pairs.emptyAllBuckets();
  EXPECT_EQ(Pair<TypeParam>::alive, 0);
  EXPECT_EQ(pairs.buckets(), 128U);
  EXPECT_NE(pairs.modificationCount(), before);
  expectHolds(pairs, {});
  insertAll(pairs, firstNumbers(5));
  expectHolds(pairs, firstNumbers(5));
}

TYPED_TEST(HashMapGenericOf, EmptyingAnEmptyCollectionChangesNothing) {
  Pairs<TypeParam> pairs;
  const std::uint32_t before = pairs.modificationCount();
  pairs.emptyAllBuckets();
  EXPECT_EQ(pairs.modificationCount(), before);
}

/// A collection of entries that run `script` when they are destroyed.
class FragileEntries : public testing::Test {
 protected:
  void TearDown() override {
    for (Fragiles::Iterator it(&fragiles_); it; ++it) it.ptr()->whenDestroyed = nullptr;
  }

  void insertAll(int count, const std::function<void(int)>& script) {
    for (int number = 0; number < count; ++number) {
      const Ptr<Fragile> entry(new Fragile(number, 0));
      entry->whenDestroyed = [number, script] { script(number); };
      fragiles_.newMember(entry);
    }
  }

  Fragiles fragiles_;
};

TEST_F(FragileEntries, AreReleasedInIterationOrder) {
  Numbers released;
  insertAll(8, [&](int number) { released.push_back(number); });
  fragiles_.emptyAllBuckets();
  EXPECT_EQ(released, inOrder<IdentityHash>(firstNumbers(8)));
}

TEST_F(FragileEntries, FindTheCollectionWholeWhenOneIsRemoved) {
  insertAll(8, [&](int number) {
    EXPECT_FALSE(fragiles_.isMemberOf(number));
    std::uint32_t walked = 0;
    for (Fragiles::IteratorConst it(&fragiles_); it; ++it) ++walked;
    EXPECT_EQ(walked, fragiles_.members());
  });
  for (const int number : {3, 0, 7}) fragiles_.deleteMember(fragiles_.find(number));
  EXPECT_EQ(fragiles_.members(), 5U);
}

TEST_F(FragileEntries, FindTheCollectionWholeWhileAllAreReleased) {
  insertAll(8, [&](int number) {
    EXPECT_FALSE(fragiles_.isMemberOf(number));
    std::uint32_t walked = 0;
    for (Fragiles::IteratorConst it(&fragiles_); it; ++it) ++walked;
    EXPECT_EQ(walked, fragiles_.members());
  });
  fragiles_.emptyAllBuckets();
  EXPECT_EQ(fragiles_.members(), 0U);
}

TEST_F(FragileEntries, MayRemoveEachOtherWhileAllAreReleased) {
  for (int other = 0; other < 8; ++other) {
    insertAll(8, [this, other](int) {
      if (const Ptr<Fragile> entry = fragiles_[other]) fragiles_.deleteMember(entry.get());
    });
    fragiles_.emptyAllBuckets();
    EXPECT_EQ(fragiles_.members(), 0U);
  }
}

/// Key handling of a collection's own, which goes with it.
class KeylessVTable final : public HashMapGeneric::VTable {
 public:
  explicit KeylessVTable(int& alive) : alive_(alive) { ++alive_; }
  ~KeylessVTable() override { --alive_; }

  std::uint32_t hash(const Kob::PtrInterface*) const override { return 0; }
  bool keyEquals(const void*, const Kob::PtrInterface*) const override { return false; }
  bool keyLessThan(const void*, const Kob::PtrInterface*, const Kob::PtrInterface*) const override {
    return false;
  }
  void setNext(Kob::PtrInterface*, Kob::PtrInterface*) const override {}

 private:
  int& alive_;
};

TEST(HashMapGeneric, KeyHandlingIsDestroyedThroughItsBase) {
  int alive = 0;
  std::unique_ptr<const HashMapGeneric::VTable> vTable = std::make_unique<KeylessVTable>(alive);
  EXPECT_EQ(alive, 1);
  vTable = nullptr;
  EXPECT_EQ(alive, 0);
}

TEST(HashMapGeneric, ParsingACollectionFromTextIsFatal) {
  EXPECT_FATAL(HashMapGeneric::strepUnsupported(), "Kob/HashMapGeneric.h",
               "void Kob::HashMapGeneric::strepUnsupported()",
               "String(\"This should not be used and doesn't work\") == String(\"\")");
}

}  // namespace
}  // namespace KobTest
