// Allocations per request, counted exactly by the binary's own operator new over many
// requests at steady state. The floor's count is what the threading alone allocates.

#include "allocation_count.h"
#include "facade.h"
#include "figures.h"

namespace lumetra_rpc::bench {

Send floorSend(std::chrono::nanoseconds spin);

void measureAllocations(Figures& figures) {
  constexpr std::size_t kRequests = 50'000;
  const auto& made = facade();
  figures.push_back({"allocs_per_request_at_once", windowAllocations(made.send, made.atOnce, kRequests)});
  figures.push_back({"allocs_per_request_waiting", windowAllocations(made.send, made.waiting, kRequests)});
  figures.push_back({"allocs_per_request_setter", windowAllocations(made.send, made.setter, kRequests)});
  figures.push_back({"allocs_per_request_floor", windowAllocations(floorSend({}), made.setter, kRequests)});
#ifdef LMRPC_BENCH_PEER
  figures.push_back({"allocs_per_request_peer_threaded", peerThreadedAllocations(kRequests)});
#endif
}

}  // namespace lumetra_rpc::bench
