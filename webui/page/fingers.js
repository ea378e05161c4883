// What fingers on the picture do: to the shared computer while it is controlled, to the picture's size
// always.

import {Gestures} from './gestures.js';
import {pictureBox} from './placement.js';
import {Zoom} from './zoom.js';

const [left, right] = [0, 2]; // MouseEvent.button

// `pointer` is a Pointer, `scroll` takes what has a WheelEvent's deltas, and `isReady` says whether
// the shared computer is to hear of any of it.
export function listenToFingers(canvas, {pointer, scroll, isReady}) {
  const zoom = new Zoom(canvas);
  const aim = ({x, y}) => isReady() && pointer.moved({clientX: x, clientY: y, buttons: 0});
  const click = ({x, y}, button, detail) => {
    if (!isReady()) return;
    pointer.located({clientX: x, clientY: y});
    pointer.pressed({button, detail});
    pointer.released({button});
  };
  const gestures = new Gestures({
    tapped: (point, count) => click(point, left, count),
    pressedLong: (point) => click(point, right, 1),
    moved: (point, by) => (zoom.isOn ? zoom.pan(by) : aim(point)),
    aimed: aim,
    scrolled: (_, by) => {
      // What is scrolled keeps up with the fingers, however small the picture is.
      const scale = canvas.width / pictureBox(canvas.getBoundingClientRect(), canvas).width;
      if (isReady()) scroll({deltaX: -by.x * scale, deltaY: -by.y * scale, deltaMode: 0});
    },
    pinched: (point, by, factor) => {
      zoom.pan(by);
      zoom.by(factor, point);
    },
  });
  for (const kind of ['down', 'move', 'up', 'cancel']) {
    canvas.addEventListener(`pointer${kind}`, (event) => {
      if (event.pointerType !== 'touch') return;
      if (isReady()) event.preventDefault(); // there come no mouse events as well
      gestures[kind](event);
    });
  }
  window.addEventListener('resize', () => zoom.pan({x: 0, y: 0}));
}
