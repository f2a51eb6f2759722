#include "support/fake_sdk.h"

#include <algorithm>
#include <cstdio>

#include "lumetra_rpc/runtime.h"
#include "support/pump.h"
#include "wire/json_writer.h"

namespace lumetra_rpc::testing {
namespace {

AnyCodable optionalAny(const std::optional<JSONObject>& v) {
  return v ? AnyCodable(*v) : AnyCodable();
}
AnyCodable optionalAny(const std::optional<std::string>& v) {
  return v ? AnyCodable(*v) : AnyCodable();
}

AnyCodable bytesAsHex(const Bytes& bytes) {
  std::string hex;
  char pair[3];
  for (auto byte : bytes) {
    std::snprintf(pair, sizeof pair, "%02x", byte);
    hex += pair;
  }
  return hex;
}

AnyCodable optionalBool(const std::optional<bool>& v) {
  return v ? AnyCodable(*v) : AnyCodable();
}

}  // namespace

std::string SDKCall::argsText() const {
  auto text = writeJSON(AnyCodable(args));
  return text ? *text : "<unwritable>";
}

std::vector<RecordingLinkGenerator::Step> RecordingLinkGenerator::steps() const {
  std::lock_guard guard(mutex_);
  return steps_;
}

void RecordingLinkGenerator::add(std::string setter, AnyCodable value) {
  std::lock_guard guard(mutex_);
  steps_.emplace_back(std::move(setter), std::move(value));
}

FakeSDK::~FakeSDK() = default;

AnyCodable FakeSDK::toAny(const StringList& v) {
  return JSONArray(v.begin(), v.end());
}

AnyCodable FakeSDK::toAny(const std::optional<URLValue>& v) {
  return v ? AnyCodable(v->absoluteString) : AnyCodable();
}

// --- scripting -------------------------------------------------------------------------

void FakeSDK::script(std::string operation, ScriptedAnswer answer) {
  std::lock_guard guard(mutex_);
  std::erase_if(scripts_, [&](const auto& entry) { return entry.first == operation; });
  scripts_.emplace_back(std::move(operation), std::move(answer));
}

void FakeSDK::scriptPurchaseDetailsYieldNone(bool none) {
  write(purchaseDetailsYieldNone_, none);
}
void FakeSDK::scriptContinueUserActivity(bool answer) {
  write(continueUserActivityAnswer_, answer);
}

void FakeSDK::scriptPlatform(OSVersion osVersion, std::vector<std::string> presentClasses) {
  std::lock_guard guard(mutex_);
  osVersion_ = osVersion;
  presentClasses_ = std::move(presentClasses);
}

void FakeSDK::scriptIdentity(std::string uid, std::string sdkVersion) {
  std::lock_guard guard(mutex_);
  uid_ = std::move(uid);
  sdkVersion_ = std::move(sdkVersion);
}

std::size_t FakeSDK::fireHeld(std::string_view operation) {
  std::vector<std::function<void()>> due;
  {
    std::lock_guard guard(mutex_);
    for (auto it = held_.begin(); it != held_.end();) {
      if (it->first != operation) {
        ++it;
        continue;
      }
      due.push_back(std::move(it->second));
      it = held_.erase(it);
    }
  }
  for (auto& fire : due) fire();  // outside the lock: callbacks may call back into us
  return due.size();
}

std::size_t FakeSDK::heldCount(std::string_view operation) const {
  std::lock_guard guard(mutex_);
  return std::count_if(held_.begin(), held_.end(), [&](const auto& h) { return h.first == operation; });
}

void FakeSDK::answer(const std::string& operation, std::function<void(const ScriptedAnswer&)> fire) {
  ScriptedAnswer scripted;
  {
    std::lock_guard guard(mutex_);
    for (const auto& [name, answer] : scripts_)
      if (name == operation) scripted = answer;
  }
  auto once = [fire = std::move(fire), scripted] { fire(scripted); };
  switch (scripted.reply) {
    case Reply::kAtOnce:
      once();
      break;
    case Reply::kTwice:
      once();
      once();
      break;
    case Reply::kNever:
      break;
    case Reply::kLate: {
      std::lock_guard guard(mutex_);
      held_.emplace_back(operation, once);
    } break;
    case Reply::kFromOtherThread: {
      std::lock_guard guard(mutex_);
      threads_.emplace_back(once);
    } break;
  }
}

// --- journal ---------------------------------------------------------------------------

void FakeSDK::record(std::string name, JSONArray args) {
  SDKCall call{std::move(name), std::move(args), Runtime::isOnMain(), std::this_thread::get_id()};
  std::lock_guard guard(mutex_);
  calls_.push_back(std::move(call));
}

std::vector<SDKCall> FakeSDK::calls() const {
  return read(calls_);
}

std::vector<SDKCall> FakeSDK::callsNamed(std::string_view name) const {
  auto all = calls();
  std::erase_if(all, [&](const SDKCall& call) { return call.name != name; });
  return all;
}

std::optional<SDKCall> FakeSDK::lastCall(std::string_view name) const {
  auto named = callsNamed(name);
  if (named.empty()) return std::nullopt;
  return named.back();
}

std::size_t FakeSDK::count(std::string_view name) const {
  return callsNamed(name).size();
}

bool FakeSDK::waitForCalls(std::string_view name, std::size_t times) const {
  return pumpUntil([&] { return count(name) >= times; });
}

std::shared_ptr<RecordingLinkGenerator> FakeSDK::linkGenerator() const {
  return read(linkGenerator_);
}

// --- operations that answer ------------------------------------------------------------

void FakeSDK::start(SDKCompletion completion) {
  record("start", {});
  answer("start", [completion](const ScriptedAnswer& a) {
    if (completion) completion(a.dictionary, a.error);
  });
}

void FakeSDK::logEvent(const std::string& name, const std::optional<JSONObject>& values,
                       SDKCompletion completion) {
  record("logEventWithCompletion", {name, optionalAny(values)});
  answer("logEventWithCompletion", [completion](const ScriptedAnswer& a) {
    if (completion) completion(a.dictionary, a.error);
  });
}

void FakeSDK::validateAndLogInAppPurchase(const std::string& productIdentifier, const std::string& price,
                                          const std::string& currency, const std::string& transactionId,
                                          const std::optional<JSONObject>& additionalParameters,
                                          std::function<void(AnyKeyMap)> success,
                                          std::function<void(SDKError, AnyCodable)> failure) {
  record("validateAndLogInAppPurchase",
         {productIdentifier, price, currency, transactionId, optionalAny(additionalParameters)});
  answer("validateAndLogInAppPurchase", [success, failure](const ScriptedAnswer& a) {
    if (a.error) {
      if (failure) failure(*a.error, AnyCodable());
    } else if (success) {
      success(a.dictionary.value_or(AnyKeyMap{}));
    }
  });
}

void FakeSDK::validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails> details,
                                          const std::optional<JSONObject>& purchaseAdditionalDetails,
                                          SDKCompletion completion) {
  AnyCodable detailsAny;
  if (details)
    detailsAny = JSONObject{{"productId", details->productId},
                            {"transactionId", details->transactionId},
                            {"purchaseType", details->purchaseType}};
  record("validateAndLogInAppPurchaseV2", {detailsAny, optionalAny(purchaseAdditionalDetails)});
  answer("validateAndLogInAppPurchaseV2", [completion](const ScriptedAnswer& a) {
    if (completion) completion(a.dictionary, a.error);
  });
}

