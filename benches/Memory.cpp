// Bytes per entry at a million entries: what the resident memory of a process grows by, which
// counts everything, however it was asked for. "default" is a collection that has just been filled
// and stands before its next doubling, "reachable" the same after it was told how many buckets to
// have.

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "benches/Families.h"
#include "benches/Load.h"
#include "benches/Maps.h"

namespace Benches {

namespace {

using FyrL3Intf::L3Id;
using Plexo::IntfId;

double residentBytes() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// What `grow()` adds to the resident memory of a child of this process, so that one measurement
/// finds nothing that another left behind; negative when the child failed.
template <class Grow>
double bytesInChild(const Grow& grow) {
  malloc_trim(0);
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    const double before = residentBytes();
    grow();
    malloc_trim(0);
    const double bytes = residentBytes() - before;
    _exit(write(ends[1], &bytes, sizeof bytes) == sizeof bytes ? 0 : 1);
  }
  close(ends[1]);
  double bytes = -1;
  if (read(ends[0], &bytes, sizeof bytes) != sizeof bytes) bytes = -1;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return bytes;
}

/// `finish(map)` is done to the full collection.
template <class Map, class Finish>
void bytesPerEntry(benchmark::State& state, std::size_t about, const Finish& finish) {
  const auto entries = entriesAt<IntfId, Map>(about, Load::beforeDoubling);
  const auto order = shuffled(keys<IntfId>(entries));
  for (auto _ : state) {
    const double bytes = bytesInChild([&] {
      static Map map;  // not destroyed before the memory has been looked at
      for (const IntfId key : order) map.insert(key, L3Id(1));
      finish(map);
    });
    if (bytes < 0) state.SkipWithError("the child failed");
    state.counters["bytesPerEntry"] = bytes / static_cast<double>(entries);
  }
}

template <class Map, class Finish>
void addMap(const char* name, Finish finish) {
  const Size& size = sizes.back();
  add({"memory", name, Map::name, size.label},
      [=](benchmark::State& state) { bytesPerEntry<Map>(state, size.entries, finish); })
      ->Iterations(1)
      ->Repetitions(1);  // always the same
}

}  // namespace

void addMemory() {
  using Ours = OurMap<IntfId, L3Id>;
  forEachMap<IntfId, L3Id>([]<class Map>() { addMap<Map>("default", [](Map&) {}); });
  addMap<Ours>("reachable", [](Ours& map) { map.bucketsIs(map.map().members()); });
}

}  // namespace Benches
