#pragma once

// The command line.

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "agent/VlanReservations.h"

namespace Agent {

enum class Command { show, lookup, verify, why, shell, types };

/// How a shell is run.
struct ShellOptions {
  /// What it obeys instead of standard input; empty where that is to be read.
  std::vector<std::string> commands;
  /// Whether a command that fails is followed by the next one.
  bool keepsGoing = false;
};

struct Options {
  Command command = Command::show;
  /// What to look up.
  std::string question;
  /// Whose stories to tell.
  std::vector<std::string> names;
  /// Which type to describe; empty for the names of all.
  std::string typeName;
  /// Whose types to list; empty for those that the program knows.
  std::string libraryFile;
  ShellOptions shell;
  std::string configFile;
  /// Empty where L3 indexes are to be assigned, or internal VLANs are asked for.
  std::string l3IndexFile;
  /// Set where internal VLANs are asked for.
  std::optional<ReservationRules> internalVlans;
  /// In the order in which they are to be applied; "-" for standard input.
  std::vector<std::string> patchFiles;
  bool isStrict = false;
  bool isJson = false;
  /// 0 to 9; none for no tracing.
  std::optional<unsigned> traceLevel;
};

/// A command line that cannot be obeyed; the message may be printed as it is.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A command line that asks for help or the version: the text to print.
struct HelpText {
  std::string text;
};

/// Fills `options` from the command line; returns a text instead where one is asked for. Throws
/// UsageError.
[[nodiscard]] std::optional<HelpText> parseOptions(int argc, const char* const* argv,
                                                   Options& options);

}  // namespace Agent
