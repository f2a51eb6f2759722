// Throughput on this kind of machine drifts by a factor of two over seconds, so the facade,
// the floors and the peer take turns round by round instead of running one after the
// other: a drift then touches both sides of a ratio alike. The spread of each ratio is
// taken round by round, from rates measured next to each other.

#include <algorithm>

#include "figures.h"
#include "harness.h"

namespace lumetra_rpc::bench {
namespace {

struct RatioOfRounds {
  const char* name;
  const char* numerator;
  const char* denominator;
};

constexpr RatioOfRounds kRatios[] = {{"bridge_vs_peer", "bridge_rps", "peer_rps"},
                                     {"bridge_vs_peer_threaded", "bridge_rps", "peer_threaded_rps"},
                                     {"setter_vs_worked_floor", "setter_rps", "worked_floor_rps"},
                                     {"mix_vs_at_once", "bridge_rps", "at_once_rps"},
                                     {"bridge_vs_floor", "bridge_rps", "floor_rps"}};

void recordSpread(Figures& figures, const std::string& name, const std::vector<double>& values) {
  auto [low, high] = std::minmax_element(values.begin(), values.end());
  figures.push_back({name + "_min", *low});
  figures.push_back({name + "_max", *high});
}

}  // namespace

void measureThroughput(Figures& figures, bool bridge, bool peer) {
  // Rounds of one measure differ by up to a third on this kind of machine; with five, the
  // medians of two back-to-back runs moved by a tenth, more than some targets' margins.
  constexpr int kRounds = 11;
  std::vector<Throughput> measures;
  if (bridge) {
    for (auto& m : facadeThroughputs()) measures.push_back(std::move(m));
    for (auto& m : floorThroughputs()) measures.push_back(std::move(m));
  }
#ifdef LMRPC_BENCH_PEER
  if (peer) {
    measures.push_back(peerThroughput());
    measures.push_back(peerThreadedThroughput());
  }
#else
  (void)peer;
#endif
  std::vector<std::vector<double>> rates(measures.size());
  for (int round = 0; round < kRounds; ++round)
    for (std::size_t m = 0; m < measures.size(); ++m) rates[m].push_back(measures[m].round());

  auto ratesOf = [&](const std::string& name) -> const std::vector<double>* {
    for (std::size_t m = 0; m < measures.size(); ++m)
      if (measures[m].name == name) return &rates[m];
    return nullptr;
  };
  for (std::size_t m = 0; m < measures.size(); ++m) {
    figures.push_back({measures[m].name, median(rates[m])});
    recordSpread(figures, measures[m].name, rates[m]);
    if (measures[m].finish) measures[m].finish(figures);
  }
  for (const auto& ratio : kRatios) {
    const auto* top = ratesOf(ratio.numerator);
    const auto* bottom = ratesOf(ratio.denominator);
    if (!top || !bottom) continue;
    std::vector<double> perRound;
    for (int round = 0; round < kRounds; ++round) perRound.push_back((*top)[round] / (*bottom)[round]);
    recordSpread(figures, ratio.name, perRound);
  }
}

}  // namespace lumetra_rpc::bench
