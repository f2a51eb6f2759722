#pragma once
// What a handler case hands back: the outcome when it answered at once, or the wait for
// it. Most cases answer at once; those then cost no coroutine frame and no executor hop,
// and only a case that waits on the SDK or the main executor has to be spawned.

#include <utility>
#include <variant>

#include <boost/asio/awaitable.hpp>

#include "supervision/outcome.h"

namespace lumetra_rpc {

using RoutedOutcome = std::variant<SDKOutcome, boost::asio::awaitable<SDKOutcome>>;

// One name for both kinds, so a case's result, whichever it is, converts by overload.
inline RoutedOutcome asRouted(SDKOutcome outcome) {
  return RoutedOutcome(std::in_place_index<0>, std::move(outcome));
}
inline RoutedOutcome asRouted(boost::asio::awaitable<SDKOutcome> waiting) {
  return RoutedOutcome(std::in_place_index<1>, std::move(waiting));
}

// The outcome either way, for a caller that awaits every case alike. What a waiting case
// throws reaches the caller.
inline boost::asio::awaitable<SDKOutcome> awaitOutcome(RoutedOutcome routed) {
  if (auto* ready = std::get_if<SDKOutcome>(&routed)) co_return std::move(*ready);
  auto& waiting = std::get<boost::asio::awaitable<SDKOutcome>>(routed);
  co_return co_await std::move(waiting);
}

}  // namespace lumetra_rpc
