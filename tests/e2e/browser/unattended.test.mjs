// An unattended run of an installed copy: nobody allows anything, the session starts by itself when
// the page is opened, and both sides are told so.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, readlinkSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { bundle as installed, installUnattended, program, run } from './support/Installed.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { artifacts } from './support/built.mjs';
import { until } from './support/until.mjs';

const agentFile = 'Library/LaunchAgents/com.quorvin.support.unattended.plist';
const unitFile = 'config/systemd/user/com.quorvin.support.unattended.service';

let screen;
let host;
let page;

const manage = (home, ...args) => run(home, screen.environment, program, ...args);

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(1280, 800);
  screen.paint('navy');
  host = await Host.start(program, screen.environment, {
    args: ['--unattended'],
    prepare: (home) => installUnattended(home, screen.environment),
  });
  page = await HostPage.open(host.address);
});

after(async () => {
  await page?.close();
  await host?.destroy();
  await screen?.stop();
});

test('installing has written the login agent and registered it', () => {
  assert.match(readFileSync(join(host.home, agentFile), 'utf8'), /<string>--unattended<\/string>/);
  const unit = readFileSync(join(host.home, unitFile), 'utf8');
  assert.ok(unit.includes(join(host.home, program)), unit);
  assert.deepEqual(manage(host.home, '--status-unattended'), {
    status: 0,
    stdout: 'Quorvin unattended access is enabled for "Front desk".\n',
    stderr: '',
  });
});

test('the session starts by itself when the page is opened', async () => {
  await page.awaitState('live');
  await page.awaitColour(0.2, 0.8, [0, 0, 128]);
});

test('both sides are told that nobody is there', async () => {
  assert.match(await page.customerText('#session-state'), /unattended/i);
  assert.equal(await page.customerText('#device-name'), 'Front desk');
  screen.paint('orange');
  await until('the badge', async () => /· unattended$/.test(await page.text('#picture-badge')));
  await page.screenshot(`${artifacts}unattended.png`, page.customer);
});

test('a session that was stopped stays stopped', async () => {
  await page.customer.click('#stop-button');
  await page.awaitState('ended');
  assert.match(await page.customerText('#session-state'), /unattended/i);
});

test('it starts again when the page is opened again', async () => {
  await page.customer.reload();
  await page.awaitState('live');
});

test('an installed copy puts a link to itself on the Desktop, once', async () => {
  const link = join(host.home, 'Desktop', 'Quorvin Support.app');
  for (const time of ['made', 'found']) {
    await page.customer.click('#desktop-link');
    await until(`the link to be ${time}`, async () =>
      /is on your Desktop/.test(await page.customerText('#desktop-link-result')),
    );
    assert.equal(readlinkSync(link), join(host.home, installed));
    assert.ok(existsSync(join(link, 'Contents')));
  }
});

test('removing takes all of it back', () => {
  assert.deepEqual(manage(host.home, '--remove-unattended'), {
    status: 0,
    stdout: 'Quorvin unattended access is disabled for this Mac account.\n',
    stderr: '',
  });
  assert.equal(existsSync(join(host.home, agentFile)), false);
  assert.equal(existsSync(join(host.home, unitFile)), false);
  assert.match(manage(host.home, '--status-unattended').stdout, /is disabled/);
});

test('the page had nothing to complain about', () => {
  assert.deepEqual(page.complaints, []);
});
