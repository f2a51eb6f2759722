#pragma once
// Hands response texts to host completions on the main executor, many per turn of the
// main loop. Every request would otherwise be one job on the main executor and, while the
// host's main thread idles, one wake-up of it; under load the answers that arrive while a
// turn runs wait for the next turn instead, in the order they arrived.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace lumetra_rpc {

class MainDeliveries : public std::enable_shared_from_this<MainDeliveries> {
 public:
  using Completion = std::function<void(std::string text)>;

  // The process-wide queue in front of the shared runtime's main executor.
  static const std::shared_ptr<MainDeliveries>& shared();

  // Queues the call; it runs on the main executor, after every call queued before it.
  // Never throws; an exception from `completion` is swallowed there.
  void deliver(Completion completion, std::string text) noexcept;

 private:
  using Delivery = std::pair<Completion, std::string>;
  void runTurn() noexcept;

  std::mutex mutex_;
  std::vector<Delivery> pending_;
  std::vector<Delivery> spare_;
  bool scheduled_ = false;
};

}  // namespace lumetra_rpc
