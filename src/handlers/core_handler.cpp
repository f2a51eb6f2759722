#include "handlers/core_handler.h"

#include "handlers/handler_support.h"
#include "parsing/lookup_tables.h"
#include "supervision/sdk_wait.h"

namespace lumetra_rpc {

namespace {

struct CoreContext {
  std::shared_ptr<LMRPCCoreSDK> sdk;
  TimeoutConfig timeouts;
};

SDKOutcome apply(const CoreContext& ctx, LMRPCInitRequest request) {
  ctx.sdk->setLumetraDevKey(request.devKey);
  ctx.sdk->setAppleAppID(request.appId);
  return SDKSuccess{"SDK initialized successfully", std::nullopt};
}

RoutedOutcome apply(const CoreContext& ctx, LMRPCStartRequest request) {
  if (!request.awaitResponse) {
    ctx.sdk->start([](std::optional<AnyKeyMap>, std::optional<SDKError>) {});
    return asRouted(SDKSuccess{"SDK start completed", std::nullopt});
  }
  SDKOperation operation = [sdk = ctx.sdk](SDKCompletion completion) { sdk->start(std::move(completion)); };
  return asRouted(SDKRace{ctx.timeouts.start, "start", std::move(operation), std::nullopt});
}

JSONObject eventSummary(const LMRPCLogEventRequest& request) {
  JSONObject summary{{"eventName", request.eventName}};
  if (request.eventValues) summary.emplace("eventValues", *request.eventValues);
  return summary;
}

// The SDK's answer may echo the event; the request's own name and values win.
// A waited-for event answers with the SDK's data, and the summary over it.
RoutedOutcome apply(const CoreContext& ctx, LMRPCLogEventRequest request) {
  JSONObject summary = eventSummary(request);
  if (!request.awaitResponse) {
    ctx.sdk->logEvent(request.eventName, request.eventValues);
    return asRouted(SDKSuccess{"Event logged", std::move(summary)});
  }
  SDKOperation operation = [sdk = ctx.sdk, name = std::move(request.eventName),
                            values = std::move(request.eventValues)](SDKCompletion completion) {
    sdk->logEvent(name, values, std::move(completion));
  };
  return asRouted(SDKRace{ctx.timeouts.logEvent, "logEvent", std::move(operation), std::move(summary)});
}

SDKOutcome apply(const CoreContext& ctx, LMRPCSetPluginInfoRequest request) {
  const auto& table = pluginTypes();
  auto found = table.find(request.plugin);
  if (found == table.end()) {
    return SDKFailure::ofType("Invalid plugin type: " + request.plugin, error_type::kValidation);
  }
  ctx.sdk->setPluginInfo(found->second, request.pluginVersion, request.additionalParams);
  JSONObject data{{"plugin", request.plugin}, {"pluginVersion", request.pluginVersion}};
  return SDKSuccess{"Plugin info set", std::move(data)};
}

}  // namespace

RoutedOutcome LMRPCCoreHandler::handle(LMRPCCoreRequest request) const {
  CoreContext ctx{sdk_, timeoutConfig_};
  auto visitCase = [ctx](auto&& record) { return apply(ctx, std::move(record)); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
