"""Events as async iterators. One native handler serves every stream: each open stream
gets every event that arrives while it is open, through its own loop's queue. The handler
is installed on the first events() call, which starts the library (configure first).

Streams are unbounded: a stream nobody reads keeps what arrives, so close it (or use it
as `async with`) when done. Shutdown ends every stream."""
import asyncio
import json
import threading

from . import native
from .encoding import take_native

_streams = set()
_streams_lock = threading.Lock()
_install_lock = threading.Lock()
_installed = False
_END = object()


class EventStream:
    """`async for event in stream`: event texts, or dicts when opened with parsed=True."""

    def __init__(self, loop, parsed):
        self._loop = loop
        self._parsed = parsed
        self._queue = asyncio.Queue()
        self._open = True

    def _offer(self, item):
        try:
            self._loop.call_soon_threadsafe(self._queue.put_nowait, item)
        except RuntimeError:
            _forget(self)  # its loop is closed: nobody will read it

    def __aiter__(self):
        return self

    async def __anext__(self):
        if not self._open and self._queue.empty():
            raise StopAsyncIteration
        item = await self._queue.get()
        if item is _END:
            self._open = False
            raise StopAsyncIteration
        return json.loads(item) if self._parsed else item

    def close(self):
        """Stops taking events; what has arrived can still be read, then iteration ends."""
        if self._open:
            _forget(self)
            self._queue.put_nowait(_END)

    async def aclose(self):
        self.close()

    async def __aenter__(self):
        return self

    async def __aexit__(self, *exc):
        self.close()


def _forget(stream):
    with _streams_lock:
        _streams.discard(stream)


def _on_event(context, text, length):
    try:
        body = take_native(text, length, native.loaded().lmrpc_text_free)
        with _streams_lock:
            targets = list(_streams)
        for stream in targets:
            stream._offer(body)
    except BaseException:
        pass


_HANDLER = native.TextCallback(_on_event)


def events(*, parsed=False, library=None):
    """Opens a stream of the events that arrive from now on. Call it from the loop that
    will read it, before sending the request whose events you want."""
    loop = asyncio.get_running_loop()
    lib = native.load(library)
    stream = EventStream(loop, parsed)
    with _streams_lock:
        _streams.add(stream)
    global _installed
    # Not under _streams_lock: installing waits for a running delivery, which takes it.
    with _install_lock:
        if not _installed:
            native.mark_started()
            lib.lmrpc_set_event_handler(_HANDLER, None)
            _installed = True
    return stream


def end_all():
    """After shutdown: ends every stream, after whatever was delivered before."""
    with _streams_lock:
        ending = list(_streams)
        _streams.clear()
    for stream in ending:
        stream._offer(_END)


def remove_handler():
    global _installed
    lib = native.loaded()
    with _install_lock:
        if _installed and lib is not None:
            lib.lmrpc_remove_event_handler()
            _installed = False
