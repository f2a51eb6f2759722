#include "pipeline/text_encoding.h"

#include <simdjson.h>

#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

// Appends `value`, or null for an absent member.
bool appendMember(std::string& out, const std::optional<AnyCodable>& value, WriteFailure& failure) {
  if (!value) {
    out += "null";
    return true;
  }
  auto written = writeJSON(*value, out);
  if (!written) failure = written.error();
  return written.hasValue();
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

// Written member by member, in sorted order, so the result tree is never copied.
ClientResult<std::string> encodeResponse(const LMRPCResponse& response) {
  // Room for the usual answer up front: growing from empty costs several reallocations.
  std::string text;
  text.reserve(256);
  text += "{\"error\":";
  WriteFailure failure;
  std::optional<AnyCodable> error;
  if (response.error) error = toJSON(*response.error);
  if (!appendMember(text, error, failure)) return encodeFailure("response", failure);
  text += ",\"id\":";
  if (!appendMember(text, response.id, failure)) return encodeFailure("response", failure);
  text += ",\"result\":";
  if (!appendMember(text, response.result, failure)) return encodeFailure("response", failure);
  text += '}';
  return finish(std::move(text), "response");
}

ClientResult<std::string> encodeEvent(const LMRPCEvent& event) {
  auto text = writeJSON(toJSON(event));
  if (!text) return encodeFailure("event", text.error());
  return finish(std::move(text).value(), "event");
}

std::string encodeErrorResponse(LMRPCError error, std::optional<AnyCodable> id) noexcept {
  try {
    auto text = encodeResponse(LMRPCResponse{std::move(id), std::nullopt, std::move(error)});
    if (text) return std::move(text).value();
  } catch (...) {
  }
  return std::string(kResponseFallbackText);
}

}  // namespace lumetra_rpc
