#include <gtest/gtest.h>

#include <cmath>
#include <mutex>

#include "lumetra_rpc/client.h"
#include "pipeline/client_internals.h"
#include "pipeline/request_handler.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

// Collects event texts, with their timestamps cut out so they compare exactly.
struct EventLog {
  std::mutex mutex;
  std::vector<std::string> texts;
  void add(std::string text) {
    auto at = text.find(",\"timestamp\":");
    if (at != std::string::npos) text.erase(at, text.find('}', at) - at);
    std::lock_guard lock(mutex);
    texts.push_back(std::move(text));
  }
  std::size_t size() {
    std::lock_guard lock(mutex);
    return texts.size();
  }
};

struct EventsFixture : ::testing::Test {
  std::shared_ptr<LumetraSDKAdapter> sdk = std::make_shared<LumetraSDKAdapter>();
  std::shared_ptr<EventLog> log = std::make_shared<EventLog>();
  std::shared_ptr<LMRPCClient> client =
      LMRPCClient::create([log = log](std::string text) { log->add(std::move(text)); }, TimeoutConfig{}, sdk);
  LMRPCRequestHandler& delegate() { return *ClientInternals::handler(*client); }
  void registerListener(const char* method) {
    testing::execute(*client, std::string(R"({"method":")") + method + "\"}");
  }
  // Gives dropped events every chance to show up before asserting they did not.
  void settle() { testing::pumpFor(std::chrono::milliseconds(30)); }
};

// That events flow only once their listener is registered: the command-line session
// listeners_gate_events.

TEST_F(EventsFixture, NonStringKeysAreRemovedAtEveryDepth) {
  registerListener("registerConversionListener");
  AnyKeyMap inner{{AnyCodable("keep"), AnyCodable(true)}, {AnyCodable(5), AnyCodable("drop")}};
  AnyKeyMap data{{AnyCodable("nested"), AnyCodable(inner)},
                 {AnyCodable("list"), AnyCodable(JSONArray{AnyCodable(inner)})},
                 {AnyCodable(1.5), AnyCodable("drop")}};
  delegate().onAppOpenAttribution(data);
  ASSERT_TRUE(testing::pumpUntil([&] { return log->size() == 1; }));
  EXPECT_EQ(
      log->texts[0],
      R"({"data":{"list":[{"keep":true}],"nested":{"keep":true}},"event":"onAppOpenAttribution","origin":"ios"})");
}

// A link without a value: the session listeners_gate_events.
TEST_F(EventsFixture, DeepLinkDataShapes) {
  registerListener("registerDeeplinkListener");
  LumetraDeepLinkResult withError{1, std::nullopt, SDKError{"LM", 3, "not found"}};
  LumetraDeepLinkResult full{0, LumetraDeepLink{"promo", {}, false}, std::nullopt};
  for (const auto& result : {withError, full}) delegate().didResolveDeepLink(result);
  ASSERT_TRUE(testing::pumpUntil([&] { return log->size() == 2; }));
  std::sort(log->texts.begin(), log->texts.end());
  EXPECT_EQ(
      log->texts[0],
      R"({"data":{"clickEvent":{},"deepLinkValue":"promo","isDeferred":false,"status":0},"event":"onDeepLinkReceived","origin":"ios"})");
  EXPECT_EQ(log->texts[1],
            R"({"data":{"error":"not found","status":1},"event":"onDeepLinkReceived","origin":"ios"})");
}

TEST_F(EventsFixture, AnEventThatCannotBeWrittenArrivesAsTheFallbackText) {
  registerListener("registerConversionListener");
  delegate().onConversionDataSuccess({{AnyCodable("x"), AnyCodable(std::nan(""))}});
  ASSERT_TRUE(testing::pumpUntil([&] { return log->size() == 1; }));
  EXPECT_EQ(log->texts[0], R"({"event":"error","data":{"message":"Failed to encode event"},"origin":"ios"})");
}

TEST_F(EventsFixture, EventsAfterTheClientIsReleasedReachNobody) {
  registerListener("registerConversionListener");
  auto handler = ClientInternals::handler(*client);
  client.reset();
  handler->onConversionDataSuccess({{AnyCodable("a"), AnyCodable(1)}});
  settle();
  EXPECT_EQ(log->size(), 0u);
}

}  // namespace
}  // namespace lumetra_rpc
