#include "sdk/simulator/simulator_context.h"

namespace lumetra_rpc::simulator {

namespace {

// The caller's callbacks are not ours to trust: nothing they throw may escape into the
// code that called the SDK.
void shielded(const std::function<void()>& deliver) noexcept {
  try {
    deliver();
  } catch (...) {
  }
}

}  // namespace

SimulatorContext::SimulatorContext(SimulatorConfig config, std::shared_ptr<CallJournal> journal)
    : config_(std::move(config)), journal_(std::move(journal)) {}

void SimulatorContext::record(std::string_view call, std::optional<std::string_view> className) {
  if (journal_) journal_->record(call, {}, className);
}

void SimulatorContext::answer(const ReplyTiming& timing, std::function<void()> deliver) {
  if (timing.delayMs) {
    report(timing, std::move(deliver));
    return;
  }
  for (std::uint32_t i = 0; i < timing.times; ++i) shielded(deliver);
}

void SimulatorContext::answer(const CompletionReply& reply, CompletionBlock block) {
  switch (reply.kind) {
    case CompletionReply::Kind::never:
      return;
    case CompletionReply::Kind::error:
      answer(reply.timing, [block = std::move(block), error = reply.error] { block(std::nullopt, error); });
      return;
    case CompletionReply::Kind::data:
      answer(reply.timing, [block = std::move(block), data = reply.data] { block(data, std::nullopt); });
      return;
  }
}

void SimulatorContext::report(const ReplyTiming& timing, std::function<void()> deliver) {
  auto delay = std::chrono::milliseconds(timing.delayMs.value_or(0));
  for (std::uint32_t i = 0; i < timing.times; ++i) scheduler_.schedule(delay, deliver);
}

}  // namespace lumetra_rpc::simulator
