// A supporter's way through an invitation, with a guest, a broker, a clock and a network that the
// test plays.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import './support.js';
import {advice, text} from '../../webui/page/language.js';
import '../../webui/tests/page/english.js';
import {utf8} from '../trust/bytes.js';
import {Help} from '../help.js';

const settled = () => new Promise((resolve) => setImmediate(resolve));
const json = (message) => ({message: utf8(JSON.stringify(message))});
const sid = new Uint8Array(16).fill(1);
const offer = json({type: 'signal', signal: {description: {type: 'offer'}}});

class FakeGuest {
  state = 'joining';
  sid = undefined;
  inbox = undefined;
  attempts = 0;
  nonce = null;

  async #begin(first) {
    this.nonce = [++this.attempts];
    return first;
  }

  join() {
    return this.#begin('join');
  }

  resume() {
    this.state = 'resuming';
    return this.#begin('resume');
  }

  // What comes in says what the guest makes of it.
  async receive({state = this.state, ...effects}) {
    this.state = state;
    if (effects.words) this.sid = sid;
    if (state === 'allowed') this.inbox = sid;
    return effects;
  }

  async seal(bytes) {
    return JSON.parse(new TextDecoder().decode(bytes));
  }
}

class FakeConnection extends EventTarget {
  opened = [];

  open(carrier) {
    this.opened.push(carrier);
  }

  become(type) {
    this.dispatchEvent(new Event(type));
  }
}

class FakePeer {
  signals = [];
  carrier = {};

  constructor(connection, options) {
    Object.assign(this, {connection, options});
  }

  take(signal) {
    this.signals.push(signal);
  }

  close() {
    if (!this.isClosed) this.connection.become('closed');
    this.isClosed = true;
  }
}

function setUp(context) {
  const {setTimeout, clearTimeout} = globalThis;
  context.after(() => Object.assign(globalThis, {setTimeout, clearTimeout}));
  const timers = new Set();
  globalThis.setTimeout = (work, ms) => {
    const timer = {work, ms};
    timers.add(timer);
    return timer;
  };
  globalThis.clearTimeout = (timer) => timers.delete(timer);
  const guest = new FakeGuest();
  const connection = new FakeConnection();
  const links = [];
  const peers = [];
  const stages = [];
  const set = {guest, connection, links, peers, stages, canReadPlace: true};
  set.pass = async (ms) => {
    for (const timer of [...timers].filter((each) => each.ms === ms)) {
      timers.delete(timer);
      timer.work();
    }
    await settled();
  };
  set.waitsFor = () => [...timers].map(({ms}) => ms).sort((a, b) => a - b);
  set.link = () => links.at(-1);
  set.receive = async (what) => {
    links.at(-1).onMessage(what);
    await settled();
  };
  set.help = new Help({
    guest,
    digits: '4829',
    connection,
    readPlace: async () => {
      if (!set.canReadPlace) throw new Error('no place');
      return {broker: 'wss://help.example.org/mqtt', iceServers: ['turn']};
    },
    openSignalling: async (options) => {
      const link = {...options, sent: [], watched: [], hasLeft: false};
      link.send = (to, message) => link.sent.push([to.inbox ? 'customer' : to.place, message]);
      link.watch = (whom) => link.watched.push(whom);
      link.leave = () => (link.hasLeft = true);
      links.push(link);
      return link;
    },
    makePeer: (options) => peers[peers.push(new FakePeer(connection, options)) - 1],
    onChange: () => stages.push(set.help?.stage),
  });
  return set;
}

async function joined(context) {
  const set = setUp(context);
  await set.help.join();
  set.link().onOpen();
  return set;
}
async function asked(context) {
  const set = await joined(context);
  await set.receive({state: 'asked', words: ['a', 'b', 'c'], send: 'hello'});
  return set;
}
async function connected(context) {
  const set = await asked(context);
  await set.receive({state: 'allowed', control: true});
  await set.receive(offer);
  set.connection.become('open');
  return set;
}

