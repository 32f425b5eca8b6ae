#include "Kob/HashMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Kob/TypeName.h"
#include "tests/Kob/Fatal.h"
#include "tests/Kob/Pairs.h"

namespace KobTest {

/// An object that is its own entry.
class Part final : public Kob::PtrInterface {
 public:
  explicit Part(int number) : number_(number) {}
  [[nodiscard]] int fwkKey() const noexcept { return number_; }
  [[nodiscard]] std::string label() const { return "part " + std::to_string(number_); }

 private:
  friend struct Kob::HashMapLink;

  int number_;
  Kob::Ptr<Part> kobNext_;
};

namespace {

using Kob::Ptr;
using Parts = Kob::HashMap<Part, int, Ptr<Part>>;

static_assert(Parts::holdsObjects && !Pairs<GoodHash>::holdsObjects);
static_assert(std::is_copy_constructible_v<Pairs<GoodHash>>);
static_assert(!std::is_copy_constructible_v<Parts>, "objects have one place each");
static_assert(!std::is_copy_assignable_v<Parts>);

template <class Hash>
class HashMapOf : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Pair<Hash>::alive, 0); }
};
TYPED_TEST_SUITE(HashMapOf, AllHashes, HashNames);

/// The function that a report names when a null pointer to an entry is dereferenced.
template <class Hash>
std::string dereference() {
  return "Kob::Ptr<" + Kob::typeName(typeid(Pair<Hash>)) + ">::operator->() const";
}

/// A key that keeps its hash reversed; its plain hash must not be asked for.
struct ReversedKey {
  [[nodiscard]] std::uint32_t kobReversedHash() const { return 0x12345678U; }
};

TEST(ReversedHash, IsTheKeysHashBitReversed) {
  EXPECT_EQ(Kob::reversedHash(Key<IdentityHash>{1}), 0x80000000U);
  EXPECT_EQ(Kob::reversedHash(Key<IdentityHash>{0x0000FFFF}), 0xFFFF0000U);
}

TEST(ReversedHash, OfAnIntegerIsItsLow32BitsReversed) {
  EXPECT_EQ(Kob::reversedHash(2), 0x40000000U);
  EXPECT_EQ(Kob::reversedHash(std::uint64_t{0xAAAA0000'00000001U}), 0x80000000U);
  EXPECT_EQ(Kob::reversedHash(-1), 0xFFFFFFFFU);
}

TEST(ReversedHash, IsTakenAsItIsFromAKeyThatKeepsItReversed) {
  EXPECT_EQ(Kob::reversedHash(ReversedKey()), 0x12345678U);
}

TYPED_TEST(HashMapOf, IsEmptyWithFourBucketsAtFirst) {
  const Pairs<TypeParam> pairs;
  EXPECT_EQ(pairs.buckets(), 4U);
  expectHolds(pairs, {});
  EXPECT_FALSE(pairs.isMemberOf({1}));
  EXPECT_EQ(pairs[{1}], nullptr);
  EXPECT_EQ(pairs.find({1}), nullptr);
}

TYPED_TEST(HashMapOf, StartsWithTheBucketsAskedForRoundedUpToAPowerOfTwo) {
  using SizeAndBuckets = std::pair<unsigned, std::uint32_t>;
  const std::vector<SizeAndBuckets> expected = {{0, 1}, {1, 1}, {2, 2},       {3, 4},
                                                {4, 4}, {5, 8}, {1000, 1024}, {1024, 1024}};
  for (const auto& [size, buckets] : expected) {
    EXPECT_EQ(Pairs<TypeParam>(size).buckets(), buckets);
  }
}

TYPED_TEST(HashMapOf, FindsWhatItHoldsAndNothingElse) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, {3, 1, 4, 15, 9, 26});
  expectHolds(pairs, {3, 1, 4, 15, 9, 26});
  for (const int present : {3, 1, 4, 15, 9, 26}) {
    EXPECT_TRUE(pairs.isMemberOf({present}));
    EXPECT_EQ(pairs[{present}]->fwkKey().number, present);
    EXPECT_EQ(pairs[{present}].get(), pairs.find({present}));
  }
  for (const int absent : {0, 2, 5, 35, -1}) {
    EXPECT_FALSE(pairs.isMemberOf({absent}));
    EXPECT_EQ(pairs[{absent}], nullptr);
  }
}

TYPED_TEST(HashMapOf, OwnsItsEntriesWithOneReferenceEach) {
  Pairs<TypeParam> pairs;
  const Ptr<Pair<TypeParam>> pair = insert(pairs, 7);
  insertAll(pairs, {6, 8});
  EXPECT_EQ(pair->references(), 2U);
  EXPECT_TRUE(pairs.deleteMember(pair.get()));
  EXPECT_EQ(pair->references(), 1U);
  EXPECT_EQ(Pair<TypeParam>::alive, 3);
}

TYPED_TEST(HashMapOf, ReleasesItsEntriesWhenItGoes) {
  Ptr<Pair<TypeParam>> kept;
  {
    Pairs<TypeParam> pairs;
    insertAll(pairs, firstNumbers(20));
    kept = pairs[{5}];
  }
  EXPECT_EQ(Pair<TypeParam>::alive, 1);
  EXPECT_EQ(kept->references(), 1U);
}

TYPED_TEST(HashMapOf, OverwritingAValueKeepsTheEntry) {
  Pairs<TypeParam> pairs;
  const Ptr<Pair<TypeParam>> pair = insert(pairs, 7);
  const std::uint32_t before = pairs.modificationCount();
  pair->valueIs(99);
  EXPECT_EQ(pairs.find({7})->value(), 99);
  EXPECT_EQ(pairs.find({7}), pair.get());
  EXPECT_EQ(pairs.modificationCount(), before);
}

TYPED_TEST(HashMapOf, EachInsertionAndRemovalChangesTheModificationCount) {
  Pairs<TypeParam> pairs;
  std::uint32_t before = pairs.modificationCount();
  for (const int number : firstNumbers(9)) {
    insert(pairs, number);
    EXPECT_NE(pairs.modificationCount(), before);
    before = pairs.modificationCount();
  }
  for (const int number : firstNumbers(9)) {
    remove(pairs, number);
    EXPECT_NE(pairs.modificationCount(), before);
    before = pairs.modificationCount();
  }
}

TYPED_TEST(HashMapOf, ASecondEntryOfOneKeyIsFatal) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(6));
  for (const int number : firstNumbers(6)) {
    EXPECT_FATAL(insert(pairs, number), "Kob/HashMapGeneric.cpp",
                 "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)",
                 "!isMemberOf( key )");
  }
}

