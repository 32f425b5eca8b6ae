// The whole road: an entry of the configuration changes, the machine of its port states the wish,
// the table follows, one reader is told. And its stages by themselves, which say where the time
// goes:
//
//   entry    the entry's change and its announcement, to a watcher that does nothing
//   table    what a grant and a withdrawal write into the table, without a reader
//   reader   the same with one reader, so the difference is the announcement

#include "benches/Flaps.h"

namespace Benches {

namespace {

using Bridging::SwitchportMode;
using FyrL3Intf::L3Id;

constexpr std::array<Ports, 2> cases = {{{"64-1", 64, 1}, {"4094-1", 4094, 1}}};

using Entries = std::vector<Kob::Ptr<Bridging::SwitchIntfConfig>>;

Entries entriesIn(Bridging::Config& config, const std::vector<Port>& ports) {
  Entries entries;
  for (const auto& port : ports) {
    entries.push_back(config.switchIntfConfigIs(port.id, SwitchportMode::routed, port.vlan));
  }
  return entries;
}

void flapEntries(benchmark::State& state, const Entries& entries) {
  flaps(
      state, entries.size(),
      [&](auto number) { entries[number]->switchportModeIs(SwitchportMode::access); },
      [&](auto number) { entries[number]->switchportModeIs(SwitchportMode::routed); });
}

void ours(benchmark::State& state, const Ports& which) {
  const Machine world;
  flapEntries(state, entriesIn(*world.config, portsOf(which)));
}

template <class World>
void theirs(benchmark::State& state, const Ports& which) {
  const auto ports = portsOf(which);
  World world;
  const auto configure = [&](auto number, SwitchportMode mode) {
    world.machine.configure(ports[number].id, mode, ports[number].vlan);
  };
  for (std::size_t number = 0; number < ports.size(); ++number) {
    configure(number, SwitchportMode::routed);
  }
  flaps(
      state, ports.size(), [&](auto number) { configure(number, SwitchportMode::access); },
      [&](auto number) { configure(number, SwitchportMode::routed); });
}

/// Watches one entry and does nothing.
class Idle final : public Bridging::SwitchIntfConfig::NotifieeConst {};

void entryStage(benchmark::State& state, const Ports& which) {
  const auto config = Bridging::configFactory("config");
  const auto entries = entriesIn(*config, portsOf(which));
  std::vector<Kob::Ptr<Idle>> watchers;
  for (const auto& entry : entries) {
    watchers.emplace_back(new Idle);
    watchers.back()->notifierIs(entry);
    watchers.back()->isRegisteredNotifieeIs(true);
  }
  flapEntries(state, entries);
}

void tableStage(benchmark::State& state, const Ports& which, std::size_t readers) {
  const auto ports = portsOf(which);
  const auto table = FyrL3Intf::tableFactory("table", true);
  const Listeners listeners(table, readers);
  const auto grant = [&](auto number) {
    const L3Id l3Id(ports[number].vlan);
    table->routedPortNameIs(l3Id, ports[number].id);
    table->intfL3IndexIs(ports[number].id, l3Id);
  };
  const auto withdraw = [&](auto number) {
    table->routedPortNameDel(L3Id(ports[number].vlan));
    table->intfL3IndexDel(ports[number].id);
  };
  for (std::size_t number = 0; number < ports.size(); ++number) grant(number);
  flaps(state, ports.size(), withdraw, grant);
}

}  // namespace

void addRoad() {
  for (const Ports& ports : cases) {
    add({"road", "flap", "ours", ports.label}, [=](auto& state) { ours(state, ports); });
    forEachRival([&]<class World>() {
      add({"road", "flap", World::name().c_str(), ports.label},
          [=](auto& state) { theirs<World>(state, ports); });
    });
    add({"road", "entry", "ours", ports.label}, [=](auto& state) { entryStage(state, ports); });
    add({"road", "table", "ours", ports.label}, [=](auto& state) { tableStage(state, ports, 0); });
    add({"road", "reader", "ours", ports.label}, [=](auto& state) { tableStage(state, ports, 1); });
  }
}

}  // namespace Benches
