#include "Kob/ReferenceWord.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "tests/Kob/Fatal.h"

namespace KobTest {
namespace {

using Kob::ReferenceWord;

/// Every combination of the three flags.
const std::vector<std::uint32_t>& flagSets() {
  static const std::vector<std::uint32_t> all = [] {
    std::vector<std::uint32_t> sets;
    for (std::uint32_t bits = 0; bits < 8; ++bits) sets.push_back(bits << 29U);
    return sets;
  }();
  return all;
}

/// Each test runs with plain and with atomic counting.
class ReferenceWordTest : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { ReferenceWord::threadSafe = GetParam(); }
  void TearDown() override { ReferenceWord::threadSafe = false; }
};

std::string countingOf(const testing::TestParamInfo<bool>& threadSafe) {
  return threadSafe.param ? "Atomic" : "Plain";
}
INSTANTIATE_TEST_SUITE_P(Counting, ReferenceWordTest, testing::Bool(), countingOf);

TEST_P(ReferenceWordTest, HasTheDocumentedBits) {
  EXPECT_EQ(ReferenceWord::countMask, 0x1FFFFFFFU);
  EXPECT_EQ(ReferenceWord::notificationActive, 0x20000000U);
  EXPECT_EQ(ReferenceWord::held, 0x40000000U);
  EXPECT_EQ(ReferenceWord::markedForDeletion, 0x80000000U);
  EXPECT_EQ(ReferenceWord::aliveMask, 0x5FFFFFFFU);
}

TEST_P(ReferenceWordTest, CountsUpAndDownAndTellsTheLast) {
  ReferenceWord word;
  EXPECT_EQ(word.word(), 0U);
  word.inc();
  word.inc();
  EXPECT_EQ(word.count(), 2U);
  EXPECT_FALSE(word.dec());
  EXPECT_TRUE(word.dec());
  EXPECT_EQ(word.word(), 0U);
}

TEST_P(ReferenceWordTest, OfTheFlagsOnlyBit30KeepsAlive) {
  for (const std::uint32_t flags : flagSets()) {
    ReferenceWord word(flags | 1U);
    EXPECT_EQ(word.dec(), (flags & 0x40000000U) == 0) << std::hex << flags;
    EXPECT_EQ(word.word(), flags);
  }
}

TEST_P(ReferenceWordTest, CountingLeavesTheFlagsAlone) {
  for (const std::uint32_t flags : flagSets()) {
    ReferenceWord word(flags);
    word.inc();
    word.inc();
    EXPECT_EQ(word.word(), flags | 2U);
    EXPECT_FALSE(word.dec());
    EXPECT_EQ(word.word(), flags | 1U);
  }
}

TEST_P(ReferenceWordTest, AFlagIsSwitchedAlone) {
  for (const std::uint32_t flags : flagSets()) {
    for (const std::uint32_t flag : {0x20000000U, 0x40000000U, 0x80000000U}) {
      ReferenceWord word(flags | 5U);
      word.flagIs(flag, true);
      EXPECT_EQ(word.word(), flags | flag | 5U);
      EXPECT_TRUE(word.flag(flag));
      word.flagIs(flag, false);
      EXPECT_EQ(word.word(), (flags & ~flag) | 5U);
      EXPECT_FALSE(word.flag(flag));
    }
  }
}

TEST_P(ReferenceWordTest, TheLastCountIsReachedWithoutTouchingTheFlags) {
  for (const std::uint32_t flags : flagSets()) {
    ReferenceWord word(flags | 0x1FFFFFFEU);
    word.inc();
    EXPECT_EQ(word.word(), flags | 0x1FFFFFFFU);
    EXPECT_FALSE(word.dec());
  }
}

TEST_P(ReferenceWordTest, ACountThatWouldFlowIntoTheFlagsIsFatal) {
  for (const std::uint32_t flags : flagSets()) {
    ReferenceWord word(flags | 0x1FFFFFFFU);
    EXPECT_FATAL(word.inc(), "Kob/ReferenceWord.h", "void Kob::ReferenceWord::inc()",
                 "references() < 0x1FFFFFFF");
  }
}

TEST_P(ReferenceWordTest, GivingBackWhatNobodyHoldsIsFatal) {
  for (const std::uint32_t flags : flagSets()) {
    ReferenceWord word(flags);
    EXPECT_FATAL(static_cast<void>(word.dec()), "Kob/ReferenceWord.h",
                 "bool Kob::ReferenceWord::dec()", "references() > 0");
  }
}

/// Turns per thread: enough that the threads meet.
constexpr std::uint32_t turns = 1000000;

/// Runs `turn` in four threads that start together, again and again.
template <class Turn>
void inFourThreads(const Turn& turn) {
  std::latch start(4);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (std::uint32_t done = 0; done < turns; ++done) turn();
    });
  }
  for (std::thread& thread : threads) thread.join();
}

class ThreadSafeReferenceWord : public testing::Test {
 protected:
  void SetUp() override { ReferenceWord::threadSafe = true; }
  void TearDown() override { ReferenceWord::threadSafe = false; }
};

TEST_F(ThreadSafeReferenceWord, LosesNoCountAndNoFlag) {
  ReferenceWord word(1);
  inFourThreads([&word] {
    word.inc();
    word.flagIs(ReferenceWord::markedForDeletion, true);
    word.inc();
    word.flagIs(ReferenceWord::held, false);
    static_cast<void>(word.dec());
  });
  EXPECT_EQ(word.word(), ReferenceWord::markedForDeletion | (4 * turns + 1));
}

TEST_F(ThreadSafeReferenceWord, TellsExactlyOneThreadThatItsReferenceWasTheLast) {
  ReferenceWord word(4 * turns);
  std::atomic<int> lasts = 0;
  inFourThreads([&] {
    if (word.dec()) ++lasts;
  });
  EXPECT_EQ(lasts, 1);
  EXPECT_EQ(word.word(), 0U);
}

}  // namespace
}  // namespace KobTest
