"""Settings the library refuses, then accepted ones, then settings after the start."""
import asyncio

import lumetra_rpc
from common import report


def attempt(settings):
    try:
        lumetra_rpc.configure(settings)
        return {"accepted": True}
    except lumetra_rpc.ConfigurationError as error:
        return {"type": type(error).__name__, "reason": error.reason, "status": int(error.status),
                "message": str(error)}


async def main():
    steps = {
        "unknown member": attempt({"bogus": 1}),
        "not JSON": attempt("{"),
        "host-driven": attempt('{"mainExecutor":"host"}'),
        "accepted": attempt({"timeouts": {"logEvent": 0.5}}),
    }
    answer = await lumetra_rpc.call("getSDKVersion")
    steps["after start"] = attempt({"timeouts": {"logEvent": 1}})
    report({"steps": steps, "answered": answer["result"]["success"]})


asyncio.run(main())
