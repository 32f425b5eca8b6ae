#include "Kob/Slab.h"

#include <new>
#include <utility>

namespace Kob {

namespace {

constexpr std::size_t pageSize = std::size_t{16} * 1024;
// Pages come from the heap by the block: it would lose a third of each single one to its alignment.
constexpr std::size_t blockPages = 64;

struct FreeCell {
  FreeCell* next;
};

}  // namespace

#ifdef KOB_SLAB
constinit Slab objectSlab(true);
#else
constinit Slab objectSlab(false);
#endif

/// The head of a page; its cells follow. A page is found from a cell by its address.
struct alignas(16) Slab::Page {
  static Page* of(void* cell) noexcept {
    const std::size_t offset = reinterpret_cast<std::uintptr_t>(cell) & (pageSize - 1);
    return reinterpret_cast<Page*>(static_cast<char*>(cell) - offset);
  }
  static std::uint32_t cells(std::size_t cellSize) noexcept {
    return static_cast<std::uint32_t>((pageSize - sizeof(Page)) / cellSize);
  }

  /// A free cell of the page, which has one.
  void* take(std::size_t cellSize) noexcept {
    ++used;
    if (FreeCell* const cell = free) {
      free = cell->next;
      return cell;
    }
    return reinterpret_cast<char*>(this) + sizeof(Page) + carved++ * cellSize;
  }
  void giveBack(void* cell) noexcept {
    if (--used == 0) {
      free = nullptr;
      carved = 0;
    } else {
      free = new (cell) FreeCell{free};
    }
  }

  FreeCell* free = nullptr;
  // Cells from here on have never been used since the page was carved.
  std::size_t carved = 0;
  std::uint32_t used = 0;
  // The next page with free cells.
  Page* next = nullptr;
};

void* Slab::allocateSlowly(std::size_t size) {
  if (room_ == 0 || size - 1 >= maxSize) return ::operator new(size);
  std::unique_lock lock(mutex_, std::defer_lock);
  if (ReferenceWord::threadSafe) lock.lock();
  Magazine& magazine = magazineOf(size);
  if (magazine.count == 0) fill(size);
  return magazine.cells[--magazine.count];
}

void Slab::releaseSlowly(void* memory, std::size_t size) noexcept {
  if (room_ == 0 || size - 1 >= maxSize) return ::operator delete(memory);
  std::unique_lock lock(mutex_, std::defer_lock);
  if (ReferenceWord::threadSafe) lock.lock();
  Magazine& magazine = magazineOf(size);
  if (magazine.count == magazineSize) drain(size);
  magazine.cells[magazine.count++] = memory;
}

/// The next page of the block, or the first of another one.
void* Slab::newPage() {
  if (pagesLeft_ == 0) {
    pages_ = static_cast<char*>(::operator new(blockPages * pageSize, std::align_val_t(pageSize)));
    pagesLeft_ = blockPages;
  }
  --pagesLeft_;
  return std::exchange(pages_, pages_ + pageSize);
}

/// Half a magazine of cells, so that the next come from it too; fewer when the page has fewer.
void Slab::fill(std::size_t size) {
  const std::size_t at = (size - 1) / granularity;
  const std::size_t cellSize = (at + 1) * granularity;
  Page*& available = available_[at];
  if (available == nullptr) available = new (newPage()) Page;
  Page& page = *available;
  const std::uint32_t left = Page::cells(cellSize) - page.used;
  const std::uint32_t count = left < magazineSize / 2 ? left : magazineSize / 2;
  Magazine& magazine = magazines_[at];
  // The first that is taken is the first that is handed out.
  for (std::uint32_t cell = count; cell-- > 0;) magazine.cells[cell] = page.take(cellSize);
  magazine.count = count;
  if (count == left) available = page.next;
}

/// The older half of a full magazine goes back to its pages.
void Slab::drain(std::size_t size) noexcept {
  const std::size_t at = (size - 1) / granularity;
  const std::uint32_t full = Page::cells((at + 1) * granularity);
  constexpr std::size_t half = magazineSize / 2;
  Magazine& magazine = magazines_[at];
  for (std::size_t cell = 0; cell < half; ++cell) {
    void* const memory = magazine.cells[cell];
    magazine.cells[cell] = magazine.cells[cell + half];
    Page& page = *Page::of(memory);
    if (page.used == full) {
      page.next = available_[at];
      available_[at] = &page;
    }
    page.giveBack(memory);
  }
  magazine.count = half;
}

}  // namespace Kob
