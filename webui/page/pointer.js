// The supporter's mouse over the picture. Moves are pointer events, which may be captured and are
// exact on every screen; presses are mouse events, which come for every button and are counted.

import {pictureBox, placeInPicture} from './placement.js';

const buttonNames = ['left', 'middle', 'right']; // by MouseEvent.button
const buttonBits = {left: 1, right: 2, middle: 4}; // in MouseEvent.buttons
const clicksMax = 3;

export class Pointer {
  #canvas;
  #send;
  #point = {x: 0, y: 0};
  #held = new Set();

  // `canvas` shows the picture in the picture's own size. `send` is called as InputQueue.push is.
  constructor(canvas, send) {
    this.#canvas = canvas;
    this.#send = send;
  }

  // For pointermove.
  moved(event) {
    this.located(event);
    const place = this.#place();
    if (place) this.#send({action: 'mouseMove', ...place});
    this.#releaseUnseen(event);
  }

  // For the other pointer events, which come right before the mouse events of the same place.
  located(event) {
    this.#point = {x: event.clientX, y: event.clientY};
  }

  // For mousedown and mouseup.
  pressed(event) {
    const button = buttonNames[event.button];
    const place = this.#place();
    if (!button || !place) return;
    this.#held.add(button);
    const clickCount = Math.min(Math.max(event.detail, 1), clicksMax);
    this.#send({action: 'mouseDown', ...place, button, clickCount});
  }

  released(event) {
    const button = buttonNames[event.button];
    if (this.#held.has(button)) this.#release(button);
  }

  forget() {
    this.#held.clear();
  }

  get holdsAnything() {
    return this.#held.size > 0;
  }

  #release(button) {
    const place = this.#place();
    this.#held.delete(button);
    if (place) this.#send({action: 'mouseUp', ...place, button});
  }

  // What went up where the browser did not see it.
  #releaseUnseen({buttons}) {
    for (const button of [...this.#held]) {
      if ((buttons & buttonBits[button]) === 0) this.#release(button);
    }
  }

  #place() {
    const picture = {width: this.#canvas.width, height: this.#canvas.height};
    const box = pictureBox(this.#canvas.getBoundingClientRect(), picture);
    return placeInPicture(box, picture, this.#point, {
      pixelSide: 1 / (globalThis.devicePixelRatio || 1),
      clamped: this.holdsAnything,
    });
  }
}
