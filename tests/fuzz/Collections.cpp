// Operations on a keyed collection, with iterators that live through them, against an ordered set.
// After each step the whole state is compared: members, order, chains, values, reference counts,
// and the number of entries alive.

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <tuple>

#include "tests/Kob/Pairs.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Finding.h"

namespace KobTest {
namespace {

using Fuzz::require;

/// Two or more of the keys below share each hash.
struct FoldedHash {
  static std::uint32_t of(int number) {
    return (static_cast<std::uint32_t>(number) % 4U) * 0x40000001U;
  }
};

constexpr int farthest = 1 << 27;
constexpr std::array keys = {0,   1,   2,   3,     4,     5,       6,       7,        8,        15,
                             16,  17,  31,  32,    33,    63,      64,      127,      128,      255,
                             256, 512, 513, 65535, 65536, 1 << 20, 1 << 26, farthest, -1,       -2,
                             100, 101, 102, 103,   104,   105,     106,     -100,     -farthest};
/// Numbers of buckets to ask for.
constexpr std::array<unsigned, 10> sizes = {0, 1, 2, 3, 4, 5, 8, 9, 64, 1000};

template <class Hash>
struct InOrder {
  bool operator()(int a, int b) const {
    return std::tuple(reversedHashOf<Hash>(a), a) < std::tuple(reversedHashOf<Hash>(b), b);
  }
};

/// A collection and what it must hold.
template <class Hash>
class Side {
 public:
  using Iterator = typename Pairs<Hash>::Iterator;
  using Model = std::set<int, InOrder<Hash>>;

  /// An iterator, and the key that it stands on; none at the end.
  struct Walk {
    Iterator it;
    std::optional<int> at;
  };

  void add(int key) {
    if (!model.insert(key).second) return;
    insert(pairs, key);
  }
  void drop(int key) {
    const Kob::Ptr<Pair<Hash>> held = pairs[Key<Hash>{key}];
    require(static_cast<bool>(held) == (model.erase(key) == 1), "a key is found or not, wrongly");
    if (!held) return;
    require(pairs.deleteMember(held.get()), "an entry that is there is not deleted");
    require(!pairs.deleteMember(held.get()), "an entry is deleted twice");
  }
  void look(int key) const {
    const bool isHeld = model.contains(key);
    require(pairs.isMemberOf({key}) == isHeld, "isMemberOf differs");
    const Pair<Hash>* const pair = pairs.find({key});
    require((pair != nullptr) == isHeld, "find differs");
    require(!isHeld || pair->value() == valueOf(key), "the value differs");
    const typename Pairs<Hash>::IteratorConst it(&pairs, {key});
    const auto expected = model.lower_bound(key);
    require(static_cast<bool>(it) == (expected != model.end()), "a start at a key differs");
    require(!it || it.key().number == *expected, "a start at a key finds another entry");
  }
  void empty() {
    pairs.emptyAllBuckets();
    model.clear();
  }

  void begin(unsigned slot) {
    auto& walk = walks[slot];
    walk.emplace(Walk{Iterator(&pairs), std::nullopt});
    if (!model.empty()) walk->at = *model.begin();
    checkWalk(*walk);
  }
  void advance(unsigned slot) {
    auto& walk = walks[slot];
    if (!walk) return;
    ++walk->it;
    if (walk->at) {
      const auto next = model.upper_bound(*walk->at);
      walk->at = next != model.end() ? std::optional(*next) : std::nullopt;
    }
    checkWalk(*walk);
  }

  /// The whole state.
  void check() const {
    require(pairs.members() == model.size(), "the number of members differs");
    const Numbers expected(model.begin(), model.end());
    require(walked(pairs) == expected, "a walk shows something else");
    expectChained(pairs, expected);
    for (const int key : expected) {
      const Pair<Hash>* const pair = pairs.find({key});
      require(pair != nullptr && pair->value() == valueOf(key), "an entry is lost or changed");
      require(pair->references() == 1 + standingOn(pair), "a reference is lost or kept");
    }
    for (const auto& walk : walks) {
      if (walk) checkWalk(*walk);
    }
  }
  /// Entries that iterators alone keep alive.
  [[nodiscard]] std::size_t removedButHeld() const {
    std::set<const Pair<Hash>*> held;
    for (const auto& walk : walks) {
      if (!walk || !walk->at) continue;
      const Pair<Hash>* const entry = walk->it.ptr().get();
      if (pairs.find(entry->fwkKey()) != entry) held.insert(entry);
    }
    return held.size();
  }

