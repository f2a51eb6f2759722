#include "handlers/deep_link_handler.h"

#include "handlers/handler_support.h"
#include "parsing/url_check.h"

namespace lumetra_rpc {

namespace {
using SDKPtr = std::shared_ptr<LMRPCDeepLinkSDK>;

// Looked up by name: the host application may link the Facebook SDK; this library never does.
constexpr std::string_view kFacebookAppLinkClass = "FBSDKAppLinkUtility";

SDKOutcome success(OutcomeMessage message) {
  return SDKSuccess{std::move(message), std::nullopt};
}

SDKOutcome apply(const SDKPtr& sdk, LMRPCAppendParametersToDeeplinkURLRequest r) {
  sdk->appendParametersToDeepLinkingURL(r.containsString, r.parameters);
  return success("Parameters appended to deeplink URL");
}

SDKOutcome apply(const SDKPtr& sdk, LMRPCAddPushNotificationDeepLinkPathRequest r) {
  sdk->addPushNotificationDeepLinkPath(r.path);
  return success("Push notification deep link path added");
}

// The answer follows the requested flag: enabling without the Facebook SDK present still
// succeeds, and the SDK simply gets no class.
SDKOutcome apply(const SDKPtr& sdk, LMRPCEnableFacebookDeferredApplinksRequest r) {
  std::optional<ClassHandle> appLinkUtility;
  if (r.enable) appLinkUtility = sdk->lookupClass(kFacebookAppLinkClass);
  sdk->enableFacebookDeferredApplinks(appLinkUtility);
  return success(r.enable ? ConstantText("Facebook deferred applinks enabled (FBSDKAppLinkUtility)")
                          : ConstantText("Facebook deferred applinks disabled"));
}

// This link arrives as plain text, so the scheme check that URL parameters get while
// parsing happens here. The failure does not echo the rejected text.
SDKOutcome apply(const SDKPtr& sdk, LMRPCSetFacebookDeferredAppLinkRequest r) {
  if (!r.url) {
    sdk->setFacebookDeferredAppLink(std::nullopt);
    return success("Facebook deferred app link cleared");
  }
  auto parsed = parseSchemedURL(*r.url);
  if (!parsed || isBlockedScheme(parsed->scheme)) {
    return SDKFailure::ofType("Invalid or unsafe URL for Facebook deferred app link",
                              error_type::kValidation);
  }
  sdk->setFacebookDeferredAppLink(parsed->url);
  return success("Facebook deferred app link set");
}

// The URL-opening calls belong on the main executor.
MainCall openURL(const SDKPtr& sdk, URLValue url, std::optional<JSONObject> options) {
  return {[sdk, url = std::move(url), options = std::move(options)] { sdk->handleOpenUrl(url, options); },
          "handleOpen called"};
}

MainCall apply(const SDKPtr& sdk, LMRPCHandleOpenURLRequest r) {
  return openURL(sdk, std::move(r.url), std::move(r.options));
}

MainCall apply(const SDKPtr& sdk, LMRPCHandleOpenUrlRequest r) {
  return openURL(sdk, std::move(r.url), std::move(r.options));
}

MainCall apply(const SDKPtr& sdk, LMRPCContinueUserActivityRequest r) {
  return {[sdk, activity = LMUserActivity{std::move(r.activityType), std::move(r.url)}] {
            sdk->continueUserActivity(activity, nullptr);
          },
          "continueUserActivity called"};
}

MainCall apply(const SDKPtr& sdk, LMRPCPerformOnAppAttributionRequest r) {
  return {[sdk, url = std::move(r.url)] { sdk->performOnAppAttribution(url); },
          "performOnAppAttribution called"};
}

}  // namespace

RoutedOutcome LMRPCDeepLinkHandler::handle(LMRPCDeepLinkRequest request) const {
  auto visitCase = [sdk = sdk_](auto&& record) { return apply(sdk, std::move(record)); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
