/* The C interface to the shared facade, for any FFI (Dart, C#, Python ctypes, JNI).
 *
 * Request texts travel as pointer and length; no NUL terminator is needed, and embedded
 * NUL bytes reach the JSON reader, which refuses them. Every text handed to a callback is
 * a fresh NUL-terminated copy owned by the host from then on: release it with
 * lmrpc_text_free, from any thread, whenever done. Callbacks run on the main executor.
 * No function here lets an exception or a crash escape. */
#ifndef LUMETRA_RPC_H
#define LUMETRA_RPC_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define LMRPC_EXPORT __declspec(dllexport)
#else
#define LMRPC_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*lmrpc_text_callback)(void *context, char *text, size_t length);

/* Exactly one call of `completion` per request (none if `completion` is NULL). */
LMRPC_EXPORT void lmrpc_execute_json(const char *text, size_t length, lmrpc_text_callback completion,
                                     void *context);
LMRPC_EXPORT void lmrpc_set_event_handler(lmrpc_text_callback handler, void *context);
LMRPC_EXPORT void lmrpc_remove_event_handler(void);
LMRPC_EXPORT void lmrpc_text_free(char *text);

/* Host-driven main executor: choose it before any other call (returns 1 when chosen, 0
 * when the library is already running), then pump it from the host's own main loop:
 * run_until_idle runs the ready jobs and returns at once (for a frame tick); run_for runs
 * jobs as they arrive for the whole duration, waiting while there are none. */
LMRPC_EXPORT int lmrpc_use_host_driven_main(void);
LMRPC_EXPORT size_t lmrpc_main_run_until_idle(void);
LMRPC_EXPORT size_t lmrpc_main_run_for(uint32_t milliseconds);
LMRPC_EXPORT int lmrpc_is_main_executor(void);

#ifdef __cplusplus
}
#endif

#endif
