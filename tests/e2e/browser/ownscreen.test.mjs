// A page that is open on the very screen that it controls, so that what it sends comes back to it.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { program } from './support/built.mjs';
import { until } from './support/until.mjs';

let screen;
let host;
let page;

before(async () => {
  screen = await VirtualScreen.start(1280, 900);
  host = await Host.start(program, screen.environment);
  page = await HostPage.open(host.address, { onScreen: screen.environment });
  await page.allow();
  await until('the picture', async () => (await page.pictureSize())[0] === 1280);
});

after(async () => {
  await page?.close();
  await host?.destroy();
  await screen?.stop();
});

const viewOnly = async () => (await page.page.getAttribute('#view-only', 'aria-pressed')) === 'true';

// Works in the picture until the page has given up control.
async function workUntilViewOnly(work) {
  await page.page.click('#view-only[aria-pressed=true]');
  let step = 0;
  await until('View only to be on again', async () => {
    if (!(await viewOnly())) await work(++step);
    return viewOnly();
  });
  assert.match(await page.text('#control-trouble'), /the very screen that it controls/);
}

test('the mouse does not chase itself', async () => {
  const box = await page.page.locator('#picture').boundingBox();
  await workUntilViewOnly((step) =>
    page.page.mouse.move(box.x + box.width / 2 + (step % 10) * 20, box.y + 50 + (step % 10) * 20),
  );
});

test('a key is not pressed without end', async () => {
  await page.page.reload();
  await page.awaitState('live');
  await until('the picture', async () => (await page.pictureSize())[0] === 1280);
  await workUntilViewOnly(() => page.page.keyboard.press('KeyA', { delay: 300 }));
});

test('the page had nothing to complain about', () => {
  assert.deepEqual(page.complaints, []);
});
