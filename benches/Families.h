#pragma once

// The families of benchmarks: one per hot path, each in a file of its own. A benchmark is called
//
//   family/case/contender/size             or, for collections,
//   family/case/contender/size/load
//
// where the contender is "ours" or another library's name. It reports items (look-ups,
// announcements, events) and the heap allocations per item.

#include <benchmark/benchmark.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace Benches {

/// The parts of a name, joined by slashes.
[[nodiscard]] inline std::string joined(std::initializer_list<const char*> parts) {
  std::string name;
  for (const char* const part : parts) {
    if (!name.empty()) name += '/';
    name += part;
  }
  return name;
}

/// Registers `run(state)` under this name. Nothing is prepared before it runs.
template <class Run>
benchmark::internal::Benchmark* add(std::initializer_list<const char*> name, Run run) {
  return benchmark::RegisterBenchmark(joined(name).c_str(), std::move(run));
}

void addLookup();
void addLookupL3Id();
void addMiss();
void addTableLookup();
void addChange();
void addIteration();
void addMemory();
void addAnnouncement();
void addPointer();
void addTrace();
void addWish();
void addRoad();

}  // namespace Benches
