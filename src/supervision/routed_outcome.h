#pragma once
// What a handler case hands back: the outcome when it answered at once, or the description
// of its wait. Most cases answer at once; those then cost no coroutine frame and no
// executor hop, and a case that waits costs only what its way of waiting needs.

#include <concepts>
#include <utility>
#include <variant>

#include <boost/asio/awaitable.hpp>

#include "supervision/outcome.h"
#include "supervision/sdk_wait.h"

namespace lumetra_rpc {

using RoutedOutcome = std::variant<SDKOutcome, SDKWait>;

// One name for every kind, so a case's result, whichever it is, converts by overload.
inline RoutedOutcome asRouted(SDKOutcome outcome) {
  return RoutedOutcome(std::in_place_index<0>, std::move(outcome));
}
inline RoutedOutcome asRouted(SDKRace race) {
  return RoutedOutcome(std::in_place_index<1>, std::move(race));
}
inline RoutedOutcome asRouted(MainCall call) {
  return RoutedOutcome(std::in_place_index<1>, std::move(call));
}
template <std::same_as<RoutedOutcome> Routed>
RoutedOutcome asRouted(Routed routed) {
  return routed;
}

// The outcome either way, for a caller that awaits every case alike. What a waiting case
// throws reaches the caller.
inline boost::asio::awaitable<SDKOutcome> awaitOutcome(RoutedOutcome routed) {
  if (auto* ready = std::get_if<SDKOutcome>(&routed)) co_return std::move(*ready);
  auto waiting = awaitWait(std::get<SDKWait>(std::move(routed)));
  co_return co_await std::move(waiting);
}

}  // namespace lumetra_rpc
