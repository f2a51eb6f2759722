#pragma once
// Each measure appends named figures; main turns them into ratios, a table and JSON.

#include <string>
#include <vector>

namespace lumetra_rpc::bench {

struct Figure {
  std::string name;
  double value;
};

using Figures = std::vector<Figure>;

double figure(const Figures& figures, const std::string& name);

// floor_ns, execute_ns, execute_ns_1k/64k/1m, refuse_ns.
void measureRequestCost(Figures& figures);
// bridge_rps, mix_execute_ns.
void measureBridgeThroughput(Figures& figures);
// peer_rps; absent when the benchmark is built without the peer.
void measurePeerThroughput(Figures& figures);
// waits_10k_seconds, waits_10k_threads, waits_10k_bytes_per_wait.
void measureWaits(Figures& figures);

}  // namespace lumetra_rpc::bench
