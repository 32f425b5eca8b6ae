#pragma once

// The accessor families: how a class publishes a keyed collection. For a collection named x they
// are
//
//   x(key)            the value, or a neutral one (Value()) on a miss; objects: the object or null
//   xIs(key, value)   inserts, as newX does, or overwrites
//   newX(key, value)  the raw insertion: no count, no announcement; the key must be absent
//   xDel(key)         removes; returns the former value, or a neutral one when there was none
//   xDel(iterator)    the same for the entry the iterator stands on; the iterator stays usable
//   xDelAll()         removes every entry, in iteration order, one at a time
//   xNotify(key)      announces the key; written by the class
//   xIteratorConst()  iterates; xIterator() iterates and may remove
//   xs()              the number of entries
//   xCollection()     the collection itself: look-ups that do not count
//
// A class declares a family with one line and writes xNotify itself:
//
//   KOB_VALUE_COLLECTION(weight, Weight, Name, Grams, Kob::IfDifferent)
//   KOB_OBJECT_COLLECTION(parcel, Parcel, Name, Parcel)
//
// Classes derived from Kob::Entity count: each x(key) is one read, each effective change is one
// change. The order within a change is always: store or remove, count, announce. So whoever hears
// of a change sees it made; and an exception before the count leaves nothing counted or announced.
// A removal copies the value that it returns first: running out of memory removes nothing. What an
// announcement throws for want of memory comes after the change, which is made and counted.

#include <type_traits>

#include "Kob/Entity.h"
#include "Kob/HashMap.h"

namespace Kob {

/// How a type is passed to an accessor: scalars and types that declare `kobPassedByValue` by value,
/// all others by reference to const.
template <class T>
struct PassedTraits {
  using type = const T&;
};
template <class T>
  requires std::is_scalar_v<T> || requires { typename T::kobPassedByValue; }
struct PassedTraits<T> {
  using type = T;
};
template <class T>
using Passed = typename PassedTraits<T>::type;

/// What xIs does when the entry already has the value.
struct IfDifferent {
  /// Writing the value that stands is no change.
  static constexpr bool equalIsNoChange = true;
};
struct Always {
  /// Writing the value that stands is a change like any other.
  static constexpr bool equalIsNoChange = false;
};

/// Counting on behalf of an accessor: entities count, other owners do not.
inline void countRead(const Entity* entity) noexcept { entity->readCountInc(); }
inline void countRead(const void* /*countsNothing*/) noexcept {}
inline void countChange(Entity* entity) noexcept { entity->changeCountInc(); }
inline void countChange(const void* /*countsNothing*/) noexcept {}

/// Keeps an owner alive while a walk calls others; owners that are no framework objects are not
/// kept.
inline Keep<PtrInterface> keepAlive(PtrInterface* owner) noexcept {
  return Keep<PtrInterface>(owner);
}
inline std::nullptr_t keepAlive(const void* /*notCounted*/) noexcept { return nullptr; }

/// The value of `key`, or a neutral one.
template <class Map, class Key>
[[nodiscard]] auto valueAt(const Map& map, const Key& key) {
  const auto* const entry = map.find(key);
  using Value = std::remove_cvref_t<decltype(entry->value())>;
  return entry != nullptr ? entry->value() : Value();
}

/// Stores a value; true when that is a change, as `Policy` has it.
template <class Policy, class Entry, class Map, class Key, class Value>
[[nodiscard]] bool valueIsAt(Map& map, const Key& key, const Value& value) {
  const std::uint32_t hash = reversedHash(key);
  auto* const entry = map.find(key, hash);
  if (entry == nullptr) {
    map.newMember(Ptr<Entry>(new Entry(key, value)), hash);
    return true;
  }
  if constexpr (Policy::equalIsNoChange) {
    if (entry->value() == value) return false;
  }
  entry->valueIs(value);
  return true;
}

/// REQUIRES: the iterator belongs to this collection; one of another is fatal.
template <class Iterator, class Map>
void checkIterator(const Iterator& it, const Map& map) {
  KOB_ASSERT(it.map() == &map, "it.map() == &map",
             "void Kob::checkIterator(const Iterator&, const Map&)");
}

}  // namespace Kob

/// What all families share. `x`, `X`: the collection's name with a small and a capital letter; the
/// class has a member `XCollection x_`.
#define KOB_COLLECTION_COMMON(x, X, Key)                                                      \
  using X##IteratorConst = X##Collection::IteratorConst;                                      \
  using X##Iterator = X##Collection::Iterator;                                                \
  void x##DelAll() {                                                                          \
    [[maybe_unused]] const auto kobKeep = ::Kob::keepAlive(this);                             \
    for (X##Iterator it(&x##_); it; ++it) x##Del(it);                                         \
  }                                                                                           \
  void x##Notify(::Kob::Passed<Key> key);                                                     \
  [[nodiscard]] X##IteratorConst x##IteratorConst() const { return X##IteratorConst(&x##_); } \
  [[nodiscard]] X##Iterator x##Iterator() { return X##Iterator(&x##_); }                      \
  [[nodiscard]] const X##Collection& x##Collection() const noexcept { return x##_; }          \
  [[nodiscard]] unsigned x##s() const noexcept { return x##_.members(); }                     \
  static_assert(true)

