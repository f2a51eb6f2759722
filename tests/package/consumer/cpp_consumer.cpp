// One request through the C++ facade of an installed library; prints the response.
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include <lumetra_rpc/bridge.h>
#include <lumetra_rpc/runtime.h>

int main() {
  using namespace lumetra_rpc;
  Runtime::useHostDrivenMain();
  bool answered = false;
  LumetraRPCBridge::shared()->executeJson(R"({"id":2,"method":"getSDKVersion"})",
                                          [&answered](std::string response) {
                                            std::printf("%s\n", response.c_str());
                                            answered = true;
                                          });
  for (int frames = 0; !answered && frames < 500; ++frames) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    Runtime::runMainUntilIdle();
  }
  return answered ? 0 : 1;
}
