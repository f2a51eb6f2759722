#pragma once
// One request from text to text, in the two steps the client's entry points share.
// Decoding, parsing and starting the case happen outside any coroutine: a request whose
// case answers at once is written right there and never suspends, and a request waiting
// on the SDK keeps neither its envelope nor its parsed form alive. Only a waiting case
// has a rest to run, on a strand of its own.

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include "lumetra_rpc/client.h"
#include "pipeline/client_internals.h"
#include "runtime/host_call.h"
#include "runtime/runtime_core.h"
#include "supervision/outcome.h"
#include "wire/any_codable.h"

namespace lumetra_rpc {

class LMRPCRequestHandler;

// Either the answer, or the case's wait and the id its answer will carry.
struct Started {
  std::optional<std::string> answer;
  std::optional<boost::asio::awaitable<SDKOutcome>> waiting;
  std::optional<AnyCodable> id;
};

Started startRequest(LMRPCRequestHandler& handler, std::string_view text) noexcept;

// The rest of a waiting request; keeps the client alive until the response is written.
boost::asio::awaitable<std::string> finishRequest(std::shared_ptr<LMRPCClient> client,
                                                  boost::asio::awaitable<SDKOutcome> waiting,
                                                  std::optional<AnyCodable> id);

// Texts of this many UTF-8 bytes or more are refused before anything reads them.
inline constexpr std::size_t kMaxRequestBytes = 1'048'576;
std::string oversizedRequestText() noexcept;

// The 500 error response with no id.
std::string unexpectedFailureText() noexcept;

// Runs the rest of a waiting request on a strand of its own: concurrent with every other
// request, but its own completions (SDK answer, timer, cancellation) never overlap. The
// token says how the response text comes back (a callback, or an awaitable).
template <typename Token>
auto spawnRest(std::shared_ptr<LMRPCClient> client, Started started, Token&& token) {
  auto rest = finishRequest(std::move(client), std::move(*started.waiting), std::move(started.id));
  auto strand = boost::asio::make_strand(runningCore().pool());
  return boost::asio::co_spawn(strand, std::move(rest), std::forward<Token>(token));
}

template <typename Deliver>
void deliverSafely(Deliver& deliver, std::string text) noexcept {
  callForeign([&] { deliver(std::move(text)); });
}

// The job that runs one request on a pool thread and hands its response text to
// `deliver` exactly once. A named type rather than a lambda, so that when posting it
// fails the completion is still here to be answered.
template <typename Deliver>
struct RequestJob {
  std::shared_ptr<LMRPCClient> client;
  std::string text;
  Deliver deliver;

  void operator()() noexcept {
    auto started = startRequest(*ClientInternals::handler(*client), text);
    std::string().swap(text);
    if (!started.waiting) return deliverSafely(deliver, std::move(*started.answer));
    try {
      spawnRest(std::move(client), std::move(started),
                [deliver = std::move(deliver)](std::exception_ptr failure, std::string answer) mutable {
                  deliverSafely(deliver, failure ? unexpectedFailureText() : std::move(answer));
                });
    } catch (...) {
      deliverSafely(deliver, unexpectedFailureText());
    }
  }
};

// Runs the request on the pool; `deliver(text)` is called exactly once, on a pool thread.
// The deliverer is stored inline in the pool's job, so a request costs no allocation of
// its own for it.
template <typename Deliver>
void runRequest(std::shared_ptr<LMRPCClient> client, std::string text, Deliver deliver) noexcept {
  RequestJob<Deliver> job{std::move(client), std::move(text), std::move(deliver)};
  try {
    boost::asio::post(runningCore().pool(), std::move(job));
  } catch (...) {
    deliverSafely(job.deliver, unexpectedFailureText());
  }
}

}  // namespace lumetra_rpc
