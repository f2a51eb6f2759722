#pragma once
// One request from text to text, in the two steps the client's entry points share.
// Decoding, parsing and starting the case happen outside any coroutine: a request whose
// case answers at once is written right there and never suspends, and a request waiting
// on the SDK keeps neither its envelope nor its parsed form alive. Only a waiting case
// has a rest to run: its own frame, spawned on the pool.

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>

#include "lumetra_rpc/client.h"
#include "pipeline/client_internals.h"
#include "pipeline/text_encoding.h"
#include "runtime/host_call.h"
#include "runtime/runtime_core.h"
#include "supervision/outcome.h"
#include "wire/any_codable.h"

namespace lumetra_rpc {

class LMRPCRequestHandler;

// Either the answer, or the case's wait, the id its answer will carry and the memory it
// will be written into.
struct Started {
  std::optional<std::string> answer;
  std::optional<boost::asio::awaitable<SDKOutcome>> waiting;
  std::optional<AnyCodable> id;
  std::string buffer;
};

// The request's text is read, then its memory holds the answer (see text_encoding.h).
Started startRequest(LMRPCRequestHandler& handler, std::string text) noexcept;

// The response text for a case's outcome; an absent outcome means the case threw.
std::string answerOf(const std::optional<AnyCodable>& id, const std::optional<SDKOutcome>& outcome,
                     std::string buffer = {}) noexcept;

// Texts of this many UTF-8 bytes or more are refused before anything reads them.
inline constexpr std::size_t kMaxRequestBytes = 1'048'576;
std::string oversizedRequestText() noexcept;

// The 500 error response with no id.
std::string unexpectedFailureText() noexcept;

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
    auto started = startRequest(*ClientInternals::handler(*client), std::move(text));
    if (!started.waiting) return deliverSafely(deliver, std::move(*started.answer));
    try {
      wait(std::move(started));
    } catch (...) {
      deliverSafely(deliver, unexpectedFailureText());
    }
  }

  // The case's wait runs on the pool as it is, with no frame or strand of ours around it:
  // its resumptions follow one another, so nothing of it ever runs twice at once. The
  // client lives until the answer is written.
  void wait(Started started) {
    auto& waiting = *started.waiting;
    boost::asio::co_spawn(
        runningCore().pool(), std::move(waiting),
        [client = std::move(client), id = std::move(started.id), buffer = std::move(started.buffer),
         deliver = std::move(deliver)](std::exception_ptr failure, SDKOutcome outcome) mutable {
          std::optional<SDKOutcome> reached;
          if (!failure) reached.emplace(std::move(outcome));
          deliverSafely(deliver, answerOf(id, reached, std::move(buffer)));
          client.reset();
        });
  }
};

// Runs the request on the pool; `deliver(text)` is called exactly once, on a pool thread.
// The deliverer is stored inline in the pool's job, so a request costs no allocation of
// its own for it.
template <typename Deliver>
void runRequest(std::shared_ptr<LMRPCClient> client, std::string text, Deliver deliver) noexcept {
  // The answer is written into the request's memory, made large enough here, on the
  // sending thread: memory taken on one thread and freed on another is what makes the
  // allocator lock, and the host frees the answer on the thread it sends from.
  try {
    text.reserve(kUsualAnswerBytes);
  } catch (...) {
    // The answer then takes memory of its own.
  }
  RequestJob<Deliver> job{std::move(client), std::move(text), std::move(deliver)};
  try {
    boost::asio::post(runningCore().pool(), std::move(job));
  } catch (...) {
    deliverSafely(job.deliver, unexpectedFailureText());
  }
}

}  // namespace lumetra_rpc
