#include "supervision/completion_timeout.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include "lumetra_rpc/runtime.h"
#include "runtime/runtime_core.h"
#include "support/fake_sdk.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;
using testing::FakeSDK;
using testing::Reply;
using testing::ScriptedAnswer;

// Long enough that an answering SDK always wins; such a race never waits for it.
constexpr double kAnswerWins = 120.0;
constexpr double kShort = 0.05;

// One race spawned the way the pipeline spawns requests: on a strand of the pool.
struct Race {
  asio::strand<RuntimeCore::PoolExecutor> strand = asio::make_strand(runningCore().pool());
  asio::cancellation_signal cancel;
  std::mutex mutex;
  std::optional<SDKOutcome> outcome;
  int completions = 0;
  bool threw = false;

  int completionCount() {
    std::lock_guard guard(mutex);
    return completions;
  }
  bool done() { return completionCount() > 0; }
  JSONObject shaped() {
    std::lock_guard guard(mutex);
    return outcome ? shapeResult(*outcome) : JSONObject{{"missing", true}};
  }
};

// `onStrand` false runs the race on the plain, multi-threaded pool instead.
std::shared_ptr<Race> spawnRace(double seconds, std::string name, SDKOperation operation,
                                bool onStrand = true) {
  auto race = std::make_shared<Race>();
  auto report = [race](std::exception_ptr error, SDKOutcome outcome) {
    std::lock_guard guard(race->mutex);
    race->threw = race->threw || error != nullptr;
    race->outcome = std::move(outcome);
    ++race->completions;
  };
  auto awaitable = withSDKCompletionTimeout(seconds, std::move(name), std::move(operation));
  if (onStrand)
    asio::co_spawn(race->strand, std::move(awaitable),
                   asio::bind_cancellation_slot(race->cancel.slot(), report));
  else
    asio::co_spawn(runningCore().pool(), std::move(awaitable), report);
  return race;
}

SDKOperation startOn(std::shared_ptr<FakeSDK> sdk) {
  return [sdk](SDKCompletion completion) { sdk->start(std::move(completion)); };
}

JSONObject runStart(std::shared_ptr<FakeSDK> sdk, double seconds, bool onStrand = true) {
  auto race = spawnRace(seconds, "start", startOn(sdk), onStrand);
  EXPECT_TRUE(testing::pumpUntil([&] { return race->done(); }));
  EXPECT_FALSE(race->threw);
  return race->shaped();
}

// Waits for a race that needs nothing from the main executor, without running it.
bool waitWithoutMain(Race& race) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!race.done() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  return race.done();
}

JSONObject timeoutResult(const std::string& message) {
  return {{"success", false}, {"message", message}, {"errorType", "timeout"}};
}

TEST(CompletionTimeout, ShapesEachKindOfAnswer) {
  AnyKeyMap nested{{AnyCodable(1), AnyCodable("kept as is")}};
  struct Case {
    const char* name;
    ScriptedAnswer answer;
    JSONObject expected;
  } cases[] = {
      {"data",
       {Reply::kAtOnce, AnyKeyMap{{"status", "ok"}}, std::nullopt},
       {{"success", true}, {"message", "start completed with data"}, {"data", JSONObject{{"status", "ok"}}}}},
      {"empty dictionary",
       {Reply::kAtOnce, AnyKeyMap{}, std::nullopt},
       {{"success", true}, {"message", "start completed"}}},
      {"no dictionary",
       {Reply::kAtOnce, std::nullopt, std::nullopt},
       {{"success", true}, {"message", "start completed"}}},
      {"error with data",
       {Reply::kAtOnce, AnyKeyMap{{"status", "ok"}}, SDKError{"LumetraLib", 41, "No dev key"}},
       {{"success", false},
        {"message", "start completed with error"},
        {"error", "No dev key"},
        {"errorType", "sdk_error"},
        {"errorCode", 41}}},
      {"non-string keys",
       {Reply::kAtOnce, AnyKeyMap{{"a", 1}, {7, "seven"}, {true, 2}, {"b", nested}}, std::nullopt},
       {{"success", true},
        {"message", "start completed with data"},
        {"data", JSONObject{{"a", 1}, {"b", nested}}}}},
      {"error from another thread",
       {Reply::kFromOtherThread, std::nullopt, SDKError{"d", -1, "late"}},
       {{"success", false},
        {"message", "start completed with error"},
        {"error", "late"},
        {"errorType", "sdk_error"},
        {"errorCode", -1}}},
      {"answered twice, first counts",
       {Reply::kTwice, AnyKeyMap{{"n", 1}}, std::nullopt},
       {{"success", true}, {"message", "start completed with data"}, {"data", JSONObject{{"n", 1}}}}},
  };
  for (auto& c : cases) {
    for (bool onStrand : {true, false}) {
      auto sdk = std::make_shared<FakeSDK>();
      sdk->script("start", c.answer);
      EXPECT_EQ(runStart(sdk, kAnswerWins, onStrand), c.expected)
          << c.name << (onStrand ? "" : " on the pool");
    }
  }
}

