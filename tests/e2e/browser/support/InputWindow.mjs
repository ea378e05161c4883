import { once } from 'node:events';
import { createInterface } from 'node:readline';

import { spawnChild } from './children.mjs';
import { until } from './until.mjs';

const shiftMask = 1;
const buttonMasks = { 1: 0x100, 2: 0x200, 3: 0x400 };

// A window on a virtual screen that records the mouse and keyboard events that reach it.
export class InputWindow {
  // `geometry` is [left, top, width, height] on the screen.
  static async open(program, environment, geometry) {
    const window = new InputWindow(program, environment, geometry);
    await window.next('the window', ({ type }) => type === 'ready');
    return window;
  }

  constructor(program, environment, geometry) {
    this.process = spawnChild(program, geometry.map(String), {
      env: environment,
      stdio: ['pipe', 'pipe', 'inherit'],
    });
    this.events = [];
    createInterface({ input: this.process.stdout }).on('line', (line) =>
      this.events.push(JSON.parse(line)),
    );
  }

  forget() {
    this.events = [];
  }

  ofType(...types) {
    return this.events.filter(({ type }) => types.includes(type));
  }

  // The first event that is wanted, once there is one.
  next(what, wanted) {
    return until(what, () => this.events.find(wanted)).catch((error) => {
      throw new Error(`${error.message}; came: ${JSON.stringify(this.events)}`);
    });
  }

  // Waits for so many events of these types and returns them.
  async take(count, ...types) {
    await until(`${count} of ${types}`, () => this.ofType(...types).length >= count).catch(
      (error) => {
        throw new Error(`${error.message}; came: ${JSON.stringify(this.events)}`);
      },
    );
    return this.ofType(...types);
  }

  // What has been typed, as a program that reads characters sees it.
  text() {
    const hex = this.ofType('keyDown').map(({ latin1Hex }) => latin1Hex);
    return Buffer.from(hex.join(''), 'hex').toString('latin1');
  }

  // What is down on the X server: {keys: [keycodes], buttons: [numbers], shift, x, y}.
  async held() {
    const isAnswer = ({ type }) => type === 'held';
    this.events = this.events.filter((event) => !isAnswer(event));
    this.process.stdin.write('held\n');
    const { keys, mask, x, y } = await this.next('what is held', isAnswer);
    const buttons = Object.keys(buttonMasks).filter((button) => mask & buttonMasks[button]);
    return { keys, buttons: buttons.map(Number), shift: (mask & shiftMask) !== 0, x, y };
  }

  async awaitNothingHeld() {
    await until('everything to be lifted', async () => {
      const { keys, buttons } = await this.held();
      return keys.length === 0 && buttons.length === 0;
    });
  }

  async close() {
    if (this.process.exitCode !== null || this.process.signalCode !== null) return;
    this.process.stdin.end();
    await once(this.process, 'exit');
  }
}
