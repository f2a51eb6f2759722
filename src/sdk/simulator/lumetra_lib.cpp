#include "sdk/simulator/lumetra_lib.h"

namespace lumetra_rpc::simulator {

namespace {

// The failure block's second value: what the validation server answered.
const AnyCodable kFailedValidationResponse(JSONObject{{"status", AnyCodable("failed")}});

void reportToConversionDelegate(SimulatorContext& context, const CompletionReply& reply,
                                std::shared_ptr<DelegateSlots> slots, bool attribution) {
  if (reply.kind == CompletionReply::Kind::never) return;
  // The delegate is looked up when the report fires, as a real SDK would do.
  context.report(reply.timing, [slots = std::move(slots), reply, attribution] {
    std::shared_ptr<LumetraLibDelegate> delegate;
    {
      std::lock_guard lock(slots->mutex);
      delegate = slots->conversion.lock();
    }
    if (!delegate) return;
    bool failed = reply.kind == CompletionReply::Kind::error;
    if (attribution) {
      failed ? delegate->onAppOpenAttributionFailure(reply.error)
             : delegate->onAppOpenAttribution(reply.data);
    } else {
      failed ? delegate->onConversionDataFail(reply.error) : delegate->onConversionDataSuccess(reply.data);
    }
  });
}

void reportToDeepLinkDelegate(SimulatorContext& context, const DeepLinkReport& report,
                              std::shared_ptr<DelegateSlots> slots) {
  context.report(report.timing, [slots = std::move(slots), result = report.result] {
    std::shared_ptr<LumetraDeepLinkDelegate> delegate;
    {
      std::lock_guard lock(slots->mutex);
      delegate = slots->deepLink.lock();
    }
    if (delegate) delegate->didResolveDeepLink(result);
  });
}

}  // namespace

LumetraLib::LumetraLib(std::shared_ptr<SimulatorContext> context)
    : context_(std::move(context)), delegates_(std::make_shared<DelegateSlots>()) {}

void LumetraLib::startWithCompletionHandler(CompletionBlock completionHandler) {
  context_->record("startWithCompletionHandler:");
  context_->answer(context_->config().start, std::move(completionHandler));
  if (const auto& conversion = context_->config().conversion) {
    reportToConversionDelegate(*context_, *conversion, delegates_, false);
  }
}

void LumetraLib::logEvent(const std::string& eventName, const std::optional<AnyKeyMap>& withValues) {
  context_->record("logEvent:withValues:", [&] { return JSONArray{eventName, toJournal(withValues)}; });
}

void LumetraLib::logEventWithEventName(const std::string& eventName,
                                       const std::optional<AnyKeyMap>& eventValues,
                                       CompletionBlock completionHandler) {
  context_->record("logEventWithEventName:eventValues:completionHandler:", [&] {
    return JSONArray{eventName, toJournal(eventValues)};
  });
  context_->answer(context_->config().logEvent, std::move(completionHandler));
}

void LumetraLib::setPluginInfoWith(std::int64_t plugin, const std::string& pluginVersion,
                                   const std::optional<AnyKeyMap>& additionalParams) {
  context_->record("setPluginInfoWith:pluginVersion:additionalParams:", [&] {
    return JSONArray{plugin, pluginVersion, toJournal(additionalParams)};
  });
}

AnyKeyMap LumetraLib::additionalData() const {
  auto value = get("additionalData");
  const auto* map = value.getIf<AnyKeyMap>();
  return map ? *map : AnyKeyMap{};
}

void LumetraLib::setResolveDeepLinkURLs(const StringList& v) {
  set("setResolveDeepLinkURLs:", "resolveDeepLinkURLs", toJournal(v));
}

void LumetraLib::setHoplineCustomDomains(const StringList& v) {
  set("setHoplineCustomDomains:", "hoplineCustomDomains", toJournal(v));
}

void LumetraLib::setMinTimeBetweenSessions(std::uint64_t v) {
  set("setMinTimeBetweenSessions:", "minTimeBetweenSessions", v);
}

void LumetraLib::setDeepLinkTimeout(std::uint64_t v) {
  set("setDeepLinkTimeout:", "deepLinkTimeout", v);
}

void LumetraLib::setHost(const std::string& host, const std::string& withHostPrefix) {
  context_->record("setHost:withHostPrefix:", [&] { return JSONArray{host, withHostPrefix}; });
}

void LumetraLib::setInstallId(const std::string& installId) {
  context_->record("setInstallId:", [&] { return JSONArray{installId}; });
}

void LumetraLib::setSharingFilterForPartners(const std::optional<StringList>& partners) {
  context_->record("setSharingFilterForPartners:", [&] { return JSONArray{toJournal(partners)}; });
}

void LumetraLib::setPartnerDataWithPartnerId(const std::string& partnerId, const AnyKeyMap& partnerInfo) {
  context_->record("setPartnerDataWithPartnerId:partnerInfo:", [&] {
    return JSONArray{partnerId, toJournal(partnerInfo)};
  });
}

void LumetraLib::waitForATTUserAuthorizationWithTimeoutInterval(double timeoutInterval) {
  context_->record("waitForATTUserAuthorizationWithTimeoutInterval:",
                   [&] { return JSONArray{timeoutInterval}; });
}

void LumetraLib::setConsentData(const LumetraConsent& consent) {
  context_->record("setConsentData:", [&] { return JSONArray{toJournal(consent)}; });
}

void LumetraLib::enableTCFDataCollection(bool enable) {
  context_->record("enableTCFDataCollection:", [&] { return JSONArray{enable}; });
}

void LumetraLib::appendParametersToDeepLinkingURLWithString(const std::string& containsString,
                                                            const StringDictionary& parameters) {
  context_->record("appendParametersToDeepLinkingURLWithString:parameters:", [&] {
    return JSONArray{containsString, toJournal(parameters)};
  });
}

void LumetraLib::addPushNotificationDeepLinkPath(const StringList& deepLinkPath) {
  context_->record("addPushNotificationDeepLinkPath:", [&] { return JSONArray{toJournal(deepLinkPath)}; });
}

void LumetraLib::enableFacebookDeferredApplinksWithClass(const std::optional<ClassHandle>& appLinkUtility) {
  context_->record("enableFacebookDeferredApplinksWithClass:",
                   [&] { return JSONArray{toJournal(appLinkUtility)}; });
}

std::optional<URLValue> LumetraLib::facebookDeferredAppLink() const {
  auto value = get("facebookDeferredAppLink");
  const auto* url = value.getIf<URLValue>();
  return url ? std::optional(*url) : std::nullopt;
}

void LumetraLib::setFacebookDeferredAppLink(const std::optional<URLValue>& url) {
  context_->record("setFacebookDeferredAppLink:", [&] { return JSONArray{toJournal(url)}; });
  store("facebookDeferredAppLink", url ? AnyCodable(*url) : AnyCodable());
}

void LumetraLib::handleOpenUrl(const URLValue& url, const std::optional<AnyKeyMap>& options) {
  context_->record("handleOpenUrl:options:", [&] { return JSONArray{toJournal(url), toJournal(options)}; });
  reportOpenedURL();
}

bool LumetraLib::continueUserActivity(const LMUserActivity& userActivity,
                                      RestorationHandler /*restorationHandler*/) {
  context_->record("continueUserActivity:restorationHandler:",
                   [&] { return JSONArray{toJournal(userActivity)}; });
  reportOpenedURL();
  return true;
}

void LumetraLib::performOnAppAttributionWithURL(const URLValue& url) {
  context_->record("performOnAppAttributionWithURL:", [&] { return JSONArray{toJournal(url)}; });
  reportOpenedURL();
}

void LumetraLib::reportOpenedURL() {
  const auto& config = context_->config();
  if (config.appOpenAttribution) {
    reportToConversionDelegate(*context_, *config.appOpenAttribution, delegates_, true);
  }
  if (config.deepLink) reportToDeepLinkDelegate(*context_, *config.deepLink, delegates_);
}

void LumetraLib::validateAndLogInAppPurchase(const std::string& productIdentifier, const std::string& price,
                                             const std::string& currency, const std::string& transactionId,
                                             const std::optional<AnyKeyMap>& additionalParameters,
                                             SuccessBlock success, FailureBlock failure) {
  context_->record(
      "validateAndLogInAppPurchase:price:currency:transactionId:additionalParameters:success:failure:", [&] {
        return JSONArray{productIdentifier, price, currency, transactionId, toJournal(additionalParameters)};
      });
  const auto& reply = context_->config().purchase;
  if (reply.kind == CompletionReply::Kind::error) {
    context_->answer(reply.timing, [failure = std::move(failure), error = reply.error] {
      failure(error, kFailedValidationResponse);
    });
  } else if (reply.kind == CompletionReply::Kind::data) {
    context_->answer(reply.timing, [success = std::move(success), data = reply.data] { success(data); });
  }
}

void LumetraLib::validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails> details,
                                             const std::optional<AnyKeyMap>& purchaseAdditionalDetails,
                                             CompletionBlock completion) {
  context_->record("validateAndLogInAppPurchase:purchaseAdditionalDetails:completion:", [&] {
    return JSONArray{toJournal(details), toJournal(purchaseAdditionalDetails)};
  });
  context_->answer(context_->config().purchaseV2, std::move(completion));
}

void LumetraLib::logAdRevenue(const LMAdRevenueData& adRevenueData,
                              const std::optional<AnyKeyMap>& additionalParameters) {
  context_->record("logAdRevenue:additionalParameters:", [&] {
    return JSONArray{toJournal(adRevenueData), toJournal(additionalParameters)};
  });
}

}  // namespace lumetra_rpc::simulator
