// libjson-rpc-cpp handling the same 1 MiB logEvent request: its reader, a handler that
// answers with the event's name and values, and its writer.

#include <memory>
#include <stdexcept>

#include <jsoncpp/json/json.h>
#include <jsonrpccpp/common/procedure.h>
#include <jsonrpccpp/server/iclientconnectionhandler.h>
#include <jsonrpccpp/server/iprocedureinvokationhandler.h>
#include <jsonrpccpp/server/requesthandlerfactory.h>

#include "figures.h"

namespace lumetra_rpc::bench {
namespace {

class LogEventMethod : public jsonrpc::IProcedureInvokationHandler {
 public:
  void HandleMethodCall(jsonrpc::Procedure&, const Json::Value& input, Json::Value& output) override {
    output["eventName"] = input["eventName"];
    output["eventValues"] = input["eventValues"];
    output["message"] = "Event logged";
    output["success"] = true;
  }
  void HandleNotificationCall(jsonrpc::Procedure&, const Json::Value&) override {}
};

struct PeerServer {
  LogEventMethod method;
  std::unique_ptr<jsonrpc::IProtocolHandler> handler;
  std::string response;
};

}  // namespace

std::function<void()> peerHandlesOnce(const std::string& text) {
  auto server = std::make_shared<PeerServer>();
  server->handler.reset(
      jsonrpc::RequestHandlerFactory::createProtocolHandler(jsonrpc::JSONRPC_SERVER_V2, server->method));
  server->handler->AddProcedure(jsonrpc::Procedure("logEvent", jsonrpc::PARAMS_BY_NAME, jsonrpc::JSON_OBJECT,
                                                   "eventName", jsonrpc::JSON_STRING, "eventValues",
                                                   jsonrpc::JSON_OBJECT, nullptr));
  auto once = [server, text] {
    server->response.clear();
    server->handler->HandleRequest(text, server->response);
  };
  once();
  if (server->response.find("\"value_1\"") == std::string::npos)
    throw std::runtime_error("the peer did not answer with the event values: " +
                             server->response.substr(0, 200));
  return once;
}

}  // namespace lumetra_rpc::bench
