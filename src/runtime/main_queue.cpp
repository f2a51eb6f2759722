#include "runtime/main_queue.h"

#include <boost/asio/post.hpp>

#include "runtime/host_call.h"
#include "runtime/immortal.h"

namespace lumetra_rpc {
namespace {

struct WakeupHolder {
  std::mutex mutex;
  std::shared_ptr<const MainQueue::Wakeup> wakeup;
};

WakeupHolder& wakeupHolder() {
  static Immortal<WakeupHolder> holder;
  return holder.get();
}

std::shared_ptr<const MainQueue::Wakeup> currentWakeup() noexcept {
  auto& holder = wakeupHolder();
  std::lock_guard lock(holder.mutex);
  return holder.wakeup;
}

}  // namespace

void setMainWakeup(MainQueue::Wakeup wakeup) noexcept {
  try {
    auto shared = wakeup ? std::make_shared<const MainQueue::Wakeup>(std::move(wakeup)) : nullptr;
    auto& holder = wakeupHolder();
    std::lock_guard lock(holder.mutex);
    holder.wakeup = std::move(shared);
  } catch (...) {
  }
}

void callHostWakeup() {
  auto wakeup = currentWakeup();
  if (wakeup && *wakeup) callForeign(*wakeup);
}

bool MainQueue::post(Job job) noexcept {
  return enqueue(Entry(std::in_place_index<0>, std::move(job)));
}

bool MainQueue::post(std::shared_ptr<QueuedJob> job) noexcept {
  return enqueue(Entry(std::in_place_index<1>, std::move(job)));
}

bool MainQueue::enqueue(Entry entry) noexcept {
  try {
    std::lock_guard lock(mutex_);
    if (closed()) return false;
    pending_.push_back(std::move(entry));
    if (scheduled_) return true;
    scheduled_ = true;
  } catch (...) {
    return false;  // allocation failed; nothing was queued
  }
  try {
    boost::asio::post(main_, [this] { runTurn(); });
  } catch (...) {
    // The job stays queued and runs in the turn the next post schedules.
    std::lock_guard lock(mutex_);
    scheduled_ = false;
    return true;
  }
  callForeign(onIdleToWork_);
  return true;
}

void MainQueue::close() noexcept {
  std::vector<Entry> dropped;
  std::lock_guard lock(mutex_);
  closed_.store(true, std::memory_order_release);
  dropped.swap(pending_);
}

// Not noexcept: a host may end the thread from inside a job (see callForeign).
void MainQueue::runTurn() {
  // Started inside a job of another turn: that turn's remaining jobs come first.
  finishTurn();
  {
    std::lock_guard lock(mutex_);
    // The emptied vector keeps its capacity and goes back to the posting side: growing a
    // fresh one on a pool thread each turn and freeing it here would make glibc pass
    // memory between threads.
    turn_.clear();
    next_ = 0;
    turn_.swap(pending_);
    scheduled_ = false;
  }
  finishTurn();
}

std::size_t MainQueue::finishTurn() {
  std::size_t ran = 0;
  while (next_ < turn_.size() && !closed()) {
    // Taken out before it runs: a nested turn must neither run it again nor free it.
    auto entry = std::move(turn_[next_++]);
    if (auto* job = std::get_if<Job>(&entry)) {
      callForeign(*job);
    } else {
      auto& queued = std::get<std::shared_ptr<QueuedJob>>(entry);
      callForeign([&] { queued->run(); });
    }
    ++ran;
  }
  return ran;
}

}  // namespace lumetra_rpc