  Pairs<Hash> pairs;
  Model model;
  std::array<std::optional<Walk>, 3> walks;

 private:
  static void checkWalk(const Walk& walk) {
    require(static_cast<bool>(walk.it) == walk.at.has_value(), "a walk ends elsewhere");
    if (!walk.at) return;
    require(walk.it.key().number == *walk.at, "a walk skips an entry, or shows one twice");
    require(*walk.it == valueOf(*walk.at), "a walk shows another value");
  }
  [[nodiscard]] unsigned standingOn(const Pair<Hash>* pair) const {
    unsigned standing = 0;
    for (const auto& walk : walks) standing += walk && walk->it.ptr().get() == pair ? 1 : 0;
    return standing;
  }
};

template <class Hash>
class Life {
 public:
  explicit Life(Fuzz::Choices choices) : choices_(choices) {}

  void live() {
    for (unsigned step = 0; step < mostSteps && !choices_.isEmpty(); ++step) {
      take();
      for (const auto& side : sides_) side.check();
      std::size_t alive = 0;
      for (const auto& side : sides_) alive += side.model.size() + side.removedButHeld();
      require(static_cast<std::size_t>(Pair<Hash>::alive) == alive, "entries leak");
    }
  }

 private:
  static constexpr unsigned mostSteps = 200;

  void take() {
    Side<Hash>& side = sides_[choices_.below(8) == 7 ? 1 : 0];
    switch (choices_.below(12)) {
      case 0:
      case 1:
        return side.add(choices_.of(keys));
      case 2:
        return side.drop(choices_.of(keys));
      case 3:
        return side.look(choices_.of(keys));
      case 4:
        return replace(side);
      case 5:
        return side.begin(choices_.below(3));
      case 6:
      case 7:
        return side.advance(choices_.below(3));
      case 8:
        return side.pairs.setSize0(choices_.of(sizes));
      case 9:
        return many(side);
      case 10:
        return assign();
      default:
        return rarely(side);
    }
  }
  void replace(Side<Hash>& side) {
    const int key = choices_.of(keys);
    side.drop(key);
    side.add(key);
  }
  void many(Side<Hash>& side) {
    const bool isRemoval = choices_.flag();
    const int first = choices_.of(keys) & 0xFF;
    const int count = static_cast<int>(choices_.below(40));
    for (int key = first; key < first + count; ++key) isRemoval ? side.drop(key) : side.add(key);
  }
  void assign() {
    const unsigned to = choices_.below(2);
    const Side<Hash>& from = sides_[choices_.below(2)];
    sides_[to].pairs = from.pairs;
    sides_[to].model = from.model;
  }
  void rarely(Side<Hash>& side) {
    if (choices_.flag()) return side.empty();
    const Pairs<Hash> copy(side.pairs);
    require(walked(copy) == Numbers(side.model.begin(), side.model.end()), "a copy differs");
    require(copy.buckets() == side.pairs.buckets(), "a copy has other buckets");
  }

  Fuzz::Choices choices_;
  std::array<Side<Hash>, 2> sides_;
};

template <class Hash>
void live(const Fuzz::Choices& choices) {
  Life<Hash>(choices).live();
  require(Pair<Hash>::alive == 0, "entries outlive their collection");
}

}  // namespace
}  // namespace KobTest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Fuzz::Choices choices(bytes, size);
  switch (choices.below(4)) {
    case 0:
      KobTest::live<KobTest::IdentityHash>(choices);
      break;
    case 1:
      KobTest::live<KobTest::GoodHash>(choices);
      break;
    case 2:
      KobTest::live<KobTest::ConstantHash>(choices);
      break;
    default:
      KobTest::live<KobTest::FoldedHash>(choices);
      break;
  }
  return 0;
}
