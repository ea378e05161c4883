// The supporter's picture. A picture is called live only while new ones arrive: the host sends
// one when the screen changes, so that a still screen and a stuck one look the same from here.

import {isH264} from './h264.js';
import {H264Decoder, H264Unsupported} from './h264decoder.js';
import {Statistics} from './statistics.js';
import {explain} from './texts.js';

const staleAfterMs = 2000;
const reviewEveryMs = 250;

const byId = (id) => document.getElementById(id);

const badges = {
  off: 'No session',
  starting: 'Starting',
  live: 'Live',
  waiting: 'Waiting',
  disconnected: 'Not connected',
};

const emptyTexts = {
  off: 'The picture appears here once the customer allows the session.',
  starting: 'Waiting for the first picture…',
  live: '',
  waiting: '',
  disconnected: 'Not connected. The picture returns with the connection.',
};

const unattendedEmptyTexts = {
  ...emptyTexts,
  off: 'The picture appears here once the unattended session has started.',
};

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
  #problem = '';
  #onUnsupported;

  // `onUnsupported` is told of every picture that is given up because the browser cannot show H.264.
  constructor(onUnsupported) {
    this.#onUnsupported = onUnsupported;
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

  // Resolves when the picture is on show or has been given up.
  async draw(bytes, arrivedAt) {
    const generation = this.#generation;
    const format = isH264(bytes) ? 'H.264' : 'JPEG';
    try {
      const picture = await (format === 'JPEG' ? decodeJpeg(bytes) : this.#h264.decode(bytes));
      if (generation === this.#generation) this.#show(picture, format, bytes.byteLength, arrivedAt);
      picture?.image.close();
    } catch (error) {
      if (!(error instanceof H264Unsupported)) throw error;
      if (generation !== this.#generation) return;
      this.#problem = explain({code: 'h264_unsupported'}).what;
      this.#review();
      this.#onUnsupported();
    }
  }

  #show(picture, format, size, arrivedAt) {
    this.#problem = picture === null ? 'The last picture could not be read.' : '';
    if (picture !== null) {
      this.#put(picture);
      this.#format = format;
      this.#shownSince = arrivedAt;
      this.#statistics.drawn(size, performance.now());
    }
    this.#review();
  }

  #put({image, width, height}) {
    if (this.#canvas.width !== width || this.#canvas.height !== height) {
      this.#canvas.width = width;
      this.#canvas.height = height;
      byId('stage').style.setProperty('--picture-ratio', `${width} / ${height}`);
    }
    this.#context.drawImage(image, 0, 0, width, height, 0, 0, width, height);
  }

  #clear() {
    ++this.#generation;
    this.#shownSince = null;
    this.#statistics.forget();
    this.#h264.reset();
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
    setText('picture-badge', badges[state] + (this.#unattended && inSession ? ' · unattended' : ''));
    byId('picture-badge').dataset.state = state;
    setText('empty', (this.#unattended ? unattendedEmptyTexts : emptyTexts)[state]);
    setText('notice', state === 'waiting' ? this.#notice(now) : '');
    byId('notice').hidden = state !== 'waiting';
    this.#showStats(now);
  }

  #notice(now) {
    if (this.#problem) return this.#problem;
    const seconds = Math.floor((now - (this.#shownSince ?? this.#liveSince)) / 1000);
    return this.#shownSince === null
      ? `No picture for ${seconds} s — the screen may be still`
      : `No new picture for ${seconds} s — the screen may be still`;
  }

  #toggleStats() {
    const button = byId('toggle-stats');
    const shown = button.getAttribute('aria-pressed') !== 'true';
    button.setAttribute('aria-pressed', String(shown));
    byId('stats').hidden = !shown;
  }

  #showStats(now) {
    const seen = this.#shownSince !== null;
    const {perSecond, megabitsPerSecond, bytesEach} = this.#statistics.over(now);
    setText('stats-format', seen ? this.#format : '–');
    setText('stats-rate', seen ? perSecond.toFixed(1) : '–');
    setText('stats-bits', seen ? megabitsPerSecond.toFixed(1) : '–');
    setText('stats-size', bytesEach === null ? '–' : (bytesEach / 1000).toFixed(0));
    setText('stats-age', seen ? `${((now - this.#shownSince) / 1000).toFixed(1)} s` : '–');
    setText('stats-extent', seen ? `${this.#canvas.width} × ${this.#canvas.height}` : '–');
  }
}

// {image, width, height}, of which the caller closes `image`, or null for what is no JPEG picture.
async function decodeJpeg(bytes) {
  const head = new Uint8Array(bytes, 0, Math.min(2, bytes.byteLength));
  if (head[0] !== 0xff || head[1] !== 0xd8) return null;
  const image = await createImageBitmap(new Blob([bytes], {type: 'image/jpeg'})).catch(() => null);
  return image && {image, width: image.width, height: image.height};
}

// Text that stays the same is not set again, so that screen readers do not repeat it.
function setText(id, text) {
  const element = byId(id);
  if (element.textContent !== text) element.textContent = text;
}

function toggleFullScreen() {
  if (document.fullscreenElement) {
    document.exitFullscreen();
  } else {
    byId('stage').requestFullscreen().catch(() => {});
  }
}
