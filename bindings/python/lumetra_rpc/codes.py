"""The numbers of the C interface, named as in lumetra_rpc.h, so that hosts compare
against names rather than figures copied out of the methods reference."""
import enum


class ErrorCode(enum.IntEnum):
    """The "code" of a response's "error" object."""

    INVALID_REQUEST = 400  # not JSON, bad envelope, too large
    METHOD_NOT_FOUND = 404
    INVALID_PARAMS = 422  # validation failed, missing parameter
    INTERNAL = 500
    UNAVAILABLE = 503  # "Library is shutting down"


class Status(enum.IntEnum):
    """What lmrpc_execute_json, lmrpc_configure and lmrpc_shutdown return."""

    OK = 0
    ALREADY_RUNNING = 1
    INVALID_CONFIG = 2
    STOPPED = 3
    SHUTDOWN_TIMED_OUT = 4


ERROR_INVALID_REQUEST = ErrorCode.INVALID_REQUEST
ERROR_METHOD_NOT_FOUND = ErrorCode.METHOD_NOT_FOUND
ERROR_INVALID_PARAMS = ErrorCode.INVALID_PARAMS
ERROR_INTERNAL = ErrorCode.INTERNAL
ERROR_UNAVAILABLE = ErrorCode.UNAVAILABLE

OK = Status.OK
ALREADY_RUNNING = Status.ALREADY_RUNNING
INVALID_CONFIG = Status.INVALID_CONFIG
STOPPED = Status.STOPPED
SHUTDOWN_TIMED_OUT = Status.SHUTDOWN_TIMED_OUT
