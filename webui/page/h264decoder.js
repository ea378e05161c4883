// Decodes the host's H.264 payloads, each of which is a picture by itself.

import {parsePayload} from './h264.js';

const defaultTimeoutMs = 200;

// This browser has no decoder for the stream.
export class H264Unsupported extends Error {}

export class H264Decoder {
  #api;
  #decoder = null;
  #configured = ''; // what the decoder is set up for
  #keepsBack = false; // whether the decoder gives a picture only when it is flushed
  #wanted = null; // {timestamp, resolve, reject}: the picture that is waited for
  #last = Promise.resolve(); // settles when the payload before has been dealt with
  #generation = 0; // counts calls of reset()
  #count = 0;
  #timeoutMs;

  // `api` is where a browser keeps VideoDecoder and EncodedVideoChunk; `timeoutMs` is how many
  // milliseconds a decoder is given before it is flushed.
  constructor(api = globalThis, timeoutMs = defaultTimeoutMs) {
    this.#api = api;
    this.#timeoutMs = timeoutMs;
  }

  // Resolves with {image, width, height}, of which `image` (a VideoFrame that the caller closes) may
  // be larger than the picture in its top left corner; or with null for a payload that gives no
  // picture or is overtaken by reset(). Rejects with H264Unsupported. Payloads come out in the order
  // they went in.
  decode(buffer) {
    const generation = this.#generation;
    const picture = this.#last.then(() => this.#decode(buffer, generation));
    this.#last = picture.catch(() => {});
    return picture;
  }

  // Gives up everything that is under way.
  reset() {
    ++this.#generation;
    this.#end();
  }

  async #decode(buffer, generation) {
    const payload = parsePayload(buffer);
    // What needs an earlier picture is of no use: any of them may have been dropped on its way.
    if (payload === null || !payload.isKey || generation !== this.#generation) return null;
    if (!(await this.#supports(payload.codec))) throw new H264Unsupported(payload.codec);
    if (generation !== this.#generation) return null;
    try {
      this.#setUp(payload);
      return fitting(await this.#frameOf(payload.stream), payload);
    } catch (error) {
      if (generation !== this.#generation) return null;
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
    return new this.#api.VideoDecoder({
      output: (frame) => {
        const isWanted = this.#wanted !== null && frame.timestamp === this.#wanted.timestamp;
        if (isWanted) this.#settle('resolve', frame);
        else frame.close();
      },
      error: (error) => this.#settle('reject', error),
    });
  }

  // Resolves with the VideoFrame, or with null where nothing comes of the stream.
  async #frameOf(data) {
    const timestamp = this.#count++;
    const frame = new Promise((resolve, reject) => {
      this.#wanted = {timestamp, resolve, reject};
    });
    const timer = setTimeout(() => this.#flush(timestamp), this.#timeoutMs);
    try {
      this.#decoder.decode(new this.#api.EncodedVideoChunk({type: 'key', timestamp, data}));
      if (this.#keepsBack) this.#flush(timestamp);
      return await frame;
    } finally {
      this.#wanted = null;
      clearTimeout(timer);
    }
  }

  // A decoder may keep a picture until it has seen the next. Flushing takes as much time as a small
  // picture or more, so that only such decoders are flushed each time.
  async #flush(timestamp) {
    try {
      this.#keepsBack = true;
      await this.#decoder.flush();
      if (this.#wanted?.timestamp === timestamp) {
        this.#keepsBack = false;
        this.#settle('resolve', null);
      }
    } catch (error) {
      if (this.#wanted?.timestamp === timestamp) this.#settle('reject', error);
    }
  }

  #settle(how, value) {
    this.#wanted?.[how](value);
    this.#wanted = null;
  }

  #end() {
    const decoder = this.#decoder;
    this.#decoder = null;
    this.#configured = '';
    this.#keepsBack = false;
    if (decoder !== null && decoder.state !== 'closed') decoder.close();
    this.#settle('resolve', null);
  }
}

function fitting(image, {width, height}) {
  if (image === null) return null;
  if (image.displayWidth >= width && image.displayHeight >= height) return {image, width, height};
  image.close();
  return null;
}

// Without a description, so that the stream may be one of Annex B.
function configuration(codec) {
  return {codec, optimizeForLatency: true};
}
