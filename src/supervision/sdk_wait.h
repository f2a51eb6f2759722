#pragma once
// What a case that cannot answer at once hands back: a description of its wait, not a
// coroutine. Whoever runs the request decides how to wait. A coroutine awaits it
// (`awaitWait`); the bridge, whose answer is due on the main executor anyway, finishes the
// request wherever the wait ends, with no frame and no hop back to the pool.

#include <functional>
#include <optional>
#include <variant>

#include <boost/asio/awaitable.hpp>

#include "supervision/completion_timeout.h"
#include "supervision/outcome.h"
#include "supervision/race_result.h"

namespace lumetra_rpc {

// An SDK operation with a completion, raced against its timeout.
struct SDKRace {
  double timeoutSeconds = 0;
  ConstantText operationName;
  SDKOperation operation;
  // Members the request itself adds to a successful answer's data.
  std::optional<JSONObject> addedData;

  // The outcome once the race is decided.
  SDKOutcome outcome(SDKRaceResult result) const;
  // A decided outcome with `addedData` added.
  SDKOutcome amend(SDKOutcome decided) const;
};

// An SDK call that belongs on the main executor, answered with `message` once it returned.
// What it throws is the case's failure.
struct MainCall {
  std::function<void()> call;
  ConstantText message;

  // The outcome once the call has returned.
  SDKOutcome returned() const { return SDKSuccess{message, std::nullopt}; }
};

using SDKWait = std::variant<SDKRace, MainCall>;

// The wait as a coroutine, for callers that await every case alike; a main call's failure
// is rethrown to them.
boost::asio::awaitable<SDKOutcome> awaitWait(SDKWait wait);

}  // namespace lumetra_rpc
