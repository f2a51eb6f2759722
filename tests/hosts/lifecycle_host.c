/* A C host that uses the library the way real hosts break it: it quits with requests in
 * flight, exits from inside a callback, shuts down with requests waiting on the SDK,
 * pumps from the wrong place, and hands in absurd lengths. Each scenario prints
 * "ok: ..." and exits 0, or prints what went wrong and exits 1; a crash or a hang is the
 * driver's to see. */
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "lumetra_rpc/lumetra_rpc.h"

#define MAX_REQUESTS 1000

static atomic_int answered[MAX_REQUESTS];
static atomic_int calls;
static atomic_int in_callback;
static atomic_int overlaps;
static atomic_int wakeups;
static atomic_int nested_pump_result = -1;
static char last_text[4][256];
static pthread_t caller;
static atomic_int on_caller_thread;

static void fail(const char *what) {
  printf("FAILED: %s\n", what);
  exit(1);
}

static void sleep_ms(long ms) {
  struct timespec t = {ms / 1000, (ms % 1000) * 1000000L};
  nanosleep(&t, NULL);
}

static void configure(const char *json) {
  if (lmrpc_configure(json, strlen(json)) != LMRPC_OK) {
    printf("configure refused: %s\n", lmrpc_configure_error());
    exit(1);
  }
}

static void on_answer(void *context, char *text, size_t length) {
  size_t slot = (size_t)context;
  if (atomic_fetch_add(&in_callback, 1) != 0) atomic_fetch_add(&overlaps, 1);
  if (pthread_equal(pthread_self(), caller)) atomic_store(&on_caller_thread, 1);
  atomic_fetch_add(&answered[slot], 1);
  if (slot < 4) snprintf(last_text[slot], sizeof last_text[slot], "%.*s", (int)length, text);
  lmrpc_text_free(text);
  atomic_fetch_add(&calls, 1);
  atomic_fetch_sub(&in_callback, 1);
}

static void send(const char *json, size_t slot) {
  if (lmrpc_execute_json(json, strlen(json), on_answer, (void *)slot) != LMRPC_OK) fail("request refused");
}

static void wait_for_calls(int expected, int host_driven) {
  for (int i = 0; i < 4000 && atomic_load(&calls) < expected; ++i) {
    if (host_driven)
      lmrpc_main_run_for(1);
    else
      sleep_ms(1);
  }
  if (atomic_load(&calls) < expected) fail("completions missing");
}

/* Quits with requests in flight: logEvent answers late, from the SDK's own thread. */
static int exit_in_flight(int host_driven, int count) {
  configure(host_driven ? "{\"mainExecutor\":\"host\",\"sdk\":{\"replies\":{\"logEvent\":{\"delayMs\":1}}}}"
                        : "{\"sdk\":{\"replies\":{\"logEvent\":{\"delayMs\":1}}}}");
  for (int i = 0; i < count; ++i)
    send("{\"id\":1,\"method\":\"logEvent\",\"params\":{\"eventName\":\"quit\",\"awaitResponse\":true}}", 4);
  if (host_driven) lmrpc_main_run_until_idle();
  printf("ok: returned from main with requests in flight\n");
  return 0;
}

static void exit_from_callback(void *context, char *text, size_t length) {
  (void)context;
  (void)length;
  lmrpc_text_free(text);
  printf("ok: exiting inside a completion\n");
  fflush(stdout);
  exit(0);
}

static int exit_in_callback(int host_driven) {
  if (host_driven) configure("{\"mainExecutor\":\"host\"}");
  const char *json = "{\"id\":1,\"method\":\"getSDKVersion\"}";
  for (int i = 0; i < 20; ++i) lmrpc_execute_json(json, strlen(json), exit_from_callback, NULL);
  for (int i = 0; i < 5000; ++i) {
    if (host_driven)
      lmrpc_main_run_for(1);
    else
      sleep_ms(1);
  }
  fail("the completion never ran");
  return 1;
}

