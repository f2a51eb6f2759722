#include "runtime/main_queue.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lumetra_rpc/runtime.h"
#include "runtime/runtime_core.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

// Jobs queued from several threads, some while a turn is running, all run on the main
// executor, each once, in the order each thread queued them; one that throws costs the
// others nothing.
TEST(MainQueue, EveryJobRunsOnMainOnceAndInOrderDespiteAThrowingOne) {
  constexpr int kThreads = 3;
  constexpr int kPerThread = 400;
  std::mutex mutex;
  std::vector<std::vector<int>> seen(kThreads);
  std::atomic<int> offMain{0};
  std::atomic<int> calls{0};

  std::vector<std::thread> producers;
  for (int t = 0; t < kThreads; ++t)
    producers.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i)
        runningCore().mainQueue().post([&, t, text = std::to_string(i)] {
          if (!Runtime::isOnMain()) ++offMain;
          ++calls;
          {
            std::lock_guard lock(mutex);
            seen[static_cast<std::size_t>(t)].push_back(std::stoi(text));
          }
          if (text == "7") throw std::runtime_error("host completion failed");
        });
    });
  // Pumping while the producers run puts later deliveries into later turns.
  ASSERT_TRUE(testing::pumpUntil([&] { return calls.load() == kThreads * kPerThread; }));
  for (auto& producer : producers) producer.join();
  testing::pumpFor(std::chrono::milliseconds(20));

  EXPECT_EQ(calls.load(), kThreads * kPerThread);
  EXPECT_EQ(offMain.load(), 0);
  std::vector<int> expected(kPerThread);
  for (int i = 0; i < kPerThread; ++i) expected[static_cast<std::size_t>(i)] = i;
  for (const auto& order : seen) EXPECT_EQ(order, expected);
}

}  // namespace
}  // namespace lumetra_rpc
