#pragma once

// The switch that an OpenConfig document of interfaces describes. What is configured counts before
// what is reported as state; keys may carry their module's name or not.

#include <nlohmann/json_fwd.hpp>

#include "agent/Document.h"
#include "agent/Problem.h"
#include "agent/Switch.h"

namespace Agent {

/// Whether the root holds OpenConfig interfaces.
[[nodiscard]] bool isOpenConfig(const nlohmann::json& root);

/// REQUIRES: isOpenConfig(document.root()). Appends to `problems`. Throws UnreadableInput when the
/// interfaces are no list.
[[nodiscard]] Switch readOpenConfig(const Document& document, Problems& problems);

}  // namespace Agent
