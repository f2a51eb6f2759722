#include "library.h"

#include <dlfcn.h>

#include <memory>

namespace lmrpc_node {
namespace {

template <typename F>
bool resolve(void* handle, const char* name, F& slot, std::string& error) {
  slot = reinterpret_cast<F>(dlsym(handle, name));
  if (slot == nullptr) error = std::string("missing symbol ") + name;
  return slot != nullptr;
}

}  // namespace

const Library* open_library(const std::string& path, std::string& error) {
  // Never freed: library threads may call back into code whose addresses live here until
  // the very end of the process.
  static Library* loaded = nullptr;
  if (loaded != nullptr) return loaded;
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* why = dlerror();
    error = why != nullptr ? why : "cannot open " + path;
    return nullptr;
  }
  auto lib = std::make_unique<Library>();
  bool ok = resolve(handle, "lmrpc_configure", lib->configure, error) &&
            resolve(handle, "lmrpc_configure_error", lib->configure_error, error) &&
            resolve(handle, "lmrpc_execute_json", lib->execute_json, error) &&
            resolve(handle, "lmrpc_set_event_handler", lib->set_event_handler, error) &&
            resolve(handle, "lmrpc_remove_event_handler", lib->remove_event_handler, error) &&
            resolve(handle, "lmrpc_text_free", lib->text_free, error) &&
            resolve(handle, "lmrpc_shutdown", lib->shutdown, error) &&
            resolve(handle, "lmrpc_main_run_until_idle", lib->main_run_until_idle, error) &&
            resolve(handle, "lmrpc_set_main_wakeup", lib->set_main_wakeup, error) &&
            resolve(handle, "lmrpc_version", lib->version, error);
  if (!ok) return nullptr;  // the handle stays open: the library is linked never to unload anyway
  loaded = lib.release();   // never freed, like the library it reaches
  return loaded;
}

}  // namespace lmrpc_node
