// Turns of the wheel.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {Wheel} from '../../page/wheel.js';

const turn = (fields) => ({deltaX: 0, deltaY: 0, deltaMode: 0, shiftKey: false, ...fields});
const taken = (fields) => new Wheel().take(turn(fields), 500);

test('down and right in the browser are negative for the host', () => {
  assert.deepEqual(taken({deltaY: 120}), {dx: 0, dy: -120});
  assert.deepEqual(taken({deltaY: -120}), {dx: 0, dy: 120});
  assert.deepEqual(taken({deltaX: 30}), {dx: -30, dy: 0});
  assert.deepEqual(taken({deltaX: -30, deltaY: 5}), {dx: 30, dy: -5});
});

test('lines and pages become pixels', () => {
  assert.deepEqual(taken({deltaMode: 1, deltaY: 3}), {dx: 0, dy: -100});
  assert.deepEqual(taken({deltaMode: 2, deltaX: -1}), {dx: 500, dy: 0});
});

test('parts of pixels add up and nothing is lost', () => {
  const wheel = new Wheel();
  let sum = 0;
  for (let time = 0; time < 1000; ++time) sum += wheel.take(turn({deltaY: 0.25}), 500)?.dy ?? 0;
  assert.equal(sum, -250);
  assert.equal(wheel.take(turn({deltaY: 0.5}), 500), null);
  wheel.forget();
  assert.equal(wheel.take(turn({deltaY: 0.75}), 500), null);
});

test('a turn that the browser laid across for Shift is laid back', () => {
  assert.deepEqual(taken({deltaX: 120, shiftKey: true}), {dx: 0, dy: -120});
  assert.deepEqual(taken({deltaX: 120, deltaY: 1, shiftKey: true}), {dx: -120, dy: -1});
});

test('what is no number turns nothing', () => {
  assert.equal(taken({deltaX: NaN, deltaY: Infinity}), null);
});
