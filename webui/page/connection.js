// The page's WebSocket: calls with answers, events, pictures, and a new attempt with growing
// pauses whenever it is lost. What crosses it is described in the server's PageMessage.h.

const retryFirstMs = 500;
const retryLongestMs = 10_000;

export class CallError extends Error {
  constructor({code, message, details}) {
    super(message ?? code);
    this.code = code;
    this.details = details;
  }
}

// Events: "open", "closed" ({retryMs}), "state", "streamerror" (the server's message each) and
// "picture" ({bytes, number: of this connection's frames, from 1, arrivedAt: when the host sent it,
// on the clock of performance.now()}).
export class Connection extends EventTarget {
  #socket = null;
  #lastId = 0;
  #calls = new Map();
  #retryMs = retryFirstMs;
  #announcedAgeMs = 0; // of the next picture
  #frames = 0; // that came over this socket
  #shown = null;

  open() {
    const address = new URL('ws', location.href);
    address.protocol = 'ws:';
    const socket = new WebSocket(address);
    socket.binaryType = 'arraybuffer';
    socket.onopen = () => this.#opened(socket);
    socket.onmessage = ({data}) => this.#received(data);
    socket.onclose = () => this.#closed();
  }

  get isOpen() {
    return this.#socket !== null;
  }

  // Resolves with the result; rejects with a CallError.
  call(method, args = null) {
    if (!this.isOpen) return Promise.reject(new CallError({code: 'disconnected'}));
    const id = ++this.#lastId;
    const answer = new Promise((resolve, reject) => this.#calls.set(id, {resolve, reject}));
    this.#send({id, method, arguments: args});
    return answer;
  }

  // Tells the server which sides of the session this page offers, now and after reconnecting.
  show(sides) {
    this.#shown = sides;
    this.#send({show: sides});
  }

  // For the customer's page: whether supporters may use mouse and keyboard.
  allowControl(allowed) {
    this.#send({control: allowed});
  }

  acknowledgePicture() {
    this.#send({ack: 1});
  }

  // For a page that cannot make use of deltas.
  requestWholePicture() {
    this.#send({whole: true});
  }

  // What is sent while the socket closes goes nowhere, and a browser complains of it.
  #send(message) {
    if (this.#socket?.readyState === WebSocket.OPEN) this.#socket.send(JSON.stringify(message));
  }

  #opened(socket) {
    this.#socket = socket;
    this.#frames = 0;
    this.#retryMs = retryFirstMs;
    if (this.#shown) this.#send({show: this.#shown});
    this.#emit('open');
  }

  #closed() {
    this.#socket = null;
    const calls = [...this.#calls.values()];
    this.#calls.clear();
    for (const {reject} of calls) reject(new CallError({code: 'disconnected'}));
    const retryMs = this.#retryMs;
    this.#retryMs = Math.min(retryMs * 2, retryLongestMs);
    setTimeout(() => this.open(), retryMs);
    this.#emit('closed', {retryMs});
  }

  #received(data) {
    if (data instanceof ArrayBuffer) {
      const arrivedAt = performance.now() - this.#announcedAgeMs;
      this.#announcedAgeMs = 0;
      this.#emit('picture', {bytes: data, number: ++this.#frames, arrivedAt});
      return;
    }
    const message = JSON.parse(data);
    if (message.event === 'frame') {
      this.#announcedAgeMs = message.ageMs;
    } else if (message.event === 'question') {
      this.#send({answer: message.word});
    } else if (message.event === 'state') {
      this.#emit('state', message);
    } else if (message.event === 'error') {
      this.#emit('streamerror', message);
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
  const show = (state, text) => {
    element.dataset.state = state;
    element.textContent = text;
  };
  connection.addEventListener('open', () => show('connected', 'Connected'));
  connection.addEventListener('closed', ({detail}) => {
    const seconds = Math.ceil(detail.retryMs / 1000);
    show('disconnected', `Connection lost, trying again in ${seconds} s`);
  });
}
