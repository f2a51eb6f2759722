#include "handlers/handler_support.h"

namespace lumetra_rpc::handlers {

SDKFailure unexpectedHandlerFailure() {
  return SDKFailure::ofType("Unexpected failure while handling the request", error_type::kInternal);
}

}  // namespace lumetra_rpc::handlers
