// The allocator, driven by its two operations.

#include "Kob/Slab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <latch>
#include <map>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "Kob/PtrInterface.h"

namespace KobTest {
namespace {

using Kob::Slab;

/// Never destroyed, as the framework's own: it does not give its pages back.
Slab& slab() {
  static Slab& cells = *new Slab(true);
  return cells;
}

/// A cell that is filled with a byte of its own, so that whoever else writes to it is found out.
class Cell {
 public:
  Cell(std::size_t size, unsigned char mark)
      : memory_(slab().allocate(size)), size_(size), mark_(mark) {
    std::memset(memory_, mark, size);
  }
  Cell(Cell&& other) noexcept
      : memory_(std::exchange(other.memory_, nullptr)), size_(other.size_), mark_(other.mark_) {}
  Cell& operator=(Cell&& other) noexcept {
    std::swap(memory_, other.memory_);
    std::swap(size_, other.size_);
    std::swap(mark_, other.mark_);
    return *this;
  }
  ~Cell() {
    if (memory_ != nullptr) slab().release(memory_, size_);
  }

  [[nodiscard]] std::uintptr_t address() const { return reinterpret_cast<std::uintptr_t>(memory_); }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool isIntact() const {
    const auto* const bytes = static_cast<const unsigned char*>(memory_);
    return std::all_of(bytes, bytes + size_, [this](unsigned char byte) { return byte == mark_; });
  }

 private:
  void* memory_;
  std::size_t size_;
  unsigned char mark_;
};

std::vector<Cell> cellsOf(std::size_t size, int count) {
  std::vector<Cell> cells;
  for (int at = 0; at < count; ++at) cells.emplace_back(size, static_cast<unsigned char>(at));
  return cells;
}

TEST(Slab, GivesMemoryOfItsOwnToEachOfAnySize) {
  std::vector<Cell> cells;
  for (std::size_t size = 1; size <= Slab::maxSize + 64; ++size) {
    for (int again = 0; again < 3; ++again) {
      cells.emplace_back(size, static_cast<unsigned char>(cells.size()));
    }
  }
  std::sort(cells.begin(), cells.end(),
            [](const Cell& a, const Cell& b) { return a.address() < b.address(); });
  for (std::size_t at = 0; at < cells.size(); ++at) {
    EXPECT_TRUE(cells[at].isIntact()) << cells[at].size();
    if (at == 0) continue;
    EXPECT_GE(cells[at].address(), cells[at - 1].address() + cells[at - 1].size());
  }
}

TEST(Slab, AlignsToEightAndToSixteenWhereTheSizeIsAMultipleOfIt) {
  for (std::size_t size = 8; size <= Slab::maxSize; size += 8) {
    for (const Cell& cell : cellsOf(size, 100)) {
      EXPECT_EQ(cell.address() % (size % 16 == 0 ? 16 : 8), 0U) << size;
    }
  }
}

TEST(Slab, HandsOutWhatWasReleasedLastFirst) {
  constexpr std::size_t size = 264;
  void* const memory = slab().allocate(size);
  slab().release(memory, size);
  void* const again = slab().allocate(size);
  EXPECT_EQ(again, memory);
  slab().release(again, size);
}

TEST(Slab, TakesReleasesInAnyOrder) {
  std::mt19937 random(1);
  std::vector<Cell> cells;
  for (int step = 0; step < 20000; ++step) {
    if (cells.empty() || random() % 5 < 3) {
      const std::size_t size = 8 * (1 + random() % 6);
      cells.emplace_back(size, static_cast<unsigned char>(random()));
    } else {
      std::swap(cells[random() % cells.size()], cells.back());
      ASSERT_TRUE(cells.back().isIntact()) << step;
      cells.pop_back();
    }
  }
  for (const Cell& cell : cells) ASSERT_TRUE(cell.isIntact());
}

TEST(Slab, FillsAPageBeforeItTakesAnother) {
  constexpr std::size_t size = 360;
  constexpr std::uintptr_t pageSize = 16384;
  std::map<std::uintptr_t, int> cellsInPage;
  for (const Cell& cell : cellsOf(size, 200)) ++cellsInPage[cell.address() / pageSize];
  EXPECT_EQ(cellsInPage.size(), 5U) << "each page has room for 45";
}

TEST(Slab, TakesBackCellsOfEverySize) {
  for (int round = 0; round < 3; ++round) {
    std::vector<std::vector<Cell>> all;
    for (std::size_t size = 1; size <= 33; ++size) all.push_back(cellsOf(size, 100));
    for (const auto& cells : all) {
      ASSERT_TRUE(std::ranges::all_of(cells, &Cell::isIntact)) << cells.front().size();
    }
  }
}

TEST(Slab, CarvesAnEmptiedPageAnewInAddressOrder) {
  constexpr std::size_t size = 248;
  constexpr int count = 13000;  // 200 pages
  auto cells = cellsOf(size, count);
  std::shuffle(cells.begin(), cells.end(), std::mt19937(2));
  cells.clear();
  const auto again = cellsOf(size, count);
  int ascending = 0;
  for (int at = 1; at < count; ++at) {
    const std::uintptr_t before = again[static_cast<std::size_t>(at) - 1].address();
    ascending += static_cast<int>(again[static_cast<std::size_t>(at)].address() == before + size);
  }
  // But for the cells of the stack, for those of the pages that it kept from becoming empty, and
  // where one page ends and the next begins.
  EXPECT_GT(ascending, count / 2);
}

TEST(Slab, TakesASizeOfNothingFromTheHeap) {
  void* const memory = slab().allocate(0);
  EXPECT_NE(memory, nullptr);
  slab().release(memory, 0);
}

TEST(Slab, PassesEverythingOnToTheHeapWhereItHasNoCells) {
  static Slab heap(false);
  void* const memory = heap.allocate(40);
  heap.release(memory, 40);
  // What was released stays with the slab only where it has cells.
  ASSERT_NE(memory, nullptr);
  void* const cell = slab().allocate(40);
  slab().release(cell, 40);
  EXPECT_EQ(slab().allocate(40), cell);
  slab().release(cell, 40);
}

/// While it lives, reference counts are atomic.
class ThreadSafePointers {
 public:
  ThreadSafePointers() { Kob::VFPtrInterface::enableThreadSafePointers = true; }
  ThreadSafePointers(const ThreadSafePointers&) = delete;
  ThreadSafePointers& operator=(const ThreadSafePointers&) = delete;
  ~ThreadSafePointers() { Kob::VFPtrInterface::enableThreadSafePointers = false; }
};

TEST(Slab, ServesSeveralThreadsWhileReferenceCountsAreAtomic) {
  const ThreadSafePointers threadSafe;
  std::vector<char> intact(4, 0);
  std::vector<std::thread> threads;
  std::latch together(4);
  for (std::size_t at = 0; at < intact.size(); ++at) {
    threads.emplace_back([at, &intact, &together] {
      together.arrive_and_wait();
      bool good = true;
      for (int round = 0; round < 500; ++round) {
        const auto cells = cellsOf(40, 100);
        good = good && std::all_of(cells.begin(), cells.end(),
                                   [](const Cell& cell) { return cell.isIntact(); });
      }
      intact[at] = good ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(intact, std::vector<char>(4, 1));
}

}  // namespace
}  // namespace KobTest
