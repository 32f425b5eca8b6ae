#pragma once

// The switch that a configuration database describes: ports, port channels, VLANs and their
// members, and the tables of L3 interfaces. Rows that contradict each other are reported, and what
// is done about each is the same whatever the order of the rows.

#include "agent/Document.h"
#include "agent/Problem.h"
#include "agent/Switch.h"

namespace Agent {

/// REQUIRES: the document's root is an object. Appends to `problems`. Throws UnreadableInput when
/// a table is no object.
[[nodiscard]] Switch readConfigDb(const Document& document, Problems& problems);

}  // namespace Agent
