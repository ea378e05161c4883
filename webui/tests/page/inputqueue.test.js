// The order and the pace in which input reaches the host.

import assert from 'node:assert/strict';
import {setImmediate as turnOfTheLoop} from 'node:timers/promises';
import {beforeEach, test} from 'node:test';

import {InputQueue} from '../../page/inputqueue.js';

let calls; // {method, event, answer, refuse}
let troubles;
let queue;

beforeEach(() => {
  calls = [];
  troubles = [];
  queue = new InputQueue(
    (method, event) =>
      new Promise((answer, refuse) => calls.push({method, event, answer, refuse})),
    (error) => troubles.push(error.code),
  );
});

const move = (x) => ({action: 'mouseMove', x, y: 0});
const press = (x, button = 'left') => ({action: 'mouseDown', x, y: 0, button, clickCount: 1});
const lift = (x, button = 'left') => ({action: 'mouseUp', x, y: 0, button});
const scroll = (dx, dy) => ({action: 'scroll', dx, dy});
const key = (keyCode) => ({action: 'keyDown', keyCode});

const sent = () => calls.map(({event}) => event);

async function answer(index) {
  calls[index].answer(null);
  await turnOfTheLoop();
}

test('one move waits for its answer and of the others the newest wins', async () => {
  for (const x of [0, 0.1, 0.2, 0.3]) queue.push(move(x));
  assert.deepEqual(sent(), [move(0)]);
  await answer(0);
  assert.deepEqual(sent(), [move(0), move(0.3)]);
  await answer(1);
  assert.equal(calls.length, 2);
});

test('presses keep their order and their own places', async () => {
  const events = [press(0.1), lift(0.2), press(0.3, 'right'), lift(0.4, 'right')];
  queue.push(move(0));
  for (const event of events) queue.push(event);
  assert.deepEqual(sent(), [move(0), ...events]);
});

test('a press takes the place of the move that waits right before it', async () => {
  queue.push(move(0));
  queue.push(move(0.1));
  queue.push(press(0.2));
  assert.deepEqual(sent(), [move(0), press(0.2)]);
});

test('a move before a key is not left out', async () => {
  queue.push(move(0));
  queue.push(move(0.1));
  queue.push(key(5));
  assert.deepEqual(sent(), [move(0)]);
  await answer(0);
  assert.deepEqual(sent(), [move(0), move(0.1), key(5)]);
});

test('turns of the wheel add up while one waits for its answer', async () => {
  queue.push(scroll(0, 1));
  queue.push(scroll(2, 3));
  queue.push(scroll(-5, 4));
  assert.deepEqual(sent(), [scroll(0, 1)]);
  await answer(0);
  assert.deepEqual(sent(), [scroll(0, 1), scroll(-3, 7)]);
});

test('the wheel and the pointer do not wait for each other without need', () => {
  queue.push(move(0));
  queue.push(scroll(0, 1));
  assert.deepEqual(sent(), [move(0), scroll(0, 1)]);
});

test('a turn that is too large for one call is sent in parts', async () => {
  queue.push(scroll(-10_001, 25_000));
  await answer(0);
  await answer(1);
  await answer(2);
  assert.deepEqual(sent(), [scroll(-10_000, 10_000), scroll(-1, 10_000), scroll(0, 5000)]);
});

test('never more than 24 calls wait for their answers', async () => {
  for (let code = 0; code < 100; ++code) queue.push(key(code));
  assert.equal(calls.length, 24);
  for (let index = 0; index < 100; ++index) await answer(index);
  assert.deepEqual(sent(), Array.from({length: 100}, (_, code) => key(code)));
});

test('repeats of a held key are left out when they would be late', () => {
  for (let time = 0; time < 100; ++time) queue.push(key(7), {repeated: time > 0});
  assert.equal(calls.length, 24);
});

test('too much that waits is given up and everything lifted', async () => {
  for (let time = 0; time < 300; ++time) queue.push(key(time % 128));
  assert.deepEqual(troubles, ['input_overflow']);
  assert.equal(calls[24].method, 'releaseInput');
});

test('a release gives up what waits and lifts what was sent', async () => {
  queue.push(press(0.1));
  queue.push(move(0.2));
  queue.push(move(0.3));
  assert.ok(queue.holds('left'));
  queue.release();
  assert.ok(!queue.holds('left'));
  assert.deepEqual(calls.map(({method}) => method), ['injectInput', 'injectInput', 'releaseInput']);
  await answer(1);
  assert.equal(calls.length, 3);
});

test('a release that gives up what would have lifted something lifts it', () => {
  for (let code = 0; code < 24; ++code) queue.push(key(code));
  for (let code = 0; code < 24; ++code) queue.push({action: 'keyUp', keyCode: code});
  assert.ok(!queue.holds(23));
  queue.release();
  assert.equal(calls.length, 25);
  assert.equal(calls[24].method, 'releaseInput');
});

test('with nothing held there is nothing to lift', () => {
  queue.push(move(0));
  queue.push(press(0.1));
  queue.push(lift(0.1));
  queue.push(key(3));
  queue.push({action: 'keyUp', keyCode: 3});
  queue.release();
  assert.ok(calls.every(({method}) => method === 'injectInput'));
});

test('refusals are told and do not stop what follows', async () => {
  queue.push(move(0));
  queue.push(move(0.1));
  calls[0].refuse({code: 'bad_input'});
  await turnOfTheLoop();
  assert.deepEqual(troubles, ['bad_input']);
  assert.deepEqual(sent(), [move(0), move(0.1)]);
});

test('after a lost connection nothing is held and nothing is owed', async () => {
  queue.push(key(1));
  for (let x = 0; x < 5; ++x) queue.push(move(x / 10));
  const old = calls.splice(0);
  queue.forget();
  for (const {refuse} of old) refuse({code: 'disconnected'});
  await turnOfTheLoop();
  assert.deepEqual(troubles, []);
  queue.release();
  assert.deepEqual(calls, []);
  for (let code = 0; code < 100; ++code) queue.push(key(code));
  assert.equal(calls.length, 24);
});

test('whoever waits for room goes on once everything is sent, or given up', async () => {
  const done = [];
  const waitFor = (what) => queue.drained().then((areSent) => done.push([what, areSent]));
  for (let code = 0; code < 30; ++code) queue.push(key(code));
  waitFor('first');
  await turnOfTheLoop();
  assert.deepEqual(done, []);
  for (let index = 0; index < 6; ++index) await answer(index);
  assert.deepEqual(done, [['first', true]]);
  queue.push(key(30));
  waitFor('second');
  queue.release();
  await turnOfTheLoop();
  assert.deepEqual(done, [['first', true], ['second', false]]);
});
