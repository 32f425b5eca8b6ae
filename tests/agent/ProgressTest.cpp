#include "agent/Progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

#include "agent/Output.h"

namespace Agent {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

/// While it lives, standard error of this process is a terminal of the type `TERM`.
class ErrorTerminal {
 public:
  explicit ErrorTerminal(const char* type) : controller_(posix_openpt(O_RDWR | O_NOCTTY)) {
    if (const char* const before = std::getenv("TERM")) typeBefore_ = before;
    setenv("TERM", type, 1);
    grantpt(controller_);
    unlockpt(controller_);
    const int user = open(ptsname(controller_), O_RDWR | O_NOCTTY);
    dup2(user, STDERR_FILENO);
    close(user);
  }
  ~ErrorTerminal() {
    dup2(errorBefore_, STDERR_FILENO);
    close(errorBefore_);
    close(controller_);
    if (typeBefore_) {
      setenv("TERM", typeBefore_->c_str(), 1);
    } else {
      unsetenv("TERM");
    }
  }
  ErrorTerminal(const ErrorTerminal&) = delete;
  ErrorTerminal& operator=(const ErrorTerminal&) = delete;

  /// What it was sent since it was asked last.
  [[nodiscard]] std::string shown() const {
    constexpr char end = '\a';
    std::string text;
    if (write(STDERR_FILENO, &end, 1) != 1) return "cannot be written";
    for (char c = 0; read(controller_, &c, 1) == 1 && c != end;) text += c;
    return text;
  }

 private:
  const int controller_;
  const int errorBefore_ = dup(STDERR_FILENO);
  std::optional<std::string> typeBefore_;
};

TEST(Progress, TellsWhichShareIsDoneAndGoesWithTheWork) {
  const ErrorTerminal terminal("xterm");
  {
    Progress progress("feeding", 4, milliseconds(0));
    EXPECT_EQ(terminal.shown(), "");
    progress.step();
    EXPECT_EQ(terminal.shown(), "\033[Kfeeding: 25 %\r");
  }
  EXPECT_EQ(terminal.shown(), "\033[K\r");
}

TEST(Progress, TellsWhatIsDoneWhereNobodyKnowsHowMuchThereIs) {
  const ErrorTerminal terminal("xterm");
  Progress progress("reading", 0, milliseconds(0));
  progress.step();
  EXPECT_EQ(terminal.shown(), "\033[Kreading ...\r");
}

TEST(Progress, NeverTellsMoreThanAll) {
  const ErrorTerminal terminal("xterm");
  Progress progress("feeding", 1, milliseconds(50));
  std::string shown;
  while (shown.empty()) {
    progress.step();
    shown = terminal.shown();
  }
  EXPECT_EQ(shown, "\033[Kfeeding: 100 %\r");
}

TEST(Progress, ChangesSlowlyEnoughToBeRead) {
  const ErrorTerminal terminal("xterm");
  Progress progress("feeding", 1000, milliseconds(0));
  for (int step = 0; step < 1000; ++step) progress.step();
  EXPECT_LT(std::ranges::count(terminal.shown(), '\r'), 100);
}

TEST(Progress, ShowsNothingOfWhatIsSoonDone) {
  const ErrorTerminal terminal("xterm");
  {
    Progress progress("feeding", 1, hours(1));
    progress.step();
  }
  EXPECT_EQ(terminal.shown(), "");
}

TEST(Progress, ShowsNothingWhereALineCannotBeCleared) {
  const ErrorTerminal terminal("dumb");
  Progress progress("feeding", 1, milliseconds(0));
  progress.step();
  EXPECT_EQ(terminal.shown(), "");
}

TEST(Progress, MakesPlaceForWhatIsPrinted) {
  const ErrorTerminal terminal("xterm");
  Progress progress("feeding", 4, milliseconds(0));
  progress.step();
  printError("problem\n");
  EXPECT_EQ(terminal.shown(), "\033[Kfeeding: 25 %\r\033[K\rproblem\r\n");
  Progress next("writing", 2, milliseconds(0));
  next.step();
  printOut("");
  EXPECT_EQ(terminal.shown(), "\033[Kwriting: 50 %\r\033[K\r");
}

TEST(Progress, ShowsNothingInAFile) {
  const ErrorTerminal terminal("xterm");
  testing::internal::CaptureStderr();
  Progress progress("feeding", 1, milliseconds(0));
  progress.step();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Progress, FitsOnOneLine) {
  const ErrorTerminal terminal("xterm");
  Progress progress(std::string(200, 'x'), 4, milliseconds(0));
  progress.step();
  EXPECT_EQ(terminal.shown(), "\033[K" + std::string(79, 'x') + "\r");
}

}  // namespace
}  // namespace Agent
