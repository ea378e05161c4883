// What the page makes of whole files and of what has changed in them.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {KeptFile, gridOf, isDelta, isJpeg, rectsOf, segmentsOf} from '../../page/framedelta.js';

// A file of 8 by 6 segments, each of 2 by 1 units of 16 pixels, whose last ones are cut.
const across = 8;
const down = 6;
const [width, height] = [across * 32 - 5, down * 16 - 3];
const header = [
  ...[0xff, 0xd8, 0xff, 0xfe, 0, 4, 1, 2],
  ...[0xff, 0xc0, 0, 17, 8, 0, height, 0, width, 3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1],
  ...[0xff, 0xdd, 0, 4, 0, 2, 0xff, 0xda, 0, 12, 3, 1, 0, 2, 0, 3, 0, 0, 63, 0],
];
const plain = () => Array.from({length: across * down}, (_, index) => [index, 0xff, 0, index]);
const end = (index, count) => [0xff, index === count - 1 ? 0xd9 : 0xd0 + (index % 8)];
const fileOf = (segments, head = header) =>
  new Uint8Array([
    ...head,
    ...segments.flatMap((segment, index) => [...segment, ...end(index, segments.length)]),
  ]).buffer;

const word = (number) => [number >>> 24, (number >>> 16) & 255, (number >>> 8) & 255, number & 255];
const count = across * down;
function deltaOf(changes, {base = 1, segments = count, said = changes.length} = {}) {
  const entries = changes.map(([index, bytes]) => [index, [...bytes, ...end(index, count)]]);
  return new Uint8Array([
    ...[0x51, 0x4e, 0x44, 0x4a, ...word(base), ...word(segments), ...word(said)],
    ...entries.flatMap(([index, bytes]) => [...word(index), ...word(bytes.length)]),
    ...entries.flatMap(([, bytes]) => bytes),
  ]).buffer;
}

function kept() {
  const file = new KeptFile();
  file.replace(fileOf(plain()), 1);
  return file;
}

const joined = (pieces) => pieces.flatMap((piece) => [...piece]);
const whole = (file) => joined(file.snapshot());

test('payloads are told apart by their first bytes', () => {
  assert.ok(isDelta(deltaOf([])) && !isJpeg(deltaOf([])));
  assert.ok(isJpeg(fileOf(plain())) && !isDelta(fileOf(plain())));
  for (const bytes of [[], [0xff], [0x51, 0x4e, 0x48, 0x32]]) {
    const {buffer} = new Uint8Array(bytes);
    assert.ok(!isDelta(buffer) && !isJpeg(buffer));
  }
});

test('the grid is read from the header', () => {
  const grid = gridOf(new Uint8Array(fileOf(plain())));
  assert.deepEqual([grid.width, grid.height], [width, height]);
  assert.deepEqual([grid.segmentWidth, grid.segmentHeight], [32, 16]);
  assert.deepEqual([grid.across, grid.down, grid.headerBytes], [across, down, header.length]);
  const segments = segmentsOf(new Uint8Array(fileOf(plain())), grid);
  assert.equal(segments.length, count);
  assert.deepEqual([...segments[9]], [9, 0xff, 0, 9, 0xff, 0xd1]);
});

test('a delta makes the next file, and another builds on that', () => {
  const file = kept();
  const segments = plain();
  for (const [number, index] of [[2, 0], [3, 17], [4, 47]]) {
    segments[index] = [number, number, number];
    file.apply(deltaOf([[index, segments[index]]], {base: number - 1}), number);
    assert.deepEqual(whole(file), [...new Uint8Array(fileOf(segments))]);
    assert.equal(file.byteLength, fileOf(segments).byteLength);
  }
});

