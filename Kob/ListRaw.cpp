#include "Kob/ListRaw.h"

#include <utility>

namespace Kob {

namespace {

/// The block that the walks before used, or null while one of them uses it.
std::unique_ptr<std::vector<void*>>& spare() noexcept {
  // Never destroyed: notifiers with static storage may announce while the process ends.
  static auto& block = *new std::unique_ptr<std::vector<void*>>;
  return block;
}

}  // namespace

void** SnapshotRoom::borrow(std::size_t size) {
  block_ = std::exchange(spare(), nullptr);
  if (!block_) block_ = std::make_unique<std::vector<void*>>();
  if (block_->size() < size) block_->resize(size);
  return block_->data();
}

void SnapshotRoom::giveBack() noexcept {
  if (!spare()) spare() = std::move(block_);
}

}  // namespace Kob
