#pragma once
// The two executors the library runs on, seen from a C++ host. Requests run on a shared
// thread pool; the main executor is one serial executor that stands in for the host's main
// thread: completions, event deliveries and the SDK calls that must happen "on the main
// thread" run only there, one at a time.
//
// By default the library owns one dedicated thread that runs the main executor, started on
// first use. A host with a loop of its own (a game engine's update tick, the command-line
// host, tests) chooses host-driven mode before first use (here, or through
// LumetraRPCBridge::configure) and pumps the executor itself. The C interface in
// lumetra_rpc.h documents the same rules function by function.

#include <chrono>
#include <cstddef>
#include <functional>

#include "lumetra_rpc/export.h"

namespace lumetra_rpc {

class LMRPC_API Runtime {
 public:
  Runtime() = delete;

  // Chooses host-driven mode. False (and nothing changes) once the library has started.
  static bool useHostDrivenMain() noexcept;
  static bool hostDriven() noexcept;
  static bool isOnMain() noexcept;
  static std::size_t poolThreadCount() noexcept;

  // Host-driven mode only: run every ready main-executor job and return, or keep running
  // jobs as they arrive for the whole `duration` (waiting, not spinning, while there are
  // none). Both return the number of jobs run. They do nothing and return 0 in the default
  // mode, while another thread pumps, and from inside a job (a callback). Nothing a job
  // throws escapes.
  static std::size_t runMainUntilIdle();
  static std::size_t runMainFor(std::chrono::nanoseconds duration);

  // Host-driven mode: `wakeup` is called, from any thread, each time the main executor
  // goes from idle to having work, so a host loop can pump only when needed. It must not
  // pump or block; it may be called again before the host has pumped. Work already waiting
  // when it is set was announced to the one before: pump once after setting it.
  static void setMainWakeup(std::function<void()> wakeup) noexcept;
};

}  // namespace lumetra_rpc
