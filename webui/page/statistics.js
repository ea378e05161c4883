// What the pictures that were drawn lately come to.

const windowMs = 3000;
const shortestMs = 250;

export class Statistics {
  #firstAt = null;
  #recent = []; // {at, bytes}

  // A picture of so many bytes is on show, at a time in milliseconds.
  drawn(bytes, at) {
    this.#firstAt ??= at;
    this.#recent.push({at, bytes});
  }

  forget() {
    this.#firstAt = null;
    this.#recent = [];
  }

  // {perSecond, megabitsPerSecond, bytesEach}: over the last seconds, or since the first picture
  // where that is less; `bytesEach` is null without a picture.
  over(now) {
    this.#recent = this.#recent.filter(({at}) => now - at < windowMs);
    const count = this.#recent.length;
    const bytes = this.#recent.reduce((sum, picture) => sum + picture.bytes, 0);
    const spanMs = Math.min(windowMs, Math.max(now - this.#firstAt, shortestMs));
    return {
      perSecond: (count * 1000) / spanMs,
      megabitsPerSecond: (bytes * 8) / 1000 / spanMs,
      bytesEach: count > 0 ? bytes / count : null,
    };
  }
}
