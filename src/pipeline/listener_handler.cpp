#include "pipeline/listener_handler.h"

#include "pipeline/request_handler.h"

namespace lumetra_rpc {

boost::asio::awaitable<SDKOutcome> LMRPCListenerHandler::registerConversionListener() const {
  auto handler = handlerInstance_.lock();
  if (!handler) {
    co_return SDKFailure::ofType("Handler instance deallocated, cannot register conversion listener",
                                 error_type::kInternal);
  }
  stateActor_->registerListener(ListenerGate::conversion);
  sdk_->setDelegate(std::weak_ptr<LumetraLibDelegate>(handler));
  co_return SDKSuccess{"Conversion listener registered", std::nullopt};
}

boost::asio::awaitable<SDKOutcome> LMRPCListenerHandler::registerDeeplinkListener() const {
  auto handler = handlerInstance_.lock();
  if (!handler) {
    co_return SDKFailure::ofType("Handler instance deallocated, cannot register deeplink listener",
                                 error_type::kInternal);
  }
  stateActor_->registerListener(ListenerGate::deepLink);
  sdk_->setDeepLinkDelegate(std::weak_ptr<LumetraDeepLinkDelegate>(handler));
  co_return SDKSuccess{"Deeplink listener registered", std::nullopt};
}

boost::asio::awaitable<SDKOutcome> LMRPCListenerHandler::handle(LMRPCListenerRequest request) const {
  if (std::holds_alternative<LMRPCRegisterConversionListenerRequest>(request))
    return registerConversionListener();
  return registerDeeplinkListener();
}

}  // namespace lumetra_rpc
