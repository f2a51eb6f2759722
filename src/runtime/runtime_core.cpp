#include "runtime/runtime_core.h"

#include <pthread.h>
#include <simdjson.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "runtime/host_call.h"
#include "runtime/immortal.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;

std::atomic<RuntimeCore*> gStarted{nullptr};
std::atomic<bool> gForkedChild{false};

// Threads that are busy at exit (a job mid-way, a host callback) get this long to finish
// before the process goes on tearing down without them.
constexpr auto kExitGrace = std::chrono::milliseconds(250);
constexpr auto kHelpSlice = std::chrono::milliseconds(1);
// How long the dedicated main thread waits for more work before it ends.
constexpr auto kMainThreadLinger = std::chrono::milliseconds(100);

std::size_t defaultPoolThreads() {
  return std::max<std::size_t>(2, std::thread::hardware_concurrency());
}

// Clears the pump owner however the pump ends, including a host ending the thread.
struct PumpOwnership {
  std::atomic<std::thread::id>& owner;
  ~PumpOwnership() { owner.store(std::thread::id{}, std::memory_order_release); }
};

}  // namespace

RuntimeCore* RuntimeCore::get() {
  static RuntimeCore* core = []() -> RuntimeCore* {
    auto settings = beginRunning();
    if (!settings) return nullptr;
    static Immortal<RuntimeCore> instance(*settings);
    gStarted.store(&instance.get(), std::memory_order_release);
    pthread_atfork(nullptr, nullptr, [] { gForkedChild.store(true); });
    // Exit handlers run in reverse order of registration, and a library's lazily built
    // statics register theirs when first used: simdjson's are built now, so that they
    // are destroyed only after the quiescing step below has stopped the request threads.
    simdjson::get_active_implementation()->name();
    std::atexit(&RuntimeCore::quiesceAtExit);
    return &instance.get();
  }();
  return core;
}

RuntimeCore& runningCore() {
  auto* core = RuntimeCore::get();
  if (!core) throw std::runtime_error("the library has stopped");
  return *core;
}

RuntimeCore* RuntimeCore::ifStarted() noexcept {
  return gStarted.load(std::memory_order_acquire);
}

bool RuntimeCore::inForkedChild() noexcept {
  return gForkedChild.load(std::memory_order_relaxed);
}

RuntimeCore::RuntimeCore(const RuntimeSettings& settings)
    : mode_(settings.mainMode),
      poolThreads_(settings.poolThreads ? settings.poolThreads : defaultPoolThreads()) {
  // A host pumping with a duration expects to wait for jobs for the whole of it, not to
  // return the moment the queue is empty.
  if (mode_ == MainMode::host) keepMainAlive_.emplace(main_.get_executor());
  for (std::size_t i = 0; i < poolThreads_; ++i) startThread(&RuntimeCore::runPoolThread);
}

void RuntimeCore::wakeMain() {
  if (mode_ == MainMode::host) return callHostWakeup();
  std::lock_guard lock(mainThreadMutex_);
  if (stopping_) return;
  mainWorkSignalled_ = true;
  if (mainThreadRunning_) return mainThreadSignal_.notify_one();
  mainThreadRunning_ = true;
  startThread(&RuntimeCore::runMainThread);
}

// After the executor ran out of work: true to run it again, false to end the thread.
bool RuntimeCore::lingerForWork() {
  std::unique_lock lock(mainThreadMutex_);
  mainThreadSignal_.wait_for(lock, kMainThreadLinger, [this] { return mainWorkSignalled_ || stopping_; });
  if (mainWorkSignalled_ && !stopping_) {
    mainWorkSignalled_ = false;
    return true;
  }
  mainThreadRunning_ = false;
  return false;
}

