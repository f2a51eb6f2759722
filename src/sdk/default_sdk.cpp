#include "sdk/default_sdk.h"

#include "sdk/lumetra_sdk_adapter.h"
#include "sdk/simulator/simulator.h"

namespace lumetra_rpc {

std::shared_ptr<LMRPCSDKCapabilities> makeDefaultSDK() {
  return std::make_shared<LumetraSDKAdapter>();
}

Expected<std::monostate, std::string> configureDefaultSDK(std::string_view sdkConfigJson) {
  auto config = simulator::parseSimulatorConfig(sdkConfigJson);
  if (!config) return Unexpected{config.error()};
  return simulator::configureSimulator(std::move(config).value());
}

void shutdownDefaultSDK() noexcept {
  try {
    simulator::shutdownSimulator();
  } catch (...) {
  }
}

}  // namespace lumetra_rpc
