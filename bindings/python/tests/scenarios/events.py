"""Two streams open (one of texts, one parsed) when the simulator reports conversion data;
both get the event, and both end once the library shuts down."""
import asyncio
import sys

import lumetra_rpc
from common import report

LIMIT = 10


async def main(campaign):
    lumetra_rpc.configure({"sdk": {"conversion": {"data": {"campaign": campaign}}}})
    texts = lumetra_rpc.events()
    parsed = lumetra_rpc.events(parsed=True)
    # Conversion data is reported after start, to a listener registered by then.
    registered = await lumetra_rpc.call("registerConversionListener")
    started = await lumetra_rpc.call("start")
    first_text = await asyncio.wait_for(anext(texts), LIMIT)
    first_parsed = await asyncio.wait_for(anext(parsed), LIMIT)
    finished = lumetra_rpc.shutdown(1000)
    # After shutdown the streams end rather than wait for ever.
    rest_text = await asyncio.wait_for(_drain(texts), LIMIT)
    rest_parsed = await asyncio.wait_for(_drain(parsed), LIMIT)
    report({"registered": registered, "started": started, "text": first_text, "parsed": first_parsed,
            "finished": finished, "after": [rest_text, rest_parsed]})


async def _drain(stream):
    return [event async for event in stream]


asyncio.run(main(sys.argv[1]))
