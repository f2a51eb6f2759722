#pragma once
// A request's answer text, however the request ended, and its delivery.

#include <optional>
#include <string>
#include <utility>

#include "runtime/host_call.h"
#include "supervision/outcome.h"
#include "wire/any_codable.h"

namespace lumetra_rpc {

// The response text for a case's outcome; an absent outcome means the case threw.
std::string answerOf(const std::optional<AnyCodable>& id, const std::optional<SDKOutcome>& outcome,
                     std::string buffer = {}) noexcept;

// The 500 error response with no id.
std::string unexpectedFailureText() noexcept;

template <typename Deliver>
void deliverSafely(Deliver& deliver, std::string text) noexcept {
  callForeign([&] { deliver(std::move(text)); });
}

}  // namespace lumetra_rpc
