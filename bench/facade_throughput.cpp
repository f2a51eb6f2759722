// Requests per second through the facade, 256 in flight: on the whole mix, on the peer's
// setter request alone, and on each half of the mix alone, to see what the waiting half
// does to the rest.

#include "facade.h"
#include "figures.h"
#include "harness.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kPerRound = 200'000;

Throughput on(const char* name, const std::vector<std::string>& texts) {
  const auto& made = facade();
  return {name, [&made, &texts] { return windowRate(made.send, texts, kPerRound); }, {}};
}

}  // namespace

std::vector<Throughput> facadeThroughputs() {
  const auto& made = facade();
  auto mix = on("bridge_rps", made.mix);
  mix.finish = [&made](Figures& figures) {
    figures.push_back({"mix_execute_ns", awaitedNs(made.mix)});
    figures.push_back({"mix_waiting_requests", static_cast<double>(made.waiting.size())});
    figures.push_back({"mix_at_once_requests", static_cast<double>(made.atOnce.size())});
  };
  return {mix, on("setter_rps", made.setter), on("at_once_rps", made.atOnce),
          on("waiting_rps", made.waiting)};
}

}  // namespace lumetra_rpc::bench
