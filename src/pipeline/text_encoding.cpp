#include "pipeline/text_encoding.h"

#include <simdjson.h>

#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

Expected<std::monostate, WriteFailure> appendNull(std::string& out) {
  out += "null";
  return std::monostate{};
}

// Appends the id, or null when the request had none.
Expected<std::monostate, WriteFailure> appendId(std::string& out, const std::optional<AnyCodable>& id) {
  return id ? writeJSON(*id, out) : appendNull(out);
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

// The members in sorted order: error, id, result. One of the two parts is null.
template <typename ErrorPart, typename ResultPart>
ClientResult<std::string> encodeEnvelope(const std::optional<AnyCodable>& id, ErrorPart writeErrorPart,
                                         ResultPart writeResultPart, std::string buffer) {
  // Room for the usual answer up front: growing from empty costs several reallocations.
  std::string text = std::move(buffer);
  text.clear();
  text.reserve(kUsualAnswerBytes);
  text += "{\"error\":";
  auto written = writeErrorPart(text);
  if (written) {
    text += ",\"id\":";
    written = appendId(text, id);
  }
  if (written) {
    text += ",\"result\":";
    written = writeResultPart(text);
  }
  if (!written) return encodeFailure("response", written.error());
  text += '}';
  return finish(std::move(text), "response");
}

}  // namespace

ClientResult<std::string> encodeResultResponse(const std::optional<AnyCodable>& id, const SDKOutcome& outcome,
                                               std::string buffer) {
  return encodeEnvelope(
      id, appendNull, [&](std::string& out) { return writeResult(outcome, out); }, std::move(buffer));
}

ClientResult<std::string> encodeEvent(const LMRPCEvent& event) {
  auto text = writeJSON(toJSON(event));
  if (!text) return encodeFailure("event", text.error());
  return finish(std::move(text).value(), "event");
}

std::string encodeErrorResponse(const LMRPCError& error, const std::optional<AnyCodable>& id,
                                std::string buffer) noexcept {
  try {
    auto text = encodeEnvelope(
        id, [&](std::string& out) { return writeError(error, out); }, appendNull, std::move(buffer));
    if (text) return std::move(text).value();
  } catch (...) {
  }
  return std::string(kResponseFallbackText);
}

}  // namespace lumetra_rpc
