#include "pipeline/request_handler.h"

#include "pipeline/listener_handler.h"
#include "pipeline/router.h"
#include "sdk/capabilities.h"

namespace lumetra_rpc {

LMRPCRequestHandler::LMRPCRequestHandler(std::shared_ptr<LMRPCHandlerStateActor> stateActor)
    : stateActor_(std::move(stateActor)) {}

std::shared_ptr<LMRPCRequestHandler> LMRPCRequestHandler::create(
    TimeoutConfig timeouts, std::shared_ptr<LMRPCSDKCapabilities> sdk,
    std::optional<EventEmitterFunction> eventEmitter) {
  auto handler = std::make_shared<LMRPCRequestHandler>(std::make_shared<LMRPCHandlerStateActor>());
  if (eventEmitter) handler->setEventEmitter(std::move(*eventEmitter));
  auto listener = std::make_shared<LMRPCListenerHandler>(sdk, handler->stateActor_,
                                                         std::weak_ptr<LMRPCRequestHandler>(handler));
  handler->router_ = LMRPCHandlerRouter::make(std::move(sdk), std::move(listener), timeouts);
  return handler;
}

// Installed before the caller goes on, so no request or event can ever find it missing.
void LMRPCRequestHandler::setEventEmitter(EventEmitterFunction emitter) {
  stateActor_->storeEventEmitter(std::move(emitter));
}

RoutedOutcome LMRPCRequestHandler::route(LMRPCParsedRequest request) {
  return router_->route(std::move(request));
}

}  // namespace lumetra_rpc
