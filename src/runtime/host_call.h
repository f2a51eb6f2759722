#pragma once
// The one way the library runs code it does not own (host callbacks, SDK operations):
// nothing that code throws escapes into the library's loops. The single exception is the
// forced unwinding with which a runtime ends a thread that calls into it (pthread_exit, as
// Python does to a foreign thread while the interpreter finalises): swallowing it aborts
// the process, so it continues, and no frame on a path that calls host code is noexcept.

#include <cxxabi.h>

#include <exception>
#include <utility>

// A forced unwind carries no exception object, so catching it binds the reference to null:
// that is how the C++ runtime hands it over, and the null-reference check would take it for
// a fault. Inlined, the function would be checked under its caller's flags again.
#define LMRPC_CATCHES_FORCED_UNWIND __attribute__((no_sanitize("null"), noinline))

namespace lumetra_rpc {

// A host runtime that ends one of its threads inside our call is tearing itself down: no
// further callback starts, since the next one may find that runtime already gone (Python
// crashes a foreign thread that calls in after its interpreter is finalised).
void hostRuntimeEnding() noexcept;

// Runs `body`, turning anything it throws into `fallback`, except that forced unwind: the
// catch-all of every function at the library's boundary.
template <typename R, typename F>
LMRPC_CATCHES_FORCED_UNWIND R guarded(R fallback, F&& body) {
  try {
    return std::forward<F>(body)();
  } catch (const abi::__forced_unwind&) {
    hostRuntimeEnding();
    throw;
  } catch (...) {
    return fallback;
  }
}

// Runs `call` and hands back what it threw, for a failure that belongs to someone on
// another thread; a forced unwind continues as everywhere else.
template <typename F>
LMRPC_CATCHES_FORCED_UNWIND std::exception_ptr capturedFailure(F&& call) {
  try {
    std::forward<F>(call)();
    return nullptr;
  } catch (const abi::__forced_unwind&) {
    hostRuntimeEnding();
    throw;
  } catch (...) {
    return std::current_exception();
  }
}

template <typename F>
LMRPC_CATCHES_FORCED_UNWIND void callForeign(F&& call) {
  try {
    std::forward<F>(call)();
  } catch (const abi::__forced_unwind&) {
    hostRuntimeEnding();
    throw;
  } catch (...) {
  }
}

}  // namespace lumetra_rpc
