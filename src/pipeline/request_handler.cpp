#include "pipeline/request_handler.h"

#include <boost/asio/post.hpp>

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

boost::asio::awaitable<LMRPCResponse> LMRPCRequestHandler::routeRequest(LMRPCParsedRequest request,
                                                                        std::optional<AnyCodable> id) {
  std::shared_ptr<AsyncLatch> setup;
  {
    std::lock_guard lock(emitterLock_);
    setup = emitterSetupTask_;
  }
  if (setup) co_await setup->wait();
  auto result = co_await router_->route(std::move(request));
  co_return LMRPCResponse{std::move(id), AnyCodable(std::move(result)), std::nullopt};
}

}  // namespace lumetra_rpc
