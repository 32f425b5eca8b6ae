#include "Kob/Slab.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <new>

#include "Kob/ReferenceWord.h"

namespace Kob::Slab {

namespace {

constexpr std::size_t granularity = 8;
constexpr std::size_t pageSize = 16 * 1024;
constexpr std::size_t magazineSize = 32;

struct FreeCell {
  FreeCell* next;
};

class Size;

/// The head of a page; its cells follow. A page is found from a cell by its address.
struct alignas(16) Page {
  explicit Page(Size& owner) noexcept : size(&owner) {}

  static Page* of(void* cell) noexcept {
    return reinterpret_cast<Page*>(reinterpret_cast<std::uintptr_t>(cell) & ~(pageSize - 1));
  }

  Size* size;
  FreeCell* free = nullptr;
  // Cells from here on have never been used since the page was carved.
  std::uint32_t carved = 0;
  std::uint32_t used = 0;
  // The list of pages with free cells.
  Page* next = nullptr;
  Page* previous = nullptr;
};

/// The cells of one size.
class Size {
 public:
  void cellSizeIs(std::size_t bytes) noexcept {
    cellSize_ = static_cast<std::uint32_t>(bytes);
    cellsPerPage_ = static_cast<std::uint32_t>((pageSize - sizeof(Page)) / bytes);
  }

  void* allocate() {
    if (magazine_ == 0) fill();
    return cells_[--magazine_];
  }

  void release(void* cell) noexcept {
    if (magazine_ == magazineSize) drain();
    cells_[magazine_++] = cell;
  }

 private:
  /// Half a magazine of cells, so that the next come from it too.
  void fill() {
    if (available_ == nullptr) pageIs(newPage());
    Page& page = *available_;
    std::uint32_t count = 0;
    while (count < magazineSize / 2) {
      void* const cell = take(page);
      if (cell == nullptr) break;
      // The first that is taken is the first that is handed out.
      cells_[magazineSize / 2 - ++count] = cell;
    }
    for (std::uint32_t at = 0; at < count; ++at) cells_[at] = cells_[magazineSize / 2 - count + at];
    magazine_ = count;
    if (page.used == cellsPerPage_) pageDel(page);
  }

  /// The older half of a full magazine goes back to its pages.
  void drain() noexcept {
    constexpr std::size_t half = magazineSize / 2;
    for (std::size_t at = 0; at < half; ++at) giveBack(cells_[at]);
    for (std::size_t at = 0; at < half; ++at) cells_[at] = cells_[at + half];
    magazine_ = half;
  }

  void* take(Page& page) const noexcept {
    if (FreeCell* const cell = page.free) {
      page.free = cell->next;
      ++page.used;
      return cell;
    }
    if (page.carved == cellsPerPage_) return nullptr;
    ++page.used;
    return reinterpret_cast<char*>(&page) + sizeof(Page) + std::size_t{page.carved++} * cellSize_;
  }

  void giveBack(void* memory) noexcept {
    Page& page = *Page::of(memory);
    if (page.used == cellsPerPage_) pageIs(&page);
    if (--page.used == 0) {
      page.free = nullptr;
      page.carved = 0;
      return;
    }
    page.free = new (memory) FreeCell{page.free};
  }

  Page* newPage() { return new (::operator new(pageSize, std::align_val_t(pageSize))) Page(*this); }

  void pageIs(Page* page) noexcept {
    page->previous = nullptr;
    page->next = available_;
    if (available_ != nullptr) available_->previous = page;
    available_ = page;
  }

  void pageDel(Page& page) noexcept {
    (page.previous != nullptr ? page.previous->next : available_) = page.next;
    if (page.next != nullptr) page.next->previous = page.previous;
  }

  std::uint32_t cellSize_ = 0;
  std::uint32_t cellsPerPage_ = 0;
  std::uint32_t magazine_ = 0;
  std::array<void*, magazineSize> cells_{};
  Page* available_ = nullptr;
};

class Sizes {
 public:
  Sizes() noexcept {
    std::size_t bytes = 0;
    for (Size& size : sizes_) size.cellSizeIs(bytes += granularity);
  }
  Size& of(std::size_t bytes) noexcept { return sizes_[(bytes - 1) / granularity]; }
  std::mutex& mutex() noexcept { return mutex_; }

 private:
  std::array<Size, maxSize / granularity> sizes_;
  std::mutex mutex_;
};

Sizes& sizes() {
  // Never destroyed: objects with static storage may go later.
  static Sizes& all = *new Sizes;
  return all;
}

}  // namespace

void* allocate(std::size_t size) {
  if (size > maxSize) return ::operator new(size);
  Sizes& all = sizes();
  if (!ReferenceWord::threadSafe) return all.of(size).allocate();
  const std::lock_guard lock(all.mutex());
  return all.of(size).allocate();
}

void release(void* memory, std::size_t size) noexcept {
  if (size > maxSize) return ::operator delete(memory);
  Sizes& all = sizes();
  if (!ReferenceWord::threadSafe) return all.of(size).release(memory);
  const std::lock_guard lock(all.mutex());
  all.of(size).release(memory);
}

}  // namespace Kob::Slab
