// From a change of the screen to the canvas of a page, and from a key in the page to a program on the
// screen: the program's page, noVNC and a floor, in turns in one browser. Prints a table and a picture,
// and puts both into a document if one is named.
// Usage: glass.mjs PROGRAM [DOCUMENT.md]

import { dirname } from 'node:path';

import { HostPage } from '../../tests/e2e/browser/support/HostPage.mjs';
import { InputWindow } from '../../tests/e2e/browser/support/InputWindow.mjs';
import { ScreenChanger } from '../../tests/e2e/browser/support/ScreenChanger.mjs';
import { VirtualScreen } from '../../tests/e2e/browser/support/VirtualScreen.mjs';
import { startFloor, startNoVnc, startPage, startPageWithH264 } from './peers.mjs';
import { processesNamed, processorTime, threadsTime } from './processes.mjs';
import { pictureOf, renew, tableOf } from './report.mjs';
import { changeTimes, keyTimes, now } from './times.mjs';

const [program, document] = process.argv.slice(2);
const helpers = `${dirname(program)}/../../../tests/e2e/browser`;
const turns = Number(process.env.QUORVIN_TURNS ?? 3);
const changesATurn = 40;

const still = {
  caret: [400, 320, 8, 16],
  'a line of text': [400, 480, 600, 16],
  'a field of 128 x 128': [800, 640, 128, 128],
};

const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

// In the page: how many animation frames had something new in a column of the canvas.
function countNewFrames([selector, x, ms]) {
  return new Promise((resolve) => {
    const end = performance.now() + ms;
    let [last, count] = ['', 0];
    const look = () => {
      if (performance.now() >= end) return resolve(count);
      requestAnimationFrame(look);
      const canvas = document.querySelector(selector);
      if (!canvas) return; // a peer that has given up shows nothing more
      const column = canvas.getContext('2d').getImageData(x, 0, 1, canvas.height).data;
      const sum = column.reduce((all, byte, at) => (all * 31 + byte * (at & 7)) >>> 0, 7);
      if (sum !== last) ++count;
      last = sum;
    };
    look();
  });
}

const webuiProcesses = () => processesNamed('quorvin-webui');
const browserProcesses = () => processesNamed('chromium'); // nobody else runs one here

class Turn {
  constructor(peer, page, changer, results) {
    Object.assign(this, { peer, page, changer, results });
    this.bytes = 0;
    page.on('websocket', (socket) =>
      socket.on('framereceived', ({ payload }) => {
        this.bytes += payload.length;
      }),
    );
  }

  add(what, measure, value) {
    const row = (this.results[`${what}|${measure}`] ??= {});
    (row[this.peer.name] ??= []).push(value);
  }

  async fill(rect, grey) {
    await this.changer.fill(rect, grey * 0x010101);
    this.peer.changed(rect, grey);
  }

  async latency(what, rect) {
    console.error(`  ${what}`);
    const before = this.bytes;
    const fill = (place, grey) => this.fill(place, grey);
    const times = await changeTimes(this.page, this.peer.canvas, rect, changesATurn, fill);
    for (const ms of times) this.add(what, 'ms', ms);
    this.add(what, 'kB', (this.bytes - before) / changesATurn / 1000);
  }

  async keys() {
    console.error('  keys');
    const place = [0, 0, 400, 300];
    const window = await InputWindow.open(`${helpers}/input_window`, screen.environment, place);
    await this.peer.control(this.page);
    for (const ms of await keyTimes(this.page, window, changesATurn)) {
      this.add('a key, from the page to a program', 'ms', ms);
    }
    await window.close();
  }

  // A window that moves, or text that scrolls: `draw` is called 30 times a second.
  async motion(what, draw) {
    console.error(`  ${what}`);
    const ms = 4000;
    const before = [
      this.bytes,
      processorTime(browserProcesses()),
      processorTime(this.peer.processes()),
      threadsTime(webuiProcesses()),
    ];
    const counted = this.page.evaluate(countNewFrames, [this.peer.canvas, 700, ms]);
    const begin = now();
    for (let step = 0; now() < begin + ms; ++step) {
      await draw(step);
      await pause(Math.max(0, begin + ((step + 1) * 1000) / 30 - now()));
    }
    const frames = await Promise.race([counted, pause(3 * ms).then(() => null)]);
    if (frames === null) throw new Error(`${this.peer.name} shows nothing more while ${what}`);
    this.add(what, 'frames a second', (frames * 1000) / ms);
    this.add(what, 'kB', (this.bytes - before[0]) / frames / 1000);
    const share = (roots, at) => ((processorTime(roots) - before[at]) / ms) * 100_000;
    this.add(what, 'browser, % of a core', share(browserProcesses(), 1));
    this.add(what, 'servers, % of a core', share(this.peer.processes(), 2));
    const own = threadsTime(webuiProcesses()) - before[3];
    if (own > 0) this.add(what, 'quorvin-webui, ms a frame', (own * 1000) / frames);
  }
}

async function measure(peer, browser, changer, results) {
  console.error(`measuring ${peer.name}`);
  const page = await browser.customer.context().newPage();
  const turn = new Turn(peer, page, changer, results);
  await changer.desktop(1);
  await peer.open(page);
  await pause(3000);
  for (const [what, rect] of Object.entries(still)) {
    if (peer.shows.includes('still') || what.startsWith('a field')) await turn.latency(what, rect);
  }
  if (peer.shows.includes('motion')) {
    await turn.motion('a moving window', (step) =>
      changer.fill([200 + (step % 40) * 8, 200, 960, 540], (step * 4321) & 0xffffff),
    );
    await turn.motion('typing', (step) =>
      step % 3 === 0
        ? changer.fill([696, 500, 8, 16], step % 6 === 0 ? 0x202428 : 0xfcfcfa)
        : undefined,
    );
    await turn.motion('scrolling', (step) => changer.scroll(18, step));
  }
  if (peer.shows.includes('keys')) await turn.keys();
  await page.close();
}

const results = {};
const screen = await VirtualScreen.start(1920, 1080);
const changer = new ScreenChanger(`${helpers}/screen_changer`, screen.environment);
const browser = await HostPage.openCustomer('about:blank');
for (let round = 0; round < turns; ++round) {
  for (const start of [startPage, startNoVnc, startFloor, startPageWithH264]) {
    const peer = await start(screen, program);
    try {
      await measure(peer, browser, changer, results);
    } finally {
      await peer.stop();
    }
  }
}
await browser.close();
await changer.close();
await screen.stop();
const lines = [...tableOf(results), '', ...pictureOf(results)];
console.log(lines.join('\n'));
if (document) renew(document, lines);
process.exit(0);
