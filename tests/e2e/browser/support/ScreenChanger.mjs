import { once } from 'node:events';
import { createInterface } from 'node:readline';

import { spawnChild } from './children.mjs';

// A program that changes a virtual screen. Every order resolves once the server has carried it out.
export class ScreenChanger {
  #answers;

  constructor(program, environment) {
    this.process = spawnChild(program, [], { env: environment, stdio: ['pipe', 'pipe', 'inherit'] });
    this.#answers = createInterface({ input: this.process.stdout })[Symbol.asyncIterator]();
  }

  desktop(seed) {
    return this.#order(`desktop ${seed}`);
  }

  fill([x, y, width, height], colour) {
    return this.#order(`fill ${x} ${y} ${width} ${height} ${colour}`);
  }

  // The pointer as an opaque square.
  setCursor(side, colour, hotSpot) {
    return this.#order(`cursor ${side} ${colour} ${hotSpot}`);
  }

  movePointer(x, y) {
    return this.#order(`pointer ${x} ${y}`);
  }

  // Moves everything up by so many rows and fills the rest with text.
  scroll(rows, seed) {
    return this.#order(`scroll ${rows} ${seed}`);
  }

  async #order(order) {
    this.process.stdin.write(`${order}\n`);
    const { value } = await this.#answers.next();
    if (value !== 'done') throw new Error(`the screen was not changed: ${value ?? 'it ended'}`);
  }

  async close() {
    if (this.process.exitCode !== null || this.process.signalCode !== null) return;
    this.process.stdin.end();
    await once(this.process, 'exit');
  }
}
