#pragma once
// Writes records as the texts the host receives. A failure becomes internalError with
// "Failed to encode <label>: <description>" or "Failed to convert <label> data to string".

#include <string>
#include <string_view>

#include "supervision/outcome.h"
#include "wire/client_error.h"
#include "wire/records.h"

namespace lumetra_rpc {

// The response carrying a handler's outcome as its result.
ClientResult<std::string> encodeResultResponse(const std::optional<AnyCodable>& id,
                                               const SDKOutcome& outcome);
ClientResult<std::string> encodeEvent(const LMRPCEvent& event);

// The error response for a failure of the request path, or the fallback text when even
// that cannot be written.
std::string encodeErrorResponse(const LMRPCError& error, const std::optional<AnyCodable>& id) noexcept;

}  // namespace lumetra_rpc
