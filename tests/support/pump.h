#pragma once
// Drives the host-driven main executor until something has happened, with a generous
// ceiling so that a broken test fails instead of hanging.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "lumetra_rpc/client.h"
#include "lumetra_rpc/json_value.h"
#include "lumetra_rpc/runtime.h"

namespace lumetra_rpc::testing {

// Pumps until `done()` holds; returns false if it still does not after `ceiling`.
bool pumpUntil(const std::function<bool()>& done,
               std::chrono::milliseconds ceiling = std::chrono::seconds(20));

// Pumps for a short while, to let anything that is going to happen, happen.
void pumpFor(std::chrono::milliseconds duration);

// Runs one request through `client` on the pool and returns its response text, pumping
// the main executor meanwhile.
std::string execute(LMRPCClient& client, std::string request);

// The members of a response text, or nothing unless they are exactly error, id and result
// with exactly one of error and result null.
std::optional<JSONObject> responseMembers(const std::string& response);

// The whole of a file of test data ("" when it cannot be read).
std::string readTextFile(const std::string& path);

}  // namespace lumetra_rpc::testing
