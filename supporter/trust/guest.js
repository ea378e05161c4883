// The supporter's side of one invitation: it says what to send, is given what comes in, and says
// what that means. docs/invitation.md has the messages.

import {equal, fromBase64Url, idBytes, joined, sidOf, textOf, toBase64Url, utf8} from './bytes.js';
import {Initiator} from './cpace.js';
import {SealedChannel, deriveKey, wordsToCompare} from './sealedchannel.js';

const version = 1;
const kinds = {join: 1, offer: 2, sealed: 3, declined: 4};
const ways = {link: 1, code: 2, resumption: 3};
const declines = [, 'version', 'wrong', 'expired', 'tooManyTries', 'taken', 'over', 'lost'];
const nonceBytes = 32;
const headBytes = 2 + nonceBytes;
const offerBytes = headBytes + idBytes + nonceBytes + 32;

export class Guest {
  // 'joining', 'asked' (the customer is), 'allowed', 'resuming', 'lost' (resume now or never), or
  // how it ended: 'refused', a word of `declines`, or 'broken' for an answer that is none.
  state = 'joining';
  nonce; // the same bytes for one attempt, by which its messages are known
  inbox; // the customer's, once it is known: with a code that is after the customer has allowed
  sid; // by which everybody may know the customer: with a code after the offer
  #invitation;
  #name;
  #random;
  #attempt;
  #channel;
  #resumption;
  #last = Promise.resolve();

  // `invitation` as parseLink or parseCode gives it, `name` as cleanName does.
  constructor(invitation, name, random = (bytes) => crypto.getRandomValues(bytes)) {
    this.#invitation = invitation;
    this.inbox = invitation.inbox;
    this.#name = name;
    this.#random = random;
  }

  // The first message; the answers go to the inbox, or as long as that is not known to the place.
  join() {
    return this.#begin(this.#invitation.way, this.#invitation.password);
  }

  // The first message after the network was lost, once the customer has allowed.
  resume() {
    this.state = 'resuming';
    return this.#begin('resumption', this.#resumption);
  }

  async #begin(way, password) {
    if (this.inbox) this.sid = await sidOf(this.inbox);
    const opening = this.#random(new Uint8Array(nonceBytes));
    const nonce = new Uint8Array(await crypto.subtle.digest('SHA-256', opening));
    const place = way === 'code' ? ` ${this.#invitation.place}` : '';
    const channel = utf8(`quorvin-support/1 ${way}${place}`);
    const inputs = {password, channel, session: nonce};
    const cpace = await Initiator.start(inputs, this.#random(new Uint8Array(32)));
    this.#channel = undefined;
    this.nonce = nonce;
    this.#attempt = {opening, nonce, cpace, way};
    return this.#envelope('join', [ways[way]], cpace.share);
  }

  #envelope(kind, ...parts) {
    return joined([version, kinds[kind]], this.nonce, ...parts);
  }

  // {send, words, control, message}, of which each may be missing; `state` says the rest.
  receive(bytes) {
    const taken = this.#last.then(() => this.#take(bytes));
    this.#last = taken.catch(() => this.#end('broken'));
    return this.#last;
  }

  async #take(bytes) {
    const isOurs = bytes.length >= headBytes && equal(bytes.subarray(2, headBytes), this.nonce);
    if (!isOurs || !['joining', 'asked', 'allowed', 'resuming'].includes(this.state)) return {};
    const rest = bytes.subarray(headBytes);
    if (bytes[1] === kinds.declined && bytes.length === headBytes + 1) return this.#declined(rest[0]);
    if (bytes[0] !== version) return this.#end('version');
    if (bytes[1] === kinds.offer && !this.#channel) return this.#accept(bytes);
    if (bytes[1] === kinds.sealed && this.#channel) return this.#open(rest);
    return {};
  }

  // Anybody can say this, so that it changes nothing once the customer has allowed.
  #declined(reason) {
    if (this.state === 'allowed' && declines[reason] !== 'lost') return {};
    return this.#end(declines[reason] ?? 'broken');
  }

  #end(state) {
    this.state = state;
    return {};
  }

  async #accept(offer) {
    const {opening, nonce, cpace, way} = this.#attempt;
    if (offer.length !== offerBytes) return this.#end('broken');
    const sid = offer.slice(headBytes, headBytes + 16);
    const customerNonce = offer.slice(headBytes + 16, headBytes + 16 + nonceBytes);
    if (this.sid && !equal(this.sid, sid)) return {}; // somebody else's
    const said = joined(utf8('customer'), sid, customerNonce);
    const key = await cpace.key(utf8('supporter'), offer.slice(-32), said);
    if (!key) return this.#end('broken');
    this.sid = sid;
    const transcript = {sid, supporterNonce: nonce, customerNonce};
    this.#channel = await SealedChannel.start(key, transcript, 'supporter');
    const words = await wordsToCompare(key, transcript, opening);
    this.#resumption ??= await deriveKey(key, transcript, 'resumption');
    key.fill(0);
    const hello = {type: 'hello', name: this.#name, opening: toBase64Url(opening)};
    const send = await this.seal(utf8(JSON.stringify(hello)));
    if (way === 'resumption') return {send};
    this.state = 'asked';
    return {send, words};
  }

  // An envelope for the customer, of bytes.
  async seal(message) {
    const sealed = await this.#channel?.seal(message);
    return sealed && this.#envelope('sealed', sealed);
  }

  async #open(sealed) {
    const message = await this.#channel.open(sealed);
    if (!message) return this.#end(this.state === 'allowed' ? 'lost' : 'broken');
    if (this.state === 'allowed') return {message};
    const {type, control, inbox} = JSON.parse(textOf(message));
    if (type === 'refused') return this.#end('refused');
    if (type !== (this.state === 'asked' ? 'allowed' : 'resumed')) return this.#end('broken');
    if (type === 'allowed') {
      this.inbox = fromBase64Url(inbox, idBytes);
      if (!this.inbox) return this.#end('broken');
    }
    this.state = 'allowed';
    return type === 'allowed' ? {control: control === true} : {};
  }
}
