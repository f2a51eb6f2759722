// What one request costs on its own: the floor of reading and writing, the whole pipeline
// around it, how that grows with the request's size, and what refusing an oversized text
// costs.

#include <stdexcept>

#include <boost/asio/co_spawn.hpp>

#include "figures.h"
#include "harness.h"
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
    auto run = client.execute(std::move(text));
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
double executeNs(LMRPCClient& client, const std::string& text, int perBatch) {
  std::vector<double> perOp;
  runOnPool([&]() -> boost::asio::awaitable<void> {
    for (int batch = 0; batch <= kBatches; ++batch) {
      std::vector<std::string> copies(static_cast<std::size_t>(perBatch), text);
      auto start = Clock::now();
      for (auto& copy : copies) {
        auto run = client.execute(std::move(copy));
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
  for (auto size : {Size{"execute_ns_1k", 1024, 2000}, Size{"execute_ns_64k", 65536, 64},
                    Size{"execute_ns_1m", 1'048'576 - 64, 4}}) {
    auto text = logEventRequest(size.bytes);
    expectResponse(executeOnce(*client, text), R"("error":null)");
    figures.push_back({size.name, executeNs(*client, text, size.perBatch)});
  }

  auto oversize = paddedRequest(1'048'576);
  expectResponse(executeOnce(*client, oversize), "Request payload too large");
  figures.push_back({"refuse_ns", executeNs(*client, oversize, 32)});
}

}  // namespace lumetra_rpc::bench
