"""Exceptions the kit raises. Responses that carry an "error" are not exceptions: they are
answers, returned like any other."""


class LumetraError(Exception):
    """Base of every exception this package raises."""


class LibraryNotFound(LumetraError):
    """liblumetra_rpc could not be loaded from where it was looked for."""


class ConfigurationError(LumetraError):
    """lmrpc_configure refused the settings; `reason` is lmrpc_configure_error()'s text."""

    def __init__(self, message, reason, status):
        super().__init__(message)
        self.reason = reason
        self.status = status


class AlreadyRunning(ConfigurationError):
    """The library has started (first request or events()), so settings can no longer change."""


class LibraryStopped(LumetraError):
    """The library has been shut down for good in this process; no answer will come."""
