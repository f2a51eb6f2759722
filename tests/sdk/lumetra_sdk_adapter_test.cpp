#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "sdk/lumetra_sdk_adapter.h"
#include "sdk/simulator/simulator.h"

namespace lumetra_rpc {
namespace {

using simulator::CompletionReply;
using simulator::SimulatorConfig;

constexpr auto kCeiling = std::chrono::seconds(10);

// Installs a simulator for one test and puts the default one back afterwards.
struct ScopedSimulator {
  explicit ScopedSimulator(SimulatorConfig config) {
    EXPECT_TRUE(simulator::configureSimulator(std::move(config)).hasValue());
  }
  ~ScopedSimulator() { simulator::configureSimulator(simulator::defaultSimulatorConfig()); }
};

// A dictionary as the SDK may hand it over: one string key, one integer key.
AnyKeyMap mixedKeys() {
  return {{AnyCodable("status"), AnyCodable("ok")}, {AnyCodable(7), AnyCodable("seven")}};
}

CompletionReply dataReply(AnyKeyMap data) {
  CompletionReply reply;
  reply.data = std::move(data);
  return reply;
}

CompletionReply errorReply() {
  CompletionReply reply;
  reply.kind = CompletionReply::Kind::error;
  reply.error = SDKError{"LumetraLibErrorDomain", 21002, "receipt rejected"};
  return reply;
}

struct Answers {
  std::mutex mutex;
  std::vector<std::optional<AnyKeyMap>> dictionaries;
  std::vector<std::optional<SDKError>> errors;
  std::vector<std::thread::id> threads;
  SDKCompletion completion() {
    return [this](std::optional<AnyKeyMap> dictionary, std::optional<SDKError> error) {
      std::lock_guard lock(mutex);
      dictionaries.push_back(std::move(dictionary));
      errors.push_back(std::move(error));
      threads.push_back(std::this_thread::get_id());
    };
  }
};

TEST(LumetraSDKAdapter, StartAndEventCallbacksKeepOnlyStringKeys) {
  auto config = simulator::defaultSimulatorConfig();
  config.start = dataReply(mixedKeys());
  config.logEvent = dataReply(mixedKeys());
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  Answers answers;
  adapter.start(answers.completion());
  adapter.logEvent("level_up", std::nullopt, answers.completion());
  ASSERT_EQ(answers.dictionaries.size(), 2u);
  for (const auto& dictionary : answers.dictionaries) {
    ASSERT_TRUE(dictionary.has_value());
    EXPECT_EQ(*dictionary, (AnyKeyMap{{AnyCodable("status"), AnyCodable("ok")}}));
  }
}

TEST(LumetraSDKAdapter, PurchaseCallbacksKeepKeysOfAnyKind) {
  auto config = simulator::defaultSimulatorConfig();
  config.purchase = dataReply(mixedKeys());
  config.purchaseV2 = dataReply(mixedKeys());
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  Answers answers;
  auto details = adapter.makePurchaseDetails("coins", "t-1", 1);
  ASSERT_NE(details, nullptr);
  adapter.validateAndLogInAppPurchase(details, std::nullopt, answers.completion());
  std::optional<AnyKeyMap> legacy;
  int failures = 0;
  adapter.validateAndLogInAppPurchase(
      "coins", "0.99", "EUR", "t-2", std::nullopt, [&](AnyKeyMap response) { legacy = response; },
      [&](SDKError, AnyCodable) { ++failures; });
  ASSERT_EQ(answers.dictionaries.size(), 1u);
  EXPECT_EQ(answers.dictionaries[0], mixedKeys());
  EXPECT_EQ(legacy, mixedKeys());
  EXPECT_EQ(failures, 0);
}

TEST(LumetraSDKAdapter, LegacyPurchaseFailureCallsOnlyTheFailureBlock) {
  auto config = simulator::defaultSimulatorConfig();
  config.purchase = errorReply();
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  int successes = 0;
  std::vector<SDKError> errors;
  adapter.validateAndLogInAppPurchase(
      "coins", "", "EUR", "t-3", JSONObject{{"placement", AnyCodable("store")}},
      [&](AnyKeyMap) { ++successes; }, [&](SDKError error, AnyCodable) { errors.push_back(error); });
  EXPECT_EQ(successes, 0);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].code, 21002);
  EXPECT_EQ(errors[0].localizedDescription, "receipt rejected");
}

