#pragma once
// What the simulated SDK's classes share: the behaviour config, the call journal and the
// thread that delivers late answers and delegate reports. One context belongs to one
// shared LumetraLib instance; the helper classes reach it through that instance.
//
// Scheduled jobs never capture the context itself: a job must not be the last owner of
// the thread it runs on.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "sdk/simulator/call_journal.h"
#include "sdk/simulator/scheduler.h"
#include "sdk/simulator/simulator_config.h"

namespace lumetra_rpc::simulator {

// The SDK's block shape for answers of dictionary and error.
using CompletionBlock = std::function<void(std::optional<AnyKeyMap>, std::optional<SDKError>)>;

class SimulatorContext {
 public:
  SimulatorContext(SimulatorConfig config, std::shared_ptr<CallJournal> journal);

  const SimulatorConfig& config() const noexcept { return config_; }
  SimScheduler& scheduler() noexcept { return scheduler_; }

  // A call is journalled only while a journal is open; its arguments are built only then,
  // so that an unrecorded setter copies nothing.
  void record(std::string_view call, std::optional<std::string_view> className = std::nullopt);
  template <typename MakeArgs>
  requires std::is_invocable_r_v<JSONArray, MakeArgs&>
  void record(std::string_view call, MakeArgs makeArgs,
              std::optional<std::string_view> className = std::nullopt) {
    if (journal_) journal_->record(call, makeArgs(), className);
  }

  // Runs `deliver` `timing.times` times: at once on this thread without a delay, else
  // from the simulator's thread once the delay has passed. An answer at once is not
  // wrapped, so it costs the caller nothing to store.
  template <typename Deliver>
  void answer(const ReplyTiming& timing, Deliver deliver) {
    if (timing.delayMs) return report(timing, std::move(deliver));
    for (std::uint32_t i = 0; i < timing.times; ++i) shielded(deliver);
  }

  // Answers `block` as `reply` says (data, error or never).
  void answer(const CompletionReply& reply, CompletionBlock block);

  // Delegate reports always come from the simulator's thread, as a real SDK's would.
  void report(const ReplyTiming& timing, std::function<void()> deliver);

 private:
  // The caller's callbacks are not ours to trust: nothing they throw may escape into the
  // code that called the SDK.
  template <typename Deliver>
  static void shielded(Deliver& deliver) noexcept {
    try {
      deliver();
    } catch (...) {
    }
  }

  SimulatorConfig config_;
  std::shared_ptr<CallJournal> journal_;
  SimScheduler scheduler_;
};

}  // namespace lumetra_rpc::simulator
