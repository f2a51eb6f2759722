"""Finds and loads liblumetra_rpc once per process and declares the C signatures.

Where the library comes from, first match wins: the path given to load() (or to
configure(library=...)), then the LMRPC_LIBRARY environment variable, then the platform's
loader search for "liblumetra_rpc.so" / "lumetra_rpc". A path that was asked for and does
not load is an error, never a silent fall back to some other copy."""
import ctypes
import ctypes.util
import os
import threading

from .errors import LibraryNotFound

# The text pointer stays a raw pointer (not c_char_p) so that the very pointer the library
# handed out can be given back to lmrpc_text_free.
TextCallback = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(ctypes.c_char), ctypes.c_size_t)

_lock = threading.Lock()
_lib = None
_origin = None
# Set once a call may have started the library; at exit only a started library needs ending.
started = False


def _declare(lib):
    lib.lmrpc_version.restype = ctypes.c_char_p
    lib.lmrpc_version.argtypes = []
    lib.lmrpc_configure.restype = ctypes.c_int
    lib.lmrpc_configure.argtypes = [ctypes.c_char_p, ctypes.c_size_t]
    lib.lmrpc_configure_error.restype = ctypes.c_char_p
    lib.lmrpc_configure_error.argtypes = []
    lib.lmrpc_execute_json.restype = ctypes.c_int
    lib.lmrpc_execute_json.argtypes = [ctypes.c_char_p, ctypes.c_size_t, TextCallback, ctypes.c_void_p]
    lib.lmrpc_set_event_handler.restype = None
    lib.lmrpc_set_event_handler.argtypes = [TextCallback, ctypes.c_void_p]
    lib.lmrpc_remove_event_handler.restype = None
    lib.lmrpc_remove_event_handler.argtypes = []
    lib.lmrpc_text_free.restype = None
    lib.lmrpc_text_free.argtypes = [ctypes.POINTER(ctypes.c_char)]
    lib.lmrpc_shutdown.restype = ctypes.c_int
    lib.lmrpc_shutdown.argtypes = [ctypes.c_uint32]
    return lib


def _open(path):
    try:
        return ctypes.CDLL(path)
    except OSError as error:
        return error


def load(path=None):
    """Returns the loaded library, loading it on first use. Once loaded, asking for a
    different path is refused: the library is a process-wide singleton."""
    global _lib, _origin
    with _lock:
        if _lib is not None:
            if path is not None and os.path.realpath(path) != os.path.realpath(_origin):
                raise LibraryNotFound("liblumetra_rpc is already loaded from %s, not %s" % (_origin, path))
            return _lib
        if path is not None:
            asked = [(path, "the path given")]
        elif os.environ.get("LMRPC_LIBRARY"):
            asked = [(os.environ["LMRPC_LIBRARY"], "LMRPC_LIBRARY")]
        else:
            asked = [("liblumetra_rpc.so", None)]
            found = ctypes.util.find_library("lumetra_rpc")
            if found:
                asked.append((found, None))
        failures = []
        for candidate, source in asked:
            lib = _open(candidate)
            if not isinstance(lib, OSError):
                _lib, _origin = _declare(lib), candidate
                return _lib
            failures.append("%s%s: %s" % (candidate, " (%s)" % source if source else "", lib))
        raise LibraryNotFound("cannot load liblumetra_rpc; set LMRPC_LIBRARY or pass its path. Tried "
                              + "; ".join(failures))


def loaded():
    """The library if it has been loaded, else None; never loads it."""
    return _lib


def mark_started():
    global started
    started = True
