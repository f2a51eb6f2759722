"""A Python host that ends the way real ones do: with requests still in flight, while
the interpreter finalises and the library's main thread is calling back into it. It must
exit cleanly. With "events" it checks that an event reaches a ctypes host once the SDK has
been configured through lmrpc_configure."""
import ctypes
import sys
import threading

lib = ctypes.CDLL(sys.argv[1])
scenario, mode = sys.argv[2], sys.argv[3]
Callback = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(ctypes.c_char), ctypes.c_size_t)
lib.lmrpc_configure.argtypes = [ctypes.c_char_p, ctypes.c_size_t]
lib.lmrpc_configure_error.restype = ctypes.c_char_p
lib.lmrpc_execute_json.argtypes = [ctypes.c_char_p, ctypes.c_size_t, Callback, ctypes.c_void_p]
lib.lmrpc_set_event_handler.argtypes = [Callback, ctypes.c_void_p]
lib.lmrpc_text_free.argtypes = [ctypes.POINTER(ctypes.c_char)]
lib.lmrpc_shutdown.argtypes = [ctypes.c_uint32]

received = []
arrived = threading.Event()


def on_text(context, text, length):
    received.append(ctypes.string_at(text, length).decode())
    lib.lmrpc_text_free(text)
    arrived.set()


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
elif scenario == "events":
    configure('{"sdk":{"conversion":{"data":{"campaign":"spring"}}}}')
    lib.lmrpc_set_event_handler(callback, None)

    def pump_until(done):
        for _ in range(2000):
            if done():
                return
            if mode == "host":
                lib.lmrpc_main_run_for(5)
            else:
                arrived.wait(0.005)
                arrived.clear()

    # Conversion data is reported once the SDK has started, and only to a listener
    # registered by then: start is sent once the registration has been answered.
    for request in (b'{"id":1,"method":"registerConversionListener"}', b'{"id":2,"method":"start"}'):
        answered = len(received)
        lib.lmrpc_execute_json(request, len(request), callback, None)
        pump_until(lambda: len(received) > answered)
    pump_until(lambda: any("onConversionDataSuccess" in text for text in received))
    event = [text for text in received if "onConversionDataSuccess" in text]
    if not event or '"campaign":"spring"' not in event[0]:
        sys.exit("no event: %r" % received)
    if lib.lmrpc_shutdown(1000) != 0:
        sys.exit("shutdown did not finish")
    print("ok: the event reached a ctypes host")
else:
    sys.exit("unknown scenario " + scenario)
