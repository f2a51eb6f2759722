// A short tour of the library as a plugin host sees it: a few request texts through the
// shared facade, each response printed as it arrives on the main executor.

#include <cstdio>
#include <string>
#include <vector>

#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/runtime.h"

int main() {
  using namespace lumetra_rpc;
  Runtime::useHostDrivenMain();
  auto bridge = LumetraRPCBridge::shared();
  bridge->setEventHandler([](std::string event) { std::printf("event    %s\n", event.c_str()); });

  const std::vector<std::string> requests = {
      R"({"id":1,"method":"init","params":{"devKey":"demo-key","appId":"123456789"}})",
      R"({"id":2,"method":"isDebug","params":{"isDebug":true}})",
      R"({"id":3,"method":"setHost","params":{"host":"apihost","hostPrefix":"eu"}})",
      R"({"id":4,"method":"logLocation","params":{"longitude":200,"latitude":10}})",
      R"({"id":5,"method":"noSuchMethod"})",
      R"({"id":6,)",
  };
  for (const auto& request : requests) {
    std::printf("request  %s\n", request.c_str());
    bool answered = false;
    bridge->executeJson(request, [&answered](std::string response) {
      std::printf("response %s\n", response.c_str());
      answered = true;
    });
    // Completions arrive on the main executor, which this host pumps itself.
    while (!answered) Runtime::runMainFor(std::chrono::milliseconds(5));
  }
  Runtime::runMainFor(std::chrono::milliseconds(20));
  return 0;
}
