"""Turns what a host hands in into the UTF-8 bytes the C interface takes. The byte count,
not the character count, is what goes with them: a text with any non-ASCII character would
otherwise arrive cut short."""
import ctypes
import json


def to_utf8(value, what):
    if isinstance(value, (bytes, bytearray)):
        return bytes(value)
    if isinstance(value, str):
        return value.encode("utf-8")
    if isinstance(value, dict):
        return json.dumps(value, ensure_ascii=False, separators=(",", ":")).encode("utf-8")
    raise TypeError("%s must be a str, bytes or dict, not %s" % (what, type(value).__name__))


def from_native(text, length):
    """Copies a text the library handed to a callback. Decoding never raises: the library
    writes UTF-8, and a callback must not fail halfway."""
    return ctypes.string_at(text, length).decode("utf-8", "replace")


def take_native(text, length, release):
    """Copies a text handed to a callback and gives it back to the library at once, even
    when the copy fails."""
    try:
        return from_native(text, length)
    finally:
        release(text)
