// What the host is told of the supporter's mouse.

import assert from 'node:assert/strict';
import {beforeEach, test} from 'node:test';

import {Pointer} from '../../page/pointer.js';
import {RecordedInput} from './recordedinput.js';

// A picture of 101 by 51 pixels in its own size, at 1000,500 with bars of 20 left and right.
const canvas = {
  width: 101,
  height: 51,
  getBoundingClientRect: () => ({left: 980, top: 500, width: 141, height: 51}),
};

let input;
let pointer;

beforeEach(() => {
  input = new RecordedInput();
  pointer = new Pointer(canvas, input);
});

const at = (x, y, buttons = 0) => ({clientX: 1000 + x, clientY: 500 + y, buttons});
const button = (number, detail = 1) => ({button: number, detail});

test('moves are sent within the picture only', () => {
  pointer.moved(at(50, 25));
  pointer.moved(at(-1, 25));
  pointer.moved(at(101, 25));
  assert.deepEqual(input.events, [{action: 'mouseMove', x: 0.5, y: 0.5}]);
});

test('each button has its name and the browser counts the clicks', () => {
  pointer.located(at(0, 0));
  for (const [number, detail] of [[0, 1], [1, 2], [2, 3], [0, 7], [0, 0]]) {
    pointer.pressed(button(number, detail));
    pointer.released(button(number, detail));
  }
  const presses = input.events.filter(({action}) => action === 'mouseDown');
  assert.deepEqual(
    presses.map(({button, clickCount}) => `${button} ${clickCount}`),
    ['left 1', 'middle 2', 'right 3', 'left 3', 'left 1'],
  );
  const lifts = input.events.filter(({action}) => action === 'mouseUp');
  assert.deepEqual(lifts[1], {action: 'mouseUp', x: 0, y: 0, button: 'middle'});
  assert.equal(lifts.length, 5);
});

test('presses beside the picture and of other buttons are not sent', () => {
  pointer.located(at(-5, 10));
  pointer.pressed(button(0));
  pointer.released(button(0));
  pointer.located(at(5, 10));
  pointer.pressed(button(3));
  pointer.released(button(3));
  assert.deepEqual(input.events, []);
});

test('a drag that leaves the picture goes on along its edge', () => {
  pointer.located(at(50, 25));
  pointer.pressed(button(0));
  pointer.moved(at(500, 25, 1));
  pointer.located(at(-500, -500));
  pointer.released(button(0));
  assert.deepEqual(input.events.slice(1), [
    {action: 'mouseMove', x: 1, y: 0.5},
    {action: 'mouseUp', x: 0, y: 0, button: 'left'},
  ]);
});

test('a button that went up unseen is lifted with the next move', () => {
  pointer.located(at(0, 0));
  pointer.pressed(button(0));
  pointer.pressed(button(2));
  pointer.moved(at(100, 50, 2));
  pointer.released(button(0));
  assert.deepEqual(input.events.slice(2), [
    {action: 'mouseMove', x: 1, y: 1},
    {action: 'mouseUp', x: 1, y: 1, button: 'left'},
  ]);
  assert.ok(input.holds('right'));
});

test('what has been released is not lifted', () => {
  pointer.located(at(0, 0));
  pointer.pressed(button(0));
  input.release();
  pointer.released(button(0));
  assert.equal(input.events.length, 1);
});
