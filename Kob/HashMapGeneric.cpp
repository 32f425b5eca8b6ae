#include "Kob/HashMapGeneric.h"

#include <cstring>
#include <utility>

namespace Kob {

namespace {

// More buckets than this would not be told apart by a 32-bit hash, and do not fit memory anyway.
constexpr unsigned maxBits = 31;

std::uint8_t bitsFor(unsigned size) {
  std::uint8_t bits = 0;
  while (bits < maxBits && (1U << bits) < size) ++bits;
  return bits;
}

}  // namespace

HashMapGeneric::VTable::~VTable() = default;

HashMapGeneric::HashMapGeneric(unsigned initialSize, const VTable& vTable, std::uint16_t nextOffset)
    : vTable_(&vTable),
      bits_(bitsFor(initialSize)),
      nextOffset_(nextOffset),
      buckets_(std::make_unique<PtrInterface*[]>(buckets())) {}

HashMapGeneric::~HashMapGeneric() { emptyAllBuckets(); }

PtrInterface* HashMapGeneric::next(const PtrInterface* entry) const noexcept {
  // The link is a Ptr to the entry's own type, whose bytes are the pointer.
  PtrInterface* next = nullptr;
  std::memcpy(static_cast<void*>(&next), reinterpret_cast<const char*>(entry) + nextOffset_,
              sizeof(void*));
  return next;
}

bool HashMapGeneric::comesAfter(const PtrInterface* entry, std::uint32_t hash, const void* key,
                                const PtrInterface* other, bool strict) const {
  const std::uint32_t entryHash = vTable_->hash(entry);
  if (entryHash != hash) return entryHash > hash;
  if (vTable_->keyLessThan(key, entry, other)) return true;
  return !strict && vTable_->keyEquals(key, entry);
}

PtrInterface* HashMapGeneric::seek(std::uint32_t hash, const void* key, const PtrInterface* other,
                                   bool strict, PtrInterface*& before) const {
  before = nullptr;
  PtrInterface* entry = buckets_[bucketOf(hash)];
  while (entry != nullptr && !comesAfter(entry, hash, key, other, strict)) {
    before = entry;
    entry = next(entry);
  }
  return entry;
}

void HashMapGeneric::newMemberG(PtrInterface* entry, const void* key) {
  if (members_ >= buckets()) {
    KOB_ASSERT_UNTESTABLE(bits_ < maxBits, "bits < maxBits",
                          "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)",
                          "2^31 entries take hundreds of gigabytes");
    setSize0(buckets() * 2);
  }
  insert(entry, key);
}

void HashMapGeneric::insert(PtrInterface* entry, const void* key) {
  KOB_ASSERT(next(entry) == nullptr, "next( entry ) == 0",
             "void Kob::HashMapGeneric::insert(Kob::PtrInterface*, const void*)");
  const std::uint32_t hash = vTable_->hash(entry);
  PtrInterface* before = nullptr;
  PtrInterface* const after = seek(hash, key, nullptr, true, before);
  KOB_ASSERT(before == nullptr || !vTable_->keyEquals(key, before), "!isMemberOf( key )",
             "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)");
  vTable_->setNext(entry, after);
  if (before != nullptr) {
    vTable_->setNext(before, entry);
  } else {
    entry->referencesInc();
    buckets_[bucketOf(hash)] = entry;
    if (after != nullptr) after->referencesDec();
  }
  ++modificationCount_;
  ++members_;
}

bool HashMapGeneric::deleteMember(PtrInterface* entry) {
  const std::uint32_t bucket = bucketOf(vTable_->hash(entry));
  PtrInterface* before = nullptr;
  PtrInterface* at = buckets_[bucket];
  while (at != nullptr && at != entry) {
    before = at;
    at = next(at);
  }
  if (at == nullptr) return false;
  unlink(bucket, before, entry);
  return true;
}

void HashMapGeneric::unlink(std::uint32_t bucket, PtrInterface* before, PtrInterface* entry) {
  // Kept until the collection is whole again: the entry's destructor may use it.
  const Ptr<PtrInterface> keep(entry);
  PtrInterface* const after = next(entry);
  if (before != nullptr) {
    vTable_->setNext(before, after);
  } else {
    if (after != nullptr) after->referencesInc();
    buckets_[bucket] = after;
    entry->referencesDec();
  }
  vTable_->setNext(entry, nullptr);
  ++modificationCount_;
  --members_;
}

PtrInterface* HashMapGeneric::findNextBucket(Cursor& cursor) const {
  while (++cursor.bucket < buckets()) {
    if (PtrInterface* const first = buckets_[cursor.bucket]) return first;
  }
  return nullptr;
}

PtrInterface* HashMapGeneric::findNextG(const PtrInterface* after, Cursor& cursor) const {
  if (after == nullptr) {
    cursor.bucket = 0;
    PtrInterface* const first = buckets_[0];
    return first != nullptr ? first : findNextBucket(cursor);
  }
  const std::uint32_t hash = vTable_->hash(after);
  cursor.bucket = bucketOf(hash);
  PtrInterface* before = nullptr;
  PtrInterface* const found = seek(hash, nullptr, after, true, before);
  return found != nullptr ? found : findNextBucket(cursor);
}

PtrInterface* HashMapGeneric::startAtHash(const void* key, std::uint32_t hash,
                                          Cursor& cursor) const {
  cursor.bucket = bucketOf(hash);
  PtrInterface* before = nullptr;
  PtrInterface* const found = seek(hash, key, nullptr, false, before);
  return found != nullptr ? found : findNextBucket(cursor);
}

void HashMapGeneric::emptyAllBuckets() noexcept {
  for (std::uint32_t bucket = 0; bucket < buckets(); ++bucket) {
    // One entry after the other, so that a long chain is not released recursively.
    while (PtrInterface* const first = buckets_[bucket]) unlink(bucket, nullptr, first);
  }
}

void HashMapGeneric::setSize0(unsigned size) {
  const std::uint8_t bits = bitsFor(size);
  auto buckets = std::make_unique<PtrInterface*[]>(std::size_t{1} << bits);
  const std::uint32_t oldBuckets = this->buckets();
  buckets_.swap(buckets);
  bits_ = bits;
  ++modificationCount_;  // Iterators know their bucket by its number.
  // The order is the same in both arrangements: each entry goes to the tail of its new bucket.
  PtrInterface* tail = nullptr;
  std::uint32_t tailBucket = 0;
  for (std::uint32_t old = 0; old < oldBuckets; ++old) {
    PtrInterface* entry = buckets[old];
    while (entry != nullptr) {
      PtrInterface* const after = next(entry);
      if (after != nullptr) after->referencesInc();
      vTable_->setNext(entry, nullptr);
      const std::uint32_t bucket = bucketOf(vTable_->hash(entry));
      if (tail != nullptr && bucket == tailBucket) {
        vTable_->setNext(tail, entry);
        entry->referencesDec();
      } else {
        buckets_[bucket] = entry;
      }
      tail = entry;
      tailBucket = bucket;
      entry = after;
    }
  }
}

void HashMapGeneric::swap(HashMapGeneric& other) noexcept {
  std::swap(bits_, other.bits_);
  buckets_.swap(other.buckets_);
  std::swap(members_, other.members_);
  modificationCount_ = other.modificationCount_ = modificationCount_ + other.modificationCount_ + 1;
}

void HashMapGeneric::strepUnsupported() {
  assertFail("String(\"This should not be used and doesn't work\") == String(\"\")",
             "Kob/HashMapGeneric.h", __LINE__, "void Kob::HashMapGeneric::strepUnsupported()");
}

}  // namespace Kob
