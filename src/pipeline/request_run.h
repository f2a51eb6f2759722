#pragma once
// One request from text to text, in the two steps the client's entry points share.
// Decoding, parsing and starting the case happen outside any coroutine: a request whose
// case answers at once is written right there and never suspends, and a request waiting
// on the SDK keeps neither its envelope nor its parsed form alive, only the description
// of its wait.

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <boost/asio/post.hpp>

#include "lumetra_rpc/client.h"
#include "pipeline/client_internals.h"
#include "pipeline/request_answer.h"
#include "pipeline/request_wait.h"
#include "pipeline/text_encoding.h"
#include "runtime/runtime_core.h"
#include "supervision/sdk_wait.h"
#include "wire/any_codable.h"

namespace lumetra_rpc {

class LMRPCRequestHandler;

// Either the answer, or the case's wait, the id its answer will carry and the memory it
// will be written into.
struct Started {
  std::optional<std::string> answer;
  std::optional<SDKWait> waiting;
  std::optional<AnyCodable> id;
  std::string buffer;
};

// The request's text is read, then its memory holds the answer (see text_encoding.h).
Started startRequest(LMRPCRequestHandler& handler, std::string text) noexcept;

// Texts of this many UTF-8 bytes or more are refused before anything reads them.
inline constexpr std::size_t kMaxRequestBytes = 1'048'576;
std::string oversizedRequestText() noexcept;

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
    startWait(std::move(*started.waiting),
              RequestEnd<Deliver>{std::move(client), std::move(started.id), std::move(started.buffer),
                                  std::move(deliver)});
  }
};

// Runs the request on the pool; `deliver(text)` is called exactly once, on a pool thread,
// or on the main executor for a deliverer that hands its answer there anyway. The
// deliverer is stored inline in the pool's job, so a request costs no allocation of its
// own for it.
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
