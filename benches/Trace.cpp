// A trace point that is off.

#include "Kob/Trace.h"

#include "benches/Allocations.h"
#include "benches/Families.h"

namespace Benches {

namespace {

const Kob::TraceHandle& trace() {
  static const Kob::TraceHandle handle("Benches", false);
  return handle;
}

constexpr std::size_t pointsPerIteration = 1000;

void pointsOff(benchmark::State& state) {
  static_cast<void>(trace());  // found by its name at first use
  const Count count;
  for (auto _ : state) {
    for (std::size_t point = 0; point < pointsPerIteration; ++point) {
      KOB_TRACE(trace(), 7, "<unknown>", "pointsOff", "point " << point);
      benchmark::ClobberMemory();  // or the compiler counts them all at once
    }
  }
  count.report(state, pointsPerIteration);
}

}  // namespace

void addTrace() { add({"trace", "off", "ours", "point"}, pointsOff); }

}  // namespace Benches
