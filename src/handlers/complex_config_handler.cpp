#include "handlers/complex_config_handler.h"

#include <string>

#include "handlers/handler_support.h"

namespace lumetra_rpc {

namespace {

using SDK = LMRPCComplexConfigSDK;

SDKOutcome success(OutcomeMessage message) {
  return SDKSuccess{std::move(message), std::nullopt};
}

SDKOutcome apply(SDK& sdk, const LMRPCSetResolveDeepLinkURLsRequest& r) {
  sdk.setResolveDeepLinkURLs(r.urls);
  return success("resolveDeepLinkURLs set with " + std::to_string(r.urls.size()) + " URL(s)");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetHoplineCustomDomainsRequest& r) {
  sdk.setHoplineCustomDomains(r.domains);
  return success("hoplineCustomDomains set with " + std::to_string(r.domains.size()) + " domain(s)");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetHostRequest& r) {
  sdk.setHost(r.host, r.hostPrefix);
  return success("Host set to " + r.hostPrefix + "." + r.host);
}

// Both counts arrive non-negative from validation, so the unsigned conversion is exact.
SDKOutcome apply(SDK& sdk, const LMRPCSetMinTimeBetweenSessionsRequest& r) {
  sdk.setMinTimeBetweenSessions(static_cast<std::uint64_t>(r.seconds));
  return success("minTimeBetweenSessions set to " + std::to_string(r.seconds) + "s");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetDeepLinkTimeoutRequest& r) {
  sdk.setDeepLinkTimeout(static_cast<std::uint64_t>(r.timeout));
  return success("deepLinkTimeout set to " + std::to_string(r.timeout) + "s");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetInstallIdRequest& r) {
  sdk.setInstallId(r.installId);
  return success("installId set");
}

// Only an absent list clears the filter; an empty one is a filter with no partners.
SDKOutcome apply(SDK& sdk, const LMRPCSetSharingFilterForPartnersRequest& r) {
  sdk.setSharingFilterForPartners(r.partners);
  if (!r.partners) return success("Sharing filter cleared");
  return success("Sharing filter set for " + std::to_string(r.partners->size()) + " partner(s)");
}

SDKOutcome apply(SDK& sdk, const LMRPCSetPartnerDataRequest& r) {
  sdk.setPartnerData(r.partnerId, r.partnerInfo);
  return success("Partner data set for " + r.partnerId);
}

}  // namespace

RoutedOutcome LMRPCComplexConfigHandler::handle(LMRPCComplexConfigRequest request) const {
  auto visitCase = [sdk = sdk_](auto&& record) { return apply(*sdk, record); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
