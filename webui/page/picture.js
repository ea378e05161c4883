// The supporter's picture. A picture is called live only while new ones arrive: the host sends
// one when the screen changes, so that a still screen and a stuck one look the same from here.

import {KeptFile, isDelta, isJpeg} from './framedelta.js';
import {FramePixels} from './framepixels.js';
import {isH264} from './h264.js';
import {H264Decoder, H264Unsupported} from './h264decoder.js';
import {decodeJpeg} from './jpegdecoder.js';
import {decimal, say, setText, text} from './language.js';
import {Statistics} from './statistics.js';

const staleAfterMs = 2000;
const reviewEveryMs = 250;

const byId = (id) => document.getElementById(id);

export class Picture {
  #unattended = false;
  #canvas = byId('picture');
  #context = this.#canvas.getContext('2d', {alpha: false});
  #session = 'idle';
  #connected = false;
  #generation = 0; // counts sessions and connections; what was decoded for an older one is not drawn
  #liveSince = 0;
  #shownSince = null; // when the picture on show came from the host
  #statistics = new Statistics();
  #format = ''; // of the picture on show
  #h264 = new H264Decoder();
  #pixels = new FramePixels();
  #kept = new KeptFile();
  #awaitsWhole = false; // a delta was lost, and no file has come since
  #isCurrent = false; // whether the canvas shows the frame before the one that is drawn next
  #turn = Promise.resolve(); // settles when the frame before has been dealt with
  #problem = '';
  #onUnsupported;
  #onLost;

  // `onUnsupported` is told of every picture that is given up because the browser cannot show H.264,
  // `onLost` of a delta that no frame is there for, once until a whole file comes.
  constructor(onUnsupported, onLost) {
    this.#onUnsupported = onUnsupported;
    this.#onLost = onLost;
    byId('toggle-stats').onclick = () => this.#toggleStats();
    byId('full-screen').onclick = () => toggleFullScreen();
    byId('full-screen').hidden = !document.fullscreenEnabled;
    setInterval(() => this.#review(), reviewEveryMs);
    this.#review();
  }

  connected() {
    this.#connected = true;
    this.#review();
  }

  disconnected() {
    this.#connected = false;
    this.#clear();
  }

  setUnattended(unattended) {
    this.#unattended = unattended;
    this.#review();
  }

  showSession(session) {
    if (session === this.#session) return;
    this.#session = session;
    if (session === 'live') this.#liveSince = performance.now();
    if (session !== 'live') this.#clear();
    this.#review();
  }

  // Resolves when the picture is on show or has been given up. `number` counts the frames of a
  // connection, from 1. While one frame waits for its turn to be drawn the next may be decoded.
  async draw(bytes, arrivedAt, number) {
    const generation = this.#generation;
    const decoding = this.#decode(bytes, number);
    decoding.catch(() => {}); // it is awaited when its turn has come
    const drawn = this.#turn.then(() =>
      this.#drawInTurn(decoding, generation, bytes.byteLength, arrivedAt),
    );
    this.#turn = drawn.catch(() => {});
    await drawn;
  }

  // Begins at once, whoever's turn it is.
  async #decode(bytes, number) {
    const startedAt = performance.now();
    const decoding = isH264(bytes) ? this.#decodeH264(bytes) : this.#decodeJpeg(bytes, number);
    const decoded = await decoding;
    return {...decoded, decodeMs: performance.now() - startedAt};
  }

