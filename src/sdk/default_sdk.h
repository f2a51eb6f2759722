#pragma once
// The seam between the library and the SDK backend it is built with. The library only
// declares these; the backend target linked into a build defines them (the desktop build
// links the SDK simulator).

#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "sdk/capabilities.h"
#include "wire/expected.h"

namespace lumetra_rpc {

std::shared_ptr<LMRPCSDKCapabilities> makeDefaultSDK();

// Applies a host's backend configuration, one JSON object text, to the default SDKs made
// from then on; call it before the first request. The simulator takes the keys of the
// command-line host's --sdk file. A bad config fails with a readable reason and changes
// nothing.
Expected<std::monostate, std::string> configureDefaultSDK(std::string_view sdkConfigJson);

// Stops whatever threads the default SDK runs; its later answers never arrive.
void shutdownDefaultSDK() noexcept;

}  // namespace lumetra_rpc