TYPED_TEST(HashMapOf, InsertingNoEntryIsFatal) {
  Pairs<TypeParam> pairs;
  EXPECT_FATAL(pairs.newMember(nullptr), "Kob/PtrInterface.h", dereference<TypeParam>(),
               "ptr != 0");
}

TYPED_TEST(HashMapOf, IsKeptAtAQuarterOfItsBucketsOnceItHasMoreThanFour) {
  Pairs<TypeParam> pairs;
  for (int count = 1; count <= 100; ++count) {
    insert(pairs, count);
    std::uint32_t expected = 4;
    if (count > 4) {
      while (expected < 4 * static_cast<std::uint32_t>(count)) expected *= 2;
    }
    EXPECT_EQ(pairs.buckets(), expected) << count;
  }
  expectHolds(pairs, walked(pairs));
}

TEST(HashMap, IsDenserTheLargerItIs) {
  Pairs<GoodHash> pairs;
  int count = 0;
  const auto bucketsOf = [&](int entries) {
    while (count < entries) insert(pairs, count++);
    return pairs.buckets();
  };
  EXPECT_EQ(bucketsOf(4096), 16384U);
  EXPECT_EQ(bucketsOf(4097), 32768U);
  EXPECT_EQ(bucketsOf(12288), 32768U);
  EXPECT_EQ(bucketsOf(12289), 65536U);
  EXPECT_EQ(bucketsOf(196608), 524288U);
  EXPECT_EQ(bucketsOf(196609), 1048576U);
  EXPECT_EQ(bucketsOf(1048576), 1048576U);
  EXPECT_EQ(bucketsOf(1048577), 2097152U);
}

TYPED_TEST(HashMapOf, NeverShrinksByItself) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(100));
  for (const int number : firstNumbers(100)) remove(pairs, number);
  EXPECT_EQ(pairs.buckets(), 512U);
  expectHolds(pairs, {});
}

TYPED_TEST(HashMapOf, IterationOrderIsTheSameForEveryOrderOfInsertion) {
  Numbers numbers = firstNumbers(6);
  do {
    for (const unsigned buckets : {1U, 2U, 16U}) {
      Pairs<TypeParam> pairs(buckets);
      insertAll(pairs, numbers);
      expectHolds(pairs, numbers);
    }
  } while (!this->HasFatalFailure() && std::next_permutation(numbers.begin(), numbers.end()));
}

