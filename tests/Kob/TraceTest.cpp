#include "Kob/Trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include "tests/Kob/Fatal.h"

namespace KobTest {
namespace {

using Kob::TraceFacility;
using Kob::TraceHandle;
using testing::HasSubstr;
using testing::MatchesRegex;

/// Counts how often it is formatted.
struct Counted {
  static inline int formatted = 0;
};
std::ostream& operator<<(std::ostream& stream, Counted) {
  ++Counted::formatted;
  return stream << "counted";
}

TraceHandle& trace() {
  static TraceHandle handle("TraceTest", false);
  return handle;
}

/// Trace points as an operation has them.
void tracePoint() {
  KOB_TRACE(trace(), 7, "<unknown>", "operation", "operation( " << Counted() << " )");
}
void tracePointOf(unsigned level) {
  KOB_TRACE(trace(), level, "<unknown>", "operation", Counted());
}

const std::string time = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{6}";

/// A facility that is off, with records caught in a stream.
class Trace : public testing::Test {
 protected:
  void SetUp() override {
    former_ = Kob::traceStream();
    Kob::traceStreamIs(&records_);
    Counted::formatted = 0;
  }
  void TearDown() override {
    Kob::traceStreamIs(former_);
    Kob::coverageStream_ = nullptr;
    for (unsigned level = 0; level < TraceFacility::levels; ++level)
      facility_.levelIs(level, false);
    facility_.onIs(false);
  }
  /// How much the counter goes up by one trace point of level 7.
  std::uint64_t checksOfOnePoint() {
    const std::uint64_t before = facility_.checks();
    tracePoint();
    return facility_.checks() - before;
  }

  TraceFacility& facility_ = trace().facility();
  std::ostringstream records_;
  std::ostringstream coverage_;

