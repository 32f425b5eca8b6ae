#pragma once

// A switch's configuration in any format that the program reads. The format is told from the
// content.

#include "agent/Document.h"
#include "agent/Problem.h"
#include "agent/Switch.h"

namespace Agent {

/// The switch that the document describes; contradictions, repeated keys among them, are appended
/// to `problems`. Throws UnreadableInput when the document is no configuration.
[[nodiscard]] Switch readConfiguration(const Document& document, Problems& problems);

}  // namespace Agent
