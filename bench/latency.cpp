// One request's latency under a paced load: a host thread of ours hands the mix to the
// facade at half the measured capacity, on a fixed schedule that does not wait for
// answers, and each request's time runs from its hand-off to its completion on the main
// executor. The thread sleeps between hand-offs, so requests leave in small bursts of those
// that fell due during a sleep; the rate over the whole run is the scheduled one.

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "facade.h"
#include "figures.h"
#include "harness.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kRequests = 100'000;

struct Percentiles {
  double p50, p99, p999;
};

double at(const std::vector<double>& sorted, double fraction) {
  auto index = static_cast<std::size_t>(fraction * static_cast<double>(sorted.size() - 1));
  return sorted[index];
}

Percentiles pacedRound(const Facade& made, double rate) {
  std::vector<Clock::time_point> sentAt(kRequests);
  std::vector<double> micros(kRequests);
  std::atomic<std::size_t> answered{0};
  std::promise<void> done;
  auto interval = std::chrono::duration<double>(1.0 / rate);
  auto start = Clock::now();
  for (std::size_t i = 0; i < kRequests; ++i) {
    auto due = start + std::chrono::duration_cast<Clock::duration>(interval * static_cast<double>(i));
    if (Clock::now() < due) std::this_thread::sleep_until(due);
    std::string text = made.mix[i % made.mix.size()];
    sentAt[i] = Clock::now();
    made.bridge->executeJson(std::move(text), [&, i](std::string) {
      micros[i] = std::chrono::duration<double, std::micro>(Clock::now() - sentAt[i]).count();
      if (answered.fetch_add(1) + 1 == kRequests) done.set_value();
    });
  }
  done.get_future().get();
  std::sort(micros.begin(), micros.end());
  return {at(micros, 0.5), at(micros, 0.99), at(micros, 0.999)};
}

}  // namespace

void measureLatency(Figures& figures, double capacityRps) {
  constexpr int kRounds = 3;
  const auto& made = facade();
  double rate = capacityRps / 2;
  pacedRound(made, rate);  // warm-up
  std::vector<double> p50, p99, p999;
  for (int round = 0; round < kRounds; ++round) {
    auto p = pacedRound(made, rate);
    p50.push_back(p.p50);
    p99.push_back(p.p99);
    p999.push_back(p.p999);
  }
  figures.push_back({"latency_paced_rps", rate});
  auto record = [&](const std::string& name, const std::vector<double>& values) {
    figures.push_back({name, median(values)});
    auto [low, high] = std::minmax_element(values.begin(), values.end());
    figures.push_back({name + "_min", *low});
    figures.push_back({name + "_max", *high});
  };
  record("latency_p50_us", p50);
  record("latency_p99_us", p99);
  record("latency_p999_us", p999);
}

}  // namespace lumetra_rpc::bench
