#pragma once

// The untyped core of the keyed collections: buckets of chained entries, in a fixed order.
//
// Invariants
//   1. An entry stands in the bucket that the top `bits` bits of its reversed key hash name.
//   2. A bucket's chain is sorted by (reversed hash, key).
//   3. The collection holds exactly one reference to each entry: in the bucket for the first of a
//      chain, in the link of the entry before for the others. An entry that is out has a null link.
//
// From 1 and 2 it follows that the order of iteration is that of (reversed hash, key) over the
// whole collection, whatever its history and its number of buckets; and that a place can be found
// again from the entry that marks it, even when that entry has gone.
//
// Growth. A collection starts with the buckets it is asked for (a power of two; up to four are in
// the object itself), grows when it holds more entries than `roomOf` its buckets, and never shrinks
// by itself. Up to four buckets are filled; then collections are kept sparse, because most of what
// a look-up costs is guessing wrong whether the first entry of a chain is the one; large ones
// become dense, because they cost memory. Growing, a collection skips the sizes that would be full
// already.
//
// Filter. Beside the buckets lies one byte for each: which of eight groups, told apart by the three
// hash bits after those that choose the bucket, have an entry in its chain (while a collection is
// emptied: at least those); none if and only if the chain is empty. It ends most misses without
// touching an entry, and a walk skips empty buckets eight at a time.

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>

#include "Kob/Export.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"  // IWYU pragma: export

namespace Kob {

class KOB_EXPORT HashMapGeneric {
 public:
  /// What the core needs to know of entries and keys. One object per entry type and process,
  /// HashMapVTable. Keys are passed as untyped pointers.
  class KOB_EXPORT VTable {
   public:
    VTable(const VTable&) = delete;
    VTable& operator=(const VTable&) = delete;

    /// The reversed hash of the entry's key.
    virtual std::uint32_t hash(const PtrInterface* entry) const = 0;
    virtual bool keyEquals(const void* key, const PtrInterface* entry) const = 0;
    /// Whether the key of `other` (or `key`, when `other` is null) is less than the entry's key;
    /// true when both are null.
    virtual bool keyLessThan(const void* key, const PtrInterface* entry,
                             const PtrInterface* other) const = 0;
    /// Stores the chain link: takes a reference to `next`, gives the old link's back.
    virtual void setNext(PtrInterface* entry, PtrInterface* next) const = 0;

    virtual ~VTable();

   protected:
    VTable() = default;
  };

  /// A place in the order of iteration: the bucket in which the entry just found stands, and what
  /// is left of its group of eight behind it, so that a walk reads the filters of a group once.
  struct Cursor {
    std::uint32_t bucket = 0;
    std::uint64_t rest = 0;
  };

  HashMapGeneric(const HashMapGeneric&) = delete;
  HashMapGeneric& operator=(const HashMapGeneric&) = delete;

  /// Number of entries.
  [[nodiscard]] std::uint32_t members() const noexcept { return members_; }
  [[nodiscard]] std::uint32_t buckets() const noexcept { return std::uint32_t{1} << bits_; }
  /// Changed by every insertion, removal and re-arrangement.
  [[nodiscard]] std::uint32_t modificationCount() const noexcept { return modificationCount_; }

  /// Inserts the entry. REQUIRES: it is in no collection, and its key is absent here; a second
  /// entry of one key is fatal, and so is one that is linked elsewhere (the last of a chain shows
  /// no link, and is not noticed). A collection of 2^31 entries takes no more: one more is fatal.
  /// Throws std::bad_alloc, and has not inserted, when growing fails.
  void newMemberG(PtrInterface* entry, const void* key) {
    newMemberWith(*vTable_, entry, key, vTable_->hash(entry));
  }
  /// Unlinks the entry and gives the collection's reference back; false when it is not here, as
  /// null never is.
  bool deleteMember(PtrInterface* entry) {
    return entry != nullptr && deleteMemberWith(*vTable_, entry, vTable_->hash(entry));
  }
  /// The first entry after `after` in iteration order; with null, the first of all. `after` need
  /// not be in the collection any more. Null at the end. Sets the cursor to its bucket.
  [[nodiscard]] PtrInterface* findNextG(const PtrInterface* after, Cursor& cursor) const;
  /// The first entry in the buckets after the cursor's, or null. Moves the cursor. REQUIRES: the
  /// cursor was set by one of the others, and the collection has not changed since.
  [[nodiscard]] PtrInterface* findNextBucket(Cursor& cursor) const;
  /// The first entry that does not come before (`hash`, `key`) in iteration order, or null; `hash`
  /// is the key's reversed hash. Sets the cursor.
  [[nodiscard]] PtrInterface* startAtHash(const void* key, std::uint32_t hash,
                                          Cursor& cursor) const;
  /// Releases every entry, in iteration order.
  void emptyAllBuckets() noexcept;
  /// Re-arranges the entries in `size` buckets, rounded up to a power of two (at least one). The
  /// order of iteration stays. Throws std::bad_alloc, and has changed nothing, when memory runs
  /// out.
  void setSize0(unsigned size);

