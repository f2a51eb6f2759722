#include "lumetra_rpc/bridge.h"

#include <boost/asio/post.hpp>

#include "lumetra_rpc/runtime.h"
#include "pipeline/request_run.h"
#include "pipeline/text_encoding.h"
#include "runtime/main_deliveries.h"
#include "sdk/default_sdk.h"

namespace lumetra_rpc {
namespace {

struct SharedConfiguration {
  std::mutex mutex;
  bool created = false;
  TimeoutConfig timeouts;
  std::shared_ptr<LMRPCSDKCapabilities> sdk;
};

SharedConfiguration& sharedConfiguration() {
  static SharedConfiguration configuration;
  return configuration;
}

// Host code must never take the main executor down with it.
template <typename F>
void shielded(F&& call) noexcept {
  try {
    call();
  } catch (...) {
  }
}

}  // namespace

bool LumetraRPCBridge::configureShared(TimeoutConfig timeouts, std::shared_ptr<LMRPCSDKCapabilities> sdk) {
  auto& configuration = sharedConfiguration();
  std::lock_guard lock(configuration.mutex);
  if (configuration.created) return false;
  configuration.timeouts = timeouts;
  configuration.sdk = std::move(sdk);
  return true;
}

std::shared_ptr<LumetraRPCBridge> LumetraRPCBridge::shared() {
  static const std::shared_ptr<LumetraRPCBridge> instance = [] {
    auto& configuration = sharedConfiguration();
    std::lock_guard lock(configuration.mutex);
    configuration.created = true;
    auto bridge = std::make_shared<LumetraRPCBridge>(PrivateTag{});
    auto sdk = configuration.sdk ? configuration.sdk : makeDefaultSDK();
    bridge->rpcClient_ = LMRPCClient::create(eventRelay(bridge), configuration.timeouts, std::move(sdk));
    return bridge;
  }();
  return instance;
}

std::shared_ptr<LumetraRPCBridge> LumetraRPCBridge::create() {
  auto bridge = std::make_shared<LumetraRPCBridge>(PrivateTag{});
  bridge->rpcClient_ = LMRPCClient::create(eventRelay(bridge));
  return bridge;
}

std::shared_ptr<LumetraRPCBridge> LumetraRPCBridge::create(std::shared_ptr<LMRPCClient> client) {
  auto bridge = std::make_shared<LumetraRPCBridge>(PrivateTag{});
  bridge->rpcClient_ = std::move(client);
  return bridge;
}

void LumetraRPCBridge::executeJson(std::string jsonRequest, TextHandler completion) noexcept {
  if (!rpcClient_) {
    auto text = encodeErrorResponse(LMRPCError{500, "RPC client not initialized", {}}, std::nullopt);
    shielded([&] {
      if (completion) completion(std::move(text));
    });
    return;
  }
  runRequest(rpcClient_, std::move(jsonRequest),
             [completion = std::move(completion)](std::string text) mutable {
               MainDeliveries::shared()->deliver(std::move(completion), std::move(text));
             });
}

void LumetraRPCBridge::setEventHandler(TextHandler handler) noexcept {
  shielded([&] {
    auto shared = std::make_shared<const TextHandler>(std::move(handler));
    std::lock_guard lock(handlerMutex_);
    eventHandler_ = std::move(shared);
  });
}

void LumetraRPCBridge::removeEventHandler() noexcept {
  shielded([&] {
    std::lock_guard lock(handlerMutex_);
    eventHandler_.reset();
  });
}

LMRPCClient::EventEmitter LumetraRPCBridge::eventRelay(std::weak_ptr<LumetraRPCBridge> bridge) {
  return [bridge = std::move(bridge)](std::string text) {
    boost::asio::post(Runtime::shared().main(), [bridge, text = std::move(text)] {
      if (auto self = bridge.lock()) self->deliverEvent(text);
    });
  };
}

void LumetraRPCBridge::deliverEvent(const std::string& text) noexcept {
  shielded([&] {
    std::lock_guard lock(handlerMutex_);
    if (eventHandler_ && *eventHandler_) (*eventHandler_)(text);
  });
}

}  // namespace lumetra_rpc
