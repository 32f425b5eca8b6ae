#include "agent/Trial.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "Kob/GenericIfException.h"
#include "Kob/Trace.h"
#include "agent/Output.h"

namespace Agent {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

const Kob::TraceHandle& trace() {
  static const Kob::TraceHandle handle("TrialTest", true);
  return handle;
}

TEST(Trial, ChangesNothingHere) {
  int number = 1;
  const Trial trial = tryInChild([&number] { number = 2; });
  EXPECT_TRUE(trial.hasSucceeded());
  EXPECT_EQ(trial.report, "");
  EXPECT_EQ(number, 1);
}

TEST(Trial, LetsNothingBeSeen) {
  CaptureStdout();
  CaptureStderr();
  const Trial trial = tryInChild([] {
    printOut("to standard output\n");
    printError("to standard error\n");
    std::cout << "and so" << std::flush;
  });
  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_TRUE(trial.hasSucceeded());
}

TEST(Trial, ReportsWhatIsThrown) {
  const Trial trial = tryInChild([] { throw std::runtime_error("thrown"); });
  EXPECT_EQ(trial.outcome, TrialOutcome::threw);
  EXPECT_EQ(trial.report, "thrown");
  const Trial refused = tryInChild([] { throw Kob::TypeException("x"); });
  EXPECT_EQ(refused.report, "'x' is missing or of the wrong type");
}

TEST(Trial, ReportsWhatIsWrittenBeforeTheEnd) {
  const Trial trial = tryInChild([] {
    std::cerr << "Failed(x) \n\n";
    std::abort();
  });
  EXPECT_EQ(trial.outcome, TrialOutcome::died);
  EXPECT_EQ(trial.report, "Failed(x) ");
}

TEST(Trial, ReportsASignalThatComesWithoutAWord) {
  const Trial trial = tryInChild([] { std::raise(SIGKILL); });
  EXPECT_EQ(trial.outcome, TrialOutcome::died);
  EXPECT_EQ(trial.report, "ended by signal Killed");
}

TEST(Trial, TakesAnExitForAnEnd) {
  const Trial trial = tryInChild([] { std::_Exit(7); });
  EXPECT_EQ(trial.outcome, TrialOutcome::died);
}

TEST(Trial, KeepsMoreThanAPipeHolds) {
  const std::string much(1'000'000, 'x');
  const Trial trial = tryInChild([&much] { throw std::runtime_error(much); });
  EXPECT_EQ(trial.report, much);
}

TEST(Trial, KeepsTracesApart) {
  trace().facility().levelsUpToIs(9);
  const Trial trial =
      tryInChild([] { KOB_TRACE(trace(), 8, "<unknown>", "f", "traced in a child"); });
  trace().facility().onIs(false);
  EXPECT_THAT(trial.traces, testing::HasSubstr("traced in a child"));
  EXPECT_EQ(trial.report, "");
  std::ostringstream stream;
  std::ostream* const former = Kob::traceStream();
  Kob::traceStreamIs(&stream);
  passOnTraces(trial);
  Kob::traceStreamIs(nullptr);
  passOnTraces(trial);
  Kob::traceStreamIs(former);
  EXPECT_EQ(stream.str(), trial.traces);
}

}  // namespace
}  // namespace Agent