/// A collection of values. `Policy`: Kob::IfDifferent or Kob::Always.
#define KOB_VALUE_COLLECTION(x, X, Key, Value, Policy)                            \
  class Kob##X final : public ::Kob::HashMapEntry<Kob##X, Key, Value> {           \
   public:                                                                        \
    using ::Kob::HashMapEntry<Kob##X, Key, Value>::HashMapEntry;                  \
  };                                                                              \
  using X##Collection = ::Kob::HashMap<Kob##X, Key, Value>;                       \
  [[nodiscard]] Value x(::Kob::Passed<Key> key) const {                           \
    ::Kob::countRead(this);                                                       \
    return ::Kob::valueAt(x##_, key);                                             \
  }                                                                               \
  void x##Is(::Kob::Passed<Key> key, ::Kob::Passed<Value> value) {                \
    if (!::Kob::valueIsAt<Policy, Kob##X>(x##_, key, value)) return;              \
    ::Kob::countChange(this);                                                     \
    x##Notify(key);                                                               \
  }                                                                               \
  ::Kob::Ptr<Kob##X> new##X(::Kob::Passed<Key> key, ::Kob::Passed<Value> value) { \
    const ::Kob::Ptr<Kob##X> entry(new Kob##X(key, value));                       \
    x##_.newMember(entry);                                                        \
    return entry;                                                                 \
  }                                                                               \
  Value x##Del(::Kob::Passed<Key> key) {                                          \
    const ::std::uint32_t hash = ::Kob::reversedHash(key);                        \
    return x##EntryDel(::Kob::Ptr<Kob##X>(x##_.find(key, hash)), hash);           \
  }                                                                               \
  Value x##Del(X##Collection::Iterator& it) {                                     \
    ::Kob::checkIterator(it, x##_);                                               \
    const ::Kob::Ptr<Kob##X> entry(it.ptr().get());                               \
    if (!entry) return Value();                                                   \
    return x##EntryDel(entry, ::Kob::reversedHash(entry->fwkKey()));              \
  }                                                                               \
  KOB_COLLECTION_COMMON(x, X, Key);                                               \
                                                                                  \
 private:                                                                         \
  Value x##EntryDel(const ::Kob::Ptr<Kob##X>& entry, ::std::uint32_t hash) {      \
    if (!entry) return Value();                                                   \
    Value former(entry->value());                                                 \
    if (!x##_.deleteMember(entry.get(), hash)) return Value();                    \
    ::Kob::countChange(this);                                                     \
    x##Notify(entry->fwkKey());                                                   \
    return former;                                                                \
  }                                                                               \
                                                                                  \
 public:                                                                          \
  static_assert(true)

/// A collection of objects that are their own entries. The class writes xIs and newX itself,
/// because only it knows how an object is made.
#define KOB_OBJECT_COLLECTION(x, X, Key, Object)                                       \
  using X##Collection = ::Kob::HashMap<Object, Key, ::Kob::Ptr<Object>>;               \
  [[nodiscard]] ::Kob::Ptr<Object> x(::Kob::Passed<Key> key) {                         \
    ::Kob::countRead(this);                                                            \
    return x##_[key];                                                                  \
  }                                                                                    \
  [[nodiscard]] ::Kob::Ptr<const Object> x(::Kob::Passed<Key> key) const {             \
    ::Kob::countRead(this);                                                            \
    return x##_[key];                                                                  \
  }                                                                                    \
  ::Kob::Ptr<Object> x##Del(::Kob::Passed<Key> key) { return x##EntryDel(x##_[key]); } \
  ::Kob::Ptr<Object> x##Del(X##Collection::Iterator& it) {                             \
    ::Kob::checkIterator(it, x##_);                                                    \
    return x##EntryDel(it.ptr());                                                      \
  }                                                                                    \
  KOB_COLLECTION_COMMON(x, X, Key);                                                    \
                                                                                       \
 private:                                                                              \
  ::Kob::Ptr<Object> x##EntryDel(::Kob::Ptr<Object> entry) {                           \
    if (!entry || !x##_.deleteMember(entry.get())) return nullptr;                     \
    ::Kob::countChange(this);                                                          \
    x##Notify(entry->fwkKey());                                                        \
    return entry;                                                                      \
  }                                                                                    \
                                                                                       \
 public:                                                                               \
  static_assert(true)
