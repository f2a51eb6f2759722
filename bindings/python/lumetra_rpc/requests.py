"""Requests: one native completion callback for the whole process, and a token -> future
map, so that no per-request ctypes object has to be kept alive and nothing is leaked.

The completion runs on the library's main-executor thread. It copies the text, frees it at
once, and hands the answer to the asyncio loop that is waiting for it with
call_soon_threadsafe; if that loop has been closed meanwhile nobody can be waiting, and
the answer is dropped. Nothing raised in there may reach the library."""
import asyncio
import itertools
import json
import threading

from . import native
from .codes import Status
from .encoding import take_native, to_utf8
from .errors import LibraryStopped, LumetraError

_pending = {}
_pending_lock = threading.Lock()
_tokens = itertools.count(1)  # 0 would arrive as a NULL context, i.e. None


def _settle(future, text):
    if not future.done():
        future.set_result(text)


def _fail(future, error):
    if not future.done():
        future.set_exception(error)


def _on_completion(context, text, length):
    try:
        body = take_native(text, length, native.loaded().lmrpc_text_free)
        with _pending_lock:
            waiting = _pending.pop(context, None)
        if waiting is not None:
            loop, future = waiting
            try:
                loop.call_soon_threadsafe(_settle, future, body)
            except RuntimeError:
                pass  # the loop is closed: nobody waits for this answer any more
    except BaseException:
        pass


# Kept alive for the life of the process: the library may call it until shutdown returns.
_COMPLETION = native.TextCallback(_on_completion)


async def execute(request, *, library=None):
    """Sends one request (a JSON text, bytes, or a dict) and returns the response text.

    Error responses (400, 404, 422, 500, 503) are returned like any other answer; only a
    library that has been shut down raises (LibraryStopped), at once."""
    data = to_utf8(request, "request")
    lib = native.load(library)
    loop = asyncio.get_running_loop()
    future = loop.create_future()
    token = next(_tokens)
    with _pending_lock:
        _pending[token] = (loop, future)
    native.mark_started()
    status = lib.lmrpc_execute_json(data, len(data), _COMPLETION, token)
    if status != Status.OK:
        with _pending_lock:
            _pending.pop(token, None)
        future.cancel()  # a concurrent shutdown's backstop may target it; nobody awaits it
        if status == Status.STOPPED:
            raise LibraryStopped("the library has been shut down; no request is taken any more")
        raise LumetraError("lmrpc_execute_json returned %d" % status)
    try:
        return await future
    finally:
        # A cancelled wait leaves its entry behind; the late answer then finds nothing.
        with _pending_lock:
            _pending.pop(token, None)


_ids = itertools.count(1)


async def call(method, params=None, *, id=None):
    """Builds a request for `method`, sends it and returns the parsed response (a dict
    with "error", "id" and "result"). `id` defaults to a fresh number."""
    request = {"id": next(_ids) if id is None else id, "method": method}
    if params is not None:
        request["params"] = params
    return json.loads(await execute(request))


def pending_count():
    """How many requests await an answer (for diagnostics and leak checks)."""
    with _pending_lock:
        return len(_pending)


def fail_unanswered():
    """After shutdown no completion can come; any wait still registered would hang, so it
    is failed instead. The library promises this never happens; this is the backstop."""
    with _pending_lock:
        left = list(_pending.values())
        _pending.clear()
    for loop, future in left:
        try:
            loop.call_soon_threadsafe(_fail, future, LibraryStopped("the library shut down without answering"))
        except RuntimeError:
            pass
