"""What every scenario shares: the library comes from LMRPC_LIBRARY, and the scenario's
observations go to the parent test as one JSON line, which the test then judges."""
import json
import sys

REPORT_PREFIX = "REPORT "


def report(observations):
    print(REPORT_PREFIX + json.dumps(observations, ensure_ascii=False), flush=True)


def describe(error):
    return {"type": type(error).__name__, "message": str(error)} if error else None


def argument(index, default=None):
    return sys.argv[index] if len(sys.argv) > index else default
