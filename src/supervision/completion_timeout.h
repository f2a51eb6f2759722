#pragma once
// Races an SDK operation that answers through a completion against a timer, so that the
// caller always gets exactly one outcome within `timeoutSeconds`. The operation is always
// started asynchronously on the main executor, never on the caller's thread; its
// completion may come from any thread, late, twice or never: only the first answer before
// the timeout counts. A waiting race holds no thread.

#include <functional>
#include <string>

#include <boost/asio/awaitable.hpp>

#include "sdk/sdk_types.h"
#include "supervision/outcome.h"
#include "supervision/race_result.h"

namespace lumetra_rpc {

using SDKOperation = std::function<void(SDKCompletion completion)>;

boost::asio::awaitable<SDKOutcome> withSDKCompletionTimeout(double timeoutSeconds, ConstantText operationName,
                                                            SDKOperation operation);

// The outcome of a race once it is decided.
SDKOutcome raceOutcome(ConstantText operationName, double timeoutSeconds, SDKRaceResult result);

// The entries of an SDK dictionary whose keys are strings, values unchanged.
JSONObject stringKeyedCopy(const AnyKeyMap& dictionary);

}  // namespace lumetra_rpc
