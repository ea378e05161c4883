// The whole program from outside: the host on an X server of its own, worked through its page in a
// real browser. The tests build on one another, as a customer's session does.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync } from 'node:fs';
import { hostname, userInfo } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { artifacts, program } from './support/built.mjs';
import { until } from './support/until.mjs';

const screenSize = [1600, 1000];
const black = [0, 0, 0];
const navy = [0, 0, 128];
const orange = [255, 165, 0];
const white = [255, 255, 255];

function computerName() {
  const machineInfo = '/etc/machine-info';
  const text = existsSync(machineInfo) ? readFileSync(machineInfo, 'utf8') : '';
  return /^PRETTY_HOSTNAME="?(.+?)"?$/m.exec(text)?.[1] ?? hostname();
}

let screen;
let host;
let page;

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(...screenSize);
  screen.paint('navy');
  host = await Host.start(program, screen.environment);
  page = await HostPage.open(host.address);
});

after(async () => {
  await page?.close();
  await host?.destroy();
  await screen?.stop();
});

test('an address without the right token is refused', async () => {
  const wrong = new URL(host.address);
  wrong.pathname = `/${'0'.repeat(32)}/`;
  assert.equal((await fetch(wrong)).status, 404);
  assert.equal((await fetch(new URL('/', wrong))).status, 404);
  assert.equal((await fetch(host.address)).status, 200);
});

test('the file that a browser is handed leads to the page', async () => {
  const { port } = new URL(host.address);
  const file = join(host.home, 'com.quorvin.support', `page-${port}.html`);
  const visitor = await HostPage.openCustomer(pathToFileURL(file).href);
  try {
    await visitor.customer.waitForURL(host.address);
    await visitor.customer.waitForSelector('#permission-screen[data-granted=true]');
    assert.deepEqual(visitor.complaints, []);
  } finally {
    await visitor.close();
  }
});

test('the page shows the device, its permissions and that nothing is shared', async () => {
  await until(
    'the device name',
    async () => (await page.customerText('#device-name')) === computerName(),
  );
  await page.customer.waitForSelector('#permission-screen[data-granted=true]');
  await page.customer.waitForSelector('#permission-input[data-granted=true]');
  await page.awaitState('idle');
  assert.equal(await page.customer.isVisible('#stop-button'), false);
  await page.screenshot(`${artifacts}idle.png`, page.customer);
});

test('the customer’s page leads to the supporter’s, which does not lead back', async () => {
  const [opened] = await Promise.all([
    page.customer.context().waitForEvent('page'),
    page.customer.click('#show-supporter'),
  ]);
  await opened.waitForSelector('#picture-badge');
  assert.equal(opened.url(), page.page.url());
  assert.notEqual(opened.url(), host.address);
  assert.equal(await opened.evaluate(() => window.opener), null);
  const [, token] = new URL(host.address).pathname.split('/');
  assert.equal((await opened.content()).includes(token), false);
  await opened.close();
});

test('Allow makes the session live and shows the screen', async () => {
  await page.allow();
  await until('the picture', async () => (await page.pictureSize())[0] === screenSize[0]);
  assert.deepEqual(await page.pictureSize(), screenSize);
  await page.awaitColour(0.2, 0.8, navy);
});

test('a change of the screen arrives', async () => {
  screen.paint('orange');
  await page.awaitColour(0.2, 0.8, orange);
  await page.awaitColour(0.9, 0.9, orange);
});

test('a window is seen where it is', async () => {
  screen.open('xlogo', '-geometry', '400x300+1100+100', '-fg', 'darkred', '-bg', 'white');
  await page.awaitColour(1300 / screenSize[0], 115 / screenSize[1], white);
  await page.awaitColour(1050 / screenSize[0], 150 / screenSize[1], orange);
});

test('smaller settings make the picture smaller', async () => {
  await page.page.fill('#settings-form [name=max_width]', '800');
  await page.page.click('#apply-settings');
  await until('the smaller picture', async () => (await page.pictureSize())[0] === 800);
  assert.deepEqual(await page.pictureSize(), [800, 500]);
  await page.awaitColour(0.2, 0.8, orange);
});

