#include "handlers/monetization_handler.h"

#include <gtest/gtest.h>

#include "handlers/handler_test_support.h"
#include "support/fake_sdk.h"

namespace lumetra_rpc {
namespace {

using testing::FakeSDK;
using testing::Reply;
using testing::ScriptedAnswer;
using R = LMRPCMonetizationRequest;

// Distinct values, so that a timeout message shows which field the handler read.
constexpr TimeoutConfig kShortTimeouts{0.05, 0.05, 0.06, 0.07, 0.08};

struct MonetizationHandlerTest : ::testing::Test {
  std::optional<SDKOutcome> run(R request) { return testing::runHandler(handler, std::move(request)); }

  std::shared_ptr<FakeSDK> sdk = std::make_shared<FakeSDK>();
  LMRPCMonetizationHandler handler{sdk, kShortTimeouts};
};

const R kLegacy{LMRPCValidateAndLogInAppPurchaseLegacyRequest{"gems", "0.99", "USD", "t-1", std::nullopt}};
const R kV2{LMRPCValidateAndLogInAppPurchaseV2Request{"gems", "t-2", "oneTimePurchase", std::nullopt}};
const R kStore{LMRPCLogAndOpenStoreRequest{"id42", "spring", std::nullopt}};
const R kInvite{LMRPCGenerateInviteUrlRequest{}};

// Every supervised case reaches its own operation name and its own timeout field.
TEST_F(MonetizationHandlerTest, SupervisedCasesTimeOutWithTheirOwnNameAndSeconds) {
  const std::vector<std::tuple<R, std::string, std::string>> cases{
      {kLegacy, "validateAndLogInAppPurchase",
       "validateAndLogInAppPurchase operation timed out after 0.06 seconds"},
      {kV2, "validateAndLogInAppPurchaseV2",
       "validateAndLogInAppPurchaseV2 operation timed out after 0.06 seconds"},
      {kStore, "logAndOpenStore", "logAndOpenStore operation timed out after 0.07 seconds"},
      {kInvite, "generateInviteUrl", "generateInviteUrl operation timed out after 0.08 seconds"},
  };
  for (const auto& [request, operation, message] : cases) {
    SCOPED_TRACE(operation);
    sdk->script(operation, ScriptedAnswer(Reply::kNever));
    EXPECT_TRUE(testing::isTypedFailure(run(request), message, error_type::kTimeout));
    EXPECT_EQ(sdk->count(operation), 1u);
  }
}

TEST_F(MonetizationHandlerTest, LegacyPurchaseCallbacksBecomeCompletions) {
  sdk->script("validateAndLogInAppPurchase", ScriptedAnswer(Reply::kAtOnce, AnyKeyMap{{"status", "valid"}}));
  auto outcome = run(kLegacy);
  EXPECT_EQ(testing::messageOf(outcome), "validateAndLogInAppPurchase completed with data");
  EXPECT_EQ(testing::dataText(outcome), R"({"status":"valid"})");
  EXPECT_EQ(sdk->lastCall("validateAndLogInAppPurchase")->argsText(), R"(["gems","0.99","USD","t-1",null])");

  sdk->script("validateAndLogInAppPurchase",
              ScriptedAnswer(Reply::kFromOtherThread, AnyKeyMap{{"ignored", 1}},
                             SDKError{"StoreKit", 21002, "bad receipt"}));
  const SDKFailure* failure = testing::asFailure(outcome = run(kLegacy));
  ASSERT_NE(failure, nullptr);
  EXPECT_EQ(failure->message, "validateAndLogInAppPurchase completed with error");
  EXPECT_EQ(failure->error, "bad receipt");
  EXPECT_EQ(failure->errorCode, 21002);
}

TEST_F(MonetizationHandlerTest, V2PurchaseBuildsDetailsFromTheTableValue) {
  auto outcome = run(kV2);
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "validateAndLogInAppPurchaseV2 completed"));
  EXPECT_EQ(sdk->lastCall("makePurchaseDetails")->argsText(), R"(["gems","t-2",1])");
  EXPECT_EQ(sdk->lastCall("validateAndLogInAppPurchaseV2")->argsText(),
            R"([{"productId":"gems","purchaseType":1,"transactionId":"t-2"},null])");
}

TEST_F(MonetizationHandlerTest, V2PurchaseFailuresStopBeforeTheSDK) {
  auto outcome = run(R{LMRPCValidateAndLogInAppPurchaseV2Request{"gems", "t", "Subscription", {}}});
  EXPECT_TRUE(testing::isTypedFailure(outcome, "Invalid purchase type", error_type::kValidation));
  EXPECT_EQ(sdk->count("makePurchaseDetails"), 0u);

  sdk->scriptPurchaseDetailsYieldNone(true);
  outcome = run(kV2);
  EXPECT_TRUE(testing::isTypedFailure(outcome, "Failed to create purchase details from provided parameters",
                                      error_type::kSDK));
  EXPECT_EQ(sdk->count("makePurchaseDetails"), 1u);
  EXPECT_EQ(sdk->count("validateAndLogInAppPurchaseV2"), 0u);
}

