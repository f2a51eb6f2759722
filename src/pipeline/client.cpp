#include "lumetra_rpc/client.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
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

// A request is either answered before anything asynchronous happens, or its case waits
// and the rest of the request runs once the outcome is there.
struct Started {
  std::optional<std::string> answer;
  std::optional<boost::asio::awaitable<SDKOutcome>> waiting;
  std::optional<AnyCodable> id;
};

std::string answerOf(const std::optional<AnyCodable>& id, const std::optional<SDKOutcome>& outcome) noexcept {
  try {
    auto written = encodeResponse(responseOf(id, outcome));
    if (written) return std::move(written).value();
    return encodeErrorResponse(written.error().toRPCError(), id);
  } catch (...) {
    return encodeErrorResponse(unexpectedFailure(), id);
  }
}

// Decoding, parsing and starting the case, kept out of any coroutine: a request waiting
// on the SDK then keeps neither its envelope nor its parsed form alive, and a request
// whose case answers at once is written here and never suspends at all.
Started start(LMRPCRequestHandler& handler, std::string_view text) noexcept {
  Started started;
  try {
    auto request = decodeRequest(text);
    if (!request) {
      started.answer = encodeErrorResponse(request.error().toRPCError(), std::nullopt);
      return started;
    }
    started.id = std::move(request->id);
    auto parsed = parseRequest(*request);
    if (!parsed) {
      started.answer = encodeErrorResponse(parsed.error().toRPCError(), started.id);
      return started;
    }
    auto routed = handler.route(std::move(parsed).value());
    if (auto* outcome = std::get_if<SDKOutcome>(&routed))
      started.answer = answerOf(started.id, *outcome);
    else
      started.waiting.emplace(std::get<boost::asio::awaitable<SDKOutcome>>(std::move(routed)));
  } catch (...) {
    started.waiting.reset();
    started.answer = encodeErrorResponse(unexpectedFailure(), started.id);
  }
  return started;
}

// The rest of a request whose case waits, run on the request's own strand. The client is
// kept alive until the response is written.
boost::asio::awaitable<std::string> finish(std::shared_ptr<LMRPCClient> self,
                                           boost::asio::awaitable<SDKOutcome> waiting,
                                           std::optional<AnyCodable> id) {
  std::optional<SDKOutcome> outcome;
  try {
    outcome.emplace(co_await std::move(waiting));
  } catch (...) {
  }
  self.reset();
  co_return answerOf(id, outcome);
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
  auto started = start(*self->handler_, text);
  std::string().swap(text);  // the text is read; a long wait should not keep it
  if (!started.waiting) co_return std::move(*started.answer);
  auto rest = finish(std::move(self), std::move(*started.waiting), std::move(started.id));
  co_return co_await std::move(rest);
}

boost::asio::awaitable<std::string> LMRPCClient::execute(std::string jsonRequest) {
  // Each waiting request runs on a strand of its own: concurrent with every other
  // request, but its own completions (SDK answer, timer, cancellation) never overlap.
  auto pool = Runtime::shared().pool();
  if (!pool.running_in_this_thread()) {
    auto hop = boost::asio::co_spawn(boost::asio::make_strand(pool),
                                     respond(shared_from_this(), std::move(jsonRequest)),
                                     boost::asio::use_awaitable);
    co_return co_await std::move(hop);
  }
  // Already on the pool: a request whose case answers at once is answered right here.
  auto started = start(*handler_, jsonRequest);
  std::string().swap(jsonRequest);
  if (!started.waiting) co_return std::move(*started.answer);
  auto rest = boost::asio::co_spawn(
      boost::asio::make_strand(pool),
      finish(shared_from_this(), std::move(*started.waiting), std::move(started.id)),
      boost::asio::use_awaitable);
  co_return co_await std::move(rest);
}

void LMRPCClient::executeWithJsonRequest(std::string jsonRequest, Completion completion) noexcept {
  run(std::move(jsonRequest), std::move(completion));
}

// A named job rather than a lambda, so that when posting fails the completion is still
// here to be answered.
struct LMRPCClient::RunJob {
  std::shared_ptr<LMRPCClient> client;
  std::string text;
  Completion deliver;
  void operator()() { runHere(std::move(client), std::move(text), std::move(deliver)); }
};

namespace {

void deliverSafely(const LMRPCClient::Completion& deliver, std::string text) noexcept {
  try {
    if (deliver) deliver(std::move(text));
  } catch (...) {
  }
}

}  // namespace

void LMRPCClient::run(std::string jsonRequest, Completion deliver) noexcept {
  RunJob job{shared_from_this(), std::move(jsonRequest), std::move(deliver)};
  try {
    boost::asio::post(Runtime::shared().pool(), std::move(job));
  } catch (...) {
    deliverSafely(job.deliver, encodeErrorResponse(unexpectedFailure(), std::nullopt));
  }
}

void LMRPCClient::runHere(std::shared_ptr<LMRPCClient> self, std::string jsonRequest,
                          Completion deliver) noexcept {
  auto started = start(*self->handler_, jsonRequest);
  std::string().swap(jsonRequest);
  if (!started.waiting) return deliverSafely(deliver, std::move(*started.answer));
  try {
    auto rest = finish(std::move(self), std::move(*started.waiting), std::move(started.id));
    auto strand = boost::asio::make_strand(Runtime::shared().pool());
    boost::asio::co_spawn(strand, std::move(rest),
                          [deliver = std::move(deliver)](std::exception_ptr failure, std::string text) {
                            if (failure) text = encodeErrorResponse(unexpectedFailure(), std::nullopt);
                            deliverSafely(deliver, std::move(text));
                          });
  } catch (...) {
    deliverSafely(deliver, encodeErrorResponse(unexpectedFailure(), std::nullopt));
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
