#include "handlers/notification_handler.h"

#include "handlers/handler_support.h"

namespace lumetra_rpc {

namespace {

using SDK = LMRPCNotificationSDK;

SDKOutcome apply(SDK& sdk, const LMRPCHandlePushNotificationRequest& r) {
  sdk.handlePushNotification(r.pushPayload);
  return SDKSuccess{"Push notification handled", std::nullopt};
}

// The raw token bytes go through untouched; the SDK uses them to measure uninstalls.
SDKOutcome apply(SDK& sdk, const LMRPCRegisterUninstallRequest& r) {
  sdk.registerUninstall(r.deviceTokenData);
  return SDKSuccess{"Uninstall token registered", std::nullopt};
}

}  // namespace

RoutedOutcome LMRPCNotificationHandler::handle(LMRPCNotificationRequest request) const {
  auto visitCase = [sdk = sdk_](auto&& record) { return apply(*sdk, record); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
