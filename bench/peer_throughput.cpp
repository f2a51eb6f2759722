// The peer answering synchronously on the caller's thread, driven from as many threads as
// our pool has: what the peer does with no threading of the facade's kind around it.

#include <thread>

#include "figures.h"
#include "harness.h"
#include "lumetra_rpc/runtime.h"
#include "peer_server.h"
#include "requests.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kPerRound = 200'000;

void serve(std::size_t requests, const std::string& text) {
  PeerServer server;
  std::string response;
  for (std::size_t i = 0; i < requests; ++i) {
    response.clear();
    server.handle(text, response);
  }
}

}  // namespace

Throughput peerThroughput() {
  Throughput measure;
  measure.name = "peer_rps";
  measure.round = [] {
    const auto threads = Runtime::poolThreadCount();
    const auto text = setterRequest();
    auto start = Clock::now();
    std::vector<std::jthread> workers;
    for (std::size_t t = 0; t < threads; ++t) workers.emplace_back([&] { serve(kPerRound / threads, text); });
    workers.clear();
    return static_cast<double>(kPerRound / threads * threads) / secondsSince(start);
  };
  return measure;
}

}  // namespace lumetra_rpc::bench
