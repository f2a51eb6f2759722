"""Drives liblumetra_rpc.so through its C interface, as a foreign host would: requests in,
exactly one response text out per request, delivered on the library's main executor."""
import ctypes
import sys
import threading

lib = ctypes.CDLL(sys.argv[1])
Callback = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(ctypes.c_char), ctypes.c_size_t)
lib.lmrpc_execute_json.argtypes = [ctypes.c_char_p, ctypes.c_size_t, Callback, ctypes.c_void_p]
lib.lmrpc_text_free.argtypes = [ctypes.POINTER(ctypes.c_char)]
lib.lmrpc_is_main_executor.restype = ctypes.c_int

responses = {}
lock = threading.Lock()
done = threading.Condition(lock)


def on_response(context, text, length):
    body = ctypes.string_at(text, length)
    terminated = ctypes.string_at(text, length + 1)[-1] == 0
    lib.lmrpc_text_free(text)
    with done:
        responses.setdefault(context, []).append(
            (body.decode(), terminated, lib.lmrpc_is_main_executor(),
             threading.get_ident() != main_thread))
        done.notify_all()


main_thread = threading.get_ident()
callback = Callback(on_response)
requests = {
    1: (b'{"id":1,"method":"nope"}',
        '{"error":{"code":404,"message":"Method not found: nope"},"id":1,"result":null}'),
    2: (b'{"id":2,\x00"method":"nope"}', None),
    3: (b'{"id":3,"method":"getSDKVersion"}trailing-garbage-not-sent', None),
}
for key, (text, _) in requests.items():
    length = len(text) - len(b"trailing-garbage-not-sent") if key == 3 else len(text)
    lib.lmrpc_execute_json(text, length, callback, key)

with done:
    if not done.wait_for(lambda: len(responses) == len(requests), timeout=20):
        sys.exit("timed out waiting for responses: %r" % responses)
threading.Event().wait(0.2)  # any duplicate completion would arrive now

failures = []
for key, (_, expected) in requests.items():
    got = responses[key]
    if len(got) != 1:
        failures.append("request %d answered %d times" % (key, len(got)))
        continue
    body, terminated, on_main, off_host_thread = got[0]
    if expected is not None and body != expected:
        failures.append("request %d: %s" % (key, body))
    if not (terminated and on_main == 1 and off_host_thread):
        failures.append("request %d delivered wrongly: %r" % (key, got[0]))
if '"code":400' not in responses[2][0][0] or '"id":null' not in responses[2][0][0]:
    failures.append("embedded NUL not refused: %s" % responses[2][0][0])
if '"success":true' not in responses[3][0][0]:
    failures.append("length not honoured: %s" % responses[3][0][0])
if failures:
    sys.exit("\n".join(failures))
print("1 passed, 0 failed")
