#pragma once
// The one writer configuration used for every text the library produces: compact, object
// members sorted by name at every depth, the solidus escaped as \/, shortest round-trip
// numbers, non-finite numbers refused.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "wire/any_codable.h"
#include "wire/expected.h"

namespace lumetra_rpc {

struct WriteFailure {
  std::string description;
};

// Appends the text of `value` to `out`. On failure `out` is left as it was.
Expected<std::monostate, WriteFailure> writeJSON(const AnyCodable& value, std::string& out);

// Writes one object straight into `out`, member by member, for records whose shape is
// fixed: building a value tree only to write it costs an allocation per member. The
// caller names the members in sorted order, as the writer would.
class MemberWriter {
 public:
  explicit MemberWriter(std::string& out) : out_(out), mark_(out.size()) { out_ += '{'; }

  void string(std::string_view name, std::string_view text);
  // One string member whose text is `head` followed by `tail`.
  void string(std::string_view name, std::string_view head, std::string_view tail);
  void integer(std::string_view name, std::int64_t number);
  void boolean(std::string_view name, bool flag);
  void value(std::string_view name, const AnyCodable& member);
  void object(std::string_view name, const JSONObject& member);

  // Closes the object; on the first member that could not be written, `out` is left as it
  // was and that failure is returned.
  Expected<std::monostate, WriteFailure> close();

 private:
  void name(std::string_view name);

  std::string& out_;
  std::size_t mark_;
  bool first_ = true;
  std::optional<WriteFailure> failure_;
};

inline Expected<std::string, WriteFailure> writeJSON(const AnyCodable& value) {
  std::string text;
  auto written = writeJSON(value, text);
  if (!written) return Unexpected{written.error()};
  return text;
}

}  // namespace lumetra_rpc
