#include "pipeline/pending_requests.h"

#include <boost/asio/recycling_allocator.hpp>

#include "runtime/immortal.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc {

// Linked into the registry from opening until it is freed, so that shutdown can find every
// one of them. Once answered, the slot itself is the main-executor job that delivers its
// text. Answering only flips `answered`: the thread that answers (a pool thread) never takes
// the registry's lock, which the sending thread takes for every request it opens; the
// unlinking waits until the slot is freed, usually on the thread that opened it.
struct PendingRequests::Slot final : QueuedJob, std::enable_shared_from_this<Slot> {
  explicit Slot(PendingRequests& owner, Completion completion)
      : registry(owner), completion(std::move(completion)) {}
  Slot(const Slot&) = delete;
  Slot& operator=(const Slot&) = delete;

  // Only shutdown's walk unlinks a slot early, answering it, and it holds a reference
  // while it does: so a slot being freed reads `linked` without racing anyone.
  ~Slot() {
    if (!linked) return;
    // Never answered, so never delivered either.
    if (!answered.load(std::memory_order_acquire))
      registry.undelivered_.fetch_sub(1, std::memory_order_acq_rel);
    std::lock_guard lock(registry.mutex_);
    registry.unlink(*this);
  }

  void run() override {
    struct Delivered {
      std::atomic<std::size_t>& count;
      ~Delivered() { count.fetch_sub(1, std::memory_order_acq_rel); }
    } delivered{registry.undelivered_};
    auto call = std::move(completion);
    if (call) call(std::move(text));
  }

  PendingRequests& registry;
  Completion completion;
  std::string text;
  std::atomic<bool> answered{false};
  bool linked = false;
  Slot* previous = nullptr;
  Slot* next = nullptr;
};

PendingRequests& PendingRequests::shared() {
  static Immortal<PendingRequests> instance;
  return instance.get();
}

PendingRequests::Admission PendingRequests::open(Completion completion, Ticket& ticket) {
  // From the thread's recycled memory: a slot is usually opened and freed on the host's
  // main thread, so a host that sends from its completions reuses the same few blocks.
  auto slot =
      std::allocate_shared<Slot>(boost::asio::recycling_allocator<Slot>(), *this, std::move(completion));
  std::lock_guard lock(mutex_);
  if (admission_ == Admission::stopped) return admission_;
  slot->next = first_;
  if (first_) first_->previous = slot.get();
  first_ = slot.get();
  slot->linked = true;
  undelivered_.fetch_add(1, std::memory_order_acq_rel);
  ticket = std::move(slot);
  return admission_;
}

void PendingRequests::unlink(Slot& slot) noexcept {
  if (slot.previous) slot.previous->next = slot.next;
  if (slot.next) slot.next->previous = slot.previous;
  if (first_ == &slot) first_ = slot.next;
  slot.previous = slot.next = nullptr;
  slot.linked = false;
}

void PendingRequests::answer(Ticket ticket, std::string text) noexcept {
  if (!ticket || ticket->answered.exchange(true, std::memory_order_acq_rel)) return;
  // Only this call got past the flag, so nothing else touches the text now.
  ticket->text = std::move(text);
  queue(std::move(ticket));
}

void PendingRequests::answerAll(const std::string& text) noexcept {
  std::lock_guard lock(mutex_);
  for (Slot* slot = first_; slot;) {
    Slot* next = slot->next;
    // The registry holds no ownership. A slot whose holders are all gone is being freed
    // (its destructor waits for this lock); nobody is left to answer it.
    if (auto owned = slot->weak_from_this().lock()) {
      // Unlinked first, answered or not: should this be the last reference, or the main
      // queue drop the job, the slot is freed right here, under this lock, and must not
      // take it again.
      unlink(*owned);
      if (!owned->answered.exchange(true, std::memory_order_acq_rel)) {
        try {
          owned->text = text;
        } catch (...) {
        }
        queue(std::move(owned));
      }
    }
    slot = next;
  }
}

void PendingRequests::queue(Ticket slot) noexcept {
  bool queued = false;
  if (auto* core = RuntimeCore::ifStarted()) queued = core->mainQueue().post(std::move(slot));
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