test('from the code to the picture', async (context) => {
  const set = await asked(context);
  assert.equal(set.link().broker, 'wss://help.example.org/mqtt');
  assert.deepEqual(set.link().sent, [['4829', 'join'], ['4829', 'hello']]);
  assert.deepEqual(set.link().watched, [sid]);
  assert.deepEqual(set.help.words, ['a', 'b', 'c']);
  await set.receive({state: 'allowed', control: true});
  assert.equal(set.help.stage, 'connecting');
  assert.equal(set.peers.length, 0);
  await set.receive(offer);
  await set.receive(json({type: 'signal', signal: {candidate: 'x'}}));
  const [peer] = set.peers;
  assert.deepEqual(set.connection.opened, [peer.carrier]);
  assert.deepEqual([peer.options.iceServers, peer.options.offers], [['turn'], false]);
  assert.deepEqual(peer.signals, [{description: {type: 'offer'}}, {candidate: 'x'}]);
  peer.options.tell({candidate: 'ours'});
  await settled();
  const told = {type: 'signal', signal: {candidate: 'ours'}};
  assert.deepEqual(set.link().sent.at(-1), ['customer', told]);
  set.connection.become('open');
  assert.deepEqual(set.stages, ['joining', 'asked', 'connecting', 'connected']);
  assert.deepEqual(set.waitsFor(), []);
});

test('whoever comes by link knows whom to watch from the beginning', async (context) => {
  const set = setUp(context);
  set.guest.sid = set.guest.inbox = sid;
  await set.help.join();
  set.link().onOpen();
  assert.deepEqual(set.link().sent, [['customer', 'join']]);
  assert.deepEqual(set.link().watched, [sid]);
});

test('every end before the picture is told, and leaves nothing open', async (context) => {
  const ends = [
    [joined, (set) => set.pass(15_000), 'noAnswer'],
    [joined, (set) => set.link().onClosed(), 'gone'],
    [joined, (set) => set.link().onGone(), 'gone'],
    [asked, (set) => set.pass(150_000), 'unanswered'],
    [asked, (set) => set.link().onGone(), 'gone'],
    [asked, (set) => set.link().onClosed(), 'gone'],
  ];
  const declined = ['refused', 'wrong', 'expired', 'tooManyTries', 'taken', 'over', 'version', 'broken'];
  for (const state of declined) ends.push([joined, (set) => set.receive({state}), state]);
  for (const [until, happens, stage] of ends) {
    const set = await until(context);
    await happens(set);
    assert.equal(set.help.stage, stage);
    assert.ok(set.help.isOver && advice(`stage.${stage}`).what);
    assert.ok(stage === 'gone' || set.link().hasLeft);
    assert.deepEqual(set.waitsFor(), []);
    await set.receive({state: 'asked', words: ['late']});
    assert.equal(set.help.stage, stage);
  }
});

test('a place or a broker that cannot be reached is told apart from a wrong code', async (context) => {
  const withoutPlace = setUp(context);
  withoutPlace.canReadPlace = false;
  await withoutPlace.help.join();
  assert.equal(withoutPlace.help.stage, 'unreachable');
  for (const happens of [(set) => set.link().onClosed(), (set) => set.pass(15_000)]) {
    const set = setUp(context);
    await set.help.join();
    await happens(set);
    assert.equal(set.help.stage, 'unreachable');
  }
});

const losses = {
  'the data channels': (set) => {
    set.peers.at(-1).close();
    return set.pass(500);
  },
  'the customer’s word': (set) => set.receive({state: 'lost'}),
};
for (const [what, lose] of Object.entries(losses)) {
  test(`a session lost by ${what} is resumed over another attempt`, async (context) => {
    const set = await connected(context);
    await lose(set);
    await settled();
    assert.equal(set.help.stage, 'resuming');
    assert.ok(set.peers[0].isClosed);
    assert.equal(set.links.length, 2);
    assert.deepEqual(set.link().nonce, [2]);
    set.links[0].onClosed();
    set.link().onOpen();
    assert.deepEqual(set.link().sent, [['customer', 'resume']]);
    await set.receive({send: 'hello'});
    await set.receive({state: 'allowed'});
    assert.equal(set.help.stage, 'connecting');
    await set.receive(offer);
    set.connection.become('open');
    assert.equal(set.help.stage, 'connected');
    assert.deepEqual(set.waitsFor(), []);
  });
}

test('a connection that the customer’s side meant to end is not resumed', async (context) => {
  const set = await connected(context);
  set.peers[0].close();
  await set.receive({}); // somebody else's
  assert.equal(set.help.stage, 'resuming');
  await set.receive(json({type: 'ended', why: 'disconnected'}));
  assert.equal(set.help.stage, 'disconnected');
  assert.equal(set.links.length, 1);
  assert.deepEqual(set.waitsFor(), []);
});

