#include "pipeline/text_encoding.h"

#include <simdjson.h>

#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

// Appends the id, or null when the request had none.
Expected<std::monostate, WriteFailure> appendId(std::string& out, const std::optional<AnyCodable>& id) {
  if (id) return writeJSON(*id, out);
  out += "null";
  return std::monostate{};
}

// Room for the usual answer up front: growing from empty costs several reallocations.
std::string responseBuffer() {
  std::string text;
  text.reserve(256);
  return text;
}

ClientResult<std::string> finish(std::string text, std::string_view label) {
  // Strings from the SDK side are not checked on the way in; what goes out must be text.
  if (!simdjson::validate_utf8(text.data(), text.size()))
    return fail(
        LMRPCClientError::internalError("Failed to convert " + std::string(label) + " data to string"));
  return text;
}

Unexpected<LMRPCClientError> encodeFailure(std::string_view label, const WriteFailure& failure) {
  return fail(
      LMRPCClientError::internalError("Failed to encode " + std::string(label) + ": " + failure.description));
}

}  // namespace

// Members in sorted order: error, id, result.
ClientResult<std::string> encodeResultResponse(const std::optional<AnyCodable>& id,
                                               const SDKOutcome& outcome) {
  auto text = responseBuffer();
  text += "{\"error\":null,\"id\":";
  auto written = appendId(text, id);
  if (written) {
    text += ",\"result\":";
    written = writeResult(outcome, text);
  }
  if (!written) return encodeFailure("response", written.error());
  text += '}';
  return finish(std::move(text), "response");
}

ClientResult<std::string> encodeEvent(const LMRPCEvent& event) {
  auto text = writeJSON(toJSON(event));
  if (!text) return encodeFailure("event", text.error());
  return finish(std::move(text).value(), "event");
}

std::string encodeErrorResponse(const LMRPCError& error, const std::optional<AnyCodable>& id) noexcept {
  try {
    auto text = responseBuffer();
    text += "{\"error\":";
    auto written = writeError(error, text);
    if (written) {
      text += ",\"id\":";
      written = appendId(text, id);
    }
    if (written) {
      text += ",\"result\":null}";
      if (auto checked = finish(std::move(text), "response")) return std::move(checked).value();
    }
  } catch (...) {
  }
  return std::string(kResponseFallbackText);
}

}  // namespace lumetra_rpc
