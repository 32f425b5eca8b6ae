#include "Kob/ListRaw.h"

#include <memory>
#include <utility>

namespace Kob {

namespace {

/// The block that the walks before used, or null while one of them uses it. Never destroyed:
/// notifiers with static storage may announce while the process ends.
constinit std::vector<void*>* spare = nullptr;

}  // namespace

HeapRoom::Block* HeapRoom::borrow(std::size_t members) {
  std::unique_ptr<Block> block(std::exchange(spare, nullptr));
  if (!block) block = std::make_unique<Block>();
  if (block->size() < members) block->resize(members);
  return block.release();
}

void HeapRoom::giveBack(Block* block) noexcept {
  const std::unique_ptr<Block> second(spare);
  spare = block;
}

}  // namespace Kob
