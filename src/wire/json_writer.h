#pragma once
// The one writer configuration used for every text the library produces: compact, object
// members sorted by name at every depth, the solidus escaped as \/, shortest round-trip
// numbers, non-finite numbers refused.

#include <string>

#include "wire/any_codable.h"
#include "wire/expected.h"

namespace lumetra_rpc {

struct WriteFailure {
  std::string description;
};

// Appends the text of `value` to `out`. On failure `out` is left as it was.
Expected<std::monostate, WriteFailure> writeJSON(const AnyCodable& value, std::string& out);

inline Expected<std::string, WriteFailure> writeJSON(const AnyCodable& value) {
  std::string text;
  auto written = writeJSON(value, text);
  if (!written) return Unexpected{written.error()};
  return text;
}

}  // namespace lumetra_rpc
