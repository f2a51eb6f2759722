// Requests per second through the facade with a fixed number in flight. Every completion
// arrives on the main executor and sends the next request from there, so the window
// stays full without a thread of ours in the way.

#include <future>

#include <boost/asio/post.hpp>

#include "figures.h"
#include "harness.h"
#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/runtime.h"
#include "requests.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kInFlight = 256;
constexpr std::size_t kPerRound = 200'000;
constexpr int kRounds = 3;

// Touched only on the main executor.
class Window {
 public:
  Window(std::shared_ptr<LumetraRPCBridge> bridge, const std::vector<std::string>& texts)
      : bridge_(std::move(bridge)), texts_(texts) {}

  std::future<void> start() {
    boost::asio::post(Runtime::shared().main(), [this] {
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

}  // namespace

void measureBridgeThroughput(Figures& figures) {
  auto bridge = LumetraRPCBridge::create();
  auto texts = mixedRequests();
  std::vector<double> rates;
  for (int round = 0; round < kRounds; ++round) {
    Window window(bridge, texts);
    auto start = Clock::now();
    window.start().get();
    rates.push_back(static_cast<double>(kPerRound) / secondsSince(start));
  }
  figures.push_back({"bridge_rps", median(std::move(rates))});
}

}  // namespace lumetra_rpc::bench
