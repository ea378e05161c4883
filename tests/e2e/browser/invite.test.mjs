// What the customer's page shows of supporters on other computers, and what its buttons say, before
// a program that the test works.

import assert from 'node:assert/strict';
import { after, afterEach, before, beforeEach, test } from 'node:test';

import { FakeProgram, idle, pageFolders, serveFiles, session } from './support/FakeProgram.mjs';
import { launch } from './support/HostPage.mjs';
import { keyTableFolder } from './support/built.mjs';
import { until } from './support/until.mjs';

const link = session.link;
const asking = {
  ...session,
  stage: 'asking',
  code: '',
  link: '',
  name: 'Ann <img src=x onerror=alert(1)>',
  words: ['abacus', 'harbour', 'pilgrim'],
};
const connected = { ...asking, stage: 'connected', words: null, sinceMs: 0, path: 'direct' };

let files;
let browser;
let page;
let program;
let complaints;

before(async () => {
  files = await serveFiles(...pageFolders, keyTableFolder);
  browser = await launch();
});

beforeEach(async () => {
  const permissions = ['clipboard-read', 'clipboard-write'];
  page = await (await browser.newContext({ permissions })).newPage();
  complaints = [];
  page.on('pageerror', (error) => complaints.push(String(error)));
  program = await FakeProgram.attach(page);
  await page.goto(`${files.address}0123/`);
  await until('the page', () => program.has({ show: { customer: true, picture: false, input: false } }));
});

afterEach(async () => {
  await page.context().close();
  assert.deepEqual(complaints, []);
});

after(async () => {
  await browser?.close();
  files?.close();
});

const part = (name) => page.locator(`.guest [data-part=${name}]`);
const told = (fields) => until(JSON.stringify(fields), () => program.has(fields));
const heard = (method) => program.texts.filter((text) => text.method === method);

test('without a place it says what is missing, and everything else is there', async () => {
  assert.equal(await page.isVisible('#remote'), false);
  program.sendRemote([], { configured: false });
  await page.waitForSelector('#remote');
  assert.match(await page.textContent('#remote-problem'), /remote\.json/);
  assert.equal(await page.isDisabled('#invite-button'), true);
  assert.equal(await page.isEnabled('#allow-button'), true);
  for (const problem of ['unreachable', 'certificateWrong', 'refused']) {
    program.sendRemote([], { problem, detail: `because ${problem}` });
    await until(problem, async () =>
      (await page.textContent('#remote-problem')).includes(`(because ${problem})`),
    );
    assert.equal(await page.isEnabled('#invite-button'), true);
  }
});

test('an invitation is shown with code, link, QR code and the time that it has left', async () => {
  program.sendRemote([]);
  await page.click('#invite-button');
  await told({ invite: true });
  program.sendRemote([{ ...session, qr: ['101', '010', '111'] }]);
  await part('code').waitFor();
  assert.equal(await part('code').textContent(), '482 913 5072');
  assert.equal(await part('link').inputValue(), link);
  assert.equal(await part('qr').locator('path').getAttribute('d'),
    'M4 4h1v1h-1zM6 4h1v1h-1zM5 5h1v1h-1zM4 6h3v1h-3z');
  const left = await part('countdown').textContent();
  assert.match(left, /\b(10:00|9:5\d)\b/);
  await until('a second', async () => (await part('countdown').textContent()) !== left);
  await part('copy').click();
  await until('the copy', async () => /Copied/.test(await part('copied').textContent()));
  assert.equal(await page.evaluate(() => navigator.clipboard.readText()), link);
  await part('end').click();
  await told({ remote: 1, end: true });
  program.sendRemote([{ ...session, stage: 'ended' }]);
  await until('the end', async () => /withdrawn/.test(await part('title').textContent()));
  assert.equal(await part('code').isVisible(), false);
  program.sendRemote([]);
  await until('nothing left', async () => (await page.locator('.guest').count()) === 0);
});