void RuntimeCore::startThread(void (RuntimeCore::*body)()) {
  std::lock_guard lock(threadsMutex_);
  // Main threads come and go; the ended ones are joined as new ones start.
  std::erase_if(threads_, [](ThreadRecord& record) {
    if (!record.finished) return false;
    if (record.thread.joinable()) record.thread.join();
    return true;
  });
  threads_.push_back(ThreadRecord{std::thread([this, body] {
    struct Finish {
      RuntimeCore* core;
      ~Finish() { core->markFinished(std::this_thread::get_id()); }
    } finish{this};
    (this->*body)();
  })});
}

void RuntimeCore::runPoolThread() {
  pool_.attach();
}

void RuntimeCore::runMainThread() {
  do {
    // Jobs shield themselves; nothing may stop the main executor for everyone else.
    guarded(false, [this] {
      main_.restart();
      main_.run();
      return true;
    });
  } while (lingerForWork());
}

void RuntimeCore::markFinished(std::thread::id id) noexcept {
  std::lock_guard lock(threadsMutex_);
  for (auto& record : threads_)
    if (record.thread.get_id() == id) record.finished = true;
  threadFinished_.notify_all();
}

bool RuntimeCore::isOnMain() const noexcept {
  return const_cast<asio::io_context&>(main_).get_executor().running_in_this_thread();
}

std::size_t RuntimeCore::pump(std::optional<std::chrono::nanoseconds> duration) {
  if (mode_ != MainMode::host) return 0;
  std::thread::id none{};
  if (!pumpOwner_.compare_exchange_strong(none, std::this_thread::get_id())) return 0;
  PumpOwnership ownership{pumpOwner_};
  main_.restart();
  return duration ? main_.run_for(*duration) : main_.poll();
}

std::size_t RuntimeCore::helpMainRun() {
  auto self = std::this_thread::get_id();
  bool mayRun = mode_ == MainMode::host || isOnMain();
  if (!mayRun) {
    std::this_thread::sleep_for(kHelpSlice);
    return 0;
  }
  // Nested inside a job this thread is already running: the executor allows it, and the
  // rest of that job's turn is delivered first.
  if (isOnMain()) return queue_.finishTurn() + main_.poll();
  if (pumpOwner_.load() == self) return main_.poll();
  std::thread::id none{};
  if (!pumpOwner_.compare_exchange_strong(none, self)) {
    std::this_thread::sleep_for(kHelpSlice);
    return 0;
  }
  PumpOwnership ownership{pumpOwner_};
  main_.restart();
  return main_.poll();
}

bool RuntimeCore::stopAndJoin(Clock::time_point deadline) noexcept {
  {
    std::lock_guard lock(mainThreadMutex_);
    stopping_ = true;
    mainThreadSignal_.notify_all();
  }
  keepMainAlive_.reset();
  main_.stop();
  pool_.stop();
  auto self = std::this_thread::get_id();
  std::unique_lock lock(threadsMutex_);
  auto othersFinished = [&] {
    return std::all_of(threads_.begin(), threads_.end(), [&](const ThreadRecord& record) {
      return record.finished || !record.thread.joinable() || record.thread.get_id() == self;
    });
  };
  bool allJoined = threadFinished_.wait_until(lock, deadline, othersFinished);
  for (auto& record : threads_) {
    if (!record.thread.joinable()) continue;
    if (record.finished) {
      record.thread.join();
    } else {
      // The calling thread, or one a host keeps busy: it ends by itself once it returns
      // to its stopped executor.
      record.thread.detach();
    }
  }
  return allJoined;
}

void hostRuntimeEnding() noexcept {
  if (auto* core = RuntimeCore::ifStarted()) core->mainQueue().close();
}

void RuntimeCore::quiesceAtExit() noexcept {
  auto* core = ifStarted();
  if (!core || inForkedChild()) return;
  markStopped();
  // From here on no host callback starts: the host is tearing down.
  core->queue_.close();
  core->stopAndJoin(Clock::now() + kExitGrace);
}

}  // namespace lumetra_rpc
