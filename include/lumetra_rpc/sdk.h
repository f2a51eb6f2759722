#pragma once
// The SDK binding: the nine narrow views of the attribution SDK that the library's handlers
// hold, one per category of methods. One object implements all nine
// (LMRPCSDKCapabilities); each handler sees only its own. This build's default
// implementation drives the SDK simulator; an embedder plugs in the real SDK by
// implementing LMRPCSDKCapabilities over it and handing a shared instance to the client
// or the shared facade when creating them.
//
// What the library expects of an implementation:
// - Any thread may call any member, concurrently, except the three URL-opening deep-link
//   operations, which the library calls on its main executor.
// - Setters and fire-and-forget operations return promptly. Getters are never read.
// - Completions and callbacks may run on any thread, before or after the call returns. The
//   library waits for an answer at most for its timeout, so a completion may also never
//   run, or run more than once; only the first answer counts.
// - Nothing should be thrown; what is thrown is caught and answered as an internal failure.
// - Delegates are handed over weakly: the SDK must not keep the library alive.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumetra_rpc/export.h"
#include "lumetra_rpc/sdk_types.h"

namespace lumetra_rpc {

class LMRPC_API LMRPCCoreSDK {
 public:
  virtual ~LMRPCCoreSDK() = default;
  virtual std::string lumetraDevKey() const = 0;
  virtual void setLumetraDevKey(const std::string& key) = 0;
  virtual std::string appleAppID() const = 0;
  virtual void setAppleAppID(const std::string& appID) = 0;
  virtual void start(SDKCompletion completion) = 0;
  virtual void logEvent(const std::string& name, const std::optional<JSONObject>& values) = 0;
  virtual void logEvent(const std::string& name, const std::optional<JSONObject>& values,
                        SDKCompletion completion) = 0;
  virtual void setPluginInfo(std::int64_t plugin, const std::string& pluginVersion,
                             const std::optional<JSONObject>& additionalParams) = 0;
};

class LMRPC_API LMRPCSimpleConfigSDK {
 public:
  virtual ~LMRPCSimpleConfigSDK() = default;
  virtual bool isDebug() const = 0;
  virtual void setIsDebug(bool value) = 0;
  virtual std::string customerUserID() const = 0;
  virtual void setCustomerUserID(const std::string& value) = 0;
  virtual JSONObject additionalData() const = 0;
  virtual void setAdditionalData(const JSONObject& value) = 0;
  virtual std::string currencyCode() const = 0;
  virtual void setCurrencyCode(const std::string& value) = 0;
  virtual bool disableAdvertisingIdentifier() const = 0;
  virtual void setDisableAdvertisingIdentifier(bool value) = 0;
  virtual bool disableSKAdNetwork() const = 0;
  virtual void setDisableSKAdNetwork(bool value) = 0;
  virtual bool shouldCollectDeviceName() const = 0;
  virtual void setShouldCollectDeviceName(bool value) = 0;
  virtual std::string appInviteHoplineID() const = 0;
  virtual void setAppInviteHoplineID(const std::string& value) = 0;
  virtual bool anonymizeUser() const = 0;
  virtual void setAnonymizeUser(bool value) = 0;
  virtual bool disableCollectASA() const = 0;
  virtual void setDisableCollectASA(bool value) = 0;
  virtual bool disableAppleAdsAttribution() const = 0;
  virtual void setDisableAppleAdsAttribution(bool value) = 0;
  virtual bool useReceiptValidationSandbox() const = 0;
  virtual void setUseReceiptValidationSandbox(bool value) = 0;
  virtual bool useUninstallSandbox() const = 0;
  virtual void setUseUninstallSandbox(bool value) = 0;
  virtual void setPhoneNumber(const std::string& value) = 0;
  virtual bool disableIDFVCollection() const = 0;
  virtual void setDisableIDFVCollection(bool value) = 0;
  virtual std::string currentDeviceLanguage() const = 0;
  virtual void setCurrentDeviceLanguage(const std::string& value) = 0;
  virtual bool isStopped() const = 0;
  virtual void setIsStopped(bool value) = 0;
};

class LMRPC_API LMRPCComplexConfigSDK {
 public:
  virtual ~LMRPCComplexConfigSDK() = default;
  virtual StringList resolveDeepLinkURLs() const = 0;
  virtual void setResolveDeepLinkURLs(const StringList& urls) = 0;
  virtual StringList hoplineCustomDomains() const = 0;
  virtual void setHoplineCustomDomains(const StringList& domains) = 0;
  virtual std::uint64_t minTimeBetweenSessions() const = 0;
  virtual void setMinTimeBetweenSessions(std::uint64_t seconds) = 0;
  virtual std::uint64_t deepLinkTimeout() const = 0;
  virtual void setDeepLinkTimeout(std::uint64_t timeout) = 0;
  virtual void setHost(const std::string& host, const std::string& hostPrefix) = 0;
  virtual void setInstallId(const std::string& installId) = 0;
  virtual void setSharingFilterForPartners(const std::optional<StringList>& partners) = 0;
  virtual void setPartnerData(const std::string& partnerId, const JSONObject& partnerInfo) = 0;
};

class LMRPC_API LMRPCPrivacySDK {
 public:
  virtual ~LMRPCPrivacySDK() = default;
  // A platform fact rather than an SDK call: App Tracking Transparency needs iOS 14.
  virtual OSVersion runningOSVersion() const = 0;
  virtual void waitForATTUserAuthorization(double timeoutInterval) = 0;
  virtual void setConsentData(const LumetraConsent& consent) = 0;
  virtual void enableTCFDataCollection(bool enable) = 0;
};

class LMRPC_API LMRPCDeepLinkSDK {
 public:
  virtual ~LMRPCDeepLinkSDK() = default;
  virtual void appendParametersToDeepLinkingURL(const std::string& containsString,
                                                const StringDictionary& parameters) = 0;
  virtual void addPushNotificationDeepLinkPath(const StringList& path) = 0;
  // A platform fact rather than an SDK call: the class of that name, when the app has it.
  virtual std::optional<ClassHandle> lookupClass(std::string_view name) const = 0;
  virtual void enableFacebookDeferredApplinks(const std::optional<ClassHandle>& appLinkUtility) = 0;
  virtual std::optional<URLValue> facebookDeferredAppLink() const = 0;
  virtual void setFacebookDeferredAppLink(const std::optional<URLValue>& url) = 0;
  // The next three run on the main executor.
  virtual void handleOpenUrl(const URLValue& url, const std::optional<JSONObject>& options) = 0;
  virtual bool continueUserActivity(const LMUserActivity& activity,
                                    std::function<void(std::vector<OpaqueValue>)> restorationHandler) = 0;
  virtual void performOnAppAttribution(const URLValue& url) = 0;
};

class LMRPC_API LMRPCMonetizationSDK {
 public:
  virtual ~LMRPCMonetizationSDK() = default;
  virtual void validateAndLogInAppPurchase(
      const std::string& productIdentifier, const std::string& price, const std::string& currency,
      const std::string& transactionId, const std::optional<JSONObject>& additionalParameters,
      std::function<void(AnyKeyMap response)> success,
      std::function<void(SDKError error, AnyCodable response)> failure) = 0;
  virtual void validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails> details,
                                           const std::optional<JSONObject>& purchaseAdditionalDetails,
                                           SDKCompletion completion) = 0;
  virtual void logAdRevenue(const LMAdRevenueData& revenue,
                            const std::optional<JSONObject>& additionalParameters) = 0;
  virtual void logCrossPromoteImpression(const std::string& appID, const std::optional<std::string>& campaign,
                                         const std::optional<JSONObject>& parameters) = 0;
  // The open-store callback receives the SDK's URL session (opaque here) and the click URL.
  virtual void logAndOpenStore(const std::string& appID, const std::optional<std::string>& campaign,
                               const std::optional<JSONObject>& parameters,
                               std::function<void(OpaqueValue urlSession, URLValue clickURL)> openStore) = 0;
  virtual void generateInviteUrl(LinkGeneratorCallback linkGenerator,
                                 std::function<void(std::optional<URLValue> url)> completionHandler) = 0;
  virtual void logInvite(const std::optional<std::string>& channel,
                         const std::optional<JSONObject>& parameters) = 0;
  // The SDK's initialiser for purchase details, which may yield no object.
  virtual std::shared_ptr<const LMSDKPurchaseDetails> makePurchaseDetails(const std::string& productId,
                                                                          const std::string& transactionId,
                                                                          std::int64_t purchaseType) = 0;
};

