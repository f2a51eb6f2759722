// Notification and data methods with rules of their own.

#include "parsing/lookup_tables.h"
#include "parsing/parse_functions.h"
#include "wire/number_text.h"

namespace lumetra_rpc {
namespace {

using Error = LMRPCClientError;

ClientResult<Bytes> deviceToken(const JSONObject& params, std::string_view name) {
  ClientResult<std::string> text = requiredStrictString(params, name);
  if (!text) return fail(std::move(text).error());
  std::optional<Bytes> bytes = hexDecodedData(*text);
  if (!bytes) {
    return fail(Error::validationError("Invalid hex-encoded device token. Must be an even-length hex string.",
                                       JSONObject{{"parameter", std::string(name)}}));
  }
  return std::move(*bytes);
}

ClientResult<StringList> emailList(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return fail(Error::missingParameter(std::string(name)));
  std::optional<StringList> list = stringListValue(*value);
  if (!list) return fail(Error::validationError(std::string(name) + " must be an array of strings"));
  if (list->empty()) return fail(Error::validationError(std::string(name) + " must not be empty"));
  return std::move(*list);
}

// A value that is not a string, null included, counts as "none".
ClientResult<std::int64_t> emailCryptType(const JSONObject& params, std::string_view name) {
  std::string type = optionalString(params, name).value_or("none");
  auto found = emailCryptTypes().find(type);
  if (found == emailCryptTypes().end()) {
    return fail(
        Error::validationError(std::string(name) + " must be one of: " + validOptions(emailCryptTypes())));
  }
  return found->second;
}

// Any kind but a number is reported as missing, never with a type message.
ClientResult<double> coordinate(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  std::optional<double> number = value == nullptr ? std::nullopt : numberValue(*value);
  if (!number) return fail(Error::missingParameter(std::string(name)));
  return *number;
}

std::optional<LMRPCClientError> outOfRange(std::string_view name, double value, int limit) {
  if (value >= -limit && value <= limit) return std::nullopt;
  const std::string bound = std::to_string(limit);
  return Error::validationError(std::string(name) + " must be between -" + bound + " and " + bound +
                                    ", got " + formatNumberForMessage(value),
                                JSONObject{{"parameter", std::string(name)}});
}

}  // namespace

ParseResult parseRegisterUninstall(const JSONObject& params) {
  return parseOne<LMRPCRegisterUninstallRequest, deviceToken, "deviceToken">(params);
}

ParseResult parseSetUserEmails(const JSONObject& params) {
  ParamReader in(params);
  LMRPCSetUserEmailsRequest record;
  record.emails = in.read(emailList, "emails");
  record.cryptType = in.read(emailCryptType, "cryptType");
  return in.finish(std::move(record));
}

ParseResult parseLogLocation(const JSONObject& params) {
  ParamReader in(params);
  LMRPCLogLocationRequest record;
  // Both are read before either range is tested: a missing latitude wins over a bad
  // longitude.
  record.longitude = in.read(coordinate, "longitude");
  record.latitude = in.read(coordinate, "latitude");
  if (in.ok()) {
    if (auto error = outOfRange("longitude", record.longitude, 180)) in.fail(std::move(*error));
    if (auto error = outOfRange("latitude", record.latitude, 90)) in.fail(std::move(*error));
  }
  return in.finish(std::move(record));
}

}  // namespace lumetra_rpc
