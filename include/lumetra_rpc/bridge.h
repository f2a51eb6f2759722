#pragma once
// LumetraRPCBridge is what a plugin host talks to: hand in one request text, get exactly
// one response text back through the completion, on the main executor; receive event
// texts through the event handler, also on the main executor. `shared()` is created on
// first use, safely under concurrent first use, and lives until the process ends.
//
// Every member may be called from any thread and never throws. Nothing a host callback
// throws escapes into the library. setEventHandler and removeEventHandler wait for a
// delivery running on another thread to return, and the old handler is never called
// afterwards: a host must not hold, while calling them, a lock its handler takes.

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "lumetra_rpc/client.h"
#include "lumetra_rpc/configuration.h"

namespace lumetra_rpc {

class LMRPC_API LumetraRPCBridge {
 public:
  using TextHandler = std::function<void(std::string text)>;

  static std::shared_ptr<LumetraRPCBridge> shared();
  // A facade with a client of its own, independent of shared().
  static std::shared_ptr<LumetraRPCBridge> create();
  // A facade that uses exactly `client`; an absent client answers every request with
  // 500 "RPC client not initialized", synchronously on the caller's thread.
  static std::shared_ptr<LumetraRPCBridge> create(std::shared_ptr<LMRPCClient> client);

  // Before first use only (alreadyRunning afterwards, and nothing changes); an invalid
  // configuration changes nothing either.
  static ConfigureResult configure(const LMRPCConfiguration& configuration) noexcept;
  // The same from a JSON object: "sdk", "timeouts", "poolThreads", "mainExecutor".
  static ConfigureResult configureJson(std::string_view json) noexcept;

  // Stops taking requests, waits up to `timeout` for those in flight, answers the rest
  // with 503 "Library is shutting down", delivers every completion, and joins the
  // library's threads (not the calling one). True when all of that finished in time.
  // No callback into the host runs after it returns. Idempotent, callable from any thread
  // and from inside a callback.
  static bool shutdown(std::chrono::milliseconds timeout) noexcept;

  // The completion runs exactly once, on the main executor; false only once the library
  // has shut down, when it never runs.
  bool executeJson(std::string jsonRequest, TextHandler completion) noexcept;
  void setEventHandler(TextHandler handler) noexcept;
  void removeEventHandler() noexcept;

  // The client behind this facade (absent for a facade made without one).
  const std::shared_ptr<LMRPCClient>& rpcClient() const noexcept;

  ~LumetraRPCBridge();
  LumetraRPCBridge(const LumetraRPCBridge&) = delete;
  LumetraRPCBridge& operator=(const LumetraRPCBridge&) = delete;

  struct Impl;

 private:
  struct PrivateTag {};

 public:
  LumetraRPCBridge(PrivateTag, std::shared_ptr<Impl> impl);

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace lumetra_rpc
