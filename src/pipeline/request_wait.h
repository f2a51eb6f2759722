#pragma once
// The bridge's way of running a waiting case: no coroutine, no frame. The request's end
// (its id, the memory its answer is written into, and who gets it) travels with the wait,
// and the answer is written wherever the wait ends. A deliverer that hands the answer to
// the main executor anyway lets a wait that ends there finish in place, so a request that
// waits crosses threads as often as one that answers at once, plus the trip to main.

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <boost/asio/post.hpp>

#include "lumetra_rpc/client.h"
#include "pipeline/request_answer.h"
#include "runtime/host_call.h"
#include "runtime/runtime_core.h"
#include "supervision/sdk_race.h"
#include "supervision/sdk_wait.h"

namespace lumetra_rpc {

// A deliverer whose answer goes to the main executor, from whatever thread it is called.
template <typename Deliver>
concept DeliversToMain = Deliver::kDeliversToMain;

template <typename Deliver>
struct RequestEnd {
  std::shared_ptr<LMRPCClient> client;
  std::optional<AnyCodable> id;
  std::string buffer;
  Deliver deliver;

  // An absent outcome means the case failed. The client lives until the answer is written.
  void finish(const std::optional<SDKOutcome>& outcome) {
    deliverSafely(deliver, answerOf(id, outcome, std::move(buffer)));
    client.reset();
  }
};

// The waiter of a race: its outcome, written as the request's answer.
template <typename Deliver>
class RaceEnd {
 public:
  static constexpr bool kResumableOnMain = DeliversToMain<Deliver>;
  using executor_type = RuntimeCore::PoolExecutor;

  RaceEnd(SDKRace race, RequestEnd<Deliver> end)
      : pool_(runningCore().pool()), race_(std::move(race)), end_(std::move(end)) {}

  executor_type get_executor() const noexcept { return pool_; }

  void operator()(SDKRaceResult result) {
    std::optional<SDKOutcome> outcome;
    try {
      outcome.emplace(race_.outcome(std::move(result)));
    } catch (...) {
      // Without memory for the outcome the case has failed.
    }
    end_.finish(outcome);
  }

  // Answered when the race could not even start.
  RequestEnd<Deliver>& end() noexcept { return end_; }

 private:
  executor_type pool_;
  SDKRace race_;
  RequestEnd<Deliver> end_;
};

// A main call's job: the call on the main executor, then the answer, written there when it
// goes to main anyway and on the pool otherwise.
template <typename Deliver>
class MainCallJob final : public QueuedJob {
 public:
  MainCallJob(MainCall call, RequestEnd<Deliver> end) : call_(std::move(call)), end_(std::move(end)) {}

  void run() override {
    std::optional<SDKOutcome> outcome;
    if (!capturedFailure(call_.call)) outcome.emplace(call_.returned());
    call_.call = nullptr;
    if constexpr (!DeliversToMain<Deliver>) {
      try {
        boost::asio::post(runningCore().pool(),
                          [end = std::move(end_), outcome]() mutable { end.finish(outcome); });
        return;
      } catch (...) {
        // Without memory to go back to the pool, the answer is written here.
      }
    }
    end_.finish(outcome);
  }

  RequestEnd<Deliver>& end() noexcept { return end_; }

 private:
  MainCall call_;
  RequestEnd<Deliver> end_;
};

// Starts the wait; the end gets exactly one outcome. A wait that cannot start (no memory,
// or a main call that finds the main executor shut down) has failed.
template <typename Deliver>
void startWait(SDKWait wait, RequestEnd<Deliver> end) {
  if (auto* race = std::get_if<SDKRace>(&wait)) {
    auto operation = std::move(race->operation);
    double timeoutSeconds = race->timeoutSeconds;
    RaceEnd<Deliver> waiter(std::move(*race), std::move(end));
    try {
      startRace(waiter, timeoutSeconds, std::move(operation));
    } catch (...) {
      // startRace throws only before it takes the waiter.
      waiter.end().finish(std::nullopt);
    }
    return;
  }
  std::shared_ptr<MainCallJob<Deliver>> job;
  try {
    job = std::make_shared<MainCallJob<Deliver>>(std::get<MainCall>(std::move(wait)), std::move(end));
  } catch (...) {
    return end.finish(std::nullopt);
  }
  if (!runningCore().mainQueue().post(std::shared_ptr<QueuedJob>(job, job.get())))
    job->end().finish(std::nullopt);
}

}  // namespace lumetra_rpc
