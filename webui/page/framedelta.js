// JPEG files that arrive whole or as what has changed in them since the one before, and what of
// them has to be decoded. A file is an array of its pieces in order. docs/delta-form.md describes
// the delta, ITU-T T.81 (Annex B, E.1.4) the file and its restart segments.

const deltaMagic = [0x51, 0x4e, 0x44, 0x4a]; // "QNDJ"
const headBytes = 16;
const entryBytes = 8;
const blockSidePx = 8;
const segmentsMax = 65_536;
const rectsMax = 8;
const wholeFromShare = 0.6; // of the picture that would be decoded anyway

const marker = {startOfImage: 0xd8, endOfImage: 0xd9, frame: 0xc0, restart: 0xd0, scan: 0xda};
const restartInterval = 0xdd;

export function isDelta(buffer) {
  if (buffer.byteLength < deltaMagic.length) return false;
  const head = new Uint8Array(buffer, 0, deltaMagic.length);
  return deltaMagic.every((byte, index) => head[index] === byte);
}

export function isJpeg(buffer) {
  if (buffer.byteLength < 2) return false;
  const [first, second] = new Uint8Array(buffer, 0, 2);
  return first === 0xff && second === marker.startOfImage;
}

// The newest JPEG file that came, which deltas build on.
export class KeptFile {
  #number = 0; // of the frame it is, counted from 1; 0 when there is none
  #parts = null; // the file's pieces, in order: one, or the header and all segments
  #grid = null; // once the segments are known

  // A whole file, which is the frame of that number.
  replace(buffer, number) {
    this.#number = number;
    this.#parts = [new Uint8Array(buffer)];
    this.#grid = null;
  }

  forget() {
    this.#number = 0;
    this.#parts = null;
    this.#grid = null;
  }

  // Of the whole file.
  get byteLength() {
    return this.#parts.reduce((sum, part) => sum + part.length, 0);
  }

