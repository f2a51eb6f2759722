#include "lumetra_rpc/client.h"

#include "lumetra_rpc/asio.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "pipeline/client_internals.h"
#include "pipeline/request_handler.h"
#include "pipeline/request_run.h"
#include "pipeline/text_encoding.h"
#include "runtime/host_call.h"
#include "runtime/runtime_core.h"
#include "sdk/capabilities.h"
#include "sdk/default_sdk.h"

namespace lumetra_rpc {

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

boost::asio::awaitable<std::string> execute(LMRPCClient& client, std::string jsonRequest) {
  auto pool = runningCore().pool();
  if (!pool.running_in_this_thread()) {
    // Awaited from elsewhere: the same steps, continued on the pool. The spawned run
    // owns the client, which its caller need only keep until this awaitable starts.
    auto hop = boost::asio::co_spawn(
        pool,
        [self = client.shared_from_this(), text = std::move(jsonRequest)]() mutable {
          return execute(*self, std::move(text));
        },
        boost::asio::use_awaitable);
    co_return co_await std::move(hop);
  }
  // On the pool: a request whose case answers at once is answered right here.
  auto started = startRequest(*ClientInternals::handler(client), std::move(jsonRequest));
  if (!started.waiting) co_return std::move(*started.answer);
  // Already on the pool in a frame of our own: the case's wait is awaited right here.
  auto keepAlive = client.shared_from_this();
  std::optional<SDKOutcome> outcome;
  try {
    auto waiting = awaitWait(std::move(*started.waiting));
    outcome.emplace(co_await std::move(waiting));
  } catch (...) {
  }
  co_return answerOf(started.id, outcome, std::move(started.buffer));
}

void LMRPCClient::executeWithJsonRequest(std::string jsonRequest, Completion completion) noexcept {
  runRequest(shared_from_this(), std::move(jsonRequest),
             [completion = std::move(completion)](std::string text) {
               callForeign([&] {
                 if (completion) completion(std::move(text));
               });
             });
}

void LMRPCClient::forwardEvent(const LMRPCEvent& event) const noexcept {
  callForeign([&] {
    auto text = encodeEvent(event);
    std::string payload = text ? std::move(text).value() : std::string(kEventFallbackText);
    if (eventEmitter_) eventEmitter_(std::move(payload));
  });
}

}  // namespace lumetra_rpc
