// What the overlay tells of the pictures that came lately.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {Statistics} from '../../page/statistics.js';

const costing = (wireBytes) => ({wireBytes, wholeBytes: 2 * wireBytes, decodeMs: 3});

test('without a picture there is nothing', () => {
  const nothing = {perSecond: 0, megabitsPerSecond: 0, each: null};
  assert.deepEqual(new Statistics().over(5000), nothing);
});

test('a steady stream is told as it is, once it fills the last seconds', () => {
  const statistics = new Statistics();
  for (let at = 0; at < 10_000; at += 40) statistics.drawn(costing(25_000), at);
  // 75 pictures in three seconds.
  assert.deepEqual(statistics.over(9999), {perSecond: 25, megabitsPerSecond: 5, each: costing(25_000)});
});

test('before that only the time since the first picture counts', () => {
  const statistics = new Statistics();
  for (let at = 8000; at < 9000; at += 100) statistics.drawn(costing(50_000), at);
  assert.deepEqual(statistics.over(9000), {perSecond: 10, megabitsPerSecond: 4, each: costing(50_000)});
});

test('a first picture does not count as a flood', () => {
  const statistics = new Statistics();
  statistics.drawn(costing(125_000), 1000);
  assert.equal(statistics.over(1000).megabitsPerSecond, 4);
});

test('pictures of the past are forgotten, by time and by request', () => {
  const statistics = new Statistics();
  statistics.drawn(costing(1000), 1000);
  assert.equal(statistics.over(3999).each.wireBytes, 1000);
  assert.equal(statistics.over(4000).each, null);
  statistics.drawn(costing(1000), 5000);
  statistics.forget();
  assert.equal(statistics.over(5001).each, null);
  statistics.drawn(costing(125_000), 9000);
  assert.equal(statistics.over(9500).megabitsPerSecond, 2);
});
