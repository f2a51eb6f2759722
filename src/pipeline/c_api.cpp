// The C boundary: every function ends in a catch-all, and every text handed to the host
// is a fresh malloc'd, NUL-terminated copy the host releases with lmrpc_text_free.

#include "lumetra_rpc/lumetra_rpc.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/runtime.h"
#include "pipeline/text_encoding.h"

using lumetra_rpc::LumetraRPCBridge;
using lumetra_rpc::Runtime;

namespace {

void handOver(lmrpc_text_callback callback, void* context, const std::string& text) noexcept {
  if (!callback) return;
  auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (!copy) return;
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  callback(context, copy, text.size());
}

}  // namespace

extern "C" {

void lmrpc_execute_json(const char* text, size_t length, lmrpc_text_callback completion, void* context) {
  try {
    std::string request = text ? std::string(text, length) : std::string();
    LumetraRPCBridge::shared()->executeJson(std::move(request), [completion, context](std::string response) {
      handOver(completion, context, response);
    });
  } catch (...) {
    // Only the copy of the text (or the facade's creation) can fail, before the request
    // was handed on; the host still gets its one answer, here rather than never.
    handOver(
        completion, context,
        lumetra_rpc::encodeErrorResponse({500, "An unexpected internal error occurred", {}}, std::nullopt));
  }
}

void lmrpc_set_event_handler(lmrpc_text_callback handler, void* context) {
  try {
    if (!handler) {
      LumetraRPCBridge::shared()->removeEventHandler();
      return;
    }
    LumetraRPCBridge::shared()->setEventHandler(
        [handler, context](std::string event) { handOver(handler, context, event); });
  } catch (...) {
  }
}

void lmrpc_remove_event_handler(void) {
  try {
    LumetraRPCBridge::shared()->removeEventHandler();
  } catch (...) {
  }
}

void lmrpc_text_free(char* text) {
  std::free(text);
}

int lmrpc_use_host_driven_main(void) {
  return Runtime::useHostDrivenMain() ? 1 : 0;
}

size_t lmrpc_main_run_until_idle(void) {
  try {
    return Runtime::shared().runMainUntilIdle();
  } catch (...) {
    return 0;
  }
}

size_t lmrpc_main_run_for(uint32_t milliseconds) {
  try {
    return Runtime::shared().runMainFor(std::chrono::milliseconds(milliseconds));
  } catch (...) {
    return 0;
  }
}

int lmrpc_is_main_executor(void) {
  try {
    return Runtime::shared().isOnMain() ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

}  // extern "C"