TEST_F(MonetizationHandlerTest, StoreOpeningHandsTheClickURLBack) {
  sdk->script("logAndOpenStore",
              ScriptedAnswer(Reply::kAtOnce, {}, {}, URLValue{"https://apps.example/id42"}));
  auto outcome = run(kStore);
  EXPECT_EQ(testing::messageOf(outcome), "logAndOpenStore completed with data");
  ASSERT_NE(testing::asSuccess(outcome), nullptr);
  EXPECT_EQ(testing::asSuccess(outcome)->data, (JSONObject{{"clickURL", "https://apps.example/id42"}}));
  EXPECT_EQ(sdk->lastCall("logAndOpenStore")->argsText(), R"(["id42","spring",null])");
}

TEST_F(MonetizationHandlerTest, InviteGeneratorIsFilledInOrderWithPresentFieldsOnly) {
  LMRPCGenerateInviteUrlRequest full{"sms", "c1",   "Ann",      "https://img",         "cust",
                                     "/p",  "base", "brand.io", JSONObject{{"k", "v"}}};
  auto outcome = run(R{full});
  ASSERT_NE(testing::asSuccess(outcome), nullptr);
  EXPECT_EQ(testing::asSuccess(outcome)->data, (JSONObject{{"url", "https://fake.lumetra.test/link"}}));
  std::vector<std::string> order;
  for (const auto& step : sdk->linkGenerator()->steps()) order.push_back(step.first);
  EXPECT_EQ(order,
            (std::vector<std::string>{"setChannel", "setCampaign", "setReferrerName", "setReferrerImageURL",
                                      "setReferrerCustomerId", "setDeeplinkPath", "setBaseDeeplink",
                                      "setBrandDomain", "addParameters"}));
  EXPECT_EQ(sdk->linkGenerator()->steps().back().second, AnyCodable(JSONObject{{"k", "v"}}));

  LMRPCGenerateInviteUrlRequest partial;
  partial.referrerName = "Bo";
  run(R{partial});
  ASSERT_EQ(sdk->linkGenerator()->steps().size(), 1u);
  EXPECT_EQ(sdk->linkGenerator()->steps()[0].first, "setReferrerName");
  run(kInvite);
  EXPECT_TRUE(sdk->linkGenerator()->steps().empty());
  EXPECT_EQ(sdk->count("generateInviteUrl"), 3u);
}

TEST_F(MonetizationHandlerTest, MissingInviteURLBecomesAnSDKError) {
  sdk->script("generateInviteUrl", ScriptedAnswer(Reply::kAtOnce, {}, {}, std::nullopt));
  const auto outcome = run(kInvite);
  const SDKFailure* failure = testing::asFailure(outcome);
  ASSERT_NE(failure, nullptr);
  EXPECT_EQ(failure->message, "generateInviteUrl completed with error");
  EXPECT_EQ(failure->error, "Failed to generate invite URL");
  EXPECT_EQ(failure->errorType, std::string(error_type::kSDK));
  EXPECT_EQ(failure->errorCode, 500);
}

TEST_F(MonetizationHandlerTest, FireAndForgetCasesAnswerAtOnce) {
  const std::vector<std::tuple<R, std::string, std::string, std::string>> cases{
      {R{LMRPCLogAdRevenueRequest{"ironsource", 7, "EUR", 1.25, JSONObject{{"ad", "x"}}}},
       "Ad revenue logged", "logAdRevenue",
       R"([{"currencyIso4217Code":"EUR","eventRevenue":1.25,"mediationNetwork":7,"monetizationNetwork":"ironsource"},{"ad":"x"}])"},
      {R{LMRPCLogCrossPromoteImpressionRequest{"id1", std::nullopt, std::nullopt}},
       "Cross promote impression logged", "logCrossPromoteImpression", R"(["id1",null,null])"},
      {R{LMRPCLogInviteRequest{"mail", JSONObject{{"a", 1}}}}, "Invite logged", "logInvite",
       R"(["mail",{"a":1}])"},
  };
  for (const auto& [request, message, call, args] : cases) {
    SCOPED_TRACE(call);
    EXPECT_TRUE(testing::isPlainSuccess(run(request), message));
    EXPECT_EQ(sdk->lastCall(call)->argsText(), args);
  }
}

}  // namespace
}  // namespace lumetra_rpc
