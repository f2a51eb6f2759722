#pragma once
// Runs a function on the main executor and resumes the awaiting coroutine on its own
// executor afterwards, so the caller never blocks a pool thread while the main executor
// is busy. An exception thrown by the function is carried back and rethrown to the
// awaiting coroutine, not on the main loop.

#include <functional>

#include <boost/asio/awaitable.hpp>

namespace lumetra_rpc {

boost::asio::awaitable<void> runOnMain(std::function<void()> job);

}  // namespace lumetra_rpc
