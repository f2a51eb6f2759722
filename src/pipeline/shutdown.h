#pragma once
// Ends the library for good, in the order a host can rely on: stop taking requests, let
// those in flight finish until the deadline, answer the rest with 503, deliver every
// answer, close the main queue (no host callback runs after that), stop the SDK backend,
// and join the library's threads.

#include <chrono>

namespace lumetra_rpc {

// True when everything was delivered and every thread joined in time. Not noexcept: it
// delivers completions itself where only it can, and a host runtime may end the thread.
bool shutdownLibrary(std::chrono::milliseconds timeout);

}  // namespace lumetra_rpc
