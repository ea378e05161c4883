// A computer that is left alone, and a supporter on another one who has its link: nobody is asked, no
// browser is to be seen, and what happens is written down.

import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { launch } from './support/HostPage.mjs';
import { installUnattended, program, run } from './support/Installed.mjs';
import { Place } from './support/Place.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { artifacts } from './support/built.mjs';
import { until } from './support/until.mjs';

const chromium = process.env.QUORVIN_CHROMIUM ?? '/usr/bin/chromium';
const [width, height] = [800, 600];

let screen;
let place;
let environment;
let host;
let browser;
let page; // the supporter's

// As root, Chromium starts without its sandbox only.
function prepare(home) {
  installUnattended(home, screen.environment);
  const start = `#!/bin/sh\nexec '${chromium}' --no-sandbox "$@"\n`;
  writeFileSync(join(home, 'browser'), start, { mode: 0o755 });
  environment.QUORVIN_HIDDEN_BROWSER = join(home, 'browser');
}

const webui = (option) =>
  run(host.home, environment, join(dirname(program), 'quorvin-webui'), option);
const linkOf = ({ stdout }) => stdout.trim();

function logged() {
  const file = join(host.home, '.local/state/com.quorvin.support/sessions.jsonl');
  const lines = readFileSync(file, 'utf8').trim().split('\n');
  return lines.map((line) => JSON.parse(line)).map(({ event, why }) => `${event} ${why ?? ''}`.trim());
}

async function come(link) {
  await page?.context().close();
  page = await (await browser.newContext()).newPage();
  await page.goto(link);
  await page.fill('#name', 'Ann Example');
  await page.click('#ask-form button');
}

const awaitText = (id, wanted) =>
  until(`"${wanted}"`, async () => (await page.textContent(id)).includes(wanted));

// Where there is no mouse pointer, as [red, green, blue] of nearly that.
const awaitColour = (colour) =>
  until(`the colour ${colour}`, async () => {
    const found = await page.$eval('#picture', (canvas) => [
      ...canvas.getContext('2d').getImageData(canvas.width / 8, canvas.height / 8, 1, 1).data,
    ]);
    return colour.every((value, index) => Math.abs(value - found[index]) < 20);
  });

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(width, height);
  screen.paint('navy');
  place = await Place.start();
  environment = { ...screen.environment, ...place.environment };
  host = await Host.start(program, environment, { args: ['--unattended'], prepare });
  browser = await launch();
});

after(async () => {
  await browser?.close();
  await host?.destroy();
  await place?.stop();
  await screen?.stop();
});

test('its link is made once and stays the same', () => {
  const { status, stdout, stderr } = webui('--device-link');
  assert.deepEqual({ status, stderr }, { status: 0, stderr: '' });
  assert.match(stdout, /^http:\/\/127\.0\.0\.1:\d+\/#1\.[\w-]{22}\.[\w-]{43}\n$/);
  assert.deepEqual(webui('--device-link').stdout, stdout);
});

test('whoever has the link sees the screen without a question', async () => {
  await come(linkOf(webui('--device-link')));
  await page.waitForSelector('#stage[data-picture=shown]');
  await awaitColour([0, 0, 128]);
  screen.paint('orange');
  await awaitColour([255, 165, 0]);
  assert.equal(await page.isEnabled('#view-only'), true);
  await page.screenshot({ path: `${artifacts}device.png` });
});

test('and is put out by another link, which opens from then on', async () => {
  const before = linkOf(webui('--device-link'));
  const next = linkOf(webui('--new-device-link'));
  assert.notEqual(next, before);
  await awaitText('#stage-what', 'stopped sharing');
  await come(next);
  await page.waitForSelector('#stage[data-picture=shown]');
  await awaitColour([255, 165, 0]);
});

test('all of it is in the log', async () => {
  await until('the connections', () => logged().filter((line) => line === 'connected').length === 2);
  const events = logged().filter((line) => line !== 'connected');
  assert.deepEqual(events, ['allowed deviceLink', 'ended stopped', 'allowed deviceLink']);
});

test('no browser outlives the program', async () => {
  const profile = join(host.home, '.local/state/com.quorvin.support/browser');
  const isRunning = () => run('/', {}, 'usr/bin/pgrep', '-f', profile).status === 0;
  assert.equal(isRunning(), true);
  await host.interrupt();
  await awaitText('#stage-what', 'ended');
  await until('the end of the hidden browser', () => !isRunning());
});
