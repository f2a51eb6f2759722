"""LumetraRPC for Python asyncio, over the C interface through ctypes.

    lumetra_rpc.configure({...})            # optional, before first use
    text = await lumetra_rpc.execute('{"id":1,"method":"getSDKVersion"}')
    response = await lumetra_rpc.call("init", {"devKey": "k", "appId": "1"})
    async for event in lumetra_rpc.events(): ...
    lumetra_rpc.shutdown()

The library is found through configure(library=...)/load(path), LMRPC_LIBRARY, or the
platform's loader search. It runs its own main-executor thread; answers and events are
handed to the waiting asyncio loop."""
from .codes import (ALREADY_RUNNING, ERROR_INTERNAL, ERROR_INVALID_PARAMS, ERROR_INVALID_REQUEST,
                    ERROR_METHOD_NOT_FOUND, ERROR_UNAVAILABLE, INVALID_CONFIG, OK, SHUTDOWN_TIMED_OUT,
                    STOPPED, ErrorCode, Status)
from .errors import AlreadyRunning, ConfigurationError, LibraryNotFound, LibraryStopped, LumetraError
from .streams import EventStream, events
from .lifecycle import configure, shutdown, version
from .native import load
from .requests import call, execute, pending_count

__all__ = [
    "configure", "execute", "call", "events", "shutdown", "version", "load", "pending_count",
    "EventStream", "ErrorCode", "Status", "LumetraError", "LibraryNotFound", "ConfigurationError",
    "AlreadyRunning", "LibraryStopped", "OK", "ALREADY_RUNNING", "INVALID_CONFIG", "STOPPED",
    "SHUTDOWN_TIMED_OUT", "ERROR_INVALID_REQUEST", "ERROR_METHOD_NOT_FOUND", "ERROR_INVALID_PARAMS",
    "ERROR_INTERNAL", "ERROR_UNAVAILABLE",
]
