#pragma once
// LumetraSDKAdapter implements all nine SDK capabilities over the SDK's shared LumetraLib
// instance: one SDK call per member, converting the library's values into the SDK's and
// the SDK's callbacks into completions. It keeps no settings of its own; the SDK does.
// Created once per request handler and shared by every handler; any thread may call it
// (the three URL-opening calls are put on the main executor by their caller). Callbacks
// arrive on whatever thread the SDK chooses. Not final: the tests' adversarial SDK derives
// from it to change only how the awaited operations answer.

#include <memory>

#include "sdk/capabilities.h"
#include "sdk/simulator/lumetra_lib.h"

namespace lumetra_rpc {

class LumetraSDKAdapter : public LMRPCSDKCapabilities {
 public:
  LumetraSDKAdapter();

  std::string lumetraDevKey() const override;
  void setLumetraDevKey(const std::string& key) override;
  std::string appleAppID() const override;
  void setAppleAppID(const std::string& appID) override;
  void start(SDKCompletion completion) override;
  void logEvent(const std::string& name, const std::optional<JSONObject>& values) override;
  void logEvent(const std::string& name, const std::optional<JSONObject>& values,
                SDKCompletion completion) override;
  void setPluginInfo(std::int64_t plugin, const std::string& pluginVersion,
                     const std::optional<JSONObject>& additionalParams) override;

  bool isDebug() const override;
  void setIsDebug(bool value) override;
  std::string customerUserID() const override;
  void setCustomerUserID(const std::string& value) override;
  JSONObject additionalData() const override;
  void setAdditionalData(const JSONObject& value) override;
  std::string currencyCode() const override;
  void setCurrencyCode(const std::string& value) override;
  bool disableAdvertisingIdentifier() const override;
  void setDisableAdvertisingIdentifier(bool value) override;
  bool disableSKAdNetwork() const override;
  void setDisableSKAdNetwork(bool value) override;
  bool shouldCollectDeviceName() const override;
  void setShouldCollectDeviceName(bool value) override;
  std::string appInviteHoplineID() const override;
  void setAppInviteHoplineID(const std::string& value) override;
  bool anonymizeUser() const override;
  void setAnonymizeUser(bool value) override;
  bool disableCollectASA() const override;
  void setDisableCollectASA(bool value) override;
  bool disableAppleAdsAttribution() const override;
  void setDisableAppleAdsAttribution(bool value) override;
  bool useReceiptValidationSandbox() const override;
  void setUseReceiptValidationSandbox(bool value) override;
  bool useUninstallSandbox() const override;
  void setUseUninstallSandbox(bool value) override;
  void setPhoneNumber(const std::string& value) override;
  bool disableIDFVCollection() const override;
  void setDisableIDFVCollection(bool value) override;
  std::string currentDeviceLanguage() const override;
  void setCurrentDeviceLanguage(const std::string& value) override;
  bool isStopped() const override;
  void setIsStopped(bool value) override;

  StringList resolveDeepLinkURLs() const override;
  void setResolveDeepLinkURLs(const StringList& urls) override;
  StringList hoplineCustomDomains() const override;
  void setHoplineCustomDomains(const StringList& domains) override;
  std::uint64_t minTimeBetweenSessions() const override;
  void setMinTimeBetweenSessions(std::uint64_t seconds) override;
  std::uint64_t deepLinkTimeout() const override;
  void setDeepLinkTimeout(std::uint64_t timeout) override;
  void setHost(const std::string& host, const std::string& hostPrefix) override;
  void setInstallId(const std::string& installId) override;
  void setSharingFilterForPartners(const std::optional<StringList>& partners) override;
  void setPartnerData(const std::string& partnerId, const JSONObject& partnerInfo) override;

  OSVersion runningOSVersion() const override;
  void waitForATTUserAuthorization(double timeoutInterval) override;
  void setConsentData(const LumetraConsent& consent) override;
  void enableTCFDataCollection(bool enable) override;

  void appendParametersToDeepLinkingURL(const std::string& containsString,
                                        const StringDictionary& parameters) override;
  void addPushNotificationDeepLinkPath(const StringList& path) override;
  std::optional<ClassHandle> lookupClass(std::string_view name) const override;
  void enableFacebookDeferredApplinks(const std::optional<ClassHandle>& appLinkUtility) override;
  std::optional<URLValue> facebookDeferredAppLink() const override;
  void setFacebookDeferredAppLink(const std::optional<URLValue>& url) override;
  void handleOpenUrl(const URLValue& url, const std::optional<JSONObject>& options) override;
  bool continueUserActivity(const LMUserActivity& activity,
                            std::function<void(std::vector<OpaqueValue>)> restorationHandler) override;
  void performOnAppAttribution(const URLValue& url) override;

  void validateAndLogInAppPurchase(const std::string& productIdentifier, const std::string& price,
                                   const std::string& currency, const std::string& transactionId,
                                   const std::optional<JSONObject>& additionalParameters,
                                   std::function<void(AnyKeyMap response)> success,
                                   std::function<void(SDKError error, AnyCodable response)> failure) override;
  void validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails> details,
                                   const std::optional<JSONObject>& purchaseAdditionalDetails,
                                   SDKCompletion completion) override;
  void logAdRevenue(const LMAdRevenueData& revenue,
                    const std::optional<JSONObject>& additionalParameters) override;
  void logCrossPromoteImpression(const std::string& appID, const std::optional<std::string>& campaign,
                                 const std::optional<JSONObject>& parameters) override;
  void logAndOpenStore(const std::string& appID, const std::optional<std::string>& campaign,
                       const std::optional<JSONObject>& parameters,
                       std::function<void(OpaqueValue urlSession, URLValue clickURL)> openStore) override;
  void generateInviteUrl(LinkGeneratorCallback linkGenerator,
                         std::function<void(std::optional<URLValue> url)> completionHandler) override;
  void logInvite(const std::optional<std::string>& channel,
                 const std::optional<JSONObject>& parameters) override;
  std::shared_ptr<const LMSDKPurchaseDetails> makePurchaseDetails(const std::string& productId,
                                                                  const std::string& transactionId,
                                                                  std::int64_t purchaseType) override;

  void handlePushNotification(const JSONObject& pushPayload) override;
  void registerUninstall(const Bytes& deviceToken) override;

  void setUserEmails(const StringList& emails, std::int64_t cryptType) override;
  void logLocation(double longitude, double latitude) override;
  std::string getLumetraUID() override;
  std::string getSDKVersion() override;

  std::weak_ptr<LumetraLibDelegate> delegate() const override;
  void setDelegate(std::weak_ptr<LumetraLibDelegate> delegate) override;
  std::weak_ptr<LumetraDeepLinkDelegate> deepLinkDelegate() const override;
  void setDeepLinkDelegate(std::weak_ptr<LumetraDeepLinkDelegate> delegate) override;

 private:
  std::shared_ptr<simulator::LumetraLib> sdk_;
};

}  // namespace lumetra_rpc
