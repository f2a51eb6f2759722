#pragma once
// Owns the router (and through it every handler) and the state actor; routes parsed
// requests once any pending emitter installation has finished; and is the object the SDK
// calls back as its conversion and deep-link delegate, turning callbacks into events.
// Created fully wired by `create`; the router is never replaced after that.

#include <memory>
#include <mutex>
#include <optional>

#include <boost/asio/awaitable.hpp>

#include "parsing/parsed_request.h"
#include "pipeline/state_actor.h"
#include "sdk/sdk_types.h"
#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"
#include "supervision/timeout_config.h"
#include "wire/records.h"

namespace lumetra_rpc {

class LMRPCHandlerRouter;
class LMRPCSDKCapabilities;

class LMRPCRequestHandler : public LumetraLibDelegate,
                            public LumetraDeepLinkDelegate,
                            public std::enable_shared_from_this<LMRPCRequestHandler> {
 public:
  static std::shared_ptr<LMRPCRequestHandler> create(
      TimeoutConfig timeouts, std::shared_ptr<LMRPCSDKCapabilities> sdk,
      std::optional<EventEmitterFunction> eventEmitter = std::nullopt);

  void setEventEmitter(EventEmitterFunction emitter);

  // The case's outcome alone, for a caller that builds the response itself (the client,
  // which so answers most requests without any coroutine frame or executor hop). Not a
  // coroutine; a waiting case may throw when awaited, see responseOf.
  RoutedOutcome route(LMRPCParsedRequest request);

  const std::shared_ptr<LMRPCHandlerStateActor>& stateActor() const noexcept { return stateActor_; }

  void onConversionDataSuccess(const AnyKeyMap& conversionInfo) noexcept override;
  void onConversionDataFail(const SDKError& error) noexcept override;
  void onAppOpenAttribution(const AnyKeyMap& attributionData) noexcept override;
  void onAppOpenAttributionFailure(const SDKError& error) noexcept override;
  void didResolveDeepLink(const LumetraDeepLinkResult& result) noexcept override;

  explicit LMRPCRequestHandler(std::shared_ptr<LMRPCHandlerStateActor> stateActor);

 private:
  // Builds the event data on the SDK's thread and hands emission to a task of its own; the
  // SDK never waits for the host and never sees a failure.
  template <typename BuildData>
  void emit(ListenerGate gate, const char* eventName, BuildData buildData) const noexcept {
    try {
      post(gate, eventName, buildData());
    } catch (...) {
    }
  }
  void post(ListenerGate gate, const char* eventName, JSONObject data) const;

  std::shared_ptr<const LMRPCHandlerRouter> router_;
  std::shared_ptr<LMRPCHandlerStateActor> stateActor_;
};

}  // namespace lumetra_rpc
