#include "method_descriptions.h"

#include "parsing/lookup_tables.h"
#include "parsing/parse_functions.h"
#include "parsing/requests.h"

namespace lumetra_rpc::cli {
namespace {

using Schema = JSONObject;

AnyCodable typed(const char* type) {
  return Schema{{"type", type}};
}
AnyCodable text() {
  return typed("string");
}
AnyCodable nonEmptyText() {
  return Schema{{"type", "string"}, {"minLength", 1}};
}
AnyCodable boolean() {
  return typed("boolean");
}
AnyCodable object() {
  return typed("object");
}
AnyCodable nonEmptyObject() {
  return Schema{{"type", "object"}, {"minProperties", 1}};
}
AnyCodable number() {
  return typed("number");
}

AnyCodable range(double limit) {
  return Schema{{"type", "number"}, {"minimum", -limit}, {"maximum", limit}};
}

AnyCodable stringArray(int minItems) {
  Schema schema{{"type", "array"}, {"items", text()}};
  if (minItems > 0) schema.insert_or_assign("minItems", minItems);
  return schema;
}

AnyCodable withDefault(AnyCodable schema, AnyCodable fallback) {
  schema.getIf<JSONObject>()->insert_or_assign("default", std::move(fallback));
  return schema;
}

// The accepted names straight from the parsers' own tables, so the two cannot drift apart.
AnyCodable oneOf(const NameTable& table) {
  JSONArray names;
  for (const auto& [name, value] : table) names.emplace_back(name);
  return Schema{{"type", "string"}, {"enum", std::move(names)}};
}

AnyCodable url() {
  return Schema{{"type", "string"}, {"minLength", 1}};
}

std::string urlRule() {
  std::string schemes;
  for (const std::string& scheme : blockedURLSchemes()) schemes += (schemes.empty() ? "" : ", ") + scheme;
  return "A URL with a scheme; the schemes " + schemes + " are refused.";
}

ParamDescription required(std::string name, AnyCodable schema, std::string description = {}) {
  return {std::move(name), true, true, std::move(schema), std::move(description)};
}

// What absence means is the schema's default or the description's; most optional getters
// read a value of another kind as absent.
ParamDescription optional(std::string name, AnyCodable schema, std::string description = {}) {
  return {std::move(name), false, false, std::move(schema), std::move(description)};
}

// Optional, yet a present value of the wrong kind or outside the set is refused.
ParamDescription checked(std::string name, AnyCodable schema, std::string description = {}) {
  return {std::move(name), false, true, std::move(schema), std::move(description)};
}

constexpr const char* kNumbersAsBooleans =
    "A number is read as a boolean: 0 is false, any other number true.";

std::vector<MethodDescription> build() {
  const std::string anyCase = "Any letter case.";
  std::vector<MethodDescription> methods{
      {"init",
       "Initialises the SDK.",
       {required("devKey", nonEmptyText()), required("appId", nonEmptyText())}},
      {"start",
       "Starts the SDK; supervised as start unless awaitResponse is false.",
       {optional("awaitResponse", withDefault(boolean(), LMRPCStartRequest{}.awaitResponse),
                 kNumbersAsBooleans)}},
      {"logEvent",
       "Logs an in-app event; supervised as logEvent unless awaitResponse is false.",
       {required("eventName", nonEmptyText()),
        optional("awaitResponse", withDefault(boolean(), LMRPCLogEventRequest{}.awaitResponse),
                 kNumbersAsBooleans),
        optional("eventValues", object())}},
      {"setPluginInfo",
       "Names the plugin host and its version.",
       {required("plugin", oneOf(pluginTypes()), anyCase), required("pluginVersion", nonEmptyText()),
        optional("additionalParams", object())}},
      {"isDebug",
       "Turns the SDK's debug mode on or off.",
       {required("isDebug", boolean(), kNumbersAsBooleans)}},
      {"setCustomerUserId", "Sets the customer user id.", {required("customerUserId", text())}},
      {"setAdditionalData",
       "Sets additional data sent with every event.",
       {required("additionalData", object())}},
      {"setCurrencyCode", "Sets the currency code.", {required("currencyCode", text())}},
      {"setDisableAdvertisingIdentifier",
       "Stops or resumes collecting the advertising identifier.",
       {required("disable", boolean(), kNumbersAsBooleans)}},
      {"setDisableSKAdNetwork",
       "Stops or resumes SKAdNetwork reporting.",
       {required("disable", boolean(), kNumbersAsBooleans)}},
      {"setShouldCollectDeviceName",
       "Chooses whether the device name is collected.",
       {required("collect", boolean(), kNumbersAsBooleans)}},
      {"setAppInviteHoplineID", "Sets the hopline id used for invitations.", {required("hoplineID", text())}},
      {"setAnonymizeUser",
       "Anonymises the user or stops doing so.",
       {required("anonymize", boolean(), kNumbersAsBooleans)}},
      {"setDisableCollectASA",
       "Stops or resumes Apple Search Ads collection.",
       {required("disable", boolean(), kNumbersAsBooleans)}},
      {"setDisableAppleAdsAttribution",
       "Stops or resumes Apple Ads attribution.",
       {required("disable", boolean(), kNumbersAsBooleans)}},
      {"setUseReceiptValidationSandbox",
       "Validates receipts against the sandbox or production.",
       {required("sandbox", boolean(), kNumbersAsBooleans)}},
      {"setUseUninstallSandbox",
       "Sends uninstall tokens to the sandbox or production.",
       {required("sandbox", boolean(), kNumbersAsBooleans)}},
      {"setPhoneNumber", "Sets the user's phone number.", {required("phoneNumber", text())}},
      {"setDisableIDFVCollection",
       "Stops or resumes collecting the vendor identifier.",
       {required("disable", boolean(), kNumbersAsBooleans)}},
      {"setCurrentDeviceLanguage", "Sets the device language reported.", {required("language", text())}},
      {"setStopped",
       "Stops or restarts all SDK activity.",
       {required("stopped", boolean(), kNumbersAsBooleans)}},
      {"getLumetraUID", "Answers the SDK's user id in data.uid.", {}},
      {"getSDKVersion", "Answers the SDK's version in data.", {}},
      {"setResolveDeepLinkURLs",
       "Sets the URLs whose deep links are resolved.",
       {required("urls", stringArray(1))}},
      {"setHoplineCustomDomains", "Sets custom hopline domains.", {required("domains", stringArray(1))}},
      {"setHost",
       "Sets the SDK's server host.",
       {required("host", nonEmptyText()), required("hostPrefix", nonEmptyText())}},
      {"setMinTimeBetweenSessions",
       "Sets the least time between two sessions.",
       {required("seconds", Schema{{"type", "integer"}, {"minimum", 0}},
                 "Seconds; a fraction is truncated.")}},
      {"setDeepLinkTimeout",
       "Sets how long deep-link resolution may take.",
       {required("timeout", Schema{{"type", "integer"}, {"minimum", 0}},
                 "Seconds; a fraction is truncated.")}},
      {"setInstallId", "Sets the install id.", {required("installId", nonEmptyText())}},
      {"setSharingFilterForPartners",
       "Sets or clears the partners data is not shared with.",
       {checked("partners", Schema{{"type", JSONArray{"array", "null"}}, {"items", text()}},
                "Absent or null clears the filter; any other value is refused.")}},
      {"setPartnerData",
       "Sets data for one partner.",
       {required("partnerId", nonEmptyText()), required("partnerInfo", object())}},
      {"waitForATT",
       "Waits for the tracking authorisation before the SDK sends data.",
       {checked("timeout", withDefault(number(), LMRPCWaitForATTRequest{}.timeout),
                "Seconds; zero and negative values pass. A present null is refused.")}},
      {"setConsentData",
       "Sets the user's consent under GDPR.",
       {required("isUserSubjectToGDPR", boolean(), kNumbersAsBooleans),
        optional("hasConsentForDataUsage", boolean(), "Required when isUserSubjectToGDPR is true."),
        optional("hasConsentForAdsPersonalization", boolean(), "Required when isUserSubjectToGDPR is true."),
        optional("hasConsentForAdStorage", boolean())}},
      {"enableTCFDataCollection",
       "Chooses whether TCF consent data is collected.",
       {required("enable", boolean(), kNumbersAsBooleans)}},
      {"appendParametersToDeeplinkURL",
       "Adds parameters to deep-link URLs that contain a text.",
       {required("containsString", nonEmptyText()),
        required("params",
                 Schema{{"type", "object"}, {"minProperties", 1}, {"additionalProperties", text()}})}},
      {"addPushNotificationDeepLinkPath",
       "Sets where the deep link sits in a push payload.",
       {required("path", stringArray(1))}},
      {"enableFacebookDeferredApplinks",
       "Chooses whether Facebook deferred app links are collected.",
       {required("enable", boolean(), kNumbersAsBooleans)}},
      {"setFacebookDeferredAppLink",
       "Sets or clears the Facebook deferred app link.",
       {optional("url", text(),
                 "Absent clears the link. " + urlRule() + " An unsafe URL fails in the result.")}},
      {"handleOpenURL",
       "Hands an opened URL to the SDK.",
       {required("url", url(), urlRule()), optional("options", object())}},
      {"handleOpenUrl",
       "The same as handleOpenURL under a second name.",
       {required("url", url(), urlRule()), optional("options", object())}},
      {"continueUserActivity",
       "Hands a continued user activity to the SDK.",
       {required("url", url(), urlRule()),
        optional("activityType", withDefault(text(), std::string(kWebBrowsingActivityType)))}},
      {"handlePushNotification",
       "Hands a push payload to the SDK.",
       {required("pushPayload", nonEmptyObject())}},
      {"registerUninstall",
       "Registers the device token for uninstall measurement.",
       {required("deviceToken",
                 Schema{{"type", "string"}, {"minLength", 2}, {"pattern", "^([0-9A-Fa-f]{2})+$"}},
                 "Hexadecimal pairs, either letter case.")}},
      {"performOnAppAttributionWithURL",
       "Attributes an app open to a URL.",
       {required("url", url(), urlRule())}},
      {"logLocation",
       "Logs the device's location.",
       {required("longitude", range(180)), required("latitude", range(90))}},
      {"validateAndLogInAppPurchaseLegacy",
       "Validates and logs a purchase; supervised as validateAndLogInAppPurchase.",
       {required("productIdentifier", nonEmptyText()), required("price", text(), "A number is refused."),
        required("currency", nonEmptyText()), required("transactionId", nonEmptyText()),
        optional("additionalParameters", object())}},
      {"validateAndLogInAppPurchaseV2",
       "Validates and logs a purchase; supervised as validateAndLogInAppPurchaseV2.",
       {required("product", Schema{{"type", "object"},
                                   {"properties", Schema{{"productId", nonEmptyText()}}},
                                   {"required", JSONArray{"productId"}}}),
        required("transaction", Schema{{"type", "object"},
                                       {"properties", Schema{{"transactionId", nonEmptyText()},
                                                             {"purchaseType", oneOf(purchaseTypes())}}},
                                       {"required", JSONArray{"transactionId", "purchaseType"}}}),
        optional("additionalParameters", object())}},
      {"logAdRevenue",
       "Logs ad revenue.",
       {required("monetizationNetwork", nonEmptyText()),
        checked(
            "mediationNetwork", withDefault(oneOf(mediationNetworks()), "custom"),
            "Letter case and underscores are ignored (Google_AdMob). A value of another kind is refused."),
        required("currencyIso4217Code", nonEmptyText()),
        required("eventRevenue", number(), "Zero and negative values pass."),
        optional("additionalParameters", object())}},
      {"setUserEmails",
       "Sets the user's e-mail addresses.",
       {required("emails", stringArray(1)),
        checked("cryptType", withDefault(oneOf(emailCryptTypes()), "none"),
                "A value that is not a string counts as none.")}},
      {"logCrossPromoteImpression",
       "Logs a cross-promotion impression.",
       {required("appID", nonEmptyText()), optional("campaign", text()), optional("parameters", object())}},
      {"logAndOpenStore",
       "Logs a cross-promotion click and opens the store; supervised as logAndOpenStore.",
       {required("appID", nonEmptyText()), optional("campaign", text()), optional("parameters", object())}},
      {"generateInviteUrl",
       "Builds an invitation link; supervised as generateInviteUrl.",
       {optional("channel", text()), optional("campaign", text()), optional("referrerName", text()),
        optional("referrerImageURL", text()), optional("referrerCustomerId", text()),
        optional("deeplinkPath", text()), optional("baseDeeplink", text()), optional("brandDomain", text()),
        optional("customParams", object())}},
      {"logInvite", "Logs an invitation.", {optional("channel", text()), optional("parameters", object())}},
      {"registerConversionListener", "Delivers the conversion events from now on.", {}},
      {"registerDeeplinkListener", "Delivers the deep-link events from now on.", {}},
  };
  return methods;
}

}  // namespace

const std::vector<MethodDescription>& methodDescriptions() {
  static const std::vector<MethodDescription> descriptions = build();
  return descriptions;
}

}  // namespace lumetra_rpc::cli
