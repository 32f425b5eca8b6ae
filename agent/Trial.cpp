#include "agent/Trial.h"

#include <sys/mman.h>
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
#include "agent/Refusal.h"

namespace Agent {
namespace {

constexpr int exitSucceeded = 0;
constexpr int exitThrew = 1;

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

/// A file in memory, into which a child writes what its parent reads when the child has ended.
class Note {
 public:
  Note() : descriptor_(::memfd_create("fyrl3", MFD_CLOEXEC)) {
    if (descriptor_ < 0) fail("memfd_create");
  }
  ~Note() { ::close(descriptor_); }
  Note(const Note&) = delete;
  Note& operator=(const Note&) = delete;

  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] std::string content() const;

 private:
  int descriptor_;
};

std::string Note::content() const {
  std::string text;
  std::array<char, 4096> buffer{};
  while (true) {
    const ssize_t length =
        ::pread(descriptor_, buffer.data(), buffer.size(), static_cast<off_t>(text.size()));
    if (length > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(length));
    } else if (length == 0 || errno != EINTR) {
      return text;
    }
  }
}

/// What a child leaves behind.
struct Notes {
  Note output;
  Note report;
  Note traces;
};

/// The child's part. It never returns, and runs no destructor of its parent's objects.
[[noreturn]] void runInChild(const std::function<void()>& action, const Notes& notes) {
  const rlimit noCoreDump{0, 0};
  ::setrlimit(RLIMIT_CORE, &noCoreDump);
  DescriptorBuffer traceBuffer(notes.traces.descriptor());
  std::ostream traceStream(&traceBuffer);
  if (Kob::traceStream() != nullptr) Kob::traceStreamIs(&traceStream);
  ::dup2(notes.output.descriptor(), STDOUT_FILENO);
  ::dup2(notes.report.descriptor(), STDERR_FILENO);
  int exitCode = exitSucceeded;
  try {
    action();
  } catch (const std::exception& exception) {
    std::cerr << wordsOf(exception) << std::flush;
    exitCode = exitThrew;
  }
  ::_exit(exitCode);
}

int statusOf(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) fail("waitpid");
  }
  return status;
}

TrialOutcome outcomeOf(int status) {
  if (!WIFEXITED(status)) return TrialOutcome::died;
  switch (WEXITSTATUS(status)) {
    case exitSucceeded:
      return TrialOutcome::succeeded;
    case exitThrew:
      return TrialOutcome::threw;
    default:
      return TrialOutcome::died;
  }
}

std::string withoutLineEnd(std::string text) {
  while (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

}  // namespace

Trial tryInChild(const std::function<void()>& action) {
  const Notes notes;
  const pid_t child = ::fork();
  if (child < 0) fail("fork");
  if (child == 0) runInChild(action, notes);
  const int status = statusOf(child);
  Trial trial{outcomeOf(status), "", notes.traces.content()};
  if (trial.hasSucceeded()) return trial;
  trial.report = withoutLineEnd(notes.report.content());
  if (trial.report.empty() && WIFSIGNALED(status)) {
    trial.report = std::string("ended by signal ") + ::strsignal(WTERMSIG(status));
  }
  return trial;
}

void passOnTraces(const Trial& trial) {
  if (Kob::traceStream() != nullptr) *Kob::traceStream() << trial.traces << std::flush;
}

}  // namespace Agent
