// The Node side of LumetraRPC. The library runs its main executor in host-driven mode and
// says when it has work through the wake-up; a thread-safe function turns that into a pump
// on the JS thread, so every completion and event runs where promises and emitters live.
// The thread-safe function is ref'ed exactly while requests are outstanding: that is what
// keeps the event loop alive for them, and nothing else does.
#include <napi.h>

#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_set>

#include "library.h"

namespace lmrpc_node {
namespace {

// Reached from library threads at any time, also while Node tears the environment down, so
// it is never freed and the thread-safe function is only called under its lock.
struct WakeChannel {
  std::mutex mutex;
  napi_threadsafe_function tsfn = nullptr;  // nullptr once the JS side stopped listening
};

struct Pending {
  napi_deferred deferred;
};

// The one JS environment driving the library (the library is a process-wide singleton).
// Touched only on that environment's thread.
struct Host {
  napi_env env = nullptr;
  std::thread::id thread;
  const Library* lib = nullptr;
  WakeChannel* wake = nullptr;
  napi_threadsafe_function tsfn = nullptr;
  napi_ref emit = nullptr;
  std::unordered_set<Pending*> pending;
  bool attached = false;  // pumping, and delivering to JS
  int pumping = 0;        // nesting depth of our pump on the JS thread
  bool sweep_after_pump = false;
};

Host* host = nullptr;

bool on_js_thread() {
  return host != nullptr && std::this_thread::get_id() == host->thread;
}

void wake(void* context) noexcept {
  auto* channel = static_cast<WakeChannel*>(context);
  try {
    std::lock_guard<std::mutex> lock(channel->mutex);
    // Non-blocking: the library needs the wake-up to return at once.
    if (channel->tsfn != nullptr)
      napi_call_threadsafe_function(channel->tsfn, nullptr, napi_tsfn_nonblocking);
  } catch (...) {
  }
}

void sweep_unanswered();

void pump(napi_env env, napi_value, void*, void*) noexcept {
  if (env == nullptr || host == nullptr || !host->attached) return;
  ++host->pumping;
  host->lib->main_run_until_idle();
  --host->pumping;
  if (host->pumping == 0 && host->sweep_after_pump) {
    napi_handle_scope scope = nullptr;
    napi_open_handle_scope(env, &scope);
    sweep_unanswered();
    napi_close_handle_scope(env, scope);
  }
}

void keep_loop_alive(bool alive) {
  if (alive) {
    napi_ref_threadsafe_function(host->env, host->tsfn);
  } else {
    napi_unref_threadsafe_function(host->env, host->tsfn);
  }
}

napi_value make_error(napi_env env, const char* code, const char* message) {
  napi_value code_value = nullptr, message_value = nullptr, error = nullptr;
  napi_create_string_utf8(env, code, NAPI_AUTO_LENGTH, &code_value);
  napi_create_string_utf8(env, message, NAPI_AUTO_LENGTH, &message_value);
  napi_create_error(env, code_value, message_value, &error);
  return error;
}

// Settles one request; the last one lets the event loop end.
void settle(Pending* request, napi_value value, bool fulfilled) {
  std::unique_ptr<Pending> settled(request);
  napi_env env = host->env;
  if (fulfilled) {
    napi_resolve_deferred(env, request->deferred, value);
  } else {
    napi_reject_deferred(env, request->deferred, value);
  }
  settled.reset();
  if (host->pending.empty()) keep_loop_alive(false);
}

// A JS exception left pending would make every later N-API call in this pump fail; hand it
// to Node's uncaught-exception handling instead, as Node does for its own callbacks.
void report_pending_exception(napi_env env) {
  bool pending = false;
  if (napi_is_exception_pending(env, &pending) != napi_ok || !pending) return;
  napi_value error = nullptr;
  if (napi_get_and_clear_last_exception(env, &error) == napi_ok) napi_fatal_exception(env, error);
}

void on_complete(void* context, char* text, size_t length) noexcept {
  auto* request = static_cast<Pending*>(context);
  // Completions run inside our own pump or lmrpc_shutdown, both on the JS thread; anything
  // else (or a request already failed by shutdown) cannot touch JS.
  if (!on_js_thread() || host->pending.erase(request) == 0) {
    host->lib->text_free(text);
    return;
  }
  napi_env env = host->env;
  napi_handle_scope scope = nullptr;
  napi_open_handle_scope(env, &scope);
  napi_value response = nullptr;
  bool copied = napi_create_string_utf8(env, text, length, &response) == napi_ok;
  host->lib->text_free(text);
  if (copied) {
    settle(request, response, true);
  } else {
    settle(request, make_error(env, "LMRPC_NO_MEMORY", "the response could not be copied into JS"), false);
  }
  report_pending_exception(env);
  napi_close_handle_scope(env, scope);
}

void on_event(void*, char* text, size_t length) noexcept {
  if (!on_js_thread() || !host->attached) {
    if (host != nullptr) host->lib->text_free(text);
    return;
  }
  napi_env env = host->env;
  napi_handle_scope scope = nullptr;
  napi_open_handle_scope(env, &scope);
  napi_value event = nullptr, emit = nullptr, global = nullptr, ignored = nullptr;
  bool copied = napi_create_string_utf8(env, text, length, &event) == napi_ok;
  host->lib->text_free(text);
  if (copied && napi_get_reference_value(env, host->emit, &emit) == napi_ok && emit != nullptr &&
      napi_get_global(env, &global) == napi_ok) {
    napi_call_function(env, global, emit, 1, &event, &ignored);
  }
  report_pending_exception(env);
  napi_close_handle_scope(env, scope);
}

// Stops deliveries to JS for good. Runs at process exit (also from inside a callback), when
// Node tears the environment down, and after shutdown; a library thread that wakes us later
// finds the channel closed.
void detach() noexcept {
  if (host == nullptr || !host->attached) return;
  host->attached = false;
  host->lib->set_main_wakeup(nullptr, nullptr);
  host->lib->remove_event_handler();
  try {
    std::lock_guard<std::mutex> lock(host->wake->mutex);
    host->wake->tsfn = nullptr;
  } catch (...) {
  }
}

void detach_hook(void*) noexcept {
  detach();
}

const Library* load(const Napi::Env& env, const Napi::Value& path) {
  std::string error;
  const Library* lib = open_library(path.As<Napi::String>().Utf8Value(), error);
  if (lib == nullptr) throw Napi::Error::New(env, "cannot load LumetraRPC: " + error);
  return lib;
}

// open(libraryPath, configureJson, emit): configures the library, which must not have
// started yet, and attaches this environment as its host.
Napi::Value Open(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (host != nullptr) {
    throw Napi::Error::New(env, host->env == napi_env(env)
                                    ? "LumetraRPC is already open"
                                    : "LumetraRPC is driven by another JS thread of this process");
  }
  const Library* lib = load(env, info[0]);
  std::string config = info[1].As<Napi::String>().Utf8Value();
  int configured = lib->configure(config.data(), config.size());
  if (configured == LMRPC_ALREADY_RUNNING) {
    throw Napi::Error::New(env, "LumetraRPC was started before this kit could configure it");
  }
  if (configured != LMRPC_OK)
    throw Napi::Error::New(env, std::string("configure: ") + lib->configure_error());

  auto created = std::make_unique<Host>();
  created->env = env;
  created->thread = std::this_thread::get_id();
  created->lib = lib;
  napi_value name = Napi::String::New(env, "LumetraRPC pump");
  NAPI_THROW_IF_FAILED(env,
                       napi_create_threadsafe_function(env, nullptr, nullptr, name, 0, 1, nullptr, nullptr,
                                                       nullptr, pump, &created->tsfn),
                       Napi::Value());
  napi_unref_threadsafe_function(env, created->tsfn);
  napi_create_reference(env, info[2], 1, &created->emit);
  // Never freed: library threads may call the wake-up until the process ends.
  created->wake = std::make_unique<WakeChannel>().release();
  created->wake->tsfn = created->tsfn;
  created->attached = true;
  host = created.release();
  napi_add_env_cleanup_hook(env, detach_hook, nullptr);
  // The wake-up before the first call that starts the library, so no work goes unsignalled.
  lib->set_main_wakeup(wake, host->wake);
  lib->set_event_handler(on_event, nullptr);
  return Napi::String::New(env, lib->version());
}

// execute(text | Uint8Array): a promise of the response text.
Napi::Value Execute(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (host == nullptr || host->env != napi_env(env)) throw Napi::Error::New(env, "LumetraRPC is not open");
  std::string text;
  if (info[0].IsTypedArray()) {
    auto bytes = info[0].As<Napi::Uint8Array>();
    text.assign(reinterpret_cast<const char*>(bytes.Data()), bytes.ByteLength());
  } else {
    text = info[0].As<Napi::String>().Utf8Value();  // UTF-8 bytes, counted as bytes
  }
  napi_value promise = nullptr;
  napi_deferred raw = nullptr;
  NAPI_THROW_IF_FAILED(env, napi_create_promise(env, &raw, &promise), Napi::Value());
  auto request = std::make_unique<Pending>(Pending{raw});
  int accepted = host->lib->execute_json(text.data(), text.size(), on_complete, request.get());
  if (accepted != LMRPC_OK) {
    // No completion will ever come for it.
    napi_reject_deferred(env, raw, make_error(env, "LMRPC_STOPPED", "LumetraRPC has shut down"));
    return Napi::Value(env, promise);
  }
  if (host->pending.empty()) keep_loop_alive(true);
  host->pending.insert(request.release());  // owned by its completion from here (settle)
  return Napi::Value(env, promise);
}

// After shutdown no callback runs again: what is still pending will never be answered.
void sweep_unanswered() {
  host->sweep_after_pump = false;
  while (!host->pending.empty()) {
    Pending* request = *host->pending.begin();
    host->pending.erase(host->pending.begin());
    settle(request, make_error(host->env, "LMRPC_STOPPED", "LumetraRPC shut down before answering"), false);
  }
}

// shutdown(libraryPath, timeoutMs): the library's result code. Completions still owed are
// delivered inside it; whatever it could not answer is rejected, so every promise settles.
Napi::Value Shutdown(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  uint32_t timeout = info[1].As<Napi::Number>().Uint32Value();
  if (host == nullptr) return Napi::Number::New(env, load(env, info[0])->shutdown(timeout));
  if (host->env != napi_env(env))
    throw Napi::Error::New(env, "LumetraRPC is driven by another JS thread of this process");
  int result = host->lib->shutdown(timeout);
  detach();
  // Called from a callback inside our pump, the library may still deliver answers of the
  // jobs that pump run has taken; those must settle as answered, so wait for it to return.
  if (host->pumping > 0) {
    host->sweep_after_pump = true;
  } else {
    sweep_unanswered();
  }
  return Napi::Number::New(env, result);
}

Napi::Value Detach(const Napi::CallbackInfo& info) {
  if (host != nullptr && host->env == napi_env(info.Env())) detach();
  return info.Env().Undefined();
}

Napi::Value Outstanding(const Napi::CallbackInfo& info) {
  bool ours = host != nullptr && host->env == napi_env(info.Env());
  return Napi::Number::New(info.Env(), ours ? static_cast<double>(host->pending.size()) : 0);
}

// Only Napi::Error is turned into a JS exception by node-addon-api; anything else thrown
// here (bad_alloc) must not unwind into Node.
template <Napi::Value (*F)(const Napi::CallbackInfo&)>
Napi::Value guarded(const Napi::CallbackInfo& info) {
  try {
    return F(info);
  } catch (const Napi::Error&) {
    throw;
  } catch (const std::exception& e) {
    throw Napi::Error::New(info.Env(), e.what());
  } catch (...) {
    throw Napi::Error::New(info.Env(), "unexpected native failure");
  }
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("open", Napi::Function::New<guarded<Open>>(env, "open"));
  exports.Set("execute", Napi::Function::New<guarded<Execute>>(env, "execute"));
  exports.Set("shutdown", Napi::Function::New<guarded<Shutdown>>(env, "shutdown"));
  exports.Set("detach", Napi::Function::New<guarded<Detach>>(env, "detach"));
  exports.Set("outstanding", Napi::Function::New<guarded<Outstanding>>(env, "outstanding"));
  return exports;
}

}  // namespace
}  // namespace lmrpc_node

static Napi::Object InitModule(Napi::Env env, Napi::Object exports) {
  return lmrpc_node::Init(env, exports);
}

NODE_API_MODULE(lumetra_rpc_node, InitModule)