TEST(LumetraSDKAdapter, PurchaseDetailsCanFailToExist) {
  auto config = simulator::defaultSimulatorConfig();
  config.purchaseDetailsFail = true;
  ScopedSimulator scoped(config);
  EXPECT_EQ(LumetraSDKAdapter().makePurchaseDetails("coins", "t-4", 0), nullptr);
}

TEST(LumetraSDKAdapter, MissingInviteURLArrivesAsNone) {
  auto config = simulator::defaultSimulatorConfig();
  config.inviteUrl.kind = simulator::URLReply::Kind::noURL;
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  bool generatorCalled = false;
  std::vector<std::optional<URLValue>> urls;
  adapter.generateInviteUrl(
      [&](std::shared_ptr<LumetraLinkGenerator> generator) {
        generatorCalled = true;
        generator->setChannel("sms");
        return generator;
      },
      [&](std::optional<URLValue> url) {
        EXPECT_TRUE(generatorCalled);
        urls.push_back(url);
      });
  ASSERT_EQ(urls.size(), 1u);
  EXPECT_FALSE(urls[0].has_value());
}

TEST(LumetraSDKAdapter, InviteLinkIsBuiltFromTheReturnedGenerator) {
  ScopedSimulator scoped(simulator::defaultSimulatorConfig());
  LumetraSDKAdapter adapter;
  std::optional<URLValue> url;
  adapter.generateInviteUrl(
      [](std::shared_ptr<LumetraLinkGenerator> generator) {
        generator->setBrandDomain("go.example.com");
        generator->addParameters(JSONObject{{"screen", AnyCodable("a b")}});
        return generator;
      },
      [&](std::optional<URLValue> reported) { url = reported; });
  ASSERT_TRUE(url.has_value());
  EXPECT_EQ(url->absoluteString, "https://go.example.com/invite?screen=a%20b");
}

TEST(LumetraSDKAdapter, PlatformFactsFollowTheSimulatorConfig) {
  auto config = simulator::defaultSimulatorConfig();
  config.osVersion = OSVersion{13, 7, 0};
  config.classes = {"FBSDKAppLinkUtility"};
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  EXPECT_EQ(adapter.runningOSVersion(), (OSVersion{13, 7, 0}));
  EXPECT_EQ(adapter.lookupClass("FBSDKAppLinkUtility")->name, "FBSDKAppLinkUtility");
  EXPECT_FALSE(adapter.lookupClass("FBSDKAppLinkUtilityX").has_value());
}

TEST(LumetraSDKAdapter, DelayedRepeatedAnswersComeFromAnotherThread) {
  auto config = simulator::defaultSimulatorConfig();
  config.start.timing = simulator::ReplyTiming{1, 2};
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  Answers answers;
  adapter.start(answers.completion());
  ASSERT_TRUE(simulator::waitForSimulatorIdle(kCeiling));
  std::lock_guard lock(answers.mutex);
  ASSERT_EQ(answers.threads.size(), 2u);
  for (auto thread : answers.threads) EXPECT_NE(thread, std::this_thread::get_id());
}

struct RecordingDelegate : LumetraLibDelegate {
  std::atomic<int> successes{0};
  void onConversionDataSuccess(const AnyKeyMap&) noexcept override { ++successes; }
  void onConversionDataFail(const SDKError&) noexcept override {}
  void onAppOpenAttribution(const AnyKeyMap&) noexcept override {}
  void onAppOpenAttributionFailure(const SDKError&) noexcept override {}
};

TEST(LumetraSDKAdapter, DelegatesAreHeldWeakly) {
  auto config = simulator::defaultSimulatorConfig();
  config.conversion = dataReply(mixedKeys());
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  auto delegate = std::make_shared<RecordingDelegate>();
  adapter.setDelegate(delegate);
  adapter.start([](auto, auto) {});
  ASSERT_TRUE(simulator::waitForSimulatorIdle(kCeiling));
  EXPECT_EQ(delegate->successes.load(), 1);

  std::weak_ptr<RecordingDelegate> released = delegate;
  delegate.reset();
  EXPECT_TRUE(released.expired());
  adapter.start([](auto, auto) {});
  EXPECT_TRUE(simulator::waitForSimulatorIdle(kCeiling));
}

}  // namespace
}  // namespace lumetra_rpc
