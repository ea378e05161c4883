// How the page works a browser's decoder, on one that does as the test says.

import assert from 'node:assert/strict';
import {beforeEach, test} from 'node:test';

import {H264Decoder, H264Unsupported} from '../../page/h264decoder.js';

const streamOf = (level, tag) => [0, 0, 0, 1, 0x67, 0x4d, 0x40, level, 0, 0, 0, 1, 0x65, tag];
const headerOf = (key, width) => [0x51, 0x4e, 0x48, 0x32, key, 0, 0, width, 0, 9, 0, 0];

// A payload of a picture that `tag` tells from others.
function payload(tag, {key = 1, width = 16, level = 0x28} = {}) {
  return new Uint8Array([...headerOf(key, width), ...streamOf(level, tag)]).buffer;
}

function fakeBrowser() {
  const log = [];
  const browser = {
    log,
    decoders: [],
    supported: async () => ({supported: true}),
    outputs: ({tag, timestamp}) => [{tag, timestamp, displayWidth: 16, displayHeight: 10}],
    keepsBack: false,
    frames: [],
    EncodedVideoChunk: function EncodedVideoChunk({type, timestamp, data}) {
      Object.assign(this, {type, timestamp, tag: data.at(-1)});
    },
  };
  browser.VideoDecoder = class {
    static isConfigSupported = (configuration) => {
      log.push(`ask ${configuration.codec}`);
      return browser.supported(configuration);
    };
    state = 'unconfigured';
    #init;
    #chunks = [];
    #flushing = null;
    constructor(init) {
      this.#init = init;
      browser.decoders.push(this);
    }
    configure(configuration) {
      log.push(`configure ${configuration.codec}`);
      this.state = 'configured';
    }
    decode(chunk) {
      if (this.state !== 'configured') throw new DOMException('closed', 'InvalidStateError');
      log.push(`${chunk.type} ${chunk.tag}`);
      this.#chunks.push(chunk);
      if (!browser.held && !browser.keepsBack) queueMicrotask(() => this.#putOut());
    }
    flush() {
      log.push('flush');
      return new Promise((resolve, reject) => {
        this.#flushing = {resolve, reject};
        if (browser.held) return;
        this.#putOut();
        resolve();
      });
    }
    #putOut() {
      for (const chunk of this.#chunks.splice(0)) {
        for (const picture of browser.outputs(chunk)) this.output(picture);
      }
    }
    output(picture) {
      const frame = {...picture, closed: false, close: () => (frame.closed = true)};
      browser.frames.push(frame);
      this.#init.output(frame);
    }
    fail(name) {
      const error = new DOMException('failed', name);
      this.state = 'closed';
      this.#flushing?.reject(error);
      this.#init.error(error);
    }
    close() {
      this.state = 'closed';
      this.#flushing?.reject(new DOMException('closed', 'AbortError'));
    }
  };
  return browser;
}

const noTimeoutMs = 0;
const longTimeoutMs = 1_000_000;

// Lets everything go on that waits for nothing but its turn.
const settled = () => new Promise((resolve) => setImmediate(resolve));

let browser;
let decoder;

beforeEach(() => {
  browser = fakeBrowser();
  decoder = new H264Decoder(browser, noTimeoutMs);
});

test('a payload becomes a picture of the size in its header', async () => {
  const {image, width, height} = await decoder.decode(payload(7, {width: 15}));
  assert.deepEqual([image.tag, image.closed, width, height], [7, false, 15, 9]);
  assert.deepEqual(browser.log, ['ask avc1.4d4028', 'configure avc1.4d4028', 'key 7']);
});

test('the decoder is set up again only for another codec or size', async () => {
  for (const options of [{}, {}, {level: 0x2a}, {level: 0x2a, width: 8}]) {
    assert.notEqual(await decoder.decode(payload(1, options)), null);
  }
  const configured = browser.log.filter((line) => line.startsWith('configure'));
  assert.deepEqual(configured, [
    'configure avc1.4d4028',
    'configure avc1.4d402a',
    'configure avc1.4d402a',
  ]);
  assert.equal(browser.decoders.length, 1);
});

