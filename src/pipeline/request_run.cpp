#include "pipeline/request_run.h"

#include "handlers/handler_support.h"
#include "parsing/method_table.h"
#include "pipeline/request_handler.h"
#include "pipeline/text_encoding.h"
#include "wire/json_reader.h"

namespace lumetra_rpc {
namespace {

ClientResult<LMRPCRequest> decodeRequest(std::string_view text) {
  // Counted before anything looks at the text, so an oversized request costs nothing.
  if (text.size() >= kMaxRequestBytes)
    return fail(LMRPCClientError::invalidJSON("Request payload too large"));
  auto request = readRequest(text);
  if (!request)
    return fail(
        LMRPCClientError::invalidJSON("Invalid JSON-RPC request structure: " + request.error().description));
  return std::move(request).value();
}

// A text this large is not kept for the answer: the host would hold all of its memory for
// as long as it keeps a short answer, and a waiting case for the whole wait.
std::string reusable(std::string text) noexcept {
  constexpr std::size_t kKeptCapacity = 4096;
  if (text.capacity() > kKeptCapacity) return {};
  return text;
}

LMRPCError unexpectedFailure() {
  return LMRPCError{500, "An unexpected internal error occurred", {}};
}

}  // namespace

// A case that threw is a result failure to the host, never an exception. Every failure
// on the way still answers with the id.
std::string answerOf(const std::optional<AnyCodable>& id, const std::optional<SDKOutcome>& outcome,
                     std::string buffer) noexcept {
  try {
    auto written = outcome
                       ? encodeResultResponse(id, *outcome, std::move(buffer))
                       : encodeResultResponse(id, handlers::unexpectedHandlerFailure(), std::move(buffer));
    if (written) return std::move(written).value();
    return encodeErrorResponse(std::move(written).error().toRPCError(), id);
  } catch (...) {
    return encodeErrorResponse(unexpectedFailure(), id);
  }
}

std::string oversizedRequestText() noexcept {
  return encodeErrorResponse(LMRPCClientError::invalidJSON("Request payload too large").toRPCError(),
                             std::nullopt);
}

std::string unexpectedFailureText() noexcept {
  return encodeErrorResponse(unexpectedFailure(), std::nullopt);
}

Started startRequest(LMRPCRequestHandler& handler, std::string text) noexcept {
  Started started;
  try {
    auto request = decodeRequest(text);
    // Nothing decoded refers to the text: from here its memory is the answer's.
    auto buffer = reusable(std::move(text));
    if (!request) {
      started.answer =
          encodeErrorResponse(std::move(request).error().toRPCError(), std::nullopt, std::move(buffer));
      return started;
    }
    started.id = std::move(request->id);
    auto parsed = parseRequest(*request);
    if (!parsed) {
      started.answer =
          encodeErrorResponse(std::move(parsed).error().toRPCError(), started.id, std::move(buffer));
      return started;
    }
    auto routed = handler.route(std::move(parsed).value());
    if (auto* outcome = std::get_if<SDKOutcome>(&routed)) {
      started.answer = answerOf(started.id, *outcome, std::move(buffer));
    } else {
      started.waiting.emplace(std::get<SDKWait>(std::move(routed)));
      started.buffer = std::move(buffer);
    }
  } catch (...) {
    started.waiting.reset();
    started.answer = encodeErrorResponse(unexpectedFailure(), started.id);
  }
  return started;
}

}  // namespace lumetra_rpc
