#include "Kob/Assert.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <string_view>

#include "tests/Kob/Fatal.h"

namespace KobTest {
namespace {

using testing::KilledBySignal;
using testing::MatchesRegex;

constexpr const char* function = "void Test::operation(int)";

TEST(Assert, AConditionThatHoldsDoesNothingInAnyForm) {
  int formatted = 0;
  KOB_ASSERT(true, "true", function);
  KOB_ASSERT_UNTESTABLE(true, "true", function, "it holds");
  KOB_ASSERT_REPORTED(true, "true", function, ++formatted);
  EXPECT_EQ(formatted, 0);
}

TEST(Assert, AConditionIsEvaluatedOnce) {
  int evaluated = 0;
  KOB_ASSERT(++evaluated > 0, "++evaluated > 0", function);
  KOB_ASSERT_UNTESTABLE(++evaluated > 0, "++evaluated > 0", function, "it counts up");
  KOB_ASSERT_REPORTED(++evaluated > 0, "++evaluated > 0", function, "");
  EXPECT_EQ(evaluated, 3);
}

TEST(Assert, ThePlainFormWritesTheAssertionReportAlone) {
  EXPECT_FATAL(KOB_ASSERT(1 > 2, "owner( oldId ) == id", function), "Kob/AssertTest.cpp",
               "void Test::operation(int)", "owner( oldId ) == id");
}

TEST(Assert, AFailureThatNoTestShouldBringAboutIsAsFatalAsAnyOther) {
  EXPECT_FATAL(KOB_ASSERT_UNTESTABLE(1 > 2, "owner( oldId ) == id", function, "but it is"),
               "Kob/AssertTest.cpp", "void Test::operation(int)", "owner( oldId ) == id");
}

TEST(Assert, TheReportedFormWritesTheDetailAndThenTheNegatedTextInQuotes) {
  const std::string report =
      literally("Failed(ids()->isMemberOf( id )) id 7 is gone") +
      assertionReport("Kob/AssertTest.cpp", function, "! \"ids()->isMemberOf( id )\"");
  EXPECT_EXIT(
      KOB_ASSERT_REPORTED(1 > 2, "ids()->isMemberOf( id )", function, "id " << 7 << " is gone"),
      KilledBySignal(SIGABRT), MatchesRegex(report));
}

TEST(Assert, TheReportIsTheSameWhateverFormatTheStreamWasLeftIn) {
  EXPECT_EXIT(
      {
        std::cerr << std::hex << std::uppercase;
        KOB_ASSERT_REPORTED(false, "false", function, 255);
      },
      KilledBySignal(SIGABRT), testing::StartsWith("Failed(false) 255"));
}

TEST(Assert, TheReportNamesTheLineOfTheAssertion) {
  const std::string line = std::to_string(__LINE__ + 1);
  EXPECT_EXIT(KOB_ASSERT(false, "false", function), KilledBySignal(SIGABRT),
              MatchesRegex("[^:\n]+: Kob/AssertTest\\.cpp:" + line + ": " + literally(function) +
                           ": Assertion `false' failed\\.\n"));
}

TEST(Assert, TheFailureRoutineWritesWhatItIsGiven) {
  EXPECT_EXIT(Kob::assertFail("a < b", "folder/File.h", 12, "bool f()"), KilledBySignal(SIGABRT),
              MatchesRegex("[^:\n]+: folder/File\\.h:12: bool f\\(\\): "
                           "Assertion `a < b' failed\\.\n"));
}

TEST(Assert, ASourceIsNamedByItsFolderAndItsFile) {
  EXPECT_EQ(std::string_view(Kob::sourceName("/anywhere/tree/Kob/Assert.h")), "Kob/Assert.h");
  EXPECT_EQ(std::string_view(Kob::sourceName("/Kob/Assert.h")), "Kob/Assert.h");
  EXPECT_EQ(std::string_view(Kob::sourceName("Kob/Assert.h")), "Kob/Assert.h");
  EXPECT_EQ(std::string_view(Kob::sourceName("Assert.h")), "Assert.h");
}

}  // namespace
}  // namespace KobTest
