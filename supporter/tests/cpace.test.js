// The draft's own vectors, at the initiator's end.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {fromHex, readVectors, toHex} from './support.js';
import {Initiator, generator, scalarMultVfy, scalarOf} from '../trust/cpace.js';

const vectors = readVectors('cpace.json');
const at = (name) => fromHex(vectors[name]);
const inputs = {password: at('password'), channel: at('channel'), session: at('session')};

test('the generator is the one of the draft', async () => {
  assert.equal(toHex((await generator(inputs)).toBytes()), vectors.generator);
});

test('the shares and the product are those of the draft', async () => {
  for (const [scalar, share, other] of [
    ['scalarA', 'shareA', 'shareB'],
    ['scalarB', 'shareB', 'shareA'],
  ]) {
    assert.equal(toHex((await Initiator.start(inputs, at(scalar))).share), vectors[share]);
    assert.equal(toHex(scalarMultVfy(scalarOf(at(scalar)), at(other))), vectors.product);
  }
});

test('the key is the one of the draft', async () => {
  const run = await Initiator.start(inputs, at('scalarA'));
  assert.equal(toHex(await run.key(at('dataA'), at('shareB'), at('dataB'))), vectors.key);
  assert.notEqual(toHex(await run.key(at('dataB'), at('shareB'), at('dataA'))), vectors.key);
});

test('the identity, and what is no canonical encoding of an element, end the run', async () => {
  const scalar = scalarOf(fromHex(vectors.valid.scalar));
  const product = scalarMultVfy(scalar, fromHex(vectors.valid.element));
  assert.equal(toHex(product), vectors.valid.product);
  const high = at('shareB');
  high[31] |= 0x80;
  const prime = fromHex(`ed${'ff'.repeat(30)}7f`); // 0 in disguise
  const run = await Initiator.start(inputs, at('scalarA'));
  const elements = [...vectors.invalid.map(fromHex), high, prime, at('shareB').subarray(1)];
  for (const element of elements) {
    assert.equal(scalarMultVfy(scalar, element), undefined);
    assert.equal(await run.key(at('dataA'), element, at('dataB')), undefined);
  }
});

test('passwords can have any length', async () => {
  for (const [length, expected] of Object.entries(readVectors('trust.json').generators)) {
    const counted = (first) => Uint8Array.from({length}, (_, index) => index + first);
    const [password, other] = [counted(0), counted(1)];
    const element = await generator({password, channel: other, session: other});
    assert.equal(toHex(element.toBytes()), expected, length);
  }
});
