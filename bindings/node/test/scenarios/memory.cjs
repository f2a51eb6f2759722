'use strict';
// 100,000 requests in waves of 1,000 outstanding at once; resident memory after a 20,000
// warm-up and at 80,000, 90,000 and 100,000, for the parent to compare. Each request carries
// a 2 KiB id that its response echoes, so a response text kept or never freed adds over
// 120 MiB by the 80,000th, far beyond the allocator's own ups and downs (texts are allocated
// on library threads and freed on this one, which moves rss by some tens of MiB either way).
const rpc = require('../..');

const TOTAL = Number(process.argv[2] || 100000);
const WARM_UP = 20000;
const WAVE = 1000;
const PAD = 'x'.repeat(2048);
const CHECKPOINTS = [80000, 90000, 100000];

// After a collection, so the figures show what is kept: rss is where a text never freed
// shows, heapUsed where a promise or string kept alive shows. Run with --expose-gc and a
// small young generation (--max-semi-space-size=1), whose reservation otherwise moves rss
// by tens of MiB on its own.
function settledRss() {
  if (global.gc) global.gc();
  const { rss, heapUsed } = process.memoryUsage();
  return { rss, heapUsed };
}

async function main() {
  let answered = 0;
  let afterWarmUp = null;
  const later = [];
  for (let sent = 0; sent < TOTAL; sent += WAVE) {
    const wave = [];
    for (let i = 0; i < WAVE; i++) wave.push(rpc.execute(`{"id":"${PAD}${sent + i}","method":"getSDKVersion"}`));
    for (const text of await Promise.all(wave)) answered += text.includes('"success":true');
    if (sent + WAVE === WARM_UP) afterWarmUp = settledRss();
    if (CHECKPOINTS.includes(sent + WAVE)) later.push(settledRss());
  }
  console.log(JSON.stringify({ answered, afterWarmUp, later, outstanding: rpc.outstanding() }));
}

main();