test('pictures come out in the order in which payloads went in', async () => {
  const tags = [1, 2, 3];
  const pictures = await Promise.all(tags.map((tag) => decoder.decode(payload(tag))));
  assert.deepEqual(pictures.map(({image}) => image.tag), tags);
});

test('what is no picture by itself never reaches the decoder', async () => {
  const junk = [payload(1, {key: 0}), new ArrayBuffer(0), payload(1).slice(0, 14)];
  for (const bytes of junk) assert.equal(await decoder.decode(bytes), null);
  assert.deepEqual(browser.log, []);
});

test('a decoder that gives nothing gives up the picture, and the next one comes', async () => {
  browser.outputs = () => [];
  assert.equal(await decoder.decode(payload(1)), null);
  browser.outputs = ({tag, timestamp}) => [{tag, timestamp, displayWidth: 16, displayHeight: 10}];
  assert.equal((await decoder.decode(payload(2))).image.tag, 2);
});

test('a decoder that gives its pictures by itself is never flushed', async () => {
  decoder = new H264Decoder(browser, longTimeoutMs);
  for (const tag of [1, 2, 3]) await decoder.decode(payload(tag));
  assert.ok(!browser.log.includes('flush'));
});

test('one that keeps them back is flushed, later on without waiting', async () => {
  browser.keepsBack = true;
  for (const tag of [1, 2, 3]) {
    const picture = decoder.decode(payload(tag));
    if (tag > 1) {
      await settled();
      assert.deepEqual(browser.log.slice(-2), [`key ${tag}`, 'flush']);
    }
    assert.equal((await picture).image.tag, tag);
  }
});

test('a picture smaller than its header says is closed and given up', async () => {
  assert.equal(await decoder.decode(payload(1, {width: 17})), null);
  assert.ok(browser.frames[0].closed);
});

test('a picture that nobody waits for is closed', async () => {
  const size = {displayWidth: 16, displayHeight: 10};
  browser.outputs = ({timestamp}) =>
    [timestamp - 1, timestamp, timestamp].map((each, tag) => ({tag, timestamp: each, ...size}));
  assert.equal((await decoder.decode(payload(1))).image.tag, 1);
  assert.deepEqual(browser.frames.map(({closed}) => closed), [true, false, true]);
});

test('after an error the next payload gets a new decoder', async () => {
  browser.held = true;
  const failing = decoder.decode(payload(1));
  await settled();
  browser.decoders[0].fail('EncodingError');
  browser.held = false;
  assert.equal(await failing, null);
  assert.equal((await decoder.decode(payload(2))).image.tag, 2);
  assert.equal(browser.decoders.length, 2);
});

test('a reset gives up what is under way and closes what comes of it', async () => {
  browser.held = true;
  const old = decoder.decode(payload(1));
  const waiting = decoder.decode(payload(2));
  await settled();
  decoder.reset();
  assert.equal(await old, null);
  assert.equal(await waiting, null);
  browser.held = false;
  browser.decoders[0].output({timestamp: 0, displayWidth: 16, displayHeight: 10});
  assert.ok(browser.frames[0].closed);
  assert.equal((await decoder.decode(payload(3))).image.tag, 3);
});

test('a browser without a decoder is told from a bad payload', async () => {
  const without = new H264Decoder({});
  assert.equal(await without.decode(new ArrayBuffer(3)), null);
  await assert.rejects(without.decode(payload(1)), H264Unsupported);
  await assert.rejects(without.decode(payload(2)), H264Unsupported);
});

test('a decoder that does not know the codec is as good as none', async () => {
  browser.supported = async () => ({supported: false});
  await assert.rejects(decoder.decode(payload(1)), H264Unsupported);
  browser.supported = async () => {
    throw new TypeError('not a codec');
  };
  await assert.rejects(decoder.decode(payload(1)), H264Unsupported);
  assert.equal(browser.decoders.length, 0);
});

test('so is one that finds out when it is to begin', async () => {
  browser.held = true;
  const picture = decoder.decode(payload(1));
  await settled();
  browser.decoders[0].fail('NotSupportedError');
  await assert.rejects(picture, H264Unsupported);
});
