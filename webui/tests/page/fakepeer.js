// What of a browser's peer connection the page uses, worked by the test.

import {FakeChannel} from './fakechannel.js';

export class FakePeerConnection {
  static all = [];
  connectionState = 'new';
  localDescription = null;
  channels = new Map(); // by id
  applied = [];
  stats = new Map();

  static install() {
    FakePeerConnection.all = [];
    globalThis.RTCPeerConnection = FakePeerConnection;
  }

  constructor(options) {
    this.options = options;
    FakePeerConnection.all.push(this);
  }

  createDataChannel(name, {negotiated, id}) {
    const channel = new FakeChannel();
    if (negotiated) this.channels.set(id, Object.assign(channel, {name}));
    return channel;
  }

  async setLocalDescription() {
    const type = this.applied.length === 0 ? 'offer' : 'answer';
    this.localDescription = {type, sdp: `our ${type}`};
  }

  async setRemoteDescription(description) {
    if (description.sdp === 'wrong') throw new Error('wrong');
    this.applied.push(description);
  }

  async addIceCandidate(candidate) {
    this.applied.push({candidate});
    if (candidate === 'wrong') throw new Error('wrong');
  }

  async getStats() {
    return this.stats;
  }

  become(state) {
    this.connectionState = state;
    this.onconnectionstatechange();
  }

  openChannels() {
    for (const channel of this.channels.values()) channel.open();
  }

  close() {
    this.connectionState = 'closed';
  }
}

export const settled = () => new Promise((resolve) => setImmediate(resolve));

// Timers that a test lets come due: {waiting: [{work, ms}], runAll()}.
export function takeOverTimers(context) {
  const {setTimeout, clearTimeout} = globalThis;
  const waiting = [];
  globalThis.setTimeout = (work, ms) => {
    const timer = {work, ms};
    waiting.push(timer);
    return timer;
  };
  globalThis.clearTimeout = (timer) => {
    if (waiting.includes(timer)) waiting.splice(waiting.indexOf(timer), 1);
  };
  context.after(() => Object.assign(globalThis, {setTimeout, clearTimeout}));
  return {waiting, runAll: () => waiting.splice(0).forEach(({work}) => work())};
}
