// Text as strokes of keys.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {keysOf} from '../../page/typing.js';

test('capitals and the upper signs take Shift', () => {
  const {keys, refused} = keysOf('aA1! ~');
  assert.deepEqual(refused, []);
  assert.deepEqual(keys, [
    ['KeyA'],
    ['ShiftLeft', 'KeyA'],
    ['Digit1'],
    ['ShiftLeft', 'Digit1'],
    ['Space'],
    ['ShiftLeft', 'Backquote'],
  ]);
});

test('every character of ASCII that can be seen has keys of its own', () => {
  const text = Array.from({length: 95}, (_, index) => String.fromCharCode(32 + index)).join('');
  const {keys, refused} = keysOf(text);
  assert.deepEqual(refused, []);
  assert.equal(new Set(keys.map((codes) => codes.join())).size, 95);
});

test('what no key makes is named once each', () => {
  assert.deepEqual(keysOf('né 😀é').refused, ['é', '😀']);
});
