#pragma once

// What can stand next in a command of the shell.

#include <string>
#include <string_view>
#include <vector>

#include "agent/ShellCommands.h"

namespace Agent {

/// The candidates for the last word of the text, which is what stands before the cursor; each of
/// them would take the whole word's place. What a candidate must be followed by, it ends in: a
/// command in a blank, the name of an object in `.`, of a collection in `[`, of a function in `(`.
/// In the order of the command table, of the registration of types and attributes, and of the
/// collections.
[[nodiscard]] std::vector<std::string> completionsOf(std::string_view textBeforeCursor,
                                                     const ShellContext& context);

}  // namespace Agent
