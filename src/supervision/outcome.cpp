#include "supervision/outcome.h"

namespace lumetra_rpc {
namespace {

JSONObject shapeSuccess(const SDKSuccess& success) {
  JSONObject result{{"success", true}, {"message", success.message}};
  // An empty data object is still data: it is written as {}, not left out.
  if (success.data) result.emplace("data", *success.data);
  return result;
}

JSONObject shapeFailure(const SDKFailure& failure) {
  JSONObject result{{"success", false}, {"message", failure.message}};
  if (failure.error) result.emplace("error", *failure.error);
  if (failure.errorType) result.emplace("errorType", *failure.errorType);
  if (failure.errorCode) result.emplace("errorCode", *failure.errorCode);
  return result;
}

}  // namespace

JSONObject shapeResult(const SDKOutcome& outcome) {
  if (const auto* success = std::get_if<SDKSuccess>(&outcome)) return shapeSuccess(*success);
  return shapeFailure(std::get<SDKFailure>(outcome));
}

}  // namespace lumetra_rpc
