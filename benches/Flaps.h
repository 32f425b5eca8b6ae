#pragma once

// Port flaps: a random port wishes for no VLAN, then for its VLAN again. What the families "wish"
// and "road" share.

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "benches/Allocations.h"
#include "benches/Broadcasts.h"
#include "benches/Families.h"
#include "benches/Keys.h"
#include "benches/Rival.h"

namespace Benches {

/// So many ports, of which each `portsPerVlan` wish for the same VLAN.
struct Ports {
  const char* label;
  std::size_t count;
  std::size_t portsPerVlan;

  [[nodiscard]] std::span<const Plexo::IntfId> ids() const { return keys<Plexo::IntfId>(count); }
  [[nodiscard]] std::size_t vlans() const { return count / portsPerVlan; }
};

/// A port and the VLAN that it wishes for while it is up.
struct Port {
  Plexo::IntfId id;
  std::uint16_t vlan;
};

[[nodiscard]] inline std::vector<Port> portsOf(const Ports& ports) {
  std::vector<Port> made;
  for (const auto id : ports.ids()) {
    made.push_back({id, static_cast<std::uint16_t>(1 + made.size() % ports.vlans())});
  }
  return made;
}

/// Which port flaps when: their numbers in a random order.
[[nodiscard]] std::vector<std::uint32_t> flapOrder(std::size_t ports);

/// Two items per flap, one for each wish. `down(number)` and `up(number)` change the wish of the
/// port of that number.
template <class Down, class Up>
void flaps(benchmark::State& state, std::size_t ports, const Down& down, const Up& up) {
  const auto order = flapOrder(ports);
  Blocks<std::uint32_t> blocks(order);
  const auto flap = [&](std::uint32_t number) {
    down(number);
    up(number);
  };
  // What only the first flaps do, such as growing to the most that a VLAN's set ever holds.
  for (const auto number : order) flap(number);
  const Count count;
  for (auto _ : state) {
    for (const auto number : blocks.next()) flap(number);
  }
  count.report(state, 2 * blockLength);
}

/// Our state machine with internal VLANs, its inputs empty, and one reader of its table.
struct Machine {
  Kob::Ptr<Bridging::Config> config = Bridging::configFactory("config");
  Kob::Ptr<FyrL3Intf::Table> table = FyrL3Intf::tableFactory("table", true);
  Listeners listeners{table, 1};
  Kob::Ptr<FyrL3Intf::ConfigSm> machine = FyrL3Intf::configSmFactory(
      Kob::activityFactory("activity"), config,
      Interface::vlanIntfStatusDirFactory("vlanIntfStatusDir"), nullptr, table, true);
};

/// A rival with one receiver.
template <class Library, class Broadcast>
struct RivalMachine {
  static std::string name() { return std::string(Library::name) + '+' + Broadcast::name; }

  Rival<Library, Broadcast> machine;
  Audience<Broadcast> audience{machine.changed(), 1};
};

/// Calls `visit.template operator()<RivalMachine<Library, Broadcast>>()` for each rival.
template <class Visit>
void forEachRival(const Visit& visit) {
  visit.template operator()<RivalMachine<Std, Functions>>();
#ifdef BENCHES_BOOST
  visit.template operator()<RivalMachine<Std, Signals2>>();
  visit.template operator()<RivalMachine<BoostFlat, Functions>>();
  visit.template operator()<RivalMachine<BoostFlat, Signals2>>();
#endif
#ifdef BENCHES_ABSL
  visit.template operator()<RivalMachine<AbslFlat, Functions>>();
#ifdef BENCHES_BOOST
  visit.template operator()<RivalMachine<AbslFlat, Signals2>>();
#endif
#endif
}

}  // namespace Benches
