#include "openrpc.h"

#include <map>

#include "lumetra_rpc/lumetra_rpc.h"
#include "method_descriptions.h"
#include "parsing/method_table.h"
#include "supervision/outcome.h"
#include "wire/json_writer.h"

namespace lumetra_rpc::cli {
namespace {

using Schema = JSONObject;

// The newest document version the published meta-schema accepts.
constexpr const char* kOpenRPCVersion = "1.3.2";

struct ErrorCode {
  std::int64_t code;
  const char* meaning;
};

// The `message` of each is one of several texts; these say when the code is used.
constexpr ErrorCode kRefused{400, "The request text is refused before any method is looked at"};
constexpr ErrorCode kUnknownMethod{404, "The method name is not one of the dialect's"};
constexpr ErrorCode kInvalidParams{422, "A parameter fails validation; the message names it"};
constexpr ErrorCode kInternal{500, "The response could not be written, or an unexpected internal failure"};
constexpr ErrorCode kReserved{503, "Reserved; no request is answered with it"};

AnyCodable errorObject(const ErrorCode& error) {
  return Schema{{"code", error.code}, {"message", error.meaning}};
}

// The `result` member every routed request is answered with, also when the SDK failed.
AnyCodable resultSchema() {
  JSONArray errorTypes;
  for (std::string_view type : {error_type::kInternal, error_type::kValidation,
                                error_type::kUnsupportedPlatform, error_type::kSDK, error_type::kTimeout})
    errorTypes.emplace_back(type);
  Schema properties{
      {"success", Schema{{"type", "boolean"}}},
      {"message", Schema{{"type", "string"}}},
      {"data", Schema{{"type", "object"}, {"description", "Success only, when the method answers data."}}},
      {"error",
       Schema{{"type", "string"}, {"description", "Failure only: the underlying error's description."}}},
      {"errorType", Schema{{"type", "string"}, {"enum", std::move(errorTypes)}}},
      {"errorCode",
       Schema{{"type", "integer"}, {"description", "Failure only: the SDK error's numeric code."}}},
  };
  return Schema{{"type", "object"},
                {"required", JSONArray{"success", "message"}},
                {"properties", std::move(properties)}};
}

AnyCodable paramObject(const ParamDescription& param) {
  Schema object{{"name", param.name}, {"required", param.required}, {"schema", param.schema}};
  if (!param.description.empty()) object.insert_or_assign("description", param.description);
  return object;
}

AnyCodable methodObject(const MethodDescription& method) {
  JSONArray params;
  bool refusable = false;
  for (const ParamDescription& param : method.params) {
    params.push_back(paramObject(param));
    refusable = refusable || param.refusable;
  }
  JSONArray errors{errorObject(kRefused)};
  if (refusable) errors.push_back(errorObject(kInvalidParams));
  errors.push_back(errorObject(kInternal));
  return Schema{{"name", method.name},
                {"summary", method.summary},
                {"paramStructure", "by-name"},
                {"params", std::move(params)},
                {"result", Schema{{"name", "result"}, {"schema", resultSchema()}}},
                {"errors", std::move(errors)}};
}

// The event texts the listeners deliver; hosts receive them beside the responses.
AnyCodable eventSchema() {
  JSONArray names{"onConversionDataSuccess", "onConversionDataFail", "onAppOpenAttribution",
                  "onAppOpenAttributionFailure", "onDeepLinkReceived"};
  Schema properties{
      {"event", Schema{{"type", "string"}, {"enum", std::move(names)}}},
      {"data", Schema{{"type", "object"}}},
      {"origin", Schema{{"type", "string"}, {"enum", JSONArray{"ios"}}}},
      {"timestamp", Schema{{"type", "integer"}, {"description", "Milliseconds since 1970, UTC."}}},
  };
  return Schema{{"type", "object"},
                {"required", JSONArray{"event", "data", "origin"}},
                {"properties", std::move(properties)}};
}

AnyCodable components() {
  Schema errors;
  for (const ErrorCode* error : {&kRefused, &kUnknownMethod, &kInvalidParams, &kInternal, &kReserved})
    errors.insert_or_assign("E" + std::to_string(error->code), errorObject(*error));
  return Schema{{"errors", std::move(errors)}, {"schemas", Schema{{"Event", eventSchema()}}}};
}

}  // namespace

Expected<AnyCodable, std::string> openRPCDocument() {
  std::map<std::string, const MethodDescription*> described;
  std::string problems;
  for (const MethodDescription& method : methodDescriptions()) {
    if (!described.emplace(method.name, &method).second) problems += " twice described: " + method.name + ";";
  }
  for (const auto& [name, parse] : methodParsers()) {
    if (!described.contains(std::string(name))) problems += " not described: " + std::string(name) + ";";
  }
  for (const auto& [name, method] : described) {
    if (!methodParsers().contains(name)) problems += " not in the method table: " + name + ";";
  }
  if (!problems.empty()) return Unexpected<std::string>{"method descriptions out of step:" + problems};

  JSONArray methods;
  for (const auto& [name, method] : described) methods.push_back(methodObject(*method));
  Schema info{{"title", "LumetraRPC"},
              {"version", lmrpc_version()},
              {"description",
               "The JSON-RPC dialect a plugin host speaks to the attribution SDK through LumetraRPC. "
               "Every request gets exactly one response; parameters are passed by name. Parameters a "
               "method does not define are ignored, and an optional value of another kind is read as "
               "absent unless its description says it is refused."}};
  return AnyCodable(Schema{{"openrpc", kOpenRPCVersion},
                           {"info", std::move(info)},
                           {"methods", std::move(methods)},
                           {"components", components()}});
}

Expected<std::string, std::string> openRPCText() {
  auto document = openRPCDocument();
  if (!document) return Unexpected<std::string>{document.error()};
  auto text = writeJSON(*document);
  if (!text) return Unexpected<std::string>{text.error().description};
  return *text;
}

}  // namespace lumetra_rpc::cli
