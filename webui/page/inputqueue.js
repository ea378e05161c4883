// Sends the supporter's input to the host in the order in which it came, one call an event. Of moves
// and of turns of the wheel only one call each waits for its answer, so that a slow way is not
// filled with places where the pointer was long ago.

const unansweredMax = 24; // of the 64 that the server takes from a page
const waitingMax = 200;
const scrollMax = 10_000; // of one call

const paced = new Set(['mouseMove', 'scroll']);

export class InputQueue {
  #call;
  #onTrouble;
  #waiting = [];
  #unanswered = 0;
  #pacedUnanswered = new Set();
  #onDrained = [];
  #held = new Set(); // buttons and key codes that went down and not yet up
  #generation = 0; // counts connections; answers to an older one's calls mean nothing any more

  // `call(method, arguments)` gives a promise. `onTrouble` gets the errors of calls that were
  // refused, and {code: 'input_overflow'} when so much waited that all of it was given up.
  constructor(call, onTrouble) {
    this.#call = call;
    this.#onTrouble = onTrouble;
  }

  // `what` is a button's name or a key code.
  holds(what) {
    return this.#held.has(what);
  }

  // A repeated key press is worth nothing once it is late.
  push(event, {repeated = false} = {}) {
    if (repeated && this.#waiting.length > 0) return;
    this.#noteHeld(event);
    this.#join(event);
    this.#waiting.push(event);
    if (this.#waiting.length > waitingMax) {
      this.release();
      this.#onTrouble({code: 'input_overflow'});
    } else {
      this.#flush();
    }
  }

  // Resolves when nothing waits to be sent, with whether all of it was.
  drained() {
    if (this.#waiting.length === 0) return Promise.resolve(true);
    return new Promise((resolve) => this.#onDrained.push(resolve));
  }

  #reviewDrained(areSent) {
    if (this.#waiting.length > 0) return;
    for (const resolve of this.#onDrained.splice(0)) resolve(areSent);
  }

  // Gives up what has not been sent and lifts what is held. Among the former may be what would have
  // lifted something.
  release() {
    const nothingHeld = this.#held.size === 0 && this.#waiting.length === 0;
    this.#waiting = [];
    this.#held.clear();
    this.#reviewDrained(false);
    if (nothingHeld) return;
    this.#call('releaseInput').catch(() => {});
  }

  // For a lost connection: the server has lifted everything by itself.
  forget() {
    ++this.#generation;
    this.#waiting = [];
    this.#unanswered = 0;
    this.#pacedUnanswered.clear();
    this.#held.clear();
    this.#reviewDrained(false);
  }

  // What the new event says as well need not be said before it.
  #join(event) {
    const last = this.#waiting.at(-1);
    if (last?.action === 'mouseMove' && 'x' in event) this.#waiting.pop();
    if (last?.action === 'scroll' && event.action === 'scroll') {
      this.#waiting.pop();
      event.dx += last.dx;
      event.dy += last.dy;
    }
  }

  #flush() {
    while (this.#waiting.length > 0 && this.#unanswered < unansweredMax) {
      if (this.#pacedUnanswered.has(this.#waiting[0].action)) break;
      this.#send(this.#takeFirst());
    }
    this.#reviewDrained(true);
  }

  #takeFirst() {
    const first = this.#waiting.shift();
    if (first.action !== 'scroll') return first;
    const dx = limited(first.dx);
    const dy = limited(first.dy);
    if (dx !== first.dx || dy !== first.dy) {
      this.#waiting.unshift({...first, dx: first.dx - dx, dy: first.dy - dy});
    }
    return {...first, dx, dy};
  }

  async #send(event) {
    const generation = this.#generation;
    ++this.#unanswered;
    if (paced.has(event.action)) this.#pacedUnanswered.add(event.action);
    const trouble = await this.#call('injectInput', event).then(
      () => null,
      (error) => error,
    );
    if (generation !== this.#generation) return;
    --this.#unanswered;
    this.#pacedUnanswered.delete(event.action);
    if (trouble) this.#onTrouble(trouble);
    this.#flush();
  }

  #noteHeld({action, button, keyCode}) {
    if (action === 'mouseDown') this.#held.add(button);
    if (action === 'mouseUp') this.#held.delete(button);
    if (action === 'keyDown') this.#held.add(keyCode);
    if (action === 'keyUp') this.#held.delete(keyCode);
  }
}

function limited(delta) {
  return Math.min(Math.max(delta, -scrollMax), scrollMax);
}
