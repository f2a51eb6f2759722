// What the command-line sessions cannot reach: dictionaries with keys JSON cannot write,
// the threads answers come from, and delegates released while the SDK holds them.

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "sdk/lumetra_sdk_adapter.h"
#include "sdk/simulator/simulator.h"

namespace lumetra_rpc {
namespace {

using simulator::CompletionReply;

constexpr auto kCeiling = std::chrono::seconds(10);

// Installs a simulator for one test and puts the default one back afterwards.
struct ScopedSimulator {
  explicit ScopedSimulator(simulator::SimulatorConfig config) {
    EXPECT_TRUE(simulator::configureSimulator(std::move(config)).hasValue());
  }
  ~ScopedSimulator() { simulator::configureSimulator(simulator::defaultSimulatorConfig()); }
};

// A dictionary as the SDK may hand it over: one string key, one integer key.
const AnyKeyMap kMixedKeys{{AnyCodable("status"), AnyCodable("ok")}, {AnyCodable(7), AnyCodable("seven")}};

CompletionReply reply(CompletionReply::Kind kind, simulator::ReplyTiming timing = {}) {
  return CompletionReply{kind, kMixedKeys, SDKError{"LumetraLibErrorDomain", 21002, "receipt rejected"},
                         timing};
}

// Every answer a completion got, with the thread it came from.
struct Answers {
  std::mutex mutex;
  std::vector<std::optional<AnyKeyMap>> dictionaries;
  std::vector<std::thread::id> threads;
  SDKCompletion completion() {
    return [this](std::optional<AnyKeyMap> dictionary, std::optional<SDKError>) {
      std::lock_guard lock(mutex);
      dictionaries.push_back(std::move(dictionary));
      threads.push_back(std::this_thread::get_id());
    };
  }
};

// Start and event blocks declare string keys; the purchase blocks take keys of any kind.
TEST(LumetraSDKAdapter, OnlyStartAndEventAnswersDropNonStringKeys) {
  auto config = simulator::defaultSimulatorConfig();
  config.start = config.logEvent = config.purchase = config.purchaseV2 = reply(CompletionReply::Kind::data);
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  Answers answers;
  adapter.start(answers.completion());
  adapter.logEvent("level_up", std::nullopt, answers.completion());
  adapter.validateAndLogInAppPurchase(adapter.makePurchaseDetails("coins", "t-1", 1), std::nullopt,
                                      answers.completion());
  std::optional<AnyKeyMap> legacy;
  adapter.validateAndLogInAppPurchase(
      "coins", "0.99", "EUR", "t-2", std::nullopt, [&](AnyKeyMap response) { legacy = response; },
      [&](SDKError, AnyCodable) { ADD_FAILURE() << "failure block called"; });
  const AnyKeyMap stringKeys{{AnyCodable("status"), AnyCodable("ok")}};
  EXPECT_EQ(answers.dictionaries,
            (std::vector<std::optional<AnyKeyMap>>{stringKeys, stringKeys, kMixedKeys}));
  EXPECT_EQ(legacy, kMixedKeys);
}

// How a failed legacy purchase is answered: the session sdk_errors.

TEST(LumetraSDKAdapter, DelayedRepeatedAnswersComeFromAnotherThread) {
  auto config = simulator::defaultSimulatorConfig();
  config.start = reply(CompletionReply::Kind::data, simulator::ReplyTiming{1, 2});
  ScopedSimulator scoped(config);
  Answers answers;
  LumetraSDKAdapter().start(answers.completion());
  ASSERT_TRUE(simulator::waitForSimulatorIdle(kCeiling));
  std::lock_guard lock(answers.mutex);
  ASSERT_EQ(answers.threads.size(), 2u);
  for (auto thread : answers.threads) EXPECT_NE(thread, std::this_thread::get_id());
}

struct CountingDelegate : LumetraLibDelegate {
  std::atomic<int> successes{0};
  void onConversionDataSuccess(const AnyKeyMap&) noexcept override { ++successes; }
  void onConversionDataFail(const SDKError&) noexcept override {}
  void onAppOpenAttribution(const AnyKeyMap&) noexcept override {}
  void onAppOpenAttributionFailure(const SDKError&) noexcept override {}
};

// A report due after the delegate is gone must find nobody, not a dangling delegate.
TEST(LumetraSDKAdapter, DelegatesAreHeldWeakly) {
  auto config = simulator::defaultSimulatorConfig();
  config.conversion = reply(CompletionReply::Kind::data);
  ScopedSimulator scoped(config);
  LumetraSDKAdapter adapter;
  auto delegate = std::make_shared<CountingDelegate>();
  adapter.setDelegate(delegate);
  adapter.start([](auto, auto) {});
  ASSERT_TRUE(simulator::waitForSimulatorIdle(kCeiling));
  EXPECT_EQ(delegate->successes.load(), 1);

  std::weak_ptr<CountingDelegate> released = delegate;
  delegate.reset();
  EXPECT_TRUE(released.expired());
  adapter.start([](auto, auto) {});
  EXPECT_TRUE(simulator::waitForSimulatorIdle(kCeiling));
}

}  // namespace
}  // namespace lumetra_rpc
