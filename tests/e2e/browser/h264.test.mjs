// The picture as H.264, from the screen through the host into a real browser, and what the page
// does where the browser has no decoder. The tests build on one another.

import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { after, before, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { Payloads, decodeWithFfmpeg } from './support/Payloads.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { artifacts, program } from './support/built.mjs';
import { until } from './support/until.mjs';

const screenSize = [1001, 751]; // which no encoder takes as it is
const places = [
  [0.1, 0.9],
  [0.9, 0.9],
  [0.999, 0.999],
];
const windowPlace = [935 / screenSize[0], 315 / screenSize[1]]; // beside the host's own window
const levels = 4;
// None far from grey in blue: without a GPU, Chromium takes such colours for less saturated ones.
const navy = [0, 0, 128];
const colours = {
  slategray: [112, 128, 144],
  tomato: [255, 99, 71],
  seagreen: [46, 139, 87],
  white: [255, 255, 255],
};

let screen;
let host;
let page;
let payloads;
let decodes; // whether the browser of the page that is open shows H.264

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(...screenSize);
  screen.paint('slategray');
  screen.open('xlogo', '-geometry', '120x200+875+300', '-fg', 'darkred', '-bg', 'white');
  host = await Host.start(program, screen.environment);
  await openPage();
  if (!decodes) console.log('This Chromium decodes no H.264: the payloads are checked with ffmpeg.');
});

after(async () => {
  await page?.close();
  await host?.destroy();
  await screen?.stop();
});

async function openPage({ withoutDecoder = false } = {}) {
  payloads = new Payloads();
  page = await HostPage.open(host.address, {
    prepare: async (browserPage) => {
      await payloads.watch(browserPage);
      if (withoutDecoder) {
        await browserPage.addInitScript(() => {
          delete globalThis.VideoDecoder;
        });
      }
    },
  });
  decodes = await page.page.evaluate(async () => {
    const asked = { codec: 'avc1.4d4028', optimizeForLatency: true };
    const answer = globalThis.VideoDecoder && (await VideoDecoder.isConfigSupported(asked));
    return answer?.supported === true;
  });
}

async function chooseH264(maxWidth) {
  await page.page.fill('#settings-form [name=max_width]', String(maxWidth));
  await page.page.selectOption('#codec', 'h264');
  await page.page.click('#apply-settings');
  if (decodes) return;
  await until('the word that JPEG comes instead', async () =>
    /cannot show H\.264.*JPEG instead/.test(await page.text('#settings-result')),
  );
}

// For a page that has turned H.264 into JPEG since.
async function paint(colour) {
  screen.paint(colour);
  if (!decodes) await chooseH264(1920);
}

const isNear = (one, other) => one.every((part, index) => Math.abs(part - other[index]) <= levels);

// On the page where its browser can, otherwise in what the host sent it.
async function awaitColour([x, y], wanted) {
  if (decodes) {
    await page.awaitColour(x, y, wanted, levels);
    return;
  }
  let last;
  await until(`the colour ${wanted} in a payload`, () => {
    last = payloads.newestH264 && decodeWithFfmpeg(payloads.newestH264).colourAt(x, y);
    return last && isNear(last, wanted);
  }).catch((error) => {
    throw new Error(`${error.message} (saw ${last})`);
  });
}

async function awaitScreen(colour) {
  for (const place of places) await awaitColour(place, colours[colour]);
  await awaitColour(windowPlace, colours.white);
}

test('a session begins with JPEG, and the statistics say so', async () => {
  await page.allow();
  await page.page.click('#toggle-stats');
  await until('the format', async () => (await page.text('#stats-format')) === 'JPEG');
});

test('H.264 that is chosen on the page shows the screen as it is', async () => {
  await chooseH264(1920);
  await until('a payload', () => payloads.newestH264 !== null);
  await awaitScreen('slategray');
  if (!decodes) return;
  await until('the format', async () => (await page.text('#stats-format')) === 'H.264');
  assert.deepEqual(await page.pictureSize(), screenSize);
  assert.match(await page.text('#settings-result'), /^Applied/);
});

test('changes of the screen arrive as H.264', async () => {
  for (const colour of ['tomato', 'seagreen', 'slategray']) {
    await paint(colour);
    await awaitScreen(colour);
  }
  if (!decodes) return;
  assert.equal(await page.text('#stats-format'), 'H.264');
  await until('the bit rate', async () => Number(await page.text('#stats-bits')) > 0);
  assert.equal(await page.page.getAttribute('#picture-badge', 'data-state'), 'live');
  await page.page.locator('#stage').screenshot({ path: `${artifacts}h264.png` });
});

