// Keys and sealed messages, and that nothing else is taken for one.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {fromHex, readVectors, toHex} from './support.js';
import {joined, textOf, utf8} from '../trust/bytes.js';
import {SealedChannel, deriveKey, messageBytesMax, wordsToCompare} from '../trust/sealedchannel.js';
import {words} from '../trust/words.js';

const {keys} = readVectors('trust.json');
const secret = fromHex(keys.secret);
const transcript = {
  sid: fromHex(keys.sid),
  supporterNonce: fromHex(keys.supporterNonce),
  customerNonce: fromHex(keys.customerNonce),
};
const other = {customer: 'supporter', supporter: 'customer'};
const start = (party) => SealedChannel.start(secret, transcript, party);
const sealedBy = async (party, ...texts) => {
  const channel = await start(party);
  return Promise.all(texts.map((text) => channel.seal(utf8(text))));
};

test('keys and words are those of the other end', async () => {
  for (const [purpose, key] of Object.entries(keys.purposes)) {
    assert.equal(toHex(await deriveKey(secret, transcript, purpose)), key);
  }
  assert.deepEqual(await wordsToCompare(secret, transcript, fromHex(keys.opening)), keys.words);
});

test('there are 2048 words', () => {
  assert.equal(words.length, 2048);
  assert.equal(words.at(0), 'abacus');
  assert.equal(words.at(-1), 'zoom');
});

test('sealed messages are those of the other end', async () => {
  for (const party of ['customer', 'supporter']) {
    const sealed = await sealedBy(party, 'first', '', 'third');
    assert.deepEqual(sealed.map(toHex), keys.sealed[party]);
    const receiver = await start(other[party]);
    const opened = await Promise.all(sealed.map((bytes) => receiver.open(bytes)));
    assert.deepEqual(opened.map(textOf), ['first', '', 'third']);
  }
});

async function expectEnd(receiver, sealed) {
  assert.equal(await receiver.open(sealed), undefined);
  assert.equal(receiver.ended, true);
  assert.equal(await receiver.seal(utf8('x')), undefined);
  const [next] = await sealedBy('customer', 'next');
  assert.equal(await receiver.open(next), undefined);
}

test('a repeated, missing or exchanged message ends the channel', async () => {
  const [first, second] = await sealedBy('customer', 'first', 'second');
  const receiver = await start('supporter');
  assert.equal(textOf(await receiver.open(first)), 'first');
  await expectEnd(receiver, first);
  await expectEnd(await start('supporter'), second);
  second[7] = 0; // the first one's counter
  await expectEnd(await start('supporter'), second);
});

test('any other bit, and any other length, ends the channel', async () => {
  const [sealed] = await sealedBy('customer', 'one');
  for (let bit = 0; bit < sealed.length * 8; ++bit) {
    const changed = sealed.slice();
    changed[bit >> 3] ^= 1 << bit % 8;
    await expectEnd(await start('supporter'), changed);
  }
  for (let length = 0; length < sealed.length; ++length) {
    await expectEnd(await start('supporter'), sealed.subarray(0, length));
  }
  await expectEnd(await start('supporter'), new Uint8Array([...sealed, 0]));
});

test('a message that comes back to its sender ends the channel', async () => {
  const supporter = await start('supporter');
  await expectEnd(supporter, await supporter.seal(utf8('one')));
});

test('a message of another session ends the channel', async () => {
  const [sealed] = await sealedBy('customer', 'one');
  for (const part of Object.keys(transcript)) {
    const changed = {...transcript, [part]: transcript[part].map((byte) => byte ^ 1)};
    await expectEnd(await SealedChannel.start(secret, changed, 'supporter'), sealed);
  }
});

test('messages have a bound', async () => {
  const [customer, supporter] = [await start('customer'), await start('supporter')];
  const longest = new Uint8Array(messageBytesMax).fill(120);
  assert.deepEqual(await supporter.open(await customer.seal(longest)), longest);
  assert.equal(await customer.seal(new Uint8Array(messageBytesMax + 1)), undefined);
  assert.equal(textOf(await supporter.open(await customer.seal(utf8('next')))), 'next');
});

test('a sealed message that is too long ends the channel', async () => {
  // As only somebody with the key could make it, whose own side has no bound.
  const bytes = fromHex(keys.purposes['customer to supporter']);
  const key = await crypto.subtle.importKey('raw', bytes, 'AES-GCM', false, ['encrypt']);
  const additionalData = new Uint8Array([1, 0, 0, 0, 0, 0, 0, 0, 0]);
  const terms = {name: 'AES-GCM', iv: new Uint8Array(12), additionalData};
  const sealed = async (length) =>
    joined(new Uint8Array(8), new Uint8Array(
      await crypto.subtle.encrypt(terms, key, new Uint8Array(length))));
  assert.ok(await (await start('supporter')).open(await sealed(messageBytesMax)));
  await expectEnd(await start('supporter'), await sealed(messageBytesMax + 1));
});
