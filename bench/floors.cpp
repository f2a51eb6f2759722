// What the facade's threading costs with nothing else in it: each request is handed to the
// pool and answered through the main queue, batched into turns as the facade's completions
// are. The worked floor adds, on the pool thread, a spin as long as the facade's own work
// for one setter request, so the facade on that request can be read against the best this
// threading allows. That work is the process's CPU time per setter request awaited one at
// a time through a client on the pool (the facade's work without its hops), and the spin
// burns the same of the thread's CPU time, so the machine's other users lengthen neither.

#include <ctime>

#include <boost/asio/post.hpp>

#include "facade.h"
#include "figures.h"
#include "harness.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc::bench {
namespace {

constexpr std::size_t kPerRound = 200'000;

double threadCpuNs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// Spins for `length` of this thread's CPU time: time the thread spends preempted by other
// work on the machine is not work, and the facade's measured work does not hold it either.
void spinFor(std::chrono::nanoseconds length) {
  auto until = threadCpuNs() + static_cast<double>(length.count());
  while (threadCpuNs() < until) {
  }
}

}  // namespace

Send floorSend(std::chrono::nanoseconds spin) {
  return [spin](std::string text, Answer answer) {
    // The text goes with the job and dies on the pool thread, as a request's text does.
    boost::asio::post(
        runningCore().pool(), [spin, text = std::move(text), answer = std::move(answer)]() mutable {
          if (spin.count() > 0) spinFor(spin);
          runningCore().mainQueue().post([answer = std::move(answer)]() mutable { answer(std::string()); });
        });
  };
}

std::vector<Throughput> floorThroughputs() {
  const auto& made = facade();
  auto texts = std::make_shared<const std::vector<std::string>>(made.setter);
  auto floor = std::make_shared<const Send>(floorSend({}));
  double spinNs = awaitedCpuNs(*texts);
  auto worked = std::make_shared<const Send>(floorSend(std::chrono::nanoseconds(static_cast<long>(spinNs))));
  return {{"floor_rps", [floor, texts] { return windowRate(*floor, *texts, kPerRound); }, {}},
          {"worked_floor_rps", [worked, texts] { return windowRate(*worked, *texts, kPerRound); },
           [spinNs](Figures& figures) {
             figures.push_back({"worked_floor_spin_ns", spinNs});
           }}};
}

}  // namespace lumetra_rpc::bench
