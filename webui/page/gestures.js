// Fingers on the picture, told apart: a tap, a long press, one finger that moves, two that move
// together and two that move apart.

export const longPressMs = 500;
const tapsWithinMs = 400;
const tapsWithin = 30; // all distances are in CSS pixels
const tremble = 10; // what a finger moves without meaning to
const spreadMin = 20; // by which two fingers change their distance before that is meant

export class Gestures {
  #act;
  #clock;
  #fingers = new Map(); // {x, y}, by pointerId
  // 'none', 'pressing', 'moving', 'two', 'scrolling', 'pinching', or 'over' until all are lifted.
  #phase = 'none';
  #start = null; // of the phase: {center, distance}
  #last = null; // what has been told already
  #timer = null;
  #tap = null; // the last one: {point, at, count}

  // `act` has tapped(point, count), pressedLong(point), moved(point, by), aimed(point) before
  // scrolled(point, by), and pinched(point, by, factor). `clock` has setTimeout and clearTimeout.
  constructor(act, clock = globalThis) {
    this.#act = act;
    this.#clock = clock;
  }

  // Each takes a PointerEvent of a finger.

  down(event) {
    this.#stopTimer();
    this.#fingers.set(event.pointerId, pointOf(event));
    const one = this.#phase === 'none';
    const two = this.#phase === 'pressing' || this.#phase === 'moving';
    this.#begin(one ? 'pressing' : two ? 'two' : 'over');
    if (one) this.#timer = this.#clock.setTimeout(() => this.#pressLong(), longPressMs);
  }

  move(event) {
    if (!this.#fingers.has(event.pointerId)) return;
    this.#fingers.set(event.pointerId, pointOf(event));
    this.#decide();
    this.#tell();
  }

  up(event) {
    const isTap = this.#phase === 'pressing' && this.#fingers.has(event.pointerId);
    this.#stopTimer();
    this.#lift(event);
    if (isTap) this.#tapped(event.timeStamp);
  }

  cancel(event) {
    this.#stopTimer();
    this.#lift(event);
  }

  #lift({pointerId}) {
    this.#fingers.delete(pointerId);
    this.#phase = this.#fingers.size === 0 ? 'none' : 'over';
  }

  #begin(phase) {
    this.#phase = phase;
    this.#start = this.#last = placeOf([...this.#fingers.values()]);
  }

  #decide() {
    const now = placeOf([...this.#fingers.values()]);
    const isFar = distance(now.center, this.#start.center) > tremble;
    const isSpread = Math.abs(now.distance - this.#start.distance) > spreadMin;
    if (this.#phase === 'pressing' && isFar) {
      this.#stopTimer();
      this.#phase = 'moving';
    } else if (this.#phase === 'two' && isSpread) {
      this.#phase = 'pinching';
    } else if (this.#phase === 'two' && isFar) {
      this.#phase = 'scrolling';
      this.#act.aimed(this.#start.center);
    }
  }

  #tell() {
    const name = {moving: 'moved', scrolling: 'scrolled', pinching: 'pinched'}[this.#phase];
    if (!name) return;
    const {center, distance} = placeOf([...this.#fingers.values()]);
    const by = {x: center.x - this.#last.center.x, y: center.y - this.#last.center.y};
    const factor = distance / this.#last.distance || 1;
    this.#last = {center, distance};
    this.#act[name](center, by, factor);
  }

  // Taps that follow each other are one place's, so that they count as a double click there.
  #tapped(at) {
    const before = this.#tap;
    const point = this.#start.center;
    const follows =
      before && at - before.at < tapsWithinMs && distance(point, before.point) < tapsWithin;
    this.#tap = {at, point: follows ? before.point : point, count: follows ? before.count + 1 : 1};
    this.#act.tapped(this.#tap.point, this.#tap.count);
  }

  #pressLong() {
    this.#phase = 'over';
    this.#act.pressedLong(this.#start.center);
  }

  #stopTimer() {
    this.#clock.clearTimeout(this.#timer);
  }
}

const pointOf = ({clientX, clientY}) => ({x: clientX, y: clientY});

function placeOf([one, other = one]) {
  const center = {x: (one.x + other.x) / 2, y: (one.y + other.y) / 2};
  return {center, distance: distance(one, other)};
}

function distance(one, other) {
  return Math.hypot(one.x - other.x, one.y - other.y);
}
