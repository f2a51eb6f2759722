#include "pipeline/router.h"

#include "handlers/complex_config_handler.h"
#include "handlers/core_handler.h"
#include "handlers/data_handler.h"
#include "handlers/deep_link_handler.h"
#include "handlers/monetization_handler.h"
#include "handlers/notification_handler.h"
#include "handlers/privacy_handler.h"
#include "handlers/simple_config_handler.h"
#include "pipeline/listener_handler.h"
#include "sdk/capabilities.h"

namespace lumetra_rpc {
namespace {

// A route that owns its handler value and forwards the category request to it.
template <typename Category, typename Handler>
Route<Category> routeTo(Handler handler) {
  return [handler = std::move(handler)](Category&& request) { return handler.handle(std::move(request)); };
}

}  // namespace

std::shared_ptr<const LMRPCHandlerRouter> LMRPCHandlerRouter::make(
    std::shared_ptr<LMRPCSDKCapabilities> sdk, std::shared_ptr<LMRPCListenerHandler> listener,
    TimeoutConfig timeouts) {
  return std::make_shared<const LMRPCHandlerRouter>(
      Routes{routeTo<LMRPCCoreRequest>(LMRPCCoreHandler(sdk, timeouts)),
             routeTo<LMRPCSimpleConfigRequest>(LMRPCSimpleConfigHandler(sdk)),
             routeTo<LMRPCComplexConfigRequest>(LMRPCComplexConfigHandler(sdk)),
             routeTo<LMRPCPrivacyRequest>(LMRPCPrivacyHandler(sdk)),
             routeTo<LMRPCDeepLinkRequest>(LMRPCDeepLinkHandler(sdk)),
             routeTo<LMRPCMonetizationRequest>(LMRPCMonetizationHandler(sdk, timeouts)),
             routeTo<LMRPCNotificationRequest>(LMRPCNotificationHandler(sdk)),
             routeTo<LMRPCDataRequest>(LMRPCDataHandler(sdk)),
             [listener = std::move(listener)](LMRPCListenerRequest&& request) {
               return listener->handle(std::move(request));
             }});
}

RoutedOutcome LMRPCHandlerRouter::route(LMRPCParsedRequest request) const {
  return std::visit(
      [this](auto&& record) {
        using Category = CategoryOfT<std::decay_t<decltype(record)>>;
        return std::get<Route<Category>>(routes_)(Category(std::move(record)));
      },
      std::move(request));
}

}  // namespace lumetra_rpc
