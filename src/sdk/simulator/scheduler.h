#pragma once
// The simulated SDK's own thread: answers that the config delays, and delegate reports,
// run here, as they would on a real SDK's background queue. Jobs due at the same moment
// run in the order they were scheduled. Destruction stops the thread and drops whatever
// has not run yet; a job may therefore never assume it runs.
//
// Any thread may schedule. A job must not destroy the scheduler that runs it.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace lumetra_rpc::simulator {

class SimScheduler {
 public:
  using Clock = std::chrono::steady_clock;

  SimScheduler();
  ~SimScheduler();
  SimScheduler(const SimScheduler&) = delete;
  SimScheduler& operator=(const SimScheduler&) = delete;

  void schedule(std::chrono::milliseconds delay, std::function<void()> job);

  // True when no job is waiting or running.
  bool idle() const;
  // Waits until idle; false if still busy after `ceiling`.
  bool waitIdle(std::chrono::milliseconds ceiling);

  // Stops the thread and drops pending jobs; later schedules are dropped too. Idempotent.
  void shutdown();

 private:
  struct Job {
    Clock::time_point due;
    std::uint64_t sequence = 0;
    std::function<void()> work;
  };
  static bool later(const Job& a, const Job& b);
  void run();

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idleChanged_;
  std::vector<Job> queue_;  // a heap ordered by `later`
  std::uint64_t nextSequence_ = 0;
  bool running_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace lumetra_rpc::simulator
