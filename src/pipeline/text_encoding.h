#pragma once
// Writes records as the texts the host receives. A failure becomes internalError with
// "Failed to encode <label>: <description>" or "Failed to convert <label> data to string".

#include <cstddef>
#include <string>
#include <string_view>

#include "supervision/outcome.h"
#include "wire/client_error.h"
#include "wire/records.h"

namespace lumetra_rpc {

// A response is written into `buffer`'s memory when one is given: the request's own text,
// once read. The answer then lives in memory from the thread that sent the request and is
// freed there, and a request costs no allocation for its answer.

// Room for the usual answer; a buffer with less is grown before writing.
inline constexpr std::size_t kUsualAnswerBytes = 256;

// The response carrying a handler's outcome as its result.
ClientResult<std::string> encodeResultResponse(const std::optional<AnyCodable>& id, const SDKOutcome& outcome,
                                               std::string buffer = {});
ClientResult<std::string> encodeEvent(const LMRPCEvent& event);

// The error response for a failure of the request path, or the fallback text when even
// that cannot be written.
std::string encodeErrorResponse(const LMRPCError& error, const std::optional<AnyCodable>& id,
                                std::string buffer = {}) noexcept;

}  // namespace lumetra_rpc
