#include "pipeline/shutdown.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "pipeline/host_requests.h"
#include "pipeline/pending_requests.h"
#include "runtime/host_call.h"
#include "runtime/immortal.h"
#include "runtime/lifecycle.h"
#include "runtime/runtime_core.h"
#include "sdk/default_sdk.h"

namespace lumetra_rpc {
namespace {

using Clock = std::chrono::steady_clock;

// Answers cut off at the deadline still need a moment to be delivered, even with a zero
// timeout; a main thread that a host keeps busy longer than this loses them.
constexpr auto kDeliveryGrace = std::chrono::milliseconds(200);

struct ShutdownRecord {
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  bool succeeded = true;
};

ShutdownRecord& record() {
  static Immortal<ShutdownRecord> instance;
  return instance.get();
}

bool deliverUntil(RuntimeCore& core, Clock::time_point deadline) {
  auto& pending = PendingRequests::shared();
  while (pending.undelivered() > 0) {
    if (Clock::now() >= deadline) return false;
    core.helpMainRun();
  }
  return true;
}

bool shutDownRunningLibrary(RuntimeCore& core, std::chrono::milliseconds timeout) {
  auto& pending = PendingRequests::shared();
  auto deadline = Clock::now() + timeout;
  pending.beginDraining();
  deliverUntil(core, deadline);
  pending.answerAll(shuttingDownText());
  bool delivered = deliverUntil(core, std::max(deadline, Clock::now() + kDeliveryGrace));
  pending.stop();
  core.mainQueue().close();
  shutdownDefaultSDK();
  bool joined = core.stopAndJoin(std::max(deadline, Clock::now() + kDeliveryGrace));
  return delivered && joined;
}

// A second caller waits for the first, except from inside a callback: the first may be
// waiting for that very callback to return.
bool awaitOtherShutdown() {
  auto* core = RuntimeCore::ifStarted();
  if (core && core->isOnMain()) return false;
  auto& r = record();
  std::unique_lock lock(r.mutex);
  r.finished.wait(lock, [&] { return r.done; });
  return r.succeeded;
}

void recordResult(bool succeeded) {
  auto& r = record();
  std::lock_guard lock(r.mutex);
  r.done = true;
  r.succeeded = succeeded;
  r.finished.notify_all();
}

// The result of the shutdown that already ran; false if the library was stopped by the
// process exiting instead.
bool earlierResult() {
  auto& r = record();
  std::lock_guard lock(r.mutex);
  return r.done && r.succeeded;
}

}  // namespace

bool shutdownLibrary(std::chrono::milliseconds timeout) {
  if (RuntimeCore::inForkedChild()) return false;
  switch (beginShutdown()) {
    case Phase::configurable:
      PendingRequests::shared().stop();
      recordResult(true);
      return true;
    case Phase::stopped:
      return earlierResult();
    case Phase::shuttingDown:
      return awaitOtherShutdown();
    case Phase::running:
      break;
  }
  bool succeeded = guarded(false, [&] {
    // Running means the core exists, or is being made on another thread this moment.
    auto* core = RuntimeCore::get();
    return core != nullptr && shutDownRunningLibrary(*core, timeout);
  });
  markStopped();
  recordResult(succeeded);
  return succeeded;
}

}  // namespace lumetra_rpc
