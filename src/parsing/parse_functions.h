#pragma once
// The parse functions of the methods that need more than one getter, grouped as the
// files that define them. Methods reading a single value use parseOne, methods without
// parameters parseNone (parsing/param_reader.h); the method table names them directly.

#include <string_view>

#include "parsing/param_reader.h"

namespace lumetra_rpc {

// The activity type a continued user activity carries unless the host names another: the
// platform's web-browsing type, whose text the SDK expects.
inline constexpr std::string_view kWebBrowsingActivityType = "NSUserActivityTypeBrowsingWeb";

using ParseResult = ClientResult<LMRPCParsedRequest>;

// Core and configuration (parse_core_config.cpp)
ParseResult parseInit(const JSONObject& params);
ParseResult parseStart(const JSONObject& params);
ParseResult parseLogEvent(const JSONObject& params);
ParseResult parseSetPluginInfo(const JSONObject& params);
ParseResult parseSetResolveDeepLinkURLs(const JSONObject& params);
ParseResult parseSetHoplineCustomDomains(const JSONObject& params);
ParseResult parseSetHost(const JSONObject& params);
ParseResult parseSetSharingFilterForPartners(const JSONObject& params);
ParseResult parseSetPartnerData(const JSONObject& params);

// Privacy (parse_privacy.cpp)
ParseResult parseWaitForATT(const JSONObject& params);
ParseResult parseSetConsentData(const JSONObject& params);

// Deep links (parse_deep_link.cpp)
ParseResult parseAppendParametersToDeeplinkURL(const JSONObject& params);
ParseResult parseSetFacebookDeferredAppLink(const JSONObject& params);
ClientResult<URLOpenRequestImpl> parseURLOpen(const JSONObject& params);
ParseResult parseContinueUserActivity(const JSONObject& params);

// handleOpenURL and handleOpenUrl: one routine, two records.
template <typename Record>
ParseResult parseOpenURL(const JSONObject& params) {
  ClientResult<URLOpenRequestImpl> opened = parseURLOpen(params);
  if (!opened) return fail(std::move(opened).error());
  URLOpenRequestImpl& impl = opened.value();
  return LMRPCParsedRequest(Record{std::move(impl.url), std::move(impl.options)});
}

// Monetization (parse_monetization.cpp)
ParseResult parseValidateAndLogInAppPurchaseLegacy(const JSONObject& params);
ParseResult parseValidateAndLogInAppPurchaseV2(const JSONObject& params);
ParseResult parseLogAdRevenue(const JSONObject& params);
ParseResult parseGenerateInviteUrl(const JSONObject& params);
ParseResult parseLogInvite(const JSONObject& params);

// logCrossPromoteImpression and logAndOpenStore: one routine, two records.
template <typename Record>
ParseResult parseCrossPromotion(const JSONObject& params) {
  ParamReader in(params);
  Record record;
  record.appID = in.read(requiredString, "appID");
  record.campaign = optionalString(params, "campaign");
  record.parameters = optionalDictionary(params, "parameters");
  return in.finish(std::move(record));
}

// Notifications and data (parse_data_notification.cpp)
ParseResult parseRegisterUninstall(const JSONObject& params);
ParseResult parseSetUserEmails(const JSONObject& params);
ParseResult parseLogLocation(const JSONObject& params);

}  // namespace lumetra_rpc
