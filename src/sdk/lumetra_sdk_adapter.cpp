#include "sdk/lumetra_sdk_adapter.h"

#include <algorithm>

#include "sdk/simulator/helper_classes.h"

namespace lumetra_rpc {

namespace {

using simulator::LumetraCrossPromotionHelper;
using simulator::LumetraShareInviteHelper;

// The SDK's dictionaries take keys of any kind; ours are all strings.
AnyKeyMap toSDKDictionary(const JSONObject& dictionary) {
  AnyKeyMap map;
  map.reserve(dictionary.size());
  for (const auto& [key, value] : dictionary) map.emplace_back(AnyCodable(key), value);
  return map;
}

std::optional<AnyKeyMap> toSDKDictionary(const std::optional<JSONObject>& dictionary) {
  if (!dictionary) return std::nullopt;
  return toSDKDictionary(*dictionary);
}

// Where the SDK declares string keys, an entry under any other key cannot be read.
void keepStringKeys(AnyKeyMap& dictionary) {
  std::erase_if(dictionary, [](const auto& entry) { return !entry.first.template getIf<std::string>(); });
}

JSONObject toJSONObject(const AnyKeyMap& dictionary) {
  JSONObject object;
  for (const auto& [key, value] : dictionary) {
    if (const auto* text = key.getIf<std::string>()) object.insert_or_assign(*text, value);
  }
  return object;
}

// The start and event blocks declare string keys; the completion fires as often as the
// SDK calls the block, which the supervision above copes with.
simulator::CompletionBlock readingStringKeys(SDKCompletion completion) {
  return [completion = std::move(completion)](std::optional<AnyKeyMap> dictionary,
                                              std::optional<SDKError> error) {
    if (!completion) return;
    if (dictionary) keepStringKeys(*dictionary);
    completion(std::move(dictionary), std::move(error));
  };
}

}  // namespace

LumetraSDKAdapter::LumetraSDKAdapter() : sdk_(simulator::LumetraLib::shared()) {}

std::string LumetraSDKAdapter::lumetraDevKey() const {
  return sdk_->lumetraDevKey();
}
void LumetraSDKAdapter::setLumetraDevKey(const std::string& key) {
  sdk_->setLumetraDevKey(key);
}
std::string LumetraSDKAdapter::appleAppID() const {
  return sdk_->appleAppID();
}
void LumetraSDKAdapter::setAppleAppID(const std::string& appID) {
  sdk_->setAppleAppID(appID);
}

void LumetraSDKAdapter::start(SDKCompletion completion) {
  sdk_->startWithCompletionHandler(readingStringKeys(std::move(completion)));
}

void LumetraSDKAdapter::logEvent(const std::string& name, const std::optional<JSONObject>& values) {
  sdk_->logEvent(name, toSDKDictionary(values));
}

void LumetraSDKAdapter::logEvent(const std::string& name, const std::optional<JSONObject>& values,
                                 SDKCompletion completion) {
  sdk_->logEventWithEventName(name, toSDKDictionary(values), readingStringKeys(std::move(completion)));
}

void LumetraSDKAdapter::setPluginInfo(std::int64_t plugin, const std::string& pluginVersion,
                                      const std::optional<JSONObject>& additionalParams) {
  sdk_->setPluginInfoWith(plugin, pluginVersion, toSDKDictionary(additionalParams));
}

bool LumetraSDKAdapter::isDebug() const {
  return sdk_->isDebug();
}
void LumetraSDKAdapter::setIsDebug(bool value) {
  sdk_->setIsDebug(value);
}
std::string LumetraSDKAdapter::customerUserID() const {
  return sdk_->customerUserID();
}
void LumetraSDKAdapter::setCustomerUserID(const std::string& value) {
  sdk_->setCustomerUserID(value);
}
JSONObject LumetraSDKAdapter::additionalData() const {
  return toJSONObject(sdk_->additionalData());
}
void LumetraSDKAdapter::setAdditionalData(const JSONObject& value) {
  sdk_->setAdditionalData(toSDKDictionary(value));
}
std::string LumetraSDKAdapter::currencyCode() const {
  return sdk_->currencyCode();
}
void LumetraSDKAdapter::setCurrencyCode(const std::string& value) {
  sdk_->setCurrencyCode(value);
}
bool LumetraSDKAdapter::disableAdvertisingIdentifier() const {
  return sdk_->disableAdvertisingIdentifier();
}
void LumetraSDKAdapter::setDisableAdvertisingIdentifier(bool value) {
  sdk_->setDisableAdvertisingIdentifier(value);
}
bool LumetraSDKAdapter::disableSKAdNetwork() const {
  return sdk_->disableSKAdNetwork();
}
void LumetraSDKAdapter::setDisableSKAdNetwork(bool value) {
  sdk_->setDisableSKAdNetwork(value);
}
bool LumetraSDKAdapter::shouldCollectDeviceName() const {
  return sdk_->shouldCollectDeviceName();
}
void LumetraSDKAdapter::setShouldCollectDeviceName(bool value) {
  sdk_->setShouldCollectDeviceName(value);
}
std::string LumetraSDKAdapter::appInviteHoplineID() const {
  return sdk_->appInviteHopline();
}
void LumetraSDKAdapter::setAppInviteHoplineID(const std::string& value) {
  sdk_->setAppInviteHopline(value);
}
bool LumetraSDKAdapter::anonymizeUser() const {
  return sdk_->anonymizeUser();
}
void LumetraSDKAdapter::setAnonymizeUser(bool value) {
  sdk_->setAnonymizeUser(value);
}
bool LumetraSDKAdapter::disableCollectASA() const {
  return sdk_->disableCollectASA();
}
void LumetraSDKAdapter::setDisableCollectASA(bool value) {
  sdk_->setDisableCollectASA(value);
}
bool LumetraSDKAdapter::disableAppleAdsAttribution() const {
  return sdk_->disableAppleAdsAttribution();
}
void LumetraSDKAdapter::setDisableAppleAdsAttribution(bool value) {
  sdk_->setDisableAppleAdsAttribution(value);
}
bool LumetraSDKAdapter::useReceiptValidationSandbox() const {
  return sdk_->useReceiptValidationSandbox();
}
void LumetraSDKAdapter::setUseReceiptValidationSandbox(bool value) {
  sdk_->setUseReceiptValidationSandbox(value);
}
bool LumetraSDKAdapter::useUninstallSandbox() const {
  return sdk_->useUninstallSandbox();
}
void LumetraSDKAdapter::setUseUninstallSandbox(bool value) {
  sdk_->setUseUninstallSandbox(value);
}
void LumetraSDKAdapter::setPhoneNumber(const std::string& value) {
  sdk_->setPhoneNumber(value);
}
bool LumetraSDKAdapter::disableIDFVCollection() const {
  return sdk_->disableIDFVCollection();
}
void LumetraSDKAdapter::setDisableIDFVCollection(bool value) {
  sdk_->setDisableIDFVCollection(value);
}
std::string LumetraSDKAdapter::currentDeviceLanguage() const {
  return sdk_->currentDeviceLanguage();
}
void LumetraSDKAdapter::setCurrentDeviceLanguage(const std::string& value) {
  sdk_->setCurrentDeviceLanguage(value);
}
bool LumetraSDKAdapter::isStopped() const {
  return sdk_->isStopped();
}
void LumetraSDKAdapter::setIsStopped(bool value) {
  sdk_->setIsStopped(value);
}

StringList LumetraSDKAdapter::resolveDeepLinkURLs() const {
  return sdk_->resolveDeepLinkURLs();
}
void LumetraSDKAdapter::setResolveDeepLinkURLs(const StringList& urls) {
  sdk_->setResolveDeepLinkURLs(urls);
}
StringList LumetraSDKAdapter::hoplineCustomDomains() const {
  return sdk_->hoplineCustomDomains();
}
void LumetraSDKAdapter::setHoplineCustomDomains(const StringList& domains) {
  sdk_->setHoplineCustomDomains(domains);
}
std::uint64_t LumetraSDKAdapter::minTimeBetweenSessions() const {
  return sdk_->minTimeBetweenSessions();
}
void LumetraSDKAdapter::setMinTimeBetweenSessions(std::uint64_t seconds) {
  sdk_->setMinTimeBetweenSessions(seconds);
}
std::uint64_t LumetraSDKAdapter::deepLinkTimeout() const {
  return sdk_->deepLinkTimeout();
}
void LumetraSDKAdapter::setDeepLinkTimeout(std::uint64_t timeout) {
  sdk_->setDeepLinkTimeout(timeout);
}
void LumetraSDKAdapter::setHost(const std::string& host, const std::string& hostPrefix) {
  sdk_->setHost(host, hostPrefix);
}
void LumetraSDKAdapter::setInstallId(const std::string& installId) {
  sdk_->setInstallId(installId);
}
void LumetraSDKAdapter::setSharingFilterForPartners(const std::optional<StringList>& partners) {
  sdk_->setSharingFilterForPartners(partners);
}
void LumetraSDKAdapter::setPartnerData(const std::string& partnerId, const JSONObject& partnerInfo) {
  sdk_->setPartnerDataWithPartnerId(partnerId, toSDKDictionary(partnerInfo));
}

// The simulated device's facts come from the simulator's config.
OSVersion LumetraSDKAdapter::runningOSVersion() const {
  return sdk_->context().config().osVersion;
}

void LumetraSDKAdapter::waitForATTUserAuthorization(double timeoutInterval) {
  sdk_->waitForATTUserAuthorizationWithTimeoutInterval(timeoutInterval);
}
void LumetraSDKAdapter::setConsentData(const LumetraConsent& consent) {
  sdk_->setConsentData(consent);
}
void LumetraSDKAdapter::enableTCFDataCollection(bool enable) {
  sdk_->enableTCFDataCollection(enable);
}

void LumetraSDKAdapter::appendParametersToDeepLinkingURL(const std::string& containsString,
                                                         const StringDictionary& parameters) {
  sdk_->appendParametersToDeepLinkingURLWithString(containsString, parameters);
}
void LumetraSDKAdapter::addPushNotificationDeepLinkPath(const StringList& path) {
  sdk_->addPushNotificationDeepLinkPath(path);
}
std::optional<ClassHandle> LumetraSDKAdapter::lookupClass(std::string_view name) const {
  const auto& present = sdk_->context().config().classes;
  if (std::find(present.begin(), present.end(), name) == present.end()) return std::nullopt;
  return ClassHandle{std::string(name)};
}

void LumetraSDKAdapter::enableFacebookDeferredApplinks(const std::optional<ClassHandle>& appLinkUtility) {
  sdk_->enableFacebookDeferredApplinksWithClass(appLinkUtility);
}
std::optional<URLValue> LumetraSDKAdapter::facebookDeferredAppLink() const {
  return sdk_->facebookDeferredAppLink();
}
void LumetraSDKAdapter::setFacebookDeferredAppLink(const std::optional<URLValue>& url) {
  sdk_->setFacebookDeferredAppLink(url);
}
void LumetraSDKAdapter::handleOpenUrl(const URLValue& url, const std::optional<JSONObject>& options) {
  sdk_->handleOpenUrl(url, toSDKDictionary(options));
}
bool LumetraSDKAdapter::continueUserActivity(
    const LMUserActivity& activity, std::function<void(std::vector<OpaqueValue>)> restorationHandler) {
  return sdk_->continueUserActivity(activity, std::move(restorationHandler));
}
void LumetraSDKAdapter::performOnAppAttribution(const URLValue& url) {
  sdk_->performOnAppAttributionWithURL(url);
}

void LumetraSDKAdapter::validateAndLogInAppPurchase(
    const std::string& productIdentifier, const std::string& price, const std::string& currency,
    const std::string& transactionId, const std::optional<JSONObject>& additionalParameters,
    std::function<void(AnyKeyMap response)> success,
    std::function<void(SDKError error, AnyCodable response)> failure) {
  // The purchase blocks keep the SDK's keys as they come; only the result shaping above
  // decides which of them reach the host.
  sdk_->validateAndLogInAppPurchase(productIdentifier, price, currency, transactionId,
                                    toSDKDictionary(additionalParameters), std::move(success),
                                    std::move(failure));
}
void LumetraSDKAdapter::validateAndLogInAppPurchase(
    std::shared_ptr<const LMSDKPurchaseDetails> details,
    const std::optional<JSONObject>& purchaseAdditionalDetails, SDKCompletion completion) {
  sdk_->validateAndLogInAppPurchase(std::move(details), toSDKDictionary(purchaseAdditionalDetails),
                                    std::move(completion));
}
void LumetraSDKAdapter::logAdRevenue(const LMAdRevenueData& revenue,
                                     const std::optional<JSONObject>& additionalParameters) {
  sdk_->logAdRevenue(revenue, toSDKDictionary(additionalParameters));
}
void LumetraSDKAdapter::logCrossPromoteImpression(const std::string& appID,
                                                  const std::optional<std::string>& campaign,
                                                  const std::optional<JSONObject>& parameters) {
  LumetraCrossPromotionHelper::logCrossPromoteImpression(appID, campaign, toSDKDictionary(parameters));
}
void LumetraSDKAdapter::logAndOpenStore(
    const std::string& appID, const std::optional<std::string>& campaign,
    const std::optional<JSONObject>& parameters,
    std::function<void(OpaqueValue urlSession, URLValue clickURL)> openStore) {
  LumetraCrossPromotionHelper::logAndOpenStore(appID, campaign, toSDKDictionary(parameters),
                                               std::move(openStore));
}
void LumetraSDKAdapter::generateInviteUrl(
    LinkGeneratorCallback linkGenerator, std::function<void(std::optional<URLValue> url)> completionHandler) {
  LumetraShareInviteHelper::generateInviteUrlWithLinkGenerator(std::move(linkGenerator),
                                                               std::move(completionHandler));
}
void LumetraSDKAdapter::logInvite(const std::optional<std::string>& channel,
                                  const std::optional<JSONObject>& parameters) {
  LumetraShareInviteHelper::logInvite(channel, toSDKDictionary(parameters));
}
std::shared_ptr<const LMSDKPurchaseDetails> LumetraSDKAdapter::makePurchaseDetails(
    const std::string& productId, const std::string& transactionId, std::int64_t purchaseType) {
  return simulator::initPurchaseDetails(productId, transactionId, purchaseType);
}

void LumetraSDKAdapter::handlePushNotification(const JSONObject& pushPayload) {
  sdk_->handlePushNotification(toSDKDictionary(pushPayload));
}
void LumetraSDKAdapter::registerUninstall(const Bytes& deviceToken) {
  sdk_->registerUninstall(deviceToken);
}

void LumetraSDKAdapter::setUserEmails(const StringList& emails, std::int64_t cryptType) {
  sdk_->setUserEmails(emails, cryptType);
}
void LumetraSDKAdapter::logLocation(double longitude, double latitude) {
  sdk_->logLocation(longitude, latitude);
}
std::string LumetraSDKAdapter::getLumetraUID() {
  return sdk_->getLumetraUID();
}
std::string LumetraSDKAdapter::getSDKVersion() {
  return sdk_->getSDKVersion();
}

std::weak_ptr<LumetraLibDelegate> LumetraSDKAdapter::delegate() const {
  return sdk_->delegate();
}
void LumetraSDKAdapter::setDelegate(std::weak_ptr<LumetraLibDelegate> delegate) {
  sdk_->setDelegate(std::move(delegate));
}
std::weak_ptr<LumetraDeepLinkDelegate> LumetraSDKAdapter::deepLinkDelegate() const {
  return sdk_->deepLinkDelegate();
}
void LumetraSDKAdapter::setDeepLinkDelegate(std::weak_ptr<LumetraDeepLinkDelegate> delegate) {
  sdk_->setDeepLinkDelegate(std::move(delegate));
}

}  // namespace lumetra_rpc
