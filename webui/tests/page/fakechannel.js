// Data channels without a browser: pairs whose ends hand each other what is sent, at once.

globalThis.WebSocket ??= class {
  static OPEN = 1;
  static CLOSED = 3;
};

export class FakeChannel {
  readyState = 'connecting';
  bufferedAmount = 0;
  sent = [];
  other = null;

  static pair() {
    const [one, other] = [new FakeChannel(), new FakeChannel()];
    one.other = other;
    other.other = one;
    return [one, other];
  }

  open() {
    this.readyState = 'open';
    this.onopen?.();
  }

  send(data) {
    this.sent.push(data);
    this.other?.receive(data);
  }

  receive(data) {
    // A browser gives an ArrayBuffer of its own.
    this.onmessage?.({data: typeof data === 'string' ? data : new Uint8Array(data).buffer});
  }

  close() {
    if (this.readyState === 'closed') return;
    this.readyState = 'closed';
    this.other?.close();
    this.onclose?.();
  }
}
