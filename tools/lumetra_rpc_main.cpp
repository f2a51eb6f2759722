// lumetra-rpc: drives the library the way a plugin host does, with the simulated SDK
// behind it. Requests come in on stdin, one per line; responses and events go out on
// stdout, one per line; diagnostics go to stderr only.

#include <cstdio>
#include <iostream>
#include <string_view>
#include <vector>

#include "cli_options.h"
#include "cli_session.h"
#include "lumetra_rpc/bridge.h"
#include "openrpc.h"
#include "sdk/simulator/simulator.h"

namespace {

using namespace lumetra_rpc;

constexpr int kUsageError = 2;

int refuse(const std::string& message) {
  std::cerr << "lumetra-rpc: " << message << "\n";
  return kUsageError;
}

// Sets up the simulated SDK and the shared facade's client; an empty text on success. A
// bad config is refused before the journal file is created.
std::string prepare(const cli::CliOptions& options) {
  // The same path a host's configuration takes; the session pumps the main executor
  // itself, so that it can tell when all is quiet.
  LMRPCConfiguration configuration;
  configuration.timeouts = options.timeouts;
  configuration.mainExecutor = MainExecutorMode::host;
  if (options.sdkConfigPath) {
    auto text = simulator::readSimulatorConfigFile(*options.sdkConfigPath);
    if (!text) return text.error();
    configuration.sdkConfigJson = std::move(*text);
  }
  auto configured = LumetraRPCBridge::configure(configuration);
  if (configured.status != ConfigureStatus::applied) return configured.reason;
  if (options.journalPath) {
    auto journaled = simulator::journalSimulatorCalls(*options.journalPath);
    if (!journaled) return journaled.error();
  }
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string_view> arguments(argv + 1, argv + argc);
  auto options = cli::parseCliOptions(arguments);
  if (!options) return refuse(options.error() + "\n" + cli::kUsage);
  if (options->help) {
    std::fputs(cli::kUsage, stdout);
    return 0;
  }
  if (options->openrpc) {
    // Needs no SDK: the document comes from the method table alone.
    auto text = cli::openRPCText();
    if (!text) {
      std::cerr << "lumetra-rpc: " << text.error() << "\n";
      return 1;
    }
    cli::writeLine(*text);
    return 0;
  }
  if (auto problem = prepare(*options); !problem.empty()) return refuse(problem);
  std::ios::sync_with_stdio(false);
  cli::CliSession session(LumetraRPCBridge::shared(), options->concurrent);
  session.run(std::cin);
  simulator::shutdownSimulator();
  return 0;
}
