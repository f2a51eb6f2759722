#pragma once
// LMRPCClient runs one request from text to text: size cap, envelope decoding, method
// lookup and validation, routing to the handlers, and writing the response. Every request
// yields exactly one response text and nothing throws. The client owns its request
// handler (and through it the router and handlers); events travel the other way, written
// as text and handed to the emitter the client was created with, from any thread.
//
// Create clients with `create`: the handler refers back to the client weakly, which needs
// a shared owner. Any thread may call any member. The awaitable form of execute is in
// lumetra_rpc/asio.h, for hosts that use Asio themselves.

#include <functional>
#include <memory>
#include <string>

#include "lumetra_rpc/export.h"
#include "lumetra_rpc/timeout_config.h"

namespace lumetra_rpc {

class LMRPCRequestHandler;
class LMRPCSDKCapabilities;
struct LMRPCEvent;
struct ClientInternals;

class LMRPC_API LMRPCClient : public std::enable_shared_from_this<LMRPCClient> {
 public:
  using EventEmitter = std::function<void(std::string eventText)>;
  using Completion = std::function<void(std::string responseText)>;

  // Over the built-in SDK, with the default timeouts (10, 10, 30, 10, 10 seconds).
  static std::shared_ptr<LMRPCClient> create(EventEmitter eventEmitter);
  // Over any implementation of the SDK capabilities, with the given timeouts.
  static std::shared_ptr<LMRPCClient> create(EventEmitter eventEmitter, TimeoutConfig timeouts,
                                             std::shared_ptr<LMRPCSDKCapabilities> sdk);

  LMRPCClient(const LMRPCClient&) = delete;
  LMRPCClient& operator=(const LMRPCClient&) = delete;
  ~LMRPCClient();

  // Completion form: returns at once; `completion` runs once, on a pool thread.
  void executeWithJsonRequest(std::string jsonRequest, Completion completion) noexcept;

 private:
  friend struct ClientInternals;
  struct PrivateTag {};

 public:
  LMRPCClient(PrivateTag, EventEmitter eventEmitter, TimeoutConfig timeouts,
              std::shared_ptr<LMRPCSDKCapabilities> sdk);

 private:
  void forwardEvent(const LMRPCEvent& event) const noexcept;

  std::shared_ptr<LMRPCRequestHandler> handler_;
  EventEmitter eventEmitter_;
};

}  // namespace lumetra_rpc