/* Requests waiting on an SDK that never answers are cut off by shutdown with 503; after
 * shutdown no callback runs and requests are refused at the call. */
static int shutdown_pending(int host_driven) {
  configure(host_driven ? "{\"mainExecutor\":\"host\",\"sdk\":{\"replies\":{\"start\":{\"never\":true}}}}"
                        : "{\"sdk\":{\"replies\":{\"start\":{\"never\":true}}}}");
  for (size_t i = 0; i < 3; ++i) send("{\"id\":9,\"method\":\"start\"}", i);
  send("{\"id\":2,\"method\":\"getSDKVersion\"}", 3);
  if (lmrpc_shutdown(50) != LMRPC_OK) fail("shutdown did not finish in time");
  int after = atomic_load(&calls);
  if (after != 4) fail("not every request was answered by shutdown");
  for (int i = 0; i < 4; ++i)
    if (atomic_load(&answered[i]) != 1) fail("a request was answered other than once");
  if (!strstr(last_text[0], "\"code\":503") || !strstr(last_text[0], "Library is shutting down"))
    fail(last_text[0]);
  if (!strstr(last_text[3], "\"success\":true")) fail(last_text[3]);
  const char *json = "{\"id\":3,\"method\":\"getSDKVersion\"}";
  if (lmrpc_execute_json(json, strlen(json), on_answer, (void *)4) != LMRPC_STOPPED)
    fail("accepted after shutdown");
  if (lmrpc_shutdown(0) != LMRPC_OK) fail("a second shutdown differs");
  sleep_ms(50);
  if (lmrpc_main_run_until_idle() != 0 || atomic_load(&calls) != after) fail("a callback ran after shutdown");
  printf("ok: shutdown answered every pending request once\n");
  return 0;
}

/* A burst sent at once, ending in requests that wait on an SDK that never answers: nothing
 * comes after the last answers to bring them, and each must still arrive, once. */
static int burst(int host_driven) {
  configure(host_driven ? "{\"mainExecutor\":\"host\",\"sdk\":{\"replies\":{\"start\":{\"never\":true}}}}"
                        : "{\"sdk\":{\"replies\":{\"start\":{\"never\":true}}}}");
  const int waiting = 40;
  for (size_t i = 0; i < MAX_REQUESTS; ++i)
    send(i >= MAX_REQUESTS - waiting ? "{\"id\":3,\"method\":\"start\"}"
         : i % 3                     ? "{\"id\":1,\"method\":\"getSDKVersion\"}"
                                     : "{\"id\":2,\"method\":\"noSuchMethod\"}",
         i);
  wait_for_calls(MAX_REQUESTS - waiting, host_driven);
  if (lmrpc_shutdown(50) != LMRPC_OK) fail("shutdown did not finish in time");
  for (size_t i = 0; i < MAX_REQUESTS; ++i)
    if (atomic_load(&answered[i]) != 1) fail("a request was answered other than once");
  printf("ok: a burst of %d requests was answered\n", MAX_REQUESTS);
  return 0;
}

/* Shutdown while answers are still arriving, some at once on the pool, some late from the
 * SDK's thread: each request ends with exactly one answer, its own or the 503, and none
 * comes after shutdown returns. */
static int shutdown_racing(int host_driven) {
  configure(host_driven ? "{\"mainExecutor\":\"host\",\"sdk\":{\"replies\":{\"logEvent\":{\"delayMs\":1}}}}"
                        : "{\"sdk\":{\"replies\":{\"logEvent\":{\"delayMs\":1}}}}");
  for (size_t i = 0; i < MAX_REQUESTS; ++i)
    send(
        i % 2
            ? "{\"id\":1,\"method\":\"getSDKVersion\"}"
            : "{\"id\":2,\"method\":\"logEvent\",\"params\":{\"eventName\":\"race\",\"awaitResponse\":true}}",
        i);
  if (lmrpc_shutdown(2000) != LMRPC_OK) fail("shutdown did not finish in time");
  int after = atomic_load(&calls);
  for (size_t i = 0; i < MAX_REQUESTS; ++i)
    if (atomic_load(&answered[i]) != 1) fail("a request was answered other than once");
  sleep_ms(20);
  if (lmrpc_main_run_until_idle() != 0 || atomic_load(&calls) != after) fail("a callback ran after shutdown");
  printf("ok: shutdown racing %d answers ended each request once\n", MAX_REQUESTS);
  return 0;
}

