#pragma once

#include <memory>

#include "parsing/parsed_request.h"
#include "sdk/capabilities.h"
#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"

namespace lumetra_rpc {

// Immutable once built; may serve any number of requests at the same time.
class LMRPCComplexConfigHandler {
 public:
  explicit LMRPCComplexConfigHandler(std::shared_ptr<LMRPCComplexConfigSDK> sdk) : sdk_(std::move(sdk)) {}

  RoutedOutcome handle(LMRPCComplexConfigRequest request) const;

 private:
  std::shared_ptr<LMRPCComplexConfigSDK> sdk_;
};

}  // namespace lumetra_rpc
