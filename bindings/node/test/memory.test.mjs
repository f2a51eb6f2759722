// No text, promise or context is kept per request: 100,000 requests leave memory where a
// 20,000 warm-up left it. A leak only grows, so the lowest of the last three figures counts:
// the allocator's swings rarely lift all three, while one leaked 2 KiB response text per
// request (over 120 MiB by the first of them) lifts every one.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { describeRun, runScenario } from './support.mjs';

const MiB = 1024 * 1024;

test('100,000 requests keep memory flat', async () => {
  const run = await runScenario('memory.cjs', [], {
    limitMs: 120000,
    nodeFlags: ['--expose-gc', '--max-semi-space-size=1'],
  });
  assert.ok(run.code === 0 && !run.timedOut, describeRun(run));
  const { answered, afterWarmUp, later, outstanding } = JSON.parse(run.lines.at(-1));
  assert.equal(answered, 100000);
  assert.equal(outstanding, 0);
  const grown = (key) => (Math.min(...later.map((figures) => figures[key])) - afterWarmUp[key]) / MiB;
  assert.ok(grown('rss') < 32, `rss grew by ${grown('rss').toFixed(1)} MiB: ${run.lines.at(-1)}`);
  assert.ok(grown('heapUsed') < 4, `heapUsed grew by ${grown('heapUsed').toFixed(1)} MiB`);
});
