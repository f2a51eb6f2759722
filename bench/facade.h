#pragma once
// The facade every facade figure goes through, and the request sets it is measured on.

#include <memory>
#include <string>
#include <vector>

#include "lumetra_rpc/bridge.h"
#include "window.h"

namespace lumetra_rpc::bench {

struct Facade {
  std::shared_ptr<LumetraRPCBridge> bridge;
  Send send;
  std::vector<std::string> mix;
  // The mix split by how the facade answers: at once, or after waiting for the SDK's answer.
  std::vector<std::string> atOnce;
  std::vector<std::string> waiting;
  // The request the peer also serves.
  std::vector<std::string> setter;
};

// Made on first use; splitting the mix runs every request of it once.
const Facade& facade();

// The median cost of one request of `texts`, each awaited in turn through a client on a
// pool thread: the requests' own work, without the facade's hops.
double awaitedNs(const std::vector<std::string>& texts);
// The process's CPU time per request over the same serial run: with one request at a time
// it is the requests' own work, which the machine's other users cannot lengthen.
double awaitedCpuNs(const std::vector<std::string>& texts);

}  // namespace lumetra_rpc::bench
