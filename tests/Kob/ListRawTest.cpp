#include "Kob/ListRaw.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/Kob/Fatal.h"

namespace KobTest {

/// A member of a list.
class Guest : public Kob::PtrInterface {
 public:
  explicit Guest(int number) : number_(number) { ++alive; }
  ~Guest() override { --alive; }
  [[nodiscard]] int number() const noexcept { return number_; }

  static inline int alive = 0;

 private:
  friend struct Kob::ListRawLink;

  int number_;
  Guest* kobNext_ = nullptr;
};

namespace {

using Kob::Ptr;
using Guests = Kob::ListRaw<Guest>;
using Numbers = std::vector<int>;

constexpr int most = 6;

/// A list, and the only references to its members.
class Party {
 public:
  explicit Party(int count) {
    for (int number = 0; number < count; ++number) {
      held.emplace_back(new Guest(number));
      list.newMember(held.back().get());
    }
  }
  /// Takes a member from the list, and drops the reference to it.
  void removeAndDrop(int number) {
    auto& guest = held[static_cast<std::size_t>(number)];
    list.deleteMember(guest.get());
    guest = nullptr;
  }
  [[nodiscard]] Guest* at(int number) const { return held[static_cast<std::size_t>(number)].get(); }

  std::vector<Ptr<Guest>> held;
  Guests list;
};

/// The numbers of the members, checking that the list knows its length.
Numbers members(const Guests& list) {
  Numbers numbers;
  for (const Guest* guest = list.head(); guest != nullptr; guest = list.next(guest)) {
    numbers.push_back(guest->number());
  }
  EXPECT_EQ(list.members(), numbers.size());
  return numbers;
}

template <class Snapshot>
Numbers rest(Snapshot& snapshot) {
  Numbers numbers;
  for (; snapshot; ++snapshot) numbers.push_back(snapshot->number());
  return numbers;
}

/// 0 to `count` - 1, without those whose bit is set.
Numbers numbersWithout(int count, unsigned bits) {
  Numbers numbers;
  for (int number = 0; number < count; ++number) {
    if (((bits >> number) & 1U) == 0) numbers.push_back(number);
  }
  return numbers;
}

class ListRawTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Guest::alive, 0); }
};
/// With either room.
template <class Room>
class SnapshotIterator : public ListRawTest {
 protected:
  using Snapshot = Kob::SnapshotIterator<Guests, Room>;
};
using Rooms = testing::Types<Kob::InlineRoom, Kob::HeapRoom>;
TYPED_TEST_SUITE(SnapshotIterator, Rooms);

TEST_F(ListRawTest, IsEmptyAtFirst) {
  const Guests list;
  EXPECT_EQ(members(list), Numbers());
  EXPECT_EQ(list.head(), nullptr);
}

TEST_F(ListRawTest, MembersJoinAtTheTail) {
  const Party party(4);
  EXPECT_EQ(members(party.list), (Numbers{0, 1, 2, 3}));
  EXPECT_EQ(party.list.next(party.at(3)), nullptr);
}

TEST_F(ListRawTest, HoldsNoReferences) {
  const Party party(2);
  EXPECT_EQ(party.at(0)->references(), 1U);
  EXPECT_EQ(party.at(1)->references(), 1U);
}

TEST_F(ListRawTest, EachJoiningAndLeavingRaisesTheModificationCountByOne) {
  Party party(3);
  const std::uint32_t before = party.list.modificationCount();
  Guest newcomer(9);
  party.list.newMember(&newcomer);
  EXPECT_EQ(party.list.modificationCount(), before + 1);
  party.list.deleteMember(&newcomer);
  EXPECT_EQ(party.list.modificationCount(), before + 2);
  EXPECT_FALSE(party.list.deleteMember(&newcomer));
  EXPECT_EQ(party.list.modificationCount(), before + 2) << "nobody left";
}

TEST_F(ListRawTest, AnyMemberMayLeaveAndJoinAgainAtTheTail) {
  for (int count = 1; count <= most; ++count) {
    for (int leaving = 0; leaving < count; ++leaving) {
      Party party(count);
      EXPECT_TRUE(party.list.deleteMember(party.at(leaving)));
      Numbers expected = numbersWithout(count, 1U << leaving);
      EXPECT_EQ(members(party.list), expected);
      EXPECT_EQ(party.list.next(party.at(leaving)), nullptr) << "it is not linked any more";
      party.list.newMember(party.at(leaving));
      expected.push_back(leaving);
      EXPECT_EQ(members(party.list), expected);
    }
  }
}

TEST_F(ListRawTest, WhoIsNotAMemberDoesNotLeave) {
  Party party(2);
  Guest stranger(9);
  EXPECT_FALSE(party.list.deleteMember(&stranger));
  EXPECT_EQ(members(party.list), (Numbers{0, 1}));
}

