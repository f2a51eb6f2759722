#include "supervision/continuation_box.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <boost/asio/bind_executor.hpp>

#include "lumetra_rpc/runtime.h"
#include "runtime/runtime_core.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

// The SDK's completion, the timer and the cancellation handler can all race to resume.
TEST(SDKContinuationBox, ConcurrentResumesResumeOnce) {
  auto resumed = std::make_shared<std::atomic<int>>(0);
  auto handler = boost::asio::bind_executor(runningCore().pool(), [resumed](SDKRaceResult) { ++*resumed; });
  SDKContinuationBox<decltype(handler)> box;
  EXPECT_FALSE(box.resume(SDKAnswer{})) << "an empty box has nobody to resume";
  box.setContinuation(handler);

  std::atomic<int> winners = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      winners += i % 2 ? box.resume(TimedOut{}) : box.resume(SDKAnswer{std::nullopt, SDKError{"d", 7, "x"}});
    });
  }
  for (auto& thread : threads) thread.join();

  EXPECT_EQ(winners, 1);
  ASSERT_TRUE(testing::pumpUntil([&] { return *resumed == 1; }));
  EXPECT_FALSE(box.resume(TimedOut{}));
  testing::pumpFor(std::chrono::milliseconds(5));
  EXPECT_EQ(*resumed, 1);
}

}  // namespace
}  // namespace lumetra_rpc
