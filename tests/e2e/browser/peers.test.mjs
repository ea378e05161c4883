// Data channels between two real browsers: the customer's page, before a program that the test
// works, as carrier of a guest, and the modules of a supporter's page at the other end.

import assert from 'node:assert/strict';
import { after, afterEach, before, beforeEach, test } from 'node:test';

import { FakeProgram, idle, pageFolders, serveFiles, session } from './support/FakeProgram.mjs';
import { launch, launchServer } from './support/HostPage.mjs';
import { keyTableFolder } from './support/built.mjs';
import { until } from './support/until.mjs';

const connected = { ...session, stage: 'connected', name: 'Ann', sinceMs: 0 };

let files;
let customersBrowser;
let supportersBrowser;
let customer;
let supporter;
let program;

before(async () => {
  files = await serveFiles(...pageFolders, keyTableFolder);
  customersBrowser = await launch();
});

beforeEach(async () => {
  supportersBrowser = await launchServer();
  customer = await (await customersBrowser.newContext()).newPage();
  supporter = await (await supportersBrowser.connect()).newPage();
  program = await FakeProgram.attach(customer);
  await customer.goto(`${files.address}0123/`);
  await supporter.goto(`${files.address}icon.svg`);
  await answerOffers();
  await until('the page', () => program.socket);
  program.sendRemote([connected]);
  await carrySignals();
});

afterEach(async () => {
  await customer.context().close();
  await supportersBrowser.kill();
});

after(async () => {
  await customersBrowser?.close();
  files?.close();
});

// A supporter's page that keeps what comes.
async function answerOffers() {
  await supporter.exposeFunction('tell', (signal) =>
    program.send({ event: 'signal', remote: 1, signal }),
  );
  await supporter.evaluate(async () => {
    const { Peer } = await import('/peer.js');
    const { Connection } = await import('/connection.js');
    const peer = new Peer({ iceServers: [], offers: false, tell: (signal) => window.tell(signal) });
    const connection = new Connection();
    const seen = { states: [], pictures: [], closed: false };
    connection.addEventListener('state', ({ detail }) => seen.states.push(detail.session));
    connection.addEventListener('picture', async ({ detail: { bytes, arrivedAt } }) => {
      const digest = new Uint8Array(await crypto.subtle.digest('SHA-256', bytes));
      const ageMs = performance.now() - arrivedAt;
      seen.pictures.push({ length: bytes.byteLength, digest: [...digest], ageMs });
      connection.acknowledgePicture();
    });
    connection.addEventListener('closed', () => (seen.closed = true));
    connection.show({ customer: false, picture: true, input: false });
    connection.open(peer.carrier);
    Object.assign(window, { peer, seen });
  });
}

// What the customer's page tells the supporter's, until the two are connected.
async function carrySignals() {
  const { texts } = program;
  let carried = 0;
  await until('the data channels', async () => {
    for (; carried < texts.length; ++carried) {
      const { remote, signal } = texts[carried];
      if (remote === 1 && signal) await supporter.evaluate((s) => window.peer.take(s), signal);
    }
    return program.guests.has('guest-1');
  });
}

const seen = () => supporter.evaluate(() => window.seen);
const guest = () => program.guests.get('guest-1');
const digestOf = async (bytes) => [...new Uint8Array(await crypto.subtle.digest('SHA-256', bytes))];

test('texts and frames cross, both ways, in their order', async () => {
  await until('the supporter’s first text', () => guest().texts.length === 1);
  assert.deepEqual(JSON.parse(guest().texts[0]), {
    show: { customer: false, picture: true, input: false },
  });
  await until('the way', () => program.has({ remote: 1, path: 'direct' }));
  guest().socket.send(JSON.stringify({ ...idle, session: 'live' }));
  const frames = [1, 16_383, 16_384, 3_000_000].map((length, seed) =>
    Buffer.from({ length }, (_, at) => (at * 31 + seed) % 251),
  );
  frames.push(Buffer.alloc(16 * 1024 * 1024, 7));
  for (const frame of frames) {
    guest().socket.send(JSON.stringify({ ageMs: 60_000, event: 'frame' }));
    guest().socket.send(frame);
  }
  await until('the frames', async () => (await seen()).pictures.length === frames.length);
  const { pictures, states } = await seen();
  assert.deepEqual(states, ['live']);
  for (const [index, frame] of frames.entries()) {
    assert.equal(pictures[index].length, frame.length);
    assert.deepEqual(pictures[index].digest, await digestOf(frame));
    assert.ok(pictures[index].ageMs >= 60_000);
  }
  await until('the acknowledgements', () => guest().texts.length === 1 + frames.length);
  assert.equal(guest().texts.at(-1), '{"ack":1}');
  const path = await supporter.evaluate(() => window.peer.path());
  assert.equal(path.way, 'direct');
  assert.ok(path.roundTripMs >= 0 && path.roundTripMs < 1000);
});

test('a supporter who leaves is noticed at once', async () => {
  await supporter.evaluate(() => window.peer.close());
  await until('the loss', () => program.has({ remote: 1, lost: true }), 5000);
});

test('a supporter who is killed is noticed', async () => {
  await supportersBrowser.kill();
  await until('the loss', () => program.has({ remote: 1, lost: true }));
});

test('a session that ends ends the connection', async () => {
  program.sendRemote([{ ...connected, stage: 'ended' }]);
  await until('the end', async () => (await seen()).closed);
  assert.equal(program.has({ remote: 1, lost: true }), false);
});

test('a guest’s connection that the program closes is lost', async () => {
  await guest().socket.close();
  await until('the loss', () => program.has({ remote: 1, lost: true }), 5000);
  await until('the end', async () => (await seen()).closed);
});
