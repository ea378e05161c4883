// Whatever comes in between, a page at rest shows the whole file of the newest frame, pixel for pixel.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { Random } from './support/Random.mjs';
import { ScreenChanger } from './support/ScreenChanger.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { program, screenChanger } from './support/built.mjs';
import { until } from './support/until.mjs';
import { compareWithWhole, joinAsAnotherPage, takeHoldOfFrames } from './support/wholeFrame.mjs';

const [width, height] = [1003, 611];
const random = new Random(Number(process.env.QUORVIN_SEED ?? 1));

let screen;
let host;
let changer;
let page;

before(async () => {
  screen = await VirtualScreen.start(width, height);
  host = await Host.start(program, screen.environment);
  changer = new ScreenChanger(screenChanger, screen.environment);
  await changer.desktop(1);
  page = await HostPage.open(host.address, {
    prepare: (opened) => opened.addInitScript(takeHoldOfFrames),
  });
  await page.allow();
  await page.page.evaluate(joinAsAnotherPage);
});

after(async () => {
  await page?.close();
  await changer?.close();
  await host?.destroy();
  await screen?.stop();
});

async function change(times = 1) {
  for (let time = 0; time < times; ++time) {
    const [w, h] = [1 + random.below(60), 1 + random.below(60)];
    const place = [random.below(width - w), random.below(height - h), w, h];
    await changer.fill(place, random.below(0x1000000));
  }
}

async function expectExact() {
  assert.equal(await page.page.evaluate(compareWithWhole), null);
}

const evaluate = (...args) => page.page.evaluate(...args);
const deltas = () => evaluate(() => window.hold.deltas);

async function expectDeltasAgain() {
  const before = await deltas();
  await change(3);
  await until('deltas', async () => (await deltas()) > before);
  await expectExact();
}

test('a page that was hidden shows what has changed meanwhile', async () => {
  await change(3);
  await expectExact();
  const hide = (hidden) => {
    Object.defineProperty(document, 'hidden', { value: hidden, configurable: true });
    document.dispatchEvent(new Event('visibilitychange'));
  };
  await evaluate(hide, true);
  await change(5);
  await evaluate(hide, false);
  await expectExact();
  await expectDeltasAgain();
});

test('a page that has lost its connection shows what has changed when it is back', async () => {
  await evaluate(() => window.hold.socket.close());
  await change(5);
  await page.page.waitForSelector('#connection-state[data-state=connected]');
  await page.page.waitForSelector('#stage[data-picture=shown]');
  await expectExact();
  await expectDeltasAgain();
});

test('a page that has lost a delta asks for a whole frame, once', async () => {
  const before = await evaluate(() => window.hold.wholeRequests);
  // The second delta that it can make nothing of brings its count of frames back to the program's.
  await evaluate(() => Object.assign(window.hold, { toLose: 1, toRepeat: 1 }));
  await change();
  await until('the loss', () => evaluate(() => window.hold.toLose === 0));
  await change();
  await until('the request', async () => (await evaluate(() => window.hold.wholeRequests)) > before);
  await expectExact();
  assert.equal(await evaluate(() => window.hold.wholeRequests), before + 1);
  await expectDeltasAgain();
});

test('another size and the old one again leave nothing behind', async () => {
  for (const max_width of [640, 1920]) {
    await page.apply({ max_width });
    await change();
    await expectExact();
    await expectDeltasAgain();
  }
});

test('H.264 in between leaves nothing behind', async () => {
  for (const codec of ['h264', 'jpeg']) {
    await page.page.selectOption('#codec', codec);
    await page.page.click('#apply-settings');
    await change(5);
    const format = codec === 'jpeg' ? 'JPEG' : 'H.264';
    await until(format, async () => (await page.text('#stats-format')) === format);
  }
  await expectExact();
  await expectDeltasAgain();
});

test('a page with much to do catches up with the newest frame', async () => {
  for (let round = 0; round < 5; ++round) {
    const busy = evaluate(() => {
      for (const end = performance.now() + 300; performance.now() < end; );
    });
    await change(20);
    await busy;
  }
  await expectExact();
  await expectDeltasAgain();
});

test('the page had nothing to complain about', () => {
  assert.deepEqual(page.complaints, []);
});
