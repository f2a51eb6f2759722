// Core methods and the configuration methods that need more than one getter.

#include "parsing/lookup_tables.h"
#include "parsing/parse_functions.h"

namespace lumetra_rpc {
namespace {

using Error = LMRPCClientError;

// The stored name is the lower-cased one; the message quotes the text as received.
ClientResult<std::string> pluginName(const JSONObject& params, std::string_view name) {
  ClientResult<std::string> plugin = requiredStrictString(params, name);
  if (!plugin) return plugin;
  std::string lower = lowercased(*plugin);
  if (!pluginTypes().contains(lower)) {
    return fail(Error::validationError("Invalid plugin type: '" + *plugin +
                                       "'. Valid options: " + validOptions(pluginTypes())));
  }
  return lower;
}

// urls and domains: a wrong kind counts as missing; only an empty list gets its own words.
ClientResult<StringList> nonEmptyStringList(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  std::optional<StringList> list = value == nullptr ? std::nullopt : stringListValue(*value);
  if (!list) return fail(Error::missingParameter(std::string(name)));
  if (list->empty()) {
    return fail(Error::validationError(std::string(name) + " must be a non-empty array of strings"));
  }
  return std::move(*list);
}

ClientResult<std::optional<StringList>> sharingFilter(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr || value->isNull()) return std::optional<StringList>();
  std::optional<StringList> list = stringListValue(*value);
  if (!list) return fail(Error::validationError("partners must be an array of strings or null"));
  return list;
}

}  // namespace

ParseResult parseInit(const JSONObject& params) {
  ParamReader in(params);
  LMRPCInitRequest record;
  record.devKey = in.read(requiredStrictString, "devKey");
  record.appId = in.read(requiredStrictString, "appId");
  return in.finish(std::move(record));
}

ParseResult parseStart(const JSONObject& params) {
  return LMRPCParsedRequest(LMRPCStartRequest{optionalBool(params, "awaitResponse", true)});
}

ParseResult parseLogEvent(const JSONObject& params) {
  ParamReader in(params);
  LMRPCLogEventRequest record;
  record.eventName = in.read(requiredStrictString, "eventName");
  record.awaitResponse = optionalBool(params, "awaitResponse", true);
  record.eventValues = optionalDictionary(params, "eventValues");
  return in.finish(std::move(record));
}

ParseResult parseSetPluginInfo(const JSONObject& params) {
  ParamReader in(params);
  LMRPCSetPluginInfoRequest record;
  record.plugin = in.read(pluginName, "plugin");
  record.pluginVersion = in.read(requiredStrictString, "pluginVersion");
  record.additionalParams = optionalDictionary(params, "additionalParams");
  return in.finish(std::move(record));
}

ParseResult parseSetResolveDeepLinkURLs(const JSONObject& params) {
  return parseOne<LMRPCSetResolveDeepLinkURLsRequest, nonEmptyStringList, "urls">(params);
}

ParseResult parseSetHoplineCustomDomains(const JSONObject& params) {
  return parseOne<LMRPCSetHoplineCustomDomainsRequest, nonEmptyStringList, "domains">(params);
}

ParseResult parseSetHost(const JSONObject& params) {
  ParamReader in(params);
  LMRPCSetHostRequest record;
  record.host = in.read(requiredStrictString, "host");
  record.hostPrefix = in.read(requiredStrictString, "hostPrefix");
  return in.finish(std::move(record));
}

ParseResult parseSetSharingFilterForPartners(const JSONObject& params) {
  return parseOne<LMRPCSetSharingFilterForPartnersRequest, sharingFilter, "partners">(params);
}

ParseResult parseSetPartnerData(const JSONObject& params) {
  ParamReader in(params);
  LMRPCSetPartnerDataRequest record;
  record.partnerId = in.read(requiredStrictString, "partnerId");
  record.partnerInfo = in.read(requiredStrictObject, "partnerInfo");
  return in.finish(std::move(record));
}

}  // namespace lumetra_rpc
