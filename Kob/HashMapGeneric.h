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
// Growth. A collection starts with the buckets it is asked for (a power of two), doubles when it
// holds more entries than buckets, and never shrinks by itself.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Kob/Export.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"

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

  /// A place in the order of iteration: the bucket in which the entry just found stands.
  struct Cursor {
    std::uint32_t bucket = 0;
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
  void newMemberG(PtrInterface* entry, const void* key);
  /// Unlinks the entry and gives the collection's reference back; false when it is not here.
  bool deleteMember(PtrInterface* entry);
  /// The first entry after `after` in iteration order; with null, the first of all. `after` need
  /// not be in the collection any more. Null at the end. Sets the cursor to its bucket.
  [[nodiscard]] PtrInterface* findNextG(const PtrInterface* after, Cursor& cursor) const;
  /// The first entry in the buckets after the cursor's, or null. Moves the cursor.
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
  HashMapGeneric(unsigned initialSize, const VTable& vTable, std::uint16_t nextOffset);
  ~HashMapGeneric();

  /// Inserts without growing; otherwise as newMemberG.
  void insert(PtrInterface* entry, const void* key);

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

 private:
  [[nodiscard]] PtrInterface* next(const PtrInterface* entry) const noexcept;
  /// Takes the entry out of its bucket, where `before` stands in front of it (null: nobody).
  void unlink(std::uint32_t bucket, PtrInterface* before, PtrInterface* entry);
  /// The first entry of the bucket that comes after (`strict`) or not before (hash, key) of
  /// `other`, or of `key` when `other` is null; `before` becomes the entry in front of it, or null.
  PtrInterface* seek(std::uint32_t hash, const void* key, const PtrInterface* other, bool strict,
                     PtrInterface*& before) const;
  [[nodiscard]] bool comesAfter(const PtrInterface* entry, std::uint32_t hash, const void* key,
                                const PtrInterface* other, bool strict) const;

  std::uint32_t modificationCount_ = 0;
  const VTable* vTable_;
  std::uint8_t bits_;
  std::uint16_t nextOffset_;
  std::unique_ptr<PtrInterface*[]> buckets_;
  std::uint32_t members_ = 0;
};

}  // namespace Kob
