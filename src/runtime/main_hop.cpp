#include "runtime/main_hop.h"

#include <utility>

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "lumetra_rpc/runtime.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;

// Runs on the main executor. The job is the caller's code calling into the SDK or the
// host; an exception from it has nowhere to go (the caller awaits only "done", and it must
// not unwind the main executor's loop), so it is swallowed and the caller resumes as if
// the job had returned.
void runJob(const std::function<void()>& job) noexcept {
  try {
    if (job) job();
  } catch (...) {
  }
}

template <typename Handler>
void hopToMain(Handler handler, std::function<void()> job) {
  // Keeps the caller's executor alive while the main executor is busy with other work.
  auto work = asio::make_work_guard(handler);
  asio::post(Runtime::shared().main(),
             [handler = std::move(handler), work = std::move(work), job = std::move(job)]() mutable {
               runJob(job);
               // Back to the caller's own executor: resuming it inline would run request
               // code on the main executor.
               auto executor = work.get_executor();
               asio::post(executor, std::move(handler));
             });
}

}  // namespace

asio::awaitable<void> runOnMain(std::function<void()> job) {
  // The hop is not cancellable: once asked for, the job runs exactly once. The caller's
  // own cancellation setting is restored afterwards.
  bool throwIfCancelled = co_await asio::this_coro::throw_if_cancelled();
  co_await asio::this_coro::throw_if_cancelled(false);
  co_await asio::async_initiate<const asio::use_awaitable_t<>, void()>(
      [](auto handler, std::function<void()> job) { hopToMain(std::move(handler), std::move(job)); },
      asio::use_awaitable, std::move(job));
  co_await asio::this_coro::throw_if_cancelled(throwIfCancelled);
}

}  // namespace lumetra_rpc
