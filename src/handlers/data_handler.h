#pragma once

#include <memory>

#include "parsing/parsed_request.h"
#include "sdk/capabilities.h"
#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"

namespace lumetra_rpc {

// Immutable once built; may serve any number of requests at the same time.
class LMRPCDataHandler {
 public:
  explicit LMRPCDataHandler(std::shared_ptr<LMRPCDataSDK> sdk) : sdk_(std::move(sdk)) {}

  RoutedOutcome handle(LMRPCDataRequest request) const;

 private:
  std::shared_ptr<LMRPCDataSDK> sdk_;
};

}  // namespace lumetra_rpc
