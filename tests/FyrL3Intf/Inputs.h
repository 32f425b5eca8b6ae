#pragma once

// The three inputs of the state machine under one set of names, for tests that say the same of
// each:
//
//   Dir, Reactor                 the input model and the reactor on it
//   id                           attribute id that the reactor watches
//   renewalIsHandled             whether a new input, and the unkeyed hook, run the full handler
//   handler                      the name of the handlers
//   in(world), make(), add(dir, intf)
//   of(machine), is(machine, dir), del(machine), newReactor(machine, dir)
//   unkeyedHook(reactor), keyedHook(reactor, intf)

#include <gtest/gtest.h>

#include <string>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {

struct ConfigInput {
  using Dir = Bridging::Config;
  using Reactor = ConfigSm::KobConfig;
  static constexpr Kob::AttributeId id = 260;
  static constexpr bool renewalIsHandled = true;
  static constexpr const char* handler = "handleSwitchIntfConfig";

  static Kob::Ptr<Dir>& in(World& world) { return world.config; }
  static auto make() { return Bridging::configFactory("another"); }
  static void add(Dir& dir, Plexo::IntfId intf) { dir.switchIntfConfigIs(intf); }
  static auto of(const ConfigSm& machine) { return machine.config(); }
  static void is(ConfigSm& machine, const Kob::Ptr<const Dir>& dir) { machine.configIs(dir); }
  static auto del(ConfigSm& machine) { return machine.configDel(); }
  static auto newReactor(ConfigSm& machine, const Kob::Ptr<const Dir>& dir) {
    return machine.newConfig(dir);
  }
  static void unkeyedHook(Reactor& reactor) { reactor.onSwitchIntfConfig(); }
  static void keyedHook(Reactor& reactor, Plexo::IntfId intf) { reactor.onSwitchIntfConfig(intf); }
};

struct VlanIntfStatusDirInput {
  using Dir = Interface::VlanIntfStatusDir;
  using Reactor = ConfigSm::KobVlanIntfStatusDir;
  static constexpr Kob::AttributeId id = 386;
  static constexpr bool renewalIsHandled = true;
  static constexpr const char* handler = "handleVlanIntfStatus";

  static Kob::Ptr<Dir>& in(World& world) { return world.statusDir; }
  static auto make() { return Interface::vlanIntfStatusDirFactory("another"); }
  static void add(Dir& dir, Plexo::IntfId intf) { dir.intfStatusIs(intf); }
  static auto of(const ConfigSm& machine) { return machine.vlanIntfStatusDir(); }
  static void is(ConfigSm& machine, const Kob::Ptr<const Dir>& dir) {
    machine.vlanIntfStatusDirIs(dir);
  }
  static auto del(ConfigSm& machine) { return machine.vlanIntfStatusDirDel(); }
  static auto newReactor(ConfigSm& machine, const Kob::Ptr<const Dir>& dir) {
    return machine.newVlanIntfStatusDir(dir);
  }
  static void unkeyedHook(Reactor& reactor) { reactor.onIntfStatus(); }
  static void keyedHook(Reactor& reactor, Plexo::IntfId intf) { reactor.onIntfStatus(intf); }
};

struct FyrL3IndexDirInput {
  using Dir = L3IndexDir;
  using Reactor = ConfigSm::KobFyrL3IndexDir;
  static constexpr Kob::AttributeId id = 258;
  static constexpr bool renewalIsHandled = false;
  static constexpr const char* handler = "handleL3Index";

  static Kob::Ptr<Dir>& in(World& world) { return world.indexDir; }
  static auto make() { return l3IndexDirFactory("another"); }
  static void add(Dir& dir, Plexo::IntfId intf) { dir.l3IndexIs(intf, L3Id(intf.hash())); }
  static auto of(const ConfigSm& machine) { return machine.fyrL3IndexDir(); }
  static void is(ConfigSm& machine, const Kob::Ptr<const Dir>& dir) {
    machine.fyrL3IndexDirIs(dir);
  }
  static auto del(ConfigSm& machine) { return machine.fyrL3IndexDirDel(); }
  static auto newReactor(ConfigSm& machine, const Kob::Ptr<const Dir>& dir) {
    return machine.newFyrL3IndexDir(dir);
  }
  static void unkeyedHook(Reactor& reactor) { reactor.onL3Index(); }
  static void keyedHook(Reactor& reactor, Plexo::IntfId intf) { reactor.onL3Index(intf); }
};

/// The handlers that were called since the last look, as "handleL3Index(Vlan1)", without blanks.
inline Log handlersCalled(Trace& trace) {
  const std::string prefix = "ConfigSm::handle";
  Log calls;
  for (const auto& record : trace.taken()) {
    const auto message = record.find(prefix);
    if (message == std::string::npos) continue;
    std::string call = record.substr(message + std::string("ConfigSm::").size());
    std::erase(call, ' ');
    calls.push_back(call);
  }
  return calls;
}

/// For typed tests over all inputs: a running machine, one of its inputs, and another input model
/// of the same type.
template <class Input>
class InputFixture : public testing::Test {
 protected:
  using Dir = typename Input::Dir;
  using Reactor = typename Input::Reactor;

  World world{noInternalVlans};
  ConfigSm& machine = world.start();
  Kob::Ptr<Dir> dir = Input::in(world);
  Kob::Ptr<Dir> another = Input::make();
  Trace trace;

  [[nodiscard]] Log called() { return handlersCalled(trace); }
  [[nodiscard]] static Log keyed(const char* intf) {
    return {std::string(Input::handler) + "(" + intf + ")"};
  }
  /// What the full handler of an empty input is seen to do.
  [[nodiscard]] static Log full() { return {std::string(Input::handler) + "()"}; }
  /// The same of a renewal: a new input, or the unkeyed hook.
  [[nodiscard]] static Log renewed() { return Input::renewalIsHandled ? full() : Log{}; }

  Kob::Ptr<Reactor> newReactor(const Kob::Ptr<const Dir>& watched) {
    auto reactor = Input::newReactor(machine, watched);
    EXPECT_EQ(called(), Log{}) << "a new reactor runs no handler";
    return reactor;
  }
  void defer() { world.activity->deferralIs(true); }
  void deliver() { world.activity->deferralIs(false); }
  /// Makes this id pending for the reactor, as the framework does.
  void pending(Reactor& reactor, Kob::AttributeId id) {
    world.activity->activitySm()->pendingIs(&reactor, id);
  }
};

using Inputs = testing::Types<ConfigInput, VlanIntfStatusDirInput, FyrL3IndexDirInput>;

}  // namespace FyrL3Intf::Tests
