// Iteration over a collection that changes as a whole under the iterator: that grows, is resized,
// emptied or assigned; and where iterators begin, what they keep, and several of them at once.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "Kob/HashMap.h"
#include "tests/Kob/Pairs.h"

namespace KobTest {
namespace {

using Kob::Ptr;

constexpr int most = 6;

/// The members of `numbers` whose place's bit is set.
Numbers subset(const Numbers& numbers, unsigned bits) {
  Numbers chosen;
  for (std::size_t at = 0; at < numbers.size(); ++at) {
    if (((bits >> at) & 1U) != 0) chosen.push_back(numbers[at]);
  }
  return chosen;
}

/// The first `count` of `numbers`, and those after them.
Numbers head(const Numbers& numbers, std::size_t count) {
  return {numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(count)};
}
Numbers tail(const Numbers& numbers, std::size_t count) {
  return {numbers.begin() + static_cast<std::ptrdiff_t>(count), numbers.end()};
}

template <class Hash>
class HashMapWalk : public testing::Test {
 protected:
  using Iterator = typename Pairs<Hash>::Iterator;

  void TearDown() override { EXPECT_EQ(Pair<Hash>::alive, 0); }

  /// An iterator on the entry `at` places after the first.
  static Iterator standingAt(Pairs<Hash>& pairs, std::size_t at) {
    Iterator it(&pairs);
    for (std::size_t step = 0; step < at; ++step) ++it;
    return it;
  }

  /// What the iterator visits from the next entry on, checking the whole state at every step.
  static Numbers rest(const Pairs<Hash>& pairs, Iterator& it, const Numbers& present) {
    Numbers visited;
    for (++it; it; ++it) {
      visited.push_back(it.key().number);
      expectHolds(pairs, present, it.ptr().get());
    }
    return visited;
  }
};
TYPED_TEST_SUITE(HashMapWalk, AllHashes, HashNames);

TYPED_TEST(HashMapWalk, VisitsEveryEntryOnceInOrder) {
  for (int count = 0; count <= 20; ++count) {
    Pairs<TypeParam> pairs;
    insertAll(pairs, firstNumbers(count));
    EXPECT_EQ(walked(pairs), inOrder<TypeParam>(firstNumbers(count)));
  }
}

TYPED_TEST(HashMapWalk, FindsItsPlaceWhenTheCollectionGrowsUnderIt) {
  for (std::size_t at = 0; at < most; ++at) {
    Pairs<TypeParam> pairs;
    insertAll(pairs, firstNumbers(most));
    auto it = TestFixture::standingAt(pairs, at);
    const int place = it.key().number;
    for (int number = most; number < 100; ++number) insert(pairs, number);
    const Numbers order = inOrder<TypeParam>(firstNumbers(100));
    const auto after = std::find(order.begin(), order.end(), place) + 1;
    ASSERT_EQ(TestFixture::rest(pairs, it, order), Numbers(after, order.end()));
  }
}

TYPED_TEST(HashMapWalk, FindsItsPlaceWhenTheCollectionIsResizedUnderIt) {
  const Numbers order = inOrder<TypeParam>(firstNumbers(most));
  for (const unsigned from : {1U, 2U, 8U, 64U}) {
    for (const unsigned to : {1U, 2U, 8U, 64U}) {
      for (std::size_t at = 0; at < most; ++at) {
        SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to) + " buckets, place " +
                     std::to_string(at));
        Pairs<TypeParam> pairs;
        insertAll(pairs, order);
        pairs.setSize0(from);
        auto it = TestFixture::standingAt(pairs, at);
        pairs.setSize0(to);
        ASSERT_EQ(TestFixture::rest(pairs, it, order), tail(order, at + 1));
      }
    }
  }
}

TYPED_TEST(HashMapWalk, EndsWhenTheCollectionIsEmptiedUnderIt) {
  for (std::size_t at = 0; at < most; ++at) {
    Pairs<TypeParam> pairs;
    insertAll(pairs, firstNumbers(most));
    auto it = TestFixture::standingAt(pairs, at);
    pairs.emptyAllBuckets();
    EXPECT_EQ(it.ptr()->references(), 1U);
    EXPECT_FALSE(++it);
  }
}

