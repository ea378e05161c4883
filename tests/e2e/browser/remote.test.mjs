// A supporter on another computer, the whole way: two browsers that share nothing, a broker, the page
// of a place, and the program on a screen of its own. The tests build on one another.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import { mkdirSync } from 'node:fs';
import { after, before, test } from 'node:test';

import { assertForEverybody } from './support/Access.mjs';
import { Host } from './support/Host.mjs';
import { HostPage, launch } from './support/HostPage.mjs';
import { InputWindow } from './support/InputWindow.mjs';
import { Place } from './support/Place.mjs';
import { ScreenChanger } from './support/ScreenChanger.mjs';
import { ScreenPicture, blocksOf, largestDifference } from './support/ScreenPicture.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { artifacts, inputWindow, program, screenChanger } from './support/built.mjs';
import { until } from './support/until.mjs';

const [width, height] = [800, 600];
const blockSide = 8;
const tolerated = 14; // JPEG alters colours slightly

let screen;
let changer;
let place;
let host;
let pages; // the customer's, and as `page` the supporter's
let supportersBrowser;

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(width, height);
  changer = new ScreenChanger(screenChanger, screen.environment);
  await changer.desktop(1);
  place = await Place.start();
  host = await Host.start(program, { ...screen.environment, ...place.environment });
  pages = await HostPage.openCustomer(host.address);
  supportersBrowser = await launch();
});

after(async () => {
  await pages?.close();
  await supportersBrowser?.close();
  await changer?.close();
  await host?.destroy();
  await place?.stop();
  await screen?.stop();
});

const row = '#remote-sessions .guest:first-child';
const part = (name) => pages.customer.locator(`${row} [data-part=${name}]`);
const stage = () => pages.customer.getAttribute(row, 'data-stage');
const awaitStage = (wanted) => until(`the customer's ${wanted}`, async () => (await stage()) === wanted);
const awaitSupporter = (wanted) =>
  until(`the supporter’s "${wanted}"`, async () => (await pages.text('#stage-what')).includes(wanted));
const awaitPicture = () => pages.page.waitForSelector('#stage[data-picture=shown]');

// `prepare` gets the page before it loads anything.
async function openSupporter({ address = place.files.address, prepare = async () => {} } = {}) {
  await pages.page?.context().close();
  pages.page = await (await supportersBrowser.newContext()).newPage();
  await prepare(pages.page);
  pages.page.on('pageerror', (error) => pages.complaints.push(String(error)));
  await pages.page.goto(address);
  await pages.page.fill('#name', 'Ann Example');
}

async function invite() {
  await pages.customer.click('#invite-button');
  await awaitStage('waiting');
  return part('code').textContent();
}

async function ask(code, prepare) {
  await openSupporter({ prepare });
  await pages.page.fill('#code', code);
  await pages.page.click('#ask-form button');
}

async function awaitScreenAtSupporter(what) {
  let last;
  await until(`the supporter to see ${what}`, async () => {
    const { size, means } = await pages.page.$eval('#picture', blocksOf, blockSide);
    if (size[0] !== width) return false;
    last = largestDifference(means, ScreenPicture.read(screen).blocks(...size, blockSide));
    return last.by <= tolerated;
  }).catch((error) => {
    throw new Error(`${error.message} (${JSON.stringify(last)})`);
  });
}

test('the first view is for everybody, with what was entered wrong as well', async () => {
  await openSupporter();
  await assertForEverybody(pages.page, 'first');
  await pages.page.fill('#code', '12');
  await pages.page.click('#ask-form button');
  await pages.page.waitForSelector('#code[aria-invalid=true]');
  await assertForEverybody(pages.page, 'wrong input');
});

test('three wrong codes void an invitation, and each time the supporter is told', async () => {
  const code = await invite();
  const wrong = code.replace(/.$/, (digit) => (Number(digit) + 1) % 10);
  for (const answer of ['is not right', 'is not right', 'void']) {
    await ask(wrong);
    await awaitSupporter(answer);
  }
  await awaitStage('tooManyTries');
  assert.match(await part('title').textContent(), /three wrong codes/);
  await assertForEverybody(pages.page, 'over');
});

test('whoever comes by link can be refused', async () => {
  await invite();
  await openSupporter({ address: await part('link').inputValue() });
  assert.equal(await pages.page.isVisible('#code'), false);
  await pages.page.click('#ask-form button');
  await awaitStage('asking');
  await part('refuse').click();
  await awaitSupporter('did not let you in');
  assert.equal(new URL(pages.page.url()).hash, '');
  await awaitStage('refused');
});

test('a supporter with the code is asked about, with the same words on both sides', async () => {
  await ask(await invite());
  await awaitStage('asking');
  assert.ok((await part('title').textContent()).includes('Ann Example'));
  await awaitSupporter('being asked');
  const words = await part('words').textContent();
  assert.match(words, /^[a-z]+ · [a-z]+ · [a-z]+$/);
  assert.equal(await pages.text('#words'), words);
  await assertForEverybody(pages.page, 'asked');
  await pages.screenshot(`${artifacts}question.png`, pages.customer);
  await pages.screenshot(`${artifacts}asked.png`);
});

