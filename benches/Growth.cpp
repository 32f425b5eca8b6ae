// Work of one size for scripts/growth.py, which runs it under callgrind and compares sizes.
//
//   growth SCENARIO SIZE
//
// A scenario is a course of phases. Callgrind counts the phases alone, each under its own name.
//
//   names          so many names become identifiers for the first time
//   internalVlans  so many routed ports, sixteen to a VLAN, and more where VLANs run out
//   oneVlan        so many routed ports that all wish for the same VLAN
//   l3Indexes      so many interfaces with L3 indexes
//   waiters        the wish of one port changes again and again; so many wait for its VLAN

#include <valgrind/callgrind.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

#include "agent/TableHost.h"
#include "benches/Broadcasts.h"
#include "benches/Keys.h"

namespace Benches {

namespace {

using Bridging::SwitchportMode;
using Bridging::VlanIdOrNone;
using FyrL3Intf::L3Id;
using Plexo::IntfId;

constexpr std::size_t allVlans = 4094;
constexpr std::size_t portsPerVlan = 16;
constexpr int wishChanges = 1024;

/// Has callgrind count what `work` does.
template <class Work>
void phase(const char* name, const Work& work) {
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  work();
  CALLGRIND_DUMP_STATS_AT(name);
  CALLGRIND_STOP_INSTRUMENTATION;
}

/// The library as the host uses it, and one reader of its table.
class World {
 public:
  explicit World(bool internalVlanNeeded) : host_(std::in_place, internalVlanNeeded) {}

  [[nodiscard]] Agent::TableHost& host() { return *host_; }
  /// The wish goes straight to the state machine.
  void wish(IntfId port, VlanIdOrNone vlan) {
    host_->machine().doSetDesiredInternalVlanId(port, vlan);
  }
  void verify() {
    phase("verify", [&] { host_->machine().doVerify(); });
  }
  void tearDown() {
    phase("teardown", [&] {
      host_.reset();
      readers_.reset();
    });
  }

 private:
  std::optional<Agent::TableHost> host_;
  std::optional<Listeners> readers_{std::in_place, host_->machine().fyrL3IntfTable(), 1};
};

void makeNames(std::size_t size) {
  phase("make", [&] { static_cast<void>(keys<IntfId>(size)); });
}

/// The ports are routed ports, then each of them once is none and is one again.
void routePorts(std::size_t size, std::size_t vlans) {
  const auto ports = keys<IntfId>(size);
  const auto order = shuffled(ports);
  World world(true);
  auto& config = world.host().config();
  phase("load", [&] {
    std::size_t number = 0;
    for (const IntfId port : ports) {
      config.switchIntfConfigIs(port, SwitchportMode::routed,
                                static_cast<std::uint16_t>(1 + number++ % vlans));
    }
  });
  phase("flaps", [&] {
    for (const IntfId port : order) {
      const auto entry = config.switchIntfConfig(port);
      const auto vlan = entry->nativeVlan();
      entry->switchportModeAndNativeVlanIs(SwitchportMode::access, {});
      entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, vlan);
    }
  });
  world.verify();
  world.tearDown();
}

void assignL3Indexes(std::size_t size) {
  const auto interfaces = keys<IntfId>(size);
  const auto order = shuffled(interfaces);
  World world(false);
  auto& dir = world.host().l3IndexDir();
  std::uint64_t next = 0;
  phase("load", [&] {
    for (const IntfId interface : interfaces) dir.l3IndexIs(interface, L3Id(++next));
  });
  phase("flaps", [&] {
    for (const IntfId interface : order) {
      dir.l3IndexDel(interface);
      dir.l3IndexIs(interface, L3Id(++next));
    }
  });
  world.verify();
  world.tearDown();
}

/// First a port joins those who wait and leaves them; then the holder leaves, which hands the VLAN
/// over, and waits for it.
void changeWishes(std::size_t size) {
  const auto ports = keys<IntfId>(size + 2);
  const IntfId other = ports.back();
  const VlanIdOrNone vlan(100);
  World world(true);
  for (const IntfId port : ports) world.wish(port, vlan);
  phase("wait", [&] {
    for (int change = 0; change < wishChanges; ++change) {
      world.wish(other, {});
      world.wish(other, vlan);
    }
  });
  const auto& table = world.host().table();
  phase("handOver", [&] {
    for (int change = 0; change < wishChanges; ++change) {
      const IntfId holder = table.routedPortName(L3Id(vlan.value()));
      world.wish(holder, {});
      world.wish(holder, vlan);
    }
  });
}

struct Scenario {
  std::string_view name;
  void (*run)(std::size_t size);
};

constexpr std::array scenarios = {
    Scenario{"names", makeNames},
    Scenario{"internalVlans",
             [](std::size_t size) {
               routePorts(size, std::clamp<std::size_t>(size / portsPerVlan, 1, allVlans));
             }},
    Scenario{"oneVlan", [](std::size_t size) { routePorts(size, 1); }},
    Scenario{"l3Indexes", assignL3Indexes},
    Scenario{"waiters", changeWishes},
};

std::size_t sizeOf(std::string_view text) {
  std::size_t size = 0;
  const char* const end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, size);
  return error == std::errc() && last == end ? size : 0;
}

}  // namespace

}  // namespace Benches

int main(int argc, char** argv) {
  const std::string_view name = argc == 3 ? argv[1] : "";
  const std::size_t size = argc == 3 ? Benches::sizeOf(argv[2]) : 0;
  const auto found = std::ranges::find(Benches::scenarios, name, &Benches::Scenario::name);
  if (found == Benches::scenarios.end() || size == 0) {
    std::fputs("usage: growth SCENARIO SIZE\n", stderr);
    return 2;
  }
  found->run(size);
  return 0;
}
