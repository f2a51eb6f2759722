#include "sdk/simulator/simulator_context.h"

namespace lumetra_rpc::simulator {

SimulatorContext::SimulatorContext(SimulatorConfig config, std::shared_ptr<CallJournal> journal)
    : config_(std::move(config)), journal_(std::move(journal)) {}

void SimulatorContext::record(std::string_view call, std::optional<std::string_view> className) {
  if (journal_) journal_->record(call, {}, className);
}

void SimulatorContext::answer(const CompletionReply& reply, CompletionBlock block) {
  switch (reply.kind) {
    case CompletionReply::Kind::never:
      return;
    case CompletionReply::Kind::error:
      if (reply.timing.delayMs) {
        report(reply.timing, [block = std::move(block), error = reply.error] { block(std::nullopt, error); });
      } else {
        answer(reply.timing, [&] { block(std::nullopt, reply.error); });
      }
      return;
    case CompletionReply::Kind::data:
      if (reply.timing.delayMs) {
        report(reply.timing, [block = std::move(block), data = reply.data] { block(data, std::nullopt); });
      } else {
        answer(reply.timing, [&] { block(reply.data, std::nullopt); });
      }
      return;
  }
}

void SimulatorContext::report(const ReplyTiming& timing, std::function<void()> deliver) {
  auto delay = std::chrono::milliseconds(timing.delayMs.value_or(0));
  for (std::uint32_t i = 0; i < timing.times; ++i) scheduler_.schedule(delay, deliver);
}

}  // namespace lumetra_rpc::simulator
