// What has changed in a frame is all that travels and all that is decoded: the canvas still shows
// the whole file of the newest frame, pixel for pixel, as another page gets it from the same host.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { Random } from './support/Random.mjs';
import { ScreenChanger } from './support/ScreenChanger.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { program, screenChanger } from './support/built.mjs';
import { compareWithWhole, joinAsAnotherPage, takeHoldOfFrames } from './support/wholeFrame.mjs';

const steps = Number(process.env.QUORVIN_DELTA_STEPS ?? 225);
const seed = Number(process.env.QUORVIN_SEED ?? 1);

// The last segments of rows and columns are cut, are whole, and are the only ones of their row.
const sizes = [
  [803, 605],
  [1024, 640],
  [250, 131],
];
const qualities = [40, 72, 95];

// From a caret to a part of the screen, anywhere, also where it ends.
async function change(changer, random, [width, height]) {
  const colour = random.below(0x1000000);
  const kind = random.below(8);
  if (kind === 0) {
    await changer.movePointer(random.below(width), random.below(height));
  }
  const [widest, highest] = kind < 5 ? [20, 20] : [width >> 1, height >> 1];
  const [w, h] = [1 + random.below(widest), 1 + random.below(highest)];
  const places = kind === 5 ? 3 : 1;
  for (let place = 0; place < places; ++place) {
    const [x, y] = [random.below(width - 1), random.below(height - 1)];
    await changer.fill([x, y, Math.min(w, width - x), Math.min(h, height - y)], colour);
  }
}

for (const size of sizes) {
  test(`a screen of ${size.join(' by ')} pixels is shown to the pixel`, async () => {
    const random = new Random(seed + size[0]);
    const screen = await VirtualScreen.start(...size);
    const host = await Host.start(program, screen.environment);
    const changer = new ScreenChanger(screenChanger, screen.environment);
    const page = await HostPage.open(host.address, {
      prepare: (opened) => opened.addInitScript(takeHoldOfFrames),
    });
    try {
      await changer.setCursor(24, 0x804020, 5);
      await changer.desktop(seed);
      await page.allow();
      await page.page.evaluate(joinAsAnotherPage);
      const each = Math.ceil(steps / sizes.length / qualities.length);
      for (const quality of qualities) {
        await page.apply({ jpeg_quality: quality });
        for (let step = 0; step < each; ++step) {
          await change(changer, random, size);
          const wrong = await page.page.evaluate(compareWithWhole);
          assert.equal(wrong, null, `quality ${quality}, step ${step}, seed ${seed}`);
        }
      }
      const deltas = await page.page.evaluate(() => window.hold.deltas);
      assert.ok(deltas > (each * qualities.length) / 2, `only ${deltas} deltas came`);
      assert.deepEqual(page.complaints, []);
    } finally {
      await page.close();
      await changer.close();
      await host.destroy();
      await screen.stop();
    }
  });
}
