#pragma once

// A collection of numbers by number under three hash functions, and the check of its whole state.

#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "Kob/HashMap.h"

namespace KobTest {

/// Neighbouring keys have neighbouring hashes.
struct IdentityHash {
  static constexpr const char* name = "Identity";
  static std::uint32_t of(int number) { return static_cast<std::uint32_t>(number); }
};
/// Every bit of the key changes half the bits of the hash.
struct GoodHash {
  static constexpr const char* name = "Good";
  static std::uint32_t of(int number) {
    auto hash = static_cast<std::uint32_t>(number);
    hash = (hash ^ (hash >> 16U)) * 0x7FEB352DU;
    hash = (hash ^ (hash >> 15U)) * 0x846CA68BU;
    return hash ^ (hash >> 16U);
  }
};
/// All keys share one hash, and so one bucket.
struct ConstantHash {
  static constexpr const char* name = "Constant";
  static std::uint32_t of(int /*number*/) { return 0xB5U; }
};

/// Names the typed tests after their hash function.
struct HashNames {
  template <class Hash>
  static std::string GetName(int /*index*/) {
    return Hash::name;
  }
};
using AllHashes = testing::Types<IdentityHash, GoodHash, ConstantHash>;

template <class Hash>
struct Key {
  [[nodiscard]] std::uint32_t hash() const { return Hash::of(number); }
  friend auto operator<=>(const Key&, const Key&) = default;

  int number = 0;
};

template <class Hash>
class Pair final : public Kob::HashMapEntry<Pair<Hash>, Key<Hash>, int> {
 public:
  Pair(const Key<Hash>& key, const int& value)
      : Kob::HashMapEntry<Pair<Hash>, Key<Hash>, int>(key, value) {
    ++alive;
  }
  ~Pair() override { --alive; }

  static inline int alive = 0;
};

template <class Hash>
using Pairs = Kob::HashMap<Pair<Hash>, Key<Hash>, int>;

using Numbers = std::vector<int>;

/// The value that the tests keep under a key.
inline int valueOf(int number) { return number * 10 + 1; }

template <class Hash>
Kob::Ptr<Pair<Hash>> insert(Pairs<Hash>& pairs, int number) {
  const Kob::Ptr<Pair<Hash>> pair(new Pair<Hash>({number}, valueOf(number)));
  pairs.newMember(pair);
  return pair;
}
template <class Hash>
void insertAll(Pairs<Hash>& pairs, const Numbers& numbers) {
  for (const int number : numbers) insert(pairs, number);
}
template <class Hash>
bool remove(Pairs<Hash>& pairs, int number) {
  return pairs.deleteMember(pairs.find({number}));
}

/// 0 to `count` - 1.
inline Numbers firstNumbers(int count) {
  Numbers numbers;
  for (int number = 0; number < count; ++number) numbers.push_back(number);
  return numbers;
}

/// The definition of a reversed hash, bit by bit.
template <class Hash>
std::uint32_t reversedHashOf(int number) {
  const std::uint32_t hash = Hash::of(number);
  std::uint32_t reversed = 0;
  for (int bit = 0; bit < 32; ++bit) reversed |= (hash >> bit & 1U) << (31 - bit);
  return reversed;
}

/// The order of iteration: by reversed hash, ties by key.
template <class Hash>
Numbers inOrder(const Numbers& numbers) {
  std::vector<std::pair<std::uint32_t, int>> ranked;
  ranked.reserve(numbers.size());
  for (const int number : numbers) ranked.emplace_back(reversedHashOf<Hash>(number), number);
  std::sort(ranked.begin(), ranked.end());
  Numbers sorted;
  sorted.reserve(numbers.size());
  for (const auto& [hash, number] : ranked) sorted.push_back(number);
  return sorted;
}

/// `numbers` without those of `removed`.
inline Numbers without(Numbers numbers, const Numbers& removed) {
  std::erase_if(numbers, [&removed](int number) {
    return std::find(removed.begin(), removed.end(), number) != removed.end();
  });
  return numbers;
}

/// The keys as an iterator shows them.
template <class Hash>
Numbers walked(const Pairs<Hash>& pairs) {
  Numbers numbers;
  for (typename Pairs<Hash>::IteratorConst it(&pairs); it; ++it) numbers.push_back(it.key().number);
  return numbers;
}

/// The bucket that the top bits of the reversed hash name.
template <class Hash>
std::uint32_t bucketIn(const Pairs<Hash>& pairs, int number) {
  std::uint32_t bits = 0;
  while ((std::uint64_t{1} << bits) < pairs.buckets()) ++bits;
  return bits == 0 ? 0 : reversedHashOf<Hash>(number) >> (32U - bits);
}

/// Each entry is the next of the one before it, and stands in its bucket.
template <class Hash>
void expectChained(const Pairs<Hash>& pairs, const Numbers& expected) {
  const Kob::PtrInterface* before = nullptr;
  for (const int number : expected) {
    Kob::HashMapGeneric::Cursor cursor{77};
    const Kob::PtrInterface* const entry = pairs.findNextG(before, cursor);
    ASSERT_EQ(entry, pairs.find({number}));
    ASSERT_EQ(cursor.bucket, bucketIn(pairs, number));
    before = entry;
  }
  Kob::HashMapGeneric::Cursor cursor;
  ASSERT_EQ(pairs.findNextG(before, cursor), nullptr);
}

/// The collection holds exactly these keys with their values, in iteration order, each once and
/// each with one reference besides those that `standing` has.
template <class Hash>
void expectHolds(const Pairs<Hash>& pairs, const Numbers& numbers,
                 const Pair<Hash>* standing = nullptr) {
  const Numbers expected = inOrder<Hash>(numbers);
  ASSERT_EQ(pairs.members(), expected.size());
  ASSERT_EQ(walked(pairs), expected);
  for (const int number : expected) {
    const Pair<Hash>* const pair = pairs.find({number});
    ASSERT_NE(pair, nullptr);
    ASSERT_EQ(pair->value(), valueOf(number));
    ASSERT_EQ(pair->references(), pair == standing ? 2U : 1U) << number;
  }
  expectChained(pairs, expected);
}

}  // namespace KobTest
