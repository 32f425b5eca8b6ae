#pragma once

// What the tests of wishes and grants share.

#include <cstdint>
#include <string>

#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {

constexpr std::uint16_t noVlan = 0;

/// A machine without any input but an empty configuration, and direct calls of its operations.
struct InternalVlanTest : testing::Test {
  InternalVlanTest() {
    world.statusDir = nullptr;
    world.start();
  }

  void wish(const char* intf, Bridging::VlanIdOrNone vlan) {
    world.machine->doSetDesiredInternalVlanId(Plexo::IntfId(intf), vlan);
  }
  void grant(const char* intf, Bridging::VlanIdOrNone vlan) {
    world.machine->doSetInternalVlanId(Plexo::IntfId(intf), vlan);
  }
  [[nodiscard]] Table& table() const { return *world.table; }
  /// Both maps, the wishes, and the change counter.
  [[nodiscard]] std::string state() const { return textOf(table()) + textOf(*world.machine); }

  World world{internalVlans};
};

/// What a call does to the table's counters.
struct Counted {
  explicit Counted(const Table& watched) : table(watched) {}
  const Table& table;
  const std::uint32_t changesBefore = table.changeCount();
  const std::uint32_t readsBefore = table.readCount();

  [[nodiscard]] std::uint32_t changes() const { return table.changeCount() - changesBefore; }
  [[nodiscard]] std::uint32_t reads() const { return table.readCount() - readsBefore; }
};

}  // namespace FyrL3Intf::Tests
