// What the pictures that were drawn lately come to.

const windowMs = 3000;
const shortestMs = 250;

export class Statistics {
  #firstAt = null;
  #recent = []; // {at, wireBytes, wholeBytes, decodeMs}

  // A picture is on show, at a time in milliseconds: what travelled for it, how large it is as a
  // file, and how long it took to decode.
  drawn({wireBytes, wholeBytes, decodeMs}, at) {
    this.#firstAt ??= at;
    this.#recent.push({at, wireBytes, wholeBytes, decodeMs});
  }

  forget() {
    this.#firstAt = null;
    this.#recent = [];
  }

  // {perSecond, megabitsPerSecond, each}: over the last seconds, or since the first picture where
  // that is less; `each` has the means, and is null without a picture.
  over(now) {
    this.#recent = this.#recent.filter(({at}) => now - at < windowMs);
    const count = this.#recent.length;
    const sumOf = (what) => this.#recent.reduce((sum, picture) => sum + picture[what], 0);
    const meanOf = (what) => sumOf(what) / count;
    const spanMs = Math.min(windowMs, Math.max(now - this.#firstAt, shortestMs));
    return {
      perSecond: (count * 1000) / spanMs,
      megabitsPerSecond: (sumOf('wireBytes') * 8) / 1000 / spanMs,
      each:
        count > 0
          ? {
              wireBytes: meanOf('wireBytes'),
              wholeBytes: meanOf('wholeBytes'),
              decodeMs: meanOf('decodeMs'),
            }
          : null,
    };
  }
}
