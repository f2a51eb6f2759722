#!/usr/bin/env node
// Writes index.d.ts from the OpenRPC document, so that every method's parameters and result
// are typed exactly as the library documents them and cannot drift from it by hand.
//   node scripts/gen-types.mjs [openrpc.json] [index.d.ts]
// (defaults: the repository's docs/openrpc.json, and index.d.ts beside package.json).
// Plain Node on purpose: the kit needs no TypeScript tooling to build.
import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath, pathToFileURL } from 'node:url';

const here = (relative) => fileURLToPath(new URL(relative, import.meta.url));
const IDENTIFIER = /^[A-Za-z_$][A-Za-z0-9_$]*$/;
const REF = /^#\/components\/schemas\/([A-Za-z_$][A-Za-z0-9_$]*)$/;

const propertyKey = (name) => (IDENTIFIER.test(name) ? name : JSON.stringify(name));
const pad = (depth) => '  '.repeat(depth);
const isObject = (value) => value !== null && typeof value === 'object' && !Array.isArray(value);

function literal(value) {
  if (value === null || ['string', 'number', 'boolean'].includes(typeof value)) return JSON.stringify(value);
  return 'JsonValue'; // an object or array constant: TypeScript has no literal for it
}

const union = (types) => {
  const unique = [...new Set(types)];
  return unique.length === 1 ? unique[0] : unique.map((t) => (t.includes('&') ? `(${t})` : t)).join(' | ');
};

// A JSDoc block from a schema's description, default and deprecation; '' when it has none.
export function docComment(schema, depth) {
  const lines = [];
  if (typeof schema.description === 'string') lines.push(...schema.description.split('\n'));
  if (typeof schema.summary === 'string' && !lines.length) lines.push(...schema.summary.split('\n'));
  if ('default' in schema) lines.push(`@default ${JSON.stringify(schema.default)}`);
  if (schema.deprecated === true) lines.push('@deprecated');
  if (!lines.length) return '';
  const body = lines.map((line) => `${pad(depth)} * ${line.replaceAll('*/', '*\\/')}`.trimEnd());
  return `${pad(depth)}/**\n${body.join('\n')}\n${pad(depth)} */\n`;
}

function objectType(schema, refs, depth) {
  const properties = isObject(schema.properties) ? schema.properties : {};
  const required = new Set(Array.isArray(schema.required) ? schema.required : []);
  const extra = schema.additionalProperties;
  const names = Object.keys(properties);
  if (!names.length) {
    if (extra === false) return 'Record<string, never>';
    return `{ [key: string]: ${isObject(extra) ? schemaToType(extra, refs, depth) : 'JsonValue'} }`;
  }
  const members = names.map((name) => {
    const member = properties[name];
    const optional = required.has(name) ? '' : '?';
    const doc = isObject(member) ? docComment(member, depth + 1) : '';
    return `${doc}${pad(depth + 1)}${propertyKey(name)}${optional}: ${schemaToType(member, refs, depth + 1)};`;
  });
  // Named members must fit an index signature, hence unknown rather than the schema's type.
  if (extra !== undefined && extra !== false) members.push(`${pad(depth + 1)}[key: string]: unknown;`);
  return `{\n${members.join('\n')}\n${pad(depth)}}`;
}

