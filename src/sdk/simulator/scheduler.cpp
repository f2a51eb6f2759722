#include "sdk/simulator/scheduler.h"

#include <algorithm>

namespace lumetra_rpc::simulator {

SimScheduler::SimScheduler() : thread_([this] { run(); }) {}

SimScheduler::~SimScheduler() {
  shutdown();
}

bool SimScheduler::later(const Job& a, const Job& b) {
  return a.due != b.due ? a.due > b.due : a.sequence > b.sequence;
}

void SimScheduler::schedule(std::chrono::milliseconds delay, std::function<void()> job) {
  {
    std::lock_guard lock(mutex_);
    if (stopping_) return;
    queue_.push_back(Job{Clock::now() + delay, nextSequence_++, std::move(job)});
    std::push_heap(queue_.begin(), queue_.end(), later);
  }
  wake_.notify_one();
}

bool SimScheduler::idle() const {
  std::lock_guard lock(mutex_);
  return queue_.empty() && !running_;
}

bool SimScheduler::waitIdle(std::chrono::milliseconds ceiling) {
  std::unique_lock lock(mutex_);
  return idleChanged_.wait_for(lock, ceiling, [this] { return queue_.empty() && !running_; });
}

void SimScheduler::shutdown() {
  std::vector<Job> dropped;
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    dropped.swap(queue_);
  }
  wake_.notify_all();
  if (thread_.joinable()) {
    // A job that released the last owner would otherwise join its own thread.
    if (thread_.get_id() == std::this_thread::get_id()) {
      thread_.detach();
    } else {
      thread_.join();
    }
  }
  idleChanged_.notify_all();
}

void SimScheduler::run() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    if (queue_.empty()) {
      wake_.wait(lock);
      continue;
    }
    if (auto due = queue_.front().due; Clock::now() < due) {
      wake_.wait_until(lock, due);
      continue;
    }
    std::pop_heap(queue_.begin(), queue_.end(), later);
    auto work = std::move(queue_.back().work);
    queue_.pop_back();
    running_ = true;
    lock.unlock();
    try {
      work();
    } catch (...) {
      // A late or failing callback must never take the simulated SDK down.
    }
    work = nullptr;
    lock.lock();
    running_ = false;
    if (queue_.empty()) idleChanged_.notify_all();
  }
}

}  // namespace lumetra_rpc::simulator
