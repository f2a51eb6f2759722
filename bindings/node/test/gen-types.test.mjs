// The declarations generator: each JSON Schema construct becomes the TypeScript type it
// means, broken documents are refused with a reason, and the output compiles with tsc
// (when installed), refusing the calls the schemas forbid.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, readFileSync, copyFileSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { generate, schemaToType } from '../scripts/gen-types.mjs';

const path = (relative) => fileURLToPath(new URL(relative, import.meta.url));
const sample = () => JSON.parse(readFileSync(path('./fixtures/openrpc-sample.json'), 'utf8'));
const flat = (type) => type.replace(/\s+/g, ' ');
const tsc = spawnSync('tsc', ['--version']).status === 0;

const schemaCases = [
  [{ type: 'string', minLength: 1 }, 'string'],
  [{ type: 'integer', minimum: 0 }, 'number'],
  [{ type: 'boolean', default: false }, 'boolean'],
  [{ type: ['string', 'null'] }, 'string | null'],
  [{ enum: ['a', 'b"c', 3, null] }, '"a" | "b\\"c" | 3 | null'],
  [{ const: 'fixed' }, '"fixed"'],
  [{ type: 'array', items: { type: 'string' } }, 'Array<string>'],
  [{ type: 'array' }, 'JsonValue[]'],
  [{ type: 'object' }, '{ [key: string]: JsonValue }'],
  [{ type: 'object', additionalProperties: false }, 'Record<string, never>'],
  [{ type: 'object', additionalProperties: { type: 'number' } }, '{ [key: string]: number }'],
  [
    { type: 'object', required: ['a'], properties: { a: { type: 'string' }, 'b-c': { type: 'integer' } } },
    '{ a: string; "b-c"?: number; }',
  ],
  [
    { properties: { a: { type: 'string' } }, additionalProperties: true },
    '{ a?: string; [key: string]: unknown; }',
  ],
  [{ oneOf: [{ type: 'string' }, { type: 'integer' }] }, 'string | number'],
  [{ anyOf: [{ type: 'string' }, { type: 'string' }] }, 'string'],
  [{ allOf: [{ $ref: '#/components/schemas/Named' }, { enum: [1, 2] }] }, 'Named & (1 | 2)'],
  [{ $ref: '#/components/schemas/Named' }, 'Named'],
  [{}, 'JsonValue'],
  [true, 'JsonValue'],
  [false, 'never'],
  [
    { type: 'object', properties: { a: { type: 'string', description: 'ends */ here' } } },
    '{ /** * ends *\\/ here */ a?: string; }',
  ],
];

test('each schema construct becomes its TypeScript type', () => {
  for (const [schema, expected] of schemaCases) {
    assert.equal(flat(schemaToType(schema, new Set(['Named']))), expected, JSON.stringify(schema));
  }
});

const brokenCases = [
  ['not an object', () => [], /must be a JSON object/], // replaces the document
  ['no version', (d) => { delete d.openrpc; }, /"openrpc" must name a 1.x version/],
  ['no methods', (d) => { d.methods = []; }, /"methods" must be a non-empty array/],
  ['a method twice', (d) => { d.methods.push(d.methods[0]); }, /method init is listed twice/],
  ['a method without a name', (d) => { delete d.methods[0].name; }, /needs a name that is an identifier/],
  ['a name that is no identifier', (d) => { d.methods[0].name = 'in it'; }, /needs a name that is an identifier/],
  ['params missing', (d) => { delete d.methods[1].params; }, /getSDKVersion: "params" must be an array/],
  ['a parameter without a schema', (d) => { delete d.methods[0].params[0].schema; }, /init.devKey: a parameter needs a schema/],
  ['a parameter twice', (d) => { d.methods[0].params.push(d.methods[0].params[0]); }, /parameter devKey is listed twice/],
  ['params by position', (d) => { d.methods[0].paramStructure = 'by-position'; }, /by position/],
  ['a dangling $ref', (d) => { delete d.components.schemas.Result; }, /unresolved \$ref #\/components\/schemas\/Result/],
  ['an unknown type', (d) => { d.methods[0].params[1].schema.type = 'str'; }, /unknown schema type "str"/],
];

test('broken documents are refused with the reason', () => {
  for (const [name, breakIt, reason] of brokenCases) {
    const doc = sample();
    const replaced = breakIt(doc);
    assert.throws(() => generate(replaced ?? doc), reason, name);
  }
});

test('the command line writes the declarations, and fails on a broken document', () => {
  const dir = mkdtempSync(join(tmpdir(), 'lmrpc-types-'));
  const script = path('../scripts/gen-types.mjs');
  execFileSync(process.execPath, [script, path('./fixtures/openrpc-sample.json'), join(dir, 'index.d.ts')]);
  assert.equal(readFileSync(join(dir, 'index.d.ts'), 'utf8'), generate(sample()));
  writeFileSync(join(dir, 'broken.json'), '{"openrpc":"1.2.6","methods":[]}');
  const failed = spawnSync(process.execPath, [script, join(dir, 'broken.json'), join(dir, 'out.d.ts')]);
  assert.equal(failed.status, 1);
  assert.match(failed.stderr.toString(), /"methods" must be a non-empty array/);
  assert.equal(existsSync(join(dir, 'out.d.ts')), false);
});

function typeCheck(declarations, usage) {
  const dir = mkdtempSync(join(tmpdir(), 'lmrpc-tsc-'));
  writeFileSync(join(dir, 'index.d.ts'), declarations);
  const files = [join(dir, 'index.d.ts')];
  if (usage) {
    copyFileSync(usage, join(dir, 'uses.ts'));
    files.push(join(dir, 'uses.ts'));
  }
  const args = ['--noEmit', '--strict', '--target', 'es2020', '--moduleResolution', 'node', ...files];
  const run = spawnSync('tsc', args, { encoding: 'utf8' });
  assert.equal(run.status, 0, run.stdout + run.stderr);
}

test('the declarations compile, and refuse what the schemas forbid', { skip: !tsc && 'tsc not installed' }, () => {
  typeCheck(generate(sample()), path('./fixtures/uses-sample.ts'));
});

// The repository's own document, once it is there: its methods are the documented ones, it
// generates declarations that compile, and the committed index.d.ts is not stale.
const openrpc = path('../../../docs/openrpc.json');
const present = existsSync(openrpc) || 'docs/openrpc.json not present';

test("the repository's OpenRPC document", { skip: present === true ? false : present }, () => {
  const doc = JSON.parse(readFileSync(openrpc, 'utf8'));
  const documented = [...readFileSync(path('../../../docs/methods.md'), 'utf8').matchAll(/^### `([^`]+)`$/gm)];
  assert.deepEqual(doc.methods.map((m) => m.name).sort(), documented.map((m) => m[1]).sort());
  const declarations = generate(doc);
  if (tsc) typeCheck(declarations);
  const committed = path('../index.d.ts');
  if (existsSync(committed)) {
    assert.equal(readFileSync(committed, 'utf8'), declarations, 'index.d.ts is stale: run npm run gen-types');
  }
});
