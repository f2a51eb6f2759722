#pragma once
// The simulated `LumetraLib`: the maker's SDK as its public surface looks from C++, with
// its own call names. It keeps what it is told, answers as its config says and reports to
// its delegates from its own thread. Every call is journaled under the SDK's selector.
//
// `shared()` is the one instance the adapter drives; the simulator's configuration
// replaces it. Any thread may call any member. Delegates are held weakly.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "parsing/requests.h"
#include "sdk/simulator/simulator_context.h"

namespace lumetra_rpc::simulator {

struct DelegateSlots {
  std::mutex mutex;
  std::weak_ptr<LumetraLibDelegate> conversion;
  std::weak_ptr<LumetraDeepLinkDelegate> deepLink;
};

class LumetraLib {
 public:
  using SuccessBlock = std::function<void(AnyKeyMap response)>;
  using FailureBlock = std::function<void(SDKError error, AnyCodable response)>;
  using RestorationHandler = std::function<void(std::vector<OpaqueValue>)>;

  static std::shared_ptr<LumetraLib> shared();
  explicit LumetraLib(std::shared_ptr<SimulatorContext> context);

  std::string lumetraDevKey() const { return text("lumetraDevKey"); }
  void setLumetraDevKey(const std::string& v) { set("setLumetraDevKey:", "lumetraDevKey", v); }
  std::string appleAppID() const { return text("appleAppID"); }
  void setAppleAppID(const std::string& v) { set("setAppleAppID:", "appleAppID", v); }
  void startWithCompletionHandler(CompletionBlock completionHandler);
  void logEvent(const std::string& eventName, const std::optional<AnyKeyMap>& withValues);
  void logEventWithEventName(const std::string& eventName, const std::optional<AnyKeyMap>& eventValues,
                             CompletionBlock completionHandler);
  void setPluginInfoWith(std::int64_t plugin, const std::string& pluginVersion,
                         const std::optional<AnyKeyMap>& additionalParams);

  bool isDebug() const { return flag("isDebug"); }
  void setIsDebug(bool v) { set("setIsDebug:", "isDebug", v); }
  std::string customerUserID() const { return text("customerUserID"); }
  void setCustomerUserID(const std::string& v) { set("setCustomerUserID:", "customerUserID", v); }
  AnyKeyMap additionalData() const;
  void setAdditionalData(const AnyKeyMap& v) { set("setAdditionalData:", "additionalData", v); }
  std::string currencyCode() const { return text("currencyCode"); }
  void setCurrencyCode(const std::string& v) { set("setCurrencyCode:", "currencyCode", v); }
  bool disableAdvertisingIdentifier() const { return flag("disableAdvertisingIdentifier"); }
  void setDisableAdvertisingIdentifier(bool v) {
    set("setDisableAdvertisingIdentifier:", "disableAdvertisingIdentifier", v);
  }
  bool disableSKAdNetwork() const { return flag("disableSKAdNetwork"); }
  void setDisableSKAdNetwork(bool v) { set("setDisableSKAdNetwork:", "disableSKAdNetwork", v); }
  bool shouldCollectDeviceName() const { return flag("shouldCollectDeviceName"); }
  void setShouldCollectDeviceName(bool v) {
    set("setShouldCollectDeviceName:", "shouldCollectDeviceName", v);
  }
  std::string appInviteHopline() const { return text("appInviteHopline"); }
  void setAppInviteHopline(const std::string& v) { set("setAppInviteHopline:", "appInviteHopline", v); }
  bool anonymizeUser() const { return flag("anonymizeUser"); }
  void setAnonymizeUser(bool v) { set("setAnonymizeUser:", "anonymizeUser", v); }
  bool disableCollectASA() const { return flag("disableCollectASA"); }
  void setDisableCollectASA(bool v) { set("setDisableCollectASA:", "disableCollectASA", v); }
  bool disableAppleAdsAttribution() const { return flag("disableAppleAdsAttribution"); }
  void setDisableAppleAdsAttribution(bool v) {
    set("setDisableAppleAdsAttribution:", "disableAppleAdsAttribution", v);
  }
  bool useReceiptValidationSandbox() const { return flag("useReceiptValidationSandbox"); }
  void setUseReceiptValidationSandbox(bool v) {
    set("setUseReceiptValidationSandbox:", "useReceiptValidationSandbox", v);
  }
  bool useUninstallSandbox() const { return flag("useUninstallSandbox"); }
  void setUseUninstallSandbox(bool v) { set("setUseUninstallSandbox:", "useUninstallSandbox", v); }
  void setPhoneNumber(const std::string& v) { set("setPhoneNumber:", "phoneNumber", v); }
  bool disableIDFVCollection() const { return flag("disableIDFVCollection"); }
  void setDisableIDFVCollection(bool v) { set("setDisableIDFVCollection:", "disableIDFVCollection", v); }
  std::string currentDeviceLanguage() const { return text("currentDeviceLanguage"); }
  void setCurrentDeviceLanguage(const std::string& v) {
    set("setCurrentDeviceLanguage:", "currentDeviceLanguage", v);
  }
  bool isStopped() const { return flag("isStopped"); }
  void setIsStopped(bool v) { set("setIsStopped:", "isStopped", v); }

