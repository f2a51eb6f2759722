#include "lumetra_rpc/client.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "lumetra_rpc/runtime.h"
#include "parsing/method_table.h"
#include "pipeline/request_handler.h"
#include "pipeline/text_encoding.h"
#include "sdk/capabilities.h"
#include "sdk/default_sdk.h"
#include "wire/json_reader.h"

namespace lumetra_rpc {
namespace {

constexpr std::size_t kMaxRequestBytes = 1'048'576;

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

LMRPCError unexpectedFailure() {
  return LMRPCError{500, "An unexpected internal error occurred", {}};
}

// A request either is answered before anything asynchronous happens, or its routing has
// been started.
struct Started {
  std::optional<std::string> answer;
  std::optional<boost::asio::awaitable<SDKOutcome>> routing;
};

// Decoding and parsing, kept out of the coroutine: a request waiting on the SDK then keeps
// neither its envelope nor its parsed form in the client's frame.
Started start(LMRPCRequestHandler& handler, std::string_view text, std::optional<AnyCodable>& id) {
  auto request = decodeRequest(text);
  if (!request) return {encodeErrorResponse(request.error().toRPCError(), std::nullopt), std::nullopt};
  id = request->id;
  auto parsed = parseRequest(*request);
  if (!parsed) return {encodeErrorResponse(parsed.error().toRPCError(), id), std::nullopt};
  return {std::nullopt, handler.route(std::move(parsed).value())};
}

}  // namespace

std::shared_ptr<LMRPCClient> LMRPCClient::create(EventEmitter eventEmitter) {
  return create(std::move(eventEmitter), TimeoutConfig{}, makeDefaultSDK());
}

std::shared_ptr<LMRPCClient> LMRPCClient::create(EventEmitter eventEmitter, TimeoutConfig timeouts,
                                                 std::shared_ptr<LMRPCSDKCapabilities> sdk) {
  auto client =
      std::make_shared<LMRPCClient>(PrivateTag{}, std::move(eventEmitter), timeouts, std::move(sdk));
  // Weak, because the handler is owned by the client it forwards to.
  client->handler_->setEventEmitter([weak = std::weak_ptr<LMRPCClient>(client)](const LMRPCEvent& event) {
    if (auto self = weak.lock()) self->forwardEvent(event);
  });
  return client;
}

LMRPCClient::LMRPCClient(PrivateTag, EventEmitter eventEmitter, TimeoutConfig timeouts,
                         std::shared_ptr<LMRPCSDKCapabilities> sdk)
    : handler_(LMRPCRequestHandler::create(timeouts, std::move(sdk))),
      eventEmitter_(std::move(eventEmitter)) {}

LMRPCClient::~LMRPCClient() = default;

boost::asio::awaitable<std::string> LMRPCClient::respond(std::shared_ptr<LMRPCClient> self,
                                                         std::string text) {
  std::optional<AnyCodable> rememberedId;
  try {
    auto started = start(*self->handler_, text, rememberedId);
    std::string().swap(text);  // the text is read; a long wait should not keep it
    if (started.answer) co_return std::move(*started.answer);
    std::optional<SDKOutcome> outcome;
    try {
      outcome.emplace(co_await std::move(*started.routing));
    } catch (...) {
    }
    auto written = encodeResponse(responseOf(rememberedId, outcome));
    if (!written) co_return encodeErrorResponse(written.error().toRPCError(), std::move(rememberedId));
    co_return std::move(written).value();
  } catch (...) {
    co_return encodeErrorResponse(unexpectedFailure(), std::move(rememberedId));
  }
}

boost::asio::awaitable<std::string> LMRPCClient::execute(std::string jsonRequest) {
  // Each request runs on a strand of its own: concurrent with every other request, but
  // its own completions (SDK answer, timer, cancellation) never overlap.
  auto strand = boost::asio::make_strand(Runtime::shared().pool());
  co_return co_await boost::asio::co_spawn(strand, respond(shared_from_this(), std::move(jsonRequest)),
                                           boost::asio::use_awaitable);
}

void LMRPCClient::executeWithJsonRequest(std::string jsonRequest, Completion completion) noexcept {
  try {
    auto strand = boost::asio::make_strand(Runtime::shared().pool());
    boost::asio::co_spawn(strand, respond(shared_from_this(), std::move(jsonRequest)),
                          [completion = std::move(completion)](std::exception_ptr failure, std::string text) {
                            if (failure) text = encodeErrorResponse(unexpectedFailure(), std::nullopt);
                            try {
                              if (completion) completion(std::move(text));
                            } catch (...) {
                            }
                          });
  } catch (...) {
    try {
      if (completion) completion(encodeErrorResponse(unexpectedFailure(), std::nullopt));
    } catch (...) {
    }
  }
}

void LMRPCClient::forwardEvent(const LMRPCEvent& event) const noexcept {
  try {
    auto text = encodeEvent(event);
    std::string payload = text ? std::move(text).value() : std::string(kEventFallbackText);
    if (eventEmitter_) eventEmitter_(std::move(payload));
  } catch (...) {
  }
}

}  // namespace lumetra_rpc