TYPED_TEST(HashMapOf, IterationOrderDoesNotRememberWhatWasRemoved) {
  for (int passing = 0; passing < 64; ++passing) {
    Pairs<TypeParam> pairs;
    for (const int number : firstNumbers(64)) {
      insert(pairs, number ^ passing);
      if (number % 3 == 0) remove(pairs, number ^ passing);
    }
    for (const int number : firstNumbers(64)) {
      if (number % 3 == 0) insert(pairs, number ^ passing);
    }
    EXPECT_EQ(walked(pairs), inOrder<TypeParam>(firstNumbers(64)));
  }
}

TYPED_TEST(HashMapOf, IterationOrderStaysWhenTheCollectionGrows) {
  Pairs<TypeParam> pairs;
  Numbers numbers;
  for (const int number : {100, 3, 57, 12, 99, 4, 1000, 0, 8, 31, 77, 6, 5, 2, 1, 64, 65}) {
    insert(pairs, number);
    numbers.push_back(number);
    expectHolds(pairs, numbers);
  }
}

TYPED_TEST(HashMapOf, CopyingIsDeep) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(11));
  Pairs<TypeParam> copy(pairs);
  expectHolds(copy, firstNumbers(11));
  expectHolds(pairs, firstNumbers(11));
  EXPECT_EQ(copy.buckets(), pairs.buckets());
  EXPECT_NE(copy.find({3}), pairs.find({3}));
  remove(copy, 3);
  copy.find({4})->valueIs(99);
  expectHolds(pairs, firstNumbers(11));
}

TYPED_TEST(HashMapOf, ACopyHasAsManyBucketsAsItsSource) {
  for (const unsigned buckets : {1U, 2U, 4U, 64U}) {
    Pairs<TypeParam> pairs;
    insertAll(pairs, firstNumbers(9));
    pairs.setSize0(buckets);
    const Pairs<TypeParam> copy(pairs);
    EXPECT_EQ(copy.buckets(), buckets);
    expectHolds(copy, firstNumbers(9));
  }
}

TYPED_TEST(HashMapOf, AssigningReplacesTheContentByADeepCopy) {
  Pairs<TypeParam> source;
  insertAll(source, firstNumbers(11));
  Pairs<TypeParam> target;
  insertAll(target, {3, 500, 501});
  target = source;
  expectHolds(target, firstNumbers(11));
  expectHolds(source, firstNumbers(11));
  EXPECT_EQ(target.buckets(), source.buckets());
  EXPECT_NE(target.find({3}), source.find({3}));
  source = Pairs<TypeParam>();
  expectHolds(source, {});
  expectHolds(target, firstNumbers(11));
}

TYPED_TEST(HashMapOf, AssigningItselfChangesNothing) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(5));
  const auto* const entry = pairs.find({3});
  const std::uint32_t before = pairs.modificationCount();
  const Pairs<TypeParam>& alias = pairs;
  pairs = alias;
  EXPECT_EQ(pairs.find({3}), entry);
  EXPECT_EQ(pairs.modificationCount(), before);
  expectHolds(pairs, firstNumbers(5));
}

TYPED_TEST(HashMapOf, AnIteratorShowsKeyValueAndEntry) {
  Pairs<TypeParam> pairs;
  insert(pairs, 7);
  const typename Pairs<TypeParam>::IteratorConst it(&pairs);
  EXPECT_EQ(it.key().number, 7);
  EXPECT_EQ(*it, valueOf(7));
  EXPECT_EQ(*it.operator->(), valueOf(7));
  EXPECT_EQ(it.ptr().get(), pairs.find({7}));
  EXPECT_EQ(it.map(), &pairs);
  pairs.find({7})->valueIs(99);
  EXPECT_EQ(*it, 99) << "it shows the value as it is now";
}

TYPED_TEST(HashMapOf, AnIteratorKnowsWhatTheCollectionHoldsWhereverItStands) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, {1, 2, 3});
  typename Pairs<TypeParam>::IteratorConst it(&pairs);
  for (int step = 0; step <= 3; ++step, ++it) {
    for (const int number : firstNumbers(6)) {
      EXPECT_EQ(it.isMemberOf({number}), number >= 1 && number <= 3);
    }
  }
}

TYPED_TEST(HashMapOf, AnIteratorAtTheEndStaysThere) {
  Pairs<TypeParam> pairs;
  typename Pairs<TypeParam>::IteratorConst it(&pairs);
  EXPECT_FALSE(it);
  insert(pairs, 1);
  it.advance();
  EXPECT_FALSE(it);
  EXPECT_EQ(it.ptr(), nullptr);
}

