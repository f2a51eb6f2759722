#pragma once
// The SDK the library drives when the host brings none. The SDK backend linked into the
// library defines these.

#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "sdk/capabilities.h"
#include "wire/expected.h"

namespace lumetra_rpc {

std::shared_ptr<LMRPCSDKCapabilities> makeDefaultSDK();

// Applies a host's configuration of the default SDK (a JSON object text) before first use;
// fails with a readable reason, changing nothing, when it is not a valid one.
Expected<std::monostate, std::string> configureDefaultSDK(std::string_view sdkConfigJson);

// Stops whatever threads the default SDK runs; its later answers never arrive.
void shutdownDefaultSDK() noexcept;

}  // namespace lumetra_rpc
