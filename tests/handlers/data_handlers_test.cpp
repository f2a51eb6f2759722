#include <gtest/gtest.h>

#include "handlers/data_handler.h"
#include "handlers/handler_test_support.h"
#include "handlers/notification_handler.h"
#include "support/fake_sdk.h"

namespace lumetra_rpc {
namespace {

using testing::FakeSDK;

TEST(NotificationHandler, PassesPayloadAndRawTokenBytes) {
  auto sdk = std::make_shared<FakeSDK>();
  LMRPCNotificationHandler handler{sdk};
  auto outcome = testing::runHandler(
      handler,
      LMRPCNotificationRequest{LMRPCHandlePushNotificationRequest{{{"lm", JSONObject{{"pid", "x"}}}}}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Push notification handled"));
  EXPECT_EQ(sdk->lastCall("handlePushNotification")->argsText(), R"([{"lm":{"pid":"x"}}])");

  outcome = testing::runHandler(handler,
                                LMRPCNotificationRequest{LMRPCRegisterUninstallRequest{{0x00, 0xab, 0x10}}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Uninstall token registered"));
  EXPECT_EQ(sdk->lastCall("registerUninstall")->argsText(), R"(["00ab10"])");
}

TEST(DataHandler, SettersPassArgumentsInTheSDKOrder) {
  auto sdk = std::make_shared<FakeSDK>();
  LMRPCDataHandler handler{sdk};
  auto outcome = testing::runHandler(handler, LMRPCDataRequest{LMRPCLogLocationRequest{-122.5, 37.25}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Location logged"));
  EXPECT_EQ(sdk->lastCall("logLocation")->argsText(), "[-122.5,37.25]");

  outcome =
      testing::runHandler(handler, LMRPCDataRequest{LMRPCSetUserEmailsRequest{{"b@x.io", "a@x.io"}, 3}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "userEmails set"));
  EXPECT_EQ(sdk->lastCall("setUserEmails")->argsText(), R"([["b@x.io","a@x.io"],3])");
}

TEST(DataHandler, GettersAnswerWithASingleKey) {
  auto sdk = std::make_shared<FakeSDK>();
  sdk->scriptIdentity("1700000000-42", "6.14.0");
  LMRPCDataHandler handler{sdk};
  auto outcome = testing::runHandler(handler, LMRPCDataRequest{LMRPCGetLumetraUIDRequest{}});
  EXPECT_EQ(testing::messageOf(outcome), "LumetraUID retrieved");
  EXPECT_EQ(testing::dataText(outcome), R"({"uid":"1700000000-42"})");

  outcome = testing::runHandler(handler, LMRPCDataRequest{LMRPCGetSDKVersionRequest{}});
  EXPECT_EQ(testing::messageOf(outcome), "SDK version retrieved");
  EXPECT_EQ(testing::dataText(outcome), R"({"version":"6.14.0"})");
}

}  // namespace
}  // namespace lumetra_rpc
