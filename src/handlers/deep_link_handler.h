#pragma once

#include <memory>

#include "parsing/parsed_request.h"
#include "sdk/capabilities.h"
#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"

namespace lumetra_rpc {

// Immutable once built; may serve any number of requests at the same time.
class LMRPCDeepLinkHandler {
 public:
  explicit LMRPCDeepLinkHandler(std::shared_ptr<LMRPCDeepLinkSDK> sdk) : sdk_(std::move(sdk)) {}

  RoutedOutcome handle(LMRPCDeepLinkRequest request) const;

 private:
  std::shared_ptr<LMRPCDeepLinkSDK> sdk_;
};

}  // namespace lumetra_rpc
