#pragma once
// A scriptable stand-in for the SDK, shared by every test that needs one. It records each
// call (name, arguments as JSON values, whether it ran on the main executor) and answers
// completion-taking operations the way the test scripted: at once (the default, with an
// empty dictionary and no error), never, twice, late (held until the test fires it, from
// any thread) or from another thread. Property getters return the last value set.
//
// Journal names are the C++ member names ("start", "setIsDebug", "generateInviteUrl"),
// except the two overloads that take a completion: "logEventWithCompletion" and
// "validateAndLogInAppPurchaseV2". Script keys are the same names.

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "sdk/capabilities.h"

namespace lumetra_rpc::testing {

struct SDKCall {
  std::string name;
  JSONArray args;
  bool onMain = false;
  std::thread::id thread;
  std::string argsText() const;  // the arguments as compact JSON
};

enum class Reply { kAtOnce, kNever, kTwice, kLate, kFromOtherThread };

// How one operation answers. `url` is the click URL (logAndOpenStore) or the invite URL
// (generateInviteUrl; absent means "no URL"). A legacy purchase with an error calls its
// failure callback, otherwise its success callback.
struct ScriptedAnswer {
  ScriptedAnswer() = default;
  ScriptedAnswer(Reply reply, std::optional<AnyKeyMap> dictionary = AnyKeyMap{},
                 std::optional<SDKError> error = std::nullopt,
                 std::optional<URLValue> url = URLValue{"https://fake.lumetra.test/link"})
      : reply(reply), dictionary(std::move(dictionary)), error(std::move(error)), url(std::move(url)) {}

  Reply reply = Reply::kAtOnce;
  std::optional<AnyKeyMap> dictionary = AnyKeyMap{};
  std::optional<SDKError> error;
  std::optional<URLValue> url = URLValue{"https://fake.lumetra.test/link"};
};

// Handed to the invite generator callback; records each setter in call order.
class RecordingLinkGenerator : public LumetraLinkGenerator {
 public:
  using Step = std::pair<std::string, AnyCodable>;
  std::vector<Step> steps() const;
  void setChannel(const std::string& v) override { add("setChannel", v); }
  void setCampaign(const std::string& v) override { add("setCampaign", v); }
  void setReferrerName(const std::string& v) override { add("setReferrerName", v); }
  void setReferrerImageURL(const std::string& v) override { add("setReferrerImageURL", v); }
  void setReferrerCustomerId(const std::string& v) override { add("setReferrerCustomerId", v); }
  void setDeeplinkPath(const std::string& v) override { add("setDeeplinkPath", v); }
  void setBaseDeeplink(const std::string& v) override { add("setBaseDeeplink", v); }
  void setBrandDomain(const std::string& v) override { add("setBrandDomain", v); }
  void addParameters(const JSONObject& v) override { add("addParameters", v); }

