#pragma once
// What every handler operation ends in, and its JSON form in the response's `result`.
// A failed SDK operation is a result with "success": false, never a response error.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "wire/any_codable.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {

namespace error_type {
inline constexpr std::string_view kInternal = "internal_error";
inline constexpr std::string_view kValidation = "validation_error";
inline constexpr std::string_view kUnsupportedPlatform = "unsupported_platform";
inline constexpr std::string_view kSDK = "sdk_error";
inline constexpr std::string_view kTimeout = "timeout";
}  // namespace error_type

struct SDKSuccess {
  std::string message;
  std::optional<JSONObject> data;
};

struct SDKFailure {
  std::string message;
  std::optional<std::string> error;
  std::optional<std::string> errorType;
  std::optional<std::int64_t> errorCode;

  // A failure with only a message and an error type, the shape handlers make themselves.
  static SDKFailure ofType(std::string message, std::string_view type) {
    return SDKFailure{std::move(message), std::nullopt, std::string(type), std::nullopt};
  }
};

using SDKOutcome = std::variant<SDKSuccess, SDKFailure>;

// Appends the result object: "success", "message", then only the members that are
// present. Written straight from the outcome, since a tree built only to be written would
// cost an allocation per member of every response.
Expected<std::monostate, WriteFailure> writeResult(const SDKOutcome& outcome, std::string& out);

}  // namespace lumetra_rpc
