#include "wire/client_error.h"

namespace lumetra_rpc {
namespace {
template <typename... Fs>
struct Overload : Fs... {
  using Fs::operator()...;
};
template <typename... Fs>
Overload(Fs...) -> Overload<Fs...>;

constexpr std::string_view kMissingParameterHead = "Missing required parameter: ";
}  // namespace

LMRPCClientError LMRPCClientError::invalidJSON(std::string message) {
  return LMRPCClientError(InvalidJSON{std::move(message)});
}
LMRPCClientError LMRPCClientError::unknownMethod(std::string method) {
  return LMRPCClientError(UnknownMethod{std::move(method)});
}
LMRPCClientError LMRPCClientError::validationError(std::string message, std::optional<JSONObject> details) {
  return LMRPCClientError(ValidationError{std::move(message), std::move(details)});
}
LMRPCClientError LMRPCClientError::internalError(std::string message) {
  return LMRPCClientError(InternalError{std::move(message)});
}
LMRPCClientError LMRPCClientError::missingParameter(std::string name) {
  return LMRPCClientError(MissingParameter{std::move(name)});
}
LMRPCClientError LMRPCClientError::timeout() {
  return LMRPCClientError(Timeout{});
}
LMRPCClientError LMRPCClientError::sdkNotInitialized() {
  return LMRPCClientError(SDKNotInitialized{});
}

std::string LMRPCClientError::errorDescription() const {
  return std::visit(Overload{
                        [](const InvalidJSON& e) { return "Invalid JSON: " + e.message; },
                        [](const UnknownMethod& e) { return "Unknown method: " + e.method; },
                        [](const ValidationError& e) { return e.message; },
                        [](const InternalError& e) { return e.message; },
                        [](const MissingParameter& e) { return std::string(kMissingParameterHead) + e.name; },
                        [](const Timeout&) { return std::string("Request timed out"); },
                        [](const SDKNotInitialized&) { return std::string("SDK not initialized"); },
                    },
                    case_);
}

LMRPCError LMRPCClientError::toRPCError() const {
  return std::visit(Overload{
                        [](const InvalidJSON& e) {
                          return LMRPCError{400, e.message, {}};
                        },
                        [](const UnknownMethod& e) {
                          return LMRPCError{404, "Method not found: " + e.method, {}};
                        },
                        [](const ValidationError& e) {
                          return LMRPCError{422, e.message, e.details};
                        },
                        [](const InternalError& e) {
                          return LMRPCError{500, e.message, {}};
                        },
                        [](const MissingParameter& e) {
                          return LMRPCError{422, std::string(kMissingParameterHead) + e.name, {}};
                        },
                        [](const Timeout&) {
                          return LMRPCError{503, "Request timeout", {}};
                        },
                        [](const SDKNotInitialized&) {
                          return LMRPCError{503, "SDK not initialized", {}};
                        },
                    },
                    case_);
}

}  // namespace lumetra_rpc