test('what the page is sent is a picture for other decoders, too', async () => {
  await paint('navy');
  await until('the picture', () => {
    const { width, height, colourAt } = decodeWithFfmpeg(payloads.newestH264);
    assert.deepEqual([width, height], screenSize);
    return places.every(([x, y]) => isNear(colourAt(x, y), navy));
  });
});

test('payloads that are no picture are given up and acknowledged, and the next one comes', async () => {
  const whole = payloads.newestH264;
  const bad = {
    nothing: [],
    'half a magic': whole.subarray(0, 2),
    'a header alone': whole.subarray(0, 12),
    'another magic': Buffer.concat([Buffer.from('QNH3'), whole.subarray(4)]),
    'a size of nothing': Buffer.concat([whole.subarray(0, 6), Buffer.alloc(6), whole.subarray(12)]),
    'a size beyond the picture': Buffer.concat([
      whole.subarray(0, 6),
      Buffer.alloc(4, 255),
      whole.subarray(10),
    ]),
    'parameters alone': whole.subarray(0, 40),
    'parameters and noise': Buffer.concat([whole.subarray(0, 40), Buffer.alloc(5000, 0x5a)]),
    'no start code': Buffer.concat([whole.subarray(0, 12), Buffer.alloc(5000, 0x5a)]),
    'half a JPEG file': Buffer.from([0xff, 0xd8, 0xff, 0xe0, 0, 16]),
  };
  for (const [what, bytes] of Object.entries(bad)) {
    payloads.slip(bytes);
    await until(`the answer to ${what}`, () => payloads.acknowledged > 0);
  }
  await paint('seagreen');
  await awaitScreen('seagreen');
  assert.deepEqual(page.complaints, []);
});

test('a browser without a decoder that comes to such a session turns it into JPEG', async () => {
  await page.close();
  await openPage({ withoutDecoder: true });
  await page.awaitState('live');
  await page.page.click('#toggle-stats');
  await until('the format', async () => (await page.text('#stats-format')) === 'JPEG');
  await page.awaitColour(0.1, 0.9, colours.seagreen);
  payloads.calls = [];
});

test('H.264 that is chosen there comes as JPEG, with the settings in force, and it says so', async () => {
  await chooseH264(800);
  await until('the format', async () => (await page.text('#stats-format')) === 'JPEG');
  await until('the size that was asked for', async () => (await page.pictureSize())[0] === 800);
  screen.paint('tomato');
  await page.awaitColour(0.1, 0.9, colours.tomato);
  assert.equal(await page.page.inputValue('#codec'), 'jpeg');
  assert.equal(await page.page.inputValue('#max-width'), '800');
  await page.screenshot(`${artifacts}h264-fallback.png`);
});

test('it asked the host once, and for nothing but the codec', () => {
  const settings = payloads.callsOf('configureStream').map(({ args }) => args);
  assert.equal(settings.length, 2);
  assert.equal(settings[0].codec, 'h264');
  assert.deepEqual(settings[1], { ...settings[0], codec: 'jpeg' });
});

test('a host that refuses JPEG is asked once, however many pictures come that cannot be shown', async () => {
  payloads.calls = [];
  payloads.refuses = ({ method, arguments: args }) =>
    method === 'configureStream' && args.codec === 'jpeg';
  await page.page.selectOption('#codec', 'h264');
  await page.page.click('#apply-settings');
  for (const colour of ['seagreen', 'slategray', 'tomato']) {
    payloads.newestH264 = null;
    screen.paint(colour);
    await until('a payload', () => payloads.newestH264 !== null);
    payloads.acknowledged = 0;
    payloads.slip(payloads.newestH264);
    await until('the answer to it', () => payloads.acknowledged > 0);
  }
  await until('the word of it', () => page.page.isVisible('#notice'));
  assert.match(await page.text('#notice'), /cannot show H\.264/);
  const codecs = payloads.callsOf('configureStream').map(({ args }) => args.codec);
  assert.deepEqual(codecs, ['h264', 'jpeg']);
  payloads.refuses = () => false;
});

test('choosing H.264 again is taken as it was the first time', async () => {
  payloads.calls = [];
  await chooseH264(640);
  assert.equal(payloads.callsOf('configureStream').length, 2);
  await until('the smaller picture', async () => (await page.pictureSize())[0] === 640);
  assert.deepEqual(page.complaints, []);
});
