#pragma once
// Setting up and winding down the simulated SDK as a whole. A host that stands in for an
// application (the command-line host, tests) configures the simulator before the library
// first touches the SDK, waits for it to go quiet, and shuts it down before exiting.
// Without configuration the shared instance behaves as defaultSimulatorConfig() says and
// keeps no journal.

#include <chrono>
#include <optional>
#include <string>

#include "sdk/simulator/simulator_config.h"
#include "wire/expected.h"

namespace lumetra_rpc::simulator {

// Replaces the shared LumetraLib with one that follows `config`, platform facts included.
// Calls are journaled to `journalPath` from now on when one is given, else to the journal
// opened before, if any. Fails only when the journal cannot be opened; nothing changes then.
Expected<std::monostate, std::string> configureSimulator(
    SimulatorConfig config, const std::optional<std::string>& journalPath = std::nullopt);

// Journals every call from now on to `path`, keeping the current behaviour. Fails when
// the file cannot be opened; nothing changes then.
Expected<std::monostate, std::string> journalSimulatorCalls(const std::string& path);

// True when the shared instance has no answer or report still scheduled or running.
bool simulatorIdle();
bool waitForSimulatorIdle(std::chrono::milliseconds ceiling);

// Stops the shared instance's thread; answers still scheduled are dropped. Calls made
// afterwards are still journaled and answered at once, but never late.
void shutdownSimulator();

}  // namespace lumetra_rpc::simulator
