#pragma once
// Where every host request enters: the facade's, and through it the C interface's. A
// request accepted here is answered exactly once, on the main executor, by its own
// response or by shutdown; a request made once the library has stopped is refused at the
// call (false) and its completion never runs.

#include <memory>
#include <string>

#include "pipeline/pending_requests.h"

namespace lumetra_rpc {

class LMRPCClient;

bool submitRequest(const std::shared_ptr<LMRPCClient>& client, std::string text,
                   PendingRequests::Completion completion) noexcept;

// A request answered without running it (refused before anything was copied).
bool submitAnswered(std::string answer, PendingRequests::Completion completion) noexcept;

// The 503 answer of requests that shutdown cuts off, or that arrive while it runs.
std::string shuttingDownText() noexcept;

}  // namespace lumetra_rpc
