// The initiator of CPACE-RISTR255-SHA512 (draft-irtf-cfrg-cpace-21).

import {ristretto255} from '@noble/curves/ed25519.js';

import {joined, utf8} from './bytes.js';

const {Point} = ristretto255;
const group = utf8('CPaceRistretto255');
const blockBytes = 128;

// LEB128: seven bits a byte, the lowest first, all but the last byte marked.
function withLength(bytes) {
  const length = [];
  let rest = bytes.length;
  for (; rest >= 128; rest >>>= 7) length.push(128 | (rest & 127));
  return joined([...length, rest], bytes);
}
const hashOfTexts = async (...texts) =>
  new Uint8Array(await crypto.subtle.digest('SHA-512', joined(...texts.map(withLength))));

export async function generator({password, channel, session}) {
  const padding = Math.max(0, blockBytes - 3 - password.length - group.length);
  return Point.hashToCurve(
    await hashOfTexts(group, password, new Uint8Array(padding), channel, session),
  );
}

// Nothing for what is no canonical encoding of an element, or when the product is the identity.
export function scalarMultVfy(scalar, element) {
  try {
    const product = Point.fromBytes(element).multiply(scalar);
    return product.is0() ? undefined : product.toBytes();
  } catch {
    return undefined;
  }
}

// 252 of these 256 random bits, the least significant byte first.
export function scalarOf(random) {
  const bytes = Uint8Array.from(random).reverse();
  bytes[0] &= 0x0f;
  return bytes.reduce((number, byte) => (number << 8n) | BigInt(byte), 0n);
}

export class Initiator {
  #scalar;
  #session;

  // `inputs` are the draft's PRS, CI and sid.
  static async start(inputs, random) {
    const run = new Initiator();
    run.#scalar = scalarOf(random);
    run.#session = inputs.session;
    run.share = (await generator(inputs)).multiply(run.#scalar).toBytes();
    return run;
  }

  // The draft's ISK, or nothing when the run has to end.
  async key(ourData, theirShare, theirData) {
    const product = scalarMultVfy(this.#scalar, theirShare);
    const name = utf8('CPaceRistretto255_ISK');
    const said = [this.share, ourData, theirShare, theirData];
    return product && hashOfTexts(name, this.#session, product, ...said);
  }
}
