#pragma once
// Request-level failures: raised while decoding and parsing, turned into the response's
// error object only by the client.

#include <optional>
#include <string>
#include <variant>

#include "wire/any_codable.h"
#include "wire/records.h"

namespace lumetra_rpc {

class LMRPCClientError {
 public:
  struct InvalidJSON {
    std::string message;
  };
  struct UnknownMethod {
    std::string method;
  };
  struct ValidationError {
    std::string message;
    std::optional<JSONObject> details;
  };
  struct InternalError {
    std::string message;
  };
  struct MissingParameter {
    std::string name;
  };
  struct Timeout {};
  struct SDKNotInitialized {};
  using Case = std::variant<InvalidJSON, UnknownMethod, ValidationError, InternalError, MissingParameter,
                            Timeout, SDKNotInitialized>;

  static LMRPCClientError invalidJSON(std::string message);
  static LMRPCClientError unknownMethod(std::string method);
  static LMRPCClientError validationError(std::string message,
                                          std::optional<JSONObject> details = std::nullopt);
  static LMRPCClientError internalError(std::string message);
  static LMRPCClientError missingParameter(std::string name);
  static LMRPCClientError timeout();
  static LMRPCClientError sdkNotInitialized();

  const Case& kind() const noexcept { return case_; }
  std::string errorDescription() const;
  LMRPCError toRPCError() const&;
  LMRPCError toRPCError() &&;

 private:
  explicit LMRPCClientError(Case c) : case_(std::move(c)) {}
  Case case_;
};

template <typename T>
using ClientResult = Expected<T, LMRPCClientError>;

inline Unexpected<LMRPCClientError> fail(LMRPCClientError error) {
  return {std::move(error)};
}

}  // namespace lumetra_rpc
