// Small worlds, exhausted: everything that a few interfaces can wish for, in every order, with the
// whole state looked at after each step.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Kob/BitReverse.h"
#include "tests/FyrL3Intf/Forged.h"
#include "tests/FyrL3Intf/Sanitized.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::SwitchportMode;
using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Plexo::IntfId;

/// The two VLANs of the small worlds; each is also a VLAN interface.
constexpr std::array<std::uint16_t, 2> vlans{100, 101};
constexpr std::uint16_t noVlan = 0;

/// What the wishes of a few interfaces come to, by the rules alone: the first to wish for a free
/// VLAN holds it until its own wish changes, and then it passes to the first who waits, in the
/// order of the interfaces given.
class Rules {
 public:
  explicit Rules(std::size_t interfaces) : wish_(interfaces, noVlan) {}

  void wishIs(std::size_t intf, std::uint16_t vlan) {
    const std::uint16_t old = std::exchange(wish_[intf], vlan);
    if (old == vlan) return;
    if (vlan != noVlan && holder(vlan) == nobody) holderIs(vlan, intf);
    if (old != noVlan && holder(old) == intf) holderIs(old, firstWaiting(old));
  }

  [[nodiscard]] std::uint16_t wish(std::size_t intf) const { return wish_[intf]; }
  [[nodiscard]] std::size_t holder(std::uint16_t vlan) const {
    return holders_[static_cast<std::size_t>(vlan - vlans.front())];
  }

  static constexpr std::size_t nobody = SIZE_MAX;

 private:
  void holderIs(std::uint16_t vlan, std::size_t intf) {
    holders_[static_cast<std::size_t>(vlan - vlans.front())] = intf;
  }
  [[nodiscard]] std::size_t firstWaiting(std::uint16_t vlan) const {
    const auto first = std::find(wish_.begin(), wish_.end(), vlan);
    return first == wish_.end() ? nobody : static_cast<std::size_t>(first - wish_.begin());
  }

  std::vector<std::uint16_t> wish_;
  std::array<std::size_t, vlans.size()> holders_{nobody, nobody};
};

/// The interfaces in the order in which a set of them is walked.
std::vector<IntfId> inIterationOrder(std::vector<IntfId> intfs) {
  std::sort(intfs.begin(), intfs.end(), [](IntfId a, IntfId b) {
    const auto reversedA = Kob::bitReverse(a.hash());
    const auto reversedB = Kob::bitReverse(b.hash());
    return reversedA != reversedB ? reversedA < reversedB : a < b;
  });
  return intfs;
}

/// How many of the interfaces are there for which it holds.
template <class Holds>
std::size_t countOf(std::size_t interfaces, const Holds& holds) {
  std::size_t count = 0;
  for (std::size_t intf = 0; intf < interfaces; ++intf) count += holds(intf) ? 1U : 0U;
  return count;
}

/// A machine and its table beside the rules.
class Comparison {
 public:
  Comparison(const ConfigSm& machine, const std::vector<IntfId>& intfs)
      : machine_(machine), table_(*machine.fyrL3IntfTable()), intfs_(intfs), rules(intfs.size()) {}

  /// Whether both show the same, and the machine and the table nothing else.
  [[nodiscard]] bool agrees() const {
    const std::size_t wishing =
        countOf(intfs_.size(), [&](std::size_t intf) { return rules.wish(intf) != noVlan; });
    const std::size_t held = countOf(
        vlans.size(), [&](std::size_t vlan) { return rules.holder(vlans[vlan]) != Rules::nobody; });
    return machine_.desiredInternalVlanIds() == wishing && table_.intfL3Indexs() == held &&
           table_.routedPortNames() == held && machine_.desiredRoutedPortNames() == held &&
           countOf(intfs_.size(), [&](std::size_t intf) { return intfAgrees(intf); }) ==
               intfs_.size() &&
           countOf(vlans.size(), [&](std::size_t vlan) { return vlanAgrees(vlans[vlan]); }) ==
               vlans.size();
  }

