// A part of the picture, larger. The element that shows it is moved and scaled within its parent.

const scaleMax = 8;

export class Zoom {
  #element;
  #scale = 1;
  #left = 0; // of the element within its parent, in CSS pixels
  #top = 0;

  constructor(element) {
    this.#element = element;
  }

  get isOn() {
    return this.#scale > 1;
  }

  // `point` on the page stays where it is.
  by(factor, point) {
    const {left, top} = this.#element.parentElement.getBoundingClientRect();
    const scale = Math.min(Math.max(this.#scale * factor, 1), scaleMax);
    const ratio = scale / this.#scale;
    this.#scale = scale;
    this.#left = point.x - left - (point.x - left - this.#left) * ratio;
    this.#top = point.y - top - (point.y - top - this.#top) * ratio;
    this.#show();
  }

  pan({x, y}) {
    this.#left += x;
    this.#top += y;
    this.#show();
  }

  // Its edges never come inside those of the parent.
  #show() {
    const {clientWidth, clientHeight, dataset} = this.#element.parentElement;
    this.#left = within(this.#left, clientWidth * (1 - this.#scale));
    this.#top = within(this.#top, clientHeight * (1 - this.#scale));
    dataset.zoomed = this.isOn ? 'on' : 'off';
    this.#element.style.transform = `translate(${this.#left}px, ${this.#top}px) scale(${this.#scale})`;
  }
}

const within = (offset, least) => Math.min(0, Math.max(offset, least));
