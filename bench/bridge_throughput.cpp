// Requests per second through the facade with a fixed number in flight. Every completion
// arrives on the main executor and sends the next request from there, so the window
// stays full without a thread of ours in the way.

#include <future>

#include <boost/asio/post.hpp>

#include "figures.h"
#include "harness.h"
#include "lumetra_rpc/asio.h"
#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/client.h"
#include "lumetra_rpc/runtime.h"
#include "requests.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kInFlight = 256;
constexpr std::size_t kPerRound = 200'000;

// Touched only on the main executor.
class Window {
 public:
  Window(std::shared_ptr<LumetraRPCBridge> bridge, const std::vector<std::string>& texts)
      : bridge_(std::move(bridge)), texts_(texts) {}

  std::future<void> start() {
    runningCore().mainQueue().post([this] {
      for (std::size_t i = 0; i < kInFlight; ++i) sendNext();
    });
    return done_.get_future();
  }

 private:
  void sendNext() {
    if (sent_ == kPerRound) return;
    const auto& text = texts_[sent_++ % texts_.size()];
    bridge_->executeJson(text, [this](std::string) {
      // The last answer hands the window back to its owner, who may destroy it at once.
      if (++answered_ == kPerRound) return done_.set_value();
      sendNext();
    });
  }

  std::shared_ptr<LumetraRPCBridge> bridge_;
  const std::vector<std::string>& texts_;
  std::size_t sent_ = 0;
  std::size_t answered_ = 0;
  std::promise<void> done_;
};

// The same mix awaited one at a time through the client on a pool thread: the work the
// requests themselves take, without the facade's two hops, to read the throughput against.
double mixExecuteNs(const std::vector<std::string>& texts) {
  auto client = LMRPCClient::create([](std::string) {});
  constexpr int kRepeats = 200;
  std::vector<double> perRequest;
  runOnPool([&]() -> boost::asio::awaitable<void> {
    for (int round = 0; round <= kRepeats; ++round) {
      std::vector<std::string> copies = texts;
      auto start = Clock::now();
      for (auto& copy : copies) {
        auto run = execute(*client, std::move(copy));
        auto response = co_await std::move(run);
      }
      if (round > 0) perRequest.push_back(secondsSince(start) * 1e9 / static_cast<double>(texts.size()));
    }
  });
  return median(std::move(perRequest));
}

}  // namespace

Throughput bridgeThroughput() {
  auto bridge = LumetraRPCBridge::create();
  auto texts = std::make_shared<const std::vector<std::string>>(mixedRequests());
  Throughput measure;
  measure.round = [bridge, texts] {
    Window window(bridge, *texts);
    auto start = Clock::now();
    window.start().get();
    return static_cast<double>(kPerRound) / secondsSince(start);
  };
  measure.finish = [texts](Figures& figures, double rate) {
    figures.push_back({"bridge_rps", rate});
    figures.push_back({"mix_execute_ns", mixExecuteNs(*texts)});
  };
  return measure;
}

}  // namespace lumetra_rpc::bench
