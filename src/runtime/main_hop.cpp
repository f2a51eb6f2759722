#include "runtime/main_hop.h"

#include <utility>

#include <boost/asio/append.hpp>
#include <boost/asio/as_tuple.hpp>
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

// The hop's job on the main queue: it carries the caller's handler, which moves only, and
// keeps the caller's executor alive while main is busy.
template <typename Handler>
class Hop final : public QueuedJob {
 public:
  Hop(Handler handler, std::function<void()> job)
      : handler_(std::move(handler)), work_(asio::make_work_guard(handler_)), job_(std::move(job)) {}

  void run() override {
    // What the job throws is the caller's to handle, not the main loop's.
    auto failure = capturedFailure(job_);
    // Back to the caller's own executor: resuming it inline would run request code on the
    // main executor.
    auto executor = work_.get_executor();
    asio::post(executor, asio::append(std::move(handler_), std::move(failure)));
  }

 private:
  Handler handler_;
  asio::executor_work_guard<asio::associated_executor_t<Handler>> work_;
  std::function<void()> job_;
};

template <typename Handler>
void hopToMain(Handler handler, std::function<void()> job) {
  runningCore().mainQueue().post(std::make_shared<Hop<Handler>>(std::move(handler), std::move(job)));
}

}  // namespace

asio::awaitable<void> runOnMain(std::function<void()> job) {
  // The hop is not cancellable: once asked for, the job runs exactly once. The caller's
  // own cancellation setting is restored afterwards.
  bool throwIfCancelled = co_await asio::this_coro::throw_if_cancelled();
  co_await asio::this_coro::throw_if_cancelled(false);
  auto hop = asio::async_initiate<const asio::as_tuple_t<asio::use_awaitable_t<>>, void(std::exception_ptr)>(
      [](auto handler, std::function<void()> job) { hopToMain(std::move(handler), std::move(job)); },
      asio::as_tuple(asio::use_awaitable), std::move(job));
  auto [failure] = co_await std::move(hop);
  co_await asio::this_coro::throw_if_cancelled(throwIfCancelled);
  if (failure) std::rethrow_exception(failure);
}

}  // namespace lumetra_rpc
