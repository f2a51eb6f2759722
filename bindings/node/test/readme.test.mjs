// The README's example runs as written: saved at the repository root and run there, here
// fed to Node on standard input with the repository root as working directory (a script
// read that way resolves require() from there, just as example.js would).
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const root = fileURLToPath(new URL('../../..', import.meta.url));
const readme = readFileSync(fileURLToPath(new URL('../README.md', import.meta.url)), 'utf8');

test('the README example runs as written', () => {
  const example = /```js\n([\s\S]*?)```/.exec(readme)[1];
  assert.ok(example.split('\n').filter(Boolean).length <= 10, 'the example is ten lines at most');
  const run = spawnSync(process.execPath, ['-'], { cwd: root, input: example, encoding: 'utf8', timeout: 20000 });
  assert.equal(run.status, 0, run.stderr);
  const lines = run.stdout.trim().split('\n');
  assert.equal(lines.length, 4, run.stdout);
  assert.equal(JSON.parse(lines[0]).result.success, true);
  assert.equal(lines[1], '422 Missing required parameter: devKey');
  assert.match(lines[2], /^event \{"data":\{"campaign":"spring"\},"event":"onConversionDataSuccess"/);
  assert.equal(lines[3], "{ message: 'start completed', success: true }");
});
