#pragma once

#include <memory>

#include "sdk/capabilities.h"

namespace lumetra_rpc {

// The SDK the library drives when the host injects none.
std::shared_ptr<LMRPCSDKCapabilities> makeDefaultSDK();

}  // namespace lumetra_rpc
