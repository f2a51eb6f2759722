#include "handlers/simple_config_handler.h"

#include "handlers/handler_support.h"

namespace lumetra_rpc {

namespace {

using SDK = LMRPCSimpleConfigSDK;

// Every case writes one value through one member and answers with a fixed message.
template <typename Value, typename Arg>
SDKOutcome write(SDK& sdk, void (SDK::*setter)(Arg), const Value& value, OutcomeMessage message) {
  (sdk.*setter)(value);
  return SDKSuccess{std::move(message), std::nullopt};
}

SDKOutcome apply(SDK& sdk, const LMRPCIsDebugRequest& r) {
  return write(
      sdk, &SDK::setIsDebug, r.isDebug,
      r.isDebug ? ConstantText("Debug mode enabled") : ConstantText("Debug mode disabled (default)"));
}

SDKOutcome apply(SDK& sdk, const LMRPCSetCustomerUserIdRequest& r) {
  return write(sdk, &SDK::setCustomerUserID, r.customerUserId, "customerUserId set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetAdditionalDataRequest& r) {
  // An empty object is written as an empty dictionary: the host asked to clear the data.
  return write(sdk, &SDK::setAdditionalData, r.additionalData, "additionalData set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetCurrencyCodeRequest& r) {
  return write(sdk, &SDK::setCurrencyCode, r.currencyCode, "currencyCode set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetDisableAdvertisingIdentifierRequest& r) {
  return write(sdk, &SDK::setDisableAdvertisingIdentifier, r.disable, "disableAdvertisingIdentifier set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetDisableSKAdNetworkRequest& r) {
  return write(sdk, &SDK::setDisableSKAdNetwork, r.disable, "disableSKAdNetwork set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetShouldCollectDeviceNameRequest& r) {
  return write(sdk, &SDK::setShouldCollectDeviceName, r.collect, "shouldCollectDeviceName set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetAppInviteHoplineIDRequest& r) {
  return write(sdk, &SDK::setAppInviteHoplineID, r.hoplineID, "appInviteHoplineID set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetAnonymizeUserRequest& r) {
  return write(sdk, &SDK::setAnonymizeUser, r.anonymize, "anonymizeUser set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetDisableCollectASARequest& r) {
  return write(sdk, &SDK::setDisableCollectASA, r.disable, "disableCollectASA set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetDisableAppleAdsAttributionRequest& r) {
  return write(sdk, &SDK::setDisableAppleAdsAttribution, r.disable, "disableAppleAdsAttribution set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetUseReceiptValidationSandboxRequest& r) {
  return write(sdk, &SDK::setUseReceiptValidationSandbox, r.sandbox, "useReceiptValidationSandbox set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetUseUninstallSandboxRequest& r) {
  return write(sdk, &SDK::setUseUninstallSandbox, r.sandbox, "useUninstallSandbox set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetPhoneNumberRequest& r) {
  return write(sdk, &SDK::setPhoneNumber, r.phoneNumber, "phoneNumber set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetDisableIDFVCollectionRequest& r) {
  return write(sdk, &SDK::setDisableIDFVCollection, r.disable, "disableIDFVCollection set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetCurrentDeviceLanguageRequest& r) {
  return write(sdk, &SDK::setCurrentDeviceLanguage, r.language, "currentDeviceLanguage set");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetStoppedRequest& r) {
  return write(sdk, &SDK::setIsStopped, r.stopped,
               r.stopped ? ConstantText("SDK stopped") : ConstantText("SDK resumed"));
}

}  // namespace

RoutedOutcome LMRPCSimpleConfigHandler::handle(LMRPCSimpleConfigRequest request) const {
  auto visitCase = [sdk = sdk_](auto&& record) { return apply(*sdk, record); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
