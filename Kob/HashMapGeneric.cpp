#include "Kob/HashMapGeneric.h"

#include <algorithm>
#include <utility>

namespace Kob {

HashMapGeneric::VTable::~VTable() = default;

std::uint32_t HashMapGeneric::roomOf(std::uint32_t buckets) noexcept {
  // Measured: an eighth to a quarter full is fastest while the buckets stay in the second-level
  // cache, a fifth to three eighths while they stay in the third; beyond, memory counts.
  constexpr std::uint32_t sparse = 1U << 14U;
  constexpr std::uint32_t roomy = 1U << 19U;
  if (buckets <= inlineBuckets || buckets > roomy) return buckets;
  return buckets <= sparse ? buckets / 4 : buckets / 8 * 3;
}

void HashMapGeneric::grow() {
  KOB_ASSERT_UNTESTABLE(members_ < maxMembers, "members < maxMembers",
                        "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)",
                        "2^31 entries take hundreds of gigabytes");
  std::uint32_t size = buckets();
  do {
    size *= 2;
  } while (roomOf(size) <= members_);
  setSize0(size);
}

PtrInterface* HashMapGeneric::findNextG(const PtrInterface* after, Cursor& cursor) const {
  if (after == nullptr) {
    PtrInterface* const first = findFrom(firstUsed_, cursor);
    firstUsed_ = cursor.bucket;
    return first;
  }
  const std::uint32_t hash = vTable_->hash(after);
  cursor = cursorOn(bucketOf(hash));
  PtrInterface* before = nullptr;
  PtrInterface* const found = seek(*vTable_, hash, nullptr, after, true, before);
  return found != nullptr ? found : findNextBucket(cursor);
}

PtrInterface* HashMapGeneric::startAtHash(const void* key, std::uint32_t hash,
                                          Cursor& cursor) const {
  cursor = cursorOn(bucketOf(hash));
  PtrInterface* before = nullptr;
  PtrInterface* const found = seek(*vTable_, hash, key, nullptr, false, before);
  return found != nullptr ? found : findNextBucket(cursor);
}

void HashMapGeneric::unlinked(std::uint32_t bucket, std::uint8_t groups, PtrInterface* entry) {
  nextIs(entry, bucket, nullptr);
  filters_[bucket] = groups;
  ++modificationCount_;
  --members_;
  // Last, when the collection is whole again: the entry's destructor may use it.
  entry->referencesDec();
}

void HashMapGeneric::emptyAllBuckets() noexcept {
  // One entry after the other, so that a long chain is not released recursively.
  Cursor cursor;
  while (PtrInterface* const first = findNextG(nullptr, cursor)) {
    const std::uint32_t bucket = cursor.bucket;
    buckets_[bucket] = next(first);
    unlinked(bucket, buckets_[bucket] != nullptr ? filters_[bucket] : std::uint8_t{0}, first);
  }
}

void HashMapGeneric::setSize0(unsigned size) {
  const std::uint8_t bits = bitsFor(size);
  const std::size_t buckets = std::size_t{1} << bits;
  if (buckets <= inlineBuckets) {
    // From and to the object's own buckets the entries go by way of a copy of them.
    PtrInterface* fewBuckets[inlineBuckets] = {};
    std::uint8_t fewFilters[filtersPerWord] = {};
    arrange(fewBuckets, fewFilters, bits);
    std::ranges::copy(fewBuckets, inlineBuckets_);
    std::ranges::copy(fewFilters, inlineFilters_);
    buckets_ = inlineBuckets_;
    filters_ = inlineFilters_;
    heap_ = nullptr;
    return;
  }
  const std::size_t filterWords = (buckets + filtersPerWord - 1) / filtersPerWord;
  static_assert(sizeof(PtrInterface*) == filtersPerWord);
  auto heap = std::make_unique<PtrInterface*[]>(buckets + filterWords);
  auto* const heapBuckets = heap.get();
  auto* const heapFilters = reinterpret_cast<std::uint8_t*>(heap.get() + buckets);
  arrange(heapBuckets, heapFilters, bits);
  buckets_ = heapBuckets;
  filters_ = heapFilters;
  heap_ = std::move(heap);
}

void HashMapGeneric::arrange(PtrInterface** newBuckets, std::uint8_t* newFilters,
                             std::uint8_t bits) noexcept {
  PtrInterface* const* const oldBuckets = buckets_;
  const std::uint32_t oldSize = buckets();
  bits_ = bits;
  room_ = roomOf(buckets());
  firstUsed_ = 0;
  ++modificationCount_;  // Iterators know their bucket by its number.
  // The order is the same in both arrangements: each entry goes to the tail of its new bucket.
  PtrInterface* tail = nullptr;
  std::uint32_t tailBucket = 0;
  for (std::uint32_t old = 0; old < oldSize; ++old) {
    PtrInterface* entry = oldBuckets[old];
    while (entry != nullptr) {
      PtrInterface* const after = next(entry);
      const std::uint32_t hash = vTable_->hash(entry);
      const std::uint32_t bucket = bucketOf(hash);
      nextIs(entry, bucket, nullptr);
      if (tail != nullptr && bucket == tailBucket) {
        nextIs(tail, bucket, entry);
      } else {
        newBuckets[bucket] = entry;
      }
      newFilters[bucket] |= group(hash);
      tail = entry;
      tailBucket = bucket;
      entry = after;
    }
  }
}

void HashMapGeneric::refuseLinked() noexcept {
  assertFail("next( entry ) == 0", sourceName(__FILE__), __LINE__,
             "void Kob::HashMapGeneric::insert(Kob::PtrInterface*, const void*)");
}

void HashMapGeneric::refuseSecond() noexcept {
  assertFail("!isMemberOf( key )", sourceName(__FILE__), __LINE__,
             "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)");
}

void HashMapGeneric::swap(HashMapGeneric& other) noexcept {
  std::swap(bits_, other.bits_);
  std::swap(room_, other.room_);
  std::swap(firstUsed_, other.firstUsed_);
  std::swap(members_, other.members_);
  heap_.swap(other.heap_);
  std::swap(inlineBuckets_, other.inlineBuckets_);
  std::swap(inlineFilters_, other.inlineFilters_);
  std::swap(buckets_, other.buckets_);
  std::swap(filters_, other.filters_);
  for (HashMapGeneric* map : {this, &other}) {
    if (map->heap_ != nullptr) continue;
    map->buckets_ = map->inlineBuckets_;
    map->filters_ = map->inlineFilters_;
  }
  modificationCount_ = other.modificationCount_ = modificationCount_ + other.modificationCount_ + 1;
}

void HashMapGeneric::strepUnsupported() {
  assertFail("String(\"This should not be used and doesn't work\") == String(\"\")",
             "Kob/HashMapGeneric.h", __LINE__, "void Kob::HashMapGeneric::strepUnsupported()");
}

}  // namespace Kob
