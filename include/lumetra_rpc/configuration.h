#pragma once
// How the library is set up before first use. Every member is optional; what is absent
// keeps its default. The C interface's lmrpc_configure takes the same settings as JSON.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "lumetra_rpc/timeout_config.h"

namespace lumetra_rpc {

class LMRPCSDKCapabilities;

enum class MainExecutorMode { dedicated, host };

struct LMRPCConfiguration {
  // Seconds each supervised SDK operation may take (defaults 10, 10, 30, 10, 10).
  std::optional<TimeoutConfig> timeouts;
  // Threads of the request pool (default: one per core, at least two).
  std::optional<std::size_t> poolThreads;
  // Who runs the main executor: the library's own thread (default) or the host's loop.
  std::optional<MainExecutorMode> mainExecutor;
  // The SDK binding the shared facade drives (default: the built-in one).
  std::shared_ptr<LMRPCSDKCapabilities> sdk;
  // For the built-in desktop SDK: its behaviour as a JSON object text, the same keys as
  // the command-line host's --sdk file.
  std::optional<std::string> sdkConfigJson;
};

enum class ConfigureStatus { applied = 0, alreadyRunning = 1, invalid = 2 };

struct ConfigureResult {
  ConfigureStatus status = ConfigureStatus::applied;
  std::string reason;  // why an invalid configuration was refused
};

}  // namespace lumetra_rpc
