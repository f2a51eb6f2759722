#include "pipeline/listener_handler.h"

#include "handlers/handler_support.h"
#include "pipeline/request_handler.h"

namespace lumetra_rpc {
namespace {

// The flag first, then the delegate: a callback the SDK fires as soon as it has its
// delegate must already find the listener registered.
template <typename SetDelegate>
SDKOutcome registerListener(const std::weak_ptr<LMRPCRequestHandler>& handlerInstance,
                            LMRPCHandlerStateActor& stateActor, ListenerGate gate, SetDelegate setDelegate,
                            const char* kind, ConstantText registered) {
  auto handler = handlerInstance.lock();
  if (!handler) {
    return SDKFailure::ofType(
        std::string("Handler instance deallocated, cannot register ") + kind + " listener",
        error_type::kInternal);
  }
  stateActor.registerListener(gate);
  setDelegate(handler);
  return SDKSuccess{registered, std::nullopt};
}

}  // namespace

SDKOutcome LMRPCListenerHandler::registerConversionListener() const {
  return registerListener(
      handlerInstance_, *stateActor_, ListenerGate::conversion,
      [this](const auto& handler) { sdk_->setDelegate(std::weak_ptr<LumetraLibDelegate>(handler)); },
      "conversion", "Conversion listener registered");
}

SDKOutcome LMRPCListenerHandler::registerDeeplinkListener() const {
  return registerListener(
      handlerInstance_, *stateActor_, ListenerGate::deepLink,
      [this](const auto& handler) {
        sdk_->setDeepLinkDelegate(std::weak_ptr<LumetraDeepLinkDelegate>(handler));
      },
      "deeplink", "Deeplink listener registered");
}

RoutedOutcome LMRPCListenerHandler::handle(LMRPCListenerRequest request) const {
  try {
    if (std::holds_alternative<LMRPCRegisterConversionListenerRequest>(request))
      return asRouted(registerConversionListener());
    return asRouted(registerDeeplinkListener());
  } catch (...) {
    // An SDK whose delegate setter throws gets the same answer as a throwing handler case.
    return asRouted(handlers::unexpectedHandlerFailure());
  }
}

}  // namespace lumetra_rpc
