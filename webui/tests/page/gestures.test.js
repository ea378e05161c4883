// What fingers on the picture are taken for.

import assert from 'node:assert/strict';
import {beforeEach, test} from 'node:test';

import {Gestures, longPressMs} from '../../page/gestures.js';

// Time as the test tells it.
class Clock {
  now = 0;
  #timers = new Map();

  setTimeout(act, ms) {
    const id = this.#timers.size + 1;
    this.#timers.set(id, {act, at: this.now + ms});
    return id;
  }

  clearTimeout(id) {
    if (id) this.#timers.get(id).at = Infinity;
  }

  pass(ms) {
    this.now += ms;
    for (const timer of this.#timers.values()) {
      if (timer.at > this.now) continue;
      timer.at = Infinity;
      timer.act();
    }
  }
}

let clock;
let done;
let gestures;

beforeEach(() => {
  clock = new Clock();
  done = [];
  const names = ['tapped', 'pressedLong', 'moved', 'aimed', 'scrolled', 'pinched'];
  const record = (name) => [name, (...values) => done.push([name, ...values])];
  gestures = new Gestures(Object.fromEntries(names.map(record)), clock);
});

const at = (clientX, clientY, pointerId = 1) => ({pointerId, clientX, clientY, timeStamp: clock.now});

function tap(x, y) {
  gestures.down(at(x, y));
  clock.pass(50);
  gestures.up(at(x, y));
}

test('a short touch is a tap, even by a finger that trembles', () => {
  gestures.down(at(10, 20));
  gestures.move(at(14, 23));
  clock.pass(longPressMs - 1);
  gestures.up(at(14, 23));
  assert.deepEqual(done, [['tapped', {x: 10, y: 20}, 1]]);
});

test('taps that follow each other soon and near are counted at the place of the first', () => {
  tap(10, 20);
  clock.pass(100);
  tap(30, 20);
  clock.pass(100);
  tap(90, 20);
  clock.pass(1000);
  tap(90, 20);
  const taps = done.map(([, {x}, count]) => [x, count]);
  assert.deepEqual(taps, [[10, 1], [10, 2], [90, 1], [90, 1]]);
});

test('a long touch is a long press, at once and not a tap as well', () => {
  gestures.down(at(10, 20));
  clock.pass(longPressMs);
  assert.deepEqual(done, [['pressedLong', {x: 10, y: 20}]]);
  gestures.move(at(90, 20));
  gestures.up(at(90, 20));
  assert.equal(done.length, 1);
});

test('a finger that moves is neither a tap nor a long press', () => {
  gestures.down(at(0, 0));
  gestures.move(at(20, 0));
  clock.pass(longPressMs);
  gestures.move(at(25, 5));
  gestures.up(at(25, 5));
  assert.deepEqual(done, [
    ['moved', {x: 20, y: 0}, {x: 20, y: 0}, 1],
    ['moved', {x: 25, y: 5}, {x: 5, y: 5}, 1],
  ]);
});

test('two fingers that move together scroll where they began', () => {
  gestures.down(at(0, 0));
  gestures.down(at(100, 0, 2));
  gestures.move(at(0, 30));
  gestures.move(at(100, 30, 2));
  assert.deepEqual(done, [
    ['aimed', {x: 50, y: 0}],
    ['scrolled', {x: 50, y: 15}, {x: 0, y: 15}, done[1][3]],
    ['scrolled', {x: 50, y: 30}, {x: 0, y: 15}, done[2][3]],
  ]);
});

test('two fingers that move apart enlarge around their middle', () => {
  gestures.down(at(0, 0));
  gestures.down(at(100, 0, 2));
  gestures.move(at(-50, 0));
  gestures.move(at(150, 0, 2));
  const factor = done.reduce((product, [, , , each]) => product * each, 1);
  assert.deepEqual(done.map(([name]) => name), ['pinched', 'pinched']);
  assert.equal(factor, 2);
  assert.deepEqual(done[1][1], {x: 50, y: 0});
});

test('after two fingers the one that stays does nothing until it is lifted', () => {
  gestures.down(at(0, 0));
  gestures.down(at(100, 0, 2));
  clock.pass(longPressMs);
  gestures.up(at(100, 0, 2));
  gestures.move(at(50, 50));
  gestures.up(at(50, 50));
  assert.deepEqual(done, []);
  tap(10, 10);
  assert.deepEqual(done, [['tapped', {x: 10, y: 10}, 1]]);
});

test('what the browser takes over is no gesture', () => {
  gestures.down(at(0, 0));
  gestures.cancel(at(0, 0));
  clock.pass(longPressMs);
  assert.deepEqual(done, []);
});