  /// Where a collection parses itself from text: not supported, always fatal.
  [[noreturn]] static void strepUnsupported();

 protected:
  /// `initialSize` buckets, rounded up to a power of two; `nextOffset` is where an entry keeps its
  /// link to the next of its chain.
  HashMapGeneric(unsigned initialSize, const VTable& vTable, std::uint16_t nextOffset)
      : vTable_(&vTable),
        bits_(initialSize <= inlineBuckets ? bitsFor(initialSize) : std::uint8_t{0}),
        nextOffset_(nextOffset),
        room_(buckets()),
        buckets_(inlineBuckets_),
        filters_(inlineFilters_) {
    if (initialSize > inlineBuckets) setSize0(initialSize);
  }
  ~HashMapGeneric() {
    if (members_ != 0) emptyAllBuckets();
  }

  [[nodiscard]] const VTable& vTable() const noexcept { return *vTable_; }

  // The operations that change the collection, for any key handling: the virtual one of the core,
  // or that of one entry type, which the compiler sees through. `hash` is the reversed hash of the
  // entry's key.

  template <class Keys>
  void newMemberWith(const Keys& keys, PtrInterface* entry, const void* key, std::uint32_t hash) {
    if (members_ >= room_) grow();
    insertWith(keys, entry, key, hash);
  }
  /// Inserts without growing.
  template <class Keys>
  void insertWith(const Keys& keys, PtrInterface* entry, const void* key, std::uint32_t hash);
  template <class Keys>
  bool deleteMemberWith(const Keys& keys, PtrInterface* entry, std::uint32_t hash);

  /// Exchanges the entries of two collections of one type; the places of iterators over either are
  /// found again by key.
  void swap(HashMapGeneric& other) noexcept;

  [[nodiscard]] std::uint32_t bucketOf(std::uint32_t hash) const noexcept {
    // In 64 bits, so that a shift by 32 (one bucket) gives bucket 0.
    return static_cast<std::uint32_t>(std::uint64_t{hash} >> (32U - bits_));
  }
  [[nodiscard]] PtrInterface* bucketHead(std::uint32_t bucket) const noexcept {
    return buckets_[bucket];
  }
  /// False only if no entry in the bucket has this hash.
  [[nodiscard]] bool mayHold(std::uint32_t bucket, std::uint32_t hash) const noexcept {
    return (filters_[bucket] & group(hash)) != 0;
  }

 private:
  static constexpr std::uint32_t inlineBuckets = 4;
  // More buckets would not be told apart by a 32-bit hash, and do not fit memory anyway.
  static constexpr unsigned maxBits = 31;
  static constexpr std::uint32_t maxMembers = 1U << maxBits;
  static constexpr std::uint32_t filtersPerWord = sizeof(std::uint64_t);

  static constexpr std::uint8_t bitsFor(unsigned size) noexcept {
    std::uint8_t bits = 0;
    while (bits < maxBits && (1U << bits) < size) ++bits;
    return bits;
  }

  /// With how many entries a collection of so many buckets grows.
  static std::uint32_t roomOf(std::uint32_t buckets) noexcept;

  [[nodiscard]] std::uint8_t group(std::uint32_t hash) const noexcept {
    const auto below = static_cast<std::uint32_t>(std::uint64_t{hash} << bits_);
    return static_cast<std::uint8_t>(1U << (below >> 29U));
  }
  [[nodiscard]] PtrInterface* next(const PtrInterface* entry) const noexcept {
    // The link is a Ptr to the entry's own type, whose bytes are the pointer.
    PtrInterface* next = nullptr;
    std::memcpy(static_cast<void*>(&next), reinterpret_cast<const char*>(entry) + nextOffset_,
                sizeof(PtrInterface*));
    return next;
  }
  /// Stores a link, or the head of a bucket when `before` is null. Counts nothing: the reference
  /// moves with the pointer.
  void nextIs(PtrInterface* before, std::uint32_t bucket, PtrInterface* entry) noexcept {
    if (before == nullptr) {
      buckets_[bucket] = entry;
    } else {
      std::memcpy(reinterpret_cast<char*>(before) + nextOffset_, static_cast<void*>(&entry),
                  sizeof(PtrInterface*));
    }
  }
  /// The first entry of the bucket that comes after (`strict`) or not before (hash, key) of
  /// `other`, or of `key` when `other` is null; `before` becomes the entry in front of it, or null.
  template <class Keys>
  PtrInterface* seek(const Keys& keys, std::uint32_t hash, const void* key,
                     const PtrInterface* other, bool strict, PtrInterface*& before) const;
  /// Lets go of an entry that has left its chain, in which these groups are left.
  void unlinked(std::uint32_t bucket, std::uint8_t groups, PtrInterface* entry);
  /// The filters of the eight buckets from `bucket` on, a multiple of eight, one byte for each, the
  /// first in the lowest.
  [[nodiscard]] std::uint64_t filtersFrom(std::uint32_t bucket) const noexcept {
    static_assert(std::endian::native == std::endian::little);
    std::uint64_t filters = 0;
    std::memcpy(&filters, filters_ + bucket, sizeof filters);
    return filters;
  }
  /// A cursor on this bucket.
  [[nodiscard]] Cursor cursorOn(std::uint32_t bucket) const noexcept {
    const std::uint32_t lane = bucket % filtersPerWord;
    return {bucket, filtersFrom(bucket - lane) & (~std::uint64_t{0xFF} << (8U * lane))};
  }
  /// Sets the cursor to the first bucket from this one on that has an entry, and returns its first.
  PtrInterface* findFrom(std::uint32_t bucket, Cursor& cursor) const {
    cursor = cursorOn(bucket);
    return filters_[bucket] != 0 ? buckets_[bucket] : findNextBucket(cursor);
  }
  void grow();
  [[noreturn]] static void refuseLinked() noexcept;
  [[noreturn]] static void refuseSecond() noexcept;
  void arrange(PtrInterface** buckets, std::uint8_t* filters, std::uint8_t bits) noexcept;

