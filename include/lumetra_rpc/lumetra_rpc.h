/* The C interface to LumetraRPC, for any FFI (C#, Dart, JNI, Node, Python ctypes).
 *
 * Conventions that hold for every function below:
 *  1. Any function may be called from any thread, at any time, also concurrently. None
 *     lets an exception or a crash escape.
 *  2. Callbacks (completions, event handlers) run on the main executor, one at a time:
 *     in the default mode on a thread the library owns; in host-driven mode inside the
 *     host's lmrpc_main_run_until_idle / lmrpc_main_run_for calls, on the pumping thread.
 *     lmrpc_is_main_executor() tells whether the calling thread is running it now.
 *  3. Texts in are pointer and length (UTF-8; no NUL terminator needed; an embedded NUL
 *     reaches the JSON reader, which refuses it). Every text handed to a callback is a
 *     NUL-terminated copy the host owns from then on: release it with lmrpc_text_free,
 *     from any thread, whenever done. When even that copy cannot be allocated, the text is
 *     a static fallback that lmrpc_text_free recognises and leaves alone.
 *  4. A `context` is passed back untouched; it must stay valid until its callback has run
 *     (a completion), or until the handler has been replaced or removed (an event handler).
 *  5. Ids above 2^63 - 1 (or below -2^63) come back as doubles, e.g. 1.8446744073709552e+19.
 *  6. Lifecycle: configure before first use; the library starts on the first request or
 *     handler call; lmrpc_shutdown ends it for good. A process that exits without calling
 *     lmrpc_shutdown is safe in both modes, with requests in flight and even from inside a
 *     callback: at exit no further callback starts, the library's threads are stopped and
 *     given a moment to finish, and nothing is torn down under a thread still running. A
 *     runtime that tears itself down before the C exit handlers run (Mono once Main has
 *     returned) calls lmrpc_shutdown from its own exit event instead; so does Python (an
 *     atexit handler): a thread that its runtime ends inside a callback makes the library
 *     start no further callback, but CPython crashes a foreign thread that calls in after
 *     its interpreter is gone, even when that is the first call since it began finalising.
 *  7. fork(): the child has none of the library's threads; it must not call the library
 *     (requests are refused, pumps return 0) and exits without touching it.
 *  8. dlclose(): the shared library is linked to stay loaded (-z nodelete), so closing it
 *     never unmaps code a library thread runs; call lmrpc_shutdown first to stop them. */
#ifndef LUMETRA_RPC_H
#define LUMETRA_RPC_H

#include <stddef.h>
#include <stdint.h>

#include "lumetra_rpc/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Response error codes ("error":{"code":...}). */
#define LMRPC_ERROR_INVALID_REQUEST 400 /* not JSON, bad envelope, too large */
#define LMRPC_ERROR_METHOD_NOT_FOUND 404
#define LMRPC_ERROR_INVALID_PARAMS 422 /* validation failed, missing parameter */
#define LMRPC_ERROR_INTERNAL 500
#define LMRPC_ERROR_UNAVAILABLE 503 /* "Library is shutting down" (id null) */

/* Return values of lmrpc_execute_json, lmrpc_configure and lmrpc_shutdown. */
#define LMRPC_OK 0
#define LMRPC_ALREADY_RUNNING 1    /* lmrpc_configure: too late, nothing changed */
#define LMRPC_INVALID_CONFIG 2     /* lmrpc_configure: see lmrpc_configure_error() */
#define LMRPC_STOPPED 3            /* lmrpc_execute_json: shut down, no completion will come */
#define LMRPC_SHUTDOWN_TIMED_OUT 4 /* lmrpc_shutdown: not everything finished in time */

typedef void (*lmrpc_text_callback)(void *context, char *text, size_t length);
typedef void (*lmrpc_wakeup_callback)(void *context);

/* "MAJOR.MINOR.PATCH" of this library; static storage. */
LMRPC_API const char *lmrpc_version(void);

