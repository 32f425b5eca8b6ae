#pragma once

// The shell: a session on a live library, command by command.

#include <string>
#include <string_view>

#include "agent/Options.h"
#include "agent/ShellCommands.h"

namespace Agent {

class Shell {
 public:
  /// Both outlive the shell. Changes of the table are not told until `watch on` is obeyed.
  Shell(Session& session, Printer& printer);
  /// Lets the session leave the state as it is when the machine could not withdraw it, and tells
  /// so.
  ~Shell();
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  /// Obeys one line and returns its exit code; blank lines and those that begin with # are none. A
  /// command that cannot be carried out has been told. Throws WriteError.
  [[nodiscard]] int obey(std::string_view line);
  /// Whether `quit` was obeyed.
  [[nodiscard]] bool isEnded() const { return context_.isEnded; }
  [[nodiscard]] const ShellContext& context() const { return context_; }

 private:
  [[nodiscard]] int carryOut(std::string_view line);
  /// Throws CommandError when the action would not succeed.
  static void tryFirst(const ShellCommand& command, const ShellAction& action);
  void refuse(const std::string& text);
  void prepareToEnd();

  ShellContext context_;
};

/// Obeys commands up to their end or `quit`: those of the options, or those that standard input
/// holds, with a prompt when it is a terminal. Returns 0 from a terminal, else the exit code of the
/// first command that failed, behind which it ends unless it is to keep going.
[[nodiscard]] int runShell(Session& session, Printer& printer, const ShellOptions& options);

}  // namespace Agent
