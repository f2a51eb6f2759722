"""A Python host that ends the way real ones do: with requests still in flight, while
the interpreter finalises and the library's main thread is calling back into it. It must
exit cleanly (the Python kit's own tests cover events and shutdown)."""
import ctypes
import sys

lib = ctypes.CDLL(sys.argv[1])
scenario, mode = sys.argv[2], sys.argv[3]
Callback = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(ctypes.c_char), ctypes.c_size_t)
lib.lmrpc_configure.argtypes = [ctypes.c_char_p, ctypes.c_size_t]
lib.lmrpc_configure_error.restype = ctypes.c_char_p
lib.lmrpc_execute_json.argtypes = [ctypes.c_char_p, ctypes.c_size_t, Callback, ctypes.c_void_p]
lib.lmrpc_text_free.argtypes = [ctypes.POINTER(ctypes.c_char)]

received = []


def on_text(context, text, length):
    received.append(ctypes.string_at(text, length).decode())
    lib.lmrpc_text_free(text)


callback = Callback(on_text)


def configure(settings):
    if mode == "host":
        settings = settings[:-1] + ',"mainExecutor":"host"}'
    if lib.lmrpc_configure(settings.encode(), len(settings)) != 0:
        sys.exit("configure refused: %s" % lib.lmrpc_configure_error().decode())


if scenario == "exit-in-flight":
    configure('{"sdk":{"replies":{"logEvent":{"delayMs":1}}}}')
    request = b'{"id":1,"method":"logEvent","params":{"eventName":"quit"}}'
    for _ in range(10):
        lib.lmrpc_execute_json(request, len(request), callback, None)
    if mode == "host":
        lib.lmrpc_main_run_until_idle()
    print("ok: exiting with requests in flight")
else:
    sys.exit("unknown scenario " + scenario)
