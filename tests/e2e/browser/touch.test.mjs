// A supporter with a telephone: from fingers on the page in a real browser to a program on the shared
// screen. The tests build on one another, as a session does.

import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { after, before, beforeEach, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { InputWindow } from './support/InputWindow.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { artifacts, inputWindow, program } from './support/built.mjs';
import { until } from './support/until.mjs';

const [width, height] = [640, 400];
const telephone = { width: 360, height: 740 };

let screen;
let host;
let pages;
let phone;
let remote;
let fingers; // a session of the browser's own protocol, for more than one

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(width, height);
  host = await Host.start(program, screen.environment);
  pages = await HostPage.openCustomer(host.address);
  const options = { viewport: telephone, hasTouch: true, isMobile: true };
  phone = await (await pages.browser.newContext(options)).newPage();
  await phone.goto(await pages.customer.$eval('#show-supporter', ({ href }) => href));
  fingers = await phone.context().newCDPSession(phone);
  await pages.allow();
  await phone.waitForSelector('#stage[data-picture=shown]');
  remote = await InputWindow.open(inputWindow, screen.environment, [0, 0, width, height]);
  await phone.tap('#view-only:not(:disabled)');
});

beforeEach(async () => {
  await remote.awaitNothingHeld();
  remote.forget();
});

after(async () => {
  await pages?.close();
  await remote?.close();
  await host?.destroy();
  await screen?.stop();
});

// Where the page shows the middle of the screen, and places so far from it.
async function middle(x = 0, y = 0) {
  const box = await phone.locator('#stage').boundingBox();
  return { x: box.x + box.width / 2 + x, y: box.y + box.height / 2 + y };
}

const touch = (type, ...touchPoints) => fingers.send('Input.dispatchTouchEvent', { type, touchPoints });

async function tap(place) {
  await touch('touchStart', place);
  await touch('touchEnd');
}

// Fingers go from the first places to the last in small steps.
async function slide(from, to) {
  await touch('touchStart', ...from);
  for (let step = 1; step <= 10; ++step) {
    const along = (start, end) => start + ((end - start) * step) / 10;
    const places = from.map(({ x, y }, each) => ({ x: along(x, to[each].x), y: along(y, to[each].y) }));
    await touch('touchMove', ...places);
  }
  await touch('touchEnd');
}

const buttons = () => remote.ofType('buttonDown').map(({ button }) => button);
const zoomed = () => phone.getAttribute('#stage', 'data-zoomed');

test('a tap clicks once, where it was', async () => {
  await tap(await middle());
  const [{ x, y, button }] = await remote.take(1, 'buttonDown');
  await remote.take(1, 'buttonUp');
  assert.deepEqual(buttons(), [1]);
  assert.equal(button, 1);
  assert.ok(Math.abs(x - width / 2) <= 3 && Math.abs(y - height / 2) <= 3, `${x}, ${y}`);
});

test('a long press is the right button', async () => {
  await touch('touchStart', await middle());
  await remote.take(1, 'buttonDown');
  await touch('touchEnd');
  await remote.take(1, 'buttonUp');
  assert.deepEqual(buttons(), [3]);
});

test('one finger moves the pointer and presses nothing', async () => {
  await slide([await middle(-80, 0)], [await middle(80, 20)]);
  const wanted = Math.round(width / 2 + (80 * width) / (await phone.locator('#stage').boundingBox()).width);
  await until('the pointer to be there', async () => Math.abs((await remote.held()).x - wanted) <= 3);
  assert.deepEqual(buttons(), []);
});

test('two fingers scroll what lies under them', async () => {
  const [left, right] = [await middle(-30, 40), await middle(30, 40)];
  await slide([left, right], [await middle(-30, -40), await middle(30, -40)]);
  await remote.next('a turn downwards', ({ type, button }) => type === 'buttonDown' && button === 5);
  assert.equal(buttons().filter((button) => button !== 5).length, 0);
  assert.equal(await zoomed() === 'on', false);
});

test('two fingers enlarge the picture, where a tap still meets what it touches', async () => {
  await slide([await middle(-20), await middle(20)], [await middle(-80), await middle(80)]);
  await until('the picture to be enlarged', async () => (await zoomed()) === 'on');
  assert.equal(await phone.evaluate(() => globalThis.visualViewport.scale), 1);
  await phone.screenshot({ path: `${artifacts}telephone.png` });
  await tap(await middle());
  const [{ x, y }] = await remote.take(1, 'buttonDown');
  assert.ok(Math.abs(x - width / 2) <= 6 && Math.abs(y - height / 2) <= 6, `${x}, ${y}`);
  await remote.take(1, 'buttonUp');

  remote.forget();
  await slide([await middle()], [await middle(50, 0)]);
  await tap(await middle());
  const [moved] = await remote.take(1, 'buttonDown');
  assert.ok(moved.x < width / 2 - 10, `${moved.x}`);
  assert.deepEqual(remote.ofType('buttonDown').length, 1);
});

test('a line of text is typed, and leaves the line', async () => {
  await phone.fill('#text-to-type', 'Hello, World! 100% ~');
  await phone.tap('#text-line button');
  await until('the text', () => remote.text() === 'Hello, World! 100% ~');
  await until('an empty line', async () => (await phone.inputValue('#text-to-type')) === '');
});

test('a text that is longer than what may be on its way arrives whole', async () => {
  const text = 'The quick brown fox jumps over the lazy dog. '.repeat(8).trim();
  await phone.fill('#text-to-type', text);
  await phone.tap('#text-line button');
  await until('the text', () => remote.text() === text);
});

test('a text with a character that no key makes stays, and nothing of it is typed', async () => {
  await phone.fill('#text-to-type', 'café');
  await phone.tap('#text-line button');
  await phone.waitForSelector('#text-problem:has-text("é")');
  assert.equal(await phone.inputValue('#text-to-type'), 'café');
  await phone.fill('#text-to-type', 'x');
  await phone.tap('#text-line button');
  await until('the x', () => remote.text() === 'x');
});
