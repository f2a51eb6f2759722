#include "handlers/data_handler.h"

#include "handlers/handler_support.h"

namespace lumetra_rpc {

namespace {

using SDK = LMRPCDataSDK;

SDKOutcome apply(SDK& sdk, const LMRPCSetUserEmailsRequest& r) {
  sdk.setUserEmails(r.emails, r.cryptType);
  return SDKSuccess{"userEmails set", std::nullopt};
}

// The SDK takes the longitude first, unlike the usual latitude-first order.
SDKOutcome apply(SDK& sdk, const LMRPCLogLocationRequest& r) {
  sdk.logLocation(r.longitude, r.latitude);
  return SDKSuccess{"Location logged", std::nullopt};
}

SDKOutcome apply(SDK& sdk, const LMRPCGetLumetraUIDRequest&) {
  return SDKSuccess{"LumetraUID retrieved", JSONObject{{"uid", sdk.getLumetraUID()}}};
}

SDKOutcome apply(SDK& sdk, const LMRPCGetSDKVersionRequest&) {
  return SDKSuccess{"SDK version retrieved", JSONObject{{"version", sdk.getSDKVersion()}}};
}

}  // namespace

RoutedOutcome LMRPCDataHandler::handle(LMRPCDataRequest request) const {
  auto visitCase = [sdk = sdk_](auto&& record) { return apply(*sdk, record); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