 private:
  void add(std::string setter, AnyCodable value);
  mutable std::mutex mutex_;
  std::vector<Step> steps_;
};

// A property whose getter returns what the setter stored; the setter is journaled.
#define LMRPC_FAKE_PROPERTY(Type, Param, getter, Setter) \
 public:                                                 \
  Type getter() const override {                         \
    return read(getter##_);                              \
  }                                                      \
  void set##Setter(Param value) override {               \
    write(getter##_, value);                             \
    record("set" #Setter, {toAny(value)});               \
  }                                                      \
                                                         \
 private:                                                \
  Type getter##_{};

class FakeSDK : public LMRPCSDKCapabilities {
 public:
  FakeSDK() = default;
  ~FakeSDK() override;  // joins the threads that answered "from another thread"

  // Scripting.
  void script(std::string operation, ScriptedAnswer answer);
  void scriptPurchaseDetailsYieldNone(bool none);
  void scriptIdentity(std::string uid, std::string sdkVersion);
  void scriptContinueUserActivity(bool answer);
  void scriptPlatform(OSVersion osVersion, std::vector<std::string> presentClasses);
  // Fires every held (Reply::kLate) callback of `operation` on the calling thread.
  std::size_t fireHeld(std::string_view operation);
  std::size_t heldCount(std::string_view operation) const;

  // Journal.
  std::vector<SDKCall> calls() const;
  std::vector<SDKCall> callsNamed(std::string_view name) const;
  std::optional<SDKCall> lastCall(std::string_view name) const;
  std::size_t count(std::string_view name) const;
  // Pumps the main executor until `name` has been called `times` times.
  bool waitForCalls(std::string_view name, std::size_t times = 1) const;
  // The generator handed to the latest generateInviteUrl callback.
  std::shared_ptr<RecordingLinkGenerator> linkGenerator() const;

  LMRPC_FAKE_PROPERTY(std::string, const std::string&, lumetraDevKey, LumetraDevKey)
  LMRPC_FAKE_PROPERTY(std::string, const std::string&, appleAppID, AppleAppID)
  LMRPC_FAKE_PROPERTY(bool, bool, isDebug, IsDebug)
  LMRPC_FAKE_PROPERTY(std::string, const std::string&, customerUserID, CustomerUserID)
  LMRPC_FAKE_PROPERTY(JSONObject, const JSONObject&, additionalData, AdditionalData)
  LMRPC_FAKE_PROPERTY(std::string, const std::string&, currencyCode, CurrencyCode)
  LMRPC_FAKE_PROPERTY(bool, bool, disableAdvertisingIdentifier, DisableAdvertisingIdentifier)
  LMRPC_FAKE_PROPERTY(bool, bool, disableSKAdNetwork, DisableSKAdNetwork)
  LMRPC_FAKE_PROPERTY(bool, bool, shouldCollectDeviceName, ShouldCollectDeviceName)
  LMRPC_FAKE_PROPERTY(std::string, const std::string&, appInviteHoplineID, AppInviteHoplineID)
  LMRPC_FAKE_PROPERTY(bool, bool, anonymizeUser, AnonymizeUser)
  LMRPC_FAKE_PROPERTY(bool, bool, disableCollectASA, DisableCollectASA)
  LMRPC_FAKE_PROPERTY(bool, bool, disableAppleAdsAttribution, DisableAppleAdsAttribution)
  LMRPC_FAKE_PROPERTY(bool, bool, useReceiptValidationSandbox, UseReceiptValidationSandbox)
  LMRPC_FAKE_PROPERTY(bool, bool, useUninstallSandbox, UseUninstallSandbox)
  LMRPC_FAKE_PROPERTY(bool, bool, disableIDFVCollection, DisableIDFVCollection)
  LMRPC_FAKE_PROPERTY(std::string, const std::string&, currentDeviceLanguage, CurrentDeviceLanguage)
  LMRPC_FAKE_PROPERTY(bool, bool, isStopped, IsStopped)
  LMRPC_FAKE_PROPERTY(StringList, const StringList&, resolveDeepLinkURLs, ResolveDeepLinkURLs)
  LMRPC_FAKE_PROPERTY(StringList, const StringList&, hoplineCustomDomains, HoplineCustomDomains)
  LMRPC_FAKE_PROPERTY(std::uint64_t, std::uint64_t, minTimeBetweenSessions, MinTimeBetweenSessions)
  LMRPC_FAKE_PROPERTY(std::uint64_t, std::uint64_t, deepLinkTimeout, DeepLinkTimeout)
  LMRPC_FAKE_PROPERTY(std::optional<URLValue>, const std::optional<URLValue>&, facebookDeferredAppLink,
                      FacebookDeferredAppLink)
  LMRPC_FAKE_PROPERTY(std::weak_ptr<LumetraLibDelegate>, std::weak_ptr<LumetraLibDelegate>, delegate,
                      Delegate)
  LMRPC_FAKE_PROPERTY(std::weak_ptr<LumetraDeepLinkDelegate>, std::weak_ptr<LumetraDeepLinkDelegate>,
                      deepLinkDelegate, DeepLinkDelegate)

 public:
  void start(SDKCompletion completion) override;
  void logEvent(const std::string& name, const std::optional<JSONObject>& values) override;
  void logEvent(const std::string& name, const std::optional<JSONObject>& values,
                SDKCompletion completion) override;
  void setPluginInfo(std::int64_t plugin, const std::string& pluginVersion,
                     const std::optional<JSONObject>& additionalParams) override;
  void setPhoneNumber(const std::string& value) override;
  void setHost(const std::string& host, const std::string& hostPrefix) override;
  void setInstallId(const std::string& installId) override;
  void setSharingFilterForPartners(const std::optional<StringList>& partners) override;
  void setPartnerData(const std::string& partnerId, const JSONObject& partnerInfo) override;
  OSVersion runningOSVersion() const override;
  std::optional<ClassHandle> lookupClass(std::string_view name) const override;
  void waitForATTUserAuthorization(double timeoutInterval) override;
  void setConsentData(const LumetraConsent& consent) override;
  void enableTCFDataCollection(bool enable) override;
  void appendParametersToDeepLinkingURL(const std::string& containsString,
                                        const StringDictionary& parameters) override;
  void addPushNotificationDeepLinkPath(const StringList& path) override;
  void enableFacebookDeferredApplinks(const std::optional<ClassHandle>& appLinkUtility) override;
  void handleOpenUrl(const URLValue& url, const std::optional<JSONObject>& options) override;
  bool continueUserActivity(const LMUserActivity& activity,
                            std::function<void(std::vector<OpaqueValue>)> restorationHandler) override;
  void performOnAppAttribution(const URLValue& url) override;
  void validateAndLogInAppPurchase(const std::string& productIdentifier, const std::string& price,
                                   const std::string& currency, const std::string& transactionId,
                                   const std::optional<JSONObject>& additionalParameters,
                                   std::function<void(AnyKeyMap)> success,
                                   std::function<void(SDKError, AnyCodable)> failure) override;
  void validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails> details,
                                   const std::optional<JSONObject>& purchaseAdditionalDetails,
                                   SDKCompletion completion) override;
  void logAdRevenue(const LMAdRevenueData& revenue,
                    const std::optional<JSONObject>& additionalParameters) override;
  void logCrossPromoteImpression(const std::string& appID, const std::optional<std::string>& campaign,
                                 const std::optional<JSONObject>& parameters) override;
  void logAndOpenStore(const std::string& appID, const std::optional<std::string>& campaign,
                       const std::optional<JSONObject>& parameters,
                       std::function<void(OpaqueValue, URLValue)> openStore) override;
  void generateInviteUrl(LinkGeneratorCallback linkGenerator,
                         std::function<void(std::optional<URLValue>)> completionHandler) override;
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

  // Conversions used for the journal; public so tests can build expected arguments.
  static AnyCodable toAny(const std::string& v) { return v; }
  static AnyCodable toAny(bool v) { return v; }
  static AnyCodable toAny(std::uint64_t v) { return static_cast<std::int64_t>(v); }
  static AnyCodable toAny(const JSONObject& v) { return v; }
  static AnyCodable toAny(const StringList& v);
  static AnyCodable toAny(const std::optional<URLValue>& v);
  template <typename D>
  static AnyCodable toAny(const std::weak_ptr<D>& v) {
    return !v.expired();
  }

 private:
  void record(std::string name, JSONArray args);
  // Answers `operation` as scripted; `fire` invokes the SDK's callback once.
  void answer(const std::string& operation, std::function<void(const ScriptedAnswer&)> fire);
  template <typename T>
  T read(const T& field) const {
    std::lock_guard guard(mutex_);
    return field;
  }
  template <typename T, typename V>
  void write(T& field, V&& value) {
    std::lock_guard guard(mutex_);
    field = std::forward<V>(value);
  }

  mutable std::mutex mutex_;
  std::vector<SDKCall> calls_;
  std::vector<std::pair<std::string, ScriptedAnswer>> scripts_;
  std::vector<std::pair<std::string, std::function<void()>>> held_;
  std::vector<std::jthread> threads_;
  std::shared_ptr<RecordingLinkGenerator> linkGenerator_;
  bool purchaseDetailsYieldNone_ = false;
  bool continueUserActivityAnswer_ = true;
  OSVersion osVersion_;
  std::vector<std::string> presentClasses_;
  std::string uid_ = "fake-lumetra-uid";
  std::string sdkVersion_ = "fake-sdk-version";
};

#undef LMRPC_FAKE_PROPERTY

}  // namespace lumetra_rpc::testing
