// Links, codes and names as people hand them on.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {readVectors, toHex} from './support.js';
import {textOf, toBase64Url} from '../trust/bytes.js';
import {cleanName, parseCode, parseLink} from '../trust/invitation.js';

const {sessions} = readVectors('trust.json');
const fragment = new URL(sessions.link).hash;

test('a link has an inbox and a secret', () => {
  const {way, inbox, password} = parseLink(fragment);
  assert.equal(way, 'link');
  assert.equal(inbox.length, 16);
  assert.equal(password.length, 32);
  assert.equal(`#1.${toBase64Url(inbox)}.${toBase64Url(password)}`, fragment);
  assert.deepEqual(parseLink(fragment.slice(1)), {way, inbox, password});
});

test('a link of another version is known as one', () => {
  assert.deepEqual(parseLink(fragment.replace('#1', '#2')), {outcome: 'version'});
  assert.deepEqual(parseLink('#12.whatever'), {outcome: 'version'});
});

test('everything else is no link', () => {
  const cut = fragment.slice(0, -1);
  const last = fragment.at(-1);
  const withRest = String.fromCharCode(last.charCodeAt(0) + 1); // bits beyond the last byte
  for (const text of ['', '#', '#1', '#1..', '#x.a.b', cut, `${fragment}A`, `${fragment}.`,
    cut + withRest, `${cut}=`, fragment.replace(/.$/, '+'), fragment.replace('.', ' .')]) {
    assert.equal(parseLink(text), undefined, text);
  }
});

test('a code has a place and a password', () => {
  for (const text of ['4829135072', '482 913 5072', ' 482-913-5072 ']) {
    const {way, place, password} = parseCode(text);
    assert.deepEqual([way, place, textOf(password)], ['code', '4829', '135072']);
  }
  for (const text of ['', '482913507', '48291350721', '482 913 507x', '４８２ 913 5072']) {
    assert.equal(parseCode(text), undefined, text);
  }
});

test('a name is cleaned as the customer will clean it', () => {
  for (const [given, shown] of Object.entries(readVectors('names.json'))) {
    assert.equal(cleanName(given) ?? 'nothing', shown, toHex(new TextEncoder().encode(given)));
  }
  assert.equal(cleanName('é'.repeat(64)), 'é'.repeat(64));
  assert.equal(cleanName('é'.repeat(65)), undefined);
  assert.equal(cleanName('😀'.repeat(64)), '😀'.repeat(64));
});
