#include "supervision/completion_timeout.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <variant>

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "runtime/host_call.h"
#include "runtime/runtime_core.h"
#include "supervision/continuation_box.h"
#include "supervision/race_deadlines.h"
#include "wire/number_text.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;
using asio::awaitable;

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

  // Always on the main executor and asynchronously, never on the caller's thread. An SDK
  // operation that throws has not answered and may never answer: like an SDK that stays
  // silent, the timer decides.
  void run() override {
    auto operation = std::move(operation_);
    SDKCompletion completion = [race = this->shared_from_this()](std::optional<AnyKeyMap> dictionary,
                                                                 std::optional<SDKError> error) {
      race->resume(SDKAnswer{std::move(dictionary), std::move(error)});
    };
    if (operation) operation(std::move(completion));
  }

 private:
  SDKOperation operation_;
};

// Starts both racers; whichever resumes the race first decides it. The race is armed
// before anything starts, so that even an immediate answer finds the waiter.
template <typename Handler>
void startRace(Handler handler, std::chrono::nanoseconds delay, SDKOperation operation,
               std::shared_ptr<RaceDeadline>& deadline) {
  auto race = std::make_shared<Race<Handler>>(std::move(operation));
  auto slot = asio::get_associated_cancellation_slot(handler);
  race->setContinuation(std::move(handler));
  // A cancelled caller gets the SDK racer's "no answer" at once instead of waiting.
  if (slot.is_connected()) slot.assign([race](asio::cancellation_type) { race->resume(SDKAnswer{}); });
  deadline = race;
  armDeadline(deadline, delay);
  runningCore().mainQueue().post(std::shared_ptr<QueuedJob>(race, race.get()));
}

std::chrono::nanoseconds timerDelay(double timeoutSeconds) {
  double nanoseconds = timeoutSeconds * 1e9;
  // Negative, non-finite or oversized values are outside the configuration's range; they
  // are clamped so the conversion below stays defined.
  if (!(nanoseconds > 0)) return std::chrono::nanoseconds::zero();
  constexpr auto kMax = std::chrono::nanoseconds::max().count();
  if (nanoseconds >= static_cast<double>(kMax)) return std::chrono::nanoseconds::max();
  return std::chrono::nanoseconds(static_cast<std::int64_t>(static_cast<std::uint64_t>(nanoseconds)));
}

SDKOutcome outcomeOfAnswer(ConstantText operationName, SDKAnswer answer) {
  if (answer.error) {
    return SDKFailure{{operationName, " completed with error"},
                      std::move(answer.error->localizedDescription),
                      std::string(error_type::kSDK),
                      answer.error->code};
  }
  if (answer.dictionary && !answer.dictionary->empty())
    return SDKSuccess{{operationName, " completed with data"}, stringKeyedCopy(*answer.dictionary)};
  return SDKSuccess{{operationName, " completed"}, std::nullopt};
}

SDKOutcome outcomeOf(ConstantText operationName, double timeoutSeconds, SDKRaceResult result) {
  if (auto* answer = std::get_if<SDKAnswer>(&result))
    return outcomeOfAnswer(operationName, std::move(*answer));
  return SDKFailure::ofType(std::string(operationName.view()) + " operation timed out after " +
                                formatNumberForMessage(timeoutSeconds) + " seconds",
                            error_type::kTimeout);
}

SDKOutcome unexpectedOutcome(ConstantText operationName) {
  return SDKFailure::ofType({operationName, " operation failed: unexpected task group behavior"},
                            error_type::kInternal);
}

}  // namespace

JSONObject stringKeyedCopy(const AnyKeyMap& dictionary) {
  // Gathered in the thread's own buffer, so that only the object itself is allocated.
  thread_local JSONObject::Members members;
  members.clear();
  for (const auto& [key, value] : dictionary) {
    if (const auto* name = key.getIf<std::string>()) members.emplace_back(*name, value);
  }
  auto object = JSONObject::fromUnsorted(std::span(members));
  members.clear();
  return object;
}

awaitable<SDKOutcome> withSDKCompletionTimeout(double timeoutSeconds, ConstantText operationName,
                                               SDKOperation operation) {
  // Cancellation of the caller shortens the race instead of throwing out of it; the
  // caller's own setting is restored before returning.
  bool throwIfCancelled = co_await asio::this_coro::throw_if_cancelled();
  co_await asio::this_coro::throw_if_cancelled(false);
  std::optional<SDKRaceResult> first;
  auto state = co_await asio::this_coro::cancellation_state;
  if (state.cancelled() != asio::cancellation_type::none) {
    // Cancelled before the race starts: the SDK racer would resolve at once with nothing,
    // without starting the operation, so that answer is taken directly.
    first.emplace(SDKAnswer{});
  } else {
    try {
      std::shared_ptr<RaceDeadline> deadline;
      auto racing = asio::async_initiate<const asio::use_awaitable_t<>, void(SDKRaceResult)>(
          [&deadline, delay = timerDelay(timeoutSeconds)](auto handler, SDKOperation op) {
            startRace(std::move(handler), delay, std::move(op), deadline);
          },
          asio::use_awaitable, std::move(operation));
      first.emplace(co_await std::move(racing));
      // A race the SDK won leaves its lane now rather than at its expiry; a losing SDK is
      // ignored.
      if (deadline) disarmDeadline(*deadline);
    } catch (...) {
      // Only allocation failure can get here; the race then yielded nothing.
    }
  }
  co_await asio::this_coro::throw_if_cancelled(throwIfCancelled);
  co_return first ? outcomeOf(operationName, timeoutSeconds, std::move(*first))
                  : unexpectedOutcome(operationName);
}

}  // namespace lumetra_rpc
