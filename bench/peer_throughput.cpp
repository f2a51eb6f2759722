// The same kind of work through libjson-rpc-cpp's in-process protocol handler: one method
// with one string parameter answering a small object, driven from as many threads as our
// pool has. Each thread gets a handler of its own, the peer's most favourable setup.

#include <memory>
#include <thread>

#include <jsoncpp/json/json.h>
#include <jsonrpccpp/common/procedure.h>
#include <jsonrpccpp/server/iclientconnectionhandler.h>
#include <jsonrpccpp/server/iprocedureinvokationhandler.h>
#include <jsonrpccpp/server/requesthandlerfactory.h>

#include "figures.h"
#include "harness.h"
#include "lumetra_rpc/runtime.h"
#include "requests.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kPerRound = 200'000;

class SetterMethod : public jsonrpc::IProcedureInvokationHandler {
 public:
  void HandleMethodCall(jsonrpc::Procedure&, const Json::Value& input, Json::Value& output) override {
    customerUserId_ = input["customerUserId"].asString();
    output["message"] = "customerUserId set";
    output["success"] = true;
  }
  void HandleNotificationCall(jsonrpc::Procedure&, const Json::Value&) override {}

 private:
  std::string customerUserId_;
};

void serve(std::size_t requests, const std::string& text) {
  SetterMethod method;
  std::unique_ptr<jsonrpc::IProtocolHandler> handler(
      jsonrpc::RequestHandlerFactory::createProtocolHandler(jsonrpc::JSONRPC_SERVER_V2, method));
  handler->AddProcedure(jsonrpc::Procedure("setCustomerUserId", jsonrpc::PARAMS_BY_NAME, jsonrpc::JSON_OBJECT,
                                           "customerUserId", jsonrpc::JSON_STRING, nullptr));
  std::string response;
  for (std::size_t i = 0; i < requests; ++i) {
    response.clear();
    handler->HandleRequest(text, response);
  }
}

}  // namespace

Throughput peerThroughput() {
  Throughput measure;
  measure.round = [] {
    const auto threads = Runtime::poolThreadCount();
    const auto text = setterRequest();
    auto start = Clock::now();
    std::vector<std::jthread> workers;
    for (std::size_t t = 0; t < threads; ++t) workers.emplace_back([&] { serve(kPerRound / threads, text); });
    workers.clear();
    return static_cast<double>(kPerRound / threads * threads) / secondsSince(start);
  };
  measure.finish = [](Figures& figures, double rate) { figures.push_back({"peer_rps", rate}); };
  return measure;
}

}  // namespace lumetra_rpc::bench