void FakeSDK::logAndOpenStore(const std::string& appID, const std::optional<std::string>& campaign,
                              const std::optional<JSONObject>& parameters,
                              std::function<void(OpaqueValue, URLValue)> openStore) {
  record("logAndOpenStore", {appID, optionalAny(campaign), optionalAny(parameters)});
  answer("logAndOpenStore", [openStore](const ScriptedAnswer& a) {
    if (openStore) openStore(OpaqueValue{"URLSession", nullptr}, a.url.value_or(URLValue{}));
  });
}

void FakeSDK::generateInviteUrl(LinkGeneratorCallback linkGenerator,
                                std::function<void(std::optional<URLValue>)> completionHandler) {
  record("generateInviteUrl", {});
  // The generator callback runs before the link is "built", as the SDK does it.
  auto generator = std::make_shared<RecordingLinkGenerator>();
  write(linkGenerator_, generator);
  if (linkGenerator) linkGenerator(generator);
  answer("generateInviteUrl", [completionHandler](const ScriptedAnswer& a) {
    if (completionHandler) completionHandler(a.url);
  });
}

// --- fire-and-forget operations --------------------------------------------------------

void FakeSDK::logEvent(const std::string& name, const std::optional<JSONObject>& values) {
  record("logEvent", {name, optionalAny(values)});
}

void FakeSDK::setPluginInfo(std::int64_t plugin, const std::string& pluginVersion,
                            const std::optional<JSONObject>& additionalParams) {
  record("setPluginInfo", {AnyCodable(plugin), pluginVersion, optionalAny(additionalParams)});
}

void FakeSDK::setPhoneNumber(const std::string& value) {
  record("setPhoneNumber", {value});
}
void FakeSDK::setHost(const std::string& host, const std::string& prefix) {
  record("setHost", {host, prefix});
}
void FakeSDK::setInstallId(const std::string& installId) {
  record("setInstallId", {installId});
}

void FakeSDK::setSharingFilterForPartners(const std::optional<StringList>& partners) {
  record("setSharingFilterForPartners", {partners ? toAny(*partners) : AnyCodable()});
}

void FakeSDK::setPartnerData(const std::string& partnerId, const JSONObject& partnerInfo) {
  record("setPartnerData", {partnerId, partnerInfo});
}

