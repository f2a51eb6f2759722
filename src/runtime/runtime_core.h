#pragma once
// The process-wide executors behind the public Runtime: a thread pool on which requests
// run, and the main executor (an io_context) with the one queue in front of it. The pool's
// threads, and in dedicated mode the main executor's thread, are the library's own, so it
// can stop and join them on shutdown, skip the calling one, and let go of one that a host
// keeps stuck in a callback.
//
// Created on first use with the lifecycle's settings and never destroyed: at process exit
// it only quiesces (closes the queue, stops the executors, joins what finishes quickly).

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include "runtime/lifecycle.h"
#include "runtime/main_queue.h"

namespace lumetra_rpc {

class RuntimeCore {
 public:
  using PoolExecutor = boost::asio::thread_pool::executor_type;
  using MainExecutor = boost::asio::io_context::executor_type;
  using Clock = std::chrono::steady_clock;

  // The running core, started on the first call; null if the library was shut down
  // before it ever started. May throw only while starting (no threads could be made).
  static RuntimeCore* get();
  // The core if it has started, without starting it.
  static RuntimeCore* ifStarted() noexcept;
  // True in a child process made by fork() after the library started: none of its threads
  // exist there, so it must do nothing at all.
  static bool inForkedChild() noexcept;

  explicit RuntimeCore(const RuntimeSettings& settings);
  RuntimeCore(const RuntimeCore&) = delete;
  RuntimeCore& operator=(const RuntimeCore&) = delete;

  PoolExecutor pool() noexcept { return pool_.get_executor(); }
  MainExecutor main() noexcept { return main_.get_executor(); }
  MainQueue& mainQueue() noexcept { return queue_; }
  MainMode mainMode() const noexcept { return mode_; }
  std::size_t poolThreadCount() const noexcept { return poolThreads_; }
  bool isOnMain() const noexcept;

  // The host's pump: host-driven mode only, one pump at a time, never from inside a job
  // (each refusal returns 0). `duration` absent: run what is ready and return.
  std::size_t pump(std::optional<std::chrono::nanoseconds> duration);

  // Shutdown's own pumping: runs ready main-executor jobs on this thread when that is
  // allowed (host-driven mode, or already on the main executor), waiting briefly for a
  // host pump on another thread to finish; otherwise just waits briefly for the library's
  // main thread. Returns the number of jobs it ran.
  std::size_t helpMainRun();

  // Stops both executors and joins the library's threads, except the calling one, until
  // `deadline`; a thread still busy then is let go. True when every other thread joined.
  bool stopAndJoin(Clock::time_point deadline) noexcept;

 private:
  struct ThreadRecord {
    std::thread thread;
    bool finished = false;
  };

  void startThread(void (RuntimeCore::*body)());
  void runPoolThread();
  void runMainThread();
  void markFinished(std::thread::id id) noexcept;
  void wakeMain();
  bool lingerForWork();
  static void quiesceAtExit() noexcept;

  MainMode mode_;
  std::size_t poolThreads_;
  boost::asio::io_context main_{1};
  boost::asio::thread_pool pool_{0};
  MainQueue queue_{main_.get_executor(), [this] { wakeMain(); }};
  std::optional<boost::asio::executor_work_guard<MainExecutor>> keepMainAlive_;
  // The dedicated main thread runs only while there is work, and lingers a little after:
  // a host runtime that attached it when it called back (Mono does) waits for it to end
  // before the process may exit.
  std::mutex mainThreadMutex_;
  std::condition_variable mainThreadSignal_;
  bool mainThreadRunning_ = false;
  bool mainWorkSignalled_ = false;
  bool stopping_ = false;
  std::atomic<std::thread::id> pumpOwner_{};

  std::mutex threadsMutex_;
  std::condition_variable threadFinished_;
  std::vector<ThreadRecord> threads_;
};

// The running core, for code on the request path (which only runs once it has started).
// Throws if the library was shut down before it ever started.
RuntimeCore& runningCore();

}  // namespace lumetra_rpc
