#pragma once

// The library's complete self-check, made so that a breach does not end the program.

#include <string>

#include "FyrL3Intf/FyrL3IntfSm.h"

namespace Agent {

struct SelfCheck {
  bool isConsistent;
  /// Why it is not: what the library wrote before it ended the process, or the exception that came
  /// out of the check. Empty when it is.
  std::string report;
};

/// Runs the machine's `doVerify` in a child process. Traces go where they always go. Throws
/// std::system_error when there can be no child.
[[nodiscard]] SelfCheck selfCheck(FyrL3Intf::ConfigSm& machine);

}  // namespace Agent
