// Readers of the table that do something inside their callbacks: look around, leave, come back, let
// each other go, and write to the inputs while those wait for their turn. When nothing waits any
// more, the machine's self-check passes, and exactly those hold a wish who are configured to.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/FyrL3Intf/World.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Finding.h"

namespace FyrL3Intf::Tests {
namespace {

using Fuzz::Choices;
using Fuzz::require;

constexpr std::array ports = {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet10"};
constexpr std::array vlanIntfs = {"Vlan100", "Vlan101", "Vlan1", "Vlan4094"};
constexpr std::array<std::uint16_t, 4> vlans = {100, 101, 1, 4094};

class Life {
 public:
  explicit Life(Choices choices) : from_(choices), world_(internalVlans) {
    world_.start();
    for (auto& reader : readers_) join(reader);
  }

  void live() {
    for (unsigned step = 0; step < mostSteps && !from_.isEmpty(); ++step) {
      reactions_ = mostReactions;
      if (from_.below(4) == 3) {
        world_.activity->deferralIs(from_.flag());
      } else {
        change();
      }
      check();
    }
    reactions_ = 0;
    world_.activity->deferralIs(false);
    check();
    world_.machine->doPrepareToDie();
    require(world_.wishes().empty() && world_.forward().empty(), "a wish outlives the teardown");
  }

 private:
  static constexpr unsigned mostSteps = 40;
  static constexpr unsigned mostReactions = 20;

  void change() {
    switch (from_.below(5)) {
      case 0:
      case 1:
        return world_.routedPort(from_.of(ports), from_.of(vlans));
      case 2:
        return withdraw(from_.of(ports));
      case 3:
        return world_.vlanIntf(from_.of(vlanIntfs));
      default:
        if (!world_.activity->deferral()) world_.vlanIntfDel(from_.of(vlanIntfs));
        return;
    }
  }

  /// Removals do not wait together with other changes: they merge, and the merged change tells
  /// nothing of what has vanished.
  void withdraw(const char* port) {
    if (!world_.activity->deferral()) return world_.portDel(port);
    world_.port(port, Bridging::SwitchportMode::trunk);
  }

  void join(Kob::Ptr<TableListener>& reader) {
    reader = listenerOf(world_.table);
    reader->onKey = [this, self = reader.get()](Plexo::IntfId intf) {
      running_.push_back(self);
      react(intf);
      running_.pop_back();
    };
  }

  /// One that runs goes later: its function must not go before that.
  void drop(Kob::Ptr<TableListener>& reader) {
    if (std::ranges::count(running_, reader.get()) > 0) kept_.push_back(reader);
    reader = nullptr;
  }

  /// What a reader does inside its callback.
  void react(Plexo::IntfId intf) {
    const L3Id id = world_.table->intfIdToL3Id(intf);
    require(!id || world_.table->l3IdToIntfId(id) == intf,
            "an identifier is announced that cannot be looked up");
    if (reactions_ == 0) return;
    --reactions_;
    Kob::Ptr<TableListener>& reader = readers_[from_.below(3)];
    switch (from_.below(6)) {
      case 0:
        if (reader) reader->isRegisteredNotifieeIs(from_.flag());
        return;
      case 1:
        return drop(reader);
      case 2:
        drop(reader);
        return join(reader);
      case 3:
        if (world_.activity->deferral()) change();
        return;
      default:
        require(world_.forward().size() <= world_.reverse().size() + 1, "the maps drift apart");
        return;
    }
  }

  void check() {
    if (world_.activity->deferral()) return;
    kept_.clear();
    world_.machine->doVerify();
    Wishes expected;
    for (auto it = world_.config->switchIntfConfigIteratorConst(); it; ++it) {
      if (it->switchportMode() == Bridging::SwitchportMode::routed) {
        expected[nameOf(it.key())] = it->nativeVlan().value();
      }
    }
    for (auto it = world_.statusDir->intfStatusIteratorConst(); it; ++it) {
      expected[nameOf(it.key())] = Plexo::VlanIntfId::vlanId(it.key());
    }
    require(world_.wishes() == expected, "others wish than those who are configured to");
  }

  Choices from_;
  World world_;
  unsigned reactions_ = 0;
  std::array<Kob::Ptr<TableListener>, 3> readers_;
  std::vector<const TableListener*> running_;
  std::vector<Kob::Ptr<TableListener>> kept_;
};

}  // namespace
}  // namespace FyrL3Intf::Tests

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FyrL3Intf::Tests::Life(Fuzz::Choices(bytes, size)).live();
  return 0;
}
