"""Ends the process with requests in flight and answers still arriving, the ways asyncio
programs end: asyncio.run returning with tasks pending, SystemExit raised inside the loop,
a loop left open, a loop closed with waits still registered (their answers then find it
closed), a loop still running on a daemon thread. The process must exit 0,
promptly, with nothing on standard error."""
import asyncio
import sys
import threading

import lumetra_rpc
from common import report

SETTINGS = {"sdk": {"replies": {"logEvent": {"never": True}, "start": {"data": {}, "delayMs": 1}},
                    "conversion": {"data": {"campaign": "exit"}}},
            "timeouts": {"logEvent": 60}}


def send_everything():
    """Requests that never end, a stream of answers and events arriving during exit."""
    stream = lumetra_rpc.events()
    tasks = [asyncio.ensure_future(lumetra_rpc.execute(
        {"id": n, "method": "logEvent", "params": {"eventName": "stuck"}})) for n in range(50)]
    tasks += [asyncio.ensure_future(lumetra_rpc.call(method))
              for method in ["registerConversionListener"] + ["start"] * 1000]
    return stream, tasks


async def first_answers(tasks):
    # Waits until requests have really been sent and answers flow, then leaves the rest.
    await asyncio.wait(tasks, return_when=asyncio.FIRST_COMPLETED)


async def ends_with_tasks_pending():
    _, tasks = send_everything()
    await first_answers(tasks)
    report({"ok": True})


async def raises_system_exit():
    _, tasks = send_everything()
    await first_answers(tasks)
    report({"ok": True})
    sys.exit(0)


def leaves_loop(closed):
    loop = asyncio.new_event_loop()
    _, tasks = loop.run_until_complete(_send())
    loop.run_until_complete(first_answers(tasks))
    if closed:
        loop.close()
    report({"ok": True})


async def _send():
    return send_everything()


def runs_on_daemon_thread():
    running = threading.Event()

    async def keep_going():
        _, tasks = send_everything()
        await first_answers(tasks)
        running.set()
        await asyncio.gather(*tasks)

    threading.Thread(target=asyncio.run, args=(keep_going(),), daemon=True).start()
    running.wait(30)
    report({"ok": running.is_set()})


lumetra_rpc.configure(SETTINGS)
way = sys.argv[1]
if way == "return":
    asyncio.run(ends_with_tasks_pending())
elif way == "system-exit":
    asyncio.run(raises_system_exit())
elif way == "loop-open":
    leaves_loop(closed=False)
elif way == "loop-closed":
    leaves_loop(closed=True)
elif way == "daemon-thread":
    runs_on_daemon_thread()
else:
    sys.exit("unknown way " + way)
