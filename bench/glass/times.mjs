// How long changes take to a canvas, and keys to a program.

import { createInterface } from 'node:readline';
import { setTimeout as pause } from 'node:timers/promises';

const stuckMs = 10_000;

export const now = () => performance.timeOrigin + performance.now();

// In the page: at which animation frame the canvas has that grey at that place.
export function awaitGrey([selector, x, y, grey]) {
  return new Promise((resolve) => {
    const look = () => {
      const canvas = document.querySelector(selector);
      const [red] = canvas.getContext('2d').getImageData(x, y, 1, 1).data;
      if (Math.abs(red - grey) < 60) resolve(performance.timeOrigin + performance.now());
      else requestAnimationFrame(look);
    };
    look();
  });
}

// In the page: when the key that is pressed next is.
function awaitKey() {
  return new Promise((resolve) => {
    const pressed = ({ timeStamp }) => resolve(performance.timeOrigin + timeStamp);
    window.addEventListener('keydown', pressed, { capture: true, once: true });
  });
}

export async function inTime(what, promise) {
  const end = new AbortController();
  const late = pause(stuckMs, null, { signal: end.signal }).then(() => {
    throw new Error(`${what} never came`);
  });
  try {
    return await Promise.race([promise, late]);
  } finally {
    late.catch(() => {});
    end.abort();
  }
}

// Milliseconds from each of so many changes to the canvas; `fill(rect, grey)` makes one.
export async function changeTimes(page, canvas, [left, top, ...size], count, fill) {
  const times = [];
  for (let change = 0; change < count; ++change) {
    const grey = change % 2 === 0 ? 0 : 255;
    const seen = page.evaluate(awaitGrey, [canvas, left + 4, top + 4, grey]);
    await pause(40 + ((change * 37) % 50));
    const begin = now();
    await fill([left, top, ...size], grey);
    times.push((await inTime('a change', seen)) - begin);
  }
  return times;
}

// Milliseconds from the page's event to an InputWindow, for so many keys.
export async function keyTimes(page, window, count) {
  const times = [];
  let arrived = () => {};
  createInterface({ input: window.process.stdout }).on('line', (line) => {
    if (JSON.parse(line).type === 'keyDown') arrived(now());
  });
  for (let key = 0; key < count; ++key) {
    const pressed = page.evaluate(awaitKey);
    const seen = new Promise((resolve) => {
      arrived = resolve;
    });
    await pause(40 + ((key * 37) % 50));
    await page.keyboard.press('a');
    times.push((await inTime('a key', seen)) - (await pressed));
  }
  return times;
}
