#pragma once
// Each measure appends named figures; main turns them into ratios, a table and JSON.

#include <cstddef>
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
// A throughput measure as rounds, each returning requests per second, so that the facade,
// the floors and the peer can take turns and see the same machine. The median of the
// rounds is recorded as `name`, their spread as `name`_min and _max; `finish`, if any,
// records what goes with it.
struct Throughput {
  std::string name;
  std::function<double()> round;
  std::function<void(Figures&)> finish;
};
// bridge_rps (the mix), setter_rps, at_once_rps, waiting_rps; mix_execute_ns and the
// mix's split.
std::vector<Throughput> facadeThroughputs();
// floor_rps, worked_floor_rps; worked_floor_spin_ns.
std::vector<Throughput> floorThroughputs();
// peer_rps and peer_threaded_rps; absent when the benchmark is built without the peer.
Throughput peerThroughput();
Throughput peerThreadedThroughput();
double peerThreadedAllocations(std::size_t requests);
// Runs the chosen throughput measures round by round, alternating, and the spread of the
// ratios between them round by round.
void measureThroughput(Figures& figures, bool bridge, bool peer);
// allocs_per_request_at_once, _waiting, _floor, _peer_threaded.
void measureAllocations(Figures& figures);
// latency_p50_us, latency_p99_us, latency_p999_us for one request at a time sent at half
// `capacityRps`.
void measureLatency(Figures& figures, double capacityRps);
// waits_10k_seconds, waits_10k_threads, waits_10k_bytes_per_wait.
void measureWaits(Figures& figures);

}  // namespace lumetra_rpc::bench
