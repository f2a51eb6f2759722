"""Configuring, shutting down, and ending cleanly at interpreter exit.

At exit the library may still be calling back (requests in flight, events). Python
finalises by ending foreign threads that try to enter it, so the exit hook removes the
event handler and shuts the library down while the interpreter is still whole: after
lmrpc_shutdown returns no callback ever runs again."""
import atexit
import json

from . import native, requests, streams
from .codes import Status
from .encoding import to_utf8
from .errors import AlreadyRunning, ConfigurationError

# Waiting longer at exit helps nobody: no one is left to read the answers.
EXIT_TIMEOUT_MS = 500


def configure(settings, *, library=None):
    """Applies settings (a dict or JSON text: "sdk", "timeouts", "poolThreads") before
    the library's first use. Raises ConfigurationError with the library's reason when
    refused, AlreadyRunning once the library has started."""
    data = to_utf8(settings, "settings")
    _refuse_host_driven(data)
    lib = native.load(library)
    status = lib.lmrpc_configure(data, len(data))
    if status == Status.OK:
        return
    if status == Status.ALREADY_RUNNING:
        raise AlreadyRunning("the library already runs; configure before the first request or events()",
                             "already running", Status.ALREADY_RUNNING)
    reason = (lib.lmrpc_configure_error() or b"").decode("utf-8", "replace")
    raise ConfigurationError("settings refused: " + reason, reason, status)


def _refuse_host_driven(data):
    """Answers reach asyncio from the library's own main-executor thread; with a
    host-driven executor nothing here would pump it, and every request would wait for
    ever. Text the library cannot read is left for it to refuse with its own reason."""
    try:
        settings = json.loads(data)
    except ValueError:
        return
    if isinstance(settings, dict) and settings.get("mainExecutor") == "host":
        reason = 'mainExecutor "host" is not offered by the asyncio kit: answers come from the library\'s own thread'
        raise ConfigurationError("settings refused: " + reason, reason, Status.INVALID_CONFIG)


def shutdown(timeout_ms=1000):
    """Ends the library for good: requests in flight get their answer or 503 "Library is
    shutting down", event streams end, later requests raise LibraryStopped. Blocks for at
    most about timeout_ms. Returns True when everything finished in time."""
    lib = native.load()
    status = lib.lmrpc_shutdown(timeout_ms)
    requests.fail_unanswered()
    streams.end_all()
    return status == Status.OK


def version():
    return native.load().lmrpc_version().decode()


@atexit.register
def _at_exit():
    if native.loaded() is None or not native.started:
        return
    try:
        streams.remove_handler()
        native.loaded().lmrpc_shutdown(EXIT_TIMEOUT_MS)
    except BaseException:
        pass
