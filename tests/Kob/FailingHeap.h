#pragma once

// The heap of a test program, which counts what is alive and fails on demand.
//
// FailingHeap.cpp replaces the global operators new and delete, so the whole program has it, the
// libraries included. GoogleTest allocates too: expect nothing while allocations fail or are
// counted.

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

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

}  // namespace FailingHeap

/// What came of an operation during which allocations may have failed.
struct Outcome {
  /// Whether an allocation failed.
  bool failed = false;
  /// Whether std::bad_alloc came out.
  bool thrown = false;
};

/// Calls `act` with the allocation after `successes` failing.
template <class Act>
Outcome failingAfter(std::size_t successes, const Act& act, Failing mode = Failing::once) {
  Outcome outcome;
  FailingHeap::failAfter(successes, mode);
  try {
    act();
  } catch (const std::bad_alloc&) {
    outcome.thrown = true;
  }
  outcome.failed = FailingHeap::mend();
  return outcome;
}

/// Calls `act` with its first allocation failing, then with its second, and so on until none fails;
/// `check` looks at what stands after each failure. Each failure comes out as std::bad_alloc.
/// Returns how many there were.
template <class Act, class Check>
int failingEachAllocationOf(const Act& act, const Check& check, Failing mode = Failing::once) {
  constexpr int enough = 100000;
  for (int successes = 0; successes < enough; ++successes) {
    const Outcome outcome = failingAfter(static_cast<std::size_t>(successes), act, mode);
    EXPECT_EQ(outcome.thrown, outcome.failed) << "allocation " << successes;
    if (!outcome.failed) return successes;
    check();
  }
  ADD_FAILURE() << "no end of allocations";
  return enough;
}

/// The allocations of the call.
template <class Act>
int allocationsOf(const Act& act) {
  const std::size_t before = FailingHeap::allocations();
  act();
  return static_cast<int>(FailingHeap::allocations() - before);
}

}  // namespace KobTest