/** The TypeScript type of a JSON Schema; `refs` holds the names of #/components/schemas. */
export function schemaToType(schema, refs = new Set(), depth = 0) {
  if (schema === undefined || schema === true) return 'JsonValue';
  if (schema === false) return 'never';
  if (!isObject(schema)) throw new Error(`not a schema: ${JSON.stringify(schema)}`);
  if (typeof schema.$ref === 'string') {
    const name = REF.exec(schema.$ref)?.[1];
    if (!name || !refs.has(name)) throw new Error(`unresolved $ref ${schema.$ref}`);
    return name;
  }
  if ('const' in schema) return literal(schema.const);
  if (Array.isArray(schema.enum)) return union(schema.enum.map(literal));
  for (const key of ['oneOf', 'anyOf']) {
    if (Array.isArray(schema[key])) return union(schema[key].map((s) => schemaToType(s, refs, depth)));
  }
  if (Array.isArray(schema.allOf)) {
    return schema.allOf.map((s) => wrapUnion(schemaToType(s, refs, depth))).join(' & ');
  }
  if (Array.isArray(schema.type)) {
    return union(schema.type.map((type) => schemaToType({ ...schema, type }, refs, depth)));
  }
  switch (schema.type) {
    case 'string':
      return 'string';
    case 'number':
    case 'integer':
      return 'number';
    case 'boolean':
      return 'boolean';
    case 'null':
      return 'null';
    case 'array':
      return isObject(schema.items) ? `Array<${schemaToType(schema.items, refs, depth)}>` : 'JsonValue[]';
    case 'object':
      return objectType(schema, refs, depth);
    case undefined:
      return isObject(schema.properties) ? objectType(schema, refs, depth) : 'JsonValue';
    default:
      throw new Error(`unknown schema type ${JSON.stringify(schema.type)}`);
  }
}

const wrapUnion = (type) => (type.includes(' | ') ? `(${type})` : type);

// The document's shape is checked here, so a broken document fails the build with a reason
// instead of producing declarations that quietly type everything as JsonValue.
function checkDocument(doc) {
  if (!isObject(doc)) throw new Error('the OpenRPC document must be a JSON object');
  if (typeof doc.openrpc !== 'string' || !doc.openrpc.startsWith('1.')) {
    throw new Error('"openrpc" must name a 1.x version');
  }
  if (!Array.isArray(doc.methods) || !doc.methods.length) throw new Error('"methods" must be a non-empty array');
  const seen = new Set();
  for (const method of doc.methods) {
    if (!isObject(method) || typeof method.name !== 'string' || !IDENTIFIER.test(method.name)) {
      throw new Error(`a method needs a name that is an identifier: ${JSON.stringify(method?.name)}`);
    }
    if (seen.has(method.name)) throw new Error(`method ${method.name} is listed twice`);
    seen.add(method.name);
    if (method.paramStructure === 'by-position') throw new Error(`${method.name}: params by position are not used`);
    if (!Array.isArray(method.params)) throw new Error(`${method.name}: "params" must be an array`);
    const names = new Set();
    for (const param of method.params) {
      if (!isObject(param) || typeof param.name !== 'string' || !param.name) {
        throw new Error(`${method.name}: a parameter needs a name`);
      }
      if (param.schema === undefined) throw new Error(`${method.name}.${param.name}: a parameter needs a schema`);
      if (names.has(param.name)) throw new Error(`${method.name}: parameter ${param.name} is listed twice`);
      names.add(param.name);
    }
  }
}

function paramsType(method, refs) {
  if (!method.params.length) return 'Record<string, never>';
  const members = method.params.map((param) => {
    const doc = docComment({ ...(isObject(param.schema) ? param.schema : {}), ...param }, 2);
    const optional = param.required === true ? '' : '?';
    return `${doc}${pad(2)}${propertyKey(param.name)}${optional}: ${schemaToType(param.schema, refs, 2)};`;
  });
  return `{\n${members.join('\n')}\n${pad(1)}}`;
}

