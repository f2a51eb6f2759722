#pragma once
// The two executors the library runs on. Request tasks run on a shared thread pool; the
// main executor is one serial executor that stands in for the host's main thread: request
// completions, event deliveries and the SDK calls that must happen "on the main thread"
// run only there, never two at once.
//
// By default the library owns one dedicated thread that runs the main executor, started on
// first use. A host that has its own loop (the command-line host, tests, a game engine's
// update tick) chooses host-driven mode before first use and pumps the executor itself.

#include <chrono>
#include <cstddef>
#include <memory>

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include "lumetra_rpc/export.h"

namespace lumetra_rpc {

class LMRPC_API Runtime {
 public:
  using PoolExecutor = boost::asio::thread_pool::executor_type;
  using MainExecutor = boost::asio::io_context::executor_type;

  // The process-wide runtime, created on first use.
  static Runtime& shared();

  // Chooses host-driven mode for the shared runtime. Returns false (and changes nothing)
  // once the shared runtime exists.
  static bool useHostDrivenMain() noexcept;

  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;
  ~Runtime();

  PoolExecutor pool() noexcept { return pool_.get_executor(); }
  MainExecutor main() noexcept { return main_.get_executor(); }
  std::size_t poolThreadCount() const noexcept { return poolThreads_; }
  bool hostDriven() const noexcept { return hostDriven_; }
  bool isOnMain() const noexcept;

  // Host-driven mode only: run every main-executor job that is ready and return at once,
  // or keep running jobs as they arrive for the whole `duration` (waiting, not spinning,
  // while there are none). Both return the number of jobs run and never throw.
  std::size_t runMainUntilIdle() noexcept;
  std::size_t runMainFor(std::chrono::nanoseconds duration) noexcept;

 private:
  struct Impl;
  Runtime(bool hostDriven, std::size_t poolThreads);

  bool hostDriven_;
  std::size_t poolThreads_;
  boost::asio::io_context main_{1};
  boost::asio::thread_pool pool_;
  std::unique_ptr<Impl> impl_;
};

}  // namespace lumetra_rpc
