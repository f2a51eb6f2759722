// The request handler as the SDK's delegate: each callback builds its event data on the
// SDK's thread, then hands emission to a task of its own so the SDK never waits for the
// host.

#include <cstdint>

#include <boost/asio/post.hpp>

#include "lumetra_rpc/runtime.h"
#include "pipeline/json_safe_copy.h"
#include "pipeline/request_handler.h"

namespace lumetra_rpc {
namespace {

JSONObject errorData(const SDKError& error) {
  return JSONObject{{"error", error.localizedDescription}, {"code", error.code}};
}

}  // namespace

void LMRPCRequestHandler::emit(ListenerGate gate, const char* eventName, JSONObject data) const noexcept {
  try {
    boost::asio::post(Runtime::shared().pool(),
                      [actor = stateActor_, gate, eventName, data = std::move(data)]() mutable noexcept {
                        try {
                          auto emitter = actor->emitterFor(gate);
                          if (emitter && *emitter) (*emitter)(LMRPCEvent(eventName, AnyCodable(std::move(data))));
                        } catch (...) {
                          // An event that cannot be delivered is dropped, never rethrown into the pool.
                        }
                      });
  } catch (...) {
  }
}

void LMRPCRequestHandler::onConversionDataSuccess(const AnyKeyMap& conversionInfo) noexcept {
  try {
    emit(ListenerGate::conversion, "onConversionDataSuccess", jsonSafeObject(conversionInfo));
  } catch (...) {
  }
}

void LMRPCRequestHandler::onConversionDataFail(const SDKError& error) noexcept {
  try {
    emit(ListenerGate::conversion, "onConversionDataFail", errorData(error));
  } catch (...) {
  }
}

void LMRPCRequestHandler::onAppOpenAttribution(const AnyKeyMap& attributionData) noexcept {
  try {
    emit(ListenerGate::conversion, "onAppOpenAttribution", jsonSafeObject(attributionData));
  } catch (...) {
  }
}

void LMRPCRequestHandler::onAppOpenAttributionFailure(const SDKError& error) noexcept {
  try {
    emit(ListenerGate::conversion, "onAppOpenAttributionFailure", errorData(error));
  } catch (...) {
  }
}

void LMRPCRequestHandler::didResolveDeepLink(const LumetraDeepLinkResult& result) noexcept {
  try {
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
    emit(ListenerGate::deepLink, "onDeepLinkReceived", std::move(data));
  } catch (...) {
  }
}

}  // namespace lumetra_rpc
