#pragma once
// The request texts the figures send.

#include <cstddef>
#include <string>
#include <vector>

namespace lumetra_rpc::bench {

// A typical setter request of about 150 bytes.
std::string setterRequest();

// A logEvent request whose eventValues bring the whole text to just under `targetBytes`.
std::string logEventRequest(std::size_t targetBytes);

// A text of exactly `bytes` bytes: a valid request padded with trailing spaces.
std::string paddedRequest(std::size_t bytes);

// Valid and invalid requests covering every method, read from the parsing case table.
std::vector<std::string> mixedRequests();

}  // namespace lumetra_rpc::bench
