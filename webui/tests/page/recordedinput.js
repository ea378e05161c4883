// What the page's mouse and keyboard push into the queue of input, and what is held after it.

export class RecordedInput {
  sent = []; // {event, options}
  #held = new Set();

  push(event, options = {}) {
    this.sent.push({event, options});
    const what = event.button ?? event.keyCode;
    if (event.action.endsWith('Down')) this.#held.add(what);
    if (event.action.endsWith('Up')) this.#held.delete(what);
  }

  holds(what) {
    return this.#held.has(what);
  }

  // As a release in the queue does.
  release() {
    this.#held.clear();
  }

  get events() {
    return this.sent.map(({event}) => event);
  }
}
