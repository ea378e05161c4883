// Decodes the host's H.264 payloads, each of which is a picture by itself.

import {parsePayload} from './h264.js';

// This browser has no decoder for the stream.
export class H264Unsupported extends Error {}

export class H264Decoder {
  #api;
  #decoder = null;
  #configured = ''; // what the decoder is set up for
  #newest = null; // the last picture out of the decoder that nobody has taken
  #last = Promise.resolve(); // settles when the payload before has been dealt with
  #period = 0; // counts calls of reset()
  #count = 0;

  // `api` is where a browser keeps VideoDecoder and EncodedVideoChunk.
  constructor(api = globalThis) {
    this.#api = api;
  }

  // Resolves with {image, width, height}, of which `image` (a VideoFrame that the caller closes) may
  // be larger than the picture in its top left corner; or with null for a payload that gives no
  // picture or is overtaken by reset(). Rejects with H264Unsupported. Payloads come out in the order
  // they went in.
  decode(buffer) {
    const period = this.#period;
    const picture = this.#last.then(() => this.#decode(buffer, period));
    this.#last = picture.catch(() => {});
    return picture;
  }

  // Gives up everything that is under way.
  reset() {
    ++this.#period;
    this.#end();
  }

  async #decode(buffer, period) {
    const payload = parsePayload(buffer);
    // What needs an earlier picture is of no use: any of them may have been dropped on its way.
    if (payload === null || !payload.isKey || period !== this.#period) return null;
    if (!(await this.#supports(payload.codec))) throw new H264Unsupported(payload.codec);
    if (period !== this.#period) return null;
    try {
      this.#setUp(payload);
      const data = payload.stream;
      const timestamp = this.#count++;
      this.#decoder.decode(new this.#api.EncodedVideoChunk({type: 'key', timestamp, data}));
      // Without it, a decoder may keep a picture until it has seen the next.
      await this.#decoder.flush();
      if (period !== this.#period) return null;
      return this.#take(payload);
    } catch (error) {
      if (period !== this.#period) return null;
      // A decoder that has met with an error is closed for good; the next payload gets another.
      this.#end();
      if (error.name === 'NotSupportedError') throw new H264Unsupported(payload.codec);
      return null;
    }
  }

  async #supports(codec) {
    if (this.#configured.startsWith(codec)) return true;
    const {VideoDecoder} = this.#api;
    if (VideoDecoder === undefined) return false;
    const answer = await VideoDecoder.isConfigSupported(configuration(codec)).catch(() => null);
    return answer?.supported === true;
  }

  #setUp({codec, width, height}) {
    const wanted = `${codec} ${width}x${height}`;
    if (wanted === this.#configured) return;
    this.#decoder ??= this.#make();
    this.#decoder.configure(configuration(codec));
    this.#configured = wanted;
  }

  #make() {
    const decoder = new this.#api.VideoDecoder({
      output: (frame) => {
        if (decoder !== this.#decoder) {
          frame.close();
          return;
        }
        this.#newest?.close();
        this.#newest = frame;
      },
      error: () => {}, // flush() and decode() tell of it as well
    });
    return decoder;
  }

  #take({width, height}) {
    const image = this.#newest;
    this.#newest = null;
    if (image === null) return null;
    if (image.displayWidth >= width && image.displayHeight >= height) return {image, width, height};
    image.close();
    return null;
  }

  #end() {
    const decoder = this.#decoder;
    this.#decoder = null;
    this.#configured = '';
    this.#newest?.close();
    this.#newest = null;
    if (decoder !== null && decoder.state !== 'closed') decoder.close();
  }
}

// Without a description, so that the stream may be one of Annex B.
function configuration(codec) {
  return {codec, optimizeForLatency: true};
}