test('settings out of range are refused and change nothing', async () => {
  await page.page.fill('#settings-form [name=max_width]', '100');
  await page.page.click('#apply-settings');
  await until('the refusal', async () =>
    /invalid picture settings/i.test(await page.text('#settings-result')),
  );
  screen.paint('navy');
  await page.awaitColour(0.2, 0.8, navy);
  assert.deepEqual(await page.pictureSize(), [800, 500]);
  await page.page.fill('#settings-form [name=max_width]', '800');
});

test('a screen that stays the same is said to', async () => {
  await until('the notice', () => page.page.isVisible('#notice'));
});

test('Stop ends the session and takes the picture away', async () => {
  await page.customer.click('#stop-button');
  await page.awaitState('ended');
  await page.page.waitForSelector('#picture-badge[data-state=off]');
  await page.awaitColour(0.2, 0.8, black);
  assert.equal(await page.customer.isVisible('#stop-button'), false);
  await page.screenshot(`${artifacts}ended.png`, page.customer);
});

test('a new session starts with settings of its own', async () => {
  screen.paint('steelblue');
  screen.open('xclock', '-update', '1', '-geometry', '340x340+90+90');
  screen.open('xeyes', '-geometry', '360x220+80+620');
  await page.allow();
  await page.awaitColour(0.02, 0.98, [70, 130, 180]);
  assert.deepEqual(await page.pictureSize(), screenSize);
  await page.page.waitForSelector('#picture-badge[data-state=live]');
  await page.page.evaluate(() => window.scrollTo(0, 0));
  await page.screenshot(`${artifacts}page.png`);
  await page.screenshot(`${artifacts}customer.png`, page.customer);
});

test('a copy that is not installed makes no link on the Desktop', async () => {
  await page.customer.click('#desktop-link');
  await until('the refusal', async () =>
    /not installed.*Move Quorvin Support to Applications/.test(
      await page.customerText('#desktop-link-result'),
    ),
  );
});

test('the report for support has what the program runs on and nobody’s name', async () => {
  const { customer } = page;
  await customer.click('#report-button');
  const text = await until('the report', () => customer.inputValue('#report-text'));
  for (const line of [
    /^Program: Quorvin Support \d/m,
    /^Kernel: Linux \d/m,
    /^Distribution: \w/m,
    /^X server: \w.*, release \d+$/m,
    /^X extensions: XTEST yes DAMAGE yes XFIXES yes MIT-SHM yes RANDR yes$/m,
    /^Screen Recording: granted$/m,
    /^Last errors:\n.*min ago: install_first: /m,
    /^Browser: Mozilla/m,
  ]) {
    assert.match(text, line);
  }
  for (const name of [hostname(), userInfo().homedir, host.home, '127.0.0.1']) {
    assert.ok(!text.includes(name), `${name} is in ${text}`);
  }
  await customer.click('#report-button');
  await customer.waitForSelector('#report', { state: 'hidden' });
});

test('an error leads to its row of the help, and nothing else does', async () => {
  const { customer } = page;
  const links = () => customer.$$eval('a.more', (all) => all.map((link) => link.href));
  const rows = ['error.install_first', 'problem.unconfigured'];
  const addresses = rows.map((row) => new URL(`help.html#${row}`, host.address).href);
  assert.deepEqual(await links(), addresses);
  const [help] = await Promise.all([
    customer.context().waitForEvent('page'),
    customer.click('#desktop-link-result + a'),
  ]);
  const row = help.locator(':target');
  assert.match(await row.innerText(), /not installed\.[^]*What to do: Run quorvin-support --install/);
  const { y } = await row.boundingBox();
  assert.ok(y > -1 && y < 600, `the row is at ${y}`);
  await help.close();
});

test('the page had nothing to complain about', () => {
  assert.deepEqual(page.complaints, []);
});

test('an interrupt ends everything and leaves nothing behind', async () => {
  assert.equal(await host.interrupt(), 0, host.output);
  await until('the last process to end', () => !host.leftProcesses());
  await assert.rejects(fetch(host.address));
  for (const noticing of [page.page, page.customer]) {
    await until('the page to notice', async () =>
      /closed|lost|ended|disconnected|gone/i.test(await page.text('#connection-state', noticing)),
    );
  }
});
