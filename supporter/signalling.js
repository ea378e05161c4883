// One attempt's way to the customer, over an MQTT broker (version 3.1.1). It does not come back once
// it is lost: the next attempt has a name of its own.

import {idBytes, idText, sidOf} from './trust/bytes.js';

const prefix = 'quorvin/1/';
const keepAliveS = 20;
const connectMaxMs = 10_000;

// Where everybody may read that a client has gone, and nobody sees which.
const goneTopic = (sid) => `${prefix}gone/${idText(sid)}`;

export class Signalling {
  #client;
  #own;
  #gone; // topics
  #isOver = false;

  // `connect` is mqtt.js's. Handlers: onOpen(), onMessage(bytes), onGone() of whoever is watched,
  // onClosed() however it came about, but for leave().
  static async open(connect, {broker, nonce, onOpen, onMessage, onGone, onClosed}) {
    const signalling = new Signalling();
    const id = nonce.subarray(0, idBytes);
    signalling.#own = `${prefix}${idText(id)}`;
    signalling.#gone = goneTopic(await sidOf(id));
    const client = connect(broker, {
      protocolVersion: 4,
      clientId: idText(id),
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

  watch(sid) {
    if (!this.#isOver) this.#client.subscribe(goneTopic(sid), {qos: 2});
  }

  // To the customer's `inbox`, or as long as that is not known to the `place` of the code.
  send({inbox, place}, bytes) {
    const topic = inbox ? `${prefix}${idText(inbox)}` : `${prefix}place/${place}`;
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
