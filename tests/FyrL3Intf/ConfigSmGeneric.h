#pragma once

// What the tests of the state machine's generic interface share.

#include <gtest/gtest.h>

#include <string>

#include "tests/FyrL3Intf/Generic.h"

namespace FyrL3Intf::Tests::ConfigSmIds {

// The ids are the contract: they are not taken from the library.
constexpr Kob::AttributeId config = 130;
constexpr Kob::AttributeId vlanIntfStatusDir = 131;
constexpr Kob::AttributeId fyrL3IndexDir = 132;
constexpr Kob::AttributeId fyrL3IntfTable = 133;
constexpr Kob::AttributeId internalVlanNeeded = 134;
constexpr Kob::AttributeId handleVlanIntfStatus = 135;
constexpr Kob::AttributeId desiredRoutedPortName = 137;
constexpr Kob::AttributeId desiredInternalVlanId = 138;
constexpr Kob::AttributeId doSetDesiredInternalVlanId = 139;
constexpr Kob::AttributeId doSetInternalVlanId = 140;
constexpr Kob::AttributeId switchIntfConfigSm = 141;
constexpr Kob::AttributeId handleSwitchIntfConfig = 142;
constexpr Kob::AttributeId handleL3Index = 144;
constexpr Kob::AttributeId doPrepareToDie = 146;
constexpr Kob::AttributeId doVerify = 147;

}  // namespace FyrL3Intf::Tests::ConfigSmIds

namespace FyrL3Intf::Tests {

/// A machine with one routed port that holds its VLAN.
struct ConfigSmGenericIfTest : testing::Test {
  ConfigSmGenericIfTest() {
    world.routedPort("Ethernet1", 100);
    world.start();
    wrapper = Kob::generic(world.machine);
    readOnly = readOnlyOf(world.machine);
  }

  World world{internalVlans};
  Wrapper wrapper;
  Wrapper readOnly;

  [[nodiscard]] ConfigSm& machine() const { return *world.machine; }
  /// The outcome, of an operation that must leave everything as it is.
  [[nodiscard]] std::string unchanging(const Wrapper& through, Kob::AttributeId id,
                                       unsigned operation, const Wrapper& arg = nullptr,
                                       const Wrapper& value = nullptr) const {
    const std::string before = wholeState(machine());
    std::string text = outcome(through, id, operation, arg, value);
    EXPECT_EQ(wholeState(machine()), before) << text;
    return text;
  }
  /// What a call, through a wrapper, leaves traced.
  [[nodiscard]] Log tracedBy(const Wrapper& through, Kob::AttributeId id,
                             const Wrapper& list = arguments()) const {
    Trace trace;
    EXPECT_EQ(outcome(through, id, callOp, list), "nothing");
    return trace.taken();
  }
};

}  // namespace FyrL3Intf::Tests
