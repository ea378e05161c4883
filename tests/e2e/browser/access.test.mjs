// Every state of the pages on this computer, before a program that the test works, and the first view of
// the page for supporters elsewhere, as those meet it who see little, press keys instead of a mouse, or
// hold a telephone.

import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';

import { FakeProgram, idle, pageFolders, serveFiles, session } from './support/FakeProgram.mjs';
import { assertForEverybody } from './support/Access.mjs';
import { launch } from './support/HostPage.mjs';
import { Place } from './support/Place.mjs';
import { artifacts, keyTableFolder } from './support/built.mjs';
import { until } from './support/until.mjs';

const asking = {
  ...session,
  stage: 'asking',
  code: '',
  link: '',
  name: 'Ann Example',
  words: ['abacus', 'harbour', 'pilgrim'],
};
const connected = { ...asking, stage: 'connected', words: null, sinceMs: 0, path: 'direct' };
const live = { ...idle, session: 'live' };

let files;
let place;
let browser;
let page;
let program;

before(async () => {
  files = await serveFiles(...pageFolders, keyTableFolder);
  place = await Place.start();
  browser = await launch();
});

afterEach(() => page?.context().close());

after(async () => {
  await browser?.close();
  await place?.stop();
  files?.close();
});

async function open(name, { options = {}, answers = {} } = {}) {
  page = await (await browser.newContext(options)).newPage();
  program = await FakeProgram.attach(page, answers);
  await page.goto(`${files.address}0123/${name}`);
  await page.waitForSelector('#connection-state[data-state=connected]');
}

async function openElsewhere({ options }) {
  page = await (await browser.newContext(options)).newPage();
  await page.goto(place.files.address);
  await page.waitForSelector('#code:visible');
}

const openCustomer = (more) => open('', more);

const shared = (state) => `#session[data-state=${state}]`;
// By what shows that the page is in them.
const customerStates = {
  [shared('idle')]: () => program.send(idle),
  [shared('starting')]: () => program.send({ ...idle, session: 'starting' }),
  [shared('live')]: () => program.send(live),
  '#session:has-text("mouse and keyboard are being shared")': () => program.send({ ...live, input: true }),
  [shared('ended')]: () => program.send({ ...idle, session: 'ended' }),
  '#session.failed': () =>
    program.send({ ...idle, session: 'ended', error: { code: 'capture_failed', message: 'No display.' } }),
  '#remote:has(#invite-button:disabled)': () => program.sendRemote([], { configured: false }),
  '#remote:has-text("No route")': () =>
    program.sendRemote([], { problem: 'unreachable', detail: 'No route' }),
  '[data-stage=waiting]': () => program.sendRemote([{ ...session, qr: ['101', '010', '111'] }]),
  '[data-stage=asking] [data-part=both]:enabled': () => program.sendRemote([asking]),
  '[data-stage=connected]': () => {
    program.send(live);
    program.sendRemote([connected]);
  },
  '[data-stage=lost]': () => program.sendRemote([{ ...connected, stage: 'lost' }]),
  '[data-stage=expired]': () => program.sendRemote([{ ...session, stage: 'expired' }]),
};

for (const [shown, enter] of Object.entries(customerStates)) {
  test(`the customer’s page is for everybody: ${shown}`, async () => {
    await openCustomer();
    await page.waitForSelector('#permission-screen[data-granted=true]');
    enter();
    await page.waitForSelector(shown);
    await assertForEverybody(page, shown);
  });
}

test('the customer’s page is for everybody: permissions missing', async () => {
  const answers = { permissions: { screenRecording: false, accessibility: false } };
  await openCustomer({ answers });
  await page.waitForSelector('#permission-screen[data-granted=false]');
  assert.match(await page.textContent('#permissions-advice'), /takes an X11 session/);
  await assertForEverybody(page, 'permissions missing');
});

test('the customer’s page is for everybody: unattended', async () => {
  const answers = { capabilities: { unattended: true, unattendedName: 'Front desk' } };
  await openCustomer({ answers });
  for (const state of [idle, live]) {
    program.send(state);
    await page.waitForSelector(shared(state.session));
    await assertForEverybody(page, `unattended, ${state.session}`);
  }
});

test('the customer’s page is for everybody: the log is open', async () => {
  await openCustomer();
  program.sendRemote([]);
  await page.click('#log-button');
  const entry = { time: '2026-01-02T03:04:05Z', event: 'asked', name: 'Ann Example' };
  program.send({ event: 'log', entries: Array(30).fill(entry) });
  await page.waitForSelector('#log li');
  await assertForEverybody(page, 'log');
});

