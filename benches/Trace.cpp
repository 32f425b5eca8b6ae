// A trace point that is off.

#include "Kob/Trace.h"

#include <string>

#include "benches/Allocations.h"
#include "benches/Families.h"

namespace Benches {

namespace {

/// As source files have it, one facility each, made at load.
template <int file>
const Kob::TraceHandle& traceHandle() {
  static const Kob::TraceHandle handle(("Benches" + std::to_string(file)).c_str(), false);
  return handle;
}
template <int file>
const Kob::TraceHandle& trace = traceHandle<file>();

constexpr std::size_t rounds = 250;

template <int file>
void point(std::size_t round) {
  KOB_TRACE(trace<file>, 7, "<unknown>", "point", "point " << round);
  benchmark::ClobberMemory();  // or the compiler counts them all at once
}

// In turn over four facilities, so that no count waits for the store of the one before.
void pointsOff(benchmark::State& state) {
  for (const auto* handle : {&trace<0>, &trace<1>, &trace<2>, &trace<3>}) {
    handle->facility().onIs(false);
  }
  const Count count;
  for (auto _ : state) {
    for (std::size_t round = 0; round < rounds; ++round) {
      point<0>(round);
      point<1>(round);
      point<2>(round);
      point<3>(round);
    }
  }
  count.report(state, 4 * rounds);
}

}  // namespace

void addTrace() { add({"trace", "off", "ours", "point"}, pointsOff); }

}  // namespace Benches