class LMRPC_API LMRPCNotificationSDK {
 public:
  virtual ~LMRPCNotificationSDK() = default;
  virtual void handlePushNotification(const JSONObject& pushPayload) = 0;
  virtual void registerUninstall(const Bytes& deviceToken) = 0;
};

class LMRPC_API LMRPCDataSDK {
 public:
  virtual ~LMRPCDataSDK() = default;
  virtual void setUserEmails(const StringList& emails, std::int64_t cryptType) = 0;
  virtual void logLocation(double longitude, double latitude) = 0;
  virtual std::string getLumetraUID() = 0;
  virtual std::string getSDKVersion() = 0;
};

// Delegates are held weakly so that the SDK never keeps the library's objects alive.
class LMRPC_API LMRPCListenerSDK {
 public:
  virtual ~LMRPCListenerSDK() = default;
  virtual std::weak_ptr<LumetraLibDelegate> delegate() const = 0;
  virtual void setDelegate(std::weak_ptr<LumetraLibDelegate> delegate) = 0;
  virtual std::weak_ptr<LumetraDeepLinkDelegate> deepLinkDelegate() const = 0;
  virtual void setDeepLinkDelegate(std::weak_ptr<LumetraDeepLinkDelegate> delegate) = 0;
};

// Everything the library needs from one SDK object.
class LMRPC_API LMRPCSDKCapabilities : public LMRPCCoreSDK,
                                       public LMRPCSimpleConfigSDK,
                                       public LMRPCComplexConfigSDK,
                                       public LMRPCPrivacySDK,
                                       public LMRPCDeepLinkSDK,
                                       public LMRPCMonetizationSDK,
                                       public LMRPCNotificationSDK,
                                       public LMRPCDataSDK,
                                       public LMRPCListenerSDK {};

}  // namespace lumetra_rpc
