// A supporter's way through one invitation: joining, the customer's answer, the peer connection, and
// what is done when it is lost. The clock is here, and all else is given.

import {textOf, utf8} from './trust/bytes.js';

const attemptMaxMs = 8_000; // of a resumption
const retryMs = 1_000;
const wordMs = 500; // for the customer’s side to say that it meant to end the connection
const failuresMax = 2; // peer connections in a row that never stood

// How long a stage may take, and how it ends then.
const limits = {
  joining: [15_000, 'noAnswer'],
  asked: [150_000, 'unanswered'],
  connecting: [60_000, 'noWay'],
  resuming: [30_000, 'lost'],
};

// `stage` is 'joining', 'asked' (by now with `words`), 'connecting', 'connected', 'resuming', or how
// it ended: the final states of a Guest, 'unreachable' (the broker), 'noAnswer', 'unanswered', 'gone',
// 'noWay' (between the computers), 'lost', 'left', or what the customer's side said: 'stopped',
// 'disconnected', 'departed'.
export class Help {
  stage = 'joining';
  words = null;
  peer = null;
  #given;
  #guest;
  #place = null;
  #signalling = null;
  #isOpen = false; // the signalling
  #attempt = 0; // counts them; what comes of an older one is not for us
  #failures = 0;
  #timers = {};

  // `guest` is a Guest, `digits` what its code begins with, if it has one, and `connection` the
  // page's Connection. `readPlace` resolves with {broker, iceServers}, `openSignalling` as
  // Signalling.open does, `makePeer` makes a Peer, `onChange` is told of every stage.
  constructor(given) {
    this.#given = given;
    this.#guest = given.guest;
    given.connection.addEventListener('open', () => this.#connected());
    given.connection.addEventListener('closed', () => this.#disconnected());
  }

  get isOver() {
    return !['joining', 'asked', 'connecting', 'connected', 'resuming'].includes(this.stage);
  }

  async join() {
    this.#enter('joining');
    await this.#try(await this.#guest.join());
  }

  async leave() {
    if (['connecting', 'connected'].includes(this.stage)) await this.#say({type: 'leave'});
    this.#end('left');
  }

  #enter(stage) {
    this.stage = stage;
    const [ms, ending] = limits[stage] ?? [];
    this.#wait('stage', ms, () =>
      this.#end(stage === 'joining' && !this.#isOpen ? 'unreachable' : ending),
    );
    this.#given.onChange();
  }

  #end(stage) {
    if (this.isOver) return;
    ++this.#attempt;
    for (const name of Object.keys(this.#timers)) this.#wait(name, null);
    this.#signalling?.leave();
    this.#dropPeer();
    this.#enter(stage);
  }

  // One timer of each name at a time; none without a time.
  #wait(name, ms, work) {
    clearTimeout(this.#timers[name]);
    if (ms) this.#timers[name] = setTimeout(work, ms);
  }

  // --- Signalling

  // `first` is the attempt's first message.
  async #try(first) {
    const attempt = ++this.#attempt;
    const ifCurrent = (work) => (...args) => attempt === this.#attempt && work(...args);
    this.#isOpen = false;
    if (this.stage === 'resuming') {
      this.#wait('attempt', attemptMaxMs, ifCurrent(() => this.#resume()));
    }
    try {
      this.#place = await this.#given.readPlace();
      const signalling = await this.#given.openSignalling({
        broker: this.#place.broker,
        nonce: this.#guest.nonce,
        onOpen: ifCurrent(() => this.#opened(first)),
        onMessage: ifCurrent((bytes) => this.#received(attempt, bytes)),
        onGone: ifCurrent(() => this.#customerGone()),
        onClosed: ifCurrent(() => this.#closed()),
      });
      if (attempt === this.#attempt) this.#signalling = signalling;
      else signalling.leave();
    } catch {
      if (attempt === this.#attempt) this.#closed();
    }
  }

  #opened(first) {
    this.#isOpen = true;
    this.#send(first);
    if (this.#guest.sid) this.#signalling.watch(this.#guest.sid);
  }

  #send(bytes) {
    const {inbox} = this.#guest;
    if (bytes) this.#signalling?.send({inbox, place: this.#given.digits}, bytes);
  }

  #closed() {
    this.#signalling = null;
    if (this.stage === 'resuming') {
      this.#wait('attempt', retryMs, () => this.#resume());
    } else if (this.stage === 'connecting') {
      this.#resume();
    } else if (this.stage !== 'connected') { // while data flow it is not needed
      this.#end(this.#isOpen ? 'gone' : 'unreachable');
    }
  }

  // As long as data flow it does not matter, and a customer who comes back need not be asked again.
  #customerGone() {
    if (this.stage === 'joining' || this.stage === 'asked') this.#end('gone');
  }

  async #received(attempt, bytes) {
    const before = this.#guest.state;
    const {send, words, message} = await this.#guest.receive(bytes);
    if (attempt !== this.#attempt) return;
    this.#send(send);
    const {state} = this.#guest;
    if (words) {
      this.words = words;
      this.#signalling.watch(this.#guest.sid);
      this.#enter('asked');
    } else if (message) {
      this.#heard(message);
    } else if (state === 'allowed' && before !== state) {
      this.#wait('attempt', null);
      this.#enter('connecting');
    } else if (state === 'lost') {
      if (!this.#hasFailed()) this.#resume();
    } else if (!['joining', 'asked', 'allowed', 'resuming'].includes(state)) {
      this.#end(state);
    }
  }

  async #resume() {
    if (this.isOver) return;
    ++this.#attempt;
    this.#signalling?.leave();
    this.#signalling = null;
    this.#dropPeer();
    if (this.stage !== 'resuming') this.#enter('resuming');
    const attempt = this.#attempt;
    const first = await this.#guest.resume();
    if (attempt === this.#attempt) await this.#try(first);
  }

  // --- Inside the sealed channel

  async #say(message) {
    this.#send(await this.#guest.seal(utf8(JSON.stringify(message))));
  }

  #heard(bytes) {
    const {type, signal, why} = messageOf(bytes);
    if (type === 'ended') {
      this.#end({stopped: 'stopped', disconnected: 'disconnected'}[why] ?? 'departed');
    } else if (type === 'signal' && signal?.description) {
      this.#connect(signal);
    } else if (type === 'signal' && signal) {
      this.peer?.take(signal);
    }
  }

  // --- The peer connection

  // With every offer another begins.
  #connect(offer) {
    this.#dropPeer();
    if (this.stage === 'connected') this.#enter('connecting');
    const tell = (signal) => this.#say({type: 'signal', signal});
    this.peer = this.#given.makePeer({iceServers: this.#place.iceServers ?? [], offers: false, tell});
    this.#given.connection.open(this.peer.carrier);
    this.peer.take(offer);
  }

  #dropPeer() {
    const {peer} = this;
    this.peer = null;
    peer?.close();
  }

  #connected() {
    if (!this.peer) return;
    this.#failures = 0;
    this.#enter('connected');
  }

  #disconnected() {
    if (!this.peer) return;
    this.#dropPeer();
    if (this.#hasFailed()) return;
    this.#enter('resuming');
    this.#wait('attempt', wordMs, () => this.#resume());
  }

  // Whichever side notices that it cannot be made.
  #hasFailed() {
    if (this.stage === 'connecting' && ++this.#failures >= failuresMax) this.#end('noWay');
    return this.isOver;
  }
}

function messageOf(bytes) {
  try {
    return Object(JSON.parse(textOf(bytes)));
  } catch {
    return {};
  }
}
