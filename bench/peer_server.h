#pragma once
// libjson-rpc-cpp's in-process protocol handler serving one method with one string
// parameter and a small object answer, the setter the facade is compared on. A server is
// not shared between threads: each thread that serves gets its own, the peer's most
// favourable setup.

#include <memory>
#include <string>

#include <jsoncpp/json/json.h>
#include <jsonrpccpp/common/procedure.h>
#include <jsonrpccpp/server/iclientconnectionhandler.h>
#include <jsonrpccpp/server/iprocedureinvokationhandler.h>
#include <jsonrpccpp/server/requesthandlerfactory.h>

namespace lumetra_rpc::bench {

class PeerServer : private jsonrpc::IProcedureInvokationHandler {
 public:
  PeerServer()
      : handler_(jsonrpc::RequestHandlerFactory::createProtocolHandler(jsonrpc::JSONRPC_SERVER_V2, *this)) {
    handler_->AddProcedure(jsonrpc::Procedure("setCustomerUserId", jsonrpc::PARAMS_BY_NAME,
                                              jsonrpc::JSON_OBJECT, "customerUserId", jsonrpc::JSON_STRING,
                                              nullptr));
  }

  void handle(const std::string& text, std::string& response) { handler_->HandleRequest(text, response); }

 private:
  void HandleMethodCall(jsonrpc::Procedure&, const Json::Value& input, Json::Value& output) override {
    customerUserId_ = input["customerUserId"].asString();
    output["message"] = "customerUserId set";
    output["success"] = true;
  }
  void HandleNotificationCall(jsonrpc::Procedure&, const Json::Value&) override {}

  std::unique_ptr<jsonrpc::IProtocolHandler> handler_;
  std::string customerUserId_;
};

}  // namespace lumetra_rpc::bench
