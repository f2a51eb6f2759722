#include "handlers/core_handler.h"

#include "handlers/handler_support.h"
#include "parsing/lookup_tables.h"
#include "supervision/completion_timeout.h"

namespace lumetra_rpc {

namespace {

using boost::asio::awaitable;

struct CoreContext {
  std::shared_ptr<LMRPCCoreSDK> sdk;
  TimeoutConfig timeouts;
};

SDKOutcome apply(const CoreContext& ctx, LMRPCInitRequest request) {
  ctx.sdk->setLumetraDevKey(request.devKey);
  ctx.sdk->setAppleAppID(request.appId);
  return SDKSuccess{"SDK initialized successfully", std::nullopt};
}

awaitable<SDKOutcome> apply(CoreContext ctx, LMRPCStartRequest request) {
  if (!request.awaitResponse) {
    ctx.sdk->start([](std::optional<AnyKeyMap>, std::optional<SDKError>) {});
    co_return SDKSuccess{"SDK start completed", std::nullopt};
  }
  SDKOperation operation = [sdk = ctx.sdk](SDKCompletion completion) { sdk->start(std::move(completion)); };
  co_return co_await withSDKCompletionTimeout(ctx.timeouts.start, "start", std::move(operation));
}

JSONObject eventSummary(const LMRPCLogEventRequest& request) {
  JSONObject summary{{"eventName", request.eventName}};
  if (request.eventValues) summary.emplace("eventValues", *request.eventValues);
  return summary;
}

// The SDK's answer may echo the event; the request's own name and values win.
SDKOutcome mergeSummary(SDKOutcome outcome, const JSONObject& summary) {
  auto* success = std::get_if<SDKSuccess>(&outcome);
  if (success == nullptr) return outcome;
  JSONObject merged = success->data.value_or(JSONObject{});
  for (const auto& [key, value] : summary) merged.insert_or_assign(key, value);
  success->data = std::move(merged);
  return outcome;
}

awaitable<SDKOutcome> apply(CoreContext ctx, LMRPCLogEventRequest request) {
  JSONObject summary = eventSummary(request);
  if (!request.awaitResponse) {
    ctx.sdk->logEvent(request.eventName, request.eventValues);
    co_return SDKSuccess{"Event logged", std::move(summary)};
  }
  SDKOperation operation = [sdk = ctx.sdk, name = request.eventName,
                            values = request.eventValues](SDKCompletion completion) {
    sdk->logEvent(name, values, std::move(completion));
  };
  SDKOutcome outcome =
      co_await withSDKCompletionTimeout(ctx.timeouts.logEvent, "logEvent", std::move(operation));
  co_return mergeSummary(std::move(outcome), summary);
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
