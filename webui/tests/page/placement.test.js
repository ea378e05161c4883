// Where the supporter points at in the shared screen.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {pictureBox, placeInPicture} from '../../page/placement.js';

const fullHd = {width: 1920, height: 1080};

// The pixel of the shared screen that the host makes of a place; see the host's own mapping.
const pixelOf = ({x, y}, {width, height}) => [
  Math.round(x * (width - 1)),
  Math.round(y * (height - 1)),
];

test('a picture of other proportions leaves bars above and below', () => {
  const box = pictureBox({left: 10, top: 20, width: 960, height: 640}, fullHd);
  assert.deepEqual(box, {left: 10, top: 70, width: 960, height: 540});
});

test('a picture of other proportions leaves bars left and right', () => {
  const box = pictureBox({left: 0, top: 0, width: 1000, height: 270}, fullHd);
  assert.deepEqual(box, {left: 260, top: 0, width: 480, height: 270});
});

test('every pixel of a picture in its own size is hit exactly', () => {
  const picture = {width: 641, height: 3};
  for (const left of [0, 100, 99.6, 100.4]) {
    const box = {left, top: 0, width: 641, height: 3};
    const shownAt = Math.round(left); // browsers begin pictures at whole pixels
    for (let column = 0; column < picture.width; ++column) {
      const place = placeInPicture(box, picture, {x: shownAt + column, y: 1}, {clamped: true});
      assert.deepEqual(pixelOf(place, picture), [column, 1], `${column} from ${left}`);
    }
  }
});

test('of a picture shown smaller, a pixel beneath the pointer is hit', () => {
  const box = {left: 0, top: 0, width: 640, height: 360};
  for (let x = 0; x < 640; ++x) {
    const [column] = pixelOf(placeInPicture(box, fullHd, {x, y: 0}), fullHd);
    assert.ok(column >= 3 * x && column < 3 * (x + 1), `${x}: ${column}`);
  }
});

test('of a picture shown larger, the pixel beneath the pointer is hit', () => {
  const picture = {width: 100, height: 50};
  const box = {left: 0, top: 0, width: 300, height: 150};
  for (let x = 0; x < 300; ++x) {
    const [column] = pixelOf(placeInPicture(box, picture, {x, y: 0}), picture);
    assert.equal(column, Math.floor(x / 3));
  }
});

test('half pixels of a fine screen count', () => {
  const picture = {width: 200, height: 200};
  const box = {left: 0, top: 0, width: 100, height: 100};
  const place = placeInPicture(box, picture, {x: 50.5, y: 0}, {pixelSide: 0.5});
  assert.deepEqual(pixelOf(place, picture), [101, 0]);
});

test('the corners are 0 and 1', () => {
  const box = {left: 5, top: 5, width: 1920, height: 1080};
  assert.deepEqual(placeInPicture(box, fullHd, {x: 5, y: 5}), {x: 0, y: 0});
  assert.deepEqual(placeInPicture(box, fullHd, {x: 1924, y: 1084}), {x: 1, y: 1});
});

test('outside of the picture there is no place', () => {
  const box = {left: 100, top: 100, width: 192, height: 108};
  for (const [x, y] of [[99, 150], [292, 150], [150, 99], [150, 208], [-1e9, 1e9]]) {
    assert.equal(placeInPicture(box, fullHd, {x, y}), null, `${x},${y}`);
  }
});

test('while a button is held the nearest edge counts', () => {
  const box = {left: 100, top: 100, width: 192, height: 108};
  const clamped = (x, y) => placeInPicture(box, fullHd, {x, y}, {clamped: true});
  assert.equal(clamped(0, 150).x, 0);
  assert.equal(clamped(1e9, 150).x, 1);
  assert.deepEqual(clamped(-5, 1000), {x: 0, y: 1});
});

test('a picture of one pixel has one place', () => {
  const box = {left: 0, top: 0, width: 50, height: 50};
  assert.deepEqual(placeInPicture(box, {width: 1, height: 1}, {x: 49, y: 10}), {x: 0, y: 0});
});

test('a picture that is not on show has none', () => {
  const box = pictureBox({left: 0, top: 0, width: 0, height: 0}, fullHd);
  assert.equal(placeInPicture(box, fullHd, {x: 0, y: 0}, {clamped: true}), null);
});
