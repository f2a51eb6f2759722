// Ten thousand start requests waiting on an SDK that never answers: every one must come
// back as a timeout close to the configured second, without a thread per wait and with
// little memory per wait.

#include <atomic>
#include <stdexcept>
#include <thread>

#include "figures.h"
#include "harness.h"
#include "lumetra_rpc/bridge.h"
#include "sdk/default_sdk.h"
#include "sdk/simulator/simulator.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kWaits = 10'000;
constexpr double kStartTimeout = 1.0;

}  // namespace

void measureWaits(Figures& figures) {
  auto config = simulator::parseSimulatorConfig(R"({"replies":{"start":{"never":true}}})");
  if (!config || !simulator::configureSimulator(std::move(config).value()))
    throw std::runtime_error("cannot configure the simulator");
  TimeoutConfig timeouts;
  timeouts.start = kStartTimeout;
  auto client = LMRPCClient::create([](std::string) {}, timeouts, makeDefaultSDK());
  auto bridge = LumetraRPCBridge::create(client);

  std::vector<std::string> texts;
  texts.reserve(kWaits);
  for (std::size_t i = 0; i < kWaits; ++i)
    texts.push_back(R"({"id":)" + std::to_string(i) +
                    R"(,"method":"start","params":{"awaitResponse":true}})");

  std::atomic<std::size_t> timedOut{0};
  std::atomic<std::size_t> answered{0};
  auto baseline = residentBytes();
  auto peakBytes = baseline;
  auto peakThreads = threadCount();

  auto start = Clock::now();
  for (auto& text : texts)
    bridge->executeJson(std::move(text), [&](std::string response) {
      if (response.find("\"errorType\":\"timeout\"") != std::string::npos) ++timedOut;
      ++answered;
    });
  // This thread only samples while it waits, so it adds no thread of its own.
  while (answered.load() < kWaits) {
    peakBytes = std::max(peakBytes, residentBytes());
    peakThreads = std::max(peakThreads, threadCount());
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  auto elapsed = secondsSince(start);
  if (timedOut.load() != kWaits) throw std::runtime_error("not every wait ended in a timeout");

  // The other measures want an SDK that answers.
  if (!simulator::configureSimulator(simulator::defaultSimulatorConfig()))
    throw std::runtime_error("cannot reset the simulator");

  figures.push_back({"waits_10k_ratio", elapsed / kStartTimeout});
  figures.push_back({"waits_10k_threads", static_cast<double>(peakThreads)});
  figures.push_back({"waits_10k_bytes_per_wait", static_cast<double>(peakBytes - baseline) / kWaits});
}

}  // namespace lumetra_rpc::bench
