#include "supervision/completion_timeout.h"

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <variant>

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "lumetra_rpc/runtime.h"
#include "supervision/continuation_box.h"
#include "wire/number_text.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;
using asio::awaitable;
using asio::use_awaitable;

struct TimedOut {};
// What the race yields first: the SDK's answer or the timer.
using SDKRaceResult = std::variant<SDKAnswer, TimedOut>;

// Arms the box before the operation is queued, so that any answer, however early, finds
// the waiter. The operation always starts on the main executor, never on this thread.
template <typename Handler>
void armAndStart(Handler handler, SDKOperation operation) {
  auto box = std::make_shared<SDKContinuationBox<Handler>>();
  auto slot = asio::get_associated_cancellation_slot(handler);
  box->setContinuation(std::move(handler));
  // `a || b` finishes only once the loser has finished too: without this, a race lost to
  // the timer would still wait for the SDK. The slot is never cleared: a late emit only
  // finds a fired box, which is harmless from any thread.
  if (slot.is_connected())
    slot.assign([box](asio::cancellation_type) { box->resume(SDKAnswer{}); });
  SDKCompletion completion = [box](std::optional<AnyKeyMap> dictionary,
                                   std::optional<SDKError> error) {
    box->resume(SDKAnswer{std::move(dictionary), std::move(error)});
  };
  asio::post(Runtime::shared().main(),
             [operation = std::move(operation), completion = std::move(completion)] {
               // An SDK operation that throws has not answered and may never answer; it
               // is treated exactly like an SDK that stays silent, so the timer decides.
               // The exception must not unwind into the main executor's loop.
               try {
                 if (operation) operation(completion);
               } catch (...) {
               }
             });
}

awaitable<SDKAnswer> waitForSDK(SDKOperation operation) {
  // This racer runs on its own coroutine thread: cancellation is answered with a value.
  co_await asio::this_coro::throw_if_cancelled(false);
  auto state = co_await asio::this_coro::cancellation_state;
  if (state.cancelled() != asio::cancellation_type::none) co_return SDKAnswer{};
  co_return co_await asio::async_initiate<const asio::use_awaitable_t<>, void(SDKAnswer)>(
      [](auto handler, SDKOperation op) { armAndStart(std::move(handler), std::move(op)); },
      use_awaitable, std::move(operation));
}

awaitable<TimedOut> waitForTimer(std::chrono::nanoseconds delay) {
  co_await asio::this_coro::throw_if_cancelled(false);
  auto state = co_await asio::this_coro::cancellation_state;
  if (state.cancelled() != asio::cancellation_type::none) co_return TimedOut{};
  asio::steady_timer timer(co_await asio::this_coro::executor, delay);
  // Expiry and cancellation end the same way: the timer's part of the race is over.
  boost::system::error_code ignored;
  co_await timer.async_wait(asio::redirect_error(use_awaitable, ignored));
  co_return TimedOut{};
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

SDKOutcome outcomeOfAnswer(const std::string& operationName, SDKAnswer answer) {
  if (answer.error) {
    return SDKFailure{operationName + " completed with error",
                      answer.error->localizedDescription, std::string(error_type::kSDK),
                      answer.error->code};
  }
  if (answer.dictionary && !answer.dictionary->empty())
    return SDKSuccess{operationName + " completed with data", stringKeyedCopy(*answer.dictionary)};
  return SDKSuccess{operationName + " completed", std::nullopt};
}

SDKOutcome outcomeOf(const std::string& operationName, double timeoutSeconds,
                     SDKRaceResult result) {
  if (auto* answer = std::get_if<SDKAnswer>(&result))
    return outcomeOfAnswer(operationName, std::move(*answer));
  return SDKFailure::ofType(operationName + " operation timed out after " +
                                formatNumberForMessage(timeoutSeconds) + " seconds",
                            error_type::kTimeout);
}

SDKOutcome unexpectedOutcome(const std::string& operationName) {
  return SDKFailure::ofType(operationName + " operation failed: unexpected task group behavior",
                            error_type::kInternal);
}

awaitable<SDKOutcome> race(double timeoutSeconds, const std::string& operationName,
                           SDKOperation operation) {
  using namespace asio::experimental::awaitable_operators;
  // A caller cancelled before the race starts: the SDK racer would resolve at once with
  // nothing, without starting the operation, so that answer is taken directly.
  auto state = co_await asio::this_coro::cancellation_state;
  if (state.cancelled() != asio::cancellation_type::none)
    co_return outcomeOfAnswer(operationName, SDKAnswer{});
  SDKRaceResult first = co_await (waitForSDK(std::move(operation)) ||
                                  waitForTimer(timerDelay(timeoutSeconds)));
  co_return outcomeOf(operationName, timeoutSeconds, std::move(first));
}

}  // namespace

JSONObject stringKeyedCopy(const AnyKeyMap& dictionary) {
  JSONObject copy;
  for (const auto& [key, value] : dictionary) {
    if (const auto* name = key.getIf<std::string>()) copy.insert_or_assign(*name, value);
  }
  return copy;
}

awaitable<SDKOutcome> withSDKCompletionTimeout(double timeoutSeconds, std::string operationName,
                                               SDKOperation operation) {
  // Cancellation of the caller shortens the race instead of throwing out of it; the
  // caller's own setting is restored before returning.
  bool throwIfCancelled = co_await asio::this_coro::throw_if_cancelled();
  co_await asio::this_coro::throw_if_cancelled(false);
  std::optional<SDKOutcome> outcome;
  try {
    outcome = co_await race(timeoutSeconds, operationName, std::move(operation));
  } catch (...) {
    // Only allocation failure can get here; the race then yielded nothing.
  }
  co_await asio::this_coro::throw_if_cancelled(throwIfCancelled);
  co_return outcome ? std::move(*outcome) : unexpectedOutcome(operationName);
}

}  // namespace lumetra_rpc
