#pragma once
// The typed request records, one per wire method. Fields carry the parameter's wire name
// unless noted. Handlers receive them already validated.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lumetra_rpc/sdk_types.h"

namespace lumetra_rpc {

// Core
struct LMRPCInitRequest {
  std::string devKey;
  std::string appId;
};
struct LMRPCStartRequest {
  bool awaitResponse = true;
};
struct LMRPCLogEventRequest {
  std::string eventName;
  std::optional<JSONObject> eventValues;
  bool awaitResponse = true;
};
struct LMRPCSetPluginInfoRequest {
  std::string plugin;  // lower-cased, a key of pluginTypes()
  std::string pluginVersion;
  std::optional<JSONObject> additionalParams;
};

// Simple configuration
struct LMRPCIsDebugRequest {
  bool isDebug = false;
};
struct LMRPCSetCustomerUserIdRequest {
  std::string customerUserId;
};
struct LMRPCSetAdditionalDataRequest {
  JSONObject additionalData;
};
struct LMRPCSetCurrencyCodeRequest {
  std::string currencyCode;
};
struct LMRPCSetDisableAdvertisingIdentifierRequest {
  bool disable = false;
};
struct LMRPCSetDisableSKAdNetworkRequest {
  bool disable = false;
};
struct LMRPCSetShouldCollectDeviceNameRequest {
  bool collect = false;
};
struct LMRPCSetAppInviteHoplineIDRequest {
  std::string hoplineID;
};
struct LMRPCSetAnonymizeUserRequest {
  bool anonymize = false;
};
struct LMRPCSetDisableCollectASARequest {
  bool disable = false;
};
struct LMRPCSetDisableAppleAdsAttributionRequest {
  bool disable = false;
};
struct LMRPCSetUseReceiptValidationSandboxRequest {
  bool sandbox = false;
};
struct LMRPCSetUseUninstallSandboxRequest {
  bool sandbox = false;
};
struct LMRPCSetPhoneNumberRequest {
  std::string phoneNumber;
};
struct LMRPCSetDisableIDFVCollectionRequest {
  bool disable = false;
};
struct LMRPCSetCurrentDeviceLanguageRequest {
  std::string language;
};
struct LMRPCSetStoppedRequest {
  bool stopped = false;
};

// Complex configuration
struct LMRPCSetResolveDeepLinkURLsRequest {
  StringList urls;
};
struct LMRPCSetHoplineCustomDomainsRequest {
  StringList domains;
};
struct LMRPCSetHostRequest {
  std::string host;
  std::string hostPrefix;
};
struct LMRPCSetMinTimeBetweenSessionsRequest {
  std::int64_t seconds = 0;
};
struct LMRPCSetDeepLinkTimeoutRequest {
  std::int64_t timeout = 0;
};
struct LMRPCSetInstallIdRequest {
  std::string installId;
};
struct LMRPCSetSharingFilterForPartnersRequest {
  std::optional<StringList> partners;
};
struct LMRPCSetPartnerDataRequest {
  std::string partnerId;
  JSONObject partnerInfo;
};

// Privacy
struct LMRPCWaitForATTRequest {
  double timeout = 60.0;
};
struct LMRPCSetConsentDataRequest {
  bool isUserSubjectToGDPR = false;
  std::optional<bool> hasConsentForDataUsage;
  std::optional<bool> hasConsentForAdsPersonalization;
  std::optional<bool> hasConsentForAdStorage;
};
struct LMRPCEnableTCFDataCollectionRequest {
  bool enable = false;
};

// Deep links
struct LMRPCAppendParametersToDeeplinkURLRequest {
  std::string containsString;
  StringDictionary parameters;  // wire name "params"
};
struct LMRPCAddPushNotificationDeepLinkPathRequest {
  StringList path;
};
struct LMRPCEnableFacebookDeferredApplinksRequest {
  bool enable = false;
};
struct LMRPCSetFacebookDeferredAppLinkRequest {
  std::optional<std::string> url;
};
// The shape both open-URL methods parse into before each copies it into its own record.
struct URLOpenRequestImpl {
  URLValue url;
  std::optional<JSONObject> options;
};
struct LMRPCHandleOpenURLRequest {
  URLValue url;
  std::optional<JSONObject> options;
};
struct LMRPCHandleOpenUrlRequest {
  URLValue url;
  std::optional<JSONObject> options;
};
struct LMRPCContinueUserActivityRequest {
  URLValue url;
  std::string activityType;
};
struct LMRPCPerformOnAppAttributionRequest {
  URLValue url;
};

// Notifications
struct LMRPCHandlePushNotificationRequest {
  JSONObject pushPayload;
};
struct LMRPCRegisterUninstallRequest {
  Bytes deviceTokenData;
};  // wire name "deviceToken"

// Data
struct LMRPCSetUserEmailsRequest {
  StringList emails;
  std::int64_t cryptType = 0;  // the SDK's EmailCryptType: 0 none, 3 sha256
};
struct LMRPCLogLocationRequest {
  double longitude = 0;
  double latitude = 0;
};
struct LMRPCGetLumetraUIDRequest {};
struct LMRPCGetSDKVersionRequest {};

// Listeners
struct LMRPCRegisterConversionListenerRequest {};
struct LMRPCRegisterDeeplinkListenerRequest {};

// Monetization
struct LMRPCValidateAndLogInAppPurchaseLegacyRequest {
  std::string productIdentifier;
  std::string price;
  std::string currency;
  std::string transactionId;
  std::optional<JSONObject> additionalParameters;
};
struct LMRPCValidateAndLogInAppPurchaseV2Request {
  std::string productId;
  std::string transactionId;
  std::string purchaseType;  // a key of purchaseTypes()
  std::optional<JSONObject> additionalParameters;
};
struct LMRPCLogAdRevenueRequest {
  std::string monetizationNetwork;
  std::int64_t mediationNetwork = 13;  // the SDK's MediationNetworkType value
  std::string currencyIso4217Code;
  double eventRevenue = 0;
  std::optional<JSONObject> additionalParameters;
};
struct LMRPCLogCrossPromoteImpressionRequest {
  std::string appID;
  std::optional<std::string> campaign;
  std::optional<JSONObject> parameters;
};
struct LMRPCLogAndOpenStoreRequest {
  std::string appID;
  std::optional<std::string> campaign;
  std::optional<JSONObject> parameters;
};
struct LMRPCGenerateInviteUrlRequest {
  std::optional<std::string> channel;
  std::optional<std::string> campaign;
  std::optional<std::string> referrerName;
  std::optional<std::string> referrerImageURL;
  std::optional<std::string> referrerCustomerId;
  std::optional<std::string> deeplinkPath;
  std::optional<std::string> baseDeeplink;
  std::optional<std::string> brandDomain;
  std::optional<JSONObject> customParams;
};
struct LMRPCLogInviteRequest {
  std::optional<std::string> channel;
  std::optional<JSONObject> parameters;
};

}  // namespace lumetra_rpc
