'use strict';
// One lifecycle scenario per process (the library is a process-wide singleton and ends for
// good at shutdown): `node lifecycle.cjs NAME`. Each writes what the parent test checks on
// stdout; none keeps the event loop alive by any means of its own (no timers, no awaits at
// top level), so whether the process ends is the kit's doing.
const rpc = require('../..');

const NEVER = { sdk: { replies: { logEvent: { never: true } } } };
const pendingLogEvent = (id) =>
  rpc.execute(JSON.stringify({ id, method: 'logEvent', params: { eventName: 'e', awaitResponse: true } }));
const sendPending = (count) => Array.from({ length: count }, (_, i) => pendingLogEvent(i));
// Requests run concurrently: a start sent beside the registration could report its
// conversion before there is a listener, and the event would be lost.
const request = (method, params) => rpc.execute(JSON.stringify({ id: method, method, params }));
const listenThenStart = () => request('registerConversionListener').then(() => request('start'));

const scenarios = {
  // Only an outstanding request keeps this process alive until its timeout answers it.
  'stays-alive'() {
    rpc.configure({ ...NEVER, timeouts: { logEvent: 0.3 } });
    pendingLogEvent(1).then((text) => console.log(text));
  },

  // Everything answered, listeners registered, events delivered: the process must end.
  // The delayed start reply keeps start outstanding until its conversion event is in.
  ends() {
    rpc.configure({ sdk: { conversion: { data: { campaign: 'x' } }, replies: { start: { data: { s: 1 }, delayMs: 100 } } } });
    rpc.events.on('event', (text) => console.log(text));
    const requests = [
      { method: 'init', params: { devKey: 'k', appId: '123456789' } },
      { method: 'start', params: { awaitResponse: true } },
      { method: 'getSDKVersion' },
    ];
    const send = () => requests.map((r, i) => rpc.execute(JSON.stringify({ id: i + 1, ...r })));
    const registered = rpc.execute('{"id":0,"method":"registerConversionListener"}');
    registered.then((first) => Promise.all([first, ...send()])).then((texts) => {
      for (const text of texts) console.log(text);
      console.log(`outstanding ${rpc.outstanding()}`);
    });
  },

  // Requests that would take a minute to time out must not hold the exit.
  'exit-pending'() {
    rpc.configure({ ...NEVER, timeouts: { logEvent: 60 } });
    sendPending(1000);
    console.log(`outstanding ${rpc.outstanding()}`);
    process.exit(0);
  },

  // From a completion's continuation, with the rest still outstanding.
  'exit-in-completion'() {
    rpc.configure({ ...NEVER, timeouts: { logEvent: 60 } });
    sendPending(100);
    rpc.execute('{"id":"x","method":"getSDKVersion"}').then((text) => {
      console.log(text);
      process.exit(0);
    });
  },

  // From inside the library's own callback: event listeners run inside the pump.
  'exit-in-event'() {
    rpc.configure({ ...NEVER, timeouts: { logEvent: 60 }, sdk: { ...NEVER.sdk, conversion: { data: { c: 'y' } } } });
    rpc.events.on('event', (text) => {
      console.log(text);
      process.exit(0);
    });
    sendPending(100);
    listenThenStart();
  },

  // A listener that throws reaches uncaughtException like any callback's error, and the
  // kit goes on answering.
  'listener-throws'() {
    rpc.configure({ sdk: { conversion: { data: { c: 'z' } }, replies: { start: { data: {}, delayMs: 100 } } } });
    process.on('uncaughtException', (error) => {
      console.log(`uncaught ${error.message}`);
      rpc.execute('{"id":"after","method":"getSDKVersion"}').then((text) => console.log(text));
    });
    rpc.events.on('event', () => {
      throw new Error('listener failed');
    });
    listenThenStart();
  },

  // The library is one per process and its callbacks run on one JS thread; a worker's
  // request is refused rather than answered on the wrong thread.
  'worker-refused'() {
    const { Worker } = require('node:worker_threads');
    rpc.execute('{"id":1,"method":"getSDKVersion"}').then((text) => {
      console.log(text);
      const worker = new Worker(
        `const { parentPort } = require('node:worker_threads');
         require(${JSON.stringify(require.resolve('../..'))}).execute('{"id":2,"method":"getSDKVersion"}')
           .then((text) => parentPort.postMessage('answered ' + text), (error) => parentPort.postMessage(error.message));`,
        { eval: true },
      );
      worker.on('message', (message) => console.log(message));
    });
  },

  // Shutdown with requests in flight: every promise settles (answered by the library, 503
  // included, or rejected), later requests are refused at once, and the process then ends.
  'shutdown-in-flight'() {
    rpc.configure({ ...NEVER, timeouts: { logEvent: 60 } });
    const settled = sendPending(200).map((p) =>
      p.then((text) => JSON.parse(text).error?.code ?? 'result', (error) => error.code));
    const finished = rpc.shutdown(100);
    const stopped = rpc.execute('{"id":1,"method":"getSDKVersion"}');
    Promise.all(settled).then((outcomes) => {
      const counts = {};
      for (const outcome of outcomes) counts[outcome] = (counts[outcome] ?? 0) + 1;
      // Whether the library's threads finished within 100 ms depends on the machine's load;
      // what the kit owes is a boolean, the same one again, and every promise settled.
      const again = rpc.shutdown(0);
      console.log(JSON.stringify({ finished: typeof finished, same: again === finished, outstanding: rpc.outstanding(), counts }));
      stopped.catch((error) => console.log(`after ${error.code}`));
    });
  },

  // The same from inside the library's callback, where shutdown delivers the remaining
  // completions itself before it returns.
  'shutdown-in-event'() {
    rpc.configure({ ...NEVER, timeouts: { logEvent: 60 }, sdk: { ...NEVER.sdk, conversion: { data: { c: 'y' } } } });
    const settled = sendPending(50).map((p) =>
      p.then((text) => JSON.parse(text).error?.code ?? 'result', (error) => error.code));
    rpc.events.on('event', () => {
      const finished = rpc.shutdown(100);
      console.log(JSON.stringify({ finished: typeof finished }));
    });
    // start may still wait for its turn on the main executor when its event shuts the
    // library down: it must be answered all the same, before shutdown returns.
    const registered = request('registerConversionListener');
    const answered = [registered, registered.then(() => request('start'))].map((p) =>
      p.then(() => 'answered', (error) => `rejected ${error.code}`));
    Promise.all([...settled, ...answered]).then((outcomes) => {
      const cutOff = outcomes.slice(0, 50).filter((o) => o !== 503);
      console.log(JSON.stringify({ outstanding: rpc.outstanding(), notCutOff: cutOff, others: outcomes.slice(50) }));
    });
  },

  // Refused settings change nothing, so a corrected configure still applies before first use.
  'configure-refused'() {
    for (const settings of [{ nope: 1 }, { timeouts: { logEvent: -1 } }, { mainExecutor: 'dedicated' }, '[1]']) {
      try {
        rpc.configure(settings);
        console.log('accepted');
      } catch (error) {
        console.log(`${error.constructor.name}: ${error.message}`);
      }
    }
    rpc.configure({ sdk: { version: 'v-after' } });
    rpc.call('getSDKVersion').then((result) => console.log(result.data.version));
  },

  // The library option goes before LMRPC_LIBRARY (which the tests set to the real library);
  // a library that cannot be opened is named in the error, and nothing is left half-open.
  'library-option'() {
    try {
      rpc.configure({}, { library: '/nonexistent/liblumetra_rpc.so' });
      console.log('accepted');
    } catch (error) {
      console.log(error.message);
    }
    rpc.configure({ sdk: { version: 'from-env' } });
    rpc.call('getSDKVersion').then((result) => console.log(result.data.version));
  },
};

const scenario = scenarios[process.argv[2]];
if (!scenario) {
  console.error(`unknown scenario ${process.argv[2]}`);
  process.exit(2);
}
scenario();
