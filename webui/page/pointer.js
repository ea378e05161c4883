// The supporter's mouse over the picture. Moves are pointer events, which may be captured and are
// exact on every screen; presses are mouse events, which come for every button and are counted.

import {pictureBox, placeInPicture} from './placement.js';

const buttonNames = ['left', 'middle', 'right']; // by MouseEvent.button
const buttonBits = {left: 1, right: 2, middle: 4}; // in MouseEvent.buttons
const clicksMax = 3;

export class Pointer {
  #canvas;
  #input;
  #point = {x: 0, y: 0};

  // `canvas` shows the picture in the picture's own size. `input` has `push` and `holds` as
  // InputQueue has them.
  constructor(canvas, input) {
    this.#canvas = canvas;
    this.#input = input;
  }

  // For pointermove.
  moved(event) {
    this.located(event);
    const place = this.#place();
    if (place) this.#input.push({action: 'mouseMove', ...place});
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
    const clickCount = Math.min(Math.max(event.detail, 1), clicksMax);
    this.#input.push({action: 'mouseDown', ...place, button, clickCount});
  }

  released(event) {
    const button = buttonNames[event.button];
    if (this.#input.holds(button)) this.#release(button);
  }

  #release(button) {
    const place = this.#place();
    if (place) this.#input.push({action: 'mouseUp', ...place, button});
  }

  // What went up where the browser did not see it.
  #releaseUnseen({buttons}) {
    for (const button of buttonNames) {
      const isUp = (buttons & buttonBits[button]) === 0;
      if (isUp && this.#input.holds(button)) this.#release(button);
    }
  }

  #place() {
    const picture = {width: this.#canvas.width, height: this.#canvas.height};
    const box = pictureBox(this.#canvas.getBoundingClientRect(), picture);
    return placeInPicture(box, picture, this.#point, {
      pixelSide: 1 / (globalThis.devicePixelRatio || 1),
      clamped: buttonNames.some((button) => this.#input.holds(button)),
    });
  }
}
