#include "agent/Output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace Agent {
namespace {

/// 0, or the errno of the write that failed.
int writeAll(int descriptor, std::string_view text) noexcept {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

bool isDumbTerminal() {
  const char* terminal = std::getenv("TERM");
  return terminal == nullptr || std::string_view(terminal) == "dumb";
}

bool isColoured(int descriptor) {
  return isatty(descriptor) == 1 && !isSet("NO_COLOR") && !isDumbTerminal();
}

constexpr std::size_t longestMeanwhile = 79;
bool isMeanwhileShown = false;

}  // namespace

void occupyClosedDescriptors() noexcept {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free one is taken; the wrong direction makes its use fail with EBADF.
    (void)::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

void printOut(std::string_view text) {
  printMeanwhile("");
  if (const int error = writeAll(STDOUT_FILENO, text); error != 0) {
    throw WriteError(std::string("cannot write to standard output: ") + std::strerror(error));
  }
}

void printError(std::string_view text) noexcept {
  printMeanwhile("");
  (void)writeAll(STDERR_FILENO, text);
}

void printMeanwhile(std::string_view text) noexcept {
  if (text.empty() && !isMeanwhileShown) return;
  // The cursor goes back, so that whoever else writes begins at the line's begin.
  for (const auto part :
       {std::string_view("\033[K"), text.substr(0, longestMeanwhile), std::string_view("\r")}) {
    (void)writeAll(STDERR_FILENO, part);
  }
  isMeanwhileShown = !text.empty();
}

bool isErrorWatched() { return isatty(STDERR_FILENO) == 1 && !isDumbTerminal(); }

bool isOutputColoured() { return isColoured(STDOUT_FILENO); }
bool isErrorColoured() { return isColoured(STDERR_FILENO); }

}  // namespace Agent
