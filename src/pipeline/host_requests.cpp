#include "pipeline/host_requests.h"

#include "pipeline/request_run.h"
#include "pipeline/text_encoding.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc {
namespace {

// The ticket of a request that may run, or nothing when it must not (answered already,
// or refused).
std::optional<PendingRequests::Ticket> admit(PendingRequests::Completion& completion, bool& accepted) {
  accepted = false;
  if (RuntimeCore::inForkedChild() || !RuntimeCore::get()) return std::nullopt;
  auto& pending = PendingRequests::shared();
  PendingRequests::Ticket ticket;
  auto admission = pending.open(std::move(completion), ticket);
  if (admission == PendingRequests::Admission::stopped) return std::nullopt;
  accepted = true;
  if (admission == PendingRequests::Admission::draining) {
    pending.answer(std::move(ticket), shuttingDownText());
    return std::nullopt;
  }
  return ticket;
}

// Hands a request's answer to its ticket, which delivers it on the main executor.
struct AnswerTicket {
  static constexpr bool kDeliversToMain = true;
  PendingRequests::Ticket ticket;

  void operator()(std::string answer) {
    PendingRequests::shared().answer(std::move(ticket), std::move(answer));
  }
};

}  // namespace

std::string shuttingDownText() noexcept {
  return encodeErrorResponse(LMRPCError{503, "Library is shutting down", {}}, std::nullopt);
}

bool submitRequest(const std::shared_ptr<LMRPCClient>& client, std::string text,
                   PendingRequests::Completion completion) noexcept {
  bool accepted = false;
  try {
    auto ticket = admit(completion, accepted);
    if (!ticket) return accepted;
    runRequest(client, std::move(text), AnswerTicket{std::move(*ticket)});
  } catch (...) {
    // Only allocation can fail before the ticket exists; the host learns it at the call.
  }
  return accepted;
}

bool submitAnswered(std::string answer, PendingRequests::Completion completion) noexcept {
  bool accepted = false;
  try {
    auto ticket = admit(completion, accepted);
    if (ticket) PendingRequests::shared().answer(std::move(*ticket), std::move(answer));
  } catch (...) {
  }
  return accepted;
}

}  // namespace lumetra_rpc
