/* A host written in C, driving the library through its C interface alone: a few request
 * texts in (one of them malformed), each response and event printed as it arrives.
 *
 * What a host author needs to know:
 * - Requests are pointer and length; the library copies the text before the call returns.
 * - Every text handed to a callback is a fresh NUL-terminated copy the host owns from then
 *   on. Release it with lmrpc_text_free, from any thread, whenever done with it.
 * - Every request gets exactly one completion, a malformed one included: its response
 *   carries the error. Nothing is ever reported by crashing or by a missing answer.
 * - Callbacks run on the library's main executor, one at a time. By default that is a
 *   thread the library starts on first use, and the host shares state with its callbacks
 *   under a lock. This host drives the main executor itself instead: it chooses that mode
 *   before any other call and pumps from its own frame loop, so every callback runs on
 *   this thread, inside lmrpc_main_run_until_idle, and plain variables suffice. The pump
 *   returns as soon as nothing is queued, so it is no way to wait; the frame loop waits.
 * - Events (conversion data, app-open attribution, deep links) arrive through the event
 *   handler once the SDK reports them. The SDK built into this library reports nothing,
 *   so this run prints no event; `lumetra-rpc --sdk examples/simulator_config.json` shows
 *   them. */

#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <string.h>
#include <time.h>

#include "lumetra_rpc/lumetra_rpc.h"

enum { kFrameMs = 10, kPatienceFrames = 500 };

struct HostState {
  size_t answered;
  size_t events;
};

/* Stands in for one turn of the host's own loop: wait for the next frame, then run every
 * callback the library has queued meanwhile. */
static void next_frame(void) {
  struct timespec frame = {0, kFrameMs * 1000000L};
  nanosleep(&frame, NULL);
  lmrpc_main_run_until_idle();
}

static void on_response(void *context, char *text, size_t length) {
  struct HostState *state = context;
  printf("response %.*s\n", (int)length, text);
  lmrpc_text_free(text);
  ++state->answered;
}

static void on_event(void *context, char *text, size_t length) {
  struct HostState *state = context;
  printf("event    %.*s\n", (int)length, text);
  lmrpc_text_free(text);
  ++state->events;
}

int main(void) {
  static const char *const requests[] = {
      "{\"id\":1,\"method\":\"init\",\"params\":{\"devKey\":\"demo-key\",\"appId\":\"123456789\"}}",
      "{\"id\":2,\"method\":\"registerConversionListener\"}",
      "{\"id\":3,\"method\":\"start\",\"params\":{\"awaitResponse\":true}}",
      "{\"id\":4,\"method\":\"getSDKVersion\"}",
      "{\"id\":5,\"method\":\"setUserEmails\",\"params\":{\"emails\":[],\"cryptType\":\"sha256\"}}",
      "{\"id\":6,",
  };
  const size_t count = sizeof requests / sizeof requests[0];
  struct HostState state = {0, 0};

  if (!lmrpc_use_host_driven_main()) {
    fprintf(stderr, "the library was already running its own main thread\n");
    return 1;
  }
  lmrpc_set_event_handler(on_event, &state);

  /* One request at a time keeps the transcript in order; a host may just as well send
   * them all at once, since requests never wait for each other. */
  for (size_t i = 0; i < count; ++i) {
    printf("request  %s\n", requests[i]);
    lmrpc_execute_json(requests[i], strlen(requests[i]), on_response, &state);
    for (int frames = 0; state.answered <= i; ++frames) {
      if (frames == kPatienceFrames) {
        fprintf(stderr, "no response to request %zu\n", i + 1);
        return 1;
      }
      next_frame();
    }
  }

  /* One more frame delivers whatever is still queued; then stop listening and leave. */
  next_frame();
  lmrpc_remove_event_handler();
  printf("%zu responses, %zu events\n", state.answered, state.events);
  return 0;
}
