#pragma once
// ParamReader lets a parse function read its parameters in order as plain assignments.
// It keeps the first failure and turns every later read into a no-op, so only that
// failure is reported; `finish` then yields either the failure or the finished record.
// One reader lives on the stack of one parse call.

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "parsing/param_getters.h"
#include "parsing/parsed_request.h"
#include "wire/client_error.h"

namespace lumetra_rpc {

class ParamReader {
 public:
  template <typename T>
  using Getter = ClientResult<T> (*)(const JSONObject&, std::string_view);

  explicit ParamReader(const JSONObject& params) noexcept : params_(params) {}

  const JSONObject& params() const noexcept { return params_; }
  bool ok() const noexcept { return !error_.has_value(); }

  template <typename T>
  T read(Getter<T> getter, std::string_view name) {
    if (error_) return T{};
    ClientResult<T> result = getter(params_, name);
    if (!result) {
      error_.emplace(std::move(result).error());
      return T{};
    }
    return std::move(result).value();
  }

  // Records a method-specific failure unless an earlier one is already kept.
  void fail(LMRPCClientError error) {
    if (!error_) error_.emplace(std::move(error));
  }

  template <typename Record>
  ClientResult<LMRPCParsedRequest> finish(Record record) {
    if (error_) return lumetra_rpc::fail(std::move(*error_));
    return LMRPCParsedRequest(std::in_place_type<Record>, std::move(record));
  }

 private:
  const JSONObject& params_;
  std::optional<LMRPCClientError> error_;
};

// A parameter name usable as a template argument, so that the method table can name a
// shared routine together with the one parameter it reads.
template <std::size_t N>
struct ParamName {
  constexpr ParamName(const char (&text)[N]) { std::copy_n(text, N, chars); }
  constexpr std::string_view view() const { return {chars, N - 1}; }
  char chars[N]{};
};

// The shared routine of every method whose record holds one value read by one getter.
template <typename Record, auto kGetter, ParamName kName>
ClientResult<LMRPCParsedRequest> parseOne(const JSONObject& params) {
  ParamReader in(params);
  Record record{in.read(kGetter, kName.view())};
  return in.finish(std::move(record));
}

// Methods without parameters: whatever the host sends, the parse succeeds.
template <typename Record>
ClientResult<LMRPCParsedRequest> parseNone(const JSONObject&) {
  return LMRPCParsedRequest(std::in_place_type<Record>);
}

}  // namespace lumetra_rpc