/* Shutdown before first use ends the library just the same, and stays the answer. */
static int shutdown_unused(void) {
  if (lmrpc_shutdown(0) != LMRPC_OK) fail("shutting down an unused library failed");
  const char *json = "{\"id\":1,\"method\":\"getSDKVersion\"}";
  if (lmrpc_execute_json(json, strlen(json), on_answer, (void *)0) != LMRPC_STOPPED)
    fail("accepted after shutdown");
  if (lmrpc_configure("{}", 2) == LMRPC_OK) fail("configured after shutdown");
  if (lmrpc_shutdown(0) != LMRPC_OK) fail("a second shutdown differs");
  if (lmrpc_main_run_until_idle() != 0 || atomic_load(&calls) != 0) fail("a callback ran after shutdown");
  printf("ok: shut down before first use\n");
  return 0;
}

static atomic_int inner_started;
static atomic_int inner_result = -1;
static atomic_int outer_result = -1;
static atomic_int answered_before_return = -1;

static void shutdown_inside(void *context, char *text, size_t length) {
  (void)context;
  (void)length;
  lmrpc_text_free(text);
  atomic_store(&inner_started, 1);
  int result = lmrpc_shutdown(100);
  atomic_store(&answered_before_return, atomic_load(&answered[0]));
  atomic_store(&inner_result, result);
}

static void *shutdown_racer(void *unused) {
  (void)unused;
  for (int i = 0; i < 4000 && !atomic_load(&inner_started); ++i) sleep_ms(1);
  sleep_ms(5);
  atomic_store(&outer_result, lmrpc_shutdown(1000));
  return NULL;
}

/* A completion shuts the library down while a request waits on a silent SDK and another
 * thread shuts it down too: nothing deadlocks, the waiting request is answered 503 before
 * the callback's shutdown returns, and every shutdown returns the same result. */
static int shutdown_in_callback(int host_driven) {
  configure(host_driven ? "{\"mainExecutor\":\"host\",\"sdk\":{\"replies\":{\"start\":{\"never\":true}}}}"
                        : "{\"sdk\":{\"replies\":{\"start\":{\"never\":true}}}}");
  send("{\"id\":9,\"method\":\"start\"}", 0);
  const char *json = "{\"id\":1,\"method\":\"getSDKVersion\"}";
  if (lmrpc_execute_json(json, strlen(json), shutdown_inside, NULL) != LMRPC_OK) fail("request refused");
  pthread_t racer;
  pthread_create(&racer, NULL, shutdown_racer, NULL);
  for (int i = 0; i < 4000 && atomic_load(&inner_result) < 0; ++i) {
    if (host_driven)
      lmrpc_main_run_for(1);
    else
      sleep_ms(1);
  }
  pthread_join(racer, NULL);
  if (atomic_load(&inner_result) < 0) fail("the shutdown inside the completion never returned");
  if (atomic_load(&answered_before_return) != 1)
    fail("the waiting request was not answered before shutdown returned");
  if (!strstr(last_text[0], "Library is shutting down")) fail(last_text[0]);
  if (atomic_load(&outer_result) != atomic_load(&inner_result) ||
      lmrpc_shutdown(0) != atomic_load(&inner_result))
    fail("the shutdowns disagree");
  printf("ok: shut down from inside a completion and from another thread at once\n");
  return 0;
}

static void pump_inside(void *context, char *text, size_t length) {
  atomic_store(&nested_pump_result, (int)lmrpc_main_run_until_idle());
  on_answer(context, text, length);
}

static void *pump_loop(void *unused) {
  (void)unused;
  while (atomic_load(&calls) < 400) lmrpc_main_run_for(1);
  return NULL;
}

