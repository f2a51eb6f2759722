// Privacy methods with more than one getter; enableTCFDataCollection reads one boolean.

#include "parsing/parse_functions.h"

namespace lumetra_rpc {
namespace {

constexpr double kDefaultATTTimeoutSeconds = 60.0;

ClientResult<double> attTimeout(const JSONObject& params, std::string_view name) {
  // Only an absent key takes the default; a present null must be reported.
  if (findParam(params, name) == nullptr) return kDefaultATTTimeoutSeconds;
  return requiredNumber(params, name);
}

LMRPCClientError requiredUnderGDPR(std::string_view flag) {
  return LMRPCClientError::validationError(std::string(flag) +
                                           " is required when isUserSubjectToGDPR is true");
}

}  // namespace

ParseResult parseWaitForATT(const JSONObject& params) {
  return parseOne<LMRPCWaitForATTRequest, attTimeout, "timeout">(params);
}

ParseResult parseSetConsentData(const JSONObject& params) {
  ParamReader in(params);
  LMRPCSetConsentDataRequest record;
  record.isUserSubjectToGDPR = in.read(requiredBool, "isUserSubjectToGDPR");
  record.hasConsentForDataUsage = optionalNullableBool(params, "hasConsentForDataUsage");
  record.hasConsentForAdsPersonalization = optionalNullableBool(params, "hasConsentForAdsPersonalization");
  record.hasConsentForAdStorage = optionalNullableBool(params, "hasConsentForAdStorage");
  // Ad storage consent stays optional even under GDPR.
  if (record.isUserSubjectToGDPR && !record.hasConsentForDataUsage)
    in.fail(requiredUnderGDPR("hasConsentForDataUsage"));
  if (record.isUserSubjectToGDPR && !record.hasConsentForAdsPersonalization)
    in.fail(requiredUnderGDPR("hasConsentForAdsPersonalization"));
  return in.finish(std::move(record));
}

}  // namespace lumetra_rpc
