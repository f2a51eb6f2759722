// What one request costs on its own: the floor of reading and writing, the whole pipeline
// around it, how that grows with the request's size, what a 1 MiB request costs beside the
// floor and the peer, and what refusing an oversized text costs.

#include <functional>
#include <stdexcept>

#include <boost/asio/co_spawn.hpp>

#include "figures.h"
#include "harness.h"
#include "lumetra_rpc/asio.h"
#include "lumetra_rpc/client.h"
#include "requests.h"
#include "sdk/default_sdk.h"
#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc::bench {
namespace {

constexpr int kBatches = 31;

std::string executeOnce(LMRPCClient& client, std::string text) {
  std::string response;
  runOnPool([&]() -> boost::asio::awaitable<void> {
    auto run = execute(client, std::move(text));
    response = co_await std::move(run);
  });
  return response;
}

void expectResponse(const std::string& response, std::string_view fragment) {
  if (response.find(fragment) == std::string::npos)
    throw std::runtime_error("unexpected response: " + response.substr(0, 200));
}

// Median cost of one awaited execute. The request texts are copied before each batch's
// clock starts and moved in, so the figure holds the pipeline's own work and no copying
// of ours; the clock runs on the pool thread that awaits, so no thread wake-up is in it.
double executeNs(LMRPCClient& client, const std::string& text, int perBatch, int batches = kBatches) {
  std::vector<double> perOp;
  runOnPool([&]() -> boost::asio::awaitable<void> {
    for (int batch = 0; batch <= batches; ++batch) {
      std::vector<std::string> copies(static_cast<std::size_t>(perBatch), text);
      auto start = Clock::now();
      for (auto& copy : copies) {
        auto run = execute(client, std::move(copy));
        auto response = co_await std::move(run);
      }
      if (batch > 0) perOp.push_back(secondsSince(start) * 1e9 / perBatch);
    }
  });
  return median(std::move(perOp));
}

// Reading the request into a value tree and writing its response: what any JSON-RPC
// layer has to do at least.
double floorNs(const std::string& request, const std::string& response) {
  auto responseTree = readJSON(response);
  if (!responseTree) throw std::runtime_error("response does not read back");
  constexpr int kPerBatch = 4000;
  volatile std::size_t sink = 0;
  return medianNsPerOp(kBatches, kPerBatch, [&] {
    for (int i = 0; i < kPerBatch; ++i) {
      auto tree = readJSON(request);
      std::string out;
      out.reserve(256);  // as the pipeline's own writer does
      (void)writeJSON(*responseTree, out);
      sink = sink + out.size() + (tree ? 1 : 0);
    }
  });
}

// The 1 MiB request three ways, round by round so that the machine's drift touches all
// three alike: read into the value model and written back (nothing else), through the
// whole pipeline, and through the peer when it is built in.
void measureBigRequest(Figures& figures, LMRPCClient& client, const std::string& text) {
  constexpr int kRounds = 11;
  std::function<void()> peer;
#ifdef LMRPC_BENCH_PEER
  peer = peerHandlesOnce(text);
#endif
  std::vector<double> floor, execute, peerNs;
  volatile std::size_t sink = 0;
  for (int round = 0; round < kRounds; ++round) {
    floor.push_back(medianNsPerOp(1, 2, [&] {
      for (int i = 0; i < 2; ++i) {
        auto tree = readJSON(text);
        std::string out;
        if (tree) (void)writeJSON(*tree, out);
        sink = sink + out.size();
      }
    }));
    execute.push_back(executeNs(client, text, 2, 1));
    if (peer) peerNs.push_back(medianNsPerOp(1, 1, peer));
  }
  figures.push_back({"floor_ns_1m", median(std::move(floor))});
  figures.push_back({"execute_ns_1m", median(std::move(execute))});
  if (peer) figures.push_back({"peer_ns_1m", median(std::move(peerNs))});
}

}  // namespace

void measureRequestCost(Figures& figures) {
  auto client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, makeDefaultSDK());

  auto setter = setterRequest();
  auto setterResponse = executeOnce(*client, setter);
  expectResponse(setterResponse, R"("error":null)");
  figures.push_back({"floor_ns", floorNs(setter, setterResponse)});
  figures.push_back({"execute_ns", executeNs(*client, setter, 4000)});

  struct Size {
    const char* name;
    std::size_t bytes;
    int perBatch;
  };
  for (auto size : {Size{"execute_ns_1k", 1024, 2000}, Size{"execute_ns_64k", 65536, 64}}) {
    auto text = logEventRequest(size.bytes);
    expectResponse(executeOnce(*client, text), R"("error":null)");
    figures.push_back({size.name, executeNs(*client, text, size.perBatch)});
  }
  auto big = logEventRequest(1'048'576 - 64);
  expectResponse(executeOnce(*client, big), R"("error":null)");
  measureBigRequest(figures, *client, big);

  auto oversize = paddedRequest(1'048'576);
  expectResponse(executeOnce(*client, oversize), "Request payload too large");
  figures.push_back({"refuse_ns", executeNs(*client, oversize, 32)});
}

}  // namespace lumetra_rpc::bench
