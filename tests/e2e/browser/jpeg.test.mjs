// The picture as JPEG while the screen changes a little here and there: what a real browser shows is
// the screen as another program reads it, everywhere, in what has changed and in what has not. The
// tests build on one another.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { ScreenChanger } from './support/ScreenChanger.mjs';
import { ScreenPicture, blocksOf, largestDifference } from './support/ScreenPicture.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { program, screenChanger } from './support/built.mjs';
import { until } from './support/until.mjs';

const [width, height] = [803, 605]; // the last block of each row and column is no whole one
const paper = 0xfcfcfa;
const ink = 0x202428;

let screen;
let host;
let page;
let changer;

before(async () => {
  screen = await VirtualScreen.start(width, height);
  host = await Host.start(program, screen.environment);
  changer = new ScreenChanger(screenChanger, screen.environment);
  await changer.setCursor(24, 0x804020, 5);
  await changer.movePointer(700, 550);
  await changer.desktop(1);
  page = await HostPage.open(host.address);
  await page.allow();
});

after(async () => {
  await page?.close();
  await changer?.close();
  await host?.destroy();
  await screen?.stop();
});

// A browser draws a picture's colours, of which JPEG keeps one for each four pixels and roundly, so
// that only the means of areas are compared. Each pixel is in one of them, and what these tests
// change alters one by more than is tolerated, which `changeAndLook` makes sure of.
const blockSide = 8;
const toleratedInFull = 14;
const toleratedScaled = 28; // a filter looks a little beyond its own pixel, too

function toleratedAt([columns]) {
  return columns === width ? toleratedInFull : toleratedScaled;
}

async function shown() {
  return page.page.$eval('#picture', blocksOf, blockSide);
}

function onScreen(size) {
  return ScreenPicture.read(screen).blocks(...size, blockSide);
}

let screenBlocks = null; // as last read, of the size of the picture at that time

async function awaitTheScreenOnThePage(what) {
  let last;
  await until(`the page to show ${what}`, async () => {
    const { size, means } = await shown();
    const tolerance = toleratedAt(size);
    if (screenBlocks?.length !== means.length) screenBlocks = onScreen(size);
    last = largestDifference(means, screenBlocks);
    // What is on the screen may have changed by itself meanwhile.
    if (last.by > tolerance) screenBlocks = null;
    return last.by <= tolerance;
  }).catch((error) => {
    throw new Error(`${error.message} (${JSON.stringify(last)})`);
  });
}

// After something that has already been awaited.
async function changeAndLook(what, change) {
  const before = screenBlocks ?? onScreen(await page.pictureSize());
  await change();
  const size = await page.pictureSize();
  screenBlocks = onScreen(size);
  const { by } = largestDifference(before, screenBlocks);
  assert.ok(by > toleratedAt(size), `${what} would not be noticed, as it changes but ${by}`);
  await awaitTheScreenOnThePage(what);
}

// The same places every time, so that a run can be repeated: within rows of blocks, across their
// borders, at the edges of the picture, and several at once.
const smallChanges = {
  'a caret': [[400, 321, 8, 18, ink]],
  'the caret gone': [[400, 321, 8, 18, paper]],
  'two corners': [
    [0, 0, 12, 9, ink],
    [width - 9, height - 9, 9, 9, ink],
  ],
  'a line of text': Array.from({ length: 60 }, (_, i) => [
    ...[100 + i * 9, 255, 6, 11],
    i % 3 === 0 ? paper : ink,
  ]),
  'three places at once': [
    [40, 100, 30, 20, ink],
    [440, 380, 30, 20, paper],
    [760, 540, 30, 20, ink],
  ],
  'a border of rows of blocks': [[200, 475, 200, 10, 0x909090]],
  'a column as high as the screen': [[600, 0, 10, height, ink]],
};

async function make(what, where) {
  await changeAndLook(`${what} ${where}`, async () => {
    for (const [x, y, w, h, colour] of smallChanges[what]) await changer.fill([x, y, w, h], colour);
  });
}

async function movePointerAbout(where, places) {
  for (const [x, y] of places) {
    await changeAndLook(`the pointer at ${x}, ${y} ${where}`, () => changer.movePointer(x, y));
  }
}

test('the first picture is the screen', async () => {
  await until('the picture', async () => (await page.pictureSize())[0] === width);
  await awaitTheScreenOnThePage('the first picture');
});

test('small changes arrive, and nothing else changes', async () => {
  for (const what of Object.keys(smallChanges)) await make(what, 'at first');
});

test('a pointer that moves leaves nothing behind', async () => {
  const last = [width - 20, height - 20];
  await movePointerAbout('at first', [[300, 200], [306, 204], [5, 5], last, [500, 150]]);
});

test('many changes that follow each other at once end in the screen as it is', async () => {
  for (let i = 0; i < 300; ++i) {
    const place = [(i * 397) % (width - 20), (i * 211) % (height - 20), 8 + (i % 13), 8 + (i % 11)];
    await changer.fill(place, i % 2 === 0 ? ink : paper);
    if (i % 5 === 0) await changer.movePointer((i * 89) % width, (i * 53) % height);
  }
  await awaitTheScreenOnThePage('the last of many changes');
});

test('another quality is one of the whole picture, and changes go on from there', async () => {
  for (const quality of [50, 90]) {
    await changer.desktop(quality);
    await page.apply({ jpeg_quality: quality });
    await awaitTheScreenOnThePage(`quality ${quality}`);
    await make('a column as high as the screen', `at quality ${quality}`);
    await make('three places at once', `at quality ${quality}`);
  }
});

test('another size is one of the whole picture, and changes go on from there', async () => {
  for (const maxWidth of [640, 1920, 700]) {
    await changer.desktop(maxWidth);
    await page.apply({ max_width: maxWidth });
    await until('the size', async () => (await page.pictureSize())[0] === Math.min(maxWidth, width));
    await awaitTheScreenOnThePage(`the picture of at most ${maxWidth} columns`);
    await make('a column as high as the screen', `at ${maxWidth} columns`);
    await movePointerAbout(`at ${maxWidth} columns`, [[200, 300], [206, 304]]);
  }
});

test('a page that comes later sees the whole screen at once', async () => {
  await changer.fill([700, 500, 40, 40], ink);
  await page.close();
  page = await HostPage.open(host.address);
  await page.awaitState('live');
  await awaitTheScreenOnThePage('the screen to another page');
  assert.deepEqual(page.complaints, []);
});
