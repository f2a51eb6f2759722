'use strict';
// LumetraRPC for Node: one request text in, a promise of its one response text out; SDK
// events on an EventEmitter. The addon pumps the library's main executor on this thread
// whenever the library signals work, and keeps the event loop alive exactly while requests
// are outstanding.
const { EventEmitter } = require('node:events');
const path = require('node:path');

const native = require(process.env.LMRPC_NODE_ADDON ||
                       path.join(__dirname, 'build', 'Release', 'lumetra_rpc_node.node'));

// Used when neither configure({library}) nor LMRPC_LIBRARY names one: the loader's search.
const DEFAULT_LIBRARY = 'liblumetra_rpc.so';
const MAX_TIMEOUT_MS = 0xffffffff;

/** Emits 'event' with each SDK event text (a JSON object text). */
const events = new EventEmitter();

let state = 'idle'; // 'open' once configured (explicitly or by the first request), then 'stopped'
let library = null;
let shutdownResult = null;
let nextId = 1;

class LumetraRpcError extends Error {
  constructor(error) {
    super(error.message);
    this.name = 'LumetraRpcError';
    this.code = error.code;
    if (error.details !== undefined) this.details = error.details;
  }
}

function stoppedError() {
  const error = new Error('LumetraRPC has shut down');
  error.code = 'LMRPC_STOPPED';
  return error;
}

function libraryPath(options) {
  return (options && options.library) || process.env.LMRPC_LIBRARY || DEFAULT_LIBRARY;
}

// A listener that throws must not unwind into the library's pump; it surfaces the way any
// other uncaught exception does.
function deliver(text) {
  try {
    events.emit('event', text);
  } catch (error) {
    process.nextTick(() => { throw error; });
  }
}

function open(settings, options) {
  const path = libraryPath(options);
  native.open(path, JSON.stringify({ ...settings, mainExecutor: 'host' }), deliver);
  library = path;
  state = 'open';
  // process.exit() skips environment teardown hooks until late; stop deliveries first.
  process.once('exit', native.detach);
}

/**
 * Configures the library before its first use. `settings` is the lmrpc_configure object
 * ("sdk", "timeouts", "poolThreads"); `options.library` names the shared library to load.
 */
function configure(settings = {}, options = {}) {
  if (typeof settings === 'string') settings = JSON.parse(settings);
  if (settings === null || typeof settings !== 'object' || Array.isArray(settings)) {
    throw new TypeError('configure expects a settings object or its JSON text');
  }
  if (settings.mainExecutor !== undefined && settings.mainExecutor !== 'host') {
    throw new Error('this kit drives the main executor itself: leave "mainExecutor" out');
  }
  if (state === 'stopped') throw stoppedError();
  if (state !== 'idle') throw new Error('configure must come before the first request');
  open(settings, options);
}

/** Sends one request text (a string, or its UTF-8 bytes); resolves with the response text. */
function execute(json) {
  if (typeof json !== 'string' && !(json instanceof Uint8Array)) {
    return Promise.reject(new TypeError('execute expects a JSON text (string or Uint8Array)'));
  }
  if (state === 'stopped') return Promise.reject(stoppedError());
  try {
    if (state === 'idle') open({}, undefined);
    return native.execute(json);
  } catch (error) {
    return Promise.reject(error);
  }
}

/** Calls `method`; resolves with the response's result, rejects with its error. */
async function call(method, params) {
  const request = { id: nextId++, method };
  if (params !== undefined) request.params = params;
  const response = JSON.parse(await execute(JSON.stringify(request)));
  if (response.error) throw new LumetraRpcError(response.error);
  return response.result;
}

/**
 * Ends the library for good, waiting up to `timeoutMs` for requests in flight; every
 * outstanding promise settles before it returns (called from an event listener: once that
 * delivery is over). True when everything finished in time.
 */
function shutdown(timeoutMs = 5000) {
  if (!Number.isInteger(timeoutMs) || timeoutMs < 0 || timeoutMs > MAX_TIMEOUT_MS) {
    throw new RangeError('timeoutMs must be an integer from 0 to 4294967295');
  }
  if (state !== 'stopped') {
    const code = native.shutdown(library || libraryPath(undefined), timeoutMs);
    state = 'stopped';
    shutdownResult = code === 0;
  }
  return shutdownResult;
}

/** Requests sent and not yet answered. */
function outstanding() {
  return native.outstanding();
}

module.exports = { execute, call, configure, shutdown, outstanding, events, LumetraRpcError };
