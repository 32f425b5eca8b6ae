#pragma once

// The reference-counted base of every framework object, and the smart pointer that counts.
//
// An object starts with no reference; the first `Ptr` to it owns it. When the last reference goes
// (and bit 30 of the reference word is clear), `handleZeroRef` tells the object with
// `zeroReferencesIs` and destroys it, unless somebody took a reference meanwhile and kept it.
//
// Objects belong to the framework's thread. Only their counts may be shared with other threads,
// while `VFPtrInterface::enableThreadSafePointers` is on.

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "Kob/Export.h"
#include "Kob/ReferenceWord.h"
#include "Kob/Slab.h"

namespace Kob {

class KobType;

/// Number of a published attribute within its type. 0: none; negative: several (Kob/Notifiee.h).
using AttributeId = std::int32_t;

class VFPtrInterface;

/// While on, objects are remembered from construction to destruction, so that lost references can
/// be looked for. Off by default.
KOB_EXPORT extern bool ptrifTrackOn_;

/// The objects that are remembered.
class KOB_EXPORT PtrTrack {
 public:
  static void ptrifIs(const VFPtrInterface* object);
  /// Forgets the object; does nothing when it is not remembered.
  static void ptrifDel(const VFPtrInterface* object) noexcept;
  /// How many objects are remembered.
  [[nodiscard]] static std::size_t ptrifs() noexcept { return ptrifs_; }

 private:
  static std::size_t ptrifs_;
};

/// Reference counting, and the operations that every framework object has, in slot order.
class KOB_EXPORT VFPtrInterface {
 public:
  /// While on, reference words are changed atomically. See ReferenceWord for when to set it.
  static constexpr bool& enableThreadSafePointers = ReferenceWord::threadSafe;

  VFPtrInterface(const VFPtrInterface&) = delete;
  VFPtrInterface& operator=(const VFPtrInterface&) = delete;

  /// Records whether notifications are active; classes that listen act on it. Returns the value
  /// that stands afterwards.
  virtual bool hasNotificationActiveIs(bool active);
  /// Count nothing and answer 0: no audit is kept.
  virtual unsigned kobAuditErrors(unsigned level) const;
  virtual unsigned auditErrors(unsigned level) const;
  /// Called when the last reference has gone, before the object is destroyed. The argument is true.
  virtual void zeroReferencesIs(bool zero);
  /// The object's type, or null where the type publishes no description.
  virtual KobType* fwkType() const;
  virtual ~VFPtrInterface() {
    if (heldWeakly_ || PtrTrack::ptrifs() != 0) [[unlikely]]
      forget();
  }

  /// Adds one reference. A count past 0x1FFFFFFF is fatal.
  [[gnu::always_inline]] void referencesInc() const noexcept { references_.inc(); }
  /// Gives one reference back, and releases the object when it was the last one.
  [[gnu::always_inline]] void referencesDec() const noexcept {
    if (references_.dec()) [[unlikely]]
      handleZeroRef();
  }
  /// The same through a pointer of the object's type. Where that is final and does not hear of its
  /// last reference, the destructor is called directly: a change of the table gives five entries
  /// back, and each would take two virtual calls more.
  template <class T>
  [[gnu::always_inline]] static void referencesDec(T* object) noexcept;
  /// Adds a reference that is deliberately never given back; the pointer tracker, while on,
  /// forgets the object, so that it is not reported as lost.
  void referencesLeak() const noexcept;

  /// The number of references now.
  [[nodiscard]] std::uint32_t references() const noexcept { return references_.count(); }

  /// Whether notifications are active (bit 29).
  [[nodiscard]] bool hasNotificationActive() const noexcept {
    return references_.flag(ReferenceWord::notificationActive);
  }
  /// Whether the object is a zombie: it may still be called and does nothing (bit 31).
  [[nodiscard]] bool kobMarkedForDeletion() const noexcept {
    return references_.flag(ReferenceWord::markedForDeletion);
  }
  void kobMarkedForDeletionIs(bool marked) noexcept {
    references_.flagIs(ReferenceWord::markedForDeletion, marked);
  }
  /// Keeps the object alive without a reference (bit 30). Clearing it releases nothing by itself:
  /// the object goes with the next reference that is given back.
  [[nodiscard]] bool kobHeld() const noexcept { return references_.flag(ReferenceWord::held); }
  void kobHeldIs(bool held) noexcept { references_.flagIs(ReferenceWord::held, held); }

 protected:
  VFPtrInterface() {
    if (ptrifTrackOn_) [[unlikely]]
      PtrTrack::ptrifIs(this);
  }

  void kobNotificationActiveIs(bool active) noexcept {
    references_.flagIs(ReferenceWord::notificationActive, active);
  }

 private:
  friend class WeakHolds;

  void handleZeroRef() const noexcept;
  /// Ends an object that nothing keeps alive any more. Out of line, so that giving a reference back
  /// can be inlined.
  template <class T>
  [[gnu::noinline]] static void release(T* object) noexcept;
  /// Tells those who know of the object without counting that it is going.
  void forget() noexcept;

