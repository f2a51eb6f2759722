#pragma once
// What decides an SDK race.

#include <optional>
#include <variant>

#include "sdk/sdk_types.h"

namespace lumetra_rpc {

// What an SDK completion delivers; both parts may be absent.
struct SDKAnswer {
  std::optional<AnyKeyMap> dictionary;
  std::optional<SDKError> error;
};

struct TimedOut {};

// The race could not be run (no memory for one of its racers).
struct RaceBroken {};

// What ends a race first: the SDK's answer or the timer.
using SDKRaceResult = std::variant<SDKAnswer, TimedOut, RaceBroken>;

}  // namespace lumetra_rpc