TEST_F(ListRawTest, DeletingAllUnlinksEveryMember) {
  Party party(3);
  const std::uint32_t before = party.list.modificationCount();
  party.list.deleteAll();
  EXPECT_EQ(party.list.modificationCount(), before + 1);
  EXPECT_EQ(members(party.list), Numbers());
  for (int number = 0; number < 3; ++number) EXPECT_EQ(party.list.next(party.at(number)), nullptr);
  party.list.newMember(party.at(1));
  EXPECT_EQ(members(party.list), Numbers{1});
}

TYPED_TEST(SnapshotIterator, VisitsTheMembersInListOrder) {
  for (int count = 0; count <= most; ++count) {
    const Party party(count);
    typename TestFixture::Snapshot snapshot(party.list);
    EXPECT_EQ(rest(snapshot), numbersWithout(count, 0));
    EXPECT_FALSE(snapshot);
  }
}

TYPED_TEST(SnapshotIterator, HoldsEachMemberUntilItHasBeenVisited) {
  const Party party(3);
  typename TestFixture::Snapshot snapshot(party.list);
  for (int visiting = 0; visiting < 3; ++visiting, ++snapshot) {
    for (int number = 0; number < 3; ++number) {
      EXPECT_EQ(party.at(number)->references(), number < visiting ? 1U : 2U);
    }
  }
  EXPECT_EQ(party.at(2)->references(), 1U);
}

TYPED_TEST(SnapshotIterator, SkipsAndReleasesThoseThatWereRemovedAndDropped) {
  for (int count = 1; count <= most; ++count) {
    for (int at = 0; at < count; ++at) {
      for (unsigned dropped = 0; dropped < (1U << count); ++dropped) {
        SCOPED_TRACE(std::to_string(count) + " members, place " + std::to_string(at) +
                     ", dropped " + std::to_string(dropped));
        Party party(count);
        typename TestFixture::Snapshot snapshot(party.list);
        for (int step = 0; step < at; ++step) ++snapshot;
        for (int number = 0; number < count; ++number) {
          if (((dropped >> number) & 1U) != 0) party.removeAndDrop(number);
        }
        ASSERT_EQ(snapshot->number(), at) << "the member being visited stays";
        ++snapshot;
        const unsigned visitedOrDropped = dropped | ((2U << at) - 1U);
        ASSERT_EQ(rest(snapshot), numbersWithout(count, visitedOrDropped));
        ASSERT_EQ(Guest::alive, static_cast<int>(numbersWithout(count, dropped).size()));
      }
    }
  }
}

TYPED_TEST(SnapshotIterator, VisitsThoseThatWereRemovedWhileSomebodyHoldsThem) {
  Party party(3);
  typename TestFixture::Snapshot snapshot(party.list);
  party.list.deleteAll();
  EXPECT_EQ(rest(snapshot), (Numbers{0, 1, 2}));
}

TYPED_TEST(SnapshotIterator, DoesNotVisitThoseThatJoinedLater) {
  Party party(2);
  typename TestFixture::Snapshot snapshot(party.list);
  const Ptr<Guest> late(new Guest(9));
  party.list.newMember(late.get());
  EXPECT_EQ(rest(snapshot), (Numbers{0, 1}));
}

TYPED_TEST(SnapshotIterator, WalksManyMembersOneWalkInsideTheOther) {
  for (const int count : {16, 17, 300, 40}) {
    if (std::is_same_v<TypeParam, Kob::InlineRoom> && count > 16) break;
    Numbers all(static_cast<std::size_t>(count));
    std::iota(all.begin(), all.end(), 0);
    const Party party(count);
    typename TestFixture::Snapshot outer(party.list);
    ++outer;
    typename TestFixture::Snapshot inner(party.list);
    EXPECT_EQ(rest(inner), all);
    EXPECT_EQ(rest(outer), Numbers(all.begin() + 1, all.end()));
    EXPECT_EQ(party.at(count - 1)->references(), 1U);
  }
}

TYPED_TEST(SnapshotIterator, GivesItsReferencesBackWhenAWalkIsGivenUp) {
  const Party party(3);
  {
    typename TestFixture::Snapshot snapshot(party.list);
    ++snapshot;
  }
  for (int number = 0; number < 3; ++number) EXPECT_EQ(party.at(number)->references(), 1U);
}

TEST_F(ListRawTest, MoreMembersThanTheRoomHoldsAreFatal) {
  const Party party(17);
  using Snapshot = Kob::SnapshotIterator<Guests, Kob::InlineRoom>;
  EXPECT_FATAL(Snapshot(party.list), "Kob/ListRaw.h", "Kob::InlineRoom::InlineRoom(std::size_t)",
               "members <= size");
}

}  // namespace
}  // namespace KobTest
