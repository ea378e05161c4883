// A customer who does not look at the page is told on the desktop, by a real service for that, and can
// stop everything from there.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage, launch } from './support/HostPage.mjs';
import { Place } from './support/Place.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { program } from './support/built.mjs';
import { spawnChild } from './support/children.mjs';
import { until } from './support/until.mjs';

let screen;
let environment;
let bus;
let desktop;
let place;
let host;
let pages; // the customer's
let supportersBrowser;
let supporter;

function start(name, ...args) {
  const stdio = ['ignore', 'pipe', 'ignore'];
  const child = spawnChild(name, args, { env: environment, stdio });
  child.said = '';
  child.stdout.on('data', (chunk) => (child.said += chunk));
  return child;
}

before(async () => {
  screen = await VirtualScreen.start(800, 600);
  screen.paint('navy');
  place = await Place.start();
  environment = { ...screen.environment, ...place.environment, LC_ALL: 'C.UTF-8' };
  bus = start('dbus-daemon', '--session', '--nofork', '--print-address');
  const address = await until('the bus', () => /^unix:.*(?=\n)/.exec(bus.said)?.[0]);
  environment.DBUS_SESSION_BUS_ADDRESS = address;
  desktop = start('dunst', '-print');
  await until('the service', isServed);
  host = await Host.start(program, environment);
  pages = await HostPage.openCustomer('about:blank');
  await pages.customer.addInitScript(() => (document.hasFocus = () => false));
  await pages.customer.goto(host.address);
  supportersBrowser = await launch();
  supporter = await supportersBrowser.newPage();
});

after(async () => {
  await pages?.close();
  await supportersBrowser?.close();
  await host?.destroy();
  for (const child of [desktop, bus]) child?.kill();
  await place?.stop();
  await screen?.stop();
});

// Asks the bus, since a question to the service itself would make the bus start another one.
function isServed() {
  const question = ['--dest=org.freedesktop.DBus', '/', 'org.freedesktop.DBus.NameHasOwner'];
  const args = ['--session', '--print-reply', ...question, 'string:org.freedesktop.Notifications'];
  return /true/.test(spawnSync('dbus-send', args, { env: environment, encoding: 'utf8' }).stdout);
}

const stopByNotice = () =>
  spawnSync('dunstctl', ['action'], { env: environment, stdio: 'ignore' }).status;
const part = (name) => pages.customer.locator(`#remote-sessions [data-part=${name}]`).first();
const awaitNotice = (text) => until(`"${text}"`, () => desktop.said.includes(text));

test('the desktop says who asks', async () => {
  await pages.customer.click('#invite-button');
  const code = await until('the code', () => part('code').textContent());
  await supporter.goto(place.files.address);
  await supporter.fill('#name', 'Ann <b>Example</b>');
  await supporter.fill('#code', code);
  await supporter.click('#ask-form button');
  await awaitNotice('Ann <b>Example</b> asks to see your screen');
});

test('it says who is connected, and its Stop ends that and the sharing', async () => {
  await part('both').click();
  await awaitNotice('Ann <b>Example</b> is connected');
  await supporter.waitForSelector('#stage[data-picture=shown]');
  assert.equal(stopByNotice(), 0);
  await until('the end', async () =>
    /stopped sharing/.test(await supporter.textContent('#stage-what')),
  );
  await pages.awaitState('ended');
});