  // The whole file, whatever follows.
  snapshot() {
    return [...this.#parts];
  }

  // Takes a delta, which becomes the frame of that number. Returns pieces that show what has
  // changed, [{file, from: [x, y], to: [x, y], size: [width, height]}] in pixels; or null where the
  // whole file is as quickly decoded. Throws RangeError for what is no delta to this file, and then
  // keeps nothing.
  apply(buffer, number) {
    try {
      this.#findSegments();
      const changed = this.#replaceSegments(buffer);
      this.#number = number;
      return this.#piecesOf(changed);
    } catch (error) {
      this.forget();
      throw error;
    }
  }

  #findSegments() {
    if (this.#parts === null) throw new RangeError('there is no file');
    if (this.#grid !== null) return;
    const [file] = this.#parts;
    this.#grid = gridOf(file);
    this.#parts = [file.subarray(0, this.#grid.headerBytes), ...segmentsOf(file, this.#grid)];
  }

  // The changed segments' numbers.
  #replaceSegments(buffer) {
    const view = new DataView(buffer);
    const count = this.#parts.length - 1;
    if (buffer.byteLength < headBytes) throw new RangeError('cut short');
    if (view.getUint32(4) !== this.#number) throw new RangeError('another base');
    if (view.getUint32(8) !== count) throw new RangeError('another grid');
    const changes = view.getUint32(12);
    let position = headBytes + changes * entryBytes;
    if (changes > count || position > buffer.byteLength) throw new RangeError('cut short');
    const changed = [];
    for (let entry = 0; entry < changes; ++entry) {
      const index = view.getUint32(headBytes + entry * entryBytes);
      const length = view.getUint32(headBytes + entry * entryBytes + 4);
      if (index >= count || index <= (changed.at(-1) ?? -1)) throw new RangeError('no order');
      if (length < 2 || position + length > buffer.byteLength) throw new RangeError('cut short');
      this.#parts[index + 1] = new Uint8Array(buffer, position, length);
      changed.push(index);
      position += length;
    }
    if (position !== buffer.byteLength) throw new RangeError('too long');
    return changed;
  }

  #piecesOf(changed) {
    const grid = this.#grid;
    const rects = rectsOf(changed, grid.across);
    const halos = rects.map((rect) => haloOf(rect, grid));
    const decoded = halos.reduce((sum, halo) => sum + countOf(halo), 0);
    if (decoded > wholeFromShare * grid.across * grid.down) return null;
    return rects.map((rect, index) => this.#pieceOf(rect, halos[index]));
  }

  // A decoder mixes colours across the edges of segments. So those around the changed ones are
  // decoded as well, and the first pixel of theirs is drawn, which the change can reach.
  #pieceOf(rect, halo) {
    const grid = this.#grid;
    const [left, top, right, bottom] = pixelsOf(halo, grid);
    const [innerLeft, innerTop, innerRight, innerBottom] = pixelsOf(rect, grid);
    const to = [Math.max(innerLeft - 1, left), Math.max(innerTop - 1, top)];
    return {
      file: this.#smallFile(halo, right - left, bottom - top),
      from: [to[0] - left, to[1] - top],
      to,
      size: [Math.min(innerRight + 1, right) - to[0], Math.min(innerBottom + 1, bottom) - to[1]],
    };
  }

  // A file of its own: the header with another size, and the segments with markers of their new
  // places.
  #smallFile({left, top, right, bottom}, width, height) {
    const header = this.#parts[0].slice();
    const size = new DataView(header.buffer, this.#grid.sizeAt, 4);
    size.setUint16(0, height);
    size.setUint16(2, width);
    const parts = [header];
    for (let row = top; row < bottom; ++row) {
      for (let column = left; column < right; ++column) {
        const segment = this.#parts[1 + row * this.#grid.across + column];
        const behind = marker.restart + ((parts.length >> 1) % 8);
        parts.push(segment.subarray(0, -2), Uint8Array.of(0xff, behind));
      }
    }
    parts[parts.length - 1] = Uint8Array.of(0xff, marker.endOfImage);
    return parts;
  }
}

// {headerBytes, sizeAt, width, height, segmentWidth, segmentHeight, across, down}: where the size is
// said, sizes in pixels, counts of segments. Throws RangeError for a file without such a grid.
export function gridOf(file) {
  const view = new DataView(file.buffer, file.byteOffset, file.byteLength);
  const found = {interval: 0};
  let at = 2;
  for (let kind = 0; kind !== marker.scan; ) {
    if (view.getUint8(at) !== 0xff) throw new RangeError('no marker');
    kind = view.getUint8(at + 1);
    if (kind === marker.frame) Object.assign(found, frameAt(view, at + 5));
    if (kind === restartInterval) found.interval = view.getUint16(at + 4);
    at += 2 + view.getUint16(at + 2);
  }
  const {sizeAt, width, height, mcuWidth, mcuHeight, interval} = found;
  const across = Math.ceil(width / mcuWidth) / interval;
  const down = Math.ceil(height / mcuHeight);
  if (!Number.isInteger(across) || !(across * down <= segmentsMax)) throw new RangeError('no grid');
  const [segmentWidth, segmentHeight] = [interval * mcuWidth, mcuHeight];
  return {headerBytes: at, sizeAt, width, height, segmentWidth, segmentHeight, across, down};
}

// What is said behind length and precision: height, width and how the components are sampled.
function frameAt(view, sizeAt) {
  const [height, width] = [view.getUint16(sizeAt), view.getUint16(sizeAt + 2)];
  const sampling = Array.from({length: view.getUint8(sizeAt + 4)}, (_, component) =>
    view.getUint8(sizeAt + 6 + component * 3),
  );
  const mcuWidth = blockSidePx * Math.max(...sampling.map((factors) => factors >> 4));
  const mcuHeight = blockSidePx * Math.max(...sampling.map((factors) => factors & 15));
  return {sizeAt, width, height, mcuWidth, mcuHeight};
}

// Each with the marker behind it.
export function segmentsOf(file, {headerBytes, across, down}) {
  const segments = [];
  let begin = headerBytes;
  for (let at = file.indexOf(0xff, begin); at !== -1; at = file.indexOf(0xff, at + 1)) {
    if (file[at + 1] === 0) continue;
    segments.push(file.subarray(begin, at + 2));
    begin = at + 2;
  }
  if (segments.length !== across * down || begin !== file.length) throw new RangeError('no grid');
  return segments;
}

// The segments of these numbers as rectangles {left, top, right, bottom}, none of which holds
// another one's segment; as one where they would be too many.
export function rectsOf(indices, across) {
  const rects = [];
  for (const {left, right, row} of runsOf(indices, across)) {
    const isAbove = (rect) => rect.bottom === row && rect.left === left && rect.right === right;
    const above = rects.find(isAbove);
    if (above) above.bottom = row + 1;
    else rects.push({left, top: row, right, bottom: row + 1});
  }
  return rects.length > rectsMax ? [boundsOf(rects)] : rects;
}

function runsOf(indices, across) {
  const runs = [];
  for (const index of indices) {
    const [row, column] = [Math.floor(index / across), index % across];
    const last = runs.at(-1);
    if (last?.row === row && last.right === column) last.right = column + 1;
    else runs.push({row, left: column, right: column + 1});
  }
  return runs;
}

function boundsOf(rects) {
  return {
    left: Math.min(...rects.map(({left}) => left)),
    top: Math.min(...rects.map(({top}) => top)),
    right: Math.max(...rects.map(({right}) => right)),
    bottom: Math.max(...rects.map(({bottom}) => bottom)),
  };
}

function haloOf({left, top, right, bottom}, {across, down}) {
  return {
    left: Math.max(left - 1, 0),
    top: Math.max(top - 1, 0),
    right: Math.min(right + 1, across),
    bottom: Math.min(bottom + 1, down),
  };
}

const countOf = ({left, top, right, bottom}) => (right - left) * (bottom - top);

// The last segments of a row or a column may reach beyond the picture.
function pixelsOf({left, top, right, bottom}, grid) {
  return [
    left * grid.segmentWidth,
    top * grid.segmentHeight,
    Math.min(right * grid.segmentWidth, grid.width),
    Math.min(bottom * grid.segmentHeight, grid.height),
  ];
}
