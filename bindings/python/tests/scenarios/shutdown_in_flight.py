"""Shuts down while requests wait for an SDK that never answers, with quick ones done and
more sent from another thread meanwhile. Every wait must end: an answer or 503."""
import asyncio
import json

import lumetra_rpc
from common import describe, report

LIMIT = 10


async def main():
    lumetra_rpc.configure({"sdk": {"replies": {"logEvent": {"never": True}}}, "timeouts": {"logEvent": 60}})
    stuck = [asyncio.ensure_future(lumetra_rpc.execute(
        {"id": n, "method": "logEvent", "params": {"eventName": "stuck"}})) for n in range(20)]
    quick = await asyncio.gather(*(lumetra_rpc.call("getSDKVersion", id=n) for n in range(20)))
    # Shut down from a worker thread, so that this loop keeps settling answers meanwhile.
    finished = await asyncio.get_running_loop().run_in_executor(None, lumetra_rpc.shutdown, 200)
    answers = await asyncio.wait_for(asyncio.gather(*stuck, return_exceptions=True), LIMIT)
    late = None
    try:
        await asyncio.wait_for(lumetra_rpc.execute('{"id":1,"method":"getSDKVersion"}'), LIMIT)
    except lumetra_rpc.LibraryStopped as error:
        late = error
    report({
        "quick": [answer["result"]["success"] for answer in quick],
        "finished": finished,
        "stuck": [json.loads(a) if isinstance(a, str) else describe(a) for a in answers],
        "late": describe(late),
        "pending": lumetra_rpc.pending_count(),
    })


asyncio.run(main())
