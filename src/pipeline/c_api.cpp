// The C boundary: every function ends in a catch-all, and every text handed to the host
// is a fresh malloc'd, NUL-terminated copy the host releases with lmrpc_text_free.

#include "lumetra_rpc/lumetra_rpc.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>

#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/runtime.h"
#include "pipeline/c_api_testing.h"
#include "pipeline/host_requests.h"
#include "pipeline/request_run.h"
#include "pipeline/shutdown.h"
#include "runtime/host_call.h"
#include "runtime/runtime_core.h"
#include "wire/records.h"

using lumetra_rpc::guarded;
using lumetra_rpc::LumetraRPCBridge;
using lumetra_rpc::Runtime;

namespace {

// Handed over when a copy cannot be allocated, so the host still gets its one call;
// lmrpc_text_free knows them and leaves them alone. Writable, as the callback type says.
template <std::size_t N>
struct StaticText {
  char text[N + 1] = {};
  constexpr explicit StaticText(std::string_view from) {
    for (std::size_t i = 0; i < N; ++i) text[i] = from[i];
  }
};
StaticText<lumetra_rpc::kResponseFallbackText.size()> gResponseFallback{lumetra_rpc::kResponseFallbackText};
StaticText<lumetra_rpc::kEventFallbackText.size()> gEventFallback{lumetra_rpc::kEventFallbackText};

std::atomic<int> gFailingCopies{0};

thread_local std::string tConfigureError;

char* copyOf(const std::string& text) noexcept {
  if (gFailingCopies.load(std::memory_order_relaxed) > 0 && gFailingCopies.fetch_sub(1) > 0) return nullptr;
  auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (!copy) return nullptr;
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

// Not noexcept: the host's runtime may end this thread inside the callback.
void handOver(lmrpc_text_callback callback, void* context, const std::string& text, char* fallback) {
  if (!callback) return;
  char* copy = copyOf(text);
  if (!copy) return callback(context, fallback, std::strlen(fallback));
  callback(context, copy, text.size());
}

LumetraRPCBridge::TextHandler completionOf(lmrpc_text_callback completion, void* context) {
  return [completion, context](std::string response) {
    handOver(completion, context, response, gResponseFallback.text);
  };
}

}  // namespace

namespace lumetra_rpc::testing_hooks {

void failNextTextCopies(int count) noexcept {
  gFailingCopies.store(count);
}

}  // namespace lumetra_rpc::testing_hooks

extern "C" {

const char* lmrpc_version(void) {
  return LMRPC_VERSION_TEXT;
}

int lmrpc_configure(const char* json, size_t length) {
  return guarded(LMRPC_INVALID_CONFIG, [&] {
    tConfigureError.clear();
    auto result = LumetraRPCBridge::configureJson(json ? std::string_view(json, length) : std::string_view());
    if (result.status == lumetra_rpc::ConfigureStatus::applied) return LMRPC_OK;
    tConfigureError = result.reason;
    return result.status == lumetra_rpc::ConfigureStatus::alreadyRunning ? LMRPC_ALREADY_RUNNING
                                                                         : LMRPC_INVALID_CONFIG;
  });
}

const char* lmrpc_configure_error(void) {
  return tConfigureError.c_str();
}

int lmrpc_execute_json(const char* text, size_t length, lmrpc_text_callback completion, void* context) {
  return guarded(LMRPC_STOPPED, [&] {
    auto done = completionOf(completion, context);
    // Refused by length before anything is copied: a huge text costs the caller nothing.
    bool accepted = length >= lumetra_rpc::kMaxRequestBytes
                        ? lumetra_rpc::submitAnswered(lumetra_rpc::oversizedRequestText(), std::move(done))
                        : LumetraRPCBridge::shared()->executeJson(
                              text ? std::string(text, length) : std::string(), std::move(done));
    return accepted ? LMRPC_OK : LMRPC_STOPPED;
  });
}

void lmrpc_set_event_handler(lmrpc_text_callback handler, void* context) {
  guarded(0, [&] {
    if (!handler) {
      LumetraRPCBridge::shared()->removeEventHandler();
      return 0;
    }
    LumetraRPCBridge::shared()->setEventHandler(
        [handler, context](std::string event) { handOver(handler, context, event, gEventFallback.text); });
    return 0;
  });
}

void lmrpc_remove_event_handler(void) {
  guarded(0, [] {
    LumetraRPCBridge::shared()->removeEventHandler();
    return 0;
  });
}

void lmrpc_text_free(char* text) {
  if (text == gResponseFallback.text || text == gEventFallback.text) return;
  std::free(text);
}

int lmrpc_shutdown(uint32_t timeout_ms) {
  return guarded(LMRPC_SHUTDOWN_TIMED_OUT, [&] {
    return lumetra_rpc::shutdownLibrary(std::chrono::milliseconds(timeout_ms)) ? LMRPC_OK
                                                                               : LMRPC_SHUTDOWN_TIMED_OUT;
  });
}

int lmrpc_use_host_driven_main(void) {
  return Runtime::useHostDrivenMain() ? 1 : 0;
}

size_t lmrpc_main_run_until_idle(void) {
  return Runtime::runMainUntilIdle();
}

size_t lmrpc_main_run_for(uint32_t milliseconds) {
  return Runtime::runMainFor(std::chrono::milliseconds(milliseconds));
}

int lmrpc_is_main_executor(void) {
  return Runtime::isOnMain() ? 1 : 0;
}

void lmrpc_set_main_wakeup(lmrpc_wakeup_callback wake, void* context) {
  if (!wake) return Runtime::setMainWakeup(nullptr);
  Runtime::setMainWakeup([wake, context] { wake(context); });
}

}  // extern "C"
