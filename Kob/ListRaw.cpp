#include "Kob/ListRaw.h"

#include <memory>
#include <utility>

namespace Kob {

namespace {

/// The block that the walks before used, or null while one of them uses it. Never destroyed:
/// notifiers with static storage may announce while the process ends.
constinit std::vector<void*>* spare = nullptr;

}  // namespace

SnapshotRoom::Block* SnapshotRoom::borrow(std::size_t size) {
  std::unique_ptr<Block> block(std::exchange(spare, nullptr));
  if (!block) block = std::make_unique<Block>();
  if (block->size() < size) block->resize(size);
  return block.release();
}

void SnapshotRoom::giveBack(Block* block) noexcept {
  const std::unique_ptr<Block> second(spare);
  spare = block;
}

}  // namespace Kob
