#pragma once
// Each measure appends named figures; main turns them into ratios, a table and JSON.

#include <functional>
#include <string>
#include <vector>

namespace lumetra_rpc::bench {

struct Figure {
  std::string name;
  double value;
};

using Figures = std::vector<Figure>;

double figure(const Figures& figures, const std::string& name);

// floor_ns, execute_ns, execute_ns_1k/64k/1m, floor_ns_1m, peer_ns_1m (with the peer),
// refuse_ns.
void measureRequestCost(Figures& figures);
// A callable that has the peer handle `text` once; it checks the peer's answer first.
std::function<void()> peerHandlesOnce(const std::string& text);
// A throughput measure as rounds, each returning requests per second, so that the bridge
// and the peer can take turns and see the same machine; `finish` records the median.
struct Throughput {
  std::function<double()> round;
  std::function<void(Figures&, double)> finish;
};
// bridge_rps, mix_execute_ns.
Throughput bridgeThroughput();
// peer_rps; absent when the benchmark is built without the peer.
Throughput peerThroughput();
// Runs the chosen throughput measures round by round, alternating.
void measureThroughput(Figures& figures, bool bridge, bool peer);
// waits_10k_seconds, waits_10k_threads, waits_10k_bytes_per_wait.
void measureWaits(Figures& figures);

}  // namespace lumetra_rpc::bench
