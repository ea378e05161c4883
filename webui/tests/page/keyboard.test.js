// Which keys the host is told of.

import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {beforeEach, test} from 'node:test';

import {strokesOf} from '../../page/combinations.js';
import {Keyboard, isEscapeShortcut} from '../../page/keyboard.js';
import {RecordedInput} from './recordedinput.js';

// The build writes it.
const table = readFileSync(process.env.QUORVIN_KEYCODES);
const {keyCodes} = await import(`data:text/javascript;base64,${table.toString('base64')}`);

let input;
let keyboard;

function begin(options) {
  input = new RecordedInput();
  keyboard = new Keyboard(keyCodes, input, options);
}

const sent = () =>
  input.sent.map(({event: {action, keyCode}, options: {repeated = false}}) =>
    `${{keyDown: '+', keyUp: '-'}[action]}${keyCode}${repeated ? ' again' : ''}`);

beforeEach(() => begin());

function event(code, {shift = false, control = false, alt = false, altGraph = false, meta = false,
                      repeat = false} = {}) {
  return {
    code,
    repeat,
    shiftKey: shift,
    ctrlKey: control,
    altKey: alt,
    metaKey: meta,
    getModifierState: (name) => name === 'AltGraph' && altGraph,
  };
}
const down = (code, state) => keyboard.down(event(code, state));
const up = (code, state) => keyboard.up(event(code, state));

test('the table has the keys of every keyboard by their places', () => {
  const samples = {
    KeyA: 0, KeyZ: 6, IntlBackslash: 10, Digit1: 18, Digit0: 29, Enter: 36, Quote: 39, Tab: 48,
    Space: 49, Backquote: 50, Backspace: 51, Escape: 53, MetaRight: 54, MetaLeft: 55, ShiftLeft: 56,
    CapsLock: 57, AltLeft: 58, ControlLeft: 59, ShiftRight: 60, AltRight: 61, ControlRight: 62,
    F17: 64, NumpadDecimal: 65, NumLock: 71, NumpadEnter: 76, Numpad0: 82, IntlYen: 93, Lang2: 102,
    Lang1: 104, ContextMenu: 110, Insert: 114, Delete: 117, F1: 122, ArrowLeft: 123, ArrowUp: 126,
  };
  for (const [code, keyCode] of Object.entries(samples)) assert.equal(keyCodes[code], keyCode, code);
  const numbers = Object.values(keyCodes);
  assert.equal(numbers.length, 119);
  assert.equal(new Set(numbers).size, numbers.length);
  assert.ok(numbers.every((number) => Number.isInteger(number) && number >= 0 && number <= 127));
});

test('a key goes down and up', () => {
  assert.ok(down('KeyA'));
  assert.ok(up('KeyA'));
  assert.deepEqual(sent(), ['+0', '-0']);
});

test('left and right keys are different ones', () => {
  down('ShiftLeft', {shift: true});
  down('ShiftRight', {shift: true});
  up('ShiftLeft', {shift: true});
  up('ShiftRight');
  assert.deepEqual(sent(), ['+56', '+60', '-56', '-60']);
});

test('keys that the host does not have are left to the browser', () => {
  assert.ok(!down('BrowserBack'));
  assert.ok(!down('toString'));
  assert.ok(!up('Unidentified'));
  assert.deepEqual(sent(), []);
});

test('a key that repeats goes down again', () => {
  down('KeyA');
  down('KeyA', {repeat: true});
  down('KeyA', {repeat: true});
  up('KeyA');
  assert.deepEqual(sent(), ['+0', '+0 again', '+0 again', '-0']);
});

test('a key that was pressed elsewhere is not known here', () => {
  assert.ok(down('Enter', {repeat: true}));
  assert.ok(up('Enter'));
  assert.deepEqual(sent(), []);
});

test('letters that macOS does not tell of any more go up with Command', () => {
  down('KeyA');
  down('MetaLeft', {meta: true});
  down('KeyC', {meta: true});
  up('MetaLeft');
  assert.deepEqual(sent(), ['+0', '+55', '+8', '-0', '-8', '-55']);
});

test('on macOS a key with Command goes up at once', () => {
  begin({isMac: true});
  down('MetaLeft', {meta: true});
  down('KeyV', {meta: true});
  down('KeyV', {meta: true, repeat: true});
  down('ShiftLeft', {meta: true, shift: true});
  up('ShiftLeft', {meta: true});
  up('MetaLeft');
  assert.deepEqual(sent(), ['+55', '+9', '-9', '+9 again', '-9', '+56', '-56', '-55']);
});

test('on macOS Caps Lock is struck whenever it changes', () => {
  begin({isMac: true});
  down('CapsLock');
  up('CapsLock');
  assert.deepEqual(sent(), ['+57', '-57', '+57', '-57']);
  begin();
  down('CapsLock');
  up('CapsLock');
  assert.deepEqual(sent(), ['+57', '-57']);
});

test('a Shift key that went up unseen is lifted with the next key', () => {
  down('ShiftLeft', {shift: true});
  down('ShiftRight', {shift: true});
  up('ShiftRight');
  down('KeyB');
  assert.deepEqual(sent(), ['+56', '+60', '-60', '-56', '+11']);
});

test('the Control key that comes before AltGr does not spoil the character', () => {
  down('ControlLeft', {control: true});
  down('AltRight', {altGraph: true});
  down('KeyQ', {altGraph: true});
  assert.deepEqual(sent(), ['+59', '-59', '+61', '+12']);
});

test('what has been released is not lifted', () => {
  down('ShiftLeft', {shift: true});
  assert.ok(keyboard.holds('ShiftLeft', 'ShiftRight'));
  input.release();
  up('ShiftLeft');
  assert.deepEqual(sent(), ['+56']);
});

test('the escape shortcut is Ctrl+Alt+Home', () => {
  assert.ok(isEscapeShortcut(event('Home', {control: true, alt: true})));
  assert.ok(!isEscapeShortcut(event('Home', {control: true})));
  assert.ok(!isEscapeShortcut(event('Home', {alt: true})));
  assert.ok(!isEscapeShortcut(event('End', {control: true, alt: true})));
});

test('a combination goes up in the opposite order', () => {
  assert.deepEqual(strokesOf(['ControlLeft', 'AltLeft', 'Delete'], keyCodes), [
    {action: 'keyDown', keyCode: 59},
    {action: 'keyDown', keyCode: 58},
    {action: 'keyDown', keyCode: 117},
    {action: 'keyUp', keyCode: 117},
    {action: 'keyUp', keyCode: 58},
    {action: 'keyUp', keyCode: 59},
  ]);
});
