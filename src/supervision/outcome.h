#pragma once
// What every handler operation ends in, and its JSON form in the response's `result`.
// A failed SDK operation is a result with "success": false, never a response error.

#include <cstddef>
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

// Text fixed when the program is built, so that a view of it never outlives it: only a
// constant expression makes one, so a buffer of the caller's cannot pass for it.
class ConstantText {
 public:
  template <std::size_t N>
  consteval ConstantText(const char (&literal)[N]) noexcept : text_(literal, N - 1) {}
  constexpr std::string_view view() const noexcept { return text_; }

 private:
  std::string_view text_;
};

// An outcome's message. Nearly every one is a fixed text, or an SDK operation's name with
// a fixed ending; those are kept as views, so that only a message composed at run time
// costs an allocation.
class OutcomeMessage {
 public:
  OutcomeMessage() = default;
  template <std::size_t N>
  OutcomeMessage(const char (&literal)[N]) noexcept : head_(literal, N - 1) {}
  OutcomeMessage(ConstantText text) noexcept : head_(text.view()) {}
  OutcomeMessage(ConstantText head, ConstantText tail) noexcept : head_(head.view()), tail_(tail.view()) {}
  OutcomeMessage(std::string text) noexcept : owned_(std::move(text)) {}

  // The message is `head()` followed by `tail()`.
  std::string_view head() const noexcept { return owned_.empty() ? head_ : std::string_view(owned_); }
  std::string_view tail() const noexcept { return tail_; }

 private:
  std::string owned_;
  std::string_view head_;
  std::string_view tail_;
};

struct SDKSuccess {
  OutcomeMessage message;
  std::optional<JSONObject> data;
};

struct SDKFailure {
  OutcomeMessage message;
  std::optional<std::string> error;
  std::optional<std::string> errorType;
  std::optional<std::int64_t> errorCode;

  // A failure with only a message and an error type, the shape handlers make themselves.
  static SDKFailure ofType(OutcomeMessage message, std::string_view type) {
    return SDKFailure{std::move(message), std::nullopt, std::string(type), std::nullopt};
  }
};

using SDKOutcome = std::variant<SDKSuccess, SDKFailure>;

// Appends the result object: "success", "message", then only the members that are
// present. Written straight from the outcome, since a tree built only to be written would
// cost an allocation per member of every response.
Expected<std::monostate, WriteFailure> writeResult(const SDKOutcome& outcome, std::string& out);

}  // namespace lumetra_rpc
