#pragma once

// What an interrupt from the keyboard means to the program.

namespace Agent {

/// The exit code of a program that was interrupted.
inline constexpr int interruptedExitCode = 130;

/// From now on SIGINT ends the process at once with that code; there is nothing on disk to clear
/// up. Where SIGINT is ignored, as in a background job of a shell, it stays ignored.
void endOnInterrupt();

}  // namespace Agent
