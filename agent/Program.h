#pragma once

// A run of the program, from the documents to the exit code.

#include "agent/Options.h"

namespace Agent {

/// Loads the configuration, applies the patches, carries out the command on what came of it, and
/// returns the exit code; where several apply, the failed self-check comes first, then the unusable
/// patch, the contradictions, and what was not found. After a patch that cannot be applied, the
/// command is carried out on what was applied before. Throws UnreadableInput when a file cannot be
/// read or used, having printed nothing, and WriteError.
[[nodiscard]] int run(const Options& options);

}  // namespace Agent