static void count_wakeup(void *context) {
  (void)context;
  atomic_fetch_add(&wakeups, 1);
}

/* In the default mode pumping runs nothing; in host-driven mode two pumping threads never
 * run callbacks at once, and a pump from inside a callback is refused. */
static int pump_rules(int host_driven) {
  const char *json = "{\"id\":1,\"method\":\"getSDKVersion\"}";
  if (!host_driven) {
    for (int i = 0; i < 400; ++i) send(json, 5);
    size_t ran = 0;
    while (atomic_load(&calls) < 400) ran += lmrpc_main_run_until_idle();
    if (ran != 0) fail("a pump ran jobs in the default mode");
    printf("ok: pumping in the default mode runs nothing\n");
    return 0;
  }
  if (lmrpc_use_host_driven_main() != 1) fail("host-driven mode not chosen");
  lmrpc_set_main_wakeup(count_wakeup, NULL);
  lmrpc_execute_json(json, strlen(json), pump_inside, (void *)6);
  for (int i = 0; i < 399; ++i) send(json, 5);
  pthread_t pumpers[2];
  for (int i = 0; i < 2; ++i) pthread_create(&pumpers[i], NULL, pump_loop, NULL);
  for (int i = 0; i < 2; ++i) pthread_join(pumpers[i], NULL);
  if (atomic_load(&overlaps) != 0) fail("callbacks overlapped");
  if (atomic_load(&nested_pump_result) != 0) fail("a pump inside a callback ran jobs");
  if (atomic_load(&wakeups) == 0) fail("the wake-up was never called");
  printf("ok: one pump at a time, none from inside a callback, woken when needed\n");
  return 0;
}

/* A NULL text and a length of 2^64 - 1 (or 512 MiB over a tiny buffer) are answered on
 * the main executor, never inside the call, and never read. */
static int refuse_lengths(void) {
  char tiny[1] = {'{'};
  if (lmrpc_execute_json(tiny, (size_t)512 << 20, on_answer, (void *)0) != LMRPC_OK)
    fail("refused at the call");
  if (lmrpc_execute_json(NULL, (size_t)-1, on_answer, (void *)1) != LMRPC_OK) fail("refused at the call");
  if (lmrpc_execute_json(NULL, 0, on_answer, (void *)2) != LMRPC_OK) fail("refused at the call");
  wait_for_calls(3, 0);
  if (atomic_load(&on_caller_thread)) fail("answered on the caller's thread");
  for (int i = 0; i < 2; ++i)
    if (!strstr(last_text[i], "Request payload too large") || !strstr(last_text[i], "\"id\":null"))
      fail(last_text[i]);
  if (!strstr(last_text[2], "\"code\":400")) fail(last_text[2]);
  printf("ok: absurd lengths refused before reading, on the main executor\n");
  return 0;
}

static void on_event(void *context, char *text, size_t length) {
  (void)context;
  snprintf(last_text[3], sizeof last_text[3], "%.*s", (int)length, text);
  lmrpc_text_free(text);
  atomic_fetch_add(&calls, 100);
}

/* A configured SDK reports conversion data once started; the event reaches a C host. */
static int events(void) {
  configure("{\"sdk\":{\"conversion\":{\"data\":{\"campaign\":\"spring\"}}},\"timeouts\":{\"start\":1}}");
  lmrpc_set_event_handler(on_event, NULL);
  send("{\"id\":1,\"method\":\"registerConversionListener\"}", 0);
  wait_for_calls(1, 0);
  send("{\"id\":2,\"method\":\"start\"}", 1);
  wait_for_calls(102, 0);
  if (!strstr(last_text[3], "onConversionDataSuccess") || !strstr(last_text[3], "spring")) fail(last_text[3]);
  if (lmrpc_configure("{}", 2) != LMRPC_ALREADY_RUNNING) fail("configured while running");
  printf("ok: events reach the host after configuring the SDK\n");
  return lmrpc_shutdown(1000) == LMRPC_OK ? 0 : 1;
}

