#pragma once

// Sequences of events, carried out on model and library side by side.

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/FyrL3Intf/ModelEvent.h"

namespace FyrL3Intf::Tests {

/// What of a sequence is looked at besides the state after each event.
struct Looking {
  /// The traces of each event.
  bool atTraces = true;
  /// The first event, or self-check, that ends the process in some way, for each way: it is carried
  /// out in a child, and what that writes is compared with what was foreseen.
  bool atDeaths = true;
};

/// What a run of sequences met, so that a test can tell whether it met enough.
struct Met {
  /// How often each end of the process was foreseen, by expression, how often one was carried out;
  /// how often each exception was seen, by the beginning of its message.
  std::map<std::string, std::size_t> deaths;
  std::size_t deathsCarriedOut = 0;
  std::map<std::string, std::size_t> exceptions;
  /// How often the self-check found nothing.
  std::size_t consistent = 0;
};

/// Carries the sequence out on a new model and a new library, the self-check after each event
/// included, and compares after each event. Events that would end the process are left out.
/// Returns the first difference, in words; the empty string when there is none.
std::string differenceAfter(const std::vector<Event>& sequence, Looking looking = {},
                            Met* met = nullptr);

/// How a process ended, and what it wrote on standard error.
struct Ended {
  bool aborted = false;
  bool successful = false;
  std::string standardError;
};

/// Runs the action in a child process, which ends when it returns.
Ended inChild(const std::function<void()>& action);

/// Why the sequence fails: the difference, or what was written by a process that did not survive
/// it. The empty string when it does not fail.
std::string failureOf(const std::vector<Event>& sequence);

/// The sequence with as few events as possible for which `fails` still holds: none can be left out.
std::vector<Event> shrunk(std::vector<Event> sequence,
                          const std::function<bool(const std::vector<Event>&)>& fails);

/// The sequence as the code of a test of this name.
std::string testCode(const std::string& name, const std::vector<Event>& sequence);

}  // namespace FyrL3Intf::Tests