OSVersion FakeSDK::runningOSVersion() const {
  return read(osVersion_);
}

std::optional<ClassHandle> FakeSDK::lookupClass(std::string_view name) const {
  std::lock_guard guard(mutex_);
  if (std::find(presentClasses_.begin(), presentClasses_.end(), name) == presentClasses_.end())
    return std::nullopt;
  return ClassHandle{std::string(name)};
}

void FakeSDK::waitForATTUserAuthorization(double timeoutInterval) {
  record("waitForATTUserAuthorization", {timeoutInterval});
}

void FakeSDK::setConsentData(const LumetraConsent& c) {
  record("setConsentData",
         {JSONObject{{"isUserSubjectToGDPR", optionalBool(c.isUserSubjectToGDPR)},
                     {"hasConsentForDataUsage", optionalBool(c.hasConsentForDataUsage)},
                     {"hasConsentForAdsPersonalization", optionalBool(c.hasConsentForAdsPersonalization)},
                     {"hasConsentForAdStorage", optionalBool(c.hasConsentForAdStorage)}}});
}

void FakeSDK::enableTCFDataCollection(bool enable) {
  record("enableTCFDataCollection", {enable});
}

void FakeSDK::appendParametersToDeepLinkingURL(const std::string& containsString,
                                               const StringDictionary& parameters) {
  JSONObject params(parameters.begin(), parameters.end());
  record("appendParametersToDeepLinkingURL", {containsString, params});
}

void FakeSDK::addPushNotificationDeepLinkPath(const StringList& path) {
  record("addPushNotificationDeepLinkPath", {toAny(path)});
}

void FakeSDK::enableFacebookDeferredApplinks(const std::optional<ClassHandle>& appLinkUtility) {
  record("enableFacebookDeferredApplinks",
         {appLinkUtility ? AnyCodable(appLinkUtility->name) : AnyCodable()});
}

void FakeSDK::handleOpenUrl(const URLValue& url, const std::optional<JSONObject>& options) {
  record("handleOpenUrl", {url.absoluteString, optionalAny(options)});
}

bool FakeSDK::continueUserActivity(const LMUserActivity& activity,
                                   std::function<void(std::vector<OpaqueValue>)> restorationHandler) {
  record("continueUserActivity",
         {JSONObject{{"activityType", activity.activityType}, {"webpageURL", toAny(activity.webpageURL)}},
          static_cast<bool>(restorationHandler)});
  return read(continueUserActivityAnswer_);
}

void FakeSDK::performOnAppAttribution(const URLValue& url) {
  record("performOnAppAttribution", {url.absoluteString});
}

void FakeSDK::logAdRevenue(const LMAdRevenueData& r, const std::optional<JSONObject>& additionalParameters) {
  record("logAdRevenue", {JSONObject{{"monetizationNetwork", r.monetizationNetwork},
                                     {"mediationNetwork", r.mediationNetwork},
                                     {"currencyIso4217Code", r.currencyIso4217Code},
                                     {"eventRevenue", r.eventRevenue}},
                          optionalAny(additionalParameters)});
}

void FakeSDK::logCrossPromoteImpression(const std::string& appID, const std::optional<std::string>& campaign,
                                        const std::optional<JSONObject>& parameters) {
  record("logCrossPromoteImpression", {appID, optionalAny(campaign), optionalAny(parameters)});
}

void FakeSDK::logInvite(const std::optional<std::string>& channel,
                        const std::optional<JSONObject>& parameters) {
  record("logInvite", {optionalAny(channel), optionalAny(parameters)});
}

std::shared_ptr<const LMSDKPurchaseDetails> FakeSDK::makePurchaseDetails(const std::string& productId,
                                                                         const std::string& transactionId,
                                                                         std::int64_t purchaseType) {
  record("makePurchaseDetails", {productId, transactionId, AnyCodable(purchaseType)});
  if (read(purchaseDetailsYieldNone_)) return nullptr;
  return std::make_shared<const LMSDKPurchaseDetails>(
      LMSDKPurchaseDetails{productId, transactionId, purchaseType});
}

void FakeSDK::handlePushNotification(const JSONObject& payload) {
  record("handlePushNotification", {payload});
}
void FakeSDK::registerUninstall(const Bytes& deviceToken) {
  record("registerUninstall", {bytesAsHex(deviceToken)});
}

void FakeSDK::setUserEmails(const StringList& emails, std::int64_t cryptType) {
  record("setUserEmails", {toAny(emails), AnyCodable(cryptType)});
}

void FakeSDK::logLocation(double longitude, double latitude) {
  record("logLocation", {longitude, latitude});
}

std::string FakeSDK::getLumetraUID() {
  record("getLumetraUID", {});
  return read(uid_);
}

std::string FakeSDK::getSDKVersion() {
  record("getSDKVersion", {});
  return read(sdkVersion_);
}

}  // namespace lumetra_rpc::testing