for (const name of ['', 'supporter.html']) {
  test(`a page whose program is gone is for everybody: ${name || 'the customer’s'}`, async () => {
    await open(name);
    await program.socket.close();
    await page.waitForSelector('#connection-state[data-state=disconnected]');
    await assertForEverybody(page, 'disconnected');
  });
}

async function openSupporter(more) {
  await open('supporter.html', more);
}

async function showPicture() {
  const picture = await page.screenshot({ type: 'jpeg', clip: { x: 0, y: 0, width: 320, height: 200 } });
  program.send(live);
  program.sendPicture(picture);
  await page.waitForSelector('#stage[data-picture=shown]');
}

test('the supporter’s page is for everybody, from no session to control', async () => {
  await openSupporter();
  await assertForEverybody(page, 'no session');
  program.send({ ...idle, session: 'starting' });
  await page.waitForSelector('#stage[data-state=starting]');
  await assertForEverybody(page, 'starting');
  await showPicture();
  await assertForEverybody(page, 'picture');
  await page.click('#view-only');
  await assertForEverybody(page, 'control');
  await page.click('#combinations button');
  await page.waitForSelector('#combination-list:not([hidden])');
  await assertForEverybody(page, 'list of keys');
  await page.click('#toggle-stats');
  await assertForEverybody(page, 'statistics');
  program.send({ ...live, control: false });
  await page.waitForSelector('#view-only:disabled');
  await assertForEverybody(page, 'only watching');
});

test('the supporter’s page is for everybody: settings refused', async () => {
  await openSupporter();
  program.send(live);
  await page.fill('#max-width', '100');
  await page.click('#apply-settings');
  await until('the refusal', () => page.$('#max-width[aria-invalid=true]'));
  await assertForEverybody(page, 'settings refused');
});

test('the supporter’s page is for everybody: the picture fills the screen', async () => {
  await openSupporter();
  await showPicture();
  await page.click('#full-screen');
  await page.waitForSelector('#stage:fullscreen');
  await assertForEverybody(page, 'full screen');
});

// In a page: keeps what screen readers are given to say.
function listen() {
  globalThis.said = [];
  const observer = new MutationObserver((records) => {
    const regionOf = ({ target }) =>
      (target.closest ? target : target.parentElement)?.closest('[role=status], [role=alert]');
    const regions = new Set(records.map(regionOf));
    for (const region of regions) {
      const text = region?.innerText.trim();
      if (text) globalThis.said.push(text.replace(/[\u2068\u2069]/g, '').replace(/\s+/g, ' '));
    }
  });
  observer.observe(document.body, { subtree: true, childList: true, characterData: true });
}

test('what changes is announced once, and as it is', async () => {
  await openCustomer();
  program.sendRemote([asking]);
  await page.waitForSelector('[data-part=both]:enabled');
  await page.evaluate(listen);
  await page.click('[data-part=both]');
  const sendTwice = (send) => [send(), send()];
  sendTwice(() => program.send({ ...idle, session: 'starting' }));
  sendTwice(() => program.sendRemote([connected]));
  sendTwice(() => program.send(live));
  await page.waitForSelector(shared('live'));
  sendTwice(() => program.sendRemote([{ ...connected, stage: 'ended' }]));
  await page.waitForSelector('[data-stage=ended]');
  sendTwice(() => program.send({ ...idle, session: 'ended' }));
  await page.waitForSelector(shared('ended'));
  assert.deepEqual(await page.evaluate(() => globalThis.said), [
    'Starting the session… Your screen will be visible in a moment.',
    'Your screen is being shared. Your supporter sees everything on it, but only watches. Stop whenever you like.',
    'Ann Example sees your screen, and only watches.',
    'Ann Example is not connected any more.',
    'Sharing has stopped. Nobody can see your screen any more.',
  ]);
});

const coarse = { hasTouch: true, isMobile: true, viewport: { width: 360, height: 740 } };

// In a page: what a finger would have to be smaller for.
function smallTargets() {
  const targets = [...document.querySelectorAll('button, a[href], input, select')];
  const placeOf = (target) => (target.type?.match(/radio|checkbox/) ? target.closest('label') : target);
  return targets
    .filter((target) => target.checkVisibility({ visibilityProperty: true }))
    .map((target) => [target.outerHTML.slice(0, 100), placeOf(target).getBoundingClientRect()])
    .filter(([, { width, height }]) => width < 43.99 || height < 43.99)
    .map(([html, { width, height }]) => `${width} x ${height}: ${html}`);
}

