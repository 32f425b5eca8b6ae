#include "tests/agent/ProgramRun.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <utility>

namespace Agent {
namespace {

/// A file without a name that is gone when it is closed.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& content = "") : file_(std::tmpfile(), &std::fclose) {
    std::fwrite(content.data(), 1, content.size(), file_.get());
    std::rewind(file_.get());
  }

  [[nodiscard]] int descriptor() const { return fileno(file_.get()); }

  [[nodiscard]] std::string content() const {
    std::rewind(file_.get());
    std::string text;
    char buffer[4096];
    while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, file_.get())) {
      text.append(buffer, length);
    }
    return text;
  }

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

[[noreturn]] void become(const std::vector<std::string>& arguments) {
  std::string program = FYRL3_PROGRAM;
  std::vector<char*> argv{program.data()};
  std::vector<std::string> copies = arguments;
  for (std::string& argument : copies) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  execv(argv.front(), argv.data());
  _exit(127);
}

/// Starts the program in a child that `prepare` has set up.
pid_t start(const std::vector<std::string>& arguments, const std::function<void()>& prepare) {
  const pid_t child = fork();
  if (child == 0) {
    prepare();
    become(arguments);
  }
  return child;
}

int exitCodeOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Runs the program to its end, with standard input coming from the descriptor.
ProgramRun runReading(int in, const std::vector<std::string>& arguments) {
  const ScratchFile out;
  const ScratchFile err;
  const pid_t child = start(arguments, [&] {
    dup2(in, STDIN_FILENO);
    dup2(out.descriptor(), STDOUT_FILENO);
    dup2(err.descriptor(), STDERR_FILENO);
  });
  const int exitCode = exitCodeOf(child);
  return {exitCode, out.content(), err.content()};
}

/// What is written to the terminal until its last user closes it.
std::string readAll(int terminal) {
  std::string text;
  char buffer[4096];
  ssize_t length = 0;
  while ((length = read(terminal, buffer, sizeof buffer)) > 0) {
    text.append(buffer, static_cast<std::size_t>(length));
  }
  return text;
}

/// What is written to the terminal until the mark is seen, or its last user closes it.
std::string readUntil(int terminal, const std::string& mark) {
  std::string text;
  char c = 0;
  while (text.find(mark) == std::string::npos && read(terminal, &c, 1) > 0) {
    text += c;
  }
  return text;
}

/// Until the user of the terminal reads keys, not lines; a few seconds at most.
void waitForEditor(int terminal) {
  termios state{};
  for (int attempt = 0; attempt < 5000; ++attempt) {
    if (tcgetattr(terminal, &state) == 0 && (state.c_lflag & ICANON) == 0) return;
    usleep(1000);
  }
}

}  // namespace

ProgramRun runProgram(const std::vector<std::string>& arguments, const std::string& input) {
  const ScratchFile in(input);
  return runReading(in.descriptor(), arguments);
}

ProgramRun runProgramReading(const std::string& path, const std::vector<std::string>& arguments) {
  const int in = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ProgramRun run = runReading(in, arguments);
  close(in);
  return run;
}

ProgramRun runProgramInto(const std::string& path, const std::vector<std::string>& arguments) {
  const ScratchFile err;
  const pid_t child = start(arguments, [&] {
    dup2(open(path.c_str(), O_WRONLY), STDOUT_FILENO);
    dup2(err.descriptor(), STDERR_FILENO);
  });
  const int exitCode = exitCodeOf(child);
  return {exitCode, "", err.content()};
}

ProgramRun runProgramWithout(int descriptor, const std::vector<std::string>& arguments) {
  const ScratchFile in;
  const ScratchFile out;
  const ScratchFile err;
  const pid_t child = start(arguments, [&] {
    dup2(in.descriptor(), STDIN_FILENO);
    dup2(out.descriptor(), STDOUT_FILENO);
    dup2(err.descriptor(), STDERR_FILENO);
    close(descriptor);
  });
  const int exitCode = exitCodeOf(child);
  return {exitCode, out.content(), err.content()};
}

ProgramRun runProgramOnTerminal(const std::vector<std::string>& arguments, const char* terminal,
                                const char* noColor) {
  const int controller = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  grantpt(controller);
  unlockpt(controller);
  const int user = open(ptsname(controller), O_RDWR | O_NOCTTY | O_CLOEXEC);
  const pid_t child = start(arguments, [&] {
    setenv("TERM", terminal, 1);
    setenv("NO_COLOR", noColor, 1);
    dup2(user, STDOUT_FILENO);
    dup2(user, STDERR_FILENO);
  });
  close(user);
  std::string seen = readAll(controller);
  close(controller);
  return {exitCodeOf(child), std::move(seen), ""};
}

ProgramRun runProgramAsSeen(const std::vector<std::string>& arguments, const std::string& input) {
  const ScratchFile in(input);
  const ScratchFile out;
  const pid_t child = start(arguments, [&] {
    dup2(in.descriptor(), STDIN_FILENO);
    dup2(out.descriptor(), STDOUT_FILENO);
    dup2(out.descriptor(), STDERR_FILENO);
  });
  const int exitCode = exitCodeOf(child);
  return {exitCode, out.content(), ""};
}

/// A program that waits for keys that nobody types is ended by then.
constexpr unsigned secondsAtMost = 120;

ProgramRun typeAtProgram(const std::vector<std::string>& arguments, const std::string& prompt,
                         const std::vector<std::string>& keys) {
  const int controller = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  grantpt(controller);
  unlockpt(controller);
  const int user = open(ptsname(controller), O_RDWR | O_NOCTTY | O_CLOEXEC);
  const pid_t child = start(arguments, [&] {
    setenv("TERM", "dumb", 1);
    alarm(secondsAtMost);
    setsid();
    ioctl(user, TIOCSCTTY, 0);
    dup2(user, STDIN_FILENO);
    dup2(user, STDOUT_FILENO);
    dup2(user, STDERR_FILENO);
  });
  close(user);
  // What is typed between two lines, while the terminal is not the editor's, is not for the editor.
  // So a prompt counts where a line begins, not where the editor draws its line again.
  std::string mark = prompt;
  std::string seen;
  for (const std::string& typed : keys) {
    seen += readUntil(controller, std::exchange(mark, "\n" + prompt));
    waitForEditor(controller);
    if (write(controller, typed.data(), typed.size()) < 0) break;
  }
  seen += readAll(controller);
  close(controller);
  return {exitCodeOf(child), std::move(seen), ""};
}

ProgramRun runProgramInterrupted(const std::string& fifo,
                                 const std::vector<std::string>& arguments) {
  const ScratchFile out;
  const ScratchFile err;
  const pid_t child = start(arguments, [&] {
    std::signal(SIGINT, SIG_DFL);
    dup2(out.descriptor(), STDOUT_FILENO);
    dup2(err.descriptor(), STDERR_FILENO);
  });
  const int writer = open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
  kill(child, SIGINT);
  const int exitCode = exitCodeOf(child);
  close(writer);
  return {exitCode, out.content(), err.content()};
}

}  // namespace Agent
