// One attempt's way over a broker, which the test plays.

import assert from 'node:assert/strict';
import {EventEmitter} from 'node:events';
import {createHash} from 'node:crypto';
import {test} from 'node:test';

import './support.js';
import {Signalling} from '../signalling.js';

const nonce = Uint8Array.from({length: 32}, (_, index) => index);
const sid = new Uint8Array(16).fill(0xab);
const goneTopic = `quorvin/1/gone/${'ab'.repeat(16)}`;
const id = '000102030405060708090a0b0c0d0e0f';
const goneOf = (text) => `quorvin/1/gone/${createHash('sha256').update(text).digest('hex').slice(0, 32)}`;

class FakeClient extends EventEmitter {
  published = [];
  subscribed = [];
  ended = null;

  subscribe(topic, options, done) {
    this.subscribed.push([topic, options.qos, this.published.length]);
    this.granted = done ?? this.granted;
  }

  publish(topic, payload, {qos}) {
    this.published.push([topic, [...payload], qos]);
  }

  end(force = false) {
    this.ended = force ? 'at once' : 'in order';
  }
}

async function open() {
  const set = {client: new FakeClient(), happened: []};
  const note = (name) => (bytes) => set.happened.push(bytes ? [name, ...bytes] : name);
  const connect = (broker, options) => Object.assign(set, {broker, options}).client;
  set.signalling = await Signalling.open(connect, {
    broker: 'wss://help.example.org/mqtt',
    nonce,
    onOpen: note('open'),
    onMessage: note('message'),
    onGone: note('gone'),
    onClosed: note('closed'),
  });
  return set;
}

async function opened() {
  const set = await open();
  set.client.emit('connect');
  set.client.granted(null, [{qos: 2}]);
  return set;
}

test('it is known to the broker by the attempt’s name, and leaves a will', async () => {
  const {broker, options, client, happened} = await open();
  assert.equal(broker, 'wss://help.example.org/mqtt');
  const {protocolVersion, clientId, clean, keepalive, reconnectPeriod, timerVariant, will} = options;
  assert.deepEqual([protocolVersion, clientId, clean, keepalive], [4, id, true, 20]);
  assert.deepEqual([reconnectPeriod, timerVariant], [0, 'native']);
  assert.deepEqual([will.topic, will.qos, will.retain, will.payload.length], [goneOf(id), 1, false, 1]);
  assert.deepEqual(client.subscribed, []);
  client.emit('connect');
  assert.deepEqual(client.subscribed, [[`quorvin/1/${id}`, 2, 0]]);
  assert.deepEqual(happened, []);
  client.granted(null, [{qos: 2}]);
  assert.deepEqual(happened, ['open']);
});

test('messages go to the place, and to the customer once it is known', async () => {
  const {signalling, client, happened} = await opened();
  signalling.send({place: '4829'}, [1]);
  signalling.send({place: '4829', inbox: sid}, [2]);
  assert.deepEqual(client.published, [
    ['quorvin/1/place/4829', [1], 2],
    [`quorvin/1/${'ab'.repeat(16)}`, [2], 2],
  ]);
  signalling.watch(sid);
  assert.deepEqual(client.subscribed.at(-1).slice(0, 2), [goneTopic, 2]);
  client.emit('message', `quorvin/1/${id}`, Buffer.from([7, 8]));
  client.emit('message', goneTopic, Buffer.from([1]));
  assert.deepEqual(happened, ['open', ['message', 7, 8], 'gone']);
});

test('whatever ends it is told once', async () => {
  const endings = [
    ({client}) => client.emit('close'),
    ({client}) => client.emit('error', new Error('x')),
    ({client}) => client.granted(new Error('x')),
    ({client}) => client.granted(null, [{qos: 128}]),
    ({client}) => client.granted(null, []),
  ];
  for (const end of endings) {
    const set = await open();
    set.client.emit('connect');
    end(set);
    set.client.emit('close');
    set.client.emit('message', `quorvin/1/${id}`, Buffer.from([7]));
    set.signalling.send({inbox: sid}, [1]);
    set.signalling.leave();
    set.signalling.watch(sid);
    assert.deepEqual(set.happened, ['closed']);
    assert.equal(set.client.ended, 'at once');
    assert.deepEqual([set.client.published, set.client.subscribed.length], [[], 1]);
  }
});

test('whoever leaves says so, and hears nothing more', async () => {
  const {signalling, client, happened} = await opened();
  signalling.leave();
  signalling.leave();
  assert.deepEqual(client.published, [[goneOf(id), [1], 2]]);
  assert.equal(client.ended, 'in order');
  client.emit('message', `quorvin/1/${id}`, Buffer.from([7]));
  client.emit('close');
  assert.deepEqual(happened, ['open']);
});
