// The C interface, resolved at run time rather than linked: a host chooses which
// liblumetra_rpc to drive (an explicit path or LMRPC_LIBRARY) without rebuilding the addon.
#ifndef LUMETRA_RPC_NODE_LIBRARY_H
#define LUMETRA_RPC_NODE_LIBRARY_H

#include <string>

#include "lumetra_rpc/lumetra_rpc.h"

namespace lmrpc_node {

struct Library {
  decltype(&lmrpc_configure) configure;
  decltype(&lmrpc_configure_error) configure_error;
  decltype(&lmrpc_execute_json) execute_json;
  decltype(&lmrpc_set_event_handler) set_event_handler;
  decltype(&lmrpc_remove_event_handler) remove_event_handler;
  decltype(&lmrpc_text_free) text_free;
  decltype(&lmrpc_shutdown) shutdown;
  decltype(&lmrpc_main_run_until_idle) main_run_until_idle;
  decltype(&lmrpc_set_main_wakeup) set_main_wakeup;
  decltype(&lmrpc_version) version;
};

// Opens `path` (a bare file name goes through the loader's usual search) and resolves every
// entry point. The library is a process-wide singleton, so the first success is kept for
// good and later calls return it whatever path they name. On failure returns nullptr and
// says why in `error`.
const Library* open_library(const std::string& path, std::string& error);

}  // namespace lmrpc_node

#endif
