#include "facade.h"

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include "harness.h"
#include "lumetra_rpc/asio.h"
#include "lumetra_rpc/client.h"
#include "requests.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc::bench {
namespace {

// A request waits when it cannot be answered while the main executor is held: it calls
// the SDK there, or waits for an SDK answer that arrives there. So the mix runs on the pool
// with the main executor held by a job of ours; those that finish do not wait. They all
// finish within a millisecond or so, so once none has finished for a quarter of a second,
// the rest are waiting. A pool thread stalled that long by the machine's other users
// would make a request look waiting, so it takes two passes to call one waiting.
std::vector<bool> waitsForMainOnce(const std::vector<std::string>& texts) {
  auto client = LMRPCClient::create([](std::string) {});
  std::promise<void> held;
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  runningCore().mainQueue().post([&held, released] {
    held.set_value();
    released.wait();
  });
  held.get_future().wait();

  std::vector<std::atomic<bool>> answered(texts.size());
  std::atomic<std::size_t> finished{0};
  std::promise<void> allFinished;
  for (std::size_t i = 0; i < texts.size(); ++i)
    boost::asio::co_spawn(
        runningCore().pool(),
        [&, i, text = texts[i]]() mutable -> boost::asio::awaitable<void> {
          auto run = execute(*client, std::move(text));
          auto response = co_await std::move(run);
          answered[i].store(true);
          if (finished.fetch_add(1) + 1 == texts.size()) allFinished.set_value();
        },
        boost::asio::detached);
  for (std::size_t seen = static_cast<std::size_t>(-1); finished.load() != seen;) {
    seen = finished.load();
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
  }
  std::vector<bool> waits(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) waits[i] = !answered[i].load();
  release.set_value();
  allFinished.get_future().wait();
  return waits;
}

std::vector<bool> waitsForMain(const std::vector<std::string>& texts) {
  auto waits = waitsForMainOnce(texts);
  auto again = waitsForMainOnce(texts);
  for (std::size_t i = 0; i < waits.size(); ++i) waits[i] = waits[i] && again[i];
  return waits;
}

Facade makeFacade() {
  Facade made;
  made.bridge = LumetraRPCBridge::create();
  made.send = [bridge = made.bridge](std::string text, Answer answer) {
    bridge->executeJson(std::move(text), std::move(answer));
  };
  made.mix = mixedRequests();
  made.setter = {setterRequest()};
  auto waits = waitsForMain(made.mix);
  for (std::size_t i = 0; i < made.mix.size(); ++i)
    (waits[i] ? made.waiting : made.atOnce).push_back(made.mix[i]);
  if (made.waiting.empty() || made.atOnce.empty())
    throw std::runtime_error("the request mix no longer has both kinds of request");
  return made;
}

}  // namespace

const Facade& facade() {
  static const Facade made = makeFacade();
  return made;
}

namespace {

struct Awaited {
  double medianNs;
  double cpuNs;
};

Awaited awaited(const std::vector<std::string>& texts) {
  auto client = LMRPCClient::create([](std::string) {});
  constexpr int kRepeats = 200;
  // Enough requests per timed batch that the clock's own cost does not show.
  std::vector<std::string> batch;
  while (batch.size() < 200) batch.insert(batch.end(), texts.begin(), texts.end());
  std::vector<double> perRequest;
  double cpuSeconds = 0;
  runOnPool([&]() -> boost::asio::awaitable<void> {
    for (int round = 0; round <= kRepeats; ++round) {
      std::vector<std::string> copies = batch;
      auto cpuBefore = processCpuSeconds();
      auto start = Clock::now();
      for (auto& copy : copies) {
        auto run = execute(*client, std::move(copy));
        auto response = co_await std::move(run);
      }
      if (round == 0) continue;
      perRequest.push_back(secondsSince(start) * 1e9 / static_cast<double>(batch.size()));
      cpuSeconds += processCpuSeconds() - cpuBefore;
    }
  });
  return {median(std::move(perRequest)), cpuSeconds * 1e9 / (kRepeats * static_cast<double>(batch.size()))};
}

}  // namespace

double awaitedNs(const std::vector<std::string>& texts) {
  return awaited(texts).medianNs;
}
double awaitedCpuNs(const std::vector<std::string>& texts) {
  return awaited(texts).cpuNs;
}

}  // namespace lumetra_rpc::bench
