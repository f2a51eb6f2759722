#pragma once
// What the pipeline (and the tests that fire SDK callbacks) reach inside a client.

#include <memory>

#include "lumetra_rpc/client.h"

namespace lumetra_rpc {

struct ClientInternals {
  static const std::shared_ptr<LMRPCRequestHandler>& handler(const LMRPCClient& client) noexcept {
    return client.handler_;
  }
};

}  // namespace lumetra_rpc
