"""Where the library is looked for: an explicit path wins over LMRPC_LIBRARY; a path that
does not load is reported, not replaced by another copy."""
import os

import lumetra_rpc
from common import describe, report

real = os.environ.pop("REAL_LIBRARY")
observed = {}
try:
    lumetra_rpc.load()  # LMRPC_LIBRARY names a missing file
except lumetra_rpc.LibraryNotFound as error:
    observed["from environment"] = describe(error)
observed["explicit"] = bool(lumetra_rpc.load(real))
try:
    lumetra_rpc.load("/elsewhere/liblumetra_rpc.so")
except lumetra_rpc.LibraryNotFound as error:
    observed["second path"] = describe(error)
observed["version"] = lumetra_rpc.version()
report(observed)
