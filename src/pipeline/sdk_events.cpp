// The request handler as the SDK's delegate: each callback turns its SDK data into an
// event, gated by its listener.

#include <cstdint>

#include <boost/asio/post.hpp>

#include "pipeline/json_safe_copy.h"
#include "pipeline/request_handler.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc {
namespace {

JSONObject errorData(const SDKError& error) {
  return JSONObject{{"error", error.localizedDescription}, {"code", error.code}};
}

JSONObject deepLinkData(const LumetraDeepLinkResult& result) {
  // Statuses beyond the signed range are kept as numbers rather than wrapped negative.
  constexpr auto kSignedMax = static_cast<std::uint64_t>(INT64_MAX);
  JSONObject data{{"status", result.status <= kSignedMax
                                 ? AnyCodable(static_cast<std::int64_t>(result.status))
                                 : AnyCodable(static_cast<double>(result.status))}};
  if (result.deepLink) {
    if (result.deepLink->deeplinkValue) data.emplace("deepLinkValue", *result.deepLink->deeplinkValue);
    data.emplace("clickEvent", jsonSafeObject(result.deepLink->clickEvent));
    data.emplace("isDeferred", result.deepLink->isDeferred);
  }
  if (result.error) data.emplace("error", result.error->localizedDescription);
  return data;
}

}  // namespace

void LMRPCRequestHandler::post(ListenerGate gate, const char* eventName, JSONObject data) const {
  boost::asio::post(runningCore().pool(),
                    [actor = stateActor_, gate, eventName, data = std::move(data)]() mutable noexcept {
                      try {
                        auto emitter = actor->emitterFor(gate);
                        if (emitter && *emitter)
                          (*emitter)(LMRPCEvent(eventName, AnyCodable(std::move(data))));
                      } catch (...) {
                        // An event that cannot be delivered is dropped, never rethrown into the pool.
                      }
                    });
}

void LMRPCRequestHandler::onConversionDataSuccess(const AnyKeyMap& conversionInfo) noexcept {
  emit(ListenerGate::conversion, "onConversionDataSuccess", [&] { return jsonSafeObject(conversionInfo); });
}

void LMRPCRequestHandler::onConversionDataFail(const SDKError& error) noexcept {
  emit(ListenerGate::conversion, "onConversionDataFail", [&] { return errorData(error); });
}

void LMRPCRequestHandler::onAppOpenAttribution(const AnyKeyMap& attributionData) noexcept {
  emit(ListenerGate::conversion, "onAppOpenAttribution", [&] { return jsonSafeObject(attributionData); });
}

void LMRPCRequestHandler::onAppOpenAttributionFailure(const SDKError& error) noexcept {
  emit(ListenerGate::conversion, "onAppOpenAttributionFailure", [&] { return errorData(error); });
}

void LMRPCRequestHandler::didResolveDeepLink(const LumetraDeepLinkResult& result) noexcept {
  emit(ListenerGate::deepLink, "onDeepLinkReceived", [&] { return deepLinkData(result); });
}

}  // namespace lumetra_rpc
