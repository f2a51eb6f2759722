#pragma once

#include <memory>

#include "parsing/parsed_request.h"
#include "sdk/capabilities.h"
#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"

namespace lumetra_rpc {

// Immutable once built; may serve any number of requests at the same time.
class LMRPCNotificationHandler {
 public:
  explicit LMRPCNotificationHandler(std::shared_ptr<LMRPCNotificationSDK> sdk) : sdk_(std::move(sdk)) {}

  RoutedOutcome handle(LMRPCNotificationRequest request) const;

 private:
  std::shared_ptr<LMRPCNotificationSDK> sdk_;
};

}  // namespace lumetra_rpc
