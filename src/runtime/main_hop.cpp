#include "runtime/main_hop.h"

#include <utility>

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "runtime/host_call.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc {
namespace {

namespace asio = boost::asio;

template <typename Handler>
void hopToMain(Handler handler, std::function<void()> job) {
  // The main queue holds copyable jobs, and the coroutine's handler moves only: it waits
  // in a shared box. Keeping the caller's executor alive too while main is busy.
  struct Resume {
    Handler handler;
    asio::executor_work_guard<asio::associated_executor_t<Handler>> work;
  };
  auto work = asio::make_work_guard(handler);
  auto resume = std::make_shared<Resume>(Resume{std::move(handler), std::move(work)});
  runningCore().mainQueue().post([resume, job = std::move(job)] {
    // The caller awaits only "done": an exception from the job has nowhere to go.
    callForeign(job);
    // Back to the caller's own executor: resuming it inline would run request code on the
    // main executor.
    auto executor = resume->work.get_executor();
    asio::post(executor, std::move(resume->handler));
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