  StringList resolveDeepLinkURLs() const { return list("resolveDeepLinkURLs"); }
  void setResolveDeepLinkURLs(const StringList& v);
  StringList hoplineCustomDomains() const { return list("hoplineCustomDomains"); }
  void setHoplineCustomDomains(const StringList& v);
  std::uint64_t minTimeBetweenSessions() const { return count("minTimeBetweenSessions"); }
  void setMinTimeBetweenSessions(std::uint64_t v);
  std::uint64_t deepLinkTimeout() const { return count("deepLinkTimeout"); }
  void setDeepLinkTimeout(std::uint64_t v);
  void setHost(const std::string& host, const std::string& withHostPrefix);
  void setInstallId(const std::string& installId);
  void setSharingFilterForPartners(const std::optional<StringList>& partners);
  void setPartnerDataWithPartnerId(const std::string& partnerId, const AnyKeyMap& partnerInfo);

  void waitForATTUserAuthorizationWithTimeoutInterval(double timeoutInterval);
  void setConsentData(const LumetraConsent& consent);
  void enableTCFDataCollection(bool enable);

  void appendParametersToDeepLinkingURLWithString(const std::string& containsString,
                                                  const StringDictionary& parameters);
  void addPushNotificationDeepLinkPath(const StringList& deepLinkPath);
  void enableFacebookDeferredApplinksWithClass(const std::optional<ClassHandle>& appLinkUtility);
  std::optional<URLValue> facebookDeferredAppLink() const;
  void setFacebookDeferredAppLink(const std::optional<URLValue>& url);
  void handleOpenUrl(const URLValue& url, const std::optional<AnyKeyMap>& options);
  bool continueUserActivity(const LMUserActivity& userActivity, RestorationHandler restorationHandler);
  void performOnAppAttributionWithURL(const URLValue& url);

  void validateAndLogInAppPurchase(const std::string& productIdentifier, const std::string& price,
                                   const std::string& currency, const std::string& transactionId,
                                   const std::optional<AnyKeyMap>& additionalParameters, SuccessBlock success,
                                   FailureBlock failure);
  void validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails> details,
                                   const std::optional<AnyKeyMap>& purchaseAdditionalDetails,
                                   CompletionBlock completion);
  void logAdRevenue(const LMAdRevenueData& adRevenueData,
                    const std::optional<AnyKeyMap>& additionalParameters);

  void handlePushNotification(const AnyKeyMap& pushPayload);
  void registerUninstall(const Bytes& deviceToken);
  void setUserEmails(const StringList& userEmails, std::int64_t withCryptType);
  void logLocation(double longitude, double latitude);
  std::string getLumetraUID();
  std::string getSDKVersion();

  std::weak_ptr<LumetraLibDelegate> delegate() const;
  void setDelegate(std::weak_ptr<LumetraLibDelegate> delegate);
  std::weak_ptr<LumetraDeepLinkDelegate> deepLinkDelegate() const;
  void setDeepLinkDelegate(std::weak_ptr<LumetraDeepLinkDelegate> delegate);

  // Simulator plumbing: the helper classes answer and journal through it.
  SimulatorContext& context() const noexcept { return *context_; }

 private:
  void set(std::string_view call, const std::string& name, AnyCodable value);
  void store(const std::string& name, AnyCodable value);
  AnyCodable get(std::string_view getter) const;
  bool flag(std::string_view getter) const;
  std::string text(std::string_view getter) const;
  StringList list(std::string_view getter) const;
  std::uint64_t count(std::string_view getter) const;
  void reportOpenedURL();

  std::shared_ptr<SimulatorContext> context_;
  std::shared_ptr<DelegateSlots> delegates_;
  mutable std::mutex propertiesMutex_;
  std::map<std::string, AnyCodable, std::less<>> properties_;
};

}  // namespace lumetra_rpc::simulator