  async #decodeH264(bytes) {
    this.#kept.forget();
    const picture = await this.#h264.decode(bytes);
    return {format: 'H.264', wholeBytes: bytes.byteLength, drawings: picture && [wholeOf(picture)]};
  }

  // {format, wholeBytes, drawings, whole}: what is to be drawn, or null for what could not be read,
  // and the file for a canvas that does not show the frame before.
  async #decodeJpeg(bytes, number) {
    let pieces = null;
    if (isDelta(bytes)) {
      try {
        pieces = this.#kept.apply(bytes, number);
      } catch (error) {
        if (!(error instanceof RangeError)) throw error;
        if (!this.#awaitsWhole) this.#onLost();
        this.#awaitsWhole = true;
        return {isLost: true};
      }
    } else if (isJpeg(bytes)) {
      this.#kept.replace(bytes, number);
      this.#awaitsWhole = false;
    } else {
      this.#kept.forget();
      return {format: 'JPEG', wholeBytes: bytes.byteLength, drawings: null};
    }
    const decoding = pieces && decodePieces(pieces);
    const [whole, wholeBytes] = [this.#kept.snapshot(), this.#kept.byteLength];
    const drawings = await (decoding ?? decodeWhole(whole));
    return {format: 'JPEG', wholeBytes, drawings, whole, isPart: pieces !== null};
  }

  async #drawInTurn(decoding, generation, wireBytes, arrivedAt) {
    try {
      const decoded = await decoding;
      if (!decoded.isLost && generation === this.#generation) {
        await this.#mend(decoded);
        await this.#convert(decoded);
        if (generation === this.#generation) this.#show(decoded, wireBytes, arrivedAt);
      }
      for (const {image} of decoded.drawings ?? []) image.close();
    } catch (error) {
      if (!(error instanceof H264Unsupported)) throw error;
      if (generation !== this.#generation) return;
      this.#problem = 'error.h264_unsupported.what';
      this.#review();
      this.#onUnsupported();
    }
  }

  // A part is of no use where the frame before is not on show, or when the part could not be read.
  async #mend(decoded) {
    if (!decoded.isPart || (this.#isCurrent && decoded.drawings !== null)) return;
    for (const {image} of decoded.drawings ?? []) image.close();
    decoded.drawings = await decodeWhole(decoded.whole);
  }

  async #convert({format, drawings}) {
    if (format !== 'H.264') return;
    for (const drawing of drawings ?? []) {
      drawing.pixels = await this.#pixels.of(drawing.image, drawing.size);
    }
  }

  #show({format, wholeBytes, drawings, decodeMs}, wireBytes, arrivedAt) {
    this.#isCurrent = drawings !== null;
    this.#problem = drawings === null ? 'picture.unreadable' : '';
    if (drawings !== null) {
      for (const drawing of drawings) this.#put(drawing);
      this.#format = format;
      this.#shownSince = arrivedAt;
      this.#statistics.drawn({wireBytes, wholeBytes, decodeMs}, performance.now());
    }
    this.#review();
  }

  #put({image, pixels, from, to, size, isWhole}) {
    const [width, height] = size;
    if (isWhole && (this.#canvas.width !== width || this.#canvas.height !== height)) {
      this.#canvas.width = width;
      this.#canvas.height = height;
      byId('stage').style.setProperty('--picture-ratio', `${width} / ${height}`);
    }
    if (pixels) this.#context.putImageData(pixels, ...to);
    else this.#context.drawImage(image, ...from, width, height, ...to, width, height);
  }

  #clear() {
    ++this.#generation;
    this.#shownSince = null;
    this.#statistics.forget();
    this.#h264.reset();
    this.#kept.forget();
    this.#awaitsWhole = false;
    this.#isCurrent = false;
    this.#problem = '';
    this.#context.clearRect(0, 0, this.#canvas.width, this.#canvas.height);
    this.#review();
  }

  #state(now) {
    if (!this.#connected) return 'disconnected';
    if (this.#session === 'starting') return 'starting';
    if (this.#session !== 'live') return 'off';
    const newest = this.#shownSince ?? this.#liveSince;
    if (this.#problem || now - newest > staleAfterMs) return 'waiting';
    return this.#shownSince === null ? 'starting' : 'live';
  }

  #review() {
    const now = performance.now();
    const state = this.#state(now);
    const stage = byId('stage');
    stage.dataset.state = state;
    stage.dataset.picture = this.#shownSince === null ? 'none' : 'shown';
    const inSession = state === 'live' || state === 'waiting';
    const badge = text(`picture.badge.${state}`);
    const isUnattended = this.#unattended && inSession;
    setText(byId('picture-badge'), isUnattended ? text('picture.unattended', {badge}) : badge);
    byId('picture-badge').dataset.state = state;
    const emptiness = this.#unattended && state === 'off' ? 'unattended' : state;
    say(byId('empty'), inSession ? '' : `picture.empty.${emptiness}`);
    setText(byId('notice'), state === 'waiting' ? this.#notice(now) : '');
    byId('notice').hidden = state !== 'waiting';
    this.#showStats(now);
  }

  #notice(now) {
    if (this.#problem) return text(this.#problem);
    const seconds = Math.floor((now - (this.#shownSince ?? this.#liveSince)) / 1000);
    return text(this.#shownSince === null ? 'picture.none' : 'picture.noNew', {seconds});
  }

  #toggleStats() {
    const button = byId('toggle-stats');
    const shown = button.getAttribute('aria-pressed') !== 'true';
    button.setAttribute('aria-pressed', String(shown));
    byId('stats').hidden = !shown;
  }

  #showStats(now) {
    const seen = this.#shownSince !== null;
    const {perSecond, megabitsPerSecond, each} = this.#statistics.over(now);
    const show = (name, value) => setText(byId(`stats-${name}`), value ?? '–');
    show('format', seen ? this.#format : null);
    show('rate', seen ? tenths(perSecond) : null);
    show('bits', seen ? tenths(megabitsPerSecond) : null);
    show('size', each && kilobytes(each.wireBytes));
    show('whole', each && kilobytes(each.wholeBytes));
    show('decode', each && tenths(each.decodeMs));
    const seconds = seen && tenths((now - this.#shownSince) / 1000);
    show('age', seen ? text('statistics.seconds', {seconds}) : null);
    const {width, height} = this.#canvas;
    show('extent', seen ? `${decimal(width)} × ${decimal(height)}` : null);
  }
}

// What is drawn, [{image, from, to, size, isWhole}], of which whoever draws closes each `image`; null
// for what cannot be read.

async function decodeWhole(file) {
  const image = await decodeJpeg(file);
  return image && [wholeOf({image, width: image.width, height: image.height})];
}

async function decodePieces(pieces) {
  const images = await Promise.all(pieces.map(({file}) => decodeJpeg(file)));
  if (images.every((image) => image !== null)) {
    return pieces.map(({from, to, size}, index) => ({image: images[index], from, to, size}));
  }
  for (const image of images) image?.close();
  return null;
}

function wholeOf({image, width, height}) {
  return {image, from: [0, 0], to: [0, 0], size: [width, height], isWhole: true};
}

const tenths = (value) => decimal(value, 1);
const kilobytes = (bytes) => decimal(bytes / 1000, bytes < 10_000 ? 1 : 0);

function toggleFullScreen() {
  if (document.fullscreenElement) {
    document.exitFullscreen();
  } else {
    byId('stage').requestFullscreen().catch(() => {});
  }
}
