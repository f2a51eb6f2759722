// What a successful parse stores: coercions, defaults and normalised names that the
// handlers rely on and that an error-only table cannot see.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "parsing/method_table.h"
#include "parsing/param_getters.h"
#include "parsing/url_check.h"
#include "wire/json_reader.h"

namespace lumetra_rpc {
namespace {

template <typename Record>
Record parsed(std::string method, std::string_view paramsText = "{}") {
  auto params = readJSON(paramsText);
  if (!params || params->getIf<JSONObject>() == nullptr) {
    ADD_FAILURE() << "bad params text " << paramsText;
    return Record{};
  }
  auto result = parseRequest(LMRPCRequest{std::nullopt, method, *params->getIf<JSONObject>()});
  if (!result) {
    ADD_FAILURE() << method << " " << paramsText << ": " << result.error().toRPCError().message;
    return Record{};
  }
  const Record* record = std::get_if<Record>(&result.value());
  if (record == nullptr) {
    ADD_FAILURE() << method << " produced another case";
    return Record{};
  }
  return *record;
}

TEST(ParsedRecords, NumbersBecomeTheStoredKinds) {
  auto seconds =
      parsed<LMRPCSetMinTimeBetweenSessionsRequest>("setMinTimeBetweenSessions", R"({"seconds":2.9})");
  EXPECT_EQ(seconds.seconds, 2);
  EXPECT_EQ(parsed<LMRPCWaitForATTRequest>("waitForATT").timeout, 60.0);
  EXPECT_EQ(parsed<LMRPCWaitForATTRequest>("waitForATT", R"({"timeout":5})").timeout, 5.0);
  auto revenue = parsed<LMRPCLogAdRevenueRequest>(
      "logAdRevenue", R"({"monetizationNetwork":"m","currencyIso4217Code":"c","eventRevenue":-2})");
  EXPECT_EQ(revenue.eventRevenue, -2.0);
}

TEST(ParsedRecords, NumbersConvertToBooleans) {
  EXPECT_FALSE(parsed<LMRPCIsDebugRequest>("isDebug", R"({"isDebug":0})").isDebug);
  EXPECT_TRUE(parsed<LMRPCIsDebugRequest>("isDebug", R"({"isDebug":1})").isDebug);
  EXPECT_TRUE(parsed<LMRPCSetStoppedRequest>("setStopped", R"({"stopped":0.5})").stopped);
  EXPECT_TRUE(parsed<LMRPCStartRequest>("start").awaitResponse);
  EXPECT_TRUE(parsed<LMRPCStartRequest>("start", R"({"awaitResponse":"false"})").awaitResponse);
  EXPECT_FALSE(parsed<LMRPCStartRequest>("start", R"({"awaitResponse":0})").awaitResponse);
  auto event = parsed<LMRPCLogEventRequest>("logEvent", R"({"eventName":"e","awaitResponse":0})");
  EXPECT_FALSE(event.awaitResponse);
}

TEST(ParsedRecords, NamesAreNormalisedAndLookedUp) {
  auto plugin =
      parsed<LMRPCSetPluginInfoRequest>("setPluginInfo", R"({"plugin":"Unity","pluginVersion":"1"})");
  EXPECT_EQ(plugin.plugin, "unity");
  auto network = [](std::string_view name) {
    std::string params = R"({"monetizationNetwork":"m","currencyIso4217Code":"c","eventRevenue":1)";
    if (!name.empty()) params += R"(,"mediationNetwork":")" + std::string(name) + "\"";
    return parsed<LMRPCLogAdRevenueRequest>("logAdRevenue", params + "}").mediationNetwork;
  };
  EXPECT_EQ(network("AppLovin_MAX"), 3);
  EXPECT_EQ(network("google_ad_mob"), 1);
  EXPECT_EQ(network(""), 13);
  auto purchase = parsed<LMRPCValidateAndLogInAppPurchaseV2Request>(
      "validateAndLogInAppPurchaseV2",
      R"({"product":{"productId":"p"},"additionalParameters":{"k":1},
          "transaction":{"transactionId":"t","purchaseType":"subscription"}})");
  EXPECT_EQ(purchase.purchaseType, "subscription");
  EXPECT_EQ(purchase.additionalParameters, (JSONObject{{"k", 1}}));
}

TEST(ParsedRecords, EmailCryptTypeDefaultsToNone) {
  using Record = LMRPCSetUserEmailsRequest;
  EXPECT_EQ(parsed<Record>("setUserEmails", R"({"emails":["a"],"cryptType":1})").cryptType, 0);
  EXPECT_EQ(parsed<Record>("setUserEmails", R"({"emails":["a"]})").cryptType, 0);
  auto hashed = parsed<Record>("setUserEmails", R"({"emails":["a",""],"cryptType":"sha256"})");
  EXPECT_EQ(hashed.cryptType, 3);
  EXPECT_EQ(hashed.emails, (StringList{"a", ""}));
}

