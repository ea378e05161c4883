// The messages of one page's connection over two data channels, both reliable and in order:
// "control" for texts, "frames" for frames and for the texts that tell of the next one. There every
// message is small, so that nothing waits long behind it: such a text, or a piece of a frame, which
// is one byte, 1 with a frame's last piece and 0 otherwise, and the bytes of the piece. All pieces
// but the last have the full size.

export const pieceBytesMax = 16 * 1024;
export const frameBytesMax = 16 * 1024 * 1024;
export const textCharactersMax = 64 * 1024;
// What the browser is given ahead of what the network takes.
const bufferedBytesMax = 1024 * 1024;

const contentBytesMax = pieceBytesMax - 1;

export function* piecesOf(frame) {
  let at = 0;
  do {
    const content = new Uint8Array(frame, at, Math.min(contentBytesMax, frame.byteLength - at));
    at += content.length;
    const piece = new Uint8Array(content.length + 1);
    piece[0] = at === frame.byteLength ? 1 : 0;
    piece.set(content, 1);
    yield piece;
  } while (at < frame.byteLength);
}

// Puts frames together again.
export class FrameJoiner {
  #pieces = [];
  #bytes = 0;

  // The frame whose last piece this is, or null. Throws RangeError for what is no piece, or is one
  // of a frame that is too long.
  take(piece) {
    const bytes = new Uint8Array(piece);
    const isLast = bytes[0] === 1;
    const isPiece = isLast ? bytes.length <= pieceBytesMax : bytes.length === pieceBytesMax;
    if (!isPiece || bytes[0] > 1) throw new RangeError('not a piece of a frame');
    this.#bytes += bytes.length - 1;
    if (this.#bytes > frameBytesMax) throw new RangeError('the frame is too long');
    this.#pieces.push(bytes.subarray(1));
    return isLast ? this.#joined() : null;
  }

  #joined() {
    const frame = new Uint8Array(this.#bytes);
    let at = 0;
    for (const piece of this.#pieces) {
      frame.set(piece, at);
      at += piece.length;
    }
    this.#pieces = [];
    this.#bytes = 0;
    return frame.buffer;
  }
}

// Carries a Connection's messages, or a WebSocket's to and from one, and is used like a WebSocket.
// It opens when both channels have, and closes with the first of them, or when the other end sends
// what it must not.
export class ChannelCarrier {
  onopen = null;
  onmessage = null;
  onclose = null;
  #control;
  #frames;
  #joiner = new FrameJoiner();
  #waiting = []; // for the network to take what went before
  #isClosed = false;

  constructor(control, frames) {
    this.#control = control;
    this.#frames = frames;
    for (const channel of [control, frames]) {
      channel.binaryType = 'arraybuffer';
      channel.onopen = () => this.readyState === WebSocket.OPEN && this.onopen?.();
      channel.onclose = () => this.close();
    }
    control.onmessage = ({data}) => this.#received(() => checkedText(data));
    frames.onmessage = ({data}) =>
      this.#received(() => (typeof data === 'string' ? checkedText(data) : this.#joiner.take(data)));
    frames.bufferedAmountLowThreshold = bufferedBytesMax / 2;
    frames.onbufferedamountlow = () => this.#pump();
  }

  get readyState() {
    const isOpen = [this.#control, this.#frames].every(({readyState}) => readyState === 'open');
    return isOpen && !this.#isClosed ? WebSocket.OPEN : WebSocket.CLOSED;
  }

  send(data) {
    if (this.readyState !== WebSocket.OPEN) return;
    if (typeof data === 'string' && !isOfFrame(data)) return this.#control.send(data);
    this.#waiting.push(...(typeof data === 'string' ? [data] : piecesOf(data)));
    this.#pump();
  }

  close() {
    if (this.#isClosed) return;
    this.#isClosed = true;
    this.#waiting = [];
    this.#control.close();
    this.#frames.close();
    this.onclose?.();
  }

  #pump() {
    while (this.#waiting.length > 0 && this.#frames.bufferedAmount < bufferedBytesMax) {
      if (this.readyState !== WebSocket.OPEN) return;
      this.#frames.send(this.#waiting.shift());
    }
  }

  // `read` gives the message, or null as long as it is not whole.
  #received(read) {
    if (this.#isClosed) return;
    let data;
    try {
      data = read();
    } catch {
      return this.close();
    }
    if (data !== null) this.onmessage?.({data});
  }
}

function checkedText(data) {
  if (typeof data !== 'string' || data.length > textCharactersMax) throw new RangeError('no text');
  return data;
}

// A text that tells of the next frame has to come just before it.
const isOfFrame = (text) => text.length < 100 && JSON.parse(text).event === 'frame';