 private:
  std::ostream* former_ = nullptr;
};
using TraceFacilityTest = Trace;

TEST_F(TraceFacilityTest, IsOffWithAllItsLevelsAtFirst) {
  const TraceFacility& fresh = TraceFacility::named("TraceTest.fresh");
  EXPECT_EQ(fresh.name(), "TraceTest.fresh");
  EXPECT_FALSE(fresh.on());
  for (unsigned level = 0; level <= 9; ++level) EXPECT_FALSE(fresh.level(level));
  EXPECT_EQ(fresh.checks(), 0U);
}

TEST_F(TraceFacilityTest, IsSharedByAllHandlesOfItsName) {
  const TraceHandle same("TraceTest", false);
  const TraceHandle other("TraceTest.other", false);
  EXPECT_EQ(&same.facility(), &facility_);
  EXPECT_EQ(&TraceFacility::named("TraceTest"), &facility_);
  EXPECT_NE(&other.facility(), &facility_);
}

TEST_F(TraceFacilityTest, IsSwitchedOnByAHandleThatSaysSoAndElseLeftAsItIs) {
  const TraceHandle quiet("TraceTest", false);
  EXPECT_FALSE(facility_.on());
  const TraceHandle loud("TraceTest", true);
  EXPECT_TRUE(facility_.on());
  EXPECT_FALSE(facility_.level(0)) << "with the levels that it has";
  const TraceHandle again("TraceTest", false);
  EXPECT_TRUE(facility_.on());
}

TEST_F(TraceFacilityTest, SwitchesEachLevelAlone) {
  for (unsigned level = 0; level <= 9; ++level) {
    facility_.levelIs(level, true);
    for (unsigned other = 0; other <= 9; ++other) EXPECT_EQ(facility_.level(other), other == level);
    facility_.levelIs(level, false);
  }
  EXPECT_FALSE(facility_.on()) << "levels do not switch the facility";
}

TEST_F(TraceFacilityTest, SwitchesItsLevelsUpToOneAndNoMore) {
  for (unsigned upTo = 0; upTo <= 9; ++upTo) {
    facility_.onIs(false);
    facility_.levelIs(9, true);
    facility_.levelsUpToIs(upTo);
    EXPECT_TRUE(facility_.on());
    for (unsigned level = 0; level <= 9; ++level) EXPECT_EQ(facility_.level(level), level <= upTo);
  }
}

TEST_F(TraceFacilityTest, HasNoLevelPast9) {
  EXPECT_FATAL(static_cast<void>(facility_.level(10)), "Kob/Trace.cpp",
               "bool Kob::TraceFacility::level(unsigned) const", "level < levels");
  EXPECT_FATAL(facility_.levelIs(10, true), "Kob/Trace.cpp",
               "void Kob::TraceFacility::levelIs(unsigned, bool)", "level < levels");
  EXPECT_FATAL(facility_.levelsUpToIs(10), "Kob/Trace.cpp",
               "void Kob::TraceFacility::levelsUpToIs(unsigned)", "upTo < levels");
}

TEST_F(Trace, PointOfALevelPast9IsFatalWhenTheFacilityIsOn) {
  facility_.onIs(true);
  EXPECT_FATAL(tracePointOf(10), "Kob/Trace.h", "bool Kob::TraceFacility::checked(unsigned)",
               "level < levels");
}

TEST_F(Trace, PointCountsOneWhileTheFacilityIsOff) {
  EXPECT_EQ(checksOfOnePoint(), 1U);
  facility_.levelIs(7, true);
  EXPECT_EQ(checksOfOnePoint(), 1U);
}

TEST_F(Trace, PointCountsTwoWhileTheFacilityIsOn) {
  facility_.onIs(true);
  EXPECT_EQ(checksOfOnePoint(), 2U);
  facility_.levelIs(7, true);
  EXPECT_EQ(checksOfOnePoint(), 2U);
}

TEST_F(Trace, PointAtALevelThatIsOffWithNoCoverageStreamFormatsNothing) {
  tracePoint();
  facility_.onIs(true);
  tracePoint();
  facility_.levelsUpToIs(6);
  tracePoint();
  facility_.levelIs(7, true);
  facility_.onIs(false);
  tracePoint();
  EXPECT_EQ(Counted::formatted, 0);
  EXPECT_EQ(records_.view(), "");
}

TEST_F(Trace, RecordIsTimeFacilityLevelFunctionAndMessageOnOneLine) {
  facility_.levelsUpToIs(7);
  tracePoint();
  EXPECT_EQ(Counted::formatted, 1);
  EXPECT_THAT(records_.str(),
              MatchesRegex(time + " TraceTest 7 operation operation\\( counted \\)\n"));
}

TEST_F(Trace, RecordsFollowEachOtherOnLinesOfTheirOwn) {
  facility_.levelsUpToIs(9);
  tracePointOf(0);
  tracePointOf(9);
  EXPECT_THAT(records_.str(), MatchesRegex(time + " TraceTest 0 operation counted\n" + time +
                                           " TraceTest 9 operation counted\n"));
}

TEST_F(Trace, RecordTellsTheLocalTime) {
  setenv("TZ", "TST-5:30", 1);  // An odd zone, so that no other time is taken for the local one.
  tzset();
  facility_.levelsUpToIs(7);
  const std::time_t before = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  tracePoint();
  std::istringstream record(records_.str());
  std::tm written{};
  written.tm_isdst = -1;
  record >> std::get_time(&written, "%Y-%m-%d %H:%M:%S");
  const std::time_t told = std::mktime(&written);
  EXPECT_GE(told, before);
  EXPECT_LE(told, before + 60);
  unsetenv("TZ");
  tzset();
}

TEST_F(Trace, RecordPadsTheMicrosecondsToSixDigits) {
  facility_.levelsUpToIs(7);
  using std::chrono::system_clock;
  const auto nextSecond = std::chrono::ceil<std::chrono::seconds>(system_clock::now());
  std::this_thread::sleep_until(nextSecond + std::chrono::milliseconds(1));
  tracePoint();
  EXPECT_THAT(records_.str(), MatchesRegex(time + " TraceTest [^\n]*\n"));
}

TEST_F(Trace, MessagesPrintNumbersWithPrecision12) {
  facility_.levelsUpToIs(7);
  KOB_TRACE(trace(), 7, "<unknown>", "operation", std::numbers::pi << ' ' << 2.0 / 3.0);
  EXPECT_THAT(records_.str(), HasSubstr(" operation 3.14159265359 0.666666666667\n"));
}

TEST_F(Trace, MessagesAndWhatTheyNameMayHoldCommas) {
#define KOB_TEST_COMMA std::pair<int, int>(1, 2).first
  facility_.levelsUpToIs(7);
  KOB_TRACE(trace(), 7, "<unknown>", "operation",
            KOB_TEST_COMMA << std::pair<int, int>(3, 4).first);
  EXPECT_THAT(records_.str(), HasSubstr(" operation 13\n"));
#undef KOB_TEST_COMMA
}

/// Counts its copies.
struct Copied {
  Copied() = default;
  Copied(const Copied& /*other*/) { ++copies; }
  Copied& operator=(const Copied&) = delete;
  ~Copied() = default;

