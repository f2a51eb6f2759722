#pragma once
// Every request the library has accepted and not yet answered, process-wide. Each holds
// its host completion in a slot that is answered exactly once: by the request's own
// response, or by shutdown, whichever comes first; the other is dropped. Answers reach the
// host through the main queue, and the registry counts them until they have run, so that
// shutdown knows when every accepted request has been delivered.

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace lumetra_rpc {

class PendingRequests {
 public:
  using Completion = std::function<void(std::string text)>;
  struct Slot;
  using Ticket = std::shared_ptr<Slot>;

  enum class Admission { accepted, draining, stopped };

  static PendingRequests& shared();

  // Registers a completion. While draining (shutdown under way) the ticket is still
  // issued, but the caller answers it at once instead of running the request; once
  // stopped there is no ticket and the completion will never be called.
  Admission open(Completion completion, Ticket& ticket);

  // Queues the slot's completion with `text` on the main executor, unless the slot was
  // answered already.
  // Takes the caller's ticket, so that the slot's last owner is the main-executor job.
  void answer(Ticket ticket, std::string text) noexcept;
  // Answers every slot still open with `text`.
  void answerAll(const std::string& text) noexcept;

  void beginDraining() noexcept;
  void stop() noexcept;
  // Completions answered or pending that have not yet run (or been dropped).
  std::size_t undelivered() const noexcept { return undelivered_.load(std::memory_order_acquire); }

 private:
  void queue(Ticket slot) noexcept;
  void unlink(Slot& slot) noexcept;

  mutable std::mutex mutex_;
  Admission admission_ = Admission::accepted;
  Slot* first_ = nullptr;
  std::atomic<std::size_t> undelivered_{0};
};

}  // namespace lumetra_rpc
