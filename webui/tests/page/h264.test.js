// What the page reads in a payload of H.264 before a decoder sees it.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {codecOf, isH264, parsePayload} from '../../page/h264.js';

const parameters = [0, 0, 0, 1, 0x67, 0x4d, 0x40, 0x28, 0xec];
const picture = [0, 0, 0, 1, 0x65, 0x88, 0x84];
const header = [0x51, 0x4e, 0x48, 0x32, 1, 0, 0x07, 0x80, 0x04, 0x38, 0, 0];
const bytes = (...parts) => new Uint8Array(parts.flat()).buffer;
const headerWith = (index, value) => header.map((byte, at) => (at === index ? value : byte));

test('the header tells size and kind, and the stream its codec', () => {
  const payload = parsePayload(bytes(header, parameters, picture));
  assert.equal(payload.isKey, true);
  assert.deepEqual([payload.width, payload.height], [1920, 1080]);
  assert.equal(payload.codec, 'avc1.4d4028');
  assert.deepEqual([...payload.stream], [...parameters, ...picture]);
});

test('only a flag of 1 makes a key frame', () => {
  for (const flag of [0, 2, 255]) {
    assert.equal(parsePayload(bytes(headerWith(4, flag), parameters)).isKey, false);
  }
});

test('the largest size is read', () => {
  const {width, height} = parsePayload(
    bytes([...header.slice(0, 6), 0xff, 0xff, 0xff, 0xfe, 0, 0], parameters),
  );
  assert.deepEqual([width, height], [65535, 65534]);
});

test('a size of nothing is no picture', () => {
  assert.equal(parsePayload(bytes([...header.slice(0, 6), 0, 0, 4, 0x38, 0, 0], parameters)), null);
  assert.equal(parsePayload(bytes([...header.slice(0, 6), 4, 0x38, 0, 0, 0, 0], parameters)), null);
});

test('every payload that is cut short before its parameters end is refused', () => {
  const whole = [...header, ...parameters.slice(0, 8)];
  for (let length = 0; length < whole.length; ++length) {
    assert.equal(parsePayload(bytes(whole.slice(0, length))), null, `${length} bytes`);
  }
  assert.notEqual(parsePayload(bytes(whole)), null);
});

test('another magic is not H.264', () => {
  assert.ok(isH264(bytes(header)));
  for (let index = 0; index < 4; ++index) {
    const other = bytes(headerWith(index, 0), parameters);
    assert.ok(!isH264(other));
    assert.equal(parsePayload(other), null);
  }
  assert.ok(!isH264(bytes([0xff, 0xd8, 0xff, 0xe0])));
  assert.ok(!isH264(bytes()));
});

test('the parameters are found behind other units and short start codes', () => {
  const delimiter = [0, 0, 0, 1, 0x09, 0x10];
  const short = [0, 0, 1, 0x27, 0x64, 0x00, 0x0a];
  assert.equal(codecOf(new Uint8Array([...delimiter, ...parameters])), 'avc1.4d4028');
  assert.equal(codecOf(new Uint8Array([...delimiter, ...short])), 'avc1.64000a');
});

test('what only looks like parameters is none', () => {
  const notAtAStart = [0, 0, 0, 1, 0x65, 0x67, 0x4d, 0x40, 0x28];
  const forbiddenBit = [0, 0, 0, 1, 0xe7, 0x4d, 0x40, 0x28];
  const otherUnit = [0, 0, 0, 1, 0x68, 0x4d, 0x40, 0x28];
  for (const stream of [notAtAStart, forbiddenBit, otherUnit, [], [0], [0, 0, 1], [1, 1, 1, 1, 0x67]]) {
    assert.equal(codecOf(new Uint8Array(stream)), null, String(stream));
  }
});

test('a stream of start codes alone comes to an end', () => {
  const codes = Array.from({length: 3000}, (_, index) => (index % 3 === 2 ? 1 : 0));
  assert.equal(codecOf(new Uint8Array(codes)), null);
});