test('once allowed, the supporter sees the screen as it is', async () => {
  await part('both').click();
  await awaitPicture();
  await awaitScreenAtSupporter('the screen');
  await until('the way', async () => /directly/.test(await part('advice').textContent()));
  assert.equal(await pages.text('#connection-state'), 'Connected');
  await changer.fill([100, 100, 40, 24], 0x202428);
  await awaitScreenAtSupporter('a small change');
  await changer.scroll(30, 2);
  await awaitScreenAtSupporter('a large change');
  await pages.page.click('#toggle-stats');
  await until('the round trip', async () => /^\d+$/.test(await pages.text('#stats-trip')));
  assert.equal(await pages.text('#stats-way'), 'direct');
  await assertForEverybody(pages.page, 'connected');
  await pages.screenshot(`${artifacts}helped.png`, pages.customer);
  await pages.screenshot(`${artifacts}helping.png`);
});

test('mouse and keyboard work, until control is taken back', async () => {
  const window = await InputWindow.open(inputWindow, screen.environment, [0, 0, width, height]);
  try {
    await pages.page.click('#view-only:not(:disabled)[aria-pressed=true]');
    await pages.page.keyboard.press('KeyA');
    await window.take(1, 'keyUp');
    assert.equal(window.text(), 'a');
    await pages.page.keyboard.down('KeyB');
    await until('the key to be held', async () => (await window.held()).keys.length === 1);
    await part('control').click();
    await window.awaitNothingHeld();
    await pages.page.waitForSelector('#view-only:disabled[aria-pressed=true]');
    window.forget();
    await pages.page.keyboard.press('KeyC');
    await part('control').click();
    await pages.page.click('#view-only:not(:disabled)[aria-pressed=true]');
    await pages.page.keyboard.press('KeyD');
    await window.take(1, 'keyUp');
    assert.equal(window.text(), 'd');
  } finally {
    await window.close();
  }
});

test('the supporter comes back by itself after the customer’s page was loaded again', async () => {
  await pages.customer.reload();
  await pages.page.waitForSelector('#stage[data-picture=none]');
  await awaitPicture();
  await awaitScreenAtSupporter('the screen again');
  await awaitStage('connected');
});

test('without the broker the session goes on, and a later one is arranged again', async () => {
  place.broker.kill('SIGKILL');
  await once(place.broker, 'exit');
  await changer.scroll(30, 2);
  await awaitScreenAtSupporter('the screen without a broker');
  assert.equal(await stage(), 'connected');
  assert.equal(await pages.text('#connection-state'), 'Connected');
  await place.startBroker();
  await pages.customer.reload();
  await pages.page.waitForSelector('#stage[data-picture=none]');
  await awaitPicture();
  await awaitScreenAtSupporter('the screen after that');
});

test('a supporter who is disconnected sees nothing more, and the sharing ends that began for them', async () => {
  await part('end').click();
  await awaitSupporter('ended your connection');
  assert.equal(await pages.page.isVisible('#view'), false);
  await awaitStage('ended');
  await pages.awaitState('ended');
});

test('Stop all ends both the connection and the sharing', async () => {
  await ask(await invite());
  await awaitStage('asking');
  await part('watch').click();
  await awaitPicture();
  assert.equal(await pages.page.isDisabled('#view-only'), true);
  await pages.customer.click('#stop-button');
  await awaitSupporter('stopped sharing');
  await until('the end', () => pages.page.isHidden('#view'));
  await pages.awaitState('ended');
});

// In a page: its descriptions name a certificate that its connections do not have.
function swapFingerprint() {
  const { prototype } = RTCPeerConnection;
  const { get } = Object.getOwnPropertyDescriptor(prototype, 'localDescription');
  const another = (_, name, byte) => name + (byte === '00' ? '01' : '00');
  Object.defineProperty(prototype, 'localDescription', {
    get() {
      const { type, sdp } = get.call(this);
      return { type, sdp: sdp.replace(/(a=fingerprint:\S+ )(..)/g, another) };
    },
  });
}

for (const side of ['supporter', 'customer']) {
  test(`a ${side}’s connection whose certificate is not the one that was named is none`, async () => {
    const isCustomers = side === 'customer';
    if (isCustomers) {
      await pages.customer.addInitScript(swapFingerprint);
      await pages.customer.reload();
    }
    const prepare = (page) => isCustomers || page.addInitScript(swapFingerprint);
    await ask(await invite(), prepare);
    await awaitStage('asking');
    await part('both').click();
    await awaitSupporter('No way between the two computers');
    assert.equal(await pages.page.isVisible('#view'), false);
    assert.match(await part('advice').textContent(), /is being found|30 seconds/);
    await part('end').click();
    await awaitStage('ended');
  });
}

test('a broker that changes what is sealed lets nobody connect', async () => {
  const change = (page) =>
    page.routeWebSocket(/^ws:/, (socket) => {
      const broker = socket.connectToServer();
      broker.onMessage((bytes) => {
        if (bytes.length > 400) bytes[bytes.length >> 1] ^= 1; // of that length are offers
        socket.send(bytes);
      });
    });
  await ask(await invite(), change);
  await awaitStage('asking');
  await part('both').click();
  await awaitSupporter('No way between the two computers');
  assert.equal(await pages.page.isVisible('#view'), false);
  await part('end').click();
  await awaitStage('ended');
});

test('the log says what happened, and no page complained', async () => {
  await pages.customer.click('#log-button');
  await pages.customer.waitForSelector('#log li');
  const log = await pages.customerText('#log');
  for (const part of ['three wrong codes', 'refused', 'may control', 'resumed']) {
    assert.ok(log.includes(part), `${part} in ${log}`);
  }
  assert.deepEqual(pages.complaints.filter((text) => !/WebSocket connection/.test(text)), []);
});
