// The benchmark program. ./bench builds it, runs it and weighs what it reports against the goals.

#include <benchmark/benchmark.h>

#include "benches/Families.h"

namespace {

void addAll() {
  Benches::addLookup();
  Benches::addLookupL3Id();
  Benches::addMiss();
  Benches::addTableLookup();
  Benches::addChange();
  Benches::addIteration();
  Benches::addMemory();
  Benches::addAnnouncement();
  Benches::addPointer();
  Benches::addTrace();
  Benches::addWish();
  Benches::addRoad();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::AddCustomContext("compiler", BENCHES_COMPILER);
  addAll();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
