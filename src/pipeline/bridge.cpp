#include "lumetra_rpc/bridge.h"

#include <mutex>

#include "pipeline/configuration.h"
#include "pipeline/host_requests.h"
#include "pipeline/shutdown.h"
#include "pipeline/text_encoding.h"
#include "runtime/host_call.h"
#include "runtime/immortal.h"
#include "runtime/runtime_core.h"
#include "sdk/default_sdk.h"

namespace lumetra_rpc {

struct LumetraRPCBridge::Impl {
  std::shared_ptr<LMRPCClient> rpcClient;
  // Held while a delivery runs, so that a handler removed from another thread is never
  // called after removeEventHandler() returns; recursive so a handler may replace itself.
  std::recursive_mutex handlerMutex;
  std::shared_ptr<const TextHandler> eventHandler;

  void deliverEvent(std::string text) {
    std::lock_guard lock(handlerMutex);
    if (eventHandler && *eventHandler) (*eventHandler)(std::move(text));
  }
};

namespace {

// The host emitter of a facade's own client: each event goes through the main queue, in
// order with completions, to whatever handler is set when it gets there.
LMRPCClient::EventEmitter eventRelay(std::weak_ptr<LumetraRPCBridge::Impl> facade) {
  return [facade = std::move(facade)](std::string text) {
    runningCore().mainQueue().post([facade, text = std::move(text)]() mutable {
      if (auto impl = facade.lock()) impl->deliverEvent(std::move(text));
    });
  };
}

ConfigureResult notApplied() {
  return {ConfigureStatus::invalid, "the configuration could not be applied"};
}

std::shared_ptr<LumetraRPCBridge::Impl> makeImpl() {
  return std::make_shared<LumetraRPCBridge::Impl>();
}

}  // namespace

LumetraRPCBridge::LumetraRPCBridge(PrivateTag, std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}
LumetraRPCBridge::~LumetraRPCBridge() = default;

std::shared_ptr<LumetraRPCBridge> LumetraRPCBridge::shared() {
  // Never destroyed, like the runtime it runs on.
  static Immortal<std::shared_ptr<LumetraRPCBridge>> instance([] {
    // Starting the runtime ends the configurable phase; the settings are final from here.
    RuntimeCore::get();
    auto settings = sharedClientSettings();
    auto impl = makeImpl();
    auto sdk = settings.sdk ? settings.sdk : makeDefaultSDK();
    impl->rpcClient = LMRPCClient::create(eventRelay(impl), settings.timeouts, std::move(sdk));
    return std::make_shared<LumetraRPCBridge>(PrivateTag{}, std::move(impl));
  }());
  return instance.get();
}

std::shared_ptr<LumetraRPCBridge> LumetraRPCBridge::create() {
  auto impl = makeImpl();
  impl->rpcClient = LMRPCClient::create(eventRelay(impl));
  return std::make_shared<LumetraRPCBridge>(PrivateTag{}, std::move(impl));
}

std::shared_ptr<LumetraRPCBridge> LumetraRPCBridge::create(std::shared_ptr<LMRPCClient> client) {
  auto impl = makeImpl();
  impl->rpcClient = std::move(client);
  return std::make_shared<LumetraRPCBridge>(PrivateTag{}, std::move(impl));
}

ConfigureResult LumetraRPCBridge::configure(const LMRPCConfiguration& configuration) noexcept {
  return guarded(notApplied(), [&] { return applyConfiguration(configuration); });
}

ConfigureResult LumetraRPCBridge::configureJson(std::string_view json) noexcept {
  return guarded(notApplied(), [&]() -> ConfigureResult {
    auto configuration = readConfiguration(json);
    if (!configuration) return {ConfigureStatus::invalid, configuration.error()};
    return applyConfiguration(configuration.value());
  });
}

bool LumetraRPCBridge::shutdown(std::chrono::milliseconds timeout) noexcept {
  return guarded(false, [&] { return shutdownLibrary(timeout); });
}

bool LumetraRPCBridge::executeJson(std::string jsonRequest, TextHandler completion) noexcept {
  if (!impl_->rpcClient) {
    auto text = encodeErrorResponse(LMRPCError{500, "RPC client not initialized", {}}, std::nullopt);
    callForeign([&] {
      if (completion) completion(std::move(text));
    });
    return true;
  }
  return submitRequest(impl_->rpcClient, std::move(jsonRequest), std::move(completion));
}

const std::shared_ptr<LMRPCClient>& LumetraRPCBridge::rpcClient() const noexcept {
  return impl_->rpcClient;
}

void LumetraRPCBridge::setEventHandler(TextHandler handler) noexcept {
  guarded(false, [&] {
    auto shared = std::make_shared<const TextHandler>(std::move(handler));
    std::lock_guard lock(impl_->handlerMutex);
    impl_->eventHandler = std::move(shared);
    return true;
  });
}

void LumetraRPCBridge::removeEventHandler() noexcept {
  guarded(false, [&] {
    std::lock_guard lock(impl_->handlerMutex);
    impl_->eventHandler.reset();
    return true;
  });
}

}  // namespace lumetra_rpc
