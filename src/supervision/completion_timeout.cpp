#include "supervision/completion_timeout.h"

#include <chrono>
#include <cstdint>
#include <variant>

#include <boost/asio/async_result.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "supervision/sdk_race.h"
#include "wire/number_text.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;
using asio::awaitable;

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

}  // namespace

std::chrono::nanoseconds timerDelay(double timeoutSeconds) noexcept {
  double nanoseconds = timeoutSeconds * 1e9;
  // Negative, non-finite or oversized values are outside the configuration's range; they
  // are clamped so the conversion below stays defined.
  if (!(nanoseconds > 0)) return std::chrono::nanoseconds::zero();
  constexpr auto kMax = std::chrono::nanoseconds::max().count();
  if (nanoseconds >= static_cast<double>(kMax)) return std::chrono::nanoseconds::max();
  return std::chrono::nanoseconds(static_cast<std::int64_t>(static_cast<std::uint64_t>(nanoseconds)));
}

SDKOutcome raceOutcome(ConstantText operationName, double timeoutSeconds, SDKRaceResult result) {
  if (auto* answer = std::get_if<SDKAnswer>(&result))
    return outcomeOfAnswer(operationName, std::move(*answer));
  if (std::holds_alternative<TimedOut>(result)) {
    return SDKFailure::ofType(std::string(operationName.view()) + " operation timed out after " +
                                  formatNumberForMessage(timeoutSeconds) + " seconds",
                              error_type::kTimeout);
  }
  return SDKFailure::ofType({operationName, " operation failed: unexpected task group behavior"},
                            error_type::kInternal);
}

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
  SDKRaceResult first = RaceBroken{};
  auto state = co_await asio::this_coro::cancellation_state;
  if (state.cancelled() != asio::cancellation_type::none) {
    // Cancelled before the race starts: the SDK racer would resolve at once with nothing,
    // without starting the operation, so that answer is taken directly.
    first = SDKAnswer{};
  } else {
    try {
      auto racing = asio::async_initiate<const asio::use_awaitable_t<>, void(SDKRaceResult)>(
          [timeoutSeconds](auto handler, SDKOperation op) {
            startRace(handler, timeoutSeconds, std::move(op));
          },
          asio::use_awaitable, std::move(operation));
      first = co_await std::move(racing);
    } catch (...) {
      // Only allocation failure can get here; the race then stays broken.
    }
  }
  co_await asio::this_coro::throw_if_cancelled(throwIfCancelled);
  co_return raceOutcome(operationName, timeoutSeconds, std::move(first));
}

}  // namespace lumetra_rpc
