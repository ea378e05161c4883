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

test('nothing is sent while the connection closes', () => {
  globalThis.location = {href: 'http://127.0.0.1:8765/0123/'};
  globalThis.WebSocket = RecordingSocket;
  const connection = new Connection();
  connection.open();
  const socket = RecordingSocket.last;
  socket.onopen();
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
