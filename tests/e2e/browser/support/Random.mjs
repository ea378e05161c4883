// Numbers that a seed repeats.
export class Random {
  #state;

  constructor(seed) {
    this.#state = seed >>> 0;
  }

  // From 0 up to `limit` - 1.
  below(limit) {
    this.#state = (Math.imul(this.#state, 1664525) + 1013904223) >>> 0;
    return Math.floor((this.#state / 2 ** 32) * limit);
  }
}
