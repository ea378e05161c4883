// An unattended run of an installed copy: nobody allows anything, the session starts by itself when
// a supporter's page connects, and both sides are told so.

import assert from 'node:assert/strict';
import { cpSync, existsSync, mkdirSync, readlinkSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { until } from './support/until.mjs';

const builtProgram =
  process.env.QUORVIN_HOST ??
  fileURLToPath(
    new URL(
      '../../../build/release/Quorvin Support.app/Contents/Linux/quorvin-support',
      import.meta.url,
    ),
  );
const builtBundle = dirname(dirname(dirname(builtProgram)));
const artifacts = fileURLToPath(new URL('../artifacts/', import.meta.url));
const installed = 'Applications/Quorvin Support.app';
const program = `${installed}/Contents/Linux/quorvin-support`;

const settings = '[defaults]\nunattendedAccessEnabled=true\nunattendedAccessDeviceName=Front  desk\n';

let screen;
let host;
let page;

function prepare(home) {
  cpSync(builtBundle, join(home, installed), { recursive: true });
  mkdirSync(join(home, 'Desktop'));
  mkdirSync(join(home, 'config', 'com.quorvin.support'), { recursive: true });
  writeFileSync(join(home, 'config', 'com.quorvin.support', 'defaults.ini'), settings);
}

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(1280, 800);
  screen.paint('navy');
  host = await Host.start(program, screen.environment, { args: ['--unattended'], prepare });
  page = await HostPage.open(host.address);
});

after(async () => {
  await page?.close();
  await host?.destroy();
  await screen?.stop();
});

test('the session starts by itself when a supporter connects', async () => {
  await page.awaitState('live');
  await page.awaitColour(0.2, 0.8, [0, 0, 128]);
});

test('both sides are told that nobody is there', async () => {
  assert.match(await page.text('#session-state'), /unattended/i);
  assert.equal(await page.text('#device-name'), 'Front desk');
  screen.paint('orange');
  await until('the badge', async () => /· unattended$/.test(await page.text('#picture-badge')));
  await page.screenshot(`${artifacts}unattended.png`);
});

test('a session that was stopped stays stopped', async () => {
  await page.page.click('#stop-button');
  await page.awaitState('ended');
  assert.match(await page.text('#session-state'), /unattended/i);
});

test('it starts again when the supporter connects again', async () => {
  await page.page.reload();
  await page.awaitState('live');
});

test('an installed copy puts a link to itself on the Desktop, once', async () => {
  const link = join(host.home, 'Desktop', 'Quorvin Support.app');
  for (const time of ['made', 'found']) {
    await page.page.click('#desktop-link');
    await until(`the link to be ${time}`, async () =>
      /is on your Desktop/.test(await page.text('#desktop-link-result')),
    );
    assert.equal(readlinkSync(link), join(host.home, installed));
    assert.ok(existsSync(join(link, 'Contents')));
  }
});

test('the page had nothing to complain about', () => {
  assert.deepEqual(page.complaints, []);
});
