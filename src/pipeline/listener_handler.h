#pragma once
// Serves the two listener methods: records the flag on the state actor, then makes the
// request handler the SDK's delegate. The flag is set first so that a callback the SDK
// fires as soon as it gets its delegate already finds it. Refers back to the request
// handler weakly: the request handler owns (through the router) this object.

#include <memory>

#include "parsing/parsed_request.h"
#include "pipeline/state_actor.h"
#include "sdk/capabilities.h"
#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"

namespace lumetra_rpc {

class LMRPCRequestHandler;

class LMRPCListenerHandler {
 public:
  LMRPCListenerHandler(std::shared_ptr<LMRPCListenerSDK> sdk,
                       std::shared_ptr<LMRPCHandlerStateActor> stateActor,
                       std::weak_ptr<LMRPCRequestHandler> handlerInstance)
      : sdk_(std::move(sdk)),
        stateActor_(std::move(stateActor)),
        handlerInstance_(std::move(handlerInstance)) {}

  SDKOutcome registerConversionListener() const;
  SDKOutcome registerDeeplinkListener() const;
  RoutedOutcome handle(LMRPCListenerRequest request) const;

 private:
  std::shared_ptr<LMRPCListenerSDK> sdk_;
  std::shared_ptr<LMRPCHandlerStateActor> stateActor_;
  std::weak_ptr<LMRPCRequestHandler> handlerInstance_;
};

}  // namespace lumetra_rpc
