// What the customer reads about supporters on other computers.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import './english.js';
import {explainStage, logLine} from '../../page/remotetexts.js';

const session = {name: 'Ann', code: '', control: false, path: 'direct'};
const live = {session: 'live', control: true};
const say = (fields, terms) => explainStage({...session, ...fields}, terms);

test('every stage has words of its own, and says whether it is the last', () => {
  const over = {preparing: 0, waiting: 0, asking: 0, connected: 0, lost: 0};
  Object.assign(over, {expired: 1, tooManyTries: 1, refused: 1, gone: 1, ended: 1});
  const said = new Set();
  for (const [stage, isOver] of Object.entries(over)) {
    const text = say({stage});
    assert.equal(text.isOver, isOver === 1, stage);
    assert.equal(/undefined|null/.test(text.what + text.next), false);
    said.add(text.what);
  }
  assert.equal(said.size, Object.keys(over).length);
});

test('control is what this supporter may do now', () => {
  const withControl = /can use your mouse and keyboard/;
  const controls = (control, state) =>
    withControl.test(say({stage: 'connected', control}, {state}).what);
  assert.equal(controls(true, live), true);
  assert.equal(controls(false, live), false);
  assert.equal(controls(true, {...live, control: false}), false);
  assert.match(say({stage: 'connected'}, {state: {session: 'idle'}}).what, /is not shared/);
  assert.match(say({stage: 'connected', control: true}, {}).what, /is not shared/);
});

test('the way and the time are told once they are known', () => {
  const next = (path, sinceMs) => say({stage: 'connected', path}, {state: live, sinceMs}).next;
  assert.match(next(null, 1000), /being found/);
  assert.equal(next('direct', 59_000), 'Connected directly, for less than a minute.');
  assert.equal(next('direct', 119_000), 'Connected directly, for a minute.');
  assert.match(next('relayed', 600_000), /relay.*for 10 minutes\.$/);
});

test('without a code there is a link only', () => {
  const page = 'https://help.example.org/';
  assert.match(say({stage: 'waiting', code: '482 913 5072'}, {page}).next, /help\.example\.org/);
  assert.equal(/code/.test(say({stage: 'waiting'}, {page}).what), false);
});

test('a name cannot turn round the words beside it', () => {
  for (const stage of ['asking', 'connected', 'lost', 'refused', 'gone', 'ended']) {
    assert.match(say({stage, name: '\u05d0\u05d1'}).what, /\u2068\u05d0\u05d1\u2069/u);
  }
});

test('the log is told in few words', () => {
  const entry = {name: 'Ann', control: false, path: null, why: null};
  const said = (fields) => logLine({...entry, ...fields}).replace(/[\u2068\u2069]/gu, '');
  assert.equal(said({event: 'invited', name: ''}), 'invitation made');
  assert.equal(said({event: 'allowed'}), 'Ann · allowed · only watches');
  assert.equal(said({event: 'control', control: true}), 'Ann · control · may control');
  assert.equal(said({event: 'connected', path: 'relayed'}), 'Ann · connected · through a relay');
  assert.equal(said({event: 'ended', why: 'tooManyTries'}), 'Ann · ended · after three wrong codes');
  assert.equal(said({event: 'lost', why: 'lost'}), 'Ann · lost');
});
