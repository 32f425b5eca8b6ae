// What allocates, and what stands when memory runs out: the n-th allocation fails, for every n
// until none does.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "FyrL3Intf/FyrL3IntfTable.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

/// The heap as the whole program sees it, through the operators below.
struct Heap {
  static constexpr std::size_t never = static_cast<std::size_t>(-1);

  std::size_t allocations = 0;
  std::size_t live = 0;
  /// How many allocations succeed before one fails.
  std::size_t failAfter = never;

  void* allocate(std::size_t size) noexcept {
    if (failAfter != never && failAfter-- == 0) return nullptr;
    ++allocations;
    ++live;
    return std::malloc(size == 0 ? 1 : size);
  }
  void release(void* block) noexcept {
    if (block == nullptr) return;
    --live;
    std::free(block);
  }
};

Heap heap;

void* orThrow(void* block) {
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

/// Calls `call` again and again, with the first allocation failing, the second, and so on, until it
/// is through. `afterFailure` looks at what stands after each failure. GoogleTest allocates too, so
/// nothing is expected while allocations fail or are counted.
template <class Call, class AfterFailure>
void failEachAllocationOf(const Call& call, const AfterFailure& afterFailure) {
  constexpr std::size_t enough = 1000;
  for (std::size_t n = 0; n < enough; ++n) {
    heap.failAfter = n;
    try {
      call();
      heap.failAfter = Heap::never;
      return;
    } catch (const std::bad_alloc&) {
      heap.failAfter = Heap::never;
      afterFailure();
    }
  }
  FAIL() << "no end of allocations";
}

/// The allocations of the call.
template <class Call>
std::size_t allocationsOf(const Call& call) {
  const std::size_t before = heap.allocations;
  call();
  return heap.allocations - before;
}

}  // namespace
}  // namespace FyrL3Intf::Tests

