#pragma once

// What the program's exit codes mean.

namespace Agent {

inline constexpr int exitSuccess = 0;
inline constexpr int exitNotFound = 1;
/// Bad usage, unreadable input, a patch that cannot be applied, or output that cannot be written.
inline constexpr int exitUnusable = 2;
inline constexpr int exitContradictions = 3;
/// The self-check failed, or a command of the shell would have ended the library.
inline constexpr int exitInconsistent = 4;

}  // namespace Agent
