#pragma once

// A command of the shell that cannot be carried out.

#include <stdexcept>
#include <string>

#include "agent/ExitCode.h"

namespace Agent {

/// The message may be printed as it is.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& message, int exitCode = exitUnusable)
      : std::runtime_error(message), exitCode_(exitCode) {}

  /// What the program exits with when this is its first failure.
  [[nodiscard]] int exitCode() const noexcept { return exitCode_; }

 private:
  int exitCode_;
};

}  // namespace Agent
