#include "agent/SelfCheck.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <iostream>
#include <ostream>
#include <streambuf>
#include <system_error>

#include "Kob/Trace.h"
#include "agent/Text.h"

namespace Agent {
namespace {

constexpr int exitConsistent = 0;
constexpr int exitException = 1;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/// Writes to a descriptor at once, so that nothing is lost when the process aborts.
class DescriptorBuffer : public std::streambuf {
 public:
  explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor) {}

 protected:
  std::streamsize xsputn(const char* text, std::streamsize length) override {
    return ::write(descriptor_, text, static_cast<std::size_t>(length));
  }
  int_type overflow(int_type character) override {
    const char c = traits_type::to_char_type(character);
    return ::write(descriptor_, &c, 1) == 1 ? character : traits_type::eof();
  }

 private:
  int descriptor_;
};

/// A child's way to tell its parent something.
class Pipe {
 public:
  Pipe() {
    if (::pipe(ends_.data()) != 0) fail("pipe");
  }
  ~Pipe() {
    ::close(ends_[0]);
    closeWriting();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  [[nodiscard]] int writing() const { return ends_[1]; }
  void closeWriting() {
    if (ends_[1] >= 0) ::close(ends_[1]);
    ends_[1] = -1;
  }
  /// Reads until nobody can write any more.
  [[nodiscard]] std::string readAll() const;

 private:
  std::array<int, 2> ends_{};
};

std::string Pipe::readAll() const {
  std::string text;
  std::array<char, 4096> buffer{};
  while (true) {
    const ssize_t length = ::read(ends_[0], buffer.data(), buffer.size());
    if (length > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(length));
    } else if (length == 0 || errno != EINTR) {
      return text;
    }
  }
}

/// The child's part: traces stay where they went, everything else on standard error is the report.
[[noreturn]] void checkInChild(FyrL3Intf::ConfigSm& machine, int report) {
  const rlimit noCoreDump{0, 0};
  ::setrlimit(RLIMIT_CORE, &noCoreDump);
  DescriptorBuffer traceBuffer(::dup(STDERR_FILENO));
  std::ostream traceStream(&traceBuffer);
  if (Kob::traceStream() == &std::cerr) Kob::traceStreamIs(&traceStream);
  ::dup2(report, STDERR_FILENO);
  try {
    machine.doVerify();
  } catch (const std::exception& exception) {
    std::cerr << exception.what() << std::flush;
    ::_exit(exitException);
  }
  ::_exit(exitConsistent);
}

int statusOf(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) fail("waitpid");
  }
  return status;
}

std::string withoutLineEnd(std::string text) {
  while (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

}  // namespace

SelfCheck selfCheck(FyrL3Intf::ConfigSm& machine) {
  Pipe pipe;
  const pid_t child = ::fork();
  if (child < 0) fail("fork");
  if (child == 0) checkInChild(machine, pipe.writing());
  pipe.closeWriting();
  const std::string report = withoutLineEnd(pipe.readAll());
  const int status = statusOf(child);
  if (WIFEXITED(status) && WEXITSTATUS(status) == exitConsistent) return {true, ""};
  return {false, report.empty() && WIFSIGNALED(status)
                     ? std::string("ended by signal ") + ::strsignal(WTERMSIG(status))
                     : report};
}

}  // namespace Agent