for (const [name, answer] of [['watch', 'watch'], ['both', 'control'], ['refuse', 'refuse']]) {
  test(`the question is answered with ${answer}, and never at once`, async () => {
    program.send({ ...idle, control: false });
    program.sendRemote([asking]);
    await part('words').waitFor();
    const isDisabled = await part(name).isDisabled();
    if (name !== 'refuse') assert.equal(isDisabled, true);
    assert.equal(await part('words').textContent(), 'abacus · harbour · pilgrim');
    assert.ok((await part('title').textContent()).includes(asking.name));
    assert.equal(await page.locator('.guest img').count(), 0);
    assert.ok((await page.textContent('#remote-news')).includes(asking.name));
    assert.match(await page.title(), /^Question/);
    await part(name).click();
    await told({ remote: 1, answer });
    if (answer === 'refuse') {
      program.send({ ...idle, session: 'ended' });
      assert.deepEqual(heard('startCapture'), []);
    } else {
      await until('the start', () => heard('startCapture').length === 1);
      assert.deepEqual(heard('startCapture')[0].arguments, { locallyAuthorized: true });
    }
    assert.equal(program.has({ control: true }), answer === 'control');
    program.sendRemote([{ ...connected, carrier: false }]);
    await until('the next stage', () => part('control').isVisible());
    assert.equal(await page.evaluate(() => document.activeElement.className), 'guest');
  });
}

test('who is connected is ruled from here, and Stop ends all', async () => {
  program.send({ ...idle, session: 'live' });
  program.sendRemote([{ ...connected, carrier: false }]);
  await until('watching', async () => /only watches/.test(await part('title').textContent()));
  await part('control').click();
  await told({ remote: 1, control: true });
  program.sendRemote([{ ...connected, carrier: false, control: true, path: 'relayed' }]);
  await until('control', async () => /mouse and keyboard/.test(await part('title').textContent()));
  assert.match(await part('advice').textContent(), /relay/);
  await part('control').click();
  await told({ remote: 1, control: false });
  assert.equal(await page.textContent('#stop-button'), 'Stop all');
  await page.click('#stop-button');
  await told({ stopAll: true });
  await until('the stop', () => heard('stopCapture').length === 1);
  program.sendRemote([{ ...connected, stage: 'ended' }]);
  await until('the old name', async () => (await page.textContent('#stop-button')) === 'Stop sharing');
});

test('as long as no further supporter can be invited, the button says why', async () => {
  program.sendRemote([session], { full: true });
  await page.waitForSelector('#invite-button:disabled');
  assert.match(await page.textContent('#remote-problem'), /No further supporter .* Withdraw/);
  program.sendRemote([session], { full: false });
  await page.waitForSelector('#invite-button:enabled');
  assert.equal(await page.textContent('#remote-problem'), '');
});

test('a program that is gone takes all of it with it', async () => {
  program.sendRemote([{ ...connected, carrier: false }]);
  await part('title').waitFor();
  await program.socket.close();
  await until('nothing', async () => !(await page.isVisible('#remote')));
  assert.equal(await page.locator('.guest').count(), 0);
});

test('the program knows whether the page is in front', async () => {
  await told({ front: true });
  await page.evaluate(() => {
    Object.defineProperty(document, 'hasFocus', { value: () => false });
    window.dispatchEvent(new Event('blur'));
  });
  await told({ front: false });
});

test('what has happened is shown on demand, as text', async () => {
  program.sendRemote([]);
  await page.click('#log-button');
  await told({ log: true });
  const entry = { time: '2026-01-02T03:04:05Z', event: 'asked', name: '<b>Ann</b>' };
  program.send({ event: 'log', entries: [entry] });
  await page.waitForSelector('#log li');
  assert.match(await page.textContent('#log li'), /2026.*<b>Ann<\/b>.* · asked/);
});
