// Keys of a session, and messages that nobody else reads, makes, repeats, leaves out or sends back.
// docs/invitation.md has both byte by byte.

import {equal, joined, utf8} from './bytes.js';
import {words} from './words.js';

export const messageBytesMax = 16 * 1024;
const counterBytes = 8;
const tagBytes = 16;
const parties = {customer: 1, supporter: 2};
const purposes = {customer: 'customer to supporter', supporter: 'supporter to customer'};

// The 32 bytes of HKDF with SHA-256 (RFC 5869).
export async function deriveKey(secret, transcript, purpose, extra = new Uint8Array()) {
  const base = await crypto.subtle.importKey('raw', secret, 'HKDF', false, ['deriveBits']);
  const {sid, supporterNonce, customerNonce} = transcript;
  const salt = joined(sid, supporterNonce, customerNonce);
  const info = joined(utf8(`quorvin-support/1 ${purpose}`), extra);
  const terms = {name: 'HKDF', hash: 'SHA-256', salt, info};
  return new Uint8Array(await crypto.subtle.deriveBits(terms, base, 256));
}

// 33 bits of it as three words.
export async function wordsToCompare(secret, transcript, opening) {
  const key = await deriveKey(secret, transcript, 'words', opening);
  const bits = key.subarray(0, 5).reduce((number, byte) => number * 256 + byte, 0);
  return [29, 18, 7].map((shift) => words[Math.floor(bits / 2 ** shift) % words.length]);
}

async function direction(secret, transcript, from) {
  const bytes = await deriveKey(secret, transcript, purposes[from]);
  const use = ['encrypt', 'decrypt'];
  const key = await crypto.subtle.importKey('raw', bytes, 'AES-GCM', false, use);
  bytes.fill(0);
  return {from, key, counter: 0};
}

function termsOf({from, counter}) {
  const bytes = new Uint8Array(counterBytes);
  new DataView(bytes.buffer).setBigUint64(0, BigInt(counter));
  const additionalData = joined([parties[from]], bytes);
  return {name: 'AES-GCM', iv: joined(new Uint8Array(4), bytes), additionalData, counter: bytes};
}

export class SealedChannel {
  ended = false;
  #outward;
  #inward;
  #last = Promise.resolve();

  static async start(secret, transcript, self) {
    const channel = new SealedChannel();
    const other = self === 'supporter' ? 'customer' : 'supporter';
    channel.#outward = await direction(secret, transcript, self);
    channel.#inward = await direction(secret, transcript, other);
    return channel;
  }

  // One after the other, so that messages come out in the order in which they went in.
  #inTurn(work) {
    this.#last = this.#last.then(work, work);
    return this.#last;
  }

  // Nothing for a message that is too long, and after the channel's end.
  seal(message) {
    return this.#inTurn(async () => {
      if (this.ended || message.length > messageBytesMax) return undefined;
      const terms = termsOf(this.#outward);
      ++this.#outward.counter;
      const sealed = await crypto.subtle.encrypt(terms, this.#outward.key, message);
      return joined(terms.counter, new Uint8Array(sealed));
    });
  }

  // Nothing for everything but the other party's next message, which ends the channel for good.
  open(sealed) {
    return this.#inTurn(async () => {
      const terms = termsOf(this.#inward);
      const length = sealed.length - counterBytes - tagBytes;
      const isNext = equal(sealed.subarray(0, counterBytes), terms.counter);
      if (!this.ended && length >= 0 && length <= messageBytesMax && isNext) {
        try {
          const rest = sealed.subarray(counterBytes);
          const message = await crypto.subtle.decrypt(terms, this.#inward.key, rest);
          ++this.#inward.counter;
          return new Uint8Array(message);
        } catch {
          // Ends the channel, as below.
        }
      }
      this.ended = true;
      this.#outward.key = this.#inward.key = undefined;
      return undefined;
    });
  }
}