  static inline int copies = 0;
};
std::ostream& operator<<(std::ostream& stream, const Copied&) { return stream << "copied"; }

TEST_F(Trace, MessagesThatCopyDoSoOnlyWhenTheyAreFormatted) {
  const Copied copied;
  int number = 1;
  const auto point = [&] {
    KOB_TRACE_COPYING(trace(), 7, "<unknown>", "operation", copied << number);
  };
  Copied::copies = 0;
  point();
  EXPECT_EQ(Copied::copies, 0);
  facility_.levelsUpToIs(7);
  point();
  EXPECT_GT(Copied::copies, 0);
  number = 2;
  point();
  EXPECT_THAT(records_.str(), HasSubstr(" operation copied1\n"));
  EXPECT_THAT(records_.str(), HasSubstr(" operation copied2\n"));
}

TEST_F(Trace, EachMessageBeginsWithAFreshStream) {
  facility_.levelsUpToIs(7);
  KOB_TRACE(trace(), 7, "<unknown>", "operation", std::hex << std::setfill('*') << 255);
  KOB_TRACE(trace(), 7, "<unknown>", "operation", std::setw(4) << 255);
  EXPECT_THAT(records_.str(), HasSubstr(" operation ff\n"));
  EXPECT_THAT(records_.str(), HasSubstr(" operation  255\n"));
}

TEST_F(Trace, RecordsLeaveTheFormatOfTheStreamAlone) {
  facility_.levelsUpToIs(9);
  records_ << std::hex << std::setfill('*');
  tracePointOf(9);
  records_.str("");
  records_ << std::setw(4) << 255;
  EXPECT_EQ(records_.view(), "**ff");
}

TEST_F(Trace, RecordsGoToStandardErrorAtFirstAndNowhereWhenTold) {
  TearDown();
  EXPECT_EQ(Kob::traceStream(), &std::cerr);
  Kob::traceStreamIs(nullptr);
  EXPECT_EQ(Kob::traceStream(), nullptr);
  facility_.levelsUpToIs(7);
  testing::internal::CaptureStderr();
  tracePoint();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  Kob::traceStreamIs(&std::cerr);
  testing::internal::CaptureStderr();
  tracePoint();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("operation( counted )\n"));
}

TEST_F(Trace, CoverageStreamGetsWhatIsOff) {
  Kob::coverageStream_ = &coverage_;
  tracePoint();
  EXPECT_EQ(checksOfOnePoint(), 1U);
  facility_.levelsUpToIs(6);
  EXPECT_EQ(checksOfOnePoint(), 2U);
  EXPECT_EQ(Counted::formatted, 3);
  EXPECT_EQ(records_.view(), "");
  EXPECT_THAT(coverage_.str(), HasSubstr("operation( counted )"));
  const std::string line = "[^\n]* TraceTest 7 operation operation\\( counted \\)[^\n]*\n";
  EXPECT_THAT(coverage_.str(), MatchesRegex(line + line + line));
}

TEST_F(Trace, CoverageStreamGetsNothingOfWhatIsOn) {
  Kob::coverageStream_ = &coverage_;
  facility_.levelsUpToIs(7);
  tracePoint();
  EXPECT_EQ(coverage_.view(), "");
  EXPECT_THAT(records_.str(), HasSubstr("operation( counted )\n"));
}

TEST_F(Trace, CoverageRecordTellsWhereItComesFrom) {
  Kob::coverageStream_ = &coverage_;
  KOB_TRACE(trace(), 3, "Machine", "operation", "message");
  EXPECT_THAT(coverage_.str(), MatchesRegex(time + " TraceTest 3 operation message "
                                                   "\\[Kob/TraceTest\\.cpp:[0-9]+ Machine\\]\n"));
}

TEST_F(Trace, HelperWritesToTheStreamThatItsArgumentNames) {
  Kob::coverageStream_ = &coverage_;
  std::stringstream message;
  message << "message";
  Kob::traceHelper(facility_, "<unknown>", message, 5, true, "Kob/File.cpp", 12, "operation");
  EXPECT_THAT(records_.str(), MatchesRegex(time + " TraceTest 5 operation message\n"));
  EXPECT_EQ(coverage_.view(), "");
  Kob::traceHelper(facility_, "<unknown>", message, 5, false, "Kob/File.cpp", 12, "operation");
  EXPECT_THAT(coverage_.str(), HasSubstr("Kob/File.cpp:12 <unknown>"));
}

}  // namespace
}  // namespace KobTest
