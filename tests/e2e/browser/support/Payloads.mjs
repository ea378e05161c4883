import { spawnSync } from 'node:child_process';

// What crosses the page's WebSocket, and what can be put in between.
export class Payloads {
  calls = []; // methods with their arguments, as the page sent them
  acknowledged = 0; // since the last call of slip()
  newestH264 = null;
  refuses = () => false; // whether a call, {method, arguments}, is answered here instead, with an error
  #toPage = null;

  // Has to come before the page is loaded.
  async watch(page) {
    await page.routeWebSocket(/\/ws$/, (toPage) => {
      const toHost = toPage.connectToServer();
      this.#toPage = toPage;
      toPage.onMessage((message) => {
        const asked = JSON.parse(message);
        this.#fromPage(asked);
        if (this.refuses(asked)) toPage.send(refusalOf(asked));
        else toHost.send(message);
      });
      toHost.onMessage((message) => {
        if (isH264(message)) this.newestH264 = message;
        toPage.send(message);
      });
    });
  }

  #fromPage({ method, arguments: args, ack }) {
    if (method) this.calls.push({ method, args });
    if (ack) this.acknowledged += ack;
  }

  callsOf(wanted) {
    return this.calls.filter(({ method }) => method === wanted);
  }

  // Hands the page a picture that the host never sent.
  slip(bytes) {
    this.acknowledged = 0;
    this.#toPage.send(JSON.stringify({ event: 'frame', ageMs: 0 }));
    this.#toPage.send(Buffer.from(bytes));
  }
}

function refusalOf({ id }) {
  return JSON.stringify({ id, error: { code: 'capture_failed', message: 'Refused.' } });
}

const headerBytes = 12;

function isH264(message) {
  return typeof message !== 'string' && message.subarray(0, 4).toString('latin1') === 'QNH2';
}

// FFmpeg's idea of a payload's picture: {width, height, colourAt(x, y)}, the place as fractions of
// the size and the colour as [red, green, blue].
export function decodeWithFfmpeg(payload) {
  const [width, height] = [payload.readUInt16BE(6), payload.readUInt16BE(8)];
  const args = ['-loglevel', 'error', '-xerror', '-f', 'h264', '-i', 'pipe:0', '-frames:v', '1'];
  const colours = 'scale=in_color_matrix=bt709:in_range=tv:flags=accurate_rnd+full_chroma_int';
  // What is beyond the picture's size pads it to one that the format can have.
  const filter = `${colours},format=rgb24,crop=${width}:${height}:0:0`;
  const output = ['-vf', filter, '-f', 'rawvideo', 'pipe:1'];
  const input = payload.subarray(headerBytes);
  const done = spawnSync('ffmpeg', [...args, ...output], { input, maxBuffer: 1 << 28 });
  if (done.status !== 0) throw new Error(`ffmpeg: ${done.error ?? done.stderr}`);
  const pixels = done.stdout;
  if (pixels.length !== width * height * 3) {
    throw new Error(`${pixels.length} bytes are no picture of ${width} x ${height}`);
  }
  const colourAt = (x, y) => {
    const index = Math.floor(height * y) * width + Math.floor(width * x);
    return [...pixels.subarray(index * 3, index * 3 + 3)];
  };
  return { width, height, colourAt };
}
