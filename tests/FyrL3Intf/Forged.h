#pragma once

// VLAN numbers that no constructor makes, for the range checks that stand against them.

#include <bit>
#include <cstdint>

#include "platform/VlanId.h"

namespace FyrL3Intf::Tests {

/// A Bridging::VlanId or Bridging::VlanIdOrNone that holds the number, whatever its range.
template <class Vlan>
Vlan forged(std::uint16_t number) {
  return std::bit_cast<Vlan>(number);
}

}  // namespace FyrL3Intf::Tests
