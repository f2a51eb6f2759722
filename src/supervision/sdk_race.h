#pragma once
// One SDK race, for any kind of waiter: the operation is started on the main executor,
// its completion and the deadline race, and the first of them resumes the waiter once.

#include <chrono>
#include <memory>
#include <utility>

#include <boost/asio/associated_cancellation_slot.hpp>

#include "runtime/runtime_core.h"
#include "supervision/completion_timeout.h"
#include "supervision/continuation_box.h"
#include "supervision/race_deadlines.h"

namespace lumetra_rpc {

// The deadline's delay for a timeout in seconds, clamped to what a timer can take.
std::chrono::nanoseconds timerDelay(double timeoutSeconds) noexcept;

// The race's shared state, its deadline, and the main-executor job that starts the SDK
// operation: the operation travels to the main executor inside it, with no wrapper of its
// own.
template <typename Handler>
class Race final : public SDKContinuationBox<Handler>,
                   public QueuedJob,
                   public RaceDeadline,
                   public std::enable_shared_from_this<Race<Handler>> {
 public:
  explicit Race(SDKOperation operation) : operation_(std::move(operation)) {}

  // After a lost race the box ignores the expiry.
  void expire() noexcept override { this->resume(TimedOut{}); }

  // A race decided otherwise leaves its deadline's lane now rather than at its expiry.
  void decide(SDKRaceResult result) noexcept {
    if (this->resume(std::move(result))) disarmDeadline(*this);
  }

  // Always on the main executor and asynchronously, never on the caller's thread. An SDK
  // operation that throws has not answered and may never answer: like an SDK that stays
  // silent, the timer decides.
  void run() override {
    auto operation = std::move(operation_);
    SDKCompletion completion = [race = this->shared_from_this()](std::optional<AnyKeyMap> dictionary,
                                                                 std::optional<SDKError> error) {
      race->decide(SDKAnswer{std::move(dictionary), std::move(error)});
    };
    if (operation) operation(std::move(completion));
  }

 private:
  SDKOperation operation_;
};

// Starts both racers; whichever resumes the race first decides it. The race is armed
// before anything starts, so that even an immediate answer finds the waiter. A handler
// with a cancellation slot that is cancelled gets the SDK racer's "no answer" at once.
// Moves from `handler` once the race exists; when it throws, the handler is still the
// caller's to answer.
template <typename Handler>
void startRace(Handler& handler, double timeoutSeconds, SDKOperation operation) {
  auto race = std::make_shared<Race<Handler>>(std::move(operation));
  auto slot = boost::asio::get_associated_cancellation_slot(handler);
  race->setContinuation(std::move(handler));
  try {
    if (slot.is_connected())
      slot.assign([race](boost::asio::cancellation_type) { race->decide(SDKAnswer{}); });
    armDeadline(race, timerDelay(timeoutSeconds));
  } catch (...) {
    // Without memory for a racer the race cannot be run fairly; it ends as broken.
    race->decide(RaceBroken{});
    return;
  }
  runningCore().mainQueue().post(std::shared_ptr<QueuedJob>(race, race.get()));
}

}  // namespace lumetra_rpc
