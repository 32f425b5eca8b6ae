// Copying a counted pointer and releasing the copy, while the object is hot: our pointer with the
// switch for threads off and on, and the pointers of others with plain and atomic counts.

#include <array>
#include <cstdint>
#include <memory>
#include <thread>

#ifdef BENCHES_BOOST
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#endif

#include "Kob/PtrInterface.h"
#include "benches/Allocations.h"
#include "benches/Families.h"

namespace Benches {

namespace {

class OurObject final : public Kob::PtrInterface {};

#ifdef BENCHES_BOOST
template <class Counter>
class BoostObject final : public boost::intrusive_ref_counter<BoostObject<Counter>, Counter> {
 public:
  virtual ~BoostObject() = default;
};
#endif

/// The switch for threads, on while this lives.
class ThreadSafe {
 public:
  explicit ThreadSafe(bool on) { Kob::VFPtrInterface::enableThreadSafePointers = on; }
  ThreadSafe(const ThreadSafe&) = delete;
  ThreadSafe& operator=(const ThreadSafe&) = delete;
  ~ThreadSafe() { Kob::VFPtrInterface::enableThreadSafePointers = false; }
};

/// One item per copy and its release. In turn over several objects, so that no count waits for the
/// store of the one before.
template <class Pointer, class Make>
void copies(benchmark::State& state, const Make& make) {
  std::array<Pointer, 64> pointers;
  for (auto& pointer : pointers) pointer = make();
  const Count count;
  for (auto _ : state) {
    for (const auto& pointer : pointers) {
      const Pointer copy = pointer;
      benchmark::ClobberMemory();  // or the compiler cancels the two counts
    }
  }
  count.report(state, pointers.size());
}

void ours(benchmark::State& state, bool threadSafe) {
  const ThreadSafe scope(threadSafe);
  copies<Kob::Ptr<OurObject>>(state, [] { return Kob::Ptr<OurObject>(new OurObject); });
}

void shared(benchmark::State& state) {
  // Until a process has made its first thread, the standard library spares the atomic counts.
  std::thread([] {}).join();
  copies<std::shared_ptr<int>>(state, [] { return std::make_shared<int>(1); });
}

#ifdef BENCHES_BOOST
template <class Counter>
void boosts(benchmark::State& state) {
  using Object = BoostObject<Counter>;
  copies<boost::intrusive_ptr<Object>>(state,
                                       [] { return boost::intrusive_ptr<Object>(new Object); });
}
#endif

}  // namespace

void addPointer() {
  add({"pointer", "copy", "ours", "plain"}, [](auto& state) { ours(state, false); });
  add({"pointer", "copy", "ours", "atomic"}, [](auto& state) { ours(state, true); });
  add({"pointer", "copy", "stdShared", "atomic"}, shared);
#ifdef BENCHES_BOOST
  add({"pointer", "copy", "boost", "plain"}, boosts<boost::sp_adl_block::thread_unsafe_counter>);
  add({"pointer", "copy", "boost", "atomic"}, boosts<boost::sp_adl_block::thread_safe_counter>);
#endif
}

}  // namespace Benches
