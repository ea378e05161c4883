// The page's connection to the program: calls with answers, events, pictures. It is a WebSocket to
// the page's own server, with a new attempt after growing pauses whenever it is lost, or whatever
// else carries the same messages. They are described in the server's PageMessage.h.

import {isDelta} from './framedelta.js';
import {say} from './language.js';

const smallPictureBytes = 32 * 1024;
const retryFirstMs = 500;
const retryLongestMs = 10_000;

export class CallError extends Error {
  constructor({code, message, details}) {
    super(message ?? code);
    this.code = code;
    this.details = details;
  }
}

// The server's events, and what they are called here.
const events = new Map([
  ['state', 'state'],
  ['error', 'streamerror'],
  ['remote', 'remote'],
  ['signal', 'signal'],
  ['log', 'log'],
  ['report', 'report'],
  ['reduced', 'reduced'],
]);

// To the page's own server, in the page's name or another.
export function openSocket(name = 'ws') {
  const address = new URL(name, location.href);
  address.protocol = 'ws:';
  const socket = new WebSocket(address);
  socket.binaryType = 'arraybuffer';
  return socket;
}

// Events: "open", "closed" ({retryMs}, null when there is no other attempt), those above (the
// server's message each) and "picture" ({bytes, number: of this connection's frames, from 1,
// arrivedAt: when the host sent it, on the clock of performance.now()}).
export class Connection extends EventTarget {
  #carrier = null;
  #lastId = 0;
  #calls = new Map();
  #retryMs = retryFirstMs;
  #announcedAgeMs = 0; // of the next picture
  #frames = 0; // that came over this carrier
  #drawn = 0; // of these, or given up
  #acknowledged = 0; // of these
  #isSmall = false; // the last of these
  #mayHoldBack = false; // an acknowledgement
  #shown = null;

  // `carrier` is like a WebSocket: send(), readyState, onopen, onmessage, onclose. Without one it is
  // a WebSocket, which is opened again whenever it is lost.
  open(carrier = null) {
    const used = carrier ?? openSocket();
    this.#mayHoldBack = carrier === null;
    used.onopen = () => this.#opened(used);
    used.onmessage = ({data}) => this.#received(data);
    used.onclose = () => this.#closed(carrier === null);
  }

  get isOpen() {
    return this.#carrier !== null;
  }

  // Resolves with the result; rejects with a CallError.
  call(method, args = null) {
    if (!this.isOpen) return Promise.reject(new CallError({code: 'disconnected'}));
    const id = ++this.#lastId;
    const answer = new Promise((resolve, reject) => this.#calls.set(id, {resolve, reject}));
    this.tell({id, method, arguments: args});
    return answer;
  }

  // Tells the server which sides of the session this page offers, now and after reconnecting.
  show(sides) {
    this.#shown = sides;
    this.tell({show: sides});
  }

  // Each picture that came is drawn or given up, in their order. Every acknowledgement rouses the
  // server, so that one may wait for the next picture: of a page that has nothing else to draw. What
  // carries a connection further tells its rate from acknowledgements.
  acknowledgePicture() {
    ++this.#drawn;
    const isIdle = this.#drawn === this.#frames && this.#drawn - this.#acknowledged === 1;
    if (!(isIdle && this.#mayHoldBack && this.#isSmall)) this.#acknowledge();
  }

  // For a page that cannot make use of deltas.
  requestWholePicture() {
    this.tell({whole: true});
  }

  // Sends what has no answer. What is sent while the carrier closes goes nowhere, and a browser
  // complains of it.
  tell(message) {
    if (this.#carrier?.readyState === WebSocket.OPEN) this.#carrier.send(JSON.stringify(message));
  }

  #acknowledge() {
    const count = this.#drawn - this.#acknowledged;
    this.#acknowledged = this.#drawn;
    if (count > 0) this.tell({ack: count});
  }

  #opened(carrier) {
    this.#carrier = carrier;
    this.#frames = this.#drawn = this.#acknowledged = 0;
    this.#retryMs = retryFirstMs;
    if (this.#shown) this.tell({show: this.#shown});
    this.#emit('open');
  }

  #closed(opensAgain) {
    this.#carrier = null;
    const calls = [...this.#calls.values()];
    this.#calls.clear();
    for (const {reject} of calls) reject(new CallError({code: 'disconnected'}));
    const retryMs = opensAgain ? this.#retryMs : null;
    if (opensAgain) {
      this.#retryMs = Math.min(retryMs * 2, retryLongestMs);
      setTimeout(() => this.open(), retryMs);
    }
    this.#emit('closed', {retryMs});
  }

  #received(data) {
    if (data instanceof ArrayBuffer) {
      const arrivedAt = performance.now() - this.#announcedAgeMs;
      this.#announcedAgeMs = 0;
      this.#isSmall = isDelta(data) && data.byteLength < smallPictureBytes;
      // The next may come while a large one is decoded.
      if (!this.#isSmall) this.#acknowledge();
      this.#emit('picture', {bytes: data, number: ++this.#frames, arrivedAt});
      return;
    }
    const message = JSON.parse(data);
    if (message.event === 'frame') {
      this.#announcedAgeMs = message.ageMs;
    } else if (message.event === 'question') {
      this.tell({answer: message.word});
    } else if (events.has(message.event)) {
      this.#emit(events.get(message.event), message);
    } else {
      this.#answered(message);
    }
  }

  #answered(message) {
    const call = this.#calls.get(message.id);
    if (!call) return;
    this.#calls.delete(message.id);
    if (message.error) {
      call.reject(new CallError(message.error));
    } else if (message.notImplemented) {
      call.reject(new CallError({code: 'not_available'}));
    } else {
      call.resolve(message.result);
    }
  }

  #emit(type, detail) {
    this.dispatchEvent(new CustomEvent(type, {detail}));
  }
}

// Says in an element of the page whether it is connected.
export function showConnection(connection, element) {
  const show = (state, id, values) => {
    element.dataset.state = state;
    say(element, id, values);
  };
  connection.addEventListener('open', () => show('connected', 'connection.connected'));
  connection.addEventListener('closed', ({detail}) => {
    const seconds = Math.ceil(detail.retryMs / 1000);
    show('disconnected', 'connection.lost', {seconds});
  });
}
