#pragma once

// The two ways to measure a look-up: many that do not depend on each other, so that the processor
// overlaps them, and a chain of which each waits for the one before.

#include <benchmark/benchmark.h>

#include <bit>
#include <cstdint>
#include <span>

#include "benches/Allocations.h"
#include "benches/Keys.h"

namespace Benches {

/// A key or value as one word.
template <class T>
[[nodiscard]] std::uint64_t word(const T& value) noexcept {
  return std::bit_cast<std::uint64_t>(value);
}

/// One item per probe. `at(key)` is the look-up.
template <class Key, class At>
void independentLookups(benchmark::State& state, std::span<const Key> probes, const At& at) {
  Blocks<Key> blocks(probes);
  benchmark::DoNotOptimize(word(at(probes.front())));  // what only the first look-up does
  const Count count;
  for (auto _ : state) {
    std::uint64_t sum = 0;
    for (const Key& key : blocks.next()) sum += word(at(key));
    benchmark::DoNotOptimize(sum);
  }
  count.report(state, blockLength);
}

/// The same, but each key is made from the value found before it. REQUIRES: values whose top bit is
/// not set, so that the key stays what it is; the compiler does not know that.
template <class Key, class At>
void dependentLookups(benchmark::State& state, std::span<const Key> probes, const At& at) {
  Blocks<Key> blocks(probes);
  constexpr unsigned topBit = 63;
  const Count count;
  for (auto _ : state) {
    std::uint64_t found = 0;
    for (const Key& key : blocks.next()) {
      found = word(at(std::bit_cast<Key>(word(key) ^ (found >> topBit))));
    }
    benchmark::DoNotOptimize(found);
  }
  count.report(state, blockLength);
}

}  // namespace Benches
