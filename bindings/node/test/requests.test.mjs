// Requests through the kit in this process (node --test gives each file its own): answers,
// refusals, timeouts, UTF-8 byte counting, many requests at once, events.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { test } from 'node:test';

import rpc from '../index.js';

// A version of our own shows the settings really reached the library.
rpc.configure({
  sdk: { version: '9.8.7-node', conversion: { data: { campaign: 'x' } }, replies: { logEvent: { never: true } } },
  timeouts: { logEvent: 0.2 },
});

const LIMIT = 1048576; // request texts of this many UTF-8 bytes or more are refused

// A getSDKVersion request padded, in an ignored member, with two-byte characters to exactly
// `bytes` UTF-8 bytes: far fewer characters than bytes, so counting characters shows.
function paddedRequest(id, bytes) {
  const head = `{"id":${id},"method":"getSDKVersion","pad":"`;
  const tail = '"}';
  const room = bytes - Buffer.byteLength(head + tail);
  const text = head + 'é'.repeat(Math.floor(room / 2)) + 'a'.repeat(room % 2) + tail;
  assert.equal(Buffer.byteLength(text), bytes);
  return text;
}

const version = (id) => ({
  error: null,
  id,
  result: { data: { version: '9.8.7-node' }, message: 'SDK version retrieved', success: true },
});

const cases = [
  ['a request that succeeds', '{"id":2,"method":"getSDKVersion"}', version(2)],
  [
    'a parameter that fails validation',
    '{"id":1,"method":"init","params":{}}',
    { error: { code: 422, message: 'Missing required parameter: devKey' }, id: 1, result: null },
  ],
  [
    'an SDK operation that times out',
    '{"id":3,"method":"logEvent","params":{"eventName":"e","awaitResponse":true}}',
    {
      error: null,
      id: 3,
      result: { errorType: 'timeout', message: 'logEvent operation timed out after 0.2 seconds', success: false },
    },
  ],
  [
    'an unknown method',
    '{"id":4,"method":"nope"}',
    { error: { code: 404, message: 'Method not found: nope' }, id: 4, result: null },
  ],
  [
    'non-ASCII text in and out',
    '{"id":"é😀","method":"méthode😀"}',
    { error: { code: 404, message: 'Method not found: méthode😀' }, id: 'é😀', result: null },
  ],
  ['1,048,575 bytes pass', paddedRequest(5, LIMIT - 1), version(5)],
  [
    '1,048,576 bytes are refused, though far fewer characters',
    paddedRequest(6, LIMIT),
    { error: { code: 400, message: 'Request payload too large' }, id: null, result: null },
  ],
  ['UTF-8 bytes instead of a string', new TextEncoder().encode('{"id":7,"method":"getSDKVersion"}'), version(7)],
];

for (const [name, request, expected] of cases) {
  test(name, async () => {
    const response = JSON.parse(await rpc.execute(request));
    if (typeof expected === 'function') {
      expected(response);
    } else {
      assert.deepEqual(response, expected);
    }
  });
}

test('text that is not JSON gets a 400 naming why', async () => {
  const response = JSON.parse(await rpc.execute('{"id":8,"method":'));
  assert.equal(response.error.code, 400);
  assert.match(response.error.message, /^Invalid JSON-RPC request structure: The given data was not valid JSON: /);
});

test('call() resolves with the result and rejects with the error', async () => {
  assert.deepEqual(await rpc.call('getSDKVersion'), version(0).result);
  const refused = await rpc.call('init', {}).then(
    () => assert.fail('resolved'),
    (error) => error,
  );
  assert.ok(refused instanceof rpc.LumetraRpcError);
  assert.equal(refused.code, 422);
  assert.equal(refused.message, 'Missing required parameter: devKey');
});

test('a request that is not a text is rejected before it is sent', async () => {
  for (const request of [42, null, { id: 1 }]) {
    await assert.rejects(rpc.execute(request), TypeError);
  }
});

test('1,000 requests at once each get their own response', async () => {
  const ids = Array.from({ length: 1000 }, (_, i) => `r${i}`);
  const responses = await Promise.all(ids.map((id) => rpc.execute(JSON.stringify({ id, method: 'getSDKVersion' }))));
  assert.deepEqual(
    responses.map((text) => JSON.parse(text).id),
    ids,
  );
  assert.equal(rpc.outstanding(), 0);
});

test('an event arrives after its listener is registered', async () => {
  // Only requests keep the event loop alive; an event may come after start is answered, so
  // this test's own deadline holds the loop meanwhile.
  const deadline = new AbortController();
  const timer = setTimeout(() => deadline.abort(new Error('no event within 5 s')), 5000);
  const event = once(rpc.events, 'event', { signal: deadline.signal });
  await rpc.call('registerConversionListener');
  await rpc.call('start');
  const [text] = await event.finally(() => clearTimeout(timer));
  const { data, event: name, origin } = JSON.parse(text);
  assert.deepEqual({ data, name, origin }, { data: { campaign: 'x' }, name: 'onConversionDataSuccess', origin: 'ios' });
});

test('configure after first use is refused', () => {
  assert.throws(() => rpc.configure({}), /before the first request/);
});

// Last in this file: shutdown ends the library for good.
test('shutdown with nothing in flight finishes in time; later requests are refused at once', async () => {
  assert.equal(rpc.shutdown(10000), true);
  assert.equal(rpc.shutdown(0), true, 'a second call returns the first result');
  await assert.rejects(rpc.execute('{"id":9,"method":"getSDKVersion"}'), { code: 'LMRPC_STOPPED' });
  await assert.rejects(rpc.call('getSDKVersion'), { code: 'LMRPC_STOPPED' });
  assert.throws(() => rpc.configure({}), { code: 'LMRPC_STOPPED' });
});
