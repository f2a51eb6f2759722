#pragma once
// The library's one lifecycle, process-wide: configurable until first use, then running,
// then (after a shutdown) shutting down and stopped for good. Settings chosen while
// configurable are what the runtime starts with; the phase and the settings change under
// one lock, so a configuration and first use can never disagree.

#include <cstddef>
#include <functional>
#include <optional>

namespace lumetra_rpc {

enum class Phase { configurable, running, shuttingDown, stopped };
enum class MainMode { dedicated, host };

struct RuntimeSettings {
  MainMode mainMode = MainMode::dedicated;
  std::size_t poolThreads = 0;  // 0: one per core, at least two
};

Phase currentPhase() noexcept;

// Applies `change` to the settings if the library has not started; false otherwise.
bool changeSettings(const std::function<void(RuntimeSettings&)>& change);

// Leaves the configurable phase and returns the settings to start with; only the first
// caller gets them.
std::optional<RuntimeSettings> beginRunning();

// Running -> shuttingDown, or configurable -> stopped for a library that never started;
// the phase found, so that only one caller shuts down.
Phase beginShutdown() noexcept;
void markStopped() noexcept;

}  // namespace lumetra_rpc
