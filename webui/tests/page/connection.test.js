// The page's connection: what it answers by itself.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {Connection} from '../../page/connection.js';

class RecordingSocket {
  static OPEN = 1;
  static last = null;
  readyState = RecordingSocket.OPEN;
  sent = [];

  constructor(address) {
    this.address = String(address);
    RecordingSocket.last = this;
  }

  send(text) {
    this.sent.push(JSON.parse(text));
  }
}

function openConnection() {
  globalThis.location = {href: 'http://127.0.0.1:8765/0123/'};
  globalThis.WebSocket = RecordingSocket;
  const connection = new Connection();
  connection.open();
  const socket = RecordingSocket.last;
  socket.onopen();
  return {connection, socket};
}

// A delta, by its first bytes, or what is none.
function picture(bytes, isDelta = true) {
  const data = new Uint8Array(bytes);
  if (isDelta) data.set([0x51, 0x4e, 0x44, 0x4a]);
  return {data: data.buffer};
}

test('nothing is sent while the connection closes', () => {
  const {connection, socket} = openConnection();
  connection.acknowledgePicture();
  socket.readyState = 2;
  connection.acknowledgePicture();
  assert.deepEqual(socket.sent, [{ack: 1}]);
});

test('an announced age is that of the next picture and of no other', () => {
  globalThis.location = {href: 'http://127.0.0.1:8765/0123/'};
  globalThis.WebSocket = RecordingSocket;
  const connection = new Connection();
  const ages = [];
  connection.addEventListener('picture', ({detail}) =>
    ages.push(performance.now() - detail.arrivedAt),
  );
  connection.open();
  const socket = RecordingSocket.last;
  socket.onopen();
  socket.onmessage({data: '{"event":"frame","ageMs":60000}'});
  socket.onmessage({data: new ArrayBuffer(1)});
  socket.onmessage({data: new ArrayBuffer(1)});
  assert.ok(ages[0] >= 60_000);
  assert.ok(ages[1] < 30_000);
});

test('a question is answered at once with its word, and concerns nobody else', () => {
  globalThis.location = {href: 'http://127.0.0.1:8765/0123/'};
  globalThis.WebSocket = RecordingSocket;
  const connection = new Connection();
  const events = [];
  for (const type of ['state', 'streamerror', 'picture']) {
    connection.addEventListener(type, () => events.push(type));
  }
  connection.open();
  const socket = RecordingSocket.last;
  assert.equal(socket.address, 'ws://127.0.0.1:8765/0123/ws');
  socket.onopen();
  socket.onmessage({data: '{"event":"question","word":"5eed"}'});
  assert.deepEqual(socket.sent, [{answer: '5eed'}]);
  assert.deepEqual(events, []);
});

test('the acknowledgement of a small picture waits for the next one', () => {
  const {connection, socket} = openConnection();
  for (let count = 0; count < 5; ++count) {
    socket.onmessage(picture(100));
    connection.acknowledgePicture();
  }
  assert.deepEqual(socket.sent, [{ack: 2}, {ack: 2}]);
});

test('no acknowledgement waits while there is another picture to draw', () => {
  const {connection, socket} = openConnection();
  socket.onmessage(picture(100));
  socket.onmessage(picture(100));
  connection.acknowledgePicture();
  assert.deepEqual(socket.sent, [{ack: 1}]);
  socket.onmessage(picture(100));
  connection.acknowledgePicture();
  assert.deepEqual(socket.sent, [{ack: 1}, {ack: 1}]);
});

test('no acknowledgement waits for a picture that takes long to draw, or of one', () => {
  const {connection, socket} = openConnection();
  for (const long of [picture(100, false), picture(40_000)]) {
    socket.sent.length = 0;
    socket.onmessage(picture(100));
    connection.acknowledgePicture();
    assert.deepEqual(socket.sent, []);
    socket.onmessage(long);
    assert.deepEqual(socket.sent, [{ack: 1}]);
    connection.acknowledgePicture();
    assert.deepEqual(socket.sent, [{ack: 1}, {ack: 1}]);
  }
});

test('no acknowledgement outlives its connection', () => {
  const {connection, socket} = openConnection();
  socket.onmessage(picture(100));
  connection.acknowledgePicture();
  socket.onclose();
  connection.open();
  const next = RecordingSocket.last;
  next.onopen();
  next.onmessage(picture(100));
  connection.acknowledgePicture();
  assert.deepEqual(next.sent, []);
  next.onmessage(picture(100, false));
  assert.deepEqual(next.sent, [{ack: 1}]);
});

test('what else carries it is used like a socket, and is not opened again', () => {
  const connection = new Connection();
  const heard = [];
  for (const type of ['open', 'state', 'reduced', 'closed']) {
    connection.addEventListener(type, ({detail}) => heard.push([type, detail?.retryMs]));
  }
  const carrier = {readyState: 1, sent: [], send: (text) => carrier.sent.push(text)};
  RecordingSocket.last = null;
  connection.open(carrier);
  carrier.onopen();
  carrier.onmessage(picture(100));
  connection.acknowledgePicture();
  carrier.onmessage({data: '{"event":"state"}'});
  carrier.onmessage({data: '{"event":"reduced"}'});
  carrier.onmessage({data: '{"event":"closed"}'});
  carrier.onclose();
  assert.deepEqual(carrier.sent, ['{"ack":1}']);
  assert.deepEqual(heard, [
    ['open', undefined],
    ['state', undefined],
    ['reduced', undefined],
    ['closed', null],
  ]);
  assert.equal(connection.isOpen, false);
  assert.equal(RecordingSocket.last, null);
});
