#include "handlers/privacy_handler.h"

#include "handlers/handler_support.h"
#include "wire/number_text.h"

namespace lumetra_rpc {

namespace {

using SDK = LMRPCPrivacySDK;

// App Tracking Transparency exists only from this release on.
constexpr OSVersion kATTMinimumVersion{14, 0, 0};

SDKOutcome apply(SDK& sdk, const LMRPCWaitForATTRequest& r) {
  if (sdk.runningOSVersion() < kATTMinimumVersion) {
    return SDKFailure::ofType("ATT requires iOS 14.0 or later", error_type::kUnsupportedPlatform);
  }
  sdk.waitForATTUserAuthorization(r.timeout);
  return SDKSuccess{"Waiting for ATT authorization with timeout " + formatNumberForMessage(r.timeout) + "s",
                    std::nullopt};
}

// Absent consent answers stay absent: the SDK tells "not asked" from "refused".
SDKOutcome apply(SDK& sdk, const LMRPCSetConsentDataRequest& r) {
  LumetraConsent consent{r.isUserSubjectToGDPR, r.hasConsentForDataUsage, r.hasConsentForAdsPersonalization,
                         r.hasConsentForAdStorage};
  sdk.setConsentData(consent);
  const char* gdpr = r.isUserSubjectToGDPR ? "true" : "false";
  return SDKSuccess{std::string("Consent data set (GDPR=") + gdpr + ")", std::nullopt};
}

SDKOutcome apply(SDK& sdk, const LMRPCEnableTCFDataCollectionRequest& r) {
  sdk.enableTCFDataCollection(r.enable);
  return SDKSuccess{
      r.enable ? ConstantText("TCF data collection enabled") : ConstantText("TCF data collection disabled"),
      std::nullopt};
}

}  // namespace

RoutedOutcome LMRPCPrivacyHandler::handle(LMRPCPrivacyRequest request) const {
  auto visitCase = [sdk = sdk_](auto&& record) { return apply(*sdk, record); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
