// One attempt's way to the customer, over an MQTT broker (version 3.1.1). It does not come back once
// it is lost: the next attempt has a name of its own.

import {utf8} from './trust/bytes.js';

const prefix = 'quorvin/1/';
const keepAliveS = 20;
const connectMaxMs = 10_000;

const hex = (bytes) => Array.from(bytes, (byte) => byte.toString(16).padStart(2, '0')).join('');

export const idOf = (bytes) => hex(bytes.subarray(0, 16));

// Where everybody may read that a client has gone, and nobody sees which.
async function goneTopic(id) {
  const digest = await crypto.subtle.digest('SHA-256', utf8(id));
  return `${prefix}gone/${idOf(new Uint8Array(digest))}`;
}

export class Signalling {
  #client;
  #own;
  #gone; // topics
  #isOver = false;

  // `connect` is mqtt.js's. Handlers: onOpen(), onMessage(bytes), onGone() of whoever is watched,
  // onClosed() however it came about, but for leave().
  static async open(connect, {broker, nonce, onOpen, onMessage, onGone, onClosed}) {
    const signalling = new Signalling();
    const id = idOf(nonce);
    signalling.#own = `${prefix}${id}`;
    signalling.#gone = await goneTopic(id);
    const client = connect(broker, {
      protocolVersion: 4,
      clientId: id,
      clean: true,
      keepalive: keepAliveS,
      connectTimeout: connectMaxMs,
      reconnectPeriod: 0,
      timerVariant: 'native', // its other timers are a script that the page's policy forbids
      will: {topic: signalling.#gone, payload: Uint8Array.of(1), qos: 1, retain: false},
    });
    signalling.#client = client;
    const unlessOver = (handle) => (...args) => signalling.#isOver || handle(...args);
    const close = unlessOver(() => {
      signalling.#isOver = true;
      client.end(true);
      onClosed();
    });
    const open = unlessOver((error, [granted] = []) =>
      error || !granted || granted.qos > 2 ? close() : onOpen(),
    );
    client.on('connect', () => client.subscribe(signalling.#own, {qos: 2}, open));
    client.on('error', close);
    client.on('close', close);
    client.on(
      'message',
      unlessOver((topic, payload) =>
        topic === signalling.#own ? onMessage(new Uint8Array(payload)) : onGone(),
      ),
    );
    return signalling;
  }

  async watch(sid) {
    const topic = await goneTopic(hex(sid));
    if (!this.#isOver) this.#client.subscribe(topic, {qos: 2});
  }

  // To the customer of an invitation: by `sid`, or as long as that is not known by `place`.
  send({sid, place}, bytes) {
    const topic = sid ? `${prefix}${hex(sid)}` : `${prefix}place/${place}`;
    if (!this.#isOver) this.#client.publish(topic, bytes, {qos: 2});
  }

  // In order: what was sent still goes out, and then the customer is told, as only what has the same
  // quality overtakes nothing.
  leave() {
    if (this.#isOver) return;
    this.#isOver = true;
    this.#client.publish(this.#gone, Uint8Array.of(1), {qos: 2});
    this.#client.end();
  }
}