TEST(ParsedRecords, SharingFilterTellsNoneFromEmpty) {
  auto partners = [](std::string_view params) {
    return parsed<LMRPCSetSharingFilterForPartnersRequest>("setSharingFilterForPartners", params).partners;
  };
  EXPECT_EQ(partners("{}"), std::nullopt);
  EXPECT_EQ(partners(R"({"partners":null})"), std::nullopt);
  EXPECT_EQ(partners(R"({"partners":[]})"), StringList{});
  EXPECT_EQ(partners(R"({"partners":["x"]})"), StringList{"x"});
}

TEST(ParsedRecords, OptionalValuesOfAnotherKindAreAbsent) {
  auto event = parsed<LMRPCLogEventRequest>("logEvent", R"({"eventName":"e","eventValues":[1]})");
  EXPECT_FALSE(event.eventValues);
  using AppLink = LMRPCSetFacebookDeferredAppLinkRequest;
  EXPECT_FALSE(parsed<AppLink>("setFacebookDeferredAppLink", R"({"url":7})").url);
  EXPECT_EQ(parsed<AppLink>("setFacebookDeferredAppLink", R"({"url":""})").url, "");
  auto consent = parsed<LMRPCSetConsentDataRequest>(
      "setConsentData",
      R"({"isUserSubjectToGDPR":false,"hasConsentForDataUsage":null,"hasConsentForAdStorage":0})");
  EXPECT_FALSE(consent.hasConsentForDataUsage);
  EXPECT_FALSE(consent.hasConsentForAdsPersonalization);
  EXPECT_EQ(consent.hasConsentForAdStorage, false);
  auto invite = parsed<LMRPCGenerateInviteUrlRequest>("generateInviteUrl", R"({"channel":"c","campaign":1})");
  EXPECT_EQ(invite.channel, "c");
  EXPECT_FALSE(invite.campaign);
}

TEST(ParsedRecords, UserActivityDefaultsToWebBrowsing) {
  auto activity = [](std::string_view params) {
    return parsed<LMRPCContinueUserActivityRequest>("continueUserActivity", params);
  };
  auto plain = activity(R"({"url":"https://a.b/c?d=e"})");
  EXPECT_EQ(plain.activityType, "NSUserActivityTypeBrowsingWeb");
  EXPECT_EQ(plain.url.absoluteString, "https://a.b/c?d=e");
  EXPECT_EQ(activity(R"({"url":"x:y","activityType":5})").activityType, "NSUserActivityTypeBrowsingWeb");
  EXPECT_EQ(activity(R"({"url":"x:y","activityType":""})").activityType, "");
}

TEST(ParsedRecords, BothOpenURLSpellingsKeepTheirOwnCase) {
  auto upper =
      parsed<LMRPCHandleOpenURLRequest>("handleOpenURL", R"({"url":"myapp://open","options":{"k":"v"}})");
  EXPECT_EQ(upper.url.absoluteString, "myapp://open");
  EXPECT_EQ(upper.options, (JSONObject{{"k", "v"}}));
  auto lower = parsed<LMRPCHandleOpenUrlRequest>("handleOpenUrl", R"({"url":"a:b","options":[]})");
  EXPECT_FALSE(lower.options);
}

TEST(ParsedRecords, DeviceTokenAndDeepLinkParametersAreDecoded) {
  auto token = [](std::string_view params) {
    return parsed<LMRPCRegisterUninstallRequest>("registerUninstall", params).deviceTokenData;
  };
  EXPECT_EQ(token(R"({"deviceToken":"0aFF"})"), (Bytes{0x0a, 0xff}));
  EXPECT_EQ(token(R"({"deviceToken":"+a-0"})"), (Bytes{10, 0}));
  auto append = parsed<LMRPCAppendParametersToDeeplinkURLRequest>(
      "appendParametersToDeeplinkURL", R"({"containsString":"c","params":{"a":"1","b":""}})");
  EXPECT_EQ(append.parameters, (StringDictionary{{"a", "1"}, {"b", ""}}));
}

// Values a JSON text cannot carry, but a host building parameters in code can.
TEST(ParamGetters, NonFiniteNumbersAreNotIntegers) {
  for (double bad : {std::numeric_limits<double>::infinity(), std::nan("")}) {
    auto result = requiredNonNegativeInt(JSONObject{{"n", bad}}, "n");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().toRPCError().message, "n must be a valid non-negative integer");
  }
}

TEST(ParamGetters, HexDecodingCountsCharactersNotBytes) {
  EXPECT_EQ(hexDecodedData(""), Bytes{});
  EXPECT_FALSE(hexDecodedData("\xC3\xA9\xC3\xA9"));  // two characters, neither a digit
  EXPECT_FALSE(hexDecodedData("0x"));
  EXPECT_FALSE(hexDecodedData("+-"));
}

TEST(URLCheck, BlockedSchemesIgnoreCase) {
  EXPECT_TRUE(isBlockedScheme("BLOB"));
  EXPECT_TRUE(isBlockedScheme("VbScript"));
  EXPECT_FALSE(isBlockedScheme("https"));
  EXPECT_FALSE(isBlockedScheme("javascripts"));
  auto url = parseSchemedURL("HTTPS://Example.com/%7Ea");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->scheme, "HTTPS");
  EXPECT_EQ(url->url.absoluteString, "HTTPS://Example.com/%7Ea");
}

}  // namespace
}  // namespace lumetra_rpc