TEST(CompletionTimeout, SilentSDKTimesOut) {
  auto sdk = std::make_shared<FakeSDK>();
  sdk->script("start", Reply::kNever);
  EXPECT_EQ(runStart(sdk, kShort), timeoutResult("start operation timed out after 0.05 seconds"));
}

TEST(CompletionTimeout, StartsTheOperationOnMainNeverOnTheCaller) {
  auto sdk = std::make_shared<FakeSDK>();
  // With no time at all, the timer wins while the main executor has not run yet.
  auto race = spawnRace(0.0, "logEvent", startOn(sdk));
  ASSERT_TRUE(waitWithoutMain(*race));
  EXPECT_EQ(race->shaped(), timeoutResult("logEvent operation timed out after 0.0 seconds"));
  EXPECT_EQ(sdk->count("start"), 0u);
  // The operation still runs later, on main, and its answer finds the race over.
  ASSERT_TRUE(sdk->waitForCalls("start"));
  EXPECT_TRUE(sdk->lastCall("start")->onMain);
  testing::pumpFor(std::chrono::milliseconds(5));
  EXPECT_EQ(race->completionCount(), 1);
}

TEST(CompletionTimeout, LateCompletionIsDropped) {
  auto sdk = std::make_shared<FakeSDK>();
  sdk->script("start", {Reply::kLate, AnyKeyMap{{"late", true}}});
  auto race = spawnRace(kShort, "start", startOn(sdk));
  ASSERT_TRUE(testing::pumpUntil([&] { return race->done(); }));
  std::thread sdkThread([&] { EXPECT_EQ(sdk->fireHeld("start"), 1u); });
  sdkThread.join();
  testing::pumpFor(std::chrono::milliseconds(5));
  EXPECT_EQ(race->completionCount(), 1);
  EXPECT_EQ(race->shaped(), timeoutResult("start operation timed out after 0.05 seconds"));
}

TEST(CompletionTimeout, ThrowingOperationLeavesMainRunning) {
  auto race =
      spawnRace(kShort, "generateInviteUrl", [](SDKCompletion) { throw std::runtime_error("SDK exploded"); });
  ASSERT_TRUE(testing::pumpUntil([&] { return race->done(); }));
  EXPECT_EQ(race->shaped(), timeoutResult("generateInviteUrl operation timed out after 0.05 seconds"));
  auto sdk = std::make_shared<FakeSDK>();
  EXPECT_EQ(runStart(sdk, kAnswerWins), (JSONObject{{"success", true}, {"message", "start completed"}}));
}

TEST(CompletionTimeout, CancellingTheCallerEndsTheRaceAtOnce) {
  auto sdk = std::make_shared<FakeSDK>();
  sdk->script("start", Reply::kNever);
  auto race = spawnRace(kAnswerWins, "start", startOn(sdk));
  ASSERT_TRUE(sdk->waitForCalls("start"));
  // Signals are not thread-safe: emit where the race runs.
  asio::post(race->strand, [race] { race->cancel.emit(asio::cancellation_type::terminal); });
  ASSERT_TRUE(testing::pumpUntil([&] { return race->done(); }));
  EXPECT_FALSE(race->threw);
  auto shaped = race->shaped();
  const JSONObject completed{{"success", true}, {"message", "start completed"}};
  EXPECT_TRUE(shaped == completed ||
              shaped == timeoutResult("start operation timed out after 120.0 seconds"));
}

TEST(CompletionTimeout, ManyWaitingRacesAllTimeOut) {
  // Half of them on strands, as the pipeline runs requests, half on the bare pool.
  constexpr int kRaces = 2000;
  auto sdk = std::make_shared<FakeSDK>();
  sdk->script("start", Reply::kNever);
  std::vector<std::shared_ptr<Race>> races;
  for (int i = 0; i < kRaces; ++i) races.push_back(spawnRace(kShort, "start", startOn(sdk), i % 2 == 0));
  auto allDone = [&] {
    return std::all_of(races.begin(), races.end(), [](auto& race) { return race->done(); });
  };
  ASSERT_TRUE(testing::pumpUntil(allDone, std::chrono::seconds(60)));
  const auto expected = timeoutResult("start operation timed out after 0.05 seconds");
  for (auto& race : races) ASSERT_EQ(race->shaped(), expected);
}

}  // namespace
}  // namespace lumetra_rpc
