// What the command-line sessions cannot see: which thread an SDK call runs on, and an SDK
// that throws.

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <stdexcept>

#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/client.h"
#include "lumetra_rpc/runtime.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

// Notes, per call, whether it ran on the main executor, then lets the simulator have it.
struct ThreadNotingSDK : LumetraSDKAdapter {
  std::mutex mutex;
  std::map<std::string, bool> onMain;
  void note(const char* call) {
    std::lock_guard lock(mutex);
    onMain[call] = Runtime::isOnMain();
  }
  void handleOpenUrl(const URLValue& url, const std::optional<JSONObject>& options) override {
    note("handleOpenUrl");
    LumetraSDKAdapter::handleOpenUrl(url, options);
  }
  bool continueUserActivity(const LMUserActivity& activity,
                            std::function<void(std::vector<OpaqueValue>)> restoration) override {
    note("continueUserActivity");
    return LumetraSDKAdapter::continueUserActivity(activity, std::move(restoration));
  }
  void performOnAppAttribution(const URLValue& url) override {
    note("performOnAppAttribution");
    LumetraSDKAdapter::performOnAppAttribution(url);
  }
};

// The URL-opening calls must reach the SDK on the main executor, as the SDK requires.
TEST(DeepLinkHandler, URLOpeningCallsRunOnMain) {
  auto sdk = std::make_shared<ThreadNotingSDK>();
  auto client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, sdk);
  const std::pair<const char*, const char*> cases[] = {
      {R"("handleOpenURL","params":{"url":"myapp://a"})", "handleOpenUrl"},
      {R"("continueUserActivity","params":{"url":"https://x.io/p"})", "continueUserActivity"},
      {R"("performOnAppAttributionWithURL","params":{"url":"myapp://b"})", "performOnAppAttribution"},
  };
  for (const auto& [method, call] : cases) {
    auto response = testing::execute(*client, std::string(R"({"id":1,"method":)") + method + "}");
    EXPECT_NE(response.find(R"("success":true)"), std::string::npos) << response;
    std::lock_guard lock(sdk->mutex);
    ASSERT_TRUE(sdk->onMain.contains(call)) << call;
    EXPECT_TRUE(sdk->onMain[call]) << call;
  }
}

// One call throws on the main executor, the other on the pool thread that runs the request;
// the host gets the same result failure either way, through the completion form and
// through the facade (which finishes a main call on main), and main keeps running.
TEST(DeepLinkHandler, ThrowingSDKCallBecomesAnInternalFailure) {
  struct ThrowingSDK : LumetraSDKAdapter {
    void performOnAppAttribution(const URLValue&) override { throw std::runtime_error("sdk bug"); }
    void addPushNotificationDeepLinkPath(const StringList&) override { throw std::bad_alloc(); }
  };
  auto client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<ThrowingSDK>());
  auto bridge = LumetraRPCBridge::create(client);
  const std::string failed = R"({"error":null,"id":1,"result":{"errorType":"internal_error",)"
                             R"("message":"Unexpected failure while handling the request","success":false}})";
  for (std::string method : {R"("performOnAppAttributionWithURL","params":{"url":"myapp://x"})",
                             R"("addPushNotificationDeepLinkPath","params":{"path":["a"]})"}) {
    auto request = R"({"id":1,"method":)" + method + "}";
    EXPECT_EQ(testing::execute(*client, request), failed);
    std::string viaBridge;
    bridge->executeJson(request, [&](std::string text) { viaBridge = std::move(text); });
    ASSERT_TRUE(testing::pumpUntil([&] { return !viaBridge.empty(); })) << method;
    EXPECT_EQ(viaBridge, failed);
  }
  EXPECT_NE(testing::execute(*client, R"({"id":2,"method":"getSDKVersion"})").find("\"success\":true"),
            std::string::npos);
}

}  // namespace
}  // namespace lumetra_rpc