test('fingers find everything large enough, and nothing cut', async () => {
  await openCustomer({ options: coarse });
  program.send(live);
  program.sendRemote([session, { ...asking, id: 2 }, { ...connected, id: 3 }]);
  await page.waitForSelector('[data-stage=connected]');
  assert.deepEqual(await page.evaluate(smallTargets), []);
  await page.context().close();
  await openSupporter({ options: coarse });
  await showPicture();
  await page.click('#view-only');
  await page.click('#combinations button');
  await page.waitForSelector('#text-line:visible');
  assert.deepEqual(await page.evaluate(smallTargets), []);
  await assertForEverybody(page, 'a telephone');
  assert.doesNotMatch(await page.textContent('.control'), /mouse and keyboard|Ctrl/);
  await page.context().close();
  await openElsewhere({ options: coarse });
  assert.deepEqual(await page.evaluate(smallTargets), []);
});

// In a page: what has the focus, and whether that can be seen.
function focusShown() {
  const element = document.activeElement;
  const shown = [element, element.nextElementSibling].filter(Boolean).map((each) => {
    const { outlineStyle, outlineWidth } = getComputedStyle(each);
    return outlineStyle !== 'none' && parseFloat(outlineWidth) >= 2;
  });
  const { top, bottom } = element.getBoundingClientRect();
  const isRadio = element.type === 'radio'; // its text is in its place
  const isInSight = bottom > 0 && top < globalThis.innerHeight;
  return { name: element.outerHTML.slice(0, 80), isShown: shown[isRadio ? 1 : 0] && isInSight };
}

async function tabThrough() {
  const wanted = await page.evaluate(() => {
    const isReached = (element) =>
      element.checkVisibility({ visibilityProperty: true }) &&
      !element.disabled &&
      (element.type !== 'radio' || element.checked);
    const all = document.querySelectorAll('button, a[href], input, select, [tabindex="0"]:not(#picture)');
    return [...all].filter(isReached).length;
  });
  const seen = [];
  for (let step = 0; step < wanted; ++step) {
    await page.keyboard.press('Tab');
    seen.push(await page.evaluate(focusShown));
  }
  assert.deepEqual(seen.filter(({ isShown }) => !isShown), []);
  assert.equal(new Set(seen.map(({ name }) => name)).size, wanted);
}

for (const forcedColors of ['none', 'active']) {
  test(`the Tab key leads to everything, and it shows (forced colours: ${forcedColors})`, async () => {
    const options = { forcedColors, viewport: { width: 640, height: 360 } };
    await openCustomer({ options });
    program.send(live);
    program.sendRemote([{ ...session, qr: ['101', '010', '111'] }]);
    await page.click('#log-button');
    await page.click('h1');
    await page.screenshot({ path: `${artifacts}customer-colours-${forcedColors}.png`, fullPage: true });
    await tabThrough();
    await page.context().close();
    await openSupporter({ options });
    await showPicture();
    await page.screenshot({ path: `${artifacts}supporter-colours-${forcedColors}.png`, fullPage: true });
    await tabThrough();
    await page.context().close();
    await openElsewhere({ options });
    await page.screenshot({ path: `${artifacts}elsewhere-colours-${forcedColors}.png`, fullPage: true });
    await tabThrough();
  });
}

test('what is switched on shows without colours of the page', async () => {
  await openSupporter({ options: { forcedColors: 'active' } });
  await showPicture();
  const lookOf = () =>
    page.$eval('#toggle-stats', (button) => getComputedStyle(button).borderWidth); // colours are forced
  const before = await lookOf();
  await page.click('#toggle-stats');
  assert.notEqual(await lookOf(), before);
});

test('nothing moves for those who want no motion', async () => {
  const moving = () =>
    [...document.querySelectorAll('*')]
      .filter((element) => /[1-9]/.test(getComputedStyle(element).transitionDuration))
      .map(({ id, tagName }) => id || tagName);
  await openSupporter({ options: { reducedMotion: 'no-preference' } });
  assert.ok((await page.evaluate(moving)).includes('picture'));
  await page.emulateMedia({ reducedMotion: 'reduce' });
  assert.deepEqual(await page.evaluate(moving), []);
});
