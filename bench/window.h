#pragma once
// A fixed number of requests in flight, each completion sending the next one from the main
// executor, so the window stays full without a thread of ours in the way. Whatever answers
// the requests (the facade, a floor, the threaded peer) is a `Send`: it takes the request
// text and must run `answer` exactly once, on the main executor.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace lumetra_rpc::bench {

constexpr std::size_t kInFlight = 256;

using Answer = std::function<void(std::string response)>;
using Send = std::function<void(std::string text, Answer answer)>;

// Requests per second for `total` requests, cycling through copies of `texts`.
double windowRate(const Send& send, const std::vector<std::string>& texts, std::size_t total);

// Operator-new calls per request over `total` requests, after a warm-up window. The texts
// are copied before counting starts and moved in, so no copy of ours is counted.
double windowAllocations(const Send& send, const std::vector<std::string>& texts, std::size_t total);

}  // namespace lumetra_rpc::bench
