// Turns of the wheel as the host counts them: whole pixels, positive upwards and to the left.

const pixelsPerLine = 100 / 3; // browsers that count lines take three for a notch

const lineMode = 1;
const pageMode = 2;

export class Wheel {
  #restX = 0;
  #restY = 0;

  // What to scroll for a WheelEvent; null when that is nothing yet. `pagePixels` is the height of
  // what the browser calls a page.
  take(event, pagePixels) {
    const {x, y} = pixelsOf(event, pagePixels);
    const dx = Math.trunc((this.#restX -= x));
    const dy = Math.trunc((this.#restY -= y));
    this.#restX -= dx;
    this.#restY -= dy;
    // No minus zero, which is no integer in every notation.
    return dx === 0 && dy === 0 ? null : {dx: dx || 0, dy: dy || 0};
  }

  forget() {
    this.#restX = 0;
    this.#restY = 0;
  }
}

function pixelsOf({deltaX, deltaY, deltaMode, shiftKey}, pagePixels) {
  const unit = {[lineMode]: pixelsPerLine, [pageMode]: pagePixels}[deltaMode] ?? 1;
  const x = Number.isFinite(deltaX) ? deltaX * unit : 0;
  const y = Number.isFinite(deltaY) ? deltaY * unit : 0;
  // While Shift is held the browser turns the wheel sideways. The other side, where Shift is held
  // as well, does so by itself.
  return shiftKey && y === 0 ? {x: 0, y: x} : {x, y};
}
