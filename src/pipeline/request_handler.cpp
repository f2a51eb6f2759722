#include "pipeline/request_handler.h"

#include "handlers/handler_support.h"
#include "pipeline/listener_handler.h"
#include "pipeline/router.h"
#include "sdk/capabilities.h"

namespace lumetra_rpc {

LMRPCRequestHandler::LMRPCRequestHandler(std::shared_ptr<LMRPCHandlerStateActor> stateActor)
    : router_(LMRPCHandlerRouter::placeholder()), stateActor_(std::move(stateActor)) {}

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

namespace {

boost::asio::awaitable<LMRPCResponse> answer(boost::asio::awaitable<SDKOutcome> routed,
                                             std::optional<AnyCodable> id) {
  std::optional<SDKOutcome> outcome;
  try {
    outcome.emplace(co_await std::move(routed));
  } catch (...) {
  }
  co_return responseOf(std::move(id), outcome);
}

}  // namespace

AnyCodable resultOf(const std::optional<SDKOutcome>& outcome) {
  return AnyCodable(outcome ? shapeResult(*outcome) : shapeResult(handlers::unexpectedHandlerFailure()));
}

LMRPCResponse responseOf(std::optional<AnyCodable> id, const std::optional<SDKOutcome>& outcome) {
  return LMRPCResponse{std::move(id), resultOf(outcome), std::nullopt};
}

RoutedOutcome LMRPCRequestHandler::route(LMRPCParsedRequest request) {
  return router_->route(std::move(request));
}

boost::asio::awaitable<LMRPCResponse> LMRPCRequestHandler::routeRequest(LMRPCParsedRequest request,
                                                                        std::optional<AnyCodable> id) {
  return answer(awaitOutcome(route(std::move(request))), std::move(id));
}

}  // namespace lumetra_rpc
