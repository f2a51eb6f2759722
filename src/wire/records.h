#pragma once
// The records that cross the boundary as text: request, error object, event. A response is
// written straight from its parts, with no record of its own.

#include <cstdint>
#include <optional>
#include <string>

#include "wire/any_codable.h"
#include "wire/expected.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {

struct LMRPCRequest {
  std::optional<AnyCodable> id;
  std::string method;
  JSONObject params;
};

struct LMRPCError {
  std::int64_t code = 0;
  std::string message;
  std::optional<JSONObject> details;
};

struct LMRPCEvent {
  // With no timestamp given, the current time in whole milliseconds (fraction dropped).
  LMRPCEvent(std::string event, std::optional<AnyCodable> data,
             std::optional<std::int64_t> timestamp = std::nullopt, std::string origin = "ios");

  std::string event;
  std::optional<AnyCodable> data;
  std::int64_t timestamp;
  std::string origin;
};

// Sent as they stand when even an error response or an event cannot be written.
inline constexpr std::string_view kResponseFallbackText =
    R"({"id":null,"error":{"code":500,"message":"Internal encoding error"},"result":null})";
inline constexpr std::string_view kEventFallbackText =
    R"({"event":"error","data":{"message":"Failed to encode event"},"origin":"ios"})";

// The JSON form of an event, with absent members written as the wire rules say.
AnyCodable toJSON(const LMRPCEvent& event);

// Appends the error object of a response.
Expected<std::monostate, WriteFailure> writeError(const LMRPCError& error, std::string& out);

}  // namespace lumetra_rpc
