#include "parsing/method_table.h"

#include "runtime/immortal.h"

#include "parsing/parse_functions.h"

namespace lumetra_rpc {
namespace {

using std::string;

// Methods whose record holds a single value name its getter and parameter here; the
// others have a parse function of their own in parse_*.cpp.
MethodTable buildMethodTable() {
  // One line per method, so that a method's parse path is found at a glance.
  // clang-format off
  return {
      {"init", parseInit},
      {"registerConversionListener", parseNone<LMRPCRegisterConversionListenerRequest>},
      {"registerDeeplinkListener", parseNone<LMRPCRegisterDeeplinkListenerRequest>},
      {"isDebug", parseOne<LMRPCIsDebugRequest, requiredBool, "isDebug">},
      {"waitForATT", parseWaitForATT},
      {"start", parseStart},
      {"logEvent", parseLogEvent},
      {"setPluginInfo", parseSetPluginInfo},
      {"setCustomerUserId", parseOne<LMRPCSetCustomerUserIdRequest, requiredTypedValue<string>, "customerUserId">},
      {"setAdditionalData", parseOne<LMRPCSetAdditionalDataRequest, requiredTypedValue<JSONObject>, "additionalData">},
      {"setCurrencyCode", parseOne<LMRPCSetCurrencyCodeRequest, requiredTypedValue<string>, "currencyCode">},
      {"setDisableAdvertisingIdentifier", parseOne<LMRPCSetDisableAdvertisingIdentifierRequest, requiredBool, "disable">},
      {"setDisableSKAdNetwork", parseOne<LMRPCSetDisableSKAdNetworkRequest, requiredBool, "disable">},
      {"setShouldCollectDeviceName", parseOne<LMRPCSetShouldCollectDeviceNameRequest, requiredBool, "collect">},
      {"setAppInviteHoplineID", parseOne<LMRPCSetAppInviteHoplineIDRequest, requiredTypedValue<string>, "hoplineID">},
      {"setAnonymizeUser", parseOne<LMRPCSetAnonymizeUserRequest, requiredBool, "anonymize">},
      {"setDisableCollectASA", parseOne<LMRPCSetDisableCollectASARequest, requiredBool, "disable">},
      {"setDisableAppleAdsAttribution", parseOne<LMRPCSetDisableAppleAdsAttributionRequest, requiredBool, "disable">},
      {"setUseReceiptValidationSandbox", parseOne<LMRPCSetUseReceiptValidationSandboxRequest, requiredBool, "sandbox">},
      {"setUseUninstallSandbox", parseOne<LMRPCSetUseUninstallSandboxRequest, requiredBool, "sandbox">},
      {"setPhoneNumber", parseOne<LMRPCSetPhoneNumberRequest, requiredTypedValue<string>, "phoneNumber">},
      {"setDisableIDFVCollection", parseOne<LMRPCSetDisableIDFVCollectionRequest, requiredBool, "disable">},
      {"setCurrentDeviceLanguage", parseOne<LMRPCSetCurrentDeviceLanguageRequest, requiredTypedValue<string>, "language">},
      {"getLumetraUID", parseNone<LMRPCGetLumetraUIDRequest>},
      {"getSDKVersion", parseNone<LMRPCGetSDKVersionRequest>},
      {"setResolveDeepLinkURLs", parseSetResolveDeepLinkURLs},
      {"setHoplineCustomDomains", parseSetHoplineCustomDomains},
      {"setHost", parseSetHost},
      {"setMinTimeBetweenSessions", parseOne<LMRPCSetMinTimeBetweenSessionsRequest, requiredNonNegativeInt, "seconds">},
      {"setDeepLinkTimeout", parseOne<LMRPCSetDeepLinkTimeoutRequest, requiredNonNegativeInt, "timeout">},
      {"setInstallId", parseOne<LMRPCSetInstallIdRequest, requiredStrictString, "installId">},
      {"setSharingFilterForPartners", parseSetSharingFilterForPartners},
      {"setPartnerData", parseSetPartnerData},
      {"setStopped", parseOne<LMRPCSetStoppedRequest, requiredBool, "stopped">},
      {"setConsentData", parseSetConsentData},
      {"enableTCFDataCollection", parseOne<LMRPCEnableTCFDataCollectionRequest, requiredBool, "enable">},
      {"appendParametersToDeeplinkURL", parseAppendParametersToDeeplinkURL},
      {"addPushNotificationDeepLinkPath", parseOne<LMRPCAddPushNotificationDeepLinkPathRequest, requiredNonEmptyValue<StringList>, "path">},
      {"enableFacebookDeferredApplinks", parseOne<LMRPCEnableFacebookDeferredApplinksRequest, requiredBool, "enable">},
      {"setFacebookDeferredAppLink", parseSetFacebookDeferredAppLink},
      {"handleOpenURL", parseOpenURL<LMRPCHandleOpenURLRequest>},
      {"handleOpenUrl", parseOpenURL<LMRPCHandleOpenUrlRequest>},
      {"continueUserActivity", parseContinueUserActivity},
      {"handlePushNotification", parseOne<LMRPCHandlePushNotificationRequest, requiredNonEmptyValue<JSONObject>, "pushPayload">},
      {"registerUninstall", parseRegisterUninstall},
      {"performOnAppAttributionWithURL", parseOne<LMRPCPerformOnAppAttributionRequest, requiredURL, "url">},
      {"logLocation", parseLogLocation},
      {"validateAndLogInAppPurchaseLegacy", parseValidateAndLogInAppPurchaseLegacy},
      {"validateAndLogInAppPurchaseV2", parseValidateAndLogInAppPurchaseV2},
      {"logAdRevenue", parseLogAdRevenue},
      {"setUserEmails", parseSetUserEmails},
      {"logCrossPromoteImpression", parseCrossPromotion<LMRPCLogCrossPromoteImpressionRequest>},
      {"logAndOpenStore", parseCrossPromotion<LMRPCLogAndOpenStoreRequest>},
      {"generateInviteUrl", parseGenerateInviteUrl},
      {"logInvite", parseLogInvite},
  };
  // clang-format on
}

}  // namespace

const MethodTable& methodParsers() {
  // Never destroyed: requests may still be parsed while the process exits.
  static Immortal<MethodTable> table(buildMethodTable());
  return table.get();
}

ClientResult<LMRPCParsedRequest> parseRequest(const LMRPCRequest& request) {
  // Exact match only; an unknown name is reported before any parameter is looked at.
  const MethodTable& table = methodParsers();
  auto found = table.find(request.method);
  if (found == table.end()) return fail(LMRPCClientError::unknownMethod(request.method));
  return found->second(request.params);
}

}  // namespace lumetra_rpc