 private:
  [[nodiscard]] bool intfAgrees(std::size_t intf) const {
    const std::uint16_t wish = rules.wish(intf);
    const bool holds = wish != noVlan && rules.holder(wish) == intf;
    return Kob::valueAt(machine_.desiredInternalVlanIdCollection(), intfs_[intf]).value() == wish &&
           Kob::valueAt(table_.intfL3IndexCollection(), intfs_[intf]) ==
               L3Id(holds ? wish : noVlan);
  }
  [[nodiscard]] bool vlanAgrees(std::uint16_t vlan) const {
    const std::size_t holder = rules.holder(vlan);
    const IntfId owner = holder == Rules::nobody ? IntfId() : intfs_[holder];
    if (Kob::valueAt(table_.routedPortNameCollection(), L3Id(vlan)) != owner) return false;
    const auto* const entry = machine_.desiredRoutedPortNameCollection().find(VlanId(vlan));
    if (entry == nullptr) return true;
    const std::size_t members = countOf(intfs_.size(), [&](std::size_t intf) {
      return rules.wish(intf) == vlan && entry->value().member(intfs_[intf]);
    });
    return members == entry->value().members() && members == wishers(vlan);
  }
  [[nodiscard]] std::size_t wishers(std::uint16_t vlan) const {
    return countOf(intfs_.size(), [&](std::size_t intf) { return rules.wish(intf) == vlan; });
  }

  const ConfigSm& machine_;
  const Table& table_;
  const std::vector<IntfId>& intfs_;

 public:
  Rules rules;
};

/// One event: the interface wishes for the VLAN, or for none.
struct Step {
  std::size_t intf;
  std::uint16_t vlan;
};

std::string textOf(const std::vector<IntfId>& intfs, const std::vector<Step>& sequence) {
  std::string text;
  for (const Step& step : sequence) {
    text += nameOf(intfs[step.intf]) + " wishes " + std::to_string(step.vlan) + ", ";
  }
  return text;
}

/// Calls `call(sequence, firstNew)` with every sequence of this length, until a test fails; the
/// part before `firstNew` is the same as in the call before.
void forEachSequence(const std::vector<Step>& steps, std::size_t length,
                     const std::function<void(const std::vector<Step>&, std::size_t)>& call) {
  std::vector<std::size_t> choice(length, 0);
  std::vector<Step> sequence(length, steps.front());
  for (std::size_t firstNew = 0;;) {
    call(sequence, firstNew);
    std::size_t at = length;
    while (at > 0 && choice[at - 1] + 1 == steps.size()) {
      --at;
      choice[at] = 0;
      sequence[at] = steps.front();
    }
    if (at == 0 || testing::Test::HasFatalFailure()) return;
    firstNew = at - 1;
    sequence[firstNew] = steps[++choice[firstNew]];
  }
}

std::vector<IntfId> ports() {
  return inIterationOrder({IntfId("Ethernet1"), IntfId("Ethernet2"), IntfId("Ethernet3")});
}

std::vector<IntfId> portsAndVlanIntfs() {
  return inIterationOrder({IntfId("Ethernet1"), IntfId("Ethernet2"), IntfId("Ethernet3"),
                           IntfId("Vlan100"), IntfId("Vlan101")});
}

/// What the interface can wish for: a VLAN interface only for its own VLAN.
std::vector<std::uint16_t> possibleWishes(IntfId intf) {
  if (Plexo::VlanIntfId::isVlanIntfId(intf)) return {noVlan, Plexo::VlanIntfId::vlanId(intf)};
  return {noVlan, vlans[0], vlans[1]};
}

std::vector<Step> possibleSteps(const std::vector<IntfId>& intfs) {
  std::vector<Step> steps;
  for (std::size_t intf = 0; intf < intfs.size(); ++intf) {
    for (const std::uint16_t vlan : possibleWishes(intfs[intf])) steps.push_back({intf, vlan});
  }
  return steps;
}

/// Makes the interface wish through the input that is its own.
void carryOut(World& world, IntfId intf, std::uint16_t vlan) {
  const std::string name = nameOf(intf);
  if (!Plexo::VlanIntfId::isVlanIntfId(intf)) {
    vlan != noVlan ? world.routedPort(name.c_str(), vlan)
                   : world.port(name.c_str(), SwitchportMode::trunk, VlanId(vlans[0]));
  } else {
    vlan != noVlan ? world.vlanIntf(name.c_str()) : world.vlanIntfDel(name.c_str());
  }
}

TEST(SmallWorld, EverySequenceOfUpToSixWishesOfThreePortsForTwoVlans) {
  const auto intfs = ports();
  const auto config = Bridging::configFactory("config");
  std::size_t looks = 0;
  forEachSequence(
      possibleSteps(intfs), sanitized ? 5 : 6, [&](const auto& sequence, std::size_t firstNew) {
        const auto machine =
            configSmFactory(nullptr, config, nullptr, nullptr, tableFactory("table", true), true);
        Comparison comparison(*machine, intfs);
        for (std::size_t at = 0; at < sequence.size(); ++at) {
          machine->doSetDesiredInternalVlanId(intfs[sequence[at].intf],
                                              forged<VlanIdOrNone>(sequence[at].vlan));
          comparison.rules.wishIs(sequence[at].intf, sequence[at].vlan);
          if (at < firstNew) continue;
          ++looks;
          ASSERT_TRUE(comparison.agrees()) << textOf(intfs, sequence) << "at step " << at;
        }
      });
  EXPECT_EQ(looks, sanitized ? 66429U : 597870U);
}

