#pragma once

// An action that may end the process, tried in a child process first: what becomes of the child
// tells what would become of this one.

#include <functional>
#include <string>

namespace Agent {

enum class TrialOutcome { succeeded, threw, died };

struct Trial {
  TrialOutcome outcome = TrialOutcome::succeeded;
  /// Why it did not succeed: what the exception says, or what was written to standard error before
  /// the process died, without line ends at the end; failing that, the signal. Empty when it did.
  std::string report;
  /// What was traced meanwhile.
  std::string traces;

  [[nodiscard]] bool hasSucceeded() const { return outcome == TrialOutcome::succeeded; }
};

/// Runs the action in a child process, and waits for its end. Nothing of what the action changes
/// reaches this process, and nothing that it prints reaches anybody: standard output is dropped.
/// Throws std::system_error when there can be no child.
[[nodiscard]] Trial tryInChild(const std::function<void()>& action);

/// Writes the traces of a trial where traces go.
void passOnTraces(const Trial& trial);

}  // namespace Agent
