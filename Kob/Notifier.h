#pragma once

// The announcement walk, once for every notifier, and the notifiee class of a notifier.
//
// A notifier calls the notifiees of its list synchronously, over a snapshot. What a change during
// the walk does, made from inside the callback of the member that is being called:
//
//   the callback ...                        the walk that is under way
//   --------------------------------------  ----------------------------------------------------
//   removes itself                          goes on with the next member
//   removes a member called earlier         goes on
//   removes a later member, or the last     calls it all the same while somebody else holds it;
//                                           skips it when the removal dropped its last reference
//   adds a member                           does not call it
//   removes and adds a later member         calls it once, at its old place
//   moves a later member to another         calls it all the same; its notifier() is the new one
//   notifier
//   changes the notifier (a nested walk)    nested: calls the members as they are now; then goes on
//   throws                                  tells that member with onNotificationException(id) and
//                                           goes on; what that hook throws is dropped
//   destroys the notifier                   goes on: the walk needs nothing but its snapshot
//
// The one thing that is not promised: a member that was removed during the walk but is held by
// somebody is still called.

#include "Kob/Exception.h"
#include "Kob/Export.h"
#include "Kob/ListRaw.h"
#include "Kob/Notifiee.h"

namespace Kob {

/// Tells `notifiee` that one of its hooks threw; what it throws then is dropped, so that nothing
/// ever reaches the notifier's caller.
KOB_EXPORT void tellException(PtrInterface::NotifieeConst& notifiee, AttributeId id) noexcept;

/// Calls `call(notifiee)` within an Expect scope of its own in `outer`; what it throws is told to
/// the notifiee. Lets nothing out, so that the walk around it needs no state that survives an
/// exception.
template <class T, class Call>
[[gnu::always_inline]] inline void callIsolated(T& notifiee, AttributeId id, const Call& call,
                                                const Expect* outer) noexcept {
  try {
    const Expect expect(0, outer);
    call(notifiee);
  } catch (...) {
    tellException(notifiee, id);
  }
}

/// The walk over a snapshot of a list that has members.
template <class Room, class T, class Call>
[[gnu::noinline]] void announceToAll(const ListRaw<T>& list, AttributeId id, const Call& call) {
  const Expect* const outer = Expect::innermost();
  for (SnapshotIterator<ListRaw<T>, Room> notifiee(list); notifiee; ++notifiee) {
    callIsolated(*notifiee, id, call, outer);
  }
}

/// Calls `call(notifiee)` for each member of the list; `id` is the attribute id under which an
/// exception out of the call is told. Does nothing, and copies nothing, when the list is empty; the
/// snapshot of one member is a reference to it (measured: half the time of the walk). Throws
/// std::bad_alloc, and has called nobody, when there are more than InlineRoom::size and no memory
/// to note them. What is announced stands by then, and can be announced again.
template <class T, class Call>
void announce(const ListRaw<T>& list, AttributeId id, const Call& call) {
  if (list.members() == 0) return;
  if (list.members() > InlineRoom::size) return announceToAll<HeapRoom>(list, id, call);
  if (list.members() > 1) return announceToAll<InlineRoom>(list, id, call);
  const Ptr<T> only(list.head());
  callIsolated(*only, id, call, Expect::innermost());
}

/// Tells each member of the list that the notifier's last reference has gone. The last release
/// throws nothing, so running out of memory for it ends the process.
template <class T>
void announceZeroReferences(const ListRaw<T>& list) {
  announce(list, zeroReferencesAttributeId, [](T& notifiee) { notifiee.onZeroReferences(); });
}

/// What every notifiee class of a notifier does: find the notifier's list, join it, leave it.
///
///   class Store::NotifieeConst
///       : public Kob::NotifieeFor<Store::NotifieeConst, Store, Kob::Entity::NotifieeConst> {
///    public:
///     ~NotifieeConst() override { leave(); }
///     virtual void onParcel(Name) {}
///   };
///
/// `Notifier` has a member `Kob::ListRaw<Self>& kobNotifiees() const`. `Self` calls `leave()` in
/// its destructor, so that in whatever state a notifiee dies it is out of the list before its
/// memory goes. Adds no virtual operation.
template <class Self, class Notifier, class Base>
class KOB_EXPORT NotifieeFor : public Base {
 public:
  using NotifierType = Notifier;

  /// The watched object, or null.
  [[nodiscard]] Ptr<const Notifier> notifier() const noexcept { return Ptr(watched()); }

  /// Joins or leaves the notifier's list; without a notifier only remembers. The same value again
  /// changes nothing. A notifiee that joins again comes last.
  // NOLINTNEXTLINE(modernize-use-nodiscard): called for its effect
  bool isRegisteredNotifieeIs(bool registered) const override {
    if (registered == this->isRegisteredNotifiee()) return registered;
    this->registeredIs(registered);
    if (const Notifier* const notifier = watched()) {
      registered ? notifier->kobNotifiees().newMember(self())
                 : static_cast<void>(notifier->kobNotifiees().deleteMember(self()));
    }
    return registered;
  }

  /// The name of the notifier; the empty string without one.
  [[nodiscard]] String8 name() const override {
    return watched() != nullptr ? watched()->name() : String8();
  }

  /// Watches `object`; anything that is not a Notifier counts as null. A registered notifiee moves
  /// from the old notifier's list to the tail of the new one's. The same object changes nothing.
  void notifierIs(const Ptr<const PtrInterface>& object) override {
    const auto next = dynamicCast<const Notifier>(object);
    const auto old = notifier();
    if (next == old) return;
    Base::notifierIs(next);
    if (!this->isRegisteredNotifiee()) return;
    if (old) old->kobNotifiees().deleteMember(self());
    if (next) next->kobNotifiees().newMember(self());
  }

  ~NotifieeFor() override = default;

 protected:
  NotifieeFor() = default;

  /// Leaves the list, if it is in one.
  void leave() noexcept {
    const Notifier* const notifier = watched();
    if (notifier != nullptr && this->isRegisteredNotifiee()) {
      notifier->kobNotifiees().deleteMember(self());
    }
  }

 private:
  friend struct ListRawLink;

  const Notifier* watched() const noexcept {
    return static_cast<const Notifier*>(this->rawNotifier());
  }
  Self* self() const noexcept { return const_cast<Self*>(static_cast<const Self*>(this)); }

  Self* kobNext_ = nullptr;
};

}  // namespace Kob
