#include "sdk/default_sdk.h"

#include "sdk/lumetra_sdk_adapter.h"

namespace lumetra_rpc {

std::shared_ptr<LMRPCSDKCapabilities> makeDefaultSDK() {
  return std::make_shared<LumetraSDKAdapter>();
}

}  // namespace lumetra_rpc
