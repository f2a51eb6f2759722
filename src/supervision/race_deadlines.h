#pragma once
// The timeouts of every SDK race, process-wide. Races with one timeout length expire in
// the order they started, so each length keeps its races in one list behind one timer
// armed for the oldest: a race costs a link in a list rather than a timer of its own, and
// a race the SDK wins is unlinked at once.

#include <chrono>
#include <memory>

namespace lumetra_rpc {

struct DeadlineLane;

// Embedded in a race. Linked, it is kept alive by its lane until it expires or is disarmed.
class RaceDeadline {
 public:
  // Runs on a pool thread, once, if the deadline passes while armed.
  virtual void expire() noexcept = 0;

 protected:
  ~RaceDeadline() = default;

 private:
  friend struct DeadlineLane;
  friend void armDeadline(std::shared_ptr<RaceDeadline> race, std::chrono::nanoseconds delay);
  friend void disarmDeadline(RaceDeadline& race) noexcept;

  // All but `lane_` are guarded by the lane's mutex; `lane_` is set once, before sharing.
  DeadlineLane* lane_ = nullptr;
  std::chrono::steady_clock::time_point at_;
  RaceDeadline* previous_ = nullptr;
  RaceDeadline* next_ = nullptr;
  std::shared_ptr<RaceDeadline> self_;
};

// Expires `race` after `delay` unless it is disarmed first.
void armDeadline(std::shared_ptr<RaceDeadline> race, std::chrono::nanoseconds delay);
// Does nothing once the race has expired.
void disarmDeadline(RaceDeadline& race) noexcept;

}  // namespace lumetra_rpc
