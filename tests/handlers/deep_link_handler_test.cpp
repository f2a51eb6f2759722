#include "handlers/deep_link_handler.h"

#include <gtest/gtest.h>

#include "handlers/handler_test_support.h"
#include "lumetra_rpc/client.h"
#include "support/fake_sdk.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

using testing::FakeSDK;
using R = LMRPCDeepLinkRequest;

struct DeepLinkHandlerTest : ::testing::Test {
  std::optional<SDKOutcome> run(R request, bool* answeredOnMain = nullptr) {
    return testing::runHandler(handler, std::move(request), answeredOnMain);
  }

  std::shared_ptr<FakeSDK> sdk = std::make_shared<FakeSDK>();
  LMRPCDeepLinkHandler handler{sdk};
};

// The URL-opening calls must reach the SDK on the main executor, and the answer must still
// be built back on the caller's strand; the configuration calls stay off the main executor.
TEST_F(DeepLinkHandlerTest, ForwardingCallsRunOnMainAndAnswerOffIt) {
  struct Case {
    R request;
    std::string message;
    std::string call;
    bool onMain;
  };
  const URLValue url{"myapp://open?x=1"};
  const std::vector<Case> cases{
      {R{LMRPCHandleOpenURLRequest{url, std::nullopt}}, "handleOpen called", "handleOpenUrl", true},
      {R{LMRPCHandleOpenUrlRequest{url, JSONObject{{"k", 1}}}}, "handleOpen called", "handleOpenUrl", true},
      {R{LMRPCContinueUserActivityRequest{url, "NSUserActivityTypeBrowsingWeb"}},
       "continueUserActivity called", "continueUserActivity", true},
      {R{LMRPCPerformOnAppAttributionRequest{url}}, "performOnAppAttribution called",
       "performOnAppAttribution", true},
      {R{LMRPCAppendParametersToDeeplinkURLRequest{"shop", {{"a", "b"}}}},
       "Parameters appended to deeplink URL", "appendParametersToDeepLinkingURL", false},
      {R{LMRPCAddPushNotificationDeepLinkPathRequest{{"data", "link"}}},
       "Push notification deep link path added", "addPushNotificationDeepLinkPath", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message + " / " + c.call);
    bool answeredOnMain = true;
    auto outcome = run(c.request, &answeredOnMain);
    EXPECT_TRUE(testing::isPlainSuccess(outcome, c.message));
    EXPECT_FALSE(answeredOnMain);
    auto call = sdk->lastCall(c.call);
    ASSERT_TRUE(call.has_value());
    EXPECT_EQ(call->onMain, c.onMain);
  }
}

TEST_F(DeepLinkHandlerTest, ForwardingCallsPassTheirArguments) {
  run(R{LMRPCHandleOpenURLRequest{URLValue{"myapp://a"}, std::nullopt}});
  EXPECT_EQ(sdk->lastCall("handleOpenUrl")->args, (JSONArray{"myapp://a", nullptr}));
  run(R{LMRPCHandleOpenUrlRequest{URLValue{"myapp://b"}, JSONObject{{"k", 1}}}});
  EXPECT_EQ(sdk->lastCall("handleOpenUrl")->args, (JSONArray{"myapp://b", JSONObject{{"k", 1}}}));
  run(R{LMRPCContinueUserActivityRequest{URLValue{"https://x.io/p"}, "browse"}});
  EXPECT_EQ(sdk->lastCall("continueUserActivity")->args,
            (JSONArray{JSONObject{{"activityType", "browse"}, {"webpageURL", "https://x.io/p"}}, false}));
}

TEST_F(DeepLinkHandlerTest, FacebookDeferredLinkIsCheckedBeforeItReachesTheSDK) {
  for (const char* unsafe : {"JavaScript:alert(1)", "DATA:text/html,x", "just/a/path", ""}) {
    SCOPED_TRACE(unsafe);
    auto outcome = run(R{LMRPCSetFacebookDeferredAppLinkRequest{unsafe}});
    EXPECT_TRUE(testing::isTypedFailure(outcome, "Invalid or unsafe URL for Facebook deferred app link",
                                        error_type::kValidation));
  }
  EXPECT_EQ(sdk->count("setFacebookDeferredAppLink"), 0u);

  auto outcome = run(R{LMRPCSetFacebookDeferredAppLinkRequest{"fb123://authorize"}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Facebook deferred app link set"));
  EXPECT_EQ(sdk->facebookDeferredAppLink(), URLValue{"fb123://authorize"});

  outcome = run(R{LMRPCSetFacebookDeferredAppLinkRequest{std::nullopt}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Facebook deferred app link cleared"));
  EXPECT_EQ(sdk->facebookDeferredAppLink(), std::nullopt);
}

TEST_F(DeepLinkHandlerTest, FacebookApplinksMessageFollowsTheFlagNotTheLookup) {
  auto outcome = run(R{LMRPCEnableFacebookDeferredApplinksRequest{true}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Facebook deferred applinks enabled (FBSDKAppLinkUtility)"));
  EXPECT_EQ(sdk->lastCall("enableFacebookDeferredApplinks")->argsText(), "[null]");

  sdk->scriptPlatform(OSVersion{}, {"FBSDKAppLinkUtility"});
  run(R{LMRPCEnableFacebookDeferredApplinksRequest{true}});
  EXPECT_EQ(sdk->lastCall("enableFacebookDeferredApplinks")->argsText(), R"(["FBSDKAppLinkUtility"])");

  outcome = run(R{LMRPCEnableFacebookDeferredApplinksRequest{false}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Facebook deferred applinks disabled"));
  EXPECT_EQ(sdk->lastCall("enableFacebookDeferredApplinks")->argsText(), "[null]");
}

// An SDK that throws must neither unwind the main executor nor leave the request unanswered.
// One case throws before answering, the other after it hopped to the main executor; the
// host gets the same result failure either way, through the whole client.
TEST(DeepLinkHandlerFailure, ThrowingSDKCallBecomesAnInternalFailure) {
  struct ThrowingSDK : FakeSDK {
    void performOnAppAttribution(const URLValue&) override { throw std::runtime_error("sdk bug"); }
    void addPushNotificationDeepLinkPath(const StringList&) override { throw std::bad_alloc(); }
  };
  auto client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<ThrowingSDK>());
  for (std::string method : {R"("performOnAppAttributionWithURL","params":{"url":"myapp://x"})",
                             R"("addPushNotificationDeepLinkPath","params":{"path":["a"]})"}) {
    EXPECT_EQ(testing::execute(*client, R"({"id":1,"method":)" + method + "}"),
              R"({"error":null,"id":1,"result":{"errorType":"internal_error",)"
              R"("message":"Unexpected failure while handling the request","success":false}})");
  }
}

}  // namespace
}  // namespace lumetra_rpc
