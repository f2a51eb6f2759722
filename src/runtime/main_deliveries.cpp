#include "runtime/main_deliveries.h"

#include <boost/asio/post.hpp>

#include "lumetra_rpc/runtime.h"

namespace lumetra_rpc {

const std::shared_ptr<MainDeliveries>& MainDeliveries::shared() {
  static const auto instance = std::make_shared<MainDeliveries>();
  return instance;
}

void MainDeliveries::deliver(Completion completion, std::string text) noexcept {
  try {
    std::unique_lock lock(mutex_);
    pending_.emplace_back(std::move(completion), std::move(text));
    if (scheduled_) return;
    scheduled_ = true;
    lock.unlock();
    boost::asio::post(Runtime::shared().main(), [self = shared_from_this()] { self->runTurn(); });
  } catch (...) {
  }
}

void MainDeliveries::runTurn() noexcept {
  std::vector<Delivery> turn;
  {
    std::lock_guard lock(mutex_);
    turn.swap(spare_);
    turn.swap(pending_);
    scheduled_ = false;
  }
  for (auto& [completion, text] : turn) {
    try {
      if (completion) completion(std::move(text));
    } catch (...) {
      // A host completion that throws must not cost the others theirs.
    }
  }
  // The emptied vector keeps its capacity for a later turn: growing a fresh one on a
  // pool thread each turn and freeing it here would make glibc pass memory between
  // threads, which costs more than the deliveries themselves.
  turn.clear();
  std::lock_guard lock(mutex_);
  if (spare_.capacity() < turn.capacity()) spare_.swap(turn);
}

}  // namespace lumetra_rpc
