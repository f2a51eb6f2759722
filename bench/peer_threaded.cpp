// The peer under the facade's threading: its handler runs on a pool thread and the answer
// goes to the main executor through the main queue, 256 in flight, the same window the
// facade is measured with. The peer serves one method, so it gets the setter request.

#include <boost/asio/post.hpp>

#include "facade.h"
#include "figures.h"
#include "peer_server.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kPerRound = 200'000;

void serveOnPool(std::string text, Answer answer) {
  boost::asio::post(runningCore().pool(), [text = std::move(text), answer = std::move(answer)]() mutable {
    thread_local PeerServer server;
    std::string response;
    server.handle(text, response);
    runningCore().mainQueue().post([answer = std::move(answer), response = std::move(response)]() mutable {
      answer(std::move(response));
    });
  });
}

}  // namespace

Throughput peerThreadedThroughput() {
  Throughput measure;
  measure.name = "peer_threaded_rps";
  measure.round = [] { return windowRate(serveOnPool, facade().setter, kPerRound); };
  return measure;
}

double peerThreadedAllocations(std::size_t requests) {
  return windowAllocations(serveOnPool, facade().setter, requests);
}

}  // namespace lumetra_rpc::bench
