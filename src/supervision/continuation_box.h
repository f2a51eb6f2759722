#pragma once
// The one-shot hand-off that ends a timeout race. Created once per race and shared by
// everyone who may resume the waiting coroutine: the SDK's completion (any thread,
// possibly twice, possibly after the race is over), the timer, and the cancellation
// handler (whichever thread cancels). The first resume wins; every later one is dropped
// and reports false.

#include <mutex>
#include <optional>
#include <utility>
#include <variant>

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

#include "runtime/runtime_core.h"
#include "supervision/race_result.h"

namespace lumetra_rpc {

// A waiter whose rest only writes an answer that is due on the main executor anyway: when
// the race ends there, it is resumed in place rather than sent to its own executor and
// back. Every other waiter always resumes on its own executor.
template <typename Handler>
concept ResumableOnMain = Handler::kResumableOnMain;

template <typename Handler>
class SDKContinuationBox {
 public:
  // Arms the box. It is armed exactly once per race; a second handler would be a
  // programming error and is ignored rather than allowed to replace the first.
  void setContinuation(Handler handler) {
    std::lock_guard guard(_lock);
    if (_continuation) return;
    // The waiter's executor must stay alive while the SDK keeps us waiting.
    work_.emplace(boost::asio::make_work_guard(handler));
    _continuation.emplace(std::move(handler));
  }

  // Returns whether this call resumed the waiter. Safe from any thread, at any time.
  bool resume(SDKRaceResult result) noexcept {
    std::optional<Handler> handler;
    std::optional<Work> work;
    {
      std::lock_guard guard(_lock);
      if (_fired || !_continuation) return false;
      _fired = true;
      handler.emplace(std::move(*_continuation));
      work.emplace(std::move(*work_));
      _continuation.reset();
      work_.reset();
    }
    deliver(std::move(*handler), std::move(*work), std::move(result));
    return true;
  }

 private:
  using Work = boost::asio::executor_work_guard<boost::asio::associated_executor_t<Handler>>;

  // The caller may be an SDK thread or the code that is cancelling the race: the waiter
  // resumes on its own executor, never inline here, and never under the lock; only on the
  // main executor may a waiter that allows it be resumed in place.
  static void deliver(Handler handler, Work work, SDKRaceResult result) noexcept {
    if constexpr (ResumableOnMain<Handler>) {
      auto* core = RuntimeCore::ifStarted();
      if (core && core->isOnMain()) return std::move(handler)(std::move(result));
    }
    try {
      boost::asio::post(work.get_executor(),
                        [handler = std::move(handler), result = std::move(result)]() mutable {
                          std::move(handler)(std::move(result));
                        });
    } catch (...) {
      // Only allocation can fail here. The waiter then never resumes; nothing better can
      // be done without memory, and an exception must not reach an SDK thread.
    }
  }

  std::mutex _lock;
  std::optional<Handler> _continuation;
  std::optional<Work> work_;
  bool _fired = false;
};

}  // namespace lumetra_rpc
