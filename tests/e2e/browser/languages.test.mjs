// The pages in another language than English: as the browser asks for it, and as it is chosen.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { after, afterEach, before, beforeEach, test } from 'node:test';

import { assertNothingCut } from './support/Access.mjs';
import { FakeProgram, idle, pageFolders, serveFiles, session } from './support/FakeProgram.mjs';
import { launch } from './support/HostPage.mjs';
import { Place } from './support/Place.mjs';
import { artifacts, keyTableFolder } from './support/built.mjs';
import { until } from './support/until.mjs';

const languages = new URL('../../../webui/languages/', import.meta.url);
const textsOf = (language) => JSON.parse(readFileSync(new URL(`${language}.json`, languages), 'utf8'));
const connected = { ...session, stage: 'connected', name: 'Ann', control: true, sinceMs: 0, path: 'direct' };
const asking = { ...session, id: 2, stage: 'asking', name: 'Ben', words: ['one', 'two', 'three'] };
const live = { ...idle, session: 'live', input: true };

let files;
let place;
let browser;
let context;
let complaints;

before(async () => {
  files = await serveFiles(...pageFolders, keyTableFolder);
  place = await Place.start();
  browser = await launch();
});

beforeEach(() => {
  complaints = [];
});

afterEach(async () => {
  await context.close();
  assert.deepEqual(complaints, []);
});

after(async () => {
  await browser?.close();
  await place?.stop();
  files?.close();
});

async function speak(locale) {
  context = await browser.newContext({ locale, viewport: { width: 1280, height: 900 } });
}

async function open(address, state = null) {
  const page = await context.newPage();
  page.on('pageerror', (error) => complaints.push(String(error)));
  const program = state && (await FakeProgram.attach(page));
  await page.goto(address);
  await page.waitForSelector('html:not([data-wordless])', { state: 'attached' });
  if (!state) return { page };
  await until('the page', () => program.socket);
  program.send(state);
  return { page, program };
}

const openCustomers = (state) => open(`${files.address}0123/`, state);
const openSupporters = (state) => open(`${files.address}0123/supporter.html`, state);
const says = (page, selector, text) =>
  until(text, async () => (await page.textContent(selector)) === text);
const choose = (page, language) => page.selectOption('#language', language);

// A picture to be looked at, and a look at what can be measured, on a wide screen and a narrow one.
async function lookAt(page, name) {
  await assertNothingCut(page, name);
  await page.screenshot({ path: `${artifacts}${name}.png`, fullPage: true });
  await page.setViewportSize({ width: 320, height: 800 });
  await assertNothingCut(page, `${name}, narrow`);
  await page.screenshot({ path: `${artifacts}${name}-narrow.png`, fullPage: true });
}

const isFromLeft = (page, selector) =>
  page.evaluate((name) => getComputedStyle(document.querySelector(name)).direction === 'ltr', selector);

const spoken = [
  ['de', 'ltr', 'de-AT'],
  ['ar', 'rtl', 'ar-EG'],
];
for (const [language, direction, locale] of spoken) {
  const texts = textsOf(language);

  test(`${language}: the customer’s page is as the browser asks for it`, async () => {
    await speak(locale);
    const { page, program } = await openCustomers(live);
    program.sendRemote([connected, asking, { ...session, id: 3 }]);
    await says(page, '#session-state', texts['headline.controlled.what']);
    await says(page, '#invite-button', texts['remote.invite']);
    assert.equal(await page.getAttribute('html', 'lang'), language);
    assert.equal(await page.getAttribute('html', 'dir'), direction);
    assert.equal(await isFromLeft(page, '.code'), true);
    assert.equal(await isFromLeft(page, '#session-state'), direction === 'ltr');
    await lookAt(page, `customer-${language}`);
  });

  test(`${language}: so are the supporters’ pages`, async () => {
    await speak(locale);
    const { page } = await openSupporters(live);
    await says(page, '#view-only', texts['control.viewOnly']);
    assert.equal(await page.title(), texts['picture.title']);
    await page.click('#toggle-stats');
    await lookAt(page, `supporter-${language}`);
    const { page: other } = await open(place.files.address);
    await says(other, '#first-heading', texts['help.heading']);
    await lookAt(other, `elsewhere-${language}`);
  });
}

test('a choice changes all that is shown, and is kept', async () => {
  await speak('fr-FR');
  const { page, program } = await openCustomers(live);
  program.sendRemote([connected], { full: true });
  const [english, german] = ['en', 'de'].map(textsOf);
  await says(page, '#session-state', english['headline.controlled.what']);
  await choose(page, 'de');
  await says(page, '#session-state', german['headline.controlled.what']);
  await says(page, '#connection-state', german['connection.connected']);
  const full = [german['problem.full.what'], german['problem.full.next']];
  await says(page, '#remote-problem', full.join(' '));
  await says(page, '#stop-button', german['customer.stopAll']);
  await says(page, '.guest [data-part=end]', german['remote.disconnect']);
  await until('the guest', async () => (await page.textContent('.guest h3')).endsWith('benutzen.'));
  const { page: supporters } = await openSupporters(idle);
  await says(supporters, '#picture-badge', german['picture.badge.off']);
  await choose(supporters, 'en');
  await says(supporters, '#picture-badge', english['picture.badge.off']);
  await page.reload();
  assert.equal(await page.getAttribute('html', 'lang'), 'en');
});