TYPED_TEST(HashMapOf, ReadingAnIteratorAtItsEndIsFatal) {
  const Pairs<TypeParam> pairs;
  const typename Pairs<TypeParam>::IteratorConst end(&pairs);
  EXPECT_FATAL(static_cast<void>(end.key()), "Kob/PtrInterface.h", dereference<TypeParam>(),
               "ptr != 0");
  EXPECT_FATAL(static_cast<void>(*end), "Kob/PtrInterface.h", dereference<TypeParam>(), "ptr != 0");
  EXPECT_FATAL(static_cast<void>(end.operator->()), "Kob/PtrInterface.h", dereference<TypeParam>(),
               "ptr != 0");
}

TYPED_TEST(HashMapOf, AChainOfAHundredThousandEntriesIsReleasedWithoutRecursion) {
  constexpr int count = 100000;
  Pairs<TypeParam> pairs(1);
  for (int number = count - 1; number >= 0; --number) insert(pairs, number);
  pairs.setSize0(1);
  EXPECT_EQ(pairs.buckets(), 1U);
  EXPECT_EQ(Pair<TypeParam>::alive, count);
  pairs.emptyAllBuckets();
  EXPECT_EQ(Pair<TypeParam>::alive, 0);
}

TEST(HashMapOfObjects, ShowsTheObjectsThemselves) {
  Parts parts;
  const Ptr<Part> part(new Part(5));
  parts.newMember(part);
  EXPECT_EQ(parts[5], part);
  const Parts::IteratorConst it(&parts);
  EXPECT_EQ(*it, part);
  EXPECT_EQ(it->label(), "part 5");
  EXPECT_EQ(it.key(), 5);
}

TEST(HashMapOfObjects, ReadingAnIteratorAtItsEndIsFatalAndNamesTheType) {
  const Parts parts;
  const Parts::IteratorConst end(&parts);
  EXPECT_FATAL(static_cast<void>(*end), "Kob/PtrInterface.h",
               "Kob::Ptr<KobTest::Part>::operator->() const", "ptr != 0");
  EXPECT_FATAL(static_cast<void>(end->label()), "Kob/PtrInterface.h",
               "Kob::Ptr<KobTest::Part>::operator->() const", "ptr != 0");
}

TEST(HashMapKeyHandling, IsOneObjectPerEntryType) {
  using VTable = Kob::HashMapVTable<Part, int>;
  EXPECT_EQ(&VTable::instance(), &VTable::instance());
}

TEST(HashMapKeyHandling, ComparesKeysWithEntriesAndEntriesWithEachOther) {
  const auto& vTable = Kob::HashMapVTable<Part, int>::instance();
  const Ptr<Part> one(new Part(1));
  const Ptr<Part> two(new Part(2));
  const int key = 1;
  EXPECT_EQ(vTable.hash(one.get()), 0x80000000U);
  EXPECT_TRUE(vTable.keyEquals(&key, one.get()));
  EXPECT_FALSE(vTable.keyEquals(&key, two.get()));
  EXPECT_TRUE(vTable.keyLessThan(&key, two.get(), nullptr));
  EXPECT_FALSE(vTable.keyLessThan(&key, one.get(), nullptr));
  EXPECT_TRUE(vTable.keyLessThan(nullptr, two.get(), one.get()));
  EXPECT_FALSE(vTable.keyLessThan(nullptr, one.get(), two.get()));
  EXPECT_FALSE(vTable.keyLessThan(&key, one.get(), two.get())) << "the other entry goes first";
  EXPECT_TRUE(vTable.keyLessThan(nullptr, one.get(), nullptr)) << "true when both are null";
}

TEST(HashMapKeyHandling, StoringALinkTakesAReferenceAndGivesTheOldOnesBack) {
  const auto& vTable = Kob::HashMapVTable<Part, int>::instance();
  const Ptr<Part> one(new Part(1));
  const Ptr<Part> two(new Part(2));
  const Ptr<Part> three(new Part(3));
  vTable.setNext(one.get(), two.get());
  EXPECT_EQ(two->references(), 2U);
  vTable.setNext(one.get(), three.get());
  EXPECT_EQ(two->references(), 1U);
  EXPECT_EQ(three->references(), 2U);
  vTable.setNext(one.get(), nullptr);
  EXPECT_EQ(three->references(), 1U);
}

}  // namespace
}  // namespace KobTest
