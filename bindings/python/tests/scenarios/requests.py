"""Sends the table of tests/data/requests.json at once, plus a crowd of requests whose
answers must each reach the future of the request that asked."""
import asyncio
import json
import os
import threading

import lumetra_rpc
from common import report

TABLE = os.path.join(os.path.dirname(__file__), "..", "data", "requests.json")
CROWD = 500


async def echo_names(prefix, count):
    """Sends `count` requests from the running loop; returns (sent, answered id, loop ok)."""
    loop = asyncio.get_running_loop()
    names = ["%s-%d" % (prefix, n) for n in range(count)]

    async def one(name):
        text = await lumetra_rpc.execute(
            {"id": name, "method": "logEvent", "params": {"eventName": name, "awaitResponse": False}})
        # The answer must be settled by the loop that asked, on that loop's own thread.
        return [name, json.loads(text)["id"], asyncio.get_running_loop() is loop]

    return await asyncio.gather(*(one(name) for name in names))


def on_another_thread(count, into):
    into.extend(asyncio.run(echo_names("thread", count)))


async def main():
    with open(TABLE, encoding="utf-8") as file:
        table = json.load(file)
    lumetra_rpc.configure(table["settings"])
    answers = await asyncio.gather(*(lumetra_rpc.execute(case["request"]) for case in table["cases"]))
    sent = ["crowd-%d" % n for n in range(CROWD)]
    crowd = await asyncio.gather(*(lumetra_rpc.execute(
        {"id": name, "method": "logEvent", "params": {"eventName": name, "awaitResponse": False}})
        for name in sent))
    from_thread = []
    other = threading.Thread(target=on_another_thread, args=(CROWD, from_thread))
    other.start()
    from_here = await echo_names("here", CROWD)
    await asyncio.get_running_loop().run_in_executor(None, other.join, 30)
    called = await lumetra_rpc.call("getSDKVersion", id="by-call")
    # The SDK never answers and the library's own timeout is 0.2 s, so this wait is
    # cancelled first; its entry must go with it.
    try:
        await asyncio.wait_for(lumetra_rpc.execute(
            {"id": 0, "method": "logEvent", "params": {"eventName": "given up"}}), 0.01)
        cancelled = None
    except asyncio.TimeoutError:
        cancelled = lumetra_rpc.pending_count()
    report({
        "answers": {case["name"]: json.loads(text) for case, text in zip(table["cases"], answers)},
        "crowd": [[name, json.loads(text)["id"], json.loads(text)["result"]["data"]["eventName"]]
                  for name, text in zip(sent, crowd)],
        "two loops": from_here + from_thread,
        "call": called,
        "pending": lumetra_rpc.pending_count(),
        "pending after a cancelled wait": cancelled,
    })


asyncio.run(main())
