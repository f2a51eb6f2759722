#pragma once
// The awaitable form of LMRPCClient's request, for hosts that run Asio coroutines
// themselves. Optional: the rest of the public headers do not need Boost.

#include <string>

#include <boost/asio/awaitable.hpp>

#include "lumetra_rpc/client.h"

namespace lumetra_rpc {

// Runs on the library's pool whichever executor awaits it; awaited from a pool thread, a
// request that needs no waiting is answered on that thread without a hop. `client` must
// stay alive until the returned awaitable has started.
LMRPC_API boost::asio::awaitable<std::string> execute(LMRPCClient& client, std::string jsonRequest);

}  // namespace lumetra_rpc
