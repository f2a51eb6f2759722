#pragma once

#include <memory>

#include "parsing/parsed_request.h"
#include "sdk/capabilities.h"
#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"
#include "supervision/timeout_config.h"

namespace lumetra_rpc {

// Immutable once built; may serve any number of requests at the same time.
class LMRPCMonetizationHandler {
 public:
  LMRPCMonetizationHandler(std::shared_ptr<LMRPCMonetizationSDK> sdk, TimeoutConfig timeoutConfig)
      : sdk_(std::move(sdk)), timeoutConfig_(timeoutConfig) {}

  RoutedOutcome handle(LMRPCMonetizationRequest request) const;

 private:
  std::shared_ptr<LMRPCMonetizationSDK> sdk_;
  TimeoutConfig timeoutConfig_;
};

}  // namespace lumetra_rpc
