#pragma once

// Counts what the process takes from the heap. The benches' `operator new` counts each call, those
// of the libraries included.

#include <benchmark/benchmark.h>

#include <cstdint>

namespace Benches {

/// How often `operator new` was called so far, in any form.
[[nodiscard]] std::uint64_t allocations() noexcept;

/// What a benchmark does per item: made right before the measured loop, told after it.
class Count {
 public:
  Count() noexcept : allocationsBefore_(allocations()) {}

  /// Reports `itemsPerIteration` items for each iteration, and the allocations per item.
  void report(benchmark::State& state, std::size_t itemsPerIteration) const {
    const auto taken = allocations() - allocationsBefore_;
    const auto items = state.iterations() * static_cast<std::int64_t>(itemsPerIteration);
    state.SetItemsProcessed(items);
    state.counters["allocationsPerItem"] = static_cast<double>(taken) / static_cast<double>(items);
  }

 private:
  std::uint64_t allocationsBefore_;
};

}  // namespace Benches
