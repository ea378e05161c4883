// Functions that run in the page under test.

// Before its own scripts: `hold` knows the page's newest socket, can lose or repeat deltas that come
// over it, and counts them and requests for whole frames.
export function takeHoldOfFrames() {
  window.hold = { socket: null, toLose: 0, toRepeat: 0, deltas: 0, wholeRequests: 0 };
  const { set } = Object.getOwnPropertyDescriptor(WebSocket.prototype, 'onmessage');
  Object.defineProperty(WebSocket.prototype, 'onmessage', {
    set(handle) {
      if (this.isAnotherPages) return set.call(this, handle);
      window.hold.socket = this;
      set.call(this, (event) => {
        const isFrame = event.data instanceof ArrayBuffer && event.data.byteLength > 4;
        const isDelta = isFrame && new DataView(event.data).getUint32(0) === 0x514e444a;
        if (isDelta) ++window.hold.deltas;
        if (isDelta && window.hold.toLose > 0) {
          --window.hold.toLose;
          this.send(JSON.stringify({ ack: 1 }));
          return;
        }
        handle(event);
        if (!isDelta || window.hold.toRepeat === 0) return;
        --window.hold.toRepeat;
        handle(event);
      });
    },
  });
  const { send } = WebSocket.prototype;
  WebSocket.prototype.send = function (text) {
    if (this === window.hold.socket && text.includes('whole')) ++window.hold.wholeRequests;
    send.call(this, text);
  };
}

// A second page of the host, which asks for whole frames only.
export async function joinAsAnotherPage() {
  const socket = new WebSocket(new URL('ws', location.href.replace(/^http/, 'ws')));
  socket.binaryType = 'arraybuffer';
  socket.isAnotherPages = true;
  const other = { frames: 0, newest: null, seenFrames: 0 };
  socket.onmessage = ({ data }) => {
    if (data instanceof ArrayBuffer) {
      ++other.frames;
      if (new Uint8Array(data, 0, 1)[0] === 0xff) other.newest = data;
      socket.send(JSON.stringify({ ack: 1 }));
    } else {
      const { event, word } = JSON.parse(data);
      if (event === 'question') socket.send(JSON.stringify({ answer: word }));
    }
  };
  await new Promise((resolve) => {
    socket.onopen = resolve;
  });
  socket.send(JSON.stringify({ show: { customer: false, picture: true, input: false } }));
  other.askForWhole = async () => {
    other.newest = null;
    socket.send(JSON.stringify({ whole: true }));
    const deadline = performance.now() + 10_000;
    while (other.newest === null) {
      if (performance.now() > deadline) throw new Error('no whole frame came');
      await new Promise((resolve) => setTimeout(resolve, 2));
    }
    return other.newest;
  };
  window.otherPage = other;
}

// Waits until the frame with the last change has come, and the canvas shows it. Null, or what is
// wrong with the canvas when it comes to rest.
export async function compareWithWhole() {
  const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
  const other = window.otherPage;
  const deadline = performance.now() + 10_000;
  // A change of a few pixels may leave the file as it is.
  const changeDeadline = performance.now() + 1000;
  while (other.frames === other.seenFrames && performance.now() < changeDeadline) await pause(3);
  let difference;
  do {
    await pause(10);
    const image = await createImageBitmap(new Blob([await other.askForWhole()]));
    const whole = new OffscreenCanvas(image.width, image.height).getContext('2d', { alpha: false });
    whole.drawImage(image, 0, 0);
    image.close();
    other.seenFrames = other.frames;
    difference = differenceOf(whole.getImageData(0, 0, whole.canvas.width, whole.canvas.height));
  } while (difference !== null && performance.now() < deadline);
  return difference;

  function differenceOf(wanted) {
    const canvas = document.getElementById('picture');
    const { width, height } = canvas;
    if (width !== wanted.width || height !== wanted.height) return { size: [width, height] };
    const shown = canvas.getContext('2d').getImageData(0, 0, width, height);
    const [a, b] = [new Uint32Array(shown.data.buffer), new Uint32Array(wanted.data.buffer)];
    const wrong = [];
    for (let at = 0; at < a.length; ++at) {
      if (a[at] !== b[at]) wrong.push([at % width, Math.floor(at / width)]);
    }
    if (wrong.length === 0) return null;
    return { pixels: wrong.length, first: wrong[0], last: wrong.at(-1) };
  }
}
