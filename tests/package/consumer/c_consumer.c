/* One request through the C interface of an installed library; prints the response. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <string.h>
#include <time.h>

#include <lumetra_rpc/lumetra_rpc.h>

static void on_response(void *context, char *text, size_t length) {
  printf("%.*s\n", (int)length, text);
  lmrpc_text_free(text);
  *(int *)context = 1;
}

int main(void) {
  static const char request[] = "{\"id\":1,\"method\":\"nope\"}";
  int answered = 0;
  lmrpc_use_host_driven_main();
  lmrpc_execute_json(request, strlen(request), on_response, &answered);
  const struct timespec frame = {0, 10 * 1000000L};
  for (int frames = 0; !answered && frames < 500; ++frames) {
    nanosleep(&frame, NULL);
    lmrpc_main_run_until_idle();
  }
  return answered ? 0 : 1;
}
