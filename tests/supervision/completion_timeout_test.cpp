#include "supervision/completion_timeout.h"

#include <algorithm>
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
#include "support/pump.h"
#include "support/result_object.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;

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
    return outcome ? testing::resultObject(*outcome) : JSONObject{{"missing", true}};
  }
};

// `onStrand` false runs the race on the plain, multi-threaded pool instead.
std::shared_ptr<Race> spawnRace(double seconds, ConstantText name, SDKOperation operation,
                                bool onStrand = true) {
  auto race = std::make_shared<Race>();
  auto report = [race](std::exception_ptr error, SDKOutcome outcome) {
    std::lock_guard guard(race->mutex);
    race->threw = race->threw || error != nullptr;
    race->outcome = std::move(outcome);
    ++race->completions;
  };
  auto awaitable = withSDKCompletionTimeout(seconds, name, std::move(operation));
  if (onStrand)
    asio::co_spawn(race->strand, std::move(awaitable),
                   asio::bind_cancellation_slot(race->cancel.slot(), report));
  else
    asio::co_spawn(runningCore().pool(), std::move(awaitable), report);
  return race;
}

// An SDK operation that answers `times` times at once, or from a thread of its own.
SDKOperation answering(std::optional<AnyKeyMap> data, std::optional<SDKError> error, int times = 1,
                       bool fromOtherThread = false) {
  return [=](SDKCompletion completion) {
    auto answer = [=] {
      for (int i = 0; i < times; ++i) completion(data, error);
    };
    fromOtherThread ? std::thread(answer).detach() : answer();
  };
}

// Counts its calls and whether they ran on the main executor; never answers by itself.
// Shared with the operation, which may run after the race is over.
struct Silent {
  std::atomic<int> calls{0};
  std::atomic<bool> onMain{false};
  bool hold = false;
  SDKCompletion held;  // written on main before `calls` counts the call
};

SDKOperation silently(std::shared_ptr<Silent> silent) {
  return [silent](SDKCompletion completion) {
    silent->onMain = Runtime::isOnMain();
    if (silent->hold) silent->held = std::move(completion);
    ++silent->calls;
  };
}

JSONObject runRace(SDKOperation operation, double seconds, bool onStrand = true) {
  auto race = spawnRace(seconds, "start", std::move(operation), onStrand);
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
  const JSONObject withData{
      {"success", true}, {"message", "start completed with data"}, {"data", JSONObject{{"status", "ok"}}}};
  const JSONObject plain{{"success", true}, {"message", "start completed"}};
  const JSONObject failed{{"success", false},
                          {"message", "start completed with error"},
                          {"error", "No dev key"},
                          {"errorType", "sdk_error"},
                          {"errorCode", 41}};
  const AnyKeyMap ok{{"status", "ok"}};
  const SDKError noKey{"LumetraLib", 41, "No dev key"};
  struct Case {
    const char* name;
    SDKOperation operation;
    JSONObject expected;
  } cases[] = {
      {"data", answering(ok, std::nullopt), withData},
      {"empty dictionary", answering(AnyKeyMap{}, std::nullopt), plain},
      {"no dictionary", answering(std::nullopt, std::nullopt), plain},
      {"error with data", answering(ok, noKey), failed},
      {"non-string keys",
       answering(AnyKeyMap{{"a", 1}, {7, "seven"}, {true, 2}, {"b", "two"}}, std::nullopt),
       {{"success", true},
        {"message", "start completed with data"},
        {"data", JSONObject{{"a", 1}, {"b", "two"}}}}},
      {"error from another thread", answering(std::nullopt, noKey, 1, true), failed},
      {"answered twice, first counts", answering(ok, std::nullopt, 2), withData},
  };
  for (auto& c : cases) {
    for (bool onStrand : {true, false}) {
      EXPECT_EQ(runRace(c.operation, kAnswerWins, onStrand), c.expected)
          << c.name << (onStrand ? "" : " on the pool");
    }
  }
}