/* Before first use: one JSON object, every member optional:
 *   "sdk":          the built-in desktop SDK's behaviour (the keys of the command-line
 *                   host's --sdk file: replies, delays, delegate reports, platform facts)
 *   "timeouts":     {"start": S, "logEvent": S, "purchase": S, "crossPromotion": S,
 *                    "shareInvite": S}, seconds from 0 to 1e9 (defaults 10,10,30,10,10)
 *   "poolThreads":  1 to 256 (default: one per core, at least 2)
 *   "mainExecutor": "dedicated" (default) or "host"
 * An unknown member is refused. Returns LMRPC_OK when applied, LMRPC_ALREADY_RUNNING once
 * the library has started, LMRPC_INVALID_CONFIG (nothing changed) for a bad text. */
LMRPC_API int lmrpc_configure(const char *json, size_t length);
/* Why this thread's last lmrpc_configure was refused ("" if it was not); valid until this
 * thread calls lmrpc_configure again. */
LMRPC_API const char *lmrpc_configure_error(void);

/* Runs one request. Returns LMRPC_OK, and then `completion` is called exactly once, on the
 * main executor (never inside this call), even for a NULL text (answered 400), a length of
 * 1,048,576 or more (answered 400 "Request payload too large" without reading the text),
 * or a request arriving while lmrpc_shutdown runs (answered 503). Returns LMRPC_STOPPED
 * once the library has shut down: then `completion` is never called. `completion` may be
 * NULL (the request still runs). */
LMRPC_API int lmrpc_execute_json(const char *text, size_t length, lmrpc_text_callback completion,
                                 void *context);

/* Replaces (a NULL handler removes) the event handler. Both wait until a delivery running
 * on another thread has returned, and the old handler is never called afterwards; so a
 * host must not hold, while calling them, a lock its handler takes. From inside a
 * callback they take effect at once. Events arriving while no handler is set are lost. */
LMRPC_API void lmrpc_set_event_handler(lmrpc_text_callback handler, void *context);
LMRPC_API void lmrpc_remove_event_handler(void);
LMRPC_API void lmrpc_text_free(char *text);

/* Ends the library for good: stops taking requests (those arriving meanwhile are answered
 * 503), waits up to `timeout_ms` for requests in flight, answers the rest 503, delivers
 * every completion (in host-driven mode by pumping itself), and joins the library's
 * threads. After it returns no callback ever runs again. Returns LMRPC_OK, or
 * LMRPC_SHUTDOWN_TIMED_OUT when a callback or a thread did not finish in time (a thread a
 * host keeps inside a callback is let go). Idempotent: a second call returns the first's
 * result (from inside a callback, at once). From inside a callback it delivers the
 * remaining completions before returning and does not join its own thread. */
LMRPC_API int lmrpc_shutdown(uint32_t timeout_ms);

/* Host-driven main executor. lmrpc_use_host_driven_main() is shorthand for configuring
 * {"mainExecutor":"host"}: 1 when chosen, 0 once the library has started. Then pump from
 * the host's loop: run_until_idle runs the ready jobs and returns (for a frame tick);
 * run_for runs jobs as they arrive for the whole duration, sleeping while there are none.
 * Both return the number of jobs run (a job may deliver several callbacks) and return 0
 * without running anything in the default mode, while another thread pumps, and from
 * inside a callback. */
LMRPC_API int lmrpc_use_host_driven_main(void);
LMRPC_API size_t lmrpc_main_run_until_idle(void);
LMRPC_API size_t lmrpc_main_run_for(uint32_t milliseconds);
LMRPC_API int lmrpc_is_main_executor(void);

/* Host-driven mode: `wake(context)` is called, from any thread (often a library thread),
 * each time the main executor goes from idle to having work, so the host pumps only when
 * needed (a libuv async handle, a Dart port, an Android looper). It must return quickly
 * and must not pump itself. NULL removes it; it may be set at any time, but work already
 * waiting was announced to the wake-up set before, so a host pumps once after setting it
 * (or sets it before its first request). A host whose
 * runtime ends foreign threads during its own teardown (Python) removes it, or shuts the
 * library down, before that teardown. */
LMRPC_API void lmrpc_set_main_wakeup(lmrpc_wakeup_callback wake, void *context);

#ifdef __cplusplus
}
#endif

#endif
