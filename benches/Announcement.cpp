// Announcing one change of the table to its notifiees.

#include "benches/Allocations.h"
#include "benches/Broadcasts.h"
#include "benches/Families.h"
#include "benches/Keys.h"

namespace Benches {

namespace {

using Plexo::IntfId;

constexpr std::array<Size, 5> audiences = {
    {{"1", 1}, {"4", 4}, {"16", 16}, {"64", 64}, {"1024", 1024}}};

/// One item per call of `announce(intfId)`.
template <class Announce>
void announcements(benchmark::State& state, const Announce& announce) {
  constexpr std::size_t portCount = 1024;  // a power of two, so that taking turns costs nothing
  const auto ports = keys<IntfId>(portCount);
  announce(ports[0]);  // what only the first announcement does
  const Count count;
  std::size_t at = 0;
  for (auto _ : state) {
    announce(ports[at % portCount]);
    ++at;
  }
  count.report(state, 1);
}

void ours(benchmark::State& state, std::size_t notifiees) {
  const auto table = FyrL3Intf::tableFactory("table", false);
  const Listeners listeners(table, notifiees);
  announcements(state, [&table](IntfId intfId) { table->intfL3IndexNotify(intfId); });
}

template <class Broadcast>
void theirs(benchmark::State& state, std::size_t receivers) {
  Broadcast broadcast;
  const Audience audience(broadcast, receivers);
  announcements(state, [&broadcast](IntfId intfId) { broadcast(intfId); });
}

template <class Broadcast>
void addTheirs(const Size& size) {
  add({"announcement", "walk", Broadcast::name, size.label},
      [=](benchmark::State& state) { theirs<Broadcast>(state, size.entries); });
}

}  // namespace

void addAnnouncement() {
  for (const Size& size : audiences) {
    add({"announcement", "walk", "ours", size.label},
        [=](benchmark::State& state) { ours(state, size.entries); });
    addTheirs<VirtualLoop>(size);
    addTheirs<Functions>(size);
#ifdef BENCHES_BOOST
    addTheirs<Signals2>(size);
    addTheirs<Signals2NoMutex>(size);
#endif
#ifdef BENCHES_SIGC
    addTheirs<Sigc>(size);
#endif
#ifdef BENCHES_QT
    addTheirs<Qt5>(size);
#endif
  }
}

}  // namespace Benches