test('it tries again and again to resume, for 30 seconds', async (context) => {
  const set = await connected(context);
  set.peers[0].close();
  await set.pass(500);
  set.link().onClosed();
  await set.pass(1000);
  assert.equal(set.links.length, 3);
  set.canReadPlace = false;
  await set.pass(8000); // without an answer
  assert.equal(set.links.length, 3);
  set.canReadPlace = true;
  await set.pass(1000);
  assert.equal(set.links.length, 4);
  assert.deepEqual(set.waitsFor(), [8000, 30_000]);
  await set.pass(30_000);
  assert.equal(set.help.stage, 'lost');
  assert.deepEqual(set.waitsFor(), []);
  assert.ok(set.link().hasLeft);
});

test('without the broker the session goes on as long as data flow, on both sides', async (context) => {
  const set = await connected(context);
  set.link().onGone();
  set.link().onClosed();
  assert.equal(set.help.stage, 'connected');
  assert.equal(set.links.length, 1);
  assert.ok(!set.peers[0].isClosed);
  set.peers[0].close();
  await set.pass(500);
  assert.equal(set.help.stage, 'resuming');
  assert.equal(set.links.length, 2);
});

test('another offer begins another connection, without a resumption', async (context) => {
  const set = await connected(context);
  await set.receive(offer);
  assert.ok(set.peers[0].isClosed);
  assert.equal(set.peers.length, 2);
  assert.equal(set.help.stage, 'connecting');
  assert.equal(set.links.length, 1);
  set.connection.become('open');
  assert.equal(set.help.stage, 'connected');
});

for (const [what, lose] of Object.entries(losses)) {
  test(`when no connection ever stands, by ${what}, it says so`, async (context) => {
    const set = await asked(context);
    await set.receive({state: 'allowed'});
    await set.receive(offer);
    await lose(set);
    assert.equal(set.help.stage, 'resuming');
    set.link().onOpen();
    await set.receive({state: 'allowed'});
    await set.receive(offer);
    await lose(set);
    assert.equal(set.help.stage, 'noWay');
    assert.equal(set.links.length, 2);
    assert.ok(set.link().hasLeft);
  });
}

test('what is still being read when it ends comes too late', async (context) => {
  const set = await joined(context);
  set.link().onMessage({state: 'asked', words: ['a', 'b', 'c']});
  set.link().onGone();
  await settled();
  assert.equal(set.help.stage, 'gone');
});

test('a connection that stood lets others fail again', async (context) => {
  const set = await connected(context);
  for (let time = 0; time < 2; ++time) {
    for (const stands of [false, true]) {
      set.peers.at(-1).close();
      await set.pass(500);
      assert.equal(set.help.stage, 'resuming');
      await set.receive({state: 'allowed'});
      await set.receive(offer);
      if (stands) set.connection.become('open');
    }
  }
  assert.equal(set.help.stage, 'connected');
});

test('the customer’s side ends it, and so does whoever leaves', async (context) => {
  const ends = {stopped: 'stopped', disconnected: 'disconnected', gone: 'departed', x: 'departed'};
  for (const [why, stage] of Object.entries(ends)) {
    const set = await connected(context);
    await set.receive(json({type: 'ended', why}));
    assert.equal(set.help.stage, stage);
    assert.ok(set.peers[0].isClosed && set.link().hasLeft);
  }
  const set = await connected(context);
  await set.help.leave();
  assert.deepEqual(set.link().sent.at(-1), ['customer', {type: 'leave'}]);
  assert.equal(set.help.stage, 'left');
  assert.ok(set.link().hasLeft && set.peers[0].isClosed);
});

test('what makes no sense changes nothing', async (context) => {
  const set = await connected(context);
  const senseless = [{}, null, 7, [], {type: 'signal'}, {type: 'signal', signal: 3}, {type: 'x'}];
  for (const message of senseless) await set.receive(json(message));
  await set.receive({message: new Uint8Array([0xff])});
  assert.equal(set.help.stage, 'connected');
  assert.equal(set.peers.length, 1);
});

test('a reduced picture is told with its reason and, where there are more, its steps', () => {
  assert.match(text('help.reduced', {count: 1}), /^The picture is reduced, because the network/);
  assert.match(text('help.reduced', {count: 3}), /^The picture is reduced \(3 steps\), because/);
});
