// Throughput on this kind of machine drifts by a factor of two over seconds, so the bridge
// and the peer take turns round by round instead of running one after the other: a
// drift then touches both sides of the ratio alike.

#include <optional>

#include "figures.h"
#include "harness.h"

namespace lumetra_rpc::bench {

void measureThroughput(Figures& figures, bool bridge, bool peer) {
  constexpr int kRounds = 5;
  std::vector<Throughput> measures;
  if (bridge) measures.push_back(bridgeThroughput());
#ifdef LMRPC_BENCH_PEER
  if (peer) measures.push_back(peerThroughput());
#else
  (void)peer;
#endif
  std::vector<std::vector<double>> rates(measures.size());
  for (int round = 0; round < kRounds; ++round)
    for (std::size_t m = 0; m < measures.size(); ++m) rates[m].push_back(measures[m].round());
  for (std::size_t m = 0; m < measures.size(); ++m) measures[m].finish(figures, median(std::move(rates[m])));
}

}  // namespace lumetra_rpc::bench
