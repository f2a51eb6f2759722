"""100,000 requests whose answers are about a kilobyte each: a text that is not freed, a
future that stays registered or a callback object made per request would each grow the
resident memory by tens of megabytes between the two readings."""
import asyncio
import os

import lumetra_rpc
from common import report

TOTAL = 100_000
WARM_UP = 20_000
BATCH = 500
PAYLOAD = {"blob": "x" * 1000}


def resident_bytes():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


async def send(first, count):
    answered = 0
    for start in range(first, first + count, BATCH):
        texts = await asyncio.gather(*(lumetra_rpc.execute(
            {"id": n, "method": "logEvent",
             "params": {"eventName": "memory", "awaitResponse": False, "eventValues": PAYLOAD}})
            for n in range(start, min(start + BATCH, first + count))))
        answered += sum('"success":true' in text and len(text) > 1000 for text in texts)
    return answered


async def main():
    answered = await send(0, WARM_UP)
    warm = resident_bytes()
    answered += await send(WARM_UP, TOTAL - WARM_UP)
    report({"answered": answered, "warm": warm, "end": resident_bytes(), "pending": lumetra_rpc.pending_count()})


asyncio.run(main())
