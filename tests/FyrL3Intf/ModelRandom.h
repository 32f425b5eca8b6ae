#pragma once

// Random sequences of events: a function of a seed, the same wherever they are made.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/FyrL3Intf/ModelEvent.h"

namespace FyrL3Intf::Tests {

/// What happens to a system in some life of it: ports, VLAN interfaces and L3 indexes that come,
/// change and go, inputs that are replaced, deferral, teardown and new starts. Some lives are calm,
/// others have identifiers that collide, interfaces that do not belong where they are, and
/// operations called behind the handlers' back.
std::vector<Event> randomSequence(std::uint64_t seed, std::size_t events);

}  // namespace FyrL3Intf::Tests
