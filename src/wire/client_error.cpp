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

// One allocation for the whole message rather than one per piece.
std::string joined(std::string_view head, std::string_view tail) {
  std::string text;
  text.reserve(head.size() + tail.size());
  text.append(head).append(tail);
  return text;
}
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
                        [](const MissingParameter& e) { return joined(kMissingParameterHead, e.name); },
                        [](const Timeout&) { return std::string("Request timed out"); },
                        [](const SDKNotInitialized&) { return std::string("SDK not initialized"); },
                    },
                    case_);
}

LMRPCError LMRPCClientError::toRPCError() const& {
  return LMRPCClientError(*this).toRPCError();
}

// Messages move into the error object; an error is made to be answered once.
LMRPCError LMRPCClientError::toRPCError() && {
  return std::visit(Overload{
                        [](InvalidJSON& e) {
                          return LMRPCError{400, std::move(e.message), {}};
                        },
                        [](UnknownMethod& e) {
                          return LMRPCError{404, joined("Method not found: ", e.method), {}};
                        },
                        [](ValidationError& e) {
                          return LMRPCError{422, std::move(e.message), std::move(e.details)};
                        },
                        [](InternalError& e) {
                          return LMRPCError{500, std::move(e.message), {}};
                        },
                        [](MissingParameter& e) {
                          return LMRPCError{422, joined(kMissingParameterHead, e.name), {}};
                        },
                        [](Timeout&) {
                          return LMRPCError{503, "Request timeout", {}};
                        },
                        [](SDKNotInitialized&) {
                          return LMRPCError{503, "SDK not initialized", {}};
                        },
                    },
                    case_);
}

}  // namespace lumetra_rpc
