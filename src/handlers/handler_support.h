#pragma once
// The dispatch shared by the eight handlers: visit the category variant with an overload
// set that has one function per case, some answering at once and some asynchronously,
// and make sure that no exception from an SDK implementation leaves the handler.

#include <exception>
#include <functional>
#include <utility>
#include <variant>

#include "supervision/outcome.h"
#include "supervision/routed_outcome.h"

namespace lumetra_rpc::handlers {

// The outcome for a case that threw instead of answering; the host still gets a result.
SDKFailure unexpectedHandlerFailure();

// Visits `request` with `apply`, which takes the case's record by rvalue and returns an
// SDKOutcome, the description of its wait, or either. Whatever a case throws while
// answering is caught here; a waiting case takes everything it needs by value, and what
// its main call throws later reaches whoever runs the wait, which answers with the same
// failure.
template <typename Variant, typename Apply>
RoutedOutcome dispatchCase(Variant request, Apply apply) {
  try {
    return std::visit([&](auto& record) { return asRouted(apply(std::move(record))); }, request);
  } catch (...) {
    return asRouted(unexpectedHandlerFailure());
  }
}

}  // namespace lumetra_rpc::handlers
