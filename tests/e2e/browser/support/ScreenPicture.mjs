import { spawnSync } from 'node:child_process';

const components = 3;

// What is on a virtual screen with its pointer, read by another program than the host, and compared
// with what a page shows of it, which may be of another size.
export class ScreenPicture {
  static read({ display, environment, width, height }) {
    const quickly = ['-probesize', '32', '-analyzeduration', '0', '-framerate', '1000'];
    const area = ['-draw_mouse', '1', '-video_size', `${width}x${height}`];
    const input = ['-f', 'x11grab', ...quickly, ...area];
    const output = ['-frames:v', '1', '-f', 'rawvideo', '-pix_fmt', 'bgr0', 'pipe:1'];
    const args = ['-nostdin', '-loglevel', 'error', ...input, '-i', display, ...output];
    const done = spawnSync('ffmpeg', args, { env: environment, maxBuffer: 1 << 28 });
    if (done.status !== 0) throw new Error(`ffmpeg: ${done.error ?? done.stderr}`);
    return new ScreenPicture(width, height, done.stdout);
  }

  // `pixels` are rows of blue, green, red and a byte of no meaning.
  constructor(width, height, pixels) {
    const rowBytes = width * 4;
    if (pixels.length !== rowBytes * height) throw new Error(`${pixels.length} bytes of pixels`);
    this.width = width;
    this.height = height;
    this.sums = new Float64Array((width + 1) * (height + 1) * components);
    for (let y = 0; y < height; ++y) {
      this.#sumUp(y, pixels.subarray(y * rowBytes, (y + 1) * rowBytes));
    }
  }

  #sumUp(y, row) {
    const stride = (this.width + 1) * components;
    for (let component = 0; component < components; ++component) {
      let sum = 0;
      for (let x = 0; x < this.width; ++x) {
        sum += row[x * 4 + 2 - component];
        const index = (y + 1) * stride + (x + 1) * components + component;
        this.sums[index] = sum + this.sums[index - stride];
      }
    }
  }

  // The sum from the top left corner to a place that may lie within a pixel.
  #sumUpTo(x, y, component) {
    const [left, top] = [Math.floor(x), Math.floor(y)];
    const right = Math.min(left + 1, this.width);
    const bottom = Math.min(top + 1, this.height);
    const at = (column, row) =>
      this.sums[(row * (this.width + 1) + column) * components + component];
    const upper = at(left, top) + (at(right, top) - at(left, top)) * (x - left);
    const lower = at(left, bottom) + (at(right, bottom) - at(left, bottom)) * (x - left);
    return upper + (lower - upper) * (y - top);
  }

  #meanOf(left, top, right, bottom, component) {
    const sum =
      this.#sumUpTo(right, bottom, component) -
      this.#sumUpTo(left, bottom, component) -
      this.#sumUpTo(right, top, component) +
      this.#sumUpTo(left, top, component);
    return sum / ((right - left) * (bottom - top));
  }

  // The mean colours of its blocks, as if it had that many pixels; see `blocksOf`.
  blocks(width, height, side) {
    const [across, down] = [Math.ceil(width / side), Math.ceil(height / side)];
    const [scaleX, scaleY] = [this.width / width, this.height / height];
    const means = [];
    for (let row = 0; row < down; ++row) {
      const [top, bottom] = [row * side, Math.min((row + 1) * side, height)];
      for (let column = 0; column < across; ++column) {
        const [left, right] = [column * side, Math.min((column + 1) * side, width)];
        for (let component = 0; component < components; ++component) {
          means.push(
            this.#meanOf(left * scaleX, top * scaleY, right * scaleX, bottom * scaleY, component),
          );
        }
      }
    }
    return means;
  }
}

// The mean colours of the blocks of that side of a canvas, row by row, each as red, green, blue. To
// be called in the page.
export function blocksOf(canvas, side) {
  const { width, height } = canvas;
  const { data } = canvas.getContext('2d').getImageData(0, 0, width, height);
  const [across, down] = [Math.ceil(width / side), Math.ceil(height / side)];
  const means = new Array(across * down * 3).fill(0);
  for (let y = 0; y < height; ++y) {
    for (let x = 0; x < width; ++x) {
      const block = (Math.floor(y / side) * across + Math.floor(x / side)) * 3;
      for (let i = 0; i < 3; ++i) means[block + i] += data[(y * width + x) * 4 + i];
    }
  }
  return {
    size: [width, height],
    means: means.map((sum, index) => {
      const block = Math.floor(index / 3);
      const columns = Math.min(side, width - (block % across) * side);
      const rows = Math.min(side, height - Math.floor(block / across) * side);
      return sum / (columns * rows);
    }),
  };
}

// Where two pictures' blocks differ most: {by, block}.
export function largestDifference(one, other) {
  let worst = { by: -1, block: -1 };
  one.forEach((mean, index) => {
    const by = Math.abs(mean - other[index]);
    if (!(by <= worst.by)) worst = { by, block: Math.floor(index / 3) };
  });
  return worst;
}
