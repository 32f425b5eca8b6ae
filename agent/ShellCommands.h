#pragma once

// The commands of the shell, in one table: what help lists, what completion offers, and what is
// carried out.

#include <functional>
#include <span>
#include <string_view>

#include "agent/LiveAttribute.h"
#include "agent/Printer.h"
#include "agent/Session.h"

namespace Agent {

/// What commands work on.
struct ShellContext {
  Session& session;
  Printer& printer;
  Roots roots;
  bool isEnded = false;
};

/// The objects at which paths begin: `table` and `configSm`.
[[nodiscard]] Roots rootsOf(FyrL3Intf::ConfigSm& machine);

/// What a command takes, for completion.
enum class ArgumentKind {
  none,
  anything,
  command,
  interface,
  onOff,
  traceLevel,
  type,
  /// Paths to whatever can be read, to collections, to what can be written, and to functions.
  readable,
  collection,
  writable,
  function,
};

/// Carries a command out and returns its exit code. Throws CommandError or UnreadableInput when it
/// cannot be carried out.
using ShellAction = std::function<int()>;

struct ShellCommand {
  std::string_view name;
  std::string_view arguments;
  std::string_view help;
  ArgumentKind argumentKind;
  /// Whether it may end the process, and so is tried in a child first.
  bool isTriedFirst;
  /// Reads the arguments, and says what is to be done. Changes nothing. Throws as the action does.
  ShellAction (*prepare)(ShellContext& context, std::string_view arguments);
};

/// In the order in which help lists them.
[[nodiscard]] std::span<const ShellCommand> shellCommands();
/// Null where there is none of this name.
[[nodiscard]] const ShellCommand* shellCommand(std::string_view name);

/// The facilities that the library traces with.
[[nodiscard]] std::span<const std::string_view> traceFacilities();

}  // namespace Agent
