// Notices a feedback loop: this page is open on the very screen that it controls, so that all input
// that it sends comes back to it and would be sent again without end.

const repeatDelayMinMs = 200; // no keyboard repeats a key sooner
const jumpMinPixels = 40;
const nearPixels = 3;
const jumpsWithinMs = 10_000;

export class FeedbackLoopDetector {
  #keysDownAt = new Map();
  #sent = null;
  #pointer = null;
  #lastJumpAt = -Infinity;

  // Each takes the time in milliseconds and returns whether what it is told of is a feedback loop.

  // A key that is down already has come down again.
  keyDown(code, now) {
    const before = this.#keysDownAt.get(code);
    if (before === undefined) this.#keysDownAt.set(code, now);
    return before !== undefined && now - before < repeatDelayMinMs;
  }

  // The pointer has jumped to the place that was sent last, not once but again. `pointer` and the
  // extent of `screen` are in the same pixels.
  pointerAt(pointer, screen, now) {
    const from = this.#pointer;
    this.#pointer = pointer;
    if (this.#sent === null || from === null) return false;
    const target = {x: this.#sent.x * (screen.width - 1), y: this.#sent.y * (screen.height - 1)};
    const jumped = distance(from, pointer) >= jumpMinPixels;
    if (!jumped || distance(pointer, target) > nearPixels) return false;
    const isSecond = now - this.#lastJumpAt < jumpsWithinMs;
    this.#lastJumpAt = now;
    return isSecond;
  }

  keyUp(code) {
    this.#keysDownAt.delete(code);
  }

  // An event for the host.
  sent(event) {
    if (event.action === 'mouseMove') this.#sent = event;
  }

  forget() {
    this.#keysDownAt.clear();
    this.#sent = null;
    this.#pointer = null;
  }
}

function distance(one, other) {
  return Math.max(Math.abs(one.x - other.x), Math.abs(one.y - other.y));
}
