#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <utility>

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/co_spawn.hpp>

#include "lumetra_rpc/asio.h"
#include "lumetra_rpc/client.h"
#include "lumetra_rpc/runtime.h"
#include "pipeline/client_internals.h"
#include "runtime/runtime_core.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/adversarial_sdk.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

// A well-formed request padded with an ignored member to exactly `bytes` bytes.
std::string paddedRequest(std::size_t bytes) {
  std::string head = R"({"id":1,"method":"getSDKVersion","pad":")";
  std::string tail = "\"}";
  return head + std::string(bytes - head.size() - tail.size(), 'x') + tail;
}

TEST(Client, CapsTheRequestSizeInUTF8BytesBeforeParsing) {
  auto client =
      LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<LumetraSDKAdapter>());
  auto run = [&](std::string text) { return testing::execute(*client, std::move(text)); };
  const std::string tooLarge =
      R"({"error":{"code":400,"message":"Request payload too large"},"id":null,"result":null})";
  EXPECT_EQ(run(paddedRequest(1'048'576)), tooLarge);
  EXPECT_NE(run(paddedRequest(1'048'575)), tooLarge);
  // Half as many characters as the cap, but each takes two bytes.
  std::string twoByte;
  for (int i = 0; i < 524'288; ++i) twoByte += "\xC3\xA9";
  EXPECT_EQ(run(twoByte), tooLarge);
}

// How envelopes are refused, ids echoed and params read: the command-line session envelopes.

TEST(Client, AResultThatCannotBeWrittenBecomes500KeepingTheId) {
  auto sdk = std::make_shared<testing::AdversarialSDK>(
      [](std::string_view) { return testing::Answer::kData; },
      AnyKeyMap{{AnyCodable("widget"), AnyCodable(OpaqueValue{"LMWidget", nullptr})}});
  auto client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, sdk);
  EXPECT_EQ(
      testing::execute(*client, R"({"id":"s","method":"start"})"),
      R"({"error":{"code":500,"message":"Failed to encode response: Unsupported type: LMWidget"},"id":"s","result":null})");
}

// Awaits `execute` in a coroutine running on `executor`, pumping the main executor.
std::string awaitExecute(LMRPCClient& client, std::string text, boost::asio::any_io_executor executor) {
  auto state = std::make_shared<std::pair<std::mutex, std::optional<std::string>>>();
  boost::asio::co_spawn(
      executor,
      [&client, text = std::move(text)]() -> boost::asio::awaitable<std::string> {
        auto run = execute(client, text);
        co_return co_await std::move(run);
      },
      [state](std::exception_ptr failure, std::string response) {
        std::lock_guard lock(state->first);
        state->second = failure ? "<threw>" : std::move(response);
      });
  bool answered = testing::pumpUntil([&] {
    std::lock_guard lock(state->first);
    return state->second.has_value();
  });
  std::lock_guard lock(state->first);
  return answered ? *state->second : "<no response>";
}

// Awaited from a pool thread a request runs where it is, from any other executor it hops
// to the pool; either way, and whether its case answers at once, waits on the SDK or times
// out, the answer is the completion form's.
TEST(Client, AwaitedExecuteAnswersAsTheCompletionFormFromAnyExecutor) {
  auto sdk = std::make_shared<testing::AdversarialSDK>(
      [](std::string_view operation) {
        return operation == "logEvent" ? testing::Answer::kNever : testing::Answer::kData;
      },
      AnyKeyMap{});
  TimeoutConfig timeouts;
  timeouts.logEvent = 0.05;
  auto client = LMRPCClient::create([](std::string) {}, timeouts, sdk);
  const char* requests[] = {
      "{",
      R"({"id":1,"method":"getSDKVersion"})",
      R"({"id":2,"method":"setCustomerUserId","params":{"customerUserId":"c"}})",
      R"({"id":3,"method":"setCustomerUserId","params":{}})",
      R"({"id":4,"method":"start","params":{"awaitResponse":true}})",
      R"({"id":5,"method":"logEvent","params":{"eventName":"e","awaitResponse":true}})",
  };
  for (const char* request : requests) {
    auto expected = testing::execute(*client, request);
    EXPECT_EQ(awaitExecute(*client, request, runningCore().pool()), expected) << request;
    EXPECT_EQ(awaitExecute(*client, request, runningCore().main()), expected) << request;
  }
  EXPECT_NE(testing::execute(*client, requests[4]).find("\"success\":true"), std::string::npos);
  EXPECT_NE(testing::execute(*client, requests[5]).find("\"errorType\":\"timeout\""), std::string::npos);
}

// The completion form calls back on the pool however the wait ends: an SDK answer on the
// main executor, one from a foreign thread, the timer, or a call made on main.
TEST(Client, TheCompletionFormAnswersOnThePoolWhereverTheWaitEnds) {
  auto sdk = std::make_shared<testing::AdversarialSDK>(
      [](std::string_view operation) {
        if (operation == "logEvent") return testing::Answer::kNever;
        return operation == "start" ? testing::Answer::kData : testing::Answer::kForeign;
      },
      AnyKeyMap{});
  TimeoutConfig timeouts;
  timeouts.logEvent = 0.02;
  auto client = LMRPCClient::create([](std::string) {}, timeouts, sdk);
  for (const char* request :
       {R"({"id":1,"method":"start","params":{"awaitResponse":true}})",
        R"({"id":2,"method":"logEvent","params":{"eventName":"e","awaitResponse":true}})",
        R"({"id":3,"method":"logAndOpenStore","params":{"appID":"1"}})",
        R"({"id":4,"method":"handleOpenUrl","params":{"url":"myapp://a"}})"}) {
    enum { kWaiting, kOnPool, kElsewhere };
    auto where = std::make_shared<std::atomic<int>>(kWaiting);
    client->executeWithJsonRequest(request, [where](std::string) {
      *where = runningCore().pool().running_in_this_thread() ? kOnPool : kElsewhere;
    });
    ASSERT_TRUE(testing::pumpUntil([&] { return where->load() != kWaiting; })) << request;
    EXPECT_EQ(where->load(), kOnPool) << request;
  }
}

TEST(Client, ReleasingTheClientReleasesEverything) {
  auto sdk = std::make_shared<LumetraSDKAdapter>();
  auto client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, sdk);
  testing::execute(*client, R"({"method":"registerConversionListener"})");
  testing::execute(*client, R"({"method":"registerDeeplinkListener"})");
  std::weak_ptr<LMRPCClient> weakClient = client;
  std::weak_ptr<LMRPCRequestHandler> weakHandler = ClientInternals::handler(*client);
  ASSERT_FALSE(sdk->delegate().expired());
  client.reset();
  EXPECT_TRUE(weakClient.expired());
  EXPECT_TRUE(weakHandler.expired());
  EXPECT_TRUE(sdk->delegate().expired());
  EXPECT_TRUE(sdk->deepLinkDelegate().expired());
}

}  // namespace
}  // namespace lumetra_rpc
