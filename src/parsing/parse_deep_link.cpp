// Deep-link methods with more than one getter or a rule of their own.

#include "parsing/parse_functions.h"

namespace lumetra_rpc {
namespace {

// Absent is missing; everything else that is not a non-empty map of strings to strings
// (null, an array, a number among the values, no entries) gets one message.
ClientResult<StringDictionary> stringDictionary(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return fail(LMRPCClientError::missingParameter(std::string(name)));
  auto invalid = [&] {
    return fail(LMRPCClientError::validationError(
        std::string(name) + " must be a non-empty dictionary of string keys and string values"));
  };
  const auto* object = value->getIf<JSONObject>();
  if (object == nullptr || object->empty()) return invalid();
  StringDictionary dictionary;
  for (const auto& [key, entry] : *object) {
    const auto* text = entry.getIf<std::string>();
    if (text == nullptr) return invalid();
    dictionary.emplace(key, *text);
  }
  return dictionary;
}

}  // namespace

ParseResult parseAppendParametersToDeeplinkURL(const JSONObject& params) {
  ParamReader in(params);
  LMRPCAppendParametersToDeeplinkURLRequest record;
  record.containsString = in.read(requiredStrictString, "containsString");
  record.parameters = in.read(stringDictionary, "params");
  return in.finish(std::move(record));
}

ParseResult parseSetFacebookDeferredAppLink(const JSONObject& params) {
  // The text is checked as a URL only when the handler uses it.
  return LMRPCParsedRequest(LMRPCSetFacebookDeferredAppLinkRequest{optionalString(params, "url")});
}

ClientResult<URLOpenRequestImpl> parseURLOpen(const JSONObject& params) {
  ClientResult<URLValue> url = requiredURL(params, "url");
  if (!url) return fail(std::move(url).error());
  return URLOpenRequestImpl{std::move(url).value(), optionalDictionary(params, "options")};
}

ParseResult parseContinueUserActivity(const JSONObject& params) {
  ParamReader in(params);
  LMRPCContinueUserActivityRequest record;
  record.url = in.read(requiredURL, "url");
  record.activityType =
      optionalString(params, "activityType").value_or(std::string(kWebBrowsingActivityType));
  return in.finish(std::move(record));
}

}  // namespace lumetra_rpc
