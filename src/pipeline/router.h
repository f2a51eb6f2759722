#pragma once
// Brings a parsed request to the handler of its category and shapes the outcome into the
// result object. The category of every request record follows from its type
// (CategoryOfT), so each of the nine routes is found by type, not by a 55-way switch.
// Immutable after construction; each route owns the handler it calls.

#include <functional>
#include <memory>
#include <tuple>

#include "parsing/parsed_request.h"
#include "supervision/routed_outcome.h"
#include "supervision/timeout_config.h"

namespace lumetra_rpc {

class LMRPCSDKCapabilities;
class LMRPCListenerHandler;

template <typename Category>
using Route = std::function<RoutedOutcome(Category&&)>;

class LMRPCHandlerRouter {
 public:
  using Routes =
      std::tuple<Route<LMRPCCoreRequest>, Route<LMRPCSimpleConfigRequest>, Route<LMRPCComplexConfigRequest>,
                 Route<LMRPCPrivacyRequest>, Route<LMRPCDeepLinkRequest>, Route<LMRPCMonetizationRequest>,
                 Route<LMRPCNotificationRequest>, Route<LMRPCDataRequest>, Route<LMRPCListenerRequest>>;

  explicit LMRPCHandlerRouter(Routes routes) : routes_(std::move(routes)) {}

  // The real router: the eight handlers over one SDK object, plus the listener handler.
  static std::shared_ptr<const LMRPCHandlerRouter> make(std::shared_ptr<LMRPCSDKCapabilities> sdk,
                                                        std::shared_ptr<LMRPCListenerHandler> listener,
                                                        TimeoutConfig timeouts);

  // Not a coroutine: the request moves straight into the handler case that runs it, so a
  // waiting request is held once, not once per layer.
  RoutedOutcome route(LMRPCParsedRequest request) const;

 private:
  Routes routes_;
};

}  // namespace lumetra_rpc
