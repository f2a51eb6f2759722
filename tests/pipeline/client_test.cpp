#include <gtest/gtest.h>

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
#include "support/fake_sdk.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

using testing::FakeSDK;

struct ClientFixture : ::testing::Test {
  std::shared_ptr<FakeSDK> sdk = std::make_shared<FakeSDK>();
  std::shared_ptr<LMRPCClient> client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, sdk);
  std::string run(std::string text) { return testing::execute(*client, std::move(text)); }
};

// A well-formed request padded with an ignored member to exactly `bytes` bytes.
std::string paddedRequest(std::size_t bytes) {
  std::string head = R"({"id":1,"method":"getSDKVersion","pad":")";
  std::string tail = "\"}";
  return head + std::string(bytes - head.size() - tail.size(), 'x') + tail;
}

TEST_F(ClientFixture, CapsTheRequestSizeInUTF8BytesBeforeParsing) {
  const std::string tooLarge =
      R"({"error":{"code":400,"message":"Request payload too large"},"id":null,"result":null})";
  EXPECT_EQ(run(paddedRequest(1'048'576)), tooLarge);
  EXPECT_NE(run(paddedRequest(1'048'575)), tooLarge);
  // Half as many characters as the cap, but each takes two bytes.
  std::string twoByte;
  for (int i = 0; i < 524'288; ++i) twoByte += "\xC3\xA9";
  EXPECT_EQ(run(twoByte), tooLarge);
}

TEST_F(ClientFixture, EnvelopeFailuresAnswer400WithNullId) {
  for (const char* text :
       {"", "[]", R"({"id":3,"method":1})", R"({"id":3,"method":"init","params":[]})",
        "{\"id\":3,\"method\":\"init\"", R"({"id":3,"method":"init","params":{"a":1e400}})"}) {
    auto response = run(text);
    EXPECT_EQ(response.rfind(R"({"error":{"code":400,"message":"Invalid JSON-RPC request structure: )", 0),
              0u)
        << text << " -> " << response;
    EXPECT_NE(response.find(R"("id":null,"result":null})"), std::string::npos) << response;
  }
}

TEST_F(ClientFixture, EchoesTheIdOfEveryKind) {
  const std::pair<const char*, const char*> cases[] = {
      {R"("abc")", R"("abc")"},
      {"7", "7"},
      {"1.0", "1"},
      {"true", "true"},
      {"[1,\"a\"]", "[1,\"a\"]"},
      {R"({"z":1,"a":2})", R"({"a":2,"z":1})"},
      {"null", "null"},
  };
  for (auto [id, echoed] : cases) {
    auto response = run(std::string(R"({"id":)") + id + R"(,"method":"nope"})");
    EXPECT_EQ(response, std::string(R"({"error":{"code":404,"message":"Method not found: nope"},"id":)") +
                            echoed + R"(,"result":null})");
  }
  EXPECT_EQ(run(R"({"method":"nope","params":{"x":[}})").find("\"code\":400"), 10u);
}

TEST_F(ClientFixture, ParamsAbsentNullOrEmptyBehaveAlikeAndExtraMembersAreIgnored) {
  const std::string expected = run(R"({"id":1,"method":"getSDKVersion"})");
  EXPECT_EQ(run(R"({"id":1,"method":"getSDKVersion","params":null})"), expected);
  EXPECT_EQ(run(R"({"id":1,"method":"getSDKVersion","params":{}})"), expected);
  EXPECT_EQ(run(R"({"jsonrpc":"2.0","id":1,"method":"getSDKVersion","extra":[1,2]})"), expected);
  EXPECT_EQ(expected.rfind(R"({"error":null,"id":1,"result":{)", 0), 0u) << expected;
}

TEST_F(ClientFixture, AResultThatCannotBeWrittenBecomes500KeepingTheId) {
  testing::ScriptedAnswer answer;
  answer.dictionary = AnyKeyMap{{AnyCodable("widget"), AnyCodable(OpaqueValue{"LMWidget", nullptr})}};
  sdk->script("start", answer);
  EXPECT_EQ(
      run(R"({"id":"s","method":"start"})"),
      R"({"error":{"code":500,"message":"Failed to encode response: Unsupported type: LMWidget"},"id":"s","result":null})");
}

TEST_F(ClientFixture, ASDKFailureIsAResultNotAnError) {
  testing::ScriptedAnswer answer;
  answer.error = SDKError{"LM", 7, "boom"};
  sdk->script("start", answer);
  EXPECT_EQ(
      run(R"({"id":1,"method":"start"})"),
      R"({"error":null,"id":1,"result":{"error":"boom","errorCode":7,"errorType":"sdk_error","message":"start completed with error","success":false}})");
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
  auto sdk = std::make_shared<FakeSDK>();
  TimeoutConfig timeouts;
  timeouts.logEvent = 0.05;
  auto client = LMRPCClient::create([](std::string) {}, timeouts, sdk);
  testing::ScriptedAnswer never;
  never.reply = testing::Reply::kNever;
  sdk->script("logEventWithCompletion", never);
  sdk->scriptIdentity("uid-1", "9.9.9");
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

TEST(Client, ReleasingTheClientReleasesEverything) {
  auto sdk = std::make_shared<FakeSDK>();
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