TEST(CompletionTimeout, StartsTheOperationOnMainNeverOnTheCaller) {
  auto silent = std::make_shared<Silent>();
  silent->hold = true;
  // With no time at all, the timer wins while the main executor has not run yet.
  auto race = spawnRace(0.0, "logEvent", silently(silent));
  ASSERT_TRUE(waitWithoutMain(*race));
  EXPECT_EQ(race->shaped(), timeoutResult("logEvent operation timed out after 0.0 seconds"));
  EXPECT_EQ(silent->calls.load(), 0);
  // The operation still runs later, on main, and its late answer finds the race over.
  ASSERT_TRUE(testing::pumpUntil([&] { return silent->calls == 1; }));
  EXPECT_TRUE(silent->onMain.load());
  std::thread([late = std::move(silent->held)] { late(AnyKeyMap{{"late", true}}, std::nullopt); }).join();
  testing::pumpFor(std::chrono::milliseconds(5));
  EXPECT_EQ(race->completionCount(), 1);
  EXPECT_EQ(race->shaped(), timeoutResult("logEvent operation timed out after 0.0 seconds"));
}

TEST(CompletionTimeout, ThrowingOperationLeavesMainRunning) {
  auto race =
      spawnRace(kShort, "generateInviteUrl", [](SDKCompletion) { throw std::runtime_error("SDK exploded"); });
  ASSERT_TRUE(testing::pumpUntil([&] { return race->done(); }));
  EXPECT_EQ(race->shaped(), timeoutResult("generateInviteUrl operation timed out after 0.05 seconds"));
  EXPECT_EQ(runRace(answering(std::nullopt, std::nullopt), kAnswerWins),
            (JSONObject{{"success", true}, {"message", "start completed"}}));
}

TEST(CompletionTimeout, CancellingTheCallerEndsTheRaceAtOnce) {
  auto silent = std::make_shared<Silent>();
  auto race = spawnRace(kAnswerWins, "start", silently(silent));
  ASSERT_TRUE(testing::pumpUntil([&] { return silent->calls == 1; }));
  // Signals are not thread-safe: emit where the race runs.
  asio::post(race->strand, [race] { race->cancel.emit(asio::cancellation_type::terminal); });
  ASSERT_TRUE(testing::pumpUntil([&] { return race->done(); }));
  EXPECT_FALSE(race->threw);
  auto shaped = race->shaped();
  const JSONObject completed{{"success", true}, {"message", "start completed"}};
  EXPECT_TRUE(shaped == completed ||
              shaped == timeoutResult("start operation timed out after 120.0 seconds"));
}

// Races of one length share a deadline list and one timer: a shorter race started later
// must not wait behind a longer one of another length, and answered races mixed into the
// lists must neither expire nor hold the others up.
TEST(CompletionTimeout, DeadlinesOfManyRacesKeepTheirOwnLength) {
  auto slow = spawnRace(0.5, "start", silently(std::make_shared<Silent>()), false);
  std::vector<std::shared_ptr<Race>> won;
  std::vector<std::shared_ptr<Race>> lost;
  for (int i = 0; i < 20; ++i) {
    won.push_back(spawnRace(kAnswerWins, "start", answering(std::nullopt, std::nullopt), i % 2 == 0));
    lost.push_back(spawnRace(kShort, "logEvent", silently(std::make_shared<Silent>()), i % 2 == 0));
  }
  ASSERT_TRUE(testing::pumpUntil(
      [&] { return std::all_of(lost.begin(), lost.end(), [](auto& r) { return r->done(); }); }));
  EXPECT_FALSE(slow->done());
  for (auto& race : lost)
    EXPECT_EQ(race->shaped(), timeoutResult("logEvent operation timed out after 0.05 seconds"));
  for (auto& race : won) {
    ASSERT_TRUE(testing::pumpUntil([&] { return race->done(); }));
    EXPECT_EQ(race->shaped(), (JSONObject{{"success", true}, {"message", "start completed"}}));
  }
  ASSERT_TRUE(testing::pumpUntil([&] { return slow->done(); }));
  EXPECT_EQ(slow->shaped(), timeoutResult("start operation timed out after 0.5 seconds"));
}

}  // namespace
}  // namespace lumetra_rpc
