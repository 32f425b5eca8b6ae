#pragma once

// The small world that most tests of the system play in: an activity, the three inputs, a table,
// and a state machine once it is started. Each is a member that a test may replace, or set to null,
// before it starts the machine.
//
//   World world(internalVlans);
//   world.routedPort("Ethernet1", 100);
//   world.start();
//   EXPECT_EQ(forwardOf(*world.table), (Forward{{"Ethernet1", 100}}));

#include <cstdint>
#include <string>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/Activity.h"
#include "platform/BridgingConfig.h"
#include "platform/L3IndexDir.h"
#include "platform/VlanIntfStatusDir.h"
#include "tests/FyrL3Intf/State.h"
#include "tests/FyrL3Intf/TableListener.h"
#include "tests/FyrL3Intf/Trace.h"
#include "tests/platform/Fatal.h"
#include "tests/platform/Intf.h"

namespace FyrL3Intf::Tests {

using ::Tests::assertion;
using ::Tests::literally;
using ::Tests::onAbortWrite;
using ::Tests::operator""_intf;

/// The construction switch `internalVlanNeeded`, by name.
constexpr bool internalVlans = true;
constexpr bool noInternalVlans = false;

struct World {
  explicit World(bool needed) : internalVlanNeeded(needed) {}

  const bool internalVlanNeeded;
  Kob::Ptr<Kob::ActivityConfig> activity = Kob::activityFactory("activity");
  Kob::Ptr<Bridging::Config> config = Bridging::configFactory("config");
  Kob::Ptr<Interface::VlanIntfStatusDir> statusDir =
      Interface::vlanIntfStatusDirFactory("vlanIntfStatusDir");
  Kob::Ptr<L3IndexDir> indexDir = l3IndexDirFactory("l3IndexDir");
  Kob::Ptr<Table> table = tableFactory("table", internalVlanNeeded);
  Kob::Ptr<ConfigSm> machine;

  /// Makes the machine from what the members are now.
  ConfigSm& start() {
    machine = configSmFactory(activity, config, statusDir, indexDir, table, internalVlanNeeded);
    return *machine;
  }

  /// The interface becomes a routed port with this native VLAN, whatever it was.
  void routedPort(const char* intf, std::uint16_t nativeVlan) {
    port(intf, Bridging::SwitchportMode::routed, nativeVlan);
  }
  void port(const char* intf, Bridging::SwitchportMode mode, Bridging::VlanId nativeVlan = {}) {
    config->switchIntfConfigIs(Plexo::IntfId(intf), mode, nativeVlan)
        ->switchportModeAndNativeVlanIs(mode, nativeVlan);
  }
  void portDel(const char* intf) { config->switchIntfConfigDel(Plexo::IntfId(intf)); }

  void vlanIntf(const char* intf) { statusDir->intfStatusIs(Plexo::IntfId(intf)); }
  void vlanIntfDel(const char* intf) { statusDir->intfStatusDel(Plexo::IntfId(intf)); }

  void l3Index(const char* intf, std::uint64_t l3Id) {
    indexDir->l3IndexIs(Plexo::IntfId(intf), L3Id(l3Id));
  }
  void l3IndexDel(const char* intf) { indexDir->l3IndexDel(Plexo::IntfId(intf)); }

  [[nodiscard]] Forward forward() const { return forwardOf(*table); }
  [[nodiscard]] Reverse reverse() const { return reverseOf(*table); }
  [[nodiscard]] Wishes wishes() const { return wishesOf(*machine); }
  [[nodiscard]] Wishers wishers() const { return wishersOf(*machine); }
};

/// The report of an assertion in the machines' source file.
inline std::string machineAssertion(std::string_view function, std::string_view expression) {
  return assertion("FyrL3Intf/FyrL3IntfSm.cpp", function, expression);
}

/// The report of a consistency failure of the machines: the line that tells what failed, followed
/// at once by the assertion on the condition text in quotes. `detail` begins behind ") ".
inline std::string machineFailure(std::string_view function, const std::string& condition,
                                  const std::string& detail) {
  return literally("Failed(" + condition + ") " + detail) +
         machineAssertion(function, "! \"" + condition + "\"");
}

}  // namespace FyrL3Intf::Tests
