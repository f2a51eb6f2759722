"""Drives liblumetra_rpc.so through its C interface, as a foreign host would: requests in,
exactly one response text out per request, delivered on the library's main executor."""
import ctypes
import json
import os
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


def wire_cases():
    """The parsing cases about the wire format itself, keyed from 100 on."""
    path = os.path.join(os.path.dirname(__file__), "..", "data", "parsing_cases.json")
    with open(path, encoding="utf-8") as handle:
        cases = json.load(handle)
    chosen = [c for c in cases if c["name"].startswith(("json: ", "numbers: ")) or "message" in c]
    return {100 + i: c for i, c in enumerate(chosen)}


def check_wire_case(case, body):
    response = json.loads(body)
    if "error" in case:
        return response["error"] == case["error"]
    expected = case.get("message")
    return response["error"] is None and expected in (None, response["result"]["message"])


main_thread = threading.get_ident()
callback = Callback(on_response)
cases = wire_cases()
requests = {
    1: (b'{"id":1,"method":"nope"}',
        '{"error":{"code":404,"message":"Method not found: nope"},"id":1,"result":null}'),
    2: (b'{"id":2,\x00"method":"nope"}', None),
    3: (b'{"id":3,"method":"getSDKVersion"}trailing-garbage-not-sent', None),
}
for key, case in cases.items():
    text = case["request"] if isinstance(case["request"], str) else json.dumps(case["request"])
    requests[key] = (text.encode(), None)
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
for key, case in cases.items():
    if not check_wire_case(case, responses[key][0][0]):
        failures.append("%s: %s" % (case["name"], responses[key][0][0]))
if failures:
    sys.exit("\n".join(failures))
print("1 passed, 0 failed")
