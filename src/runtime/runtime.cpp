#include "lumetra_rpc/runtime.h"

#include "runtime/host_call.h"
#include "runtime/lifecycle.h"
#include "runtime/runtime_core.h"

namespace lumetra_rpc {

bool Runtime::useHostDrivenMain() noexcept {
  return guarded(false, [] {
    return changeSettings([](RuntimeSettings& settings) { settings.mainMode = MainMode::host; });
  });
}

bool Runtime::hostDriven() noexcept {
  return guarded(false, [] {
    auto* core = RuntimeCore::get();
    return core && core->mainMode() == MainMode::host;
  });
}

bool Runtime::isOnMain() noexcept {
  auto* core = RuntimeCore::ifStarted();
  return core && core->isOnMain();
}

std::size_t Runtime::poolThreadCount() noexcept {
  return guarded(std::size_t{0}, [] {
    auto* core = RuntimeCore::get();
    return core ? core->poolThreadCount() : 0;
  });
}

namespace {

// Not noexcept: a host runtime may end the pumping thread from inside a callback.
std::size_t pumpMain(std::optional<std::chrono::nanoseconds> duration) {
  return guarded(std::size_t{0}, [&]() -> std::size_t {
    if (RuntimeCore::inForkedChild()) return 0;
    auto* core = RuntimeCore::get();
    return core ? core->pump(duration) : 0;
  });
}

}  // namespace

std::size_t Runtime::runMainUntilIdle() {
  return pumpMain(std::nullopt);
}

std::size_t Runtime::runMainFor(std::chrono::nanoseconds duration) {
  return pumpMain(duration);
}

void Runtime::setMainWakeup(std::function<void()> wakeup) noexcept {
  lumetra_rpc::setMainWakeup(std::move(wakeup));
}

}  // namespace lumetra_rpc