test('a change is decoded with what surrounds it, and drawn a pixel beyond', () => {
  const [piece, ...others] = kept().apply(deltaOf([[2 * across + 3, [99]]]), 2);
  assert.deepEqual(others, []);
  assert.deepEqual(piece.to, [3 * 32 - 1, 2 * 16 - 1]);
  assert.deepEqual(piece.from, [31, 15]);
  assert.deepEqual(piece.size, [34, 18]);
  const small = new Uint8Array(joined(piece.file));
  const grid = gridOf(small);
  assert.deepEqual([grid.width, grid.height, grid.across, grid.down], [96, 48, 3, 3]);
  const middle = segmentsOf(small, grid).map(([first]) => first);
  assert.deepEqual(middle, [10, 11, 12, 18, 99, 20, 26, 27, 28]);
  assert.deepEqual([...small.slice(-2)], [0xff, 0xd9]);
  assert.equal(small.filter((byte, at) => byte === 0xff && small[at + 1] >> 3 === 26).length, 8);
});

test('what reaches the edges keeps the true size', () => {
  const [corner] = kept().apply(deltaOf([[count - 1, [99]]]), 2);
  assert.deepEqual(corner.to, [7 * 32 - 1, 5 * 16 - 1]);
  assert.deepEqual(corner.size, [width - corner.to[0], height - corner.to[1]]);
  const [start] = kept().apply(deltaOf([[0, [99]]]), 2);
  assert.deepEqual([start.from, start.to, start.size], [[0, 0], [0, 0], [33, 17]]);
});

test('distant changes are pieces of their own, and much of the picture is one whole', () => {
  const corners = [0, count - 1].map((index) => [index, [99]]);
  assert.equal(kept().apply(deltaOf(corners), 2).length, 2);
  const all = plain().map((_, index) => [index, [99]]);
  assert.equal(kept().apply(deltaOf(all), 2), null);
  assert.deepEqual(kept().apply(deltaOf([]), 2), []);
});

test('segments become rectangles, or one where they would be too many', () => {
  assert.deepEqual(rectsOf([1, 2, 9, 10, 20], across), [
    {left: 1, top: 0, right: 3, bottom: 2},
    {left: 4, top: 2, right: 5, bottom: 3},
  ]);
  const scattered = [0, 2, 4, 6, 17, 19, 21, 23, 32];
  assert.deepEqual(rectsOf(scattered, across), [{left: 0, top: 0, right: 8, bottom: 5}]);
});

test('what is no delta to the file is refused, and nothing is kept', () => {
  const wrong = {
    'another base': deltaOf([], {base: 2}),
    'another grid': deltaOf([], {segments: count - 1}),
    'more changes than bytes': deltaOf([[1, [1]]], {said: 9}),
    'fewer changes than bytes': deltaOf([[1, [1]], [2, [2]]], {said: 1}),
    'changes out of order': deltaOf([[2, [2]], [1, [1]]]),
    'one change twice': deltaOf([[1, [1]], [1, [1]]]),
    'a segment that is not there': deltaOf([[count, [1]]]),
  };
  for (const [what, delta] of Object.entries(wrong)) {
    const file = kept();
    assert.throws(() => file.apply(delta, 2), RangeError, what);
    assert.throws(() => file.apply(deltaOf([]), 3), RangeError, `nothing is kept after ${what}`);
  }
  assert.throws(() => new KeptFile().apply(deltaOf([], {base: 0}), 1), RangeError);
});

// Bytes of all kinds in the place of those that were sent.
test('whatever comes is taken or refused, and nothing else happens', () => {
  let state = 1;
  const random = (below) => {
    state = (Math.imul(state, 1103515245) + 12345) >>> 0;
    return (state >>> 8) % below;
  };
  let taken = 0;
  for (let round = 0; round < 20_000; ++round) {
    const file = new KeptFile();
    const [base, delta] = [fileOf(plain()), deltaOf([[random(count), [1, 2, 3]], [count - 1, [4]]])];
    const victim = new Uint8Array(random(3) === 0 ? base : delta);
    for (let flips = random(3); flips > 0; --flips) victim[random(victim.length)] = random(256);
    const cut = random(4) === 0 ? delta.slice(0, random(delta.byteLength + 1)) : delta;
    file.replace(base, 1);
    try {
      file.apply(cut, 2);
      ++taken;
    } catch (error) {
      assert.ok(error instanceof RangeError, String(error.stack));
    }
  }
  assert.ok(taken > 1000 && taken < 19_000, String(taken));
});
