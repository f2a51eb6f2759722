#include "window.h"

#include <future>

#include "allocation_count.h"
#include "harness.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc::bench {
namespace {

// Touched only on the main executor once started.
class Window {
 public:
  // With a text for every request each is moved in; otherwise they are copied in turn.
  Window(const Send& send, std::vector<std::string> texts, std::size_t total)
      : send_(send), texts_(std::move(texts)), total_(total), consume_(texts_.size() >= total) {}

  std::future<void> start() {
    auto done = done_.get_future();
    runningCore().mainQueue().post([this] {
      for (std::size_t i = 0; i < kInFlight; ++i) sendNext();
    });
    return done;
  }

 private:
  void sendNext() {
    if (sent_ == total_) return;
    std::size_t index = sent_++;
    std::string text = consume_ ? std::move(texts_[index]) : texts_[index % texts_.size()];
    send_(std::move(text), [this](std::string) {
      // The last answer hands the window back to its owner, who may destroy it at once.
      if (++answered_ == total_) return done_.set_value();
      sendNext();
    });
  }

  const Send& send_;
  std::vector<std::string> texts_;
  std::size_t total_;
  bool consume_;
  std::size_t sent_ = 0;
  std::size_t answered_ = 0;
  std::promise<void> done_;
};

}  // namespace

double windowRate(const Send& send, const std::vector<std::string>& texts, std::size_t total) {
  Window window(send, texts, total);
  auto start = Clock::now();
  window.start().get();
  return static_cast<double>(total) / secondsSince(start);
}

double windowAllocations(const Send& send, const std::vector<std::string>& texts, std::size_t total) {
  windowRate(send, texts, total);
  std::vector<std::string> copies;
  copies.reserve(total);
  for (std::size_t i = 0; i < total; ++i) copies.push_back(texts[i % texts.size()]);
  Window window(send, std::move(copies), total);
  auto before = allocationsCounted();
  countAllocations(true);
  window.start().get();
  countAllocations(false);
  return static_cast<double>(allocationsCounted() - before) / static_cast<double>(total);
}

}  // namespace lumetra_rpc::bench
