// One end of a peer connection.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {FakePeerConnection, settled, takeOverTimers} from './fakepeer.js';
import {Peer} from '../../page/peer.js';

function peerOf(context, offers) {
  const timers = takeOverTimers(context);
  FakePeerConnection.install();
  const told = [];
  const happened = [];
  const peer = new Peer({iceServers: ['some'], offers, tell: (signal) => told.push(signal)});
  peer.carrier.onopen = () => happened.push('open');
  peer.carrier.onclose = () => happened.push('close');
  return {peer, told, happened, timers, connection: FakePeerConnection.all[0]};
}

const offer = {description: {type: 'offer', sdp: 'their offer'}};
const answer = {description: {type: 'answer', sdp: 'their answer'}};

test('the customer’s end offers, and opens with its two channels', async (context) => {
  const {told, happened, connection, peer} = peerOf(context, true);
  await settled();
  assert.deepEqual(told, [{description: {type: 'offer', sdp: 'our offer'}}]);
  assert.deepEqual(connection.options, {iceServers: ['some']});
  assert.deepEqual([...connection.channels.keys()], [0, 1]);
  peer.take(answer);
  await settled();
  assert.deepEqual(connection.applied, [answer.description]);
  connection.openChannels();
  assert.deepEqual(happened, ['open']);
});

test('the supporter’s end answers, before it looks at a candidate', async (context) => {
  const {told, connection, peer} = peerOf(context, false);
  await settled();
  assert.deepEqual(told, []);
  peer.take(offer);
  peer.take({candidate: 'one'});
  peer.take({candidate: 'wrong'});
  peer.take({candidate: null});
  await settled();
  assert.deepEqual(told, [{description: {type: 'answer', sdp: 'our answer'}}]);
  const candidates = ['one', 'wrong', undefined].map((candidate) => ({candidate}));
  assert.deepEqual(connection.applied, [offer.description, ...candidates]);
  assert.notEqual(connection.connectionState, 'closed');
});

test('candidates are told as they are found', (context) => {
  const {told, connection} = peerOf(context, false);
  connection.onicecandidate({candidate: {toJSON: () => 'found'}});
  connection.onicecandidate({candidate: null});
  assert.deepEqual(told, [{candidate: 'found'}, {candidate: null}]);
});

test('a description that is wrong or was not awaited ends it', async (context) => {
  const wrong = {description: {type: 'answer', sdp: 'wrong'}};
  for (const [offers, signal] of [[true, offer], [false, answer], [true, wrong], [true, null]]) {
    const {peer, happened, connection} = peerOf(context, offers);
    peer.take(signal);
    await settled();
    assert.deepEqual(happened, ['close']);
    assert.equal(connection.connectionState, 'closed');
  }
});

test('it ends when the connection fails, never stands, or is interrupted for long', (context) => {
  const failing = peerOf(context, false);
  failing.connection.become('connected');
  failing.connection.become('failed');
  assert.deepEqual(failing.happened, ['close']);

  const never = peerOf(context, false);
  assert.deepEqual(never.timers.waiting.map(({ms}) => ms), [20_000]);
  never.connection.become('connecting');
  never.timers.runAll();
  assert.deepEqual(never.happened, ['close']);

  const interrupted = peerOf(context, false);
  interrupted.connection.become('connected');
  interrupted.connection.become('disconnected');
  interrupted.connection.become('connected');
  assert.deepEqual(interrupted.timers.waiting, []);
  interrupted.connection.become('disconnected');
  assert.deepEqual(interrupted.timers.waiting.map(({ms}) => ms), [4000]);
  interrupted.timers.runAll();
  assert.deepEqual(interrupted.happened, ['close']);
});

test('the way is that of the pair in use', async (context) => {
  const {peer, connection} = peerOf(context, false);
  assert.equal(await peer.path(), null);
  const pair = {type: 'candidate-pair', localCandidateId: 'l', remoteCandidateId: 'r'};
  connection.stats = new Map([
    ['other', {...pair, nominated: true, state: 'succeeded', remoteCandidateId: 'l'}],
    ['used', {...pair, currentRoundTripTime: 0.04}],
    ['t', {type: 'transport', selectedCandidatePairId: 'used'}],
    ['l', {candidateType: 'host'}],
    ['r', {candidateType: 'relay'}],
  ]);
  assert.deepEqual(await peer.path(), {way: 'relayed', roundTripMs: 40});
  connection.stats.delete('t');
  assert.equal((await peer.path()).way, 'direct');
});
