#pragma once
// Reads request texts. Decoding tries the kinds in a fixed order: null, boolean, integer
// (any number exactly representable as a signed 64-bit integer, so 1.0 and 1e2 are
// integers), double, string, array, object. A number no double can hold (1e400) fails
// with "Unsupported JSON type".

#include <cstddef>
#include <string>
#include <string_view>

#include "wire/any_codable.h"
#include "wire/expected.h"
#include "wire/records.h"

namespace lumetra_rpc {

// Arrays and objects nested deeper than this are refused, so hostile nesting can never
// exhaust a thread's stack.
inline constexpr std::size_t kMaxNestingDepth = 512;

struct ReadFailure {
  std::string description;
};

// Reads one complete JSON text as a value.
Expected<AnyCodable, ReadFailure> readJSON(std::string_view text);

// Reads one complete JSON text as a request envelope: a top-level object with a string
// `method`, an optional `id` of any kind and an optional (or null) object `params`.
// Other members are ignored.
Expected<LMRPCRequest, ReadFailure> readRequest(std::string_view text);

}  // namespace lumetra_rpc