static void shutdown_on_event(void *context, char *text, size_t length) {
  on_event(context, text, length);
  atomic_store(&answered_before_return, atomic_load(&answered[2]));
  atomic_store(&inner_result, lmrpc_shutdown(1000));
}

/* An event handler shuts the library down while a completion waits behind the event in
 * the same turn of the main executor: that completion is still delivered, before the
 * shutdown returns, and nothing times out. */
static int shutdown_in_event(void) {
  configure(
      "{\"mainExecutor\":\"host\",\"sdk\":{\"conversion\":{\"data\":{\"campaign\":\"spring\"},\"delayMs\":"
      "100}}}");
  lmrpc_set_event_handler(shutdown_on_event, NULL);
  send("{\"id\":1,\"method\":\"registerConversionListener\"}", 0);
  send("{\"id\":2,\"method\":\"start\"}", 1);
  wait_for_calls(2, 1);
  /* Not pumping now: the event arrives, then an answer behind it, and both wait for one turn. */
  sleep_ms(300);
  send("{\"id\":3,\"method\":\"getSDKVersion\"}", 2);
  sleep_ms(100);
  lmrpc_main_run_until_idle();
  if (atomic_load(&answered_before_return) != 0) fail("the event did not come first in the turn");
  if (atomic_load(&inner_result) != LMRPC_OK) fail("the shutdown inside the event handler timed out");
  if (atomic_load(&answered[2]) != 1 || !strstr(last_text[2], "\"success\":true"))
    fail("the answer behind the event was lost");
  printf("ok: shut down from an event handler with an answer behind it in the same turn\n");
  return 0;
}

/* A child made by fork() has none of the library's threads: it must be refused cleanly
 * and exit without touching them, while the parent carries on. */
static int fork_child(void) {
  send("{\"id\":1,\"method\":\"getSDKVersion\"}", 0);
  wait_for_calls(1, 0);
  pid_t child = fork();
  if (child == 0) {
    const char *json = "{\"id\":2,\"method\":\"getSDKVersion\"}";
    int refused = lmrpc_execute_json(json, strlen(json), on_answer, (void *)1) == LMRPC_STOPPED;
    exit(refused && lmrpc_main_run_until_idle() == 0 ? 0 : 3);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    fail("the forked child did not exit cleanly");
  send("{\"id\":3,\"method\":\"getSDKVersion\"}", 2);
  wait_for_calls(2, 0);
  printf("ok: a forked child is refused and exits cleanly\n");
  return lmrpc_shutdown(1000) == LMRPC_OK ? 0 : 1;
}

int main(int argc, char **argv) {
  caller = pthread_self();
  const char *scenario = argc > 1 ? argv[1] : "";
  int host = argc > 2 && strcmp(argv[2], "host") == 0;
  int count = argc > 3 ? atoi(argv[3]) : 10;
  setvbuf(stdout, NULL, _IONBF, 0);
  if (strcmp(scenario, "exit-in-flight") == 0) return exit_in_flight(host, count);
  if (strcmp(scenario, "exit-in-callback") == 0) return exit_in_callback(host);
  if (strcmp(scenario, "shutdown-pending") == 0) return shutdown_pending(host);
  if (strcmp(scenario, "burst") == 0) return burst(host);
  if (strcmp(scenario, "shutdown-racing") == 0) return shutdown_racing(host);
  if (strcmp(scenario, "shutdown-unused") == 0) return shutdown_unused();
  if (strcmp(scenario, "shutdown-in-callback") == 0) return shutdown_in_callback(host);
  if (strcmp(scenario, "pump-rules") == 0) return pump_rules(host);
  if (strcmp(scenario, "refuse-lengths") == 0) return refuse_lengths();
  if (strcmp(scenario, "events") == 0) return events();
  if (strcmp(scenario, "shutdown-in-event") == 0) return shutdown_in_event();
  if (strcmp(scenario, "fork") == 0) return fork_child();
  printf("unknown scenario \"%s\"\n", scenario);
  return 2;
}
