#pragma once

// The heap of a test program, which counts what is alive and fails on demand.
//
// FailingHeap.cpp replaces the global operators new and delete, so the whole program has it, the
// libraries included. GoogleTest allocates too: expect nothing while allocations fail or are
// counted.

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <new>
#include <span>
#include <typeinfo>

namespace KobTest {

/// How an allocation fails: alone, or with all that follow it.
enum class Failing { once, fromThereOn };

namespace FailingHeap {

/// The next allocations succeed, `successes` of them, then it fails.
void failAfter(std::size_t successes, Failing mode = Failing::once) noexcept;
/// Allocations succeed again. Returns whether one has failed since `failAfter`.
bool mend() noexcept;

/// Allocations that succeeded so far.
[[nodiscard]] std::size_t allocations() noexcept;
/// Blocks that are allocated now.
[[nodiscard]] std::size_t live() noexcept;
/// Bytes of the allocation that failed last.
[[nodiscard]] std::size_t refused() noexcept;

/// Calls `look` before each allocation from now on, but for those that it makes itself; null ends
/// that. Not owned.
void lookIs(const std::function<void()>* look) noexcept;

}  // namespace FailingHeap

/// What came of an operation during which allocations may have failed.
struct Outcome {
  /// How many succeeded before.
  std::size_t successes = 0;
  /// Whether an allocation failed.
  bool failed = false;
  /// Whether std::bad_alloc came out, and no exception derived from it.
  bool thrown = false;
};

/// Calls `act` with the allocation after `successes` failing.
template <class Act>
Outcome failingAfter(std::size_t successes, const Act& act, Failing mode = Failing::once) {
  Outcome outcome{successes};
  FailingHeap::failAfter(successes, mode);
  try {
    act();
  } catch (const std::bad_alloc& failure) {
    outcome.thrown = typeid(failure) == typeid(std::bad_alloc);
  }
  outcome.failed = FailingHeap::mend();
  return outcome;
}

inline constexpr Failing allModes[] = {Failing::fromThereOn, Failing::once};

/// Calls `act` with its first allocation failing, then with its second, and so on until none fails,
/// each of them in each of the modes; `check` looks at each outcome. So `act` has to stay what it
/// is when it fails. Returns how many allocations failed.
template <class Act, class Check>
int outcomesOfEachAllocation(const Act& act, const Check& check,
                             std::span<const Failing> modes = allModes) {
  constexpr int enough = 100000;
  int failures = 0;
  for (int successes = 0; successes < enough; ++successes) {
    for (const Failing mode : modes) {
      const Outcome outcome = failingAfter(static_cast<std::size_t>(successes), act, mode);
      check(outcome);
      if (!outcome.failed) return failures;
      failures = successes + 1;
    }
  }
  ADD_FAILURE() << "no end of allocations";
  return enough;
}

/// The same of an operation out of which each failure comes as std::bad_alloc; `check` looks at
/// what stands after each. The operation succeeds once, at the end.
template <class Act, class Check>
int failingEachAllocationOf(const Act& act, const Check& check,
                            std::span<const Failing> modes = allModes) {
  return outcomesOfEachAllocation(
      act,
      [&](const Outcome& outcome) {
        EXPECT_EQ(outcome.thrown, outcome.failed) << "allocation " << outcome.successes;
        if (outcome.failed) check();
      },
      modes);
}
/// The same in one mode alone.
template <class Act, class Check>
int failingEachAllocationOf(const Act& act, const Check& check, Failing mode) {
  return failingEachAllocationOf(act, check, std::span(&mode, 1));
}

/// The allocations of the call.
template <class Act>
int allocationsOf(const Act& act) {
  const std::size_t before = FailingHeap::allocations();
  act();
  return static_cast<int>(FailingHeap::allocations() - before);
}

}  // namespace KobTest
