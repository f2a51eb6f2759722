#include "pipeline/pending_requests.h"

#include "runtime/immortal.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc {

// Linked into the registry while open, so that shutdown can find every one of them.
struct PendingRequests::Slot {
  Completion completion;
  bool answered = false;
  Slot* previous = nullptr;
  Slot* next = nullptr;
};

PendingRequests& PendingRequests::shared() {
  static Immortal<PendingRequests> instance;
  return instance.get();
}

PendingRequests::Admission PendingRequests::open(Completion completion, Ticket& ticket) {
  auto slot = std::make_shared<Slot>();
  slot->completion = std::move(completion);
  std::lock_guard lock(mutex_);
  if (admission_ == Admission::stopped) return admission_;
  slot->next = first_;
  if (first_) first_->previous = slot.get();
  first_ = slot.get();
  undelivered_.fetch_add(1, std::memory_order_acq_rel);
  ticket = std::move(slot);
  return admission_;
}

void PendingRequests::unlink(Slot& slot) noexcept {
  if (slot.previous) slot.previous->next = slot.next;
  if (slot.next) slot.next->previous = slot.previous;
  if (first_ == &slot) first_ = slot.next;
  slot.previous = slot.next = nullptr;
}

void PendingRequests::answer(const Ticket& ticket, std::string text) noexcept {
  Completion completion;
  {
    std::lock_guard lock(mutex_);
    if (!ticket || ticket->answered) return;
    ticket->answered = true;
    unlink(*ticket);
    completion = std::move(ticket->completion);
  }
  queue(std::move(completion), std::move(text));
}

void PendingRequests::answerAll(const std::string& text) noexcept {
  std::lock_guard lock(mutex_);
  while (first_) {
    Slot& slot = *first_;
    slot.answered = true;
    unlink(slot);
    // Queuing under the lock keeps a racing answer from slipping in between; the main
    // queue never calls back into this registry while posting.
    queue(std::move(slot.completion), text);
  }
}

void PendingRequests::queue(Completion completion, std::string text) noexcept {
  bool queued = false;
  try {
    if (auto* core = RuntimeCore::ifStarted()) {
      queued = core->mainQueue().post(
          [this, completion = std::move(completion), text = std::move(text)]() mutable {
            struct Delivered {
              std::atomic<std::size_t>& count;
              ~Delivered() { count.fetch_sub(1, std::memory_order_acq_rel); }
            } delivered{undelivered_};
            if (completion) completion(std::move(text));
          });
    }
  } catch (...) {
  }
  // A job dropped by a closed queue is never counted down, but the count is only read
  // before the queue closes.
  if (!queued) undelivered_.fetch_sub(1, std::memory_order_acq_rel);
}

void PendingRequests::beginDraining() noexcept {
  std::lock_guard lock(mutex_);
  if (admission_ == Admission::accepted) admission_ = Admission::draining;
}

void PendingRequests::stop() noexcept {
  std::lock_guard lock(mutex_);
  admission_ = Admission::stopped;
}

}  // namespace lumetra_rpc
