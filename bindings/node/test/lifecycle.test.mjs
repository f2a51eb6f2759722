// Whether a host process lives exactly as long as it should: kept alive by outstanding
// requests only, ending by itself afterwards, exiting at once on process.exit() whatever is
// in flight, and settling every promise at shutdown. Exits are races, so those run a few times.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { describeRun, runScenario } from './support.mjs';

const ended = (run) => assert.ok(run.code === 0 && !run.timedOut, describeRun(run));

const cases = [
  {
    name: 'an outstanding request alone keeps the event loop alive until it is answered',
    scenario: 'stays-alive',
    check(run) {
      ended(run);
      assert.deepEqual(JSON.parse(run.lines[0]), {
        error: null,
        id: 1,
        result: { errorType: 'timeout', message: 'logEvent operation timed out after 0.3 seconds', success: false },
      });
    },
  },
  {
    name: 'the process ends by itself once every request is answered',
    scenario: 'ends',
    check(run) {
      ended(run);
      const texts = run.lines.filter((line) => line.startsWith('{')).map((line) => JSON.parse(line));
      const responses = texts.filter((t) => 'id' in t).sort((a, b) => a.id - b.id);
      assert.deepEqual(responses.map((r) => r.result?.success), [true, true, true, true], describeRun(run));
      assert.ok(run.lines.includes('outstanding 0'), describeRun(run));
      const event = texts.find((t) => t.event);
      assert.equal(event?.event, 'onConversionDataSuccess', describeRun(run));
      assert.deepEqual(event.data, { campaign: 'x' });
    },
  },
  {
    name: 'process.exit() with 1,000 requests pending exits at once',
    scenario: 'exit-pending',
    runs: 3,
    check(run) {
      ended(run);
      assert.deepEqual(run.lines, ['outstanding 1000']);
    },
  },
  {
    name: 'process.exit() from a completion, others still pending',
    scenario: 'exit-in-completion',
    runs: 3,
    check(run) {
      ended(run);
      assert.equal(JSON.parse(run.lines[0]).id, 'x', describeRun(run));
    },
  },
  {
    name: 'process.exit() from an event listener, inside the library callback',
    scenario: 'exit-in-event',
    runs: 3,
    check(run) {
      ended(run);
      assert.equal(JSON.parse(run.lines[0]).event, 'onConversionDataSuccess', describeRun(run));
    },
  },
  {
    name: 'a throwing event listener reaches uncaughtException and requests go on',
    scenario: 'listener-throws',
    check(run) {
      ended(run);
      assert.equal(run.lines[0], 'uncaught listener failed', describeRun(run));
      assert.equal(JSON.parse(run.lines[1]).result.success, true);
    },
  },
  {
    name: "a worker thread's request is refused, the main thread's answered",
    scenario: 'worker-refused',
    check(run) {
      ended(run);
      assert.equal(JSON.parse(run.lines[0]).result.success, true, describeRun(run));
      assert.equal(run.lines[1], 'LumetraRPC is driven by another JS thread of this process');
    },
  },
  {
    name: 'shutdown with requests in flight settles every promise and refuses later requests',
    scenario: 'shutdown-in-flight',
    check(run) {
      ended(run);
      const summary = JSON.parse(run.lines[0]);
      // Pending SDK operations are cut off with 503 "Library is shutting down".
      assert.deepEqual(summary, { finished: 'boolean', same: true, outstanding: 0, counts: { 503: 200 } });
      assert.equal(run.lines[1], 'after LMRPC_STOPPED');
    },
  },
  {
    name: 'shutdown from inside an event listener settles every promise before it returns',
    scenario: 'shutdown-in-event',
    runs: 10,
    check(run) {
      ended(run);
      assert.equal(run.lines[0], '{"finished":"boolean"}', describeRun(run));
      const { outstanding, notCutOff, others } = JSON.parse(run.lines[1]);
      assert.deepEqual({ outstanding, notCutOff, registered: others[0] }, { outstanding: 0, notCutOff: [], registered: 'answered' });
      assert.equal(others[1], 'answered', describeRun(run));
    },
  },
  {
    name: 'refused settings say why and leave the kit to be configured',
    scenario: 'configure-refused',
    check(run) {
      ended(run);
      assert.deepEqual(run.lines, [
        'Error: configure: unknown member "nope" (known: sdk, timeouts, poolThreads, mainExecutor)',
        'Error: configure: timeout "logEvent" must be a number of seconds from 0 to 1e9',
        'Error: this kit drives the main executor itself: leave "mainExecutor" out',
        'TypeError: configure expects a settings object or its JSON text',
        'v-after',
      ]);
    },
  },
  {
    name: 'the library option goes before LMRPC_LIBRARY, and a missing library is named',
    scenario: 'library-option',
    check(run) {
      ended(run);
      assert.match(run.lines[0], /^cannot load LumetraRPC: \/nonexistent\/liblumetra_rpc\.so: /, describeRun(run));
      assert.equal(run.lines[1], 'from-env');
    },
  },
];

for (const { name, scenario, runs = 1, check } of cases) {
  test(name, async () => {
    for (let i = 0; i < runs; i++) check(await runScenario('lifecycle.cjs', [scenario]));
  });
}
