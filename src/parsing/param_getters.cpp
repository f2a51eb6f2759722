#include "parsing/param_getters.h"

#include <cmath>

#include "parsing/url_check.h"

namespace lumetra_rpc {
namespace {

using Error = LMRPCClientError;

Unexpected<Error> missing(std::string_view name) {
  return fail(Error::missingParameter(std::string(name)));
}

Unexpected<Error> mustBe(std::string_view name, std::string_view suffix) {
  std::string message;
  message.reserve(name.size() + suffix.size());
  message.append(name).append(suffix);
  return fail(Error::validationError(std::move(message)));
}

// Numbers convert as a number object turns into a boolean: zero is false, anything else
// true. Strings such as "true" never convert.
std::optional<bool> boolValue(const AnyCodable& value) {
  if (const bool* b = value.getIf<bool>()) return *b;
  if (const auto* i = value.getIf<std::int64_t>()) return *i != 0;
  if (const double* d = value.getIf<double>()) return *d != 0.0;
  return std::nullopt;
}

template <typename T>
constexpr std::string_view kTypeName = "";
template <>
constexpr std::string_view kTypeName<std::string> = "String";
template <>
constexpr std::string_view kTypeName<JSONObject> = "Dictionary<String, Any>";

std::optional<StringList> asKind(const AnyCodable& value, const StringList*) {
  return stringListValue(value);
}
std::optional<JSONObject> asKind(const AnyCodable& value, const JSONObject*) {
  if (const auto* o = value.getIf<JSONObject>()) return *o;
  return std::nullopt;
}

// One digit of a pair, or a sign before one digit: "+a" reads as 10 and "-0" as 0.
std::optional<std::uint8_t> hexPair(char high, char low) {
  auto digit = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  int lowDigit = digit(low);
  if (lowDigit < 0) return std::nullopt;
  if (high == '+') return static_cast<std::uint8_t>(lowDigit);
  if (high == '-') return lowDigit == 0 ? std::optional<std::uint8_t>(0) : std::nullopt;
  int highDigit = digit(high);
  if (highDigit < 0) return std::nullopt;
  return static_cast<std::uint8_t>(highDigit * 16 + lowDigit);
}

}  // namespace

const AnyCodable* findParam(const JSONObject& params, std::string_view name) {
  auto it = params.find(name);
  return it == params.end() ? nullptr : &it->second;
}

std::optional<double> numberValue(const AnyCodable& value) {
  if (const auto* i = value.getIf<std::int64_t>()) return static_cast<double>(*i);
  if (const double* d = value.getIf<double>()) return *d;
  return std::nullopt;
}

std::optional<StringList> stringListValue(const AnyCodable& value) {
  const auto* array = value.getIf<JSONArray>();
  if (array == nullptr) return std::nullopt;
  StringList list;
  list.reserve(array->size());
  for (const AnyCodable& element : *array) {
    const auto* s = element.getIf<std::string>();
    if (s == nullptr) return std::nullopt;
    list.push_back(*s);
  }
  return list;
}

ClientResult<std::string> requiredString(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return missing(name);
  const auto* s = value->getIf<std::string>();
  if (s == nullptr) return mustBe(name, " must be a String");
  if (s->empty()) return missing(name);
  return *s;
}

ClientResult<std::string> requiredStrictString(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  const auto* s = value == nullptr ? nullptr : value->getIf<std::string>();
  if (s == nullptr || s->empty()) return missing(name);
  return *s;
}

template <typename T>
ClientResult<T> requiredTypedValue(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return missing(name);
  const T* typed = value->getIf<T>();
  if (typed == nullptr) return mustBe(name, " must be a " + std::string(kTypeName<T>));
  return *typed;
}
template ClientResult<std::string> requiredTypedValue(const JSONObject&, std::string_view);
template ClientResult<JSONObject> requiredTypedValue(const JSONObject&, std::string_view);

ClientResult<bool> requiredBool(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return missing(name);
  std::optional<bool> b = boolValue(*value);
  if (!b) return mustBe(name, " must be a boolean");
  return *b;
}

ClientResult<double> requiredNumber(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return missing(name);
  std::optional<double> number = numberValue(*value);
  if (!number) return mustBe(name, " must be a number");
  return *number;
}

ClientResult<std::int64_t> requiredNonNegativeInt(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return missing(name);
  if (const auto* i = value->getIf<std::int64_t>()) {
    if (*i < 0) return mustBe(name, " must be >= 0");
    return *i;
  }
  if (const double* d = value->getIf<double>()) {
    // Written so that NaN fails too; 2^63 itself no longer fits.
    if (!(*d >= 0.0 && *d < 9223372036854775808.0))
      return mustBe(name, " must be a valid non-negative integer");
    return static_cast<std::int64_t>(std::trunc(*d));
  }
  return mustBe(name, " must be a number");
}

ClientResult<URLValue> requiredURL(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  const auto* text = value == nullptr ? nullptr : value->getIf<std::string>();
  if (text == nullptr || text->empty()) return missing(name);
  std::optional<SchemedURL> parsed = parseSchemedURL(*text);
  const std::string parameter(name);
  if (!parsed) {
    return fail(Error::validationError(
        "Invalid URL format for parameter '" + parameter + "': must be a valid URL with a scheme",
        JSONObject{{"parameter", parameter}}));
  }
  if (isBlockedScheme(parsed->scheme)) {
    const std::string& scheme = parsed->scheme;
    return fail(
        Error::validationError("URL scheme '" + scheme + "' is not allowed for parameter '" + parameter + "'",
                               JSONObject{{"parameter", parameter}, {"scheme", scheme}}));
  }
  return std::move(parsed->url);
}

template <typename T>
ClientResult<T> requiredNonEmptyValue(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  std::optional<T> typed = value == nullptr ? std::nullopt : asKind(*value, (const T*)nullptr);
  if (!typed || typed->empty()) return missing(name);
  return std::move(*typed);
}
template ClientResult<StringList> requiredNonEmptyValue(const JSONObject&, std::string_view);
template ClientResult<JSONObject> requiredNonEmptyValue(const JSONObject&, std::string_view);

ClientResult<JSONObject> requiredStrictObject(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  const auto* object = value == nullptr ? nullptr : value->getIf<JSONObject>();
  if (object == nullptr) return missing(name);
  return *object;
}

ClientResult<std::string> requiredNestedString(const JSONObject& params, std::string_view path) {
  std::string_view::size_type dot = path.find('.');
  const AnyCodable* outer = findParam(params, path.substr(0, dot));
  const auto* object = outer == nullptr ? nullptr : outer->getIf<JSONObject>();
  if (object == nullptr || dot == std::string_view::npos) return missing(path);
  ClientResult<std::string> inner = requiredStrictString(*object, path.substr(dot + 1));
  if (!inner) return missing(path);
  return inner;
}

bool optionalBool(const JSONObject& params, std::string_view name, bool fallback) {
  return optionalNullableBool(params, name).value_or(fallback);
}

std::optional<bool> optionalNullableBool(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  return value == nullptr ? std::nullopt : boolValue(*value);
}

std::optional<std::string> optionalString(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  const auto* s = value == nullptr ? nullptr : value->getIf<std::string>();
  if (s == nullptr) return std::nullopt;
  return *s;
}

std::optional<JSONObject> optionalDictionary(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  return value == nullptr ? std::nullopt : asKind(*value, (const JSONObject*)nullptr);
}

std::string lowercased(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::optional<Bytes> hexDecodedData(std::string_view text) {
  // A character outside ASCII can be no digit and no sign, so any pair holding one fails;
  // once none is present, characters and bytes count the same.
  for (char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return std::nullopt;
  }
  if (text.size() % 2 != 0) return std::nullopt;
  Bytes bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    std::optional<std::uint8_t> byte = hexPair(text[i], text[i + 1]);
    if (!byte) return std::nullopt;
    bytes.push_back(*byte);
  }
  return bytes;
}

}  // namespace lumetra_rpc