const API = `
/** Any JSON value. */
export type JsonValue = null | boolean | number | string | JsonValue[] | { [key: string]: JsonValue };

/** Every method's name. */
export type MethodName = keyof Params;

/** A request text's object form. */
export interface Request<M extends MethodName = MethodName> {
  id?: JsonValue;
  method: M;
  params?: Params[M];
}

/** The error member of a response: 400, 404, 422, 500 or 503. */
export interface ErrorObject {
  code: number;
  message: string;
  details?: { [key: string]: JsonValue };
}

/** A response text's object form: exactly one of error and result is null. */
export type Response<M extends MethodName = MethodName> =
  | { id: JsonValue; error: null; result: Results[M] }
  | { id: JsonValue; error: ErrorObject; result: null };

/** The params argument of call(): optional when the method requires none. */
export type ParamsArgument<M extends MethodName> = {} extends Params[M] ? [params?: Params[M]] : [params: Params[M]];

/** lmrpc_configure's settings; the kit always runs the main executor itself ("host"). */
export interface Settings {
  sdk?: { [key: string]: JsonValue };
  timeouts?: { start?: number; logEvent?: number; purchase?: number; crossPromotion?: number; shareInvite?: number };
  poolThreads?: number;
  mainExecutor?: 'host';
}

export interface Options {
  /** The shared library to load; else LMRPC_LIBRARY, else the loader's search for liblumetra_rpc.so. */
  library?: string;
}

/** Before the first request only; the first request configures defaults otherwise. */
export function configure(settings?: Settings | string, options?: Options): void;
/** One request text (or its UTF-8 bytes); resolves with the response text. */
export function execute(json: string | Uint8Array): Promise<string>;
/** Resolves with the method's result; rejects with LumetraRpcError for an error response. */
export function call<M extends MethodName>(method: M, ...params: ParamsArgument<M>): Promise<Results[M]>;
/** Ends the library for good; true when everything finished within timeoutMs. */
export function shutdown(timeoutMs?: number): boolean;
/** Requests sent and not yet answered. */
export function outstanding(): number;

export class LumetraRpcError extends Error {
  constructor(error: ErrorObject);
  readonly code: number;
  readonly details?: { [key: string]: JsonValue };
}

/** A node:events EventEmitter; described here so the declarations need no @types/node. */
export interface LumetraEvents {
  on(event: 'event', listener: (text: string) => void): this;
  once(event: 'event', listener: (text: string) => void): this;
  off(event: 'event', listener: (text: string) => void): this;
  removeAllListeners(event?: 'event'): this;
  listenerCount(event: 'event'): number;
}
/** Emits 'event' with each SDK event text. */
export const events: LumetraEvents;
`;

/** The whole of index.d.ts for an OpenRPC document. */
export function generate(doc) {
  checkDocument(doc);
  const schemas = isObject(doc.components?.schemas) ? doc.components.schemas : {};
  const refs = new Set(Object.keys(schemas));
  for (const name of refs) if (!IDENTIFIER.test(name)) throw new Error(`schema name ${name} is not an identifier`);
  const out = [];
  const title = [doc.info?.title, doc.info?.version].filter(Boolean).join(' ');
  out.push(`// Generated by scripts/gen-types.mjs from the OpenRPC document${title ? ` (${title})` : ''}.`);
  out.push('// Do not edit: run `npm run gen-types` instead.');
  for (const [name, schema] of Object.entries(schemas)) {
    out.push('', `${docComment(schema, 0)}export type ${name} = ${schemaToType(schema, refs, 0)};`);
  }
  const methodDoc = (method) => docComment({ description: method.summary ?? method.description }, 1);
  out.push('', "/** Each method's parameters (the request's params member). */", 'export interface Params {');
  for (const method of doc.methods) out.push(`${methodDoc(method)}${pad(1)}${method.name}: ${paramsType(method, refs)};`);
  out.push('}', '', "/** Each method's result member. */", 'export interface Results {');
  for (const method of doc.methods) {
    out.push(`${pad(1)}${method.name}: ${schemaToType(method.result?.schema, refs, 1)};`);
  }
  out.push('}');
  return `${out.join('\n')}\n${API}`;
}

function main([input = here('../../../docs/openrpc.json'), output = here('../index.d.ts')]) {
  try {
    const text = generate(JSON.parse(readFileSync(input, 'utf8')));
    writeFileSync(output, text);
    console.log(`wrote ${output}`);
  } catch (error) {
    console.error(`gen-types: ${input}: ${error.message}`);
    process.exitCode = 1;
  }
}

if (import.meta.url === pathToFileURL(process.argv[1]).href) main(process.argv.slice(2));
