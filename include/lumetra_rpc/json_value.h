#pragma once
// AnyCodable: one JSON value whose kind is known only at run time, plus the kinds that only
// the SDK side produces (single-precision floats, URLs, points in time, boxed numbers, maps with
// non-string keys, opaque objects). Decoded values never hold the SDK-only kinds; the
// writer refuses the last two.
//
// Arrays and objects hold AnyCodable elements directly: in this library the "plain value"
// and its wrapper are the same type, so wrapping and unwrapping are free.

#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "lumetra_rpc/json_object.h"

namespace lumetra_rpc {

class AnyCodable;

struct NullValue {
  friend bool operator==(NullValue, NullValue) = default;
};

// A URL as the SDK hands it over; written as its absolute text.
struct URLValue {
  std::string absoluteString;
  friend bool operator==(const URLValue&, const URLValue&) = default;
};

// A point in time, written as seconds since 1970-01-01T00:00:00Z.
struct DateValue {
  double secondsSince1970 = 0;
  friend bool operator==(const DateValue&, const DateValue&) = default;
};

// A number object of another width or of unknown kind, written as its double value.
struct BoxedNumber {
  double doubleValue = 0;
  friend bool operator==(const BoxedNumber&, const BoxedNumber&) = default;
};

// Any object the writer does not know; it carries its type name for the error message.
struct OpaqueValue {
  std::string typeName;
  std::shared_ptr<const void> object;
  friend bool operator==(const OpaqueValue& a, const OpaqueValue& b) {
    return a.typeName == b.typeName && a.object == b.object;
  }
};

using JSONArray = std::vector<AnyCodable>;
// Ordered by name so that writing members sorted at every depth costs nothing extra;
// copies share the members until one of them changes.
using JSONObject = SortedObject<AnyCodable>;
// A dictionary whose keys may be of any kind, as the SDK delivers them.
using AnyKeyMap = std::vector<std::pair<AnyCodable, AnyCodable>>;

class AnyCodable {
 public:
  using Value = std::variant<NullValue, bool, std::int64_t, double, float, std::string, URLValue, DateValue,
                             BoxedNumber, JSONArray, JSONObject, AnyKeyMap, OpaqueValue>;

  AnyCodable() = default;
  AnyCodable(NullValue) {}
  AnyCodable(std::nullptr_t) {}
  AnyCodable(bool b) : value_(b) {}
  template <typename I>
  requires(std::is_integral_v<I> && !std::is_same_v<I, bool> && !std::is_same_v<I, char>) AnyCodable(I i)
      : value_(static_cast<std::int64_t>(i)) {}
  AnyCodable(double d) : value_(d) {}
  AnyCodable(float f) : value_(f) {}
  AnyCodable(std::string s) : value_(std::move(s)) {}
  AnyCodable(std::string_view s) : value_(std::string(s)) {}
  AnyCodable(const char* s) : value_(std::string(s)) {}
  AnyCodable(URLValue u) : value_(std::move(u)) {}
  AnyCodable(DateValue d) : value_(d) {}
  AnyCodable(BoxedNumber n) : value_(n) {}
  AnyCodable(JSONArray a) : value_(std::move(a)) {}
  AnyCodable(JSONObject o) : value_(std::move(o)) {}
  AnyCodable(AnyKeyMap m) : value_(std::move(m)) {}
  AnyCodable(OpaqueValue o) : value_(std::move(o)) {}

  const Value& value() const noexcept { return value_; }
  Value& value() noexcept { return value_; }

  bool isNull() const noexcept { return std::holds_alternative<NullValue>(value_); }
  template <typename T>
  const T* getIf() const noexcept {
    return std::get_if<T>(&value_);
  }
  template <typename T>
  T* getIf() noexcept {
    return std::get_if<T>(&value_);
  }

  friend bool operator==(const AnyCodable&, const AnyCodable&) = default;

 private:
  Value value_;
};

}  // namespace lumetra_rpc
