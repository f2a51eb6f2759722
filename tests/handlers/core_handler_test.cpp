#include "handlers/core_handler.h"

#include <gtest/gtest.h>

#include "handlers/handler_test_support.h"
#include "support/fake_sdk.h"

namespace lumetra_rpc {
namespace {

using testing::FakeSDK;
using testing::Reply;
using testing::ScriptedAnswer;

// Distinct values, so that a timeout message shows which field the handler read.
constexpr TimeoutConfig kShortTimeouts{0.05, 0.06, 0.07, 0.08, 0.09};

struct CoreHandlerTest : ::testing::Test {
  std::shared_ptr<FakeSDK> sdk = std::make_shared<FakeSDK>();
  LMRPCCoreHandler handler{sdk, kShortTimeouts};
};

TEST_F(CoreHandlerTest, InitializeSetsDevKeyThenAppId) {
  auto outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCInitRequest{"dev-key", "id123"}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "SDK initialized successfully"));
  auto calls = sdk->calls();
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].name, "setLumetraDevKey");
  EXPECT_EQ(calls[0].argsText(), R"(["dev-key"])");
  EXPECT_EQ(calls[1].name, "setAppleAppID");
  EXPECT_EQ(calls[1].argsText(), R"(["id123"])");
}

TEST_F(CoreHandlerTest, StartWithoutAwaitAnswersEvenIfTheSDKNeverDoes) {
  sdk->script("start", ScriptedAnswer(Reply::kNever));
  auto outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCStartRequest{false}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "SDK start completed"));
  EXPECT_EQ(sdk->count("start"), 1u);
}

TEST_F(CoreHandlerTest, AwaitedStartReportsEachKindOfSDKAnswer) {
  sdk->script("start", ScriptedAnswer(Reply::kAtOnce, AnyKeyMap{{"status", "launched"}}));
  auto outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCStartRequest{true}});
  EXPECT_EQ(testing::messageOf(outcome), "start completed with data");
  EXPECT_EQ(testing::dataText(outcome), R"({"status":"launched"})");

  sdk->script("start", ScriptedAnswer(Reply::kAtOnce));
  outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCStartRequest{true}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "start completed"));

  sdk->script("start", ScriptedAnswer(Reply::kAtOnce, std::nullopt, SDKError{"LumetraLib", 41, "no key"}));
  outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCStartRequest{true}});
  const SDKFailure* failure = testing::asFailure(outcome);
  ASSERT_NE(failure, nullptr);
  EXPECT_EQ(failure->message, "start completed with error");
  EXPECT_EQ(failure->error, "no key");
  EXPECT_EQ(failure->errorCode, 41);

  sdk->script("start", ScriptedAnswer(Reply::kNever));
  outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCStartRequest{true}});
  EXPECT_TRUE(
      testing::isTypedFailure(outcome, "start operation timed out after 0.05 seconds", error_type::kTimeout));
}

TEST_F(CoreHandlerTest, FireAndForgetEventAnswersWithTheSummaryOnly) {
  auto outcome = testing::runHandler(
      handler, LMRPCCoreRequest{LMRPCLogEventRequest{"af_purchase", std::nullopt, false}});
  EXPECT_EQ(testing::messageOf(outcome), "Event logged");
  EXPECT_EQ(testing::dataText(outcome), R"({"eventName":"af_purchase"})");
  EXPECT_EQ(sdk->lastCall("logEvent")->argsText(), R"(["af_purchase",null])");
  EXPECT_EQ(sdk->count("logEventWithCompletion"), 0u);
}

TEST_F(CoreHandlerTest, AwaitedEventMergesSummaryOverTheSDKAnswer) {
  JSONObject values{{"revenue", 9.5}};
  sdk->script("logEventWithCompletion",
              ScriptedAnswer(Reply::kAtOnce, AnyKeyMap{{"eventName", "sdk-name"}, {"queued", true}}));
  auto outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCLogEventRequest{"level", values, true}});
  EXPECT_EQ(testing::messageOf(outcome), "logEvent completed with data");
  EXPECT_EQ(testing::dataText(outcome),
            R"({"eventName":"level","eventValues":{"revenue":9.5},"queued":true})");
  EXPECT_EQ(sdk->lastCall("logEventWithCompletion")->argsText(), R"(["level",{"revenue":9.5}])");

  sdk->script("logEventWithCompletion", ScriptedAnswer(Reply::kAtOnce));
  outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCLogEventRequest{"level", {}, true}});
  EXPECT_EQ(testing::messageOf(outcome), "logEvent completed");
  EXPECT_EQ(testing::dataText(outcome), R"({"eventName":"level"})");
}

TEST_F(CoreHandlerTest, AwaitedEventFailuresPassThroughWithoutSummary) {
  sdk->script("logEventWithCompletion", ScriptedAnswer(Reply::kNever));
  auto outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCLogEventRequest{"e", {}, true}});
  EXPECT_TRUE(testing::isTypedFailure(outcome, "logEvent operation timed out after 0.06 seconds",
                                      error_type::kTimeout));
}

TEST_F(CoreHandlerTest, PluginInfoLooksTheStoredNameUpExactly) {
  auto outcome = testing::runHandler(
      handler, LMRPCCoreRequest{LMRPCSetPluginInfoRequest{"unity", "6.1.0", JSONObject{{"k", 1}}}});
  EXPECT_EQ(testing::messageOf(outcome), "Plugin info set");
  EXPECT_EQ(testing::dataText(outcome), R"({"plugin":"unity","pluginVersion":"6.1.0"})");
  EXPECT_EQ(sdk->lastCall("setPluginInfo")->argsText(), R"([1,"6.1.0",{"k":1}])");

  outcome = testing::runHandler(handler, LMRPCCoreRequest{LMRPCSetPluginInfoRequest{"Unity", "6.1.0", {}}});
  EXPECT_TRUE(testing::isTypedFailure(outcome, "Invalid plugin type: Unity", error_type::kValidation));
  EXPECT_EQ(sdk->count("setPluginInfo"), 1u);
}

}  // namespace
}  // namespace lumetra_rpc
