// The customer's page as carrier of its guests.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {FakePeerConnection, settled, takeOverTimers} from './fakepeer.js';
import {Guests} from '../../page/guests.js';

class FakeSocket {
  static OPEN = 1;
  static CLOSED = 3;
  static all = [];
  readyState = 0;
  bufferedAmount = 0;
  sent = [];

  constructor(address) {
    this.address = String(address);
    FakeSocket.all.push(this);
  }

  open() {
    this.readyState = FakeSocket.OPEN;
    this.onopen();
  }

  send(data) {
    this.sent.push(data);
  }

  close() {
    this.readyState = FakeSocket.CLOSED;
    this.onclose();
  }
}

const connected = {id: 3, stage: 'connected', carrier: true};
const remote = (...sessions) => ({sessions, page: 'https://place.example/', iceServers: ['turn']});

function setUp(context) {
  globalThis.location = {href: 'http://127.0.0.1:8765/0123/'};
  globalThis.WebSocket = FakeSocket;
  FakeSocket.all = [];
  FakePeerConnection.install();
  takeOverTimers(context);
  const {setInterval} = globalThis;
  globalThis.setInterval = () => {};
  context.after(() => Object.assign(globalThis, {setInterval}));
  const told = [];
  const guests = new Guests({tell: (message) => told.push(message)});
  return {guests, told};
}

async function setUpConnected(context) {
  const {guests, told} = setUp(context);
  guests.review(remote(connected));
  const [peer] = FakePeerConnection.all;
  const pair = {type: 'candidate-pair', nominated: true, state: 'succeeded'};
  peer.stats = new Map([['pair', pair]]);
  peer.openChannels();
  await settled();
  const [socket] = FakeSocket.all;
  return {guests, told, peer, socket, control: peer.channels.get(0), frames: peer.channels.get(1)};
}

test('only an allowed session of which this page is the carrier gets a connection', (context) => {
  const {guests} = setUp(context);
  guests.review(
    remote(
      {id: 1, stage: 'asking', carrier: true},
      {id: 2, stage: 'connected', carrier: false},
      {id: 4, stage: 'lost', carrier: true},
    ),
  );
  assert.equal(FakePeerConnection.all.length, 0);
  guests.review(remote(connected));
  guests.review(remote(connected));
  assert.equal(FakePeerConnection.all.length, 1);
  assert.deepEqual(FakePeerConnection.all[0].options.iceServers, ['turn']);
});

test('signals go to the session that they belong to, and from there', async (context) => {
  const {guests, told} = setUp(context);
  guests.review(remote(connected));
  await settled();
  const offer = {description: {type: 'offer', sdp: 'our offer'}};
  assert.deepEqual(told, [{remote: 3, signal: offer}]);
  const answer = {type: 'answer', sdp: 'x'};
  guests.take({remote: 8, signal: {description: {type: 'answer', sdp: 'not ours'}}});
  guests.take({remote: 3, signal: {description: answer}});
  await settled();
  assert.deepEqual(FakePeerConnection.all[0].applied, [answer]);
});

test('everything passes as it is, in the guest’s name', async (context) => {
  const {told, socket, control, frames} = await setUpConnected(context);
  assert.equal(socket.address, 'ws://127.0.0.1:8765/0123/guest-3');
  assert.deepEqual(told.at(-1), {remote: 3, path: 'direct'});
  control.receive('{"show":1}');
  assert.deepEqual(socket.sent, []);
  socket.open();
  control.receive('{"ack":1}');
  assert.deepEqual(socket.sent, ['{"show":1}', '{"ack":1}']);
  socket.onmessage({data: '{"event":"state"}'});
  socket.onmessage({data: new Uint8Array([7, 8]).buffer});
  assert.deepEqual(control.sent, ['{"event":"state"}']);
  assert.deepEqual(frames.sent, [new Uint8Array([1, 7, 8])]);
});

test('whatever ends a connection is told once, and another begins after the session was lost', async (context) => {
  const endings = [
    ({control}) => control.close(),
    ({socket}) => socket.close(),
    ({peer}) => peer.become('failed'),
    ({socket, control}) => {
      socket.open();
      socket.bufferedAmount = 2 ** 21;
      control.receive('{}');
    },
    ({control}) => {
      for (let count = 0; count <= 200; ++count) control.receive('{}');
    },
  ];
  for (const end of endings) {
    const set = await setUpConnected(context);
    set.told.length = 0;
    end(set);
    assert.deepEqual(set.told, [{remote: 3, lost: true}]);
    assert.equal(set.socket.readyState, FakeSocket.CLOSED);
    assert.equal(set.peer.connectionState, 'closed');
    set.guests.review(remote(connected));
    assert.equal(FakePeerConnection.all.length, 1);
    set.guests.review(remote({...connected, stage: 'lost'}));
    set.guests.review(remote(connected));
    assert.equal(FakePeerConnection.all.length, 2);
  }
});

test('a session that ends takes its connection with it, and so does the program', async (context) => {
  for (const end of [(guests) => guests.review(remote()), (guests) => guests.disconnected()]) {
    const {guests, told, peer, socket} = await setUpConnected(context);
    told.length = 0;
    end(guests);
    assert.equal(peer.connectionState, 'closed');
    assert.equal(socket.readyState, FakeSocket.CLOSED);
    assert.deepEqual(told, []);
  }
});

test('without servers of its own it asks the place, which may have none', async (context) => {
  const {fetch} = globalThis;
  context.after(() => Object.assign(globalThis, {fetch}));
  const answers = [
    [async () => ({json: async () => ({iceServers: ['of the place']})}), ['of the place']],
    [async () => ({json: async () => ({})}), []],
    [() => Promise.reject(new Error('not reachable')), []],
  ];
  for (const [answer, expected] of answers) {
    const {guests} = setUp(context);
    let asked = null;
    globalThis.fetch = (address) => {
      asked = String(address);
      return answer();
    };
    guests.review({...remote(connected), iceServers: null});
    await settled();
    assert.equal(asked, 'https://place.example/place.json');
    assert.deepEqual(FakePeerConnection.all[0].options.iceServers, expected);
  }
});