TYPED_TEST(HashMapWalk, GoesOnInTheNewContentWhenTheCollectionIsAssignedUnderIt) {
  const Numbers order = inOrder<TypeParam>(firstNumbers(most + 3));
  for (std::size_t at = 0; at < most; ++at) {
    Pairs<TypeParam> pairs;
    insertAll(pairs, head(order, most));
    Pairs<TypeParam> other(64);
    insertAll(other, order);
    auto it = TestFixture::standingAt(pairs, at);
    pairs = other;
    ASSERT_EQ(TestFixture::rest(pairs, it, order), tail(order, at + 1));
  }
}

TYPED_TEST(HashMapWalk, KeepsTheEntryItStandsOnAndLetsItGoWhenItAdvances) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(3));
  auto it = TestFixture::standingAt(pairs, 1);
  remove(pairs, it.key().number);
  EXPECT_EQ(Pair<TypeParam>::alive, 3);
  EXPECT_EQ(*it, valueOf(it.key().number));
  ++it;
  EXPECT_EQ(Pair<TypeParam>::alive, 2);
}

TYPED_TEST(HashMapWalk, CopiesOfAnIteratorGoTheirOwnWays) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(4));
  const Numbers order = walked(pairs);
  auto first = TestFixture::standingAt(pairs, 1);
  auto second = first;
  remove(pairs, order[2]);
  ++first;
  EXPECT_EQ(first.key().number, order[3]);
  EXPECT_EQ(second.key().number, order[1]);
  insert(pairs, order[2]);
  ++second;
  EXPECT_EQ(second.key().number, order[2]);
  EXPECT_EQ(first.key().number, order[3]);
}

TYPED_TEST(HashMapWalk, TwoWalksRemovingInTurnsMeetEveryEntryOnceTogether) {
  Pairs<TypeParam> pairs;
  insertAll(pairs, firstNumbers(9));
  Numbers removed;
  typename TestFixture::Iterator first(&pairs);
  typename TestFixture::Iterator second(&pairs);
  while (first || second) {
    for (auto* const it : {&first, &second}) {
      if (*it && pairs.deleteMember(it->ptr().get())) removed.push_back(it->key().number);
      it->advance();
    }
  }
  EXPECT_EQ(removed, inOrder<TypeParam>(firstNumbers(9)));
  expectHolds(pairs, {});
}

/// Every set of entries, and an iterator that starts at every key that there is, and at some that
/// there are not.
template <class Hash, class Visit>
void forEachSetAndStart(const Visit& visit) {
  const Numbers all = firstNumbers(most);
  for (unsigned bits = 0; bits < (1U << most); ++bits) {
    for (int start = -1; start <= most; ++start) {
      SCOPED_TRACE("members " + std::to_string(bits) + ", start " + std::to_string(start));
      const Numbers members = subset(all, bits);
      Numbers order = members;
      order.push_back(start);
      order = inOrder<Hash>(order);
      visit(members, start,
            tail(inOrder<Hash>(members),
                 static_cast<std::size_t>(std::find(order.begin(), order.end(), start) -
                                          order.begin())));
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TYPED_TEST(HashMapWalk, MayStartAtAKeyOrAtTheFirstAfterIt) {
  forEachSetAndStart<TypeParam>([](const Numbers& members, int start, const Numbers& expected) {
    Pairs<TypeParam> pairs;
    insertAll(pairs, members);
    Numbers visited;
    typename Pairs<TypeParam>::IteratorConst it(&pairs, {start});
    for (; it; ++it) visited.push_back(it.key().number);
    ASSERT_EQ(visited, expected);
    expectHolds(pairs, members);
  });
}

TYPED_TEST(HashMapWalk, OneThatStartedAtAKeyFindsItsPlaceWhenTheCollectionChangesUnderIt) {
  forEachSetAndStart<TypeParam>([](const Numbers& members, int start, const Numbers& expected) {
    if (expected.empty()) return;
    Pairs<TypeParam> pairs;
    insertAll(pairs, members);
    typename Pairs<TypeParam>::IteratorConst it(&pairs, {start});
    const int place = it.key().number;
    remove(pairs, place);
    for (int number = most + 1; number < 40; ++number) insert(pairs, number);
    Numbers later = firstNumbers(40);
    std::erase_if(later, [&members](int number) {
      return number <= most && std::find(members.begin(), members.end(), number) == members.end();
    });
    later = inOrder<TypeParam>(later);
    Numbers visited;
    for (++it; it; ++it) visited.push_back(it.key().number);
    ASSERT_EQ(visited, Numbers(std::find(later.begin(), later.end(), place) + 1, later.end()));
  });
}

}  // namespace
}  // namespace KobTest
