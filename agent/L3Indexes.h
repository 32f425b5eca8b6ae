#pragma once

// The L3 index of each interface: read from what the switch's software wrote down, or assigned
// here. An index is the low 39 bits of a router interface's object id.

#include <nlohmann/json_fwd.hpp>

#include "agent/Document.h"
#include "agent/Problem.h"
#include "agent/Switch.h"

namespace Agent {

/// Whether the root holds a map of router interface names, or a dump of the ASIC database.
[[nodiscard]] bool isL3Indexes(const nlohmann::json& root);

/// The indexes of the switch's L3 interfaces. What cannot be used (an object without a name, an
/// unknown interface, the index 0, an index that another interface has) is appended to `problems`,
/// as are repeated keys. Where a document holds both forms, the map counts. Throws UnreadableInput
/// when the document holds neither.
[[nodiscard]] L3Indexes readL3Indexes(const Document& document, const Switch& theSwitch,
                                      Problems& problems);

/// 1, 2, 3 ... over all L3 interfaces in natural order: the same for the same switch.
[[nodiscard]] L3Indexes assignL3Indexes(const Switch& theSwitch);

}  // namespace Agent
