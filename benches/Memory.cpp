// Bytes per entry at a million entries: what the resident memory of a process grows by, which
// counts everything, however it was asked for. "default" is a collection that has just been filled
// and stands before its next doubling, "reachable" the same after it was told to put two entries
// into each bucket.

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

/// What `measure()` answers in a child of this process, so that it leaves nothing behind that
/// another measurement would find; negative when the child failed.
template <class Measure>
double inChild(const Measure& measure) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    const double value = measure();
    _exit(write(ends[1], &value, sizeof value) == sizeof value ? 0 : 1);
  }
  close(ends[1]);
  double value = -1;
  if (read(ends[0], &value, sizeof value) != sizeof value) value = -1;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return value;
}

/// What `grow()` adds to the resident memory.
template <class Grow>
double bytesOf(const Grow& grow) {
  malloc_trim(0);
  const double before = residentBytes();
  grow();
  malloc_trim(0);
  return residentBytes() - before;
}

/// `finish(map)` is done to the full collection.
template <class Map, class Finish>
void bytesPerEntry(benchmark::State& state, std::size_t about, const Finish& finish) {
  const double full = inChild(
      [=] { return static_cast<double>(entriesAt<IntfId, Map>(about, Load::beforeDoubling)); });
  if (full < 0) return state.SkipWithError("the child failed");
  const auto entries = static_cast<std::size_t>(full);
  const auto order = shuffled(keys<IntfId>(entries));
  for (auto _ : state) {
    const double bytes = inChild([&] {
      return bytesOf([&] {
        static Map map;  // not destroyed before the memory has been looked at
        for (const IntfId key : order) map.insert(key, L3Id(1));
        finish(map);
      });
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
  addMap<Ours>("reachable", [](Ours& map) { map.bucketsIs(map.map().members() / 2); });
}

}  // namespace Benches
