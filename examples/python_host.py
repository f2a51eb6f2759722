"""A Python host driving liblumetra_rpc.so through ctypes.

    python3 examples/python_host.py build/liblumetra_rpc.so

Unlike the C host, this one leaves the main executor to the library: responses and events
arrive on the library's own thread, so they are handed over through a queue. Each text is
copied into Python and released with lmrpc_text_free inside the callback; the ctypes
callback objects must stay alive for as long as the library may call them.
"""
import ctypes
import queue
import sys

Callback = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(ctypes.c_char), ctypes.c_size_t)

lib = ctypes.CDLL(sys.argv[1])
lib.lmrpc_execute_json.argtypes = [ctypes.c_char_p, ctypes.c_size_t, Callback, ctypes.c_void_p]
lib.lmrpc_set_event_handler.argtypes = [Callback, ctypes.c_void_p]
lib.lmrpc_text_free.argtypes = [ctypes.POINTER(ctypes.c_char)]

delivered = queue.Queue()


def take_text(kind):
    def callback(context, text, length):
        body = ctypes.string_at(text, length).decode()
        lib.lmrpc_text_free(text)
        delivered.put((kind, body))
    return Callback(callback)


on_response = take_text("response")
on_event = take_text("event")
lib.lmrpc_set_event_handler(on_event, None)

requests = [
    b'{"id":1,"method":"init","params":{"devKey":"demo-key","appId":"123456789"}}',
    b'{"id":2,"method":"getLumetraUID"}',
    b'{"id":3,"method":"logEvent"}',
]
for request in requests:  # sent at once; responses come back in any order
    lib.lmrpc_execute_json(request, len(request), on_response, None)

answered = 0
while answered < len(requests):
    kind, text = delivered.get(timeout=10)
    answered += kind == "response"
    print(f"{kind:8} {text}")
lib.lmrpc_remove_event_handler()
