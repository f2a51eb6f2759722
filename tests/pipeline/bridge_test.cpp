#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/runtime.h"
#include "pipeline/client_internals.h"
#include "pipeline/request_handler.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

struct Received {
  std::mutex mutex;
  std::vector<std::string> texts;
  std::atomic<int> offMain{0};
  void add(std::string text) {
    if (!Runtime::isOnMain()) ++offMain;
    std::lock_guard lock(mutex);
    texts.push_back(std::move(text));
  }
  std::size_t size() {
    std::lock_guard lock(mutex);
    return texts.size();
  }
};

void executeAndWait(LumetraRPCBridge& bridge, std::string request) {
  std::atomic<bool> done{false};
  bridge.executeJson(std::move(request), [&](std::string) { done = true; });
  ASSERT_TRUE(testing::pumpUntil([&] { return done.load(); }));
}

// Exactly one completion per request, on the main executor, from many threads: Stress.*.

TEST(Bridge, WithoutAClientAnswersSynchronouslyOnTheCallersThread) {
  auto bridge = LumetraRPCBridge::create(nullptr);
  std::string text;
  std::thread::id thread;
  bridge->executeJson(R"({"id":5,"method":"init"})", [&](std::string t) {
    text = std::move(t);
    thread = std::this_thread::get_id();
  });
  EXPECT_EQ(text, R"({"error":{"code":500,"message":"RPC client not initialized"},"id":null,"result":null})");
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(Bridge, EventHandlerIsLookedUpAtDelivery) {
  auto bridge = LumetraRPCBridge::create();
  auto other = LumetraRPCBridge::create();
  auto mine = std::make_shared<Received>();
  auto theirs = std::make_shared<Received>();
  other->setEventHandler([theirs](std::string text) { theirs->add(std::move(text)); });
  executeAndWait(*bridge, R"({"method":"registerConversionListener"})");
  auto& delegate = *ClientInternals::handler(*bridge->rpcClient());

  delegate.onConversionDataFail(SDKError{"LM", 1, "lost"});  // no handler yet: lost for good
  testing::pumpFor(std::chrono::milliseconds(30));
  bridge->setEventHandler([mine](std::string text) { mine->add(std::move(text)); });
  delegate.onConversionDataFail(SDKError{"LM", 2, "kept"});
  ASSERT_TRUE(testing::pumpUntil([&] { return mine->size() == 1; }));
  EXPECT_NE(mine->texts[0].find("\"kept\""), std::string::npos);

  delegate.onConversionDataFail(SDKError{"LM", 3, "in flight"});
  bridge->removeEventHandler();
  testing::pumpFor(std::chrono::milliseconds(30));
  EXPECT_EQ(mine->size(), 1u);
  EXPECT_EQ(theirs->size(), 0u);
  EXPECT_EQ(mine->offMain.load(), 0);
}

// Once removeEventHandler (or a replacement) has returned on another thread, the old
// handler is never called again, even with deliveries running on main meanwhile.
TEST(Bridge, ARemovedHandlerIsNeverCalledAfterRemovalReturns) {
  auto bridge = LumetraRPCBridge::create();
  executeAndWait(*bridge, R"({"method":"registerConversionListener"})");
  constexpr int kHandlers = 300;
  std::vector<std::atomic<bool>> retired(kHandlers);
  std::atomic<int> lateCalls{0};
  std::atomic<int> calls{0};
  std::atomic<bool> churned{false};
  std::thread churn([&] {
    for (int h = 0; h < kHandlers; ++h) {
      bridge->setEventHandler([&, h](std::string) {
        ++calls;
        if (retired[static_cast<std::size_t>(h)].load()) ++lateCalls;
      });
      // Let deliveries reach this handler (a bounded wait) so removal races real ones.
      int before = calls.load();
      for (int spin = 0; spin < 20'000 && calls.load() == before; ++spin) std::this_thread::yield();
      bridge->removeEventHandler();
      retired[static_cast<std::size_t>(h)] = true;
    }
    churned = true;
  });
  auto& delegate = *ClientInternals::handler(*bridge->rpcClient());
  while (!churned) {
    delegate.onConversionDataFail(SDKError{"LM", 1, "x"});
    Runtime::runMainUntilIdle();
  }
  churn.join();
  testing::pumpFor(std::chrono::milliseconds(20));
  EXPECT_EQ(lateCalls.load(), 0);
  EXPECT_GT(calls.load(), 0);  // the race was real: handlers did receive events
}

// A host that pumps only when the library wakes it, as an event loop does, gets every
// answer of a burst: a lost wake-up would leave answers queued with nobody pumping. The
// pool is kept busy behind them with the completion form's requests, which are answered on
// the pool and never touch the main executor.
TEST(Bridge, AHostThatPumpsOnlyWhenWokenGetsEveryAnswerOfABurst) {
  // Shared with the wake-up, which a pool thread may still be calling after it is removed.
  struct Wakes {
    std::mutex mutex;
    std::condition_variable woken;
    // A host pumps once when it installs its wake-up: work queued before then was
    // announced to whatever wake-up was installed at the time.
    bool wake = true;
  };
  auto wakes = std::make_shared<Wakes>();
  Runtime::setMainWakeup([wakes] {
    std::lock_guard lock(wakes->mutex);
    wakes->wake = true;
    wakes->woken.notify_one();
  });
  auto bridge = LumetraRPCBridge::create();
  auto client = LMRPCClient::create([](std::string) {});
  constexpr int kBridged = 64;
  constexpr int kPooled = 2000;
  std::atomic<int> answered{0};
  std::atomic<int> pooled{0};
  for (int i = 0; i < kBridged; ++i)
    bridge->executeJson(R"({"id":1,"method":"getSDKVersion"})", [&](std::string) { ++answered; });
  for (int i = 0; i < kPooled; ++i)
    client->executeWithJsonRequest(R"({"id":2,"method":"getSDKVersion"})", [&](std::string) { ++pooled; });
  while (answered.load() < kBridged) {
    {
      std::unique_lock lock(wakes->mutex);
      if (!wakes->woken.wait_for(lock, std::chrono::seconds(3), [&] { return wakes->wake; })) break;
      wakes->wake = false;
    }
    Runtime::runMainUntilIdle();
  }
  Runtime::setMainWakeup(nullptr);
  EXPECT_EQ(answered.load(), kBridged);
  EXPECT_TRUE(testing::pumpUntil([&] { return pooled.load() == kPooled; }));
}

}  // namespace
}  // namespace lumetra_rpc
