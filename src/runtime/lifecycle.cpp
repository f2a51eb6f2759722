#include "runtime/lifecycle.h"

#include <atomic>
#include <mutex>

#include "runtime/immortal.h"

namespace lumetra_rpc {
namespace {

struct LifecycleState {
  std::mutex mutex;
  std::atomic<Phase> phase{Phase::configurable};
  RuntimeSettings settings;
};

// Never destroyed: library threads may still ask for the phase while the process exits.
LifecycleState& state() {
  static Immortal<LifecycleState> instance;
  return instance.get();
}

}  // namespace

Phase currentPhase() noexcept {
  return state().phase.load(std::memory_order_acquire);
}

bool changeSettings(const std::function<void(RuntimeSettings&)>& change) {
  auto& s = state();
  std::lock_guard lock(s.mutex);
  if (s.phase.load() != Phase::configurable) return false;
  change(s.settings);
  return true;
}

std::optional<RuntimeSettings> beginRunning() {
  auto& s = state();
  std::lock_guard lock(s.mutex);
  if (s.phase.load() != Phase::configurable) return std::nullopt;
  s.phase.store(Phase::running, std::memory_order_release);
  return s.settings;
}

Phase beginShutdown() noexcept {
  auto& s = state();
  std::lock_guard lock(s.mutex);
  auto found = s.phase.load();
  if (found == Phase::running) s.phase.store(Phase::shuttingDown, std::memory_order_release);
  if (found == Phase::configurable) s.phase.store(Phase::stopped, std::memory_order_release);
  return found;
}

void markStopped() noexcept {
  state().phase.store(Phase::stopped, std::memory_order_release);
}

}  // namespace lumetra_rpc
