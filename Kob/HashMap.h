#pragma once

// Keyed hash collections, typed over HashMapGeneric.
//
// An entry is a framework object, whose first base is PtrInterface, with two things of its own:
// `fwkKey()`, its key, which does not change while it is in a collection, and a member
// `Kob::Ptr<Entry> kobNext_`, the link to the next entry of its bucket, to which it makes
// HashMapLink a friend. HashMapEntry is such an entry for a key and a value; an object that is kept
// under a key of its own (a state machine per key) is its own entry.
//
// The hash of a key is key.hash(), 32 bits; collections use it bit-reversed. A key type that keeps
// its hash reversed says so with kobReversedHash().

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Kob/BitReverse.h"
#include "Kob/Export.h"
#include "Kob/HashMapGeneric.h"
#include "Kob/PtrInterface.h"

namespace Kob {

/// The reversed hash of a key. Integers hash to their low 32 bits.
template <class Key>
[[nodiscard, gnu::always_inline]] inline std::uint32_t reversedHash(const Key& key) {
  if constexpr (requires { key.kobReversedHash(); }) {
    return key.kobReversedHash();
  } else if constexpr (std::integral<Key>) {
    return bitReverse(static_cast<std::uint32_t>(key));
  } else {
    return bitReverse(key.hash());
  }
}

/// Access to the bucket link of an entry; entries befriend it.
struct HashMapLink {
  template <class Entry>
  static Ptr<Entry>& of(Entry& entry) noexcept {
    return entry.kobNext_;
  }
  template <class Entry>
  static const Ptr<Entry>& of(const Entry& entry) noexcept {
    return entry.kobNext_;
  }
  /// Bytes from the beginning of an entry to its link.
  template <class Entry>
  static constexpr std::uint16_t offset() noexcept {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
    // Entries have virtual operations and single, non-virtual bases, for which both compilers
    // define the offset.
    constexpr std::size_t bytes = offsetof(Entry, kobNext_);
#pragma GCC diagnostic pop
    static_assert(bytes <= UINT16_MAX);
    return static_cast<std::uint16_t>(bytes);
  }
};

/// An entry that holds a key and a value. `Self` is the class derived from it.
template <class Self, class Key, class Value>
class KOB_EXPORT HashMapEntry : public PtrInterface {
 public:
  HashMapEntry(const Key& key, const Value& value) : key_(key), value_(value) {}
  /// With the neutral value.
  explicit HashMapEntry(const Key& key) : key_(key), value_() {}

  [[nodiscard]] const Key& fwkKey() const noexcept { return key_; }
  [[nodiscard]] const Value& value() const noexcept { return value_; }
  /// The value, to be changed where it stands.
  [[nodiscard]] Value& mutableValue() noexcept { return value_; }
  /// Overwrites the value in place.
  void valueIs(const Value& value) { value_ = value; }

 private:
  friend struct HashMapLink;

  Key key_;
  Value value_;
  Ptr<Self> kobNext_;
};

/// The key handling of one entry type: one object per process, made on first use and never
/// destroyed.
template <class Entry, class Key>
class KOB_EXPORT HashMapVTable final : public HashMapGeneric::VTable {
 public:
  static const HashMapVTable& instance() {
    static const HashMapVTable& vTable = *new HashMapVTable;
    return vTable;
  }

  std::uint32_t hash(const PtrInterface* entry) const override {
    return reversedHash(typed(entry).fwkKey());
  }
  bool keyEquals(const void* key, const PtrInterface* entry) const override {
    return typed(entry).fwkKey() == *static_cast<const Key*>(key);
  }
  bool keyLessThan(const void* key, const PtrInterface* entry,
                   const PtrInterface* other) const override {
    if (other != nullptr) return typed(other).fwkKey() < typed(entry).fwkKey();
    return key == nullptr || *static_cast<const Key*>(key) < typed(entry).fwkKey();
  }
  void setNext(PtrInterface* entry, PtrInterface* next) const override {
    HashMapLink::of(*static_cast<Entry*>(entry)) = Ptr<Entry>(static_cast<Entry*>(next));
  }

 private:
  HashMapVTable() = default;

  static const Entry& typed(const PtrInterface* entry) noexcept {
    return *static_cast<const Entry*>(entry);
  }
};

/// A collection of entries by key. `Value` is what an iterator shows: the entry's value, or
/// Ptr<Entry> for objects that are their own entries.
template <class Entry, class Key, class Value>
class KOB_EXPORT HashMap : public HashMapGeneric {
 public:
  class IteratorConst;
  class Iterator;

  using KeyType = Key;
  using ValueType = Value;

  static constexpr bool holdsObjects = std::is_same_v<Value, Ptr<Entry>>;

  explicit HashMap(unsigned initialSize = defaultSize)
      : HashMapGeneric(initialSize, HashMapVTable<Entry, Key>::instance(),
                       HashMapLink::offset<Entry>()) {}

  /// A deep copy: as many buckets, and in each copies of the other's entries in the same order.
  HashMap(const HashMap& other)
    requires(!holdsObjects)
      : HashMap(other.buckets()) {
    for (IteratorConst it(&other); it; ++it) {
      const Ptr<Entry> copy(new Entry(it.key(), *it));
      const Key& key = copy->fwkKey();
      this->insertWith(keys(), copy.get(), &key, reversedHash(key));
    }
  }
  /// As copying; the old content is kept when memory runs out. Assigning itself changes nothing.
  HashMap& operator=(const HashMap& other)
    requires(!holdsObjects)
  {
    if (this == &other) return *this;
    HashMap copy(other);
    swap(copy);
    return *this;
  }

