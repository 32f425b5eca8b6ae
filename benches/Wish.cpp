// From wish to grant: a port's wish changes, the table follows, one reader is told.

#include "benches/Flaps.h"

namespace Benches {

namespace {

constexpr std::array<Ports, 4> cases = {
    {{"64-1", 64, 1}, {"4094-1", 4094, 1}, {"4094-16", 4094, 16}, {"64k-16", 65504, 16}}};

void ours(benchmark::State& state, const Ports& which) {
  const auto ports = portsOf(which);
  const Machine world;
  auto& machine = *world.machine;
  for (const auto& port : ports) machine.doSetDesiredInternalVlanId(port.id, port.vlan);
  flaps(
      state, ports.size(),
      [&](auto number) { machine.doSetDesiredInternalVlanId(ports[number].id, {}); },
      [&](auto number) {
        machine.doSetDesiredInternalVlanId(ports[number].id, ports[number].vlan);
      });
}

template <class World>
void theirs(benchmark::State& state, const Ports& which) {
  const auto ports = portsOf(which);
  World world;
  for (const auto& port : ports) world.machine.wish(port.id, port.vlan);
  flaps(
      state, ports.size(), [&](auto number) { world.machine.wish(ports[number].id, 0); },
      [&](auto number) { world.machine.wish(ports[number].id, ports[number].vlan); });
}

}  // namespace

void addWish() {
  for (const Ports& ports : cases) {
    add({"wish", "flap", "ours", ports.label}, [=](auto& state) { ours(state, ports); });
    forEachRival([&]<class World>() {
      add({"wish", "flap", World::name().c_str(), ports.label},
          [=](auto& state) { theirs<World>(state, ports); });
    });
  }
}

}  // namespace Benches
