#include "handlers/handler_support.h"

#include "runtime/main_hop.h"

namespace lumetra_rpc::handlers {

SDKFailure unexpectedHandlerFailure() {
  return SDKFailure::ofType("Unexpected failure while handling the request", error_type::kInternal);
}

boost::asio::awaitable<void> callOnMain(std::function<void()> call) {
  // The frame outlives the job: runOnMain resumes us only after the job has run.
  std::exception_ptr failure;
  co_await runOnMain([&call, &failure] {
    try {
      call();
    } catch (...) {
      failure = std::current_exception();
    }
  });
  if (failure) std::rethrow_exception(failure);
}

}  // namespace lumetra_rpc::handlers
