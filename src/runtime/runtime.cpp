#include "lumetra_rpc/runtime.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>

#include <boost/asio/executor_work_guard.hpp>

namespace lumetra_rpc {
namespace {

std::atomic<bool> gHostDrivenChosen{false};
std::atomic<bool> gSharedCreated{false};

std::size_t defaultPoolThreads() {
  return std::max<std::size_t>(2, std::thread::hardware_concurrency());
}

}  // namespace

// In dedicated-thread mode the main executor is kept alive by a work guard and run by a
// thread the runtime owns; in host-driven mode nobody runs it but the host.
struct Runtime::Impl {
  std::optional<boost::asio::executor_work_guard<MainExecutor>> keepAlive;
  std::thread mainThread;
};

Runtime& Runtime::shared() {
  static Runtime runtime = [] {
    gSharedCreated = true;
    return Runtime(gHostDrivenChosen.load(), defaultPoolThreads());
  }();
  return runtime;
}

bool Runtime::useHostDrivenMain() noexcept {
  if (gSharedCreated.load()) return false;
  gHostDrivenChosen = true;
  return !gSharedCreated.load();
}

Runtime::Runtime(bool hostDriven, std::size_t poolThreads)
    : hostDriven_(hostDriven),
      poolThreads_(poolThreads),
      pool_(poolThreads),
      impl_(std::make_unique<Impl>()) {
  // Held in both modes: a host pumping with runMainFor expects it to wait for jobs for the
  // whole duration, not to return the moment the queue is empty.
  impl_->keepAlive.emplace(main_.get_executor());
  if (hostDriven_) return;
  impl_->mainThread = std::thread([this] {
    for (;;) {
      try {
        main_.run();
        return;
      } catch (...) {
        // A host callback that throws must not stop the main executor for everyone else.
      }
    }
  });
}

Runtime::~Runtime() {
  if (impl_->keepAlive) impl_->keepAlive->reset();
  main_.stop();
  if (impl_->mainThread.joinable()) impl_->mainThread.join();
  pool_.stop();
  pool_.join();
}

bool Runtime::isOnMain() const noexcept {
  return const_cast<boost::asio::io_context&>(main_).get_executor().running_in_this_thread();
}

std::size_t Runtime::runMainUntilIdle() noexcept {
  try {
    main_.restart();
    return main_.poll();
  } catch (...) {
    return 0;
  }
}

std::size_t Runtime::runMainFor(std::chrono::nanoseconds duration) noexcept {
  try {
    main_.restart();
    return main_.run_for(duration);
  } catch (...) {
    return 0;
  }
}

}  // namespace lumetra_rpc