TEST(SmallWorld, EverySequenceOfUpToFourEventsOfThreePortsAndTwoVlanInterfaces) {
  const auto intfs = portsAndVlanIntfs();
  std::size_t looks = 0;
  forEachSequence(
      possibleSteps(intfs), sanitized ? 3 : 4, [&](const auto& sequence, std::size_t firstNew) {
        World world(internalVlans);
        Comparison comparison(world.start(), intfs);
        for (std::size_t at = 0; at < sequence.size(); ++at) {
          carryOut(world, intfs[sequence[at].intf], sequence[at].vlan);
          comparison.rules.wishIs(sequence[at].intf, sequence[at].vlan);
          if (at < firstNew) continue;
          ++looks;
          ASSERT_TRUE(comparison.agrees()) << textOf(intfs, sequence) << "at step " << at;
          world.machine->doVerify();
        }
      });
  EXPECT_EQ(looks, sanitized ? 2379U : 30940U);
}

/// Calls `call(wishes)` with every configuration of the interfaces: one wish for each.
void forEachConfiguration(const std::vector<IntfId>& intfs,
                          const std::function<void(const std::vector<Step>&)>& call,
                          std::vector<Step> wishes = {}) {
  if (wishes.size() == intfs.size()) {
    call(wishes);
    return;
  }
  wishes.push_back({wishes.size(), noVlan});
  for (const std::uint16_t vlan : possibleWishes(intfs[wishes.size() - 1])) {
    wishes.back().vlan = vlan;
    forEachConfiguration(intfs, call, wishes);
  }
}

/// Who holds the VLAN when the wishes come in this order: the first to wish for it.
std::string firstToWish(const std::vector<IntfId>& intfs, const std::vector<Step>& order,
                        std::uint16_t vlan) {
  const auto first = std::find_if(order.begin(), order.end(),
                                  [vlan](const Step& step) { return step.vlan == vlan; });
  return first == order.end() ? "nobody" : nameOf(intfs[first->intf]);
}

TEST(SmallWorld, EveryOrderOfTheSameWishesEndsConsistentAndTheFirstToWishHoldsTheVlan) {
  const auto intfs = portsAndVlanIntfs();
  std::size_t orders = 0;
  forEachConfiguration(intfs, [&](std::vector<Step> wishes) {
    std::erase_if(wishes, [](const Step& step) { return step.vlan == noVlan; });
    const auto inOrder = [](const Step& a, const Step& b) { return a.intf < b.intf; };
    do {
      ++orders;
      World world(internalVlans);
      world.start();
      for (const Step& step : wishes) carryOut(world, intfs[step.intf], step.vlan);
      world.machine->doVerify();
      for (const std::uint16_t vlan : vlans) {
        const auto holder = world.table->l3IdToIntfId(L3Id(vlan));
        ASSERT_EQ(holder ? nameOf(holder) : "nobody", firstToWish(intfs, wishes, vlan))
            << textOf(intfs, wishes);
      }
    } while (std::next_permutation(wishes.begin(), wishes.end(), inOrder));
  });
  EXPECT_EQ(orders, 1919U);
}

/// The same wishes at the start of the machine: there is no order but that of the collections.
TEST(SmallWorld, EveryConfigurationThatIsThereFromTheStartGoesToPortsFirstInIterationOrder) {
  const auto intfs = portsAndVlanIntfs();
  forEachConfiguration(intfs, [&](std::vector<Step> wishes) {
    World world(internalVlans);
    for (const Step& step : wishes) carryOut(world, intfs[step.intf], step.vlan);
    world.start();
    world.machine->doVerify();
    std::stable_partition(wishes.begin(), wishes.end(), [&](const Step& step) {
      return !Plexo::VlanIntfId::isVlanIntfId(intfs[step.intf]);
    });
    for (const std::uint16_t vlan : vlans) {
      const auto holder = world.table->l3IdToIntfId(L3Id(vlan));
      ASSERT_EQ(holder ? nameOf(holder) : "nobody", firstToWish(intfs, wishes, vlan))
          << textOf(intfs, wishes);
    }
  });
}

}  // namespace
}  // namespace FyrL3Intf::Tests
