// The supporter's side of whole sessions, with what the customer's side wrote in the vectors.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {fromHex, givenBytes, readVectors, toHex} from './support.js';
import {joined, textOf, utf8} from '../trust/bytes.js';
import {Guest} from '../trust/guest.js';
import {parseCode, parseLink} from '../trust/invitation.js';
import {SealedChannel} from '../trust/sealedchannel.js';

const {sessions} = readVectors('trust.json');
const byLink = parseLink(new URL(sessions.link).hash);
const byCode = parseCode(sessions.code);

// Random bytes for one session after the other.
const randomOf = (...made) => givenBytes(made.map(({random}) => random).join(''));
const guestOf = (invitation, ...made) => new Guest(invitation, 'Zoë', randomOf(...made));
const received = (guest, hex) => guest.receive(fromHex(hex));

async function talk(guest, made) {
  const {message} = await received(guest, made.customer);
  assert.equal(textOf(message), 'from the customer');
  assert.equal(toHex(await guest.seal(utf8('from the supporter'))), made.supporter);
}

for (const [name, invitation] of Object.entries({byCode, byLink})) {
  test(`${name}: both ends write the same`, async () => {
    const made = sessions[name];
    const guest = guestOf(invitation, made);
    assert.equal(toHex(await guest.join()), made.join);
    const {send, words} = await received(guest, made.offer);
    assert.equal(toHex(send), made.hello);
    assert.deepEqual(words, made.words);
    assert.equal(guest.state, 'asked');
    assert.deepEqual(await received(guest, made.verdict), {control: true});
    assert.equal(guest.state, 'allowed');
    await talk(guest, made);
  });
}

// As far as a session by link has come with these messages.
async function guestAfter(...messages) {
  const guest = guestOf(byLink, sessions.byLink, sessions.resumed);
  await guest.join();
  for (const message of messages) await received(guest, sessions.byLink[message]);
  return guest;
}
const decline = (guest, reason, version = 1) =>
  guest.receive(new Uint8Array([version, 4, ...guest.nonce, reason]));

test('a lost session goes on with fresh keys', async () => {
  const guest = await guestAfter('offer', 'verdict');
  await decline(guest, 7);
  assert.equal(guest.state, 'lost');
  const made = sessions.resumed;
  assert.equal(toHex(await guest.resume()), made.join);
  const {send, words} = await received(guest, made.offer);
  assert.equal(toHex(send), made.hello);
  assert.equal(words, undefined);
  assert.equal(guest.state, 'resuming');
  await received(guest, sessions.byLink.customer); // of the channel before
  await received(guest, made.verdict);
  assert.equal(guest.state, 'allowed');
  await talk(guest, made);
});

test('messages that come at once are taken in their order', async () => {
  const guest = await guestAfter();
  const {offer, verdict, customer} = sessions.byLink;
  const effects = await Promise.all([offer, verdict, customer].map((hex) => received(guest, hex)));
  assert.equal(textOf(effects[2].message), 'from the customer');
});

test('every way to be declined is told apart', async () => {
  const reasons = ['version', 'wrong', 'expired', 'tooManyTries', 'taken', 'over'];
  for (const [index, reason] of reasons.entries()) {
    for (const before of [[], ['offer']]) {
      const guest = await guestAfter(...before);
      await decline(guest, index + 1, index === 0 ? 2 : 1);
      assert.equal(guest.state, reason);
      assert.deepEqual(await received(guest, sessions.byLink.offer), {});
    }
  }
  const guest = await guestAfter();
  await decline(guest, 99);
  assert.equal(guest.state, 'broken');
});

test('nobody can decline what the customer has allowed', async () => {
  const guest = await guestAfter('offer', 'verdict');
  await decline(guest, 6);
  await talk(guest, sessions.byLink);
});

test('what is for somebody else, or comes twice, changes nothing', async () => {
  const guest = await guestAfter();
  const {offer, verdict} = sessions.byLink;
  const otherSid = fromHex(offer);
  otherSid[34] ^= 1;
  const strange = [sessions.resumed.offer, offer.slice(0, 66), '', verdict, toHex(otherSid)];
  for (const hex of strange) assert.deepEqual(await received(guest, hex), {});
  assert.ok((await received(guest, offer)).send);
  assert.deepEqual(await received(guest, offer), {});
  assert.equal(guest.state, 'asked');
});

test('an offer of another version or length, or with no share, ends it', async () => {
  const {offer} = sessions.byLink;
  const guest = await guestAfter();
  await received(guest, `02${offer.slice(2)}`);
  assert.equal(guest.state, 'version');
  const another = await guestAfter();
  await received(another, offer.slice(0, -64) + '00'.repeat(32));
  assert.equal(another.state, 'broken');
  const third = await guestAfter();
  await received(third, offer.slice(0, -2));
  assert.equal(third.state, 'broken');
});

test('an answer that does not open, or is none, ends it', async () => {
  const changed = sessions.byLink.verdict.replace(/.$/, (digit) => (digit === '0' ? '1' : '0'));
  const guest = await guestAfter('offer');
  await received(guest, changed);
  assert.equal(guest.state, 'broken');
  const {key, offer} = sessions.byLink;
  const [sid, customerNonce] = [offer.slice(68, 100), offer.slice(100, 164)].map(fromHex);
  for (const text of ['', 'null', '{', '{}', '{"type":"resumed"}', '{"type":"hello"}', '{"type":"allowed"}',
    '{"type":"allowed","inbox":"AAAA"}']) {
    const another = await guestAfter('offer');
    const transcript = {sid, supporterNonce: another.nonce, customerNonce};
    const customer = await SealedChannel.start(fromHex(key), transcript, 'customer');
    const head = [1, 3, ...another.nonce];
    const effects = await another.receive(joined(head, await customer.seal(utf8(text))));
    assert.deepEqual([effects, another.state], [{}, 'broken'], text);
    assert.deepEqual(await decline(another, 2), {});
  }
  const reflected = await guestAfter('offer', 'hello');
  assert.equal(reflected.state, 'broken');
});

test('a message that does not open has to be followed by a resumption', async () => {
  const guest = await guestAfter('offer', 'verdict', 'customer', 'customer');
  assert.equal(guest.state, 'lost');
  assert.equal(await guest.seal(utf8('x')), undefined);
  await guest.resume();
  await decline(guest, 6);
  assert.equal(guest.state, 'over');
});
