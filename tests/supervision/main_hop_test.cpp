#include "runtime/main_hop.h"

#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include "lumetra_rpc/runtime.h"
#include "runtime/runtime_core.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;

struct HopReport {
  std::atomic<bool> done{false};
  std::atomic<bool> jobOnMain{false};
  std::atomic<bool> resumedOnMain{true};
  std::atomic<bool> resumedOnCallerStrand{false};
  std::atomic<bool> threw{true};
};

// A throwing job must not stop the main executor: its exception reaches the caller, back
// on the caller's own strand.
TEST(RunOnMain, RunsOnMainAndResumesOnTheCallersExecutor) {
  auto report = std::make_shared<HopReport>();
  auto strand = asio::make_strand(runningCore().pool());
  auto hop = [report, strand]() -> asio::awaitable<void> {
    // Named, not a temporary of the co_await expression: gcc 12 destroys such temporaries
    // twice.
    auto job = [report] {
      report->jobOnMain = Runtime::isOnMain();
      throw std::runtime_error("job failed");
    };
    try {
      co_await runOnMain(std::move(job));
    } catch (const std::runtime_error&) {
      report->resumedOnMain = Runtime::isOnMain();
      report->resumedOnCallerStrand = strand.running_in_this_thread();
      throw;
    }
  };
  asio::co_spawn(strand, hop(), [report](std::exception_ptr error) {
    report->threw = error != nullptr;
    report->done = true;
  });
  ASSERT_TRUE(testing::pumpUntil([&] { return report->done.load(); }));
  EXPECT_TRUE(report->jobOnMain);
  EXPECT_FALSE(report->resumedOnMain);
  EXPECT_TRUE(report->resumedOnCallerStrand);
  EXPECT_TRUE(report->threw);
  // The main executor still serves jobs.
  std::atomic<bool> served{false};
  runningCore().mainQueue().post([&served] { served = true; });
  EXPECT_TRUE(testing::pumpUntil([&] { return served.load(); }));
}

// A host pumping with runMainFor must get the jobs that arrive while it pumps, not an
// early return because the queue happened to be empty when it started.
TEST(HostDrivenMain, RunForServesJobsArrivingDuringTheWait) {
  std::atomic<bool> ran{false};
  std::thread poster([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    asio::post(runningCore().main(), [&] { ran = true; });
  });
  Runtime::runMainFor(std::chrono::seconds(1));
  poster.join();
  EXPECT_TRUE(ran.load());
}

}  // namespace
}  // namespace lumetra_rpc
