#pragma once
// A one-shot event that coroutines can await: the handle of a task that yields nothing.
// Awaiting a latch that has already opened completes at once; waiters resume on their
// own executors, never inside `open()`.

#include <atomic>
#include <mutex>
#include <vector>

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace lumetra_rpc {

class AsyncLatch {
 public:
  void open() {
    std::vector<Waiter> waiters;
    {
      std::lock_guard lock(mutex_);
      if (open_) return;
      open_ = true;
      opened_.store(true, std::memory_order_release);
      waiters.swap(waiters_);
    }
    for (auto& waiter : waiters) resume(std::move(waiter));
  }

  // Lock-free: every request asks, and once open a latch never closes.
  bool isOpen() const noexcept { return opened_.load(std::memory_order_acquire); }

  boost::asio::awaitable<void> wait() {
    return boost::asio::async_initiate<const boost::asio::use_awaitable_t<>, void()>(
        [this](auto handler) {
          auto executor = boost::asio::get_associated_executor(handler);
          Waiter waiter{executor, std::move(handler)};
          {
            std::lock_guard lock(mutex_);
            if (!open_) {
              waiters_.push_back(std::move(waiter));
              return;
            }
          }
          resume(std::move(waiter));
        },
        boost::asio::use_awaitable);
  }

 private:
  // The waiter's own executor is captured at initiation, where its type is still known.
  struct Waiter {
    boost::asio::any_io_executor executor;
    boost::asio::any_completion_handler<void()> handler;
  };

  static void resume(Waiter waiter) {
    boost::asio::post(waiter.executor,
                      [handler = std::move(waiter.handler)]() mutable { std::move(handler)(); });
  }

  std::mutex mutex_;
  bool open_ = false;
  std::atomic<bool> opened_{false};
  std::vector<Waiter> waiters_;
};

}  // namespace lumetra_rpc
