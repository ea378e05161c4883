// A connection's messages over two data channels.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {FakeChannel} from './fakechannel.js';
import {
  ChannelCarrier,
  FrameJoiner,
  frameBytesMax,
  pieceBytesMax,
  piecesOf,
  textCharactersMax,
} from '../../page/channelframes.js';

const contentMax = pieceBytesMax - 1;

function frameOf(bytes) {
  const frame = new Uint8Array(bytes);
  for (let at = 0; at < bytes; ++at) frame[at] = (at * 31) % 251;
  return frame;
}

function pieceOf(head, bytes) {
  const piece = new Uint8Array(bytes + 1);
  piece[0] = head;
  return piece.buffer;
}

test('a frame of any length comes out of its pieces as it was', () => {
  const joiner = new FrameJoiner();
  const lengths = [0, 1, contentMax - 1, contentMax, contentMax + 1, 3 * contentMax, 100_000];
  for (const length of lengths) {
    const pieces = [...piecesOf(frameOf(length).buffer)];
    assert.equal(pieces.length, Math.max(1, Math.ceil(length / contentMax)), `${length} bytes`);
    assert.ok(pieces.every((piece) => piece.length <= pieceBytesMax));
    assert.deepEqual(pieces.map(([head]) => head).indexOf(1), pieces.length - 1);
    const joined = pieces.map((piece) => joiner.take(piece.slice().buffer));
    assert.ok(joined.slice(0, -1).every((frame) => frame === null));
    assert.deepEqual(new Uint8Array(joined.at(-1)), frameOf(length));
  }
});

test('what is no piece is refused', () => {
  const wrong = [
    new ArrayBuffer(0),
    pieceOf(2, 10),
    pieceOf(2, contentMax),
    pieceOf(0, contentMax - 1),
    pieceOf(0, contentMax + 1),
    pieceOf(1, contentMax + 1),
    pieceOf(0, 0),
  ];
  for (const piece of wrong) assert.throws(() => new FrameJoiner().take(piece), RangeError);
});

test('a frame has an end', () => {
  const joiner = new FrameJoiner();
  const fitting = Math.floor(frameBytesMax / contentMax);
  for (let count = 0; count < fitting; ++count) joiner.take(pieceOf(0, contentMax));
  const rest = frameBytesMax - fitting * contentMax;
  assert.throws(() => joiner.take(pieceOf(1, rest + 1)), RangeError);
  const another = new FrameJoiner();
  for (let count = 0; count < fitting; ++count) another.take(pieceOf(0, contentMax));
  assert.equal(another.take(pieceOf(1, rest)).byteLength, frameBytesMax);
});

// Two carriers, and what each has received.
function carriers() {
  const controls = FakeChannel.pair();
  const frames = FakeChannel.pair();
  return [0, 1].map((end) => {
    const carrier = new ChannelCarrier(controls[end], frames[end]);
    const received = [];
    const happened = [];
    carrier.onopen = () => happened.push('open');
    carrier.onclose = () => happened.push('close');
    carrier.onmessage = ({data}) => received.push(data);
    return {carrier, received, happened, control: controls[end], frames: frames[end]};
  });
}
function openCarriers() {
  const ends = carriers();
  for (const {control, frames} of ends) {
    control.open();
    frames.open();
  }
  return ends;
}

test('it opens once both channels have, and closes with either', () => {
  for (const which of ['control', 'frames']) {
    const [one, other] = carriers();
    one.control.open();
    assert.deepEqual(one.happened, []);
    one.carrier.send('{"early":1}');
    assert.deepEqual(one.control.sent, []);
    one.frames.open();
    assert.deepEqual(one.happened, ['open']);
    assert.equal(one.carrier.readyState, WebSocket.OPEN);
    other[which].close();
    assert.deepEqual(one.happened, ['open', 'close']);
    assert.equal(one.carrier.readyState, WebSocket.CLOSED);
    assert.equal(one.frames.readyState, 'closed');
    assert.equal(one.control.readyState, 'closed');
  }
});

test('texts go beside the frames, and what tells of a frame just before it', () => {
  const [one, other] = openCarriers();
  const frame = frameOf(40_000).buffer;
  const age = '{"ageMs":12,"event":"frame"}';
  one.carrier.send('{"event":"state","session":"live"}');
  one.carrier.send(age);
  one.carrier.send(frame);
  assert.deepEqual(one.control.sent, ['{"event":"state","session":"live"}']);
  assert.equal(one.frames.sent[0], age);
  assert.equal(one.frames.sent.length, 4);
  assert.deepEqual(other.received, ['{"event":"state","session":"live"}', age, frame]);
  other.carrier.send('{"ack":1}');
  assert.deepEqual(one.received, ['{"ack":1}']);
});

test('the browser is not given more than a bound ahead, and everything goes out in its order', () => {
  const [one, other] = openCarriers();
  const frames = [frameOf(3_000_000).buffer, frameOf(100_000).buffer];
  const send = one.frames.send;
  one.frames.send = function (data) {
    assert.ok(this.bufferedAmount < 1024 * 1024 + pieceBytesMax);
    this.bufferedAmount += data.length;
    send.call(this, data);
  };
  for (const frame of frames) one.carrier.send(frame);
  assert.equal(other.received.length, 0);
  while (one.frames.bufferedAmount > 0) {
    one.frames.bufferedAmount = 0;
    one.frames.onbufferedamountlow();
  }
  assert.deepEqual(other.received, frames);
});

test('whoever sends what it must not is left', () => {
  const wrong = [
    ['control', new ArrayBuffer(4)],
    ['control', 'x'.repeat(textCharactersMax + 1)],
    ['frames', 'x'.repeat(textCharactersMax + 1)],
    ['frames', pieceOf(7, 1)],
  ];
  for (const [which, data] of wrong) {
    const [one, other] = openCarriers();
    other[which].send(data);
    assert.deepEqual(one.happened, ['open', 'close']);
    assert.deepEqual(one.received, []);
    one.frames.receive('{"late":1}');
    assert.deepEqual(one.received, []);
  }
});
