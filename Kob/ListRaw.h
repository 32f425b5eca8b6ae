#pragma once

// The list of a notifier's notifiees, and the iterator by which a notifier walks it.
//
// The list holds no references. Its members are chained through a link that each member carries,
// so that joining allocates nothing; a member is in one list at most. A member of type T gives
// access to its link through `ListRawLink` (see NotifieeFor in Kob/Notifier.h).

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Kob/Assert.h"
#include "Kob/Export.h"
#include "Kob/PtrInterface.h"  // IWYU pragma: keep; of the members

namespace Kob {

/// Access to the link of a list member; members befriend it and call their link `kobNext_`.
struct ListRawLink {
  template <class T>
  static T*& of(T& member) noexcept {
    return member.kobNext_;
  }
};

template <class T>
class KOB_EXPORT ListRaw {
 public:
  using Member = T;

  ListRaw() = default;
  ListRaw(const ListRaw&) = delete;
  ListRaw& operator=(const ListRaw&) = delete;
  virtual ~ListRaw() = default;

  /// Appends `member` at the tail. REQUIRES: it is in no list.
  void newMember(T* member) noexcept {
    ListRawLink::of(*member) = nullptr;
    (tail_ != nullptr ? ListRawLink::of(*tail_) : head_) = member;
    tail_ = member;
    ++modificationCount_;
    ++members_;
  }

  /// Unlinks `member`, found by walking from the head; false, and no change, when it is not here.
  bool deleteMember(T* member) noexcept {
    T* before = nullptr;
    T* at = head_;
    while (at != nullptr && at != member) {
      before = at;
      at = ListRawLink::of(*at);
    }
    if (at == nullptr) return false;
    (before != nullptr ? ListRawLink::of(*before) : head_) = ListRawLink::of(*member);
    if (tail_ == member) tail_ = before;
    ListRawLink::of(*member) = nullptr;
    ++modificationCount_;
    --members_;
    return true;
  }

  /// Unlinks every member.
  virtual void deleteAll() noexcept {
    while (head_ != nullptr) {
      T* const member = head_;
      head_ = ListRawLink::of(*member);
      ListRawLink::of(*member) = nullptr;
    }
    tail_ = nullptr;
    members_ = 0;
    ++modificationCount_;
  }

  [[nodiscard]] std::uint32_t members() const noexcept { return members_; }
  /// Goes up with every joining and leaving.
  [[nodiscard]] std::uint32_t modificationCount() const noexcept { return modificationCount_; }
  /// The first member, or null.
  [[nodiscard]] T* head() const noexcept { return head_; }
  /// The member after `member`, or null.
  [[nodiscard]] T* next(const T* member) const noexcept {
    return ListRawLink::of(const_cast<T&>(*member));
  }

 private:
  std::uint32_t modificationCount_ = 0;
  std::uint32_t members_ = 0;
  T* head_ = nullptr;
  T* tail_ = nullptr;
};

/// Room for the pointers of a small snapshot, in the walk itself: it allocates nothing.
class KOB_EXPORT InlineRoom {
 public:
  static constexpr std::size_t size = 16;

  /// REQUIRES: members <= size; more are fatal.
  explicit InlineRoom(std::size_t members) noexcept {
    KOB_ASSERT(members <= size, "members <= size", "Kob::InlineRoom::InlineRoom(std::size_t)");
  }

  [[nodiscard]] void* operator[](std::size_t at) const noexcept { return cells_[at]; }
  void cellIs(std::size_t at, void* pointer) noexcept { cells_[at] = pointer; }

 private:
  void* cells_[size];
};

/// Room for as many pointers as there are, on the heap, in a block that the next walk uses again.
/// One walk inside the other has a block of its own. Throws std::bad_alloc when there is no memory.
class KOB_EXPORT HeapRoom {
 public:
  explicit HeapRoom(std::size_t members) : block_(borrow(members)), cells_(block_->data()) {}
  HeapRoom(const HeapRoom&) = delete;
  HeapRoom& operator=(const HeapRoom&) = delete;
  ~HeapRoom() { giveBack(block_); }

  [[nodiscard]] void* operator[](std::size_t at) const noexcept { return cells_[at]; }
  void cellIs(std::size_t at, void* pointer) noexcept { cells_[at] = pointer; }

 private:
  using Block = std::vector<void*>;

  // Static: a room that gave its own address away would keep the walk's position from standing in
  // a register.
  static Block* borrow(std::size_t members);
  static void giveBack(Block* block) noexcept;

  Block* block_;
  void** cells_;  // the block's
};

template <class List, class Room = HeapRoom>
class SnapshotIterator;

/// Walks the members that the list had when the iterator was made, in list order, holding each of
/// them until it has been visited. A member that nobody but the snapshot holds any more when its
/// turn comes is skipped: it was taken from the list and dropped while the walk was under way.
template <class T, class Room>
class SnapshotIterator<ListRaw<T>, Room> {
 public:
  explicit SnapshotIterator(const ListRaw<T>& list) : members_(list.members()), room_(members_) {
    std::size_t at = 0;
    for (T* member = list.head(); member != nullptr; member = list.next(member)) {
      member->referencesInc();
      room_.cellIs(at++, member);
    }
  }
  SnapshotIterator(const SnapshotIterator&) = delete;
  SnapshotIterator& operator=(const SnapshotIterator&) = delete;
  /// Releases the members that were not visited.
  ~SnapshotIterator() {
    for (; at_ < members_; ++at_) member()->referencesDec();
  }

  /// Whether the iterator stands on a member.
  explicit operator bool() const noexcept { return at_ < members_; }
  T& operator*() const noexcept { return *member(); }
  T* operator->() const noexcept { return member(); }

  /// Releases the visited member and goes to the next that is still held by somebody else.
  SnapshotIterator& operator++() noexcept {
    do {
      T* const visited = member();
      ++at_;
      visited->referencesDec();
    } while (at_ < members_ && member()->references() == 1);
    return *this;
  }

 private:
  [[nodiscard]] T* member() const noexcept { return static_cast<T*>(room_[at_]); }

  std::size_t members_;
  std::size_t at_ = 0;
  Room room_;
};

}  // namespace Kob
