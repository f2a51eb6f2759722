#include "pipeline/request_handler.h"

#include <boost/asio/post.hpp>

#include "handlers/handler_support.h"
#include "lumetra_rpc/runtime.h"
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

void LMRPCRequestHandler::setEventEmitter(EventEmitterFunction emitter) {
  auto task = std::make_shared<AsyncLatch>();
  boost::asio::post(Runtime::shared().pool(),
                    [actor = stateActor_, task, emitter = std::move(emitter)]() mutable {
                      actor->storeEventEmitter(std::move(emitter));
                      task->open();
                    });
  std::lock_guard lock(emitterLock_);
  emitterSetupTask_ = std::move(task);
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

boost::asio::awaitable<SDKOutcome> routeAfter(std::shared_ptr<AsyncLatch> setup,
                                              std::shared_ptr<const LMRPCHandlerRouter> router,
                                              LMRPCParsedRequest request) {
  co_await setup->wait();
  auto outcome = awaitOutcome(router->route(std::move(request)));
  co_return co_await std::move(outcome);
}

}  // namespace

AnyCodable resultOf(const std::optional<SDKOutcome>& outcome) {
  return AnyCodable(outcome ? shapeResult(*outcome) : shapeResult(handlers::unexpectedHandlerFailure()));
}

LMRPCResponse responseOf(std::optional<AnyCodable> id, const std::optional<SDKOutcome>& outcome) {
  return LMRPCResponse{std::move(id), resultOf(outcome), std::nullopt};
}

// Once the emitter is installed (the usual case) nothing waits, and the case is started
// right here, outside any coroutine frame.
RoutedOutcome LMRPCRequestHandler::route(LMRPCParsedRequest request) {
  std::shared_ptr<AsyncLatch> setup;
  {
    // Copied only while it is pending: every request touching the latch's count would
    // bounce that cache line between the pool's threads.
    std::lock_guard lock(emitterLock_);
    if (emitterSetupTask_ && !emitterSetupTask_->isOpen()) setup = emitterSetupTask_;
  }
  if (setup) return asRouted(routeAfter(std::move(setup), router_, std::move(request)));
  return router_->route(std::move(request));
}

boost::asio::awaitable<LMRPCResponse> LMRPCRequestHandler::routeRequest(LMRPCParsedRequest request,
                                                                        std::optional<AnyCodable> id) {
  return answer(awaitOutcome(route(std::move(request))), std::move(id));
}

}  // namespace lumetra_rpc
