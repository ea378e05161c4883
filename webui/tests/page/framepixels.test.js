// How decoded video comes to be pixels.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {FramePixels} from '../../page/framepixels.js';

globalThis.ImageData = class {
  constructor(width, height) {
    Object.assign(this, {width, height, data: new Uint8ClampedArray(width * height * 4)});
  }
};

class FakeFrame {
  constructor(value, format = 'I420') {
    Object.assign(this, {value, format, asked: null});
  }

  async copyTo(bytes, options) {
    this.asked = options;
    bytes.fill(this.value);
  }
}

test('pixels are those of the picture within the frame', async () => {
  const frame = new FakeFrame(7);
  const image = await new FramePixels().of(frame, [3, 2]);
  assert.deepEqual([image.width, image.height], [3, 2]);
  assert.deepEqual([...image.data], Array(24).fill(7));
  assert.deepEqual(frame.asked, {format: 'RGBX', rect: {x: 0, y: 0, width: 3, height: 2}});
});

test('memory is used again until the size changes', async () => {
  const pixels = new FramePixels();
  const first = await pixels.of(new FakeFrame(1), [4, 4]);
  assert.equal(await pixels.of(new FakeFrame(2), [4, 4]), first);
  assert.equal(first.data[0], 2);
  for (const size of [[4, 2], [2, 2], [4, 4]]) {
    const image = await pixels.of(new FakeFrame(3), size);
    assert.deepEqual([image.width, image.height], size);
  }
});

test('what is not in memory, or cannot be converted, is left to be drawn', async () => {
  const pixels = new FramePixels();
  for (const format of [null, 'NV12']) {
    const frame = new FakeFrame(1, format);
    assert.equal(await pixels.of(frame, [2, 2]), null);
    assert.equal(frame.asked, null);
  }
  const frame = new FakeFrame(1);
  frame.copyTo = () => Promise.reject(new DOMException('no', 'NotSupportedError'));
  assert.equal(await pixels.of(frame, [2, 2]), null);
});
