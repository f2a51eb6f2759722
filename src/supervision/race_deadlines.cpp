#include "supervision/race_deadlines.h"

#include <cstdint>
#include <map>
#include <mutex>

#include <boost/asio/steady_timer.hpp>

#include "runtime/immortal.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc {

using Clock = std::chrono::steady_clock;

// The races of one timeout length, oldest first, and the timer armed for the oldest.
struct DeadlineLane {
  explicit DeadlineLane(RuntimeCore::PoolExecutor pool) : timer(pool) {}

  void link(RaceDeadline& race) {
    race.previous_ = last;
    race.next_ = nullptr;
    (last ? last->next_ : first) = &race;
    last = &race;
  }

  std::shared_ptr<RaceDeadline> unlink(RaceDeadline& race) {
    (race.previous_ ? race.previous_->next_ : first) = race.next_;
    (race.next_ ? race.next_->previous_ : last) = race.previous_;
    race.previous_ = race.next_ = nullptr;
    return std::move(race.self_);
  }

  // Under the mutex.
  void waitFor(Clock::time_point at) {
    armed = true;
    timer.expires_at(at);
    timer.async_wait([this](boost::system::error_code) { expireDue(); });
  }

  // Under the mutex. Without memory for the wait, the lane stays unarmed and the races
  // in it wait for the next race of their length to arm it.
  void rearm(Clock::time_point at) noexcept {
    try {
      waitFor(at);
    } catch (...) {
      armed = false;
    }
  }

  // Each due race expires outside the lock; its resumption may take locks of its own.
  void expireDue() {
    for (;;) {
      std::shared_ptr<RaceDeadline> due;
      {
        std::lock_guard lock(mutex);
        if (!first) {
          armed = false;
          return;
        }
        if (first->at_ > Clock::now()) return rearm(first->at_);
        due = unlink(*first);
      }
      due->expire();
    }
  }

  std::mutex mutex;
  RaceDeadline* first = nullptr;
  RaceDeadline* last = nullptr;
  boost::asio::steady_timer timer;
  bool armed = false;
};

namespace {

// One lane per timeout length in use; the lengths come from the timeout configuration,
// so there are only ever a few.
DeadlineLane& laneFor(std::chrono::nanoseconds delay) {
  struct Lanes {
    std::mutex mutex;
    std::map<std::int64_t, std::unique_ptr<DeadlineLane>> byLength;
  };
  static Immortal<Lanes> lanes;
  std::lock_guard lock(lanes->mutex);
  auto& lane = lanes->byLength[delay.count()];
  if (!lane) lane = std::make_unique<DeadlineLane>(runningCore().pool());
  return *lane;
}

Clock::time_point deadlineAfter(std::chrono::nanoseconds delay) {
  auto now = Clock::now();
  if (delay >= Clock::time_point::max() - now) return Clock::time_point::max();
  return now + std::chrono::duration_cast<Clock::duration>(delay);
}

}  // namespace

void armDeadline(std::shared_ptr<RaceDeadline> race, std::chrono::nanoseconds delay) {
  auto& lane = laneFor(delay);
  race->lane_ = &lane;
  std::lock_guard lock(lane.mutex);
  // Read under the lock, so each lane's deadlines never decrease along its list.
  race->at_ = deadlineAfter(delay);
  lane.link(*race);
  RaceDeadline& linked = *race;
  linked.self_ = std::move(race);
  if (lane.armed) return;
  try {
    lane.waitFor(linked.at_);
  } catch (...) {
    // The caller still owns the race, so releasing the lane's hold here destroys nothing.
    lane.unlink(linked);
    throw;
  }
}

void disarmDeadline(RaceDeadline& race) noexcept {
  if (!race.lane_) return;
  std::shared_ptr<RaceDeadline> released;
  {
    std::lock_guard lock(race.lane_->mutex);
    if (!race.self_) return;  // expired already
    released = race.lane_->unlink(race);
  }
}

}  // namespace lumetra_rpc
