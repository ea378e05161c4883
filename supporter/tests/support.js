// What the tests of trust share.

import {readFileSync} from 'node:fs';
import {webcrypto} from 'node:crypto';

globalThis.crypto ??= webcrypto; // browsers have it, and Node.js from version 19 on

export const fromHex = (text) => Uint8Array.from(text.match(/../g) ?? [], (pair) => parseInt(pair, 16));
export const toHex = (bytes) =>
  Array.from(bytes, (byte) => byte.toString(16).padStart(2, '0')).join('');

const folder = new URL('../../tests/vectors/', import.meta.url);
export const readVectors = (name) => JSON.parse(readFileSync(new URL(name, folder), 'utf8'));

// Gives these bytes, piece by piece.
export function givenBytes(hex) {
  const bytes = fromHex(hex);
  let at = 0;
  return (wanted) => {
    wanted.set(bytes.subarray(at, at + wanted.length));
    at += wanted.length;
    return wanted;
  };
}
