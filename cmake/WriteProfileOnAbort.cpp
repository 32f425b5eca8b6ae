// Part of every library and program of a coverage build, and of no other: when the process aborts,
// writes the counters of the one it is part of, and then lets the next one write its own. So the
// lines that only a death test reaches count.

#include <csignal>

extern "C" int __llvm_profile_write_file();

namespace {

using Handler = void (*)(int);

Handler nextHandler = SIG_DFL;

void writeProfile(int signal) {
  __llvm_profile_write_file();
  std::signal(signal, nextHandler);
  std::raise(signal);
}

// Runs when the library is loaded; what was loaded before it is the next to write.
const bool installed = [] {
  nextHandler = std::signal(SIGABRT, writeProfile);
  return true;
}();

}  // namespace
