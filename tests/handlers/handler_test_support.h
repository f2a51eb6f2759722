#pragma once
// Drives one handler call the way the router does: spawned on a strand of the pool, with
// the test pumping the host-driven main executor until the outcome has arrived.

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/strand.hpp>

#include "lumetra_rpc/runtime.h"
#include "runtime/runtime_core.h"
#include "supervision/outcome.h"
#include "support/pump.h"
#include "wire/json_writer.h"

namespace lumetra_rpc::testing {

// Returns the outcome, or nothing when the handler did not answer within the ceiling (or
// let an exception escape, which a handler must never do). `answeredOnMain`, when given,
// tells whether the handler finished on the main executor instead of its own strand.
template <typename Handler, typename Request>
std::optional<SDKOutcome> runHandler(const Handler& handler, Request request,
                                     bool* answeredOnMain = nullptr) {
  struct Slot {
    std::mutex lock;
    bool done = false;
    bool onMain = false;
    std::optional<SDKOutcome> outcome;
  };
  auto slot = std::make_shared<Slot>();
  // The coroutine owns a copy of the handler, so a test that gives up early leaves
  // nothing dangling behind.
  auto owned = std::make_shared<const Handler>(handler);
  boost::asio::co_spawn(
      boost::asio::make_strand(runningCore().pool()),
      [owned, request = std::move(request)]() mutable {
        return awaitOutcome(owned->handle(std::move(request)));
      },
      [slot](std::exception_ptr failure, SDKOutcome outcome) {
        std::lock_guard guard(slot->lock);
        slot->done = true;
        slot->onMain = Runtime::isOnMain();
        if (!failure) slot->outcome = std::move(outcome);
      });
  pumpUntil([&] {
    std::lock_guard guard(slot->lock);
    return slot->done;
  });
  std::lock_guard guard(slot->lock);
  if (answeredOnMain != nullptr) *answeredOnMain = slot->onMain;
  return slot->outcome;
}

inline const SDKSuccess* asSuccess(const std::optional<SDKOutcome>& outcome) {
  return outcome ? std::get_if<SDKSuccess>(&*outcome) : nullptr;
}

inline const SDKFailure* asFailure(const std::optional<SDKOutcome>& outcome) {
  return outcome ? std::get_if<SDKFailure>(&*outcome) : nullptr;
}

// The message of either kind of outcome, or a marker when the handler did not answer.
inline std::string messageOf(const std::optional<SDKOutcome>& outcome) {
  if (!outcome) return "<no outcome>";
  return std::visit([](const auto& o) { return o.message; }, *outcome);
}

// The data of a success as compact sorted JSON, or a marker when there is none.
inline std::string dataText(const std::optional<SDKOutcome>& outcome) {
  const SDKSuccess* success = asSuccess(outcome);
  if (success == nullptr) return "<not a success>";
  if (!success->data) return "<no data>";
  auto text = writeJSON(AnyCodable(*success->data));
  return text ? *text : "<unwritable>";
}

// A success with this message and no data dictionary.
inline ::testing::AssertionResult isPlainSuccess(const std::optional<SDKOutcome>& outcome,
                                                 const std::string& message) {
  const SDKSuccess* success = asSuccess(outcome);
  if (success == nullptr) return ::testing::AssertionFailure() << "not a success";
  if (success->message != message)
    return ::testing::AssertionFailure() << "message was \"" << success->message << "\"";
  if (success->data) return ::testing::AssertionFailure() << "unexpected data";
  return ::testing::AssertionSuccess();
}

// A failure with exactly this message and error type, and neither error nor code.
inline ::testing::AssertionResult isTypedFailure(const std::optional<SDKOutcome>& outcome,
                                                 const std::string& message, std::string_view errorType) {
  const SDKFailure* failure = asFailure(outcome);
  if (failure == nullptr) return ::testing::AssertionFailure() << "not a failure";
  if (failure->message != message)
    return ::testing::AssertionFailure() << "message was \"" << failure->message << "\"";
  if (failure->errorType != std::string(errorType))
    return ::testing::AssertionFailure() << "errorType was " << failure->errorType.value_or("<none>");
  if (failure->error || failure->errorCode)
    return ::testing::AssertionFailure() << "unexpected error or errorCode";
  return ::testing::AssertionSuccess();
}

}  // namespace lumetra_rpc::testing