void* operator new(std::size_t size) {
  using namespace FyrL3Intf::Tests;
  return orThrow(heap.allocate(size));
}
void* operator new[](std::size_t size) {
  using namespace FyrL3Intf::Tests;
  return orThrow(heap.allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return FyrL3Intf::Tests::heap.allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return FyrL3Intf::Tests::heap.allocate(size);
}
void operator delete(void* block) noexcept { FyrL3Intf::Tests::heap.release(block); }
void operator delete[](void* block) noexcept { FyrL3Intf::Tests::heap.release(block); }
void operator delete(void* block, std::size_t) noexcept { FyrL3Intf::Tests::heap.release(block); }
void operator delete[](void* block, std::size_t) noexcept { FyrL3Intf::Tests::heap.release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept {
  FyrL3Intf::Tests::heap.release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  FyrL3Intf::Tests::heap.release(block);
}

namespace FyrL3Intf::Tests {
namespace {

TEST(Memory, TheHeapSeesWhatTheLibrariesAllocate) {
  EXPECT_GT(allocationsOf([] { tableFactory("table", false); }), 0U);
}

TEST(Memory, ALookUpThatHitsAllocatesNothing) {
  const auto table = tableFactory("table", false);
  const Plexo::IntfId intf("AnInterfaceWithALongName1/2/3.4000");
  const L3Id l3Id(0xFFFFFFFFFFFFFFFF);
  table->intfL3IndexIs(intf, l3Id);
  table->routedPortNameIs(l3Id, intf);
  // The first one in a process finds its trace facility.
  bool found = table->intfIdToL3Id(intf) == l3Id;
  EXPECT_EQ(allocationsOf([&] {
              found = table->intfIdToL3Id(intf) == l3Id && table->l3IdToIntfId(l3Id) == intf &&
                      table->routedPortName(l3Id) == intf && table->intfL3Index(intf) == l3Id;
            }),
            0U);
  EXPECT_TRUE(found);
}

/// A table that is full, so that one entry more makes it grow.
class TableWithoutMemory : public testing::Test {
 protected:
  Kob::Ptr<Table> table = tableFactory("table", false);
  std::string before;

  void SetUp() override {
    for (const char* const name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}) {
      const Plexo::IntfId intf(name);
      table->intfL3IndexIs(intf, L3Id(intf.hash()));
      table->routedPortNameIs(L3Id(intf.hash()), intf);
    }
    before = textOf(*table);
  }
};

TEST_F(TableWithoutMemory, ANewInterfaceThatFailsIsNotThereAndNotCounted) {
  failEachAllocationOf([&] { table->intfL3IndexIs("Ethernet5"_intf, L3Id(5)); },
                       [&] { EXPECT_EQ(textOf(*table), before); });
  EXPECT_EQ(table->intfL3Index("Ethernet5"_intf), L3Id(5));
  EXPECT_EQ(table->changeCount(), 9U);
}

TEST_F(TableWithoutMemory, ANewIdentifierThatFailsIsNotThereAndNotCounted) {
  failEachAllocationOf([&] { table->routedPortNameIs(L3Id(5), "Ethernet5"_intf); },
                       [&] { EXPECT_EQ(textOf(*table), before); });
  EXPECT_EQ(table->routedPortName(L3Id(5)), "Ethernet5"_intf);
  EXPECT_EQ(table->changeCount(), 9U);
}

TEST_F(TableWithoutMemory, ARawInsertionThatFailsChangesNothing) {
  failEachAllocationOf([&] { table->newIntfL3Index("Ethernet5"_intf, L3Id(5)); },
                       [&] { EXPECT_EQ(textOf(*table), before); });
  EXPECT_EQ(table->intfL3Indexs(), 5U);
}

TEST_F(TableWithoutMemory, AnOverwriteAndARemovalNeedNone) {
  const auto known = "Ethernet1"_intf;
  EXPECT_EQ(allocationsOf([&] {
              table->intfL3IndexIs(known, L3Id(5));
              table->routedPortNameIs(L3Id(known.hash()), known);
              table->intfL3IndexDel(known);
              table->intfL3IndexDelAll();
              table->routedPortNameDelAll();
            }),
            0U);
}

TEST(MemoryOfTheFactory, ATableThatFailsLeavesNothingBehind) {
  const Kob::Name name("a table with a name");
  tableFactory(name, true);
  const std::size_t live = heap.live;
  failEachAllocationOf([&] { tableFactory(name, true); }, [&] { EXPECT_EQ(heap.live, live); });
  EXPECT_EQ(heap.live, live);
}

TEST(MemoryOfTheFactory, AMachineThatFailsLeavesNothingBehind) {
  World world(noInternalVlans);
  world.start();
  world.machine = nullptr;
  const std::size_t live = heap.live;
  failEachAllocationOf([&] { world.start(); },
                       [&] {
                         EXPECT_EQ(heap.live, live);
                         EXPECT_FALSE(world.machine);
                         EXPECT_EQ(world.config->kobNotifiees().members(), 0U);
                         EXPECT_EQ(world.config->references(), 1U);
                         EXPECT_EQ(world.table->references(), 1U);
                         EXPECT_EQ(world.activity->references(), 1U);
                       });
  world.machine = nullptr;
  EXPECT_EQ(heap.live, live);
}

TEST(MemoryOfNames, ANameThatFailsIsNotKept) {
  const Kob::String8 name("ANameThatNeedsMemory");
  const std::size_t names = Plexo::intfNames();
  Plexo::IntfId intf;
  failEachAllocationOf([&] { intf = Plexo::IntfId(name); },
                       [&] { EXPECT_EQ(Plexo::intfNames(), names); });
  EXPECT_EQ(Plexo::intfNames(), names + 1);
  EXPECT_EQ(intf, Plexo::IntfId(name));
}

TEST(MemoryOfInterfaceSets, ASetThatFailsToBeAssignedKeepsItsEntries) {
  ConfigSm::IntfSet source;
  ConfigSm::IntfSet target;
  for (const char* const name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    source.memberIs(Plexo::IntfId(name), true);
  }
  target.memberIs("Ethernet9"_intf, false);
  const ConfigSm::IntfSet old(target);
  failEachAllocationOf([&] { target = source; }, [&] { EXPECT_EQ(target, old); });
  EXPECT_EQ(target, source);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
