#pragma once
// The one queue in front of the main executor. Completions, event deliveries and SDK calls
// that must run "on the main thread" all travel through it, so the host sees them in the
// order they were produced. Jobs run in turns: one executor job and, while the host's
// main thread idles, one wake-up per turn rather than per job; jobs queued while a turn
// runs wait for the next one.
//
// Closing the queue is how the library promises a host that it will not be called again:
// jobs posted or still waiting afterwards are dropped, never run.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <variant>
#include <vector>

#include <boost/asio/io_context.hpp>

namespace lumetra_rpc {

// A job that carries its own state and is queued as itself: the one a request already
// holds for its completion costs no wrapper of its own.
class QueuedJob {
 public:
  virtual void run() = 0;

 protected:
  ~QueuedJob() = default;
};

class MainQueue {
 public:
  using Job = std::function<void()>;
  using Wakeup = std::function<void()>;

  // `onIdleToWork` runs on the posting thread each time the queue goes from idle to
  // having work: it wakes whoever runs the main executor.
  MainQueue(boost::asio::io_context::executor_type main, Wakeup onIdleToWork)
      : main_(main), onIdleToWork_(std::move(onIdleToWork)) {}

  // Runs `job` on the main executor after every job posted before it; false (the job
  // dropped, unrun) once the queue is closed. Never throws.
  bool post(Job job) noexcept;
  bool post(std::shared_ptr<QueuedJob> job) noexcept;

  void close() noexcept;
  bool closed() const noexcept { return closed_.load(std::memory_order_acquire); }

  // Runs, in order, the jobs that the turn in progress has not reached yet; returns how
  // many ran. For a job that runs the main executor itself (a callback that shuts the
  // library down): the rest of its own turn must not wait behind it, or be dropped when
  // the queue closes under it. Only on the thread running the main executor.
  std::size_t finishTurn();

 private:
  using Entry = std::variant<Job, std::shared_ptr<QueuedJob>>;

  bool enqueue(Entry entry) noexcept;
  void runTurn();

  boost::asio::io_context::executor_type main_;
  Wakeup onIdleToWork_;
  std::mutex mutex_;
  std::vector<Entry> pending_;
  // The turn being run and the next of its jobs to run; only the main executor's thread
  // touches them.
  std::vector<Entry> turn_;
  std::size_t next_ = 0;
  bool scheduled_ = false;
  std::atomic<bool> closed_{false};
};

// The host's wake-up for host-driven mode. Process-wide, and settable before the library
// starts; callHostWakeup calls the current one, if any.
void setMainWakeup(MainQueue::Wakeup wakeup) noexcept;
void callHostWakeup();

}  // namespace lumetra_rpc
