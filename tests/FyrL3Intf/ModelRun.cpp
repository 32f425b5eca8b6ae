#include "tests/FyrL3Intf/ModelRun.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>

#include "Kob/Exception.h"
#include "tests/FyrL3Intf/Trace.h"
#include "tests/platform/Fatal.h"

namespace FyrL3Intf::Tests {

namespace {

/// One sequence on its way.
class Walk {
 public:
  Walk(Looking looking, Met& met) : looking_(looking), met_(met) {
    if (looking.atTraces) trace_.emplace();
    model_.tracingIs(looking.atTraces);
  }

  /// Carries the event out, unless it ends the process; a difference, or nothing.
  std::string carryOut(const Event& event) {
    const Model before = model_;
    std::string thrown;
    if (const auto death = deathOf(event, thrown)) {
      model_ = before;
      return died(event, *death);
    }
    return compared(event, thrown);
  }

  /// The self-check; where it would end the process it changes nothing, and is left out.
  std::string verify() {
    static const Event event = EVENT(verify);
    std::string thrown;
    if (const auto death = deathOf(event, thrown)) {
      static_cast<void>(model_.snapshot());
      return died(event, *death);
    }
    if (thrown.empty()) ++met_.consistent;
    return compared(event, thrown);
  }

 private:
  std::optional<Death> deathOf(const Event& event, std::string& thrown) {
    try {
      event.carryOut(model_);
    } catch (const Thrown& exception) {
      thrown = exception.message;
      ++met_.exceptions[thrown.substr(0, 15)];
    } catch (const Death& death) {
      return death;
    }
    return std::nullopt;
  }

  std::string died(const Event& event, const Death& death) {
    ++met_.deaths[death.expression];
    if (!looking_.atDeaths || !carriedOut_.insert(death.expression).second) return {};
    ++met_.deathsCarriedOut;
    const Ended ended = inChild([&] {
      Kob::traceStreamIs(nullptr);
      event.carryOut(library_);
    });
    if (ended.aborted &&
        testing::Matches(testing::MatchesRegex(death.report()))(ended.standardError)) {
      return {};
    }
    return event.code() + "\nmodel: dies with\n" + death.report() +
           "\nlibrary: " + (ended.aborted ? "dies with\n" : "ends otherwise\n") +
           ended.standardError;
  }

  std::string compared(const Event& event, const std::string& thrown) {
    Snapshot expected = model_.snapshot();
    expected.thrown = library_.withEntries(thrown);
    std::string caught;
    try {
      event.carryOut(library_);
    } catch (const Kob::Exception& exception) {
      caught = exception.message().charPtr();
    }
    Snapshot actual = library_.snapshot();
    actual.thrown = caught;
    if (trace_) actual.traced = trace_->taken();
    if (actual == expected) return {};
    std::ostringstream text;
    text << event.code() << "\nmodel:   " << expected << "library: " << actual;
    return text.str();
  }

  const Looking looking_;
  Met& met_;
  Model model_;
  Library library_;
  std::optional<Trace> trace_;
  std::set<std::string> carriedOut_;
};

std::string allOf(int file) {
  std::string text;
  char buffer[4096];
  while (true) {
    const ssize_t bytes = read(file, buffer, sizeof buffer);
    if (bytes > 0) {
      text.append(buffer, static_cast<std::size_t>(bytes));
    } else if (bytes == 0 || errno != EINTR) {
      return text;
    }
  }
}

}  // namespace

std::string differenceAfter(const std::vector<Event>& sequence, Looking looking, Met* met) {
  Met unasked;
  Walk walk(looking, met != nullptr ? *met : unasked);
  for (std::size_t at = 0; at < sequence.size(); ++at) {
    std::string difference = walk.carryOut(sequence[at]);
    if (difference.empty()) difference = walk.verify();
    if (!difference.empty()) return "event " + std::to_string(at) + ": " + difference;
  }
  return {};
}

Ended inChild(const std::function<void()>& action) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  std::fflush(nullptr);
  std::cout.flush();
  const pid_t child = fork();
  if (child == 0) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    action();
    std::exit(EXIT_SUCCESS);
  }
  close(ends[1]);
  Ended ended;
  ended.standardError = allOf(ends[0]);
  close(ends[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  ended.aborted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
  ended.successful = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
  return ended;
}

std::string failureOf(const std::vector<Event>& sequence) {
  const Ended ended = inChild([&] { std::cerr << differenceAfter(sequence); });
  if (!ended.successful) return "the process ended with\n" + ended.standardError;
  return ended.standardError;
}

std::vector<Event> shrunk(std::vector<Event> sequence,
                          const std::function<bool(const std::vector<Event>&)>& fails) {
  for (std::size_t length = sequence.size() / 2; length > 0;) {
    bool shorter = false;
    for (std::size_t at = 0; at < sequence.size();) {
      const auto first = sequence.begin() + static_cast<std::ptrdiff_t>(at);
      const auto last = first + static_cast<std::ptrdiff_t>(std::min(length, sequence.size() - at));
      std::vector<Event> without(sequence.begin(), first);
      without.insert(without.end(), last, sequence.end());
      if (fails(without)) {
        sequence = std::move(without);
        shorter = true;
      } else {
        at += length;
      }
    }
    if (!shorter) length /= 2;
  }
  return sequence;
}

std::string testCode(const std::string& name, const std::vector<Event>& sequence) {
  std::string code = "TEST(Model, " + name + ") {\n  EXPECT_EQ(failureOf({\n";
  for (const Event& event : sequence) code += "                " + event.code() + ",\n";
  return code + "            }),\n            \"\");\n}\n";
}

}  // namespace FyrL3Intf::Tests