  std::uint32_t modificationCount_ = 0;
  const VTable* vTable_;
  std::uint8_t bits_;
  std::uint16_t nextOffset_;
  std::uint32_t members_ = 0;
  std::uint32_t room_;
  // No bucket before it has an entry: who takes the first entries away again and again does not
  // look at the buckets that they left.
  mutable std::uint32_t firstUsed_ = 0;
  PtrInterface** buckets_;
  std::uint8_t* filters_;
  // Buckets, and behind them filters, of a collection that has too many for the object itself.
  std::unique_ptr<PtrInterface*[]> heap_;
  PtrInterface* inlineBuckets_[inlineBuckets] = {};
  alignas(std::uint64_t) std::uint8_t inlineFilters_[filtersPerWord] = {};
};

inline PtrInterface* HashMapGeneric::findNextBucket(Cursor& cursor) const {
  std::uint32_t group = cursor.bucket - cursor.bucket % filtersPerWord;
  while (cursor.rest == 0) {
    group += filtersPerWord;
    if (group >= buckets()) return nullptr;
    cursor.rest = filtersFrom(group);
  }
  const auto lane = static_cast<std::uint32_t>(std::countr_zero(cursor.rest)) / 8U;
  cursor.rest &= ~std::uint64_t{0xFF} << (8U * lane);
  cursor.bucket = group + lane;
  return buckets_[cursor.bucket];
}

template <class Keys>
PtrInterface* HashMapGeneric::seek(const Keys& keys, std::uint32_t hash, const void* key,
                                   const PtrInterface* other, bool strict,
                                   PtrInterface*& before) const {
  const auto comesAfter = [&](const PtrInterface* entry) {
    const std::uint32_t entryHash = keys.hash(entry);
    if (entryHash != hash) return entryHash > hash;
    if (keys.keyLessThan(key, entry, other)) return true;
    return !strict && keys.keyEquals(key, entry);
  };
  before = nullptr;
  PtrInterface* entry = buckets_[bucketOf(hash)];
  while (entry != nullptr && !comesAfter(entry)) {
    before = entry;
    entry = next(entry);
  }
  return entry;
}

template <class Keys>
void HashMapGeneric::insertWith(const Keys& keys, PtrInterface* entry, const void* key,
                                std::uint32_t hash) {
  if (next(entry) != nullptr) [[unlikely]]
    refuseLinked();
  const std::uint32_t bucket = bucketOf(hash);
  PtrInterface* before = nullptr;
  PtrInterface* const after = seek(keys, hash, key, nullptr, true, before);
  if (before != nullptr && keys.keyEquals(key, before)) [[unlikely]]
    refuseSecond();
  entry->referencesInc();
  nextIs(entry, bucket, after);
  nextIs(before, bucket, entry);
  filters_[bucket] |= group(hash);
  if (bucket < firstUsed_) firstUsed_ = bucket;
  ++modificationCount_;
  ++members_;
}

template <class Keys>
bool HashMapGeneric::deleteMemberWith(const Keys& keys, PtrInterface* entry, std::uint32_t hash) {
  const std::uint32_t bucket = bucketOf(hash);
  PtrInterface* before = nullptr;
  PtrInterface* at = buckets_[bucket];
  while (at != nullptr && at != entry) {
    before = at;
    at = next(at);
  }
  if (at == nullptr) return false;
  PtrInterface* const after = next(entry);
  nextIs(before, bucket, after);
  // The chain is sorted by hash, so the entries of one group stand side by side.
  const auto isOfGroup = [&](const PtrInterface* other) {
    return other != nullptr && group(keys.hash(other)) == group(hash);
  };
  std::uint8_t groups = 0;
  if (buckets_[bucket] != nullptr) {
    groups = filters_[bucket];
    if (!isOfGroup(before) && !isOfGroup(after)) groups &= static_cast<std::uint8_t>(~group(hash));
  }
  unlinked(bucket, groups, entry);
  return true;
}

}  // namespace Kob
