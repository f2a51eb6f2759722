#pragma once
// Typed getters over a request's parameter object. They decide, once for every method,
// which JSON kinds a parameter of a given type accepts, how near misses are coerced and
// which failure is raised with which words; the host sees those words verbatim. Each
// getter is a pure function of (parameters, name): a name the object lacks is absent,
// a key holding null is present.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "parsing/requests.h"
#include "wire/any_codable.h"
#include "wire/client_error.h"

namespace lumetra_rpc {

// Required getters: the value, or the failure to report.
ClientResult<std::string> requiredString(const JSONObject& params, std::string_view name);
// Absent, any other kind and "" are all reported as missing (no type message).
ClientResult<std::string> requiredStrictString(const JSONObject& params, std::string_view name);
// T is std::string or JSONObject; empty values pass.
template <typename T>
ClientResult<T> requiredTypedValue(const JSONObject& params, std::string_view name);
ClientResult<bool> requiredBool(const JSONObject& params, std::string_view name);
ClientResult<double> requiredNumber(const JSONObject& params, std::string_view name);
ClientResult<std::int64_t> requiredNonNegativeInt(const JSONObject& params, std::string_view name);
// A wrong kind is reported as missing, like an absent or empty value.
ClientResult<URLValue> requiredURL(const JSONObject& params, std::string_view name);
// T is StringList or JSONObject; a wrong kind or an empty value is reported as missing.
template <typename T>
ClientResult<T> requiredNonEmptyValue(const JSONObject& params, std::string_view name);
// Like requiredTypedValue<JSONObject>, except that a wrong kind is reported as missing.
ClientResult<JSONObject> requiredStrictObject(const JSONObject& params, std::string_view name);
// The entry inside a nested object, named by a dotted path ("product.productId"); the
// outer object must have been checked already. Every failure reports the whole path.
ClientResult<std::string> requiredNestedString(const JSONObject& params, std::string_view path);

// Optional getters never fail: anything but the accepted kind counts as absent.
bool optionalBool(const JSONObject& params, std::string_view name, bool fallback);
std::optional<bool> optionalNullableBool(const JSONObject& params, std::string_view name);
std::optional<std::string> optionalString(const JSONObject& params, std::string_view name);
std::optional<JSONObject> optionalDictionary(const JSONObject& params, std::string_view name);

// Kind tests shared with the method-specific rules.
const AnyCodable* findParam(const JSONObject& params, std::string_view name);
std::optional<double> numberValue(const AnyCodable& value);
// Every element a string; the empty array qualifies.
std::optional<StringList> stringListValue(const AnyCodable& value);

// ASCII letters lower-cased; every name the lookup tables hold is ASCII.
std::string lowercased(std::string_view text);

// Pairs of base-16 digits to bytes; nullopt for an odd character count or a bad pair.
std::optional<Bytes> hexDecodedData(std::string_view text);

}  // namespace lumetra_rpc
