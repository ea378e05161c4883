// The page on the very screen that it controls.

import assert from 'node:assert/strict';
import {beforeEach, test} from 'node:test';

import {FeedbackLoopDetector} from '../../page/feedback.js';

const screen = {width: 1001, height: 501};
let watch;

beforeEach(() => {
  watch = new FeedbackLoopDetector();
});

test('a key that comes down again sooner than any keyboard repeats is a feedback loop', () => {
  assert.ok(!watch.keyDown('KeyA', 1000));
  assert.ok(watch.keyDown('KeyA', 1008));
});

test('repeats and quick typing are none', () => {
  assert.ok(!watch.keyDown('KeyA', 1000));
  assert.ok(!watch.keyDown('KeyB', 1001));
  for (const now of [1250, 1280, 1310]) assert.ok(!watch.keyDown('KeyA', now));
  watch.keyUp('KeyA');
  assert.ok(!watch.keyDown('KeyA', 1315));
  watch.forget();
  assert.ok(!watch.keyDown('KeyA', 1316));
});

const send = (x, y) => watch.sent({action: 'mouseMove', x, y});
const pointerAt = (x, y, now) => watch.pointerAt({x, y}, screen, now);

test('a pointer that jumps to where it was sent, twice, is a feedback loop', () => {
  assert.ok(!pointerAt(800, 100, 0));
  send(0.5, 0.5);
  assert.ok(!pointerAt(501, 249, 10));
  send(0.1, 0.9);
  assert.ok(pointerAt(100, 450, 20));
});

test('two such jumps long apart are chance', () => {
  pointerAt(800, 100, 0);
  send(0.5, 0.5);
  pointerAt(500, 250, 10);
  send(0.1, 0.9);
  assert.ok(!pointerAt(100, 450, 20_000));
});

test('a picture that fills the screen sends the pointer where it is, which is no jump', () => {
  for (let step = 0; step <= 100; ++step) {
    assert.ok(!pointerAt(step * 10, step * 5, step));
    send(step / 100, step / 100);
  }
});

test('jumps elsewhere are none', () => {
  pointerAt(800, 100, 0);
  send(0.5, 0.5);
  for (const x of [400, 600, 400, 600]) assert.ok(!pointerAt(x, 250, 10));
});