  /// The entry of this key, or null.
  [[nodiscard]] Ptr<Entry> operator[](const Key& key) const { return Ptr<Entry>(find(key)); }
  [[nodiscard]] bool isMemberOf(const Key& key) const { return find(key) != nullptr; }

  /// The entry of this key, or null; valid while it is in the collection.
  [[nodiscard]] Entry* find(const Key& key) const { return find(key, reversedHash(key)); }
  /// The same for who has the key's reversed hash already. REQUIRES: `hash` is that.
  [[nodiscard]] Entry* find(const Key& key, std::uint32_t hash) const {
    const std::uint32_t bucket = bucketOf(hash);
    if (!mayHold(bucket, hash)) return nullptr;
    Entry* entry = static_cast<Entry*>(bucketHead(bucket));
    if (entry->fwkKey() == key) [[likely]]
      return entry;
    entry = HashMapLink::of(*entry).get();
    while (entry != nullptr && !(entry->fwkKey() == key)) entry = HashMapLink::of(*entry).get();
    return entry;
  }

  /// Inserts the entry under its own key. REQUIRES: the key is absent; a second one is fatal.
  void newMember(const Ptr<Entry>& entry) { newMember(entry, reversedHash(entry->fwkKey())); }
  /// The same for who has its reversed hash already. REQUIRES: `hash` is that.
  void newMember(const Ptr<Entry>& entry, std::uint32_t hash) {
    const Key& key = entry->fwkKey();
    this->newMemberWith(keys(), entry.get(), &key, hash);
  }
  /// Unlinks the entry and gives the collection's reference back; false when it is not here, as
  /// null never is.
  bool deleteMember(Entry* entry) {
    return entry != nullptr && deleteMember(entry, reversedHash(entry->fwkKey()));
  }
  /// The same for who has its reversed hash already. REQUIRES: `hash` is that.
  bool deleteMember(Entry* entry, std::uint32_t hash) {
    return this->deleteMemberWith(keys(), entry, hash);
  }

 private:
  static constexpr unsigned defaultSize = 4;

  [[nodiscard]] const HashMapVTable<Entry, Key>& keys() const noexcept {
    return static_cast<const HashMapVTable<Entry, Key>&>(vTable());
  }
};

/// Stands on an entry, or at the end. May stay in use while the collection changes: it keeps its
/// entry, even one that was removed, and goes on with the first entry after it. Each entry that is
/// there throughout is visited exactly once. The collection must outlive the iterator.
template <class Entry, class Key, class Value>
class HashMap<Entry, Key, Value>::IteratorConst {
 public:
  /// Stands on the first entry.
  explicit IteratorConst(const HashMap* map)
      : map_(map),
        entry_(static_cast<Entry*>(map->findNextG(nullptr, cursor_))),
        modificationCount_(map->modificationCount()) {}
  /// Stands on the first entry that does not come before the key in iteration order: on that of the
  /// key, if there is one.
  IteratorConst(const HashMap* map, const Key& key)
      : map_(map),
        entry_(static_cast<Entry*>(map->startAtHash(&key, reversedHash(key), cursor_))),
        modificationCount_(map->modificationCount()) {}

  /// Whether the iterator stands on an entry.
  explicit operator bool() const noexcept { return static_cast<bool>(entry_); }

  /// Goes to the next entry; at the end it stays there.
  void advance() {
    if (!entry_) return;
    Entry* next = nullptr;
    if (modificationCount_ == map_->modificationCount()) {
      next = HashMapLink::of(*entry_).get();
      if (next == nullptr) next = static_cast<Entry*>(map_->findNextBucket(cursor_));
    } else {
      modificationCount_ = map_->modificationCount();
      next = static_cast<Entry*>(map_->findNextG(entry_.get(), cursor_));
    }
    entry_ = Ptr<Entry>(next);
  }
  IteratorConst& operator++() {
    advance();
    return *this;
  }

  /// The key, the value, the entry that the iterator stands on. REQUIRES: it stands on one; reading
  /// at the end is fatal. The reference to the value is valid until the iterator moves.
  [[nodiscard]] Key key() const { return entry_->fwkKey(); }
  [[nodiscard]] decltype(auto) operator*() const {
    if constexpr (holdsObjects) {
      return Value(&*entry_);
    } else {
      return static_cast<const Value&>(entry_->value());
    }
  }
  /// The value's own operations: those of the object, where objects are their own entries.
  [[nodiscard]] auto operator->() const {
    if constexpr (holdsObjects) {
      return &*entry_;
    } else {
      return static_cast<const Value*>(&entry_->value());
    }
  }
  /// The entry, or null at the end.
  [[nodiscard]] const Ptr<Entry>& ptr() const noexcept { return entry_; }

  /// Whether the collection has an entry of this key, wherever the iterator stands.
  [[nodiscard]] bool isMemberOf(const Key& key) const { return map_->isMemberOf(key); }
  [[nodiscard]] const HashMap* map() const noexcept { return map_; }

 private:
  const HashMap* map_;
  Cursor cursor_;
  Ptr<Entry> entry_;
  std::uint32_t modificationCount_;
};

/// An iterator through which entries may be removed.
template <class Entry, class Key, class Value>
class HashMap<Entry, Key, Value>::Iterator : public IteratorConst {
 public:
  explicit Iterator(HashMap* map) : IteratorConst(map) {}
};

}  // namespace Kob
