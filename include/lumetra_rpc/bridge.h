#pragma once
// LumetraRPCBridge is what a plugin host talks to: hand in one request text, get exactly
// one response text back through the completion, on the main executor; receive event texts
// through the event handler, also on the main executor. `shared()` is created on first
// use, safely under concurrent first use, and lives until the process ends.
//
// Every member may be called from any thread and never throws. Callbacks into the host
// are shielded: an exception escaping a host callback is swallowed, never propagated.

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "lumetra_rpc/client.h"

namespace lumetra_rpc {

class LMRPC_API LumetraRPCBridge : public std::enable_shared_from_this<LumetraRPCBridge> {
 public:
  using TextHandler = std::function<void(std::string text)>;

  static std::shared_ptr<LumetraRPCBridge> shared();
  // Chooses, before first use of shared(), the timeouts and SDK its client is built with
  // (the command-line host, or an embedder bringing its own SDK binding). Returns false
  // and changes nothing once shared() exists.
  static bool configureShared(TimeoutConfig timeouts, std::shared_ptr<LMRPCSDKCapabilities> sdk);
  // A facade with a client of its own, independent of shared().
  static std::shared_ptr<LumetraRPCBridge> create();
  // A facade that uses exactly `client`; an absent client answers every request with
  // 500 "RPC client not initialized", synchronously on the caller's thread.
  static std::shared_ptr<LumetraRPCBridge> create(std::shared_ptr<LMRPCClient> client);

  void executeJson(std::string jsonRequest, TextHandler completion) noexcept;
  void setEventHandler(TextHandler handler) noexcept;
  void removeEventHandler() noexcept;

  // Delivers an event text to the current handler on the main executor; used as the host
  // emitter of a client. Dropped if the facade is gone or no handler is set at delivery.
  static LMRPCClient::EventEmitter eventRelay(std::weak_ptr<LumetraRPCBridge> bridge);

  const std::shared_ptr<LMRPCClient>& rpcClient() const noexcept { return rpcClient_; }

 private:
  struct PrivateTag {};

 public:
  explicit LumetraRPCBridge(PrivateTag) {}

 private:
  void deliverEvent(const std::string& text) noexcept;

  std::shared_ptr<LMRPCClient> rpcClient_;
  // Held while a delivery runs, so that a handler removed from another thread is never
  // called after removeEventHandler() returns; recursive so a handler may replace itself.
  std::recursive_mutex handlerMutex_;
  std::shared_ptr<const TextHandler> eventHandler_;
};

}  // namespace lumetra_rpc