  mutable ReferenceWord references_;
  // In the padding behind the word: whether some notifiee holds this object weakly.
  mutable bool heldWeakly_ = false;
};

/// Types whose objects are of no other type, and do not hear of their last reference.
template <class T>
concept ReleasedUnheard = std::is_final_v<T> && std::is_destructible_v<T> && requires {
  requires std::is_same_v<decltype(&T::zeroReferencesIs), void (VFPtrInterface::*)(bool)>;
};

template <class T>
void VFPtrInterface::release(T* object) noexcept {
  // Held: a reference that its destructor takes and drops must not release it again.
  object->references_.flagIs(ReferenceWord::held, true);
  delete object;
}

template <class T>
inline void VFPtrInterface::referencesDec(T* object) noexcept {
  if constexpr (!ReleasedUnheard<T>) {
    object->referencesDec();
  } else if (object->references_.dec()) [[unlikely]] {
    release(object);
  }
}

/// A framework object on the heap.
class KOB_EXPORT PtrInterface : public VFPtrInterface {
 public:
  class NotifieeConst;

  // Freed by size alone, which the virtual destructor supplies.
  // NOLINTNEXTLINE(misc-new-delete-overloads)
  [[gnu::always_inline]] static void* operator new(std::size_t size) {
    return objectSlab.allocate(size);
  }
  [[gnu::always_inline]] static void operator delete(void* object, std::size_t size) noexcept {
    objectSlab.release(object, size);
  }
  // Objects that want more alignment than a cell has come from the heap.
  static void* operator new(std::size_t size, std::align_val_t alignment) {
    return ::operator new(size, alignment);
  }
  static void operator delete(void* object, std::size_t /*size*/,
                              std::align_val_t alignment) noexcept {
    ::operator delete(object, alignment);
  }

  ~PtrInterface() override = default;

  /// The type "Kob::PtrInterface": that of all objects.
  static constexpr const char* kobTypeName = "Kob::PtrInterface";
  static KobType* _fwkType();

 protected:
  PtrInterface() = default;
};

/// Reports the dereference of a null pointer to the named type, and aborts.
[[noreturn]] KOB_EXPORT void nullDereference(const std::type_info& type) noexcept;

/// Owns one reference to a T, or is null. Null before the object that it held is released.
template <class T>
class Ptr {
 public:
  using Pointee = T;

  constexpr Ptr() noexcept = default;
  constexpr Ptr(std::nullptr_t) noexcept {}             // NOLINT(google-explicit-constructor)
  Ptr(T* object) noexcept : object_(object) { inc(); }  // NOLINT(google-explicit-constructor)
  Ptr(const Ptr& other) noexcept : object_(other.object_) { inc(); }
  Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

  template <class U>
    requires std::is_convertible_v<U*, T*>
  Ptr(const Ptr<U>& other) noexcept  // NOLINT(google-explicit-constructor)
      : Ptr(static_cast<T*>(other.get())) {}
  template <class U>
    requires std::is_convertible_v<U*, T*>
  Ptr(Ptr<U>&& other) noexcept : object_(other.detach()) {}  // NOLINT(google-explicit-constructor)

  ~Ptr() { dec(std::exchange(object_, nullptr)); }

  Ptr& operator=(Ptr other) noexcept {
    dec(std::exchange(object_, other.detach()));
    return *this;
  }

  [[nodiscard]] T* get() const noexcept { return object_; }
  /// Gives the reference up without giving it back; the caller owns it from here.
  [[nodiscard]] T* detach() noexcept { return std::exchange(object_, nullptr); }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  /// REQUIRES: not null; a null dereference is fatal and names the type.
  T* operator->() const noexcept { return checked(); }
  T& operator*() const noexcept { return *checked(); }

 private:
  void inc() const noexcept {
    if (object_ != nullptr) object_->referencesInc();
  }
  static void dec(T* object) noexcept {
    if (object != nullptr) VFPtrInterface::referencesDec(object);
  }
  [[nodiscard]] T* checked() const noexcept {
    if (object_ == nullptr) [[unlikely]]
      nullDereference(typeid(T));
    return object_;
  }

  T* object_ = nullptr;
};

template <class T, class U>
[[nodiscard]] bool operator==(const Ptr<T>& a, const Ptr<U>& b) noexcept {
  return a.get() == b.get();
}
template <class T, class U>
[[nodiscard]] bool operator==(const Ptr<T>& a, const U* b) noexcept {
  return a.get() == b;
}
template <class T>
[[nodiscard]] bool operator==(const Ptr<T>& a, std::nullptr_t) noexcept {
  return a.get() == nullptr;
}

/// Keeps an object alive while it calls others who may drop it; unless nobody holds it yet, because
/// it is still being built, or nobody does any more, because it is going.
template <class T>
class Keep {
 public:
  explicit Keep(T* object) noexcept
      : object_(object), held_(object != nullptr && object->references() != 0 ? object : nullptr) {}

  /// REQUIRES: not null; a null dereference is fatal and names the type.
  T* operator->() const noexcept {
    if (object_ == nullptr) [[unlikely]]
      nullDereference(typeid(T));
    return object_;
  }
  [[nodiscard]] bool operator==(const T* other) const noexcept { return object_ == other; }

 private:
  T* object_;
  Ptr<T> held_;
};

/// The object as a T, or null when it is none.
template <class T, class U>
[[nodiscard]] Ptr<T> dynamicCast(const Ptr<U>& object) noexcept {
  return Ptr<T>(dynamic_cast<T*>(object.get()));
}

}  // namespace Kob
