// One end of a peer connection with the two channels that a ChannelCarrier needs. The customer's end
// makes the offer. Whatever ends it closes the carrier; it does not come back, another takes its
// place.

import {ChannelCarrier} from './channelframes.js';

const connectMaxMs = 20_000;
const interruptionMaxMs = 4_000; // after which the browser has noticed one, which takes about five

export class Peer {
  carrier;
  #connection;
  #awaited; // the description of the other end
  #tell;
  #turn = Promise.resolve(); // settles when the signal before has been dealt with
  #wasConnected = false;
  #timer;

  // `tell` is given the signals for the other end: {description} or {candidate}, null after the last.
  constructor({iceServers, offers, tell}) {
    const connection = new RTCPeerConnection({iceServers});
    this.#connection = connection;
    this.#awaited = offers ? 'answer' : 'offer';
    this.#tell = tell;
    const open = (name, id) => connection.createDataChannel(name, {negotiated: true, id});
    this.carrier = new ChannelCarrier(open('control', 0), open('frames', 1));
    connection.onicecandidate = ({candidate}) => tell({candidate: candidate?.toJSON() ?? null});
    connection.onconnectionstatechange = () => this.#review();
    this.#review();
    if (offers) this.#inTurn(() => this.#describe());
  }

  // A signal of the other end.
  take(signal) {
    this.#inTurn(() => this.#apply(signal));
  }

  close() {
    clearTimeout(this.#timer);
    this.#connection.close();
    this.carrier.close();
  }

  // {way: 'direct' or 'relayed', roundTripMs}, or null where the browser does not say.
  async path() {
    const stats = await this.#connection.getStats();
    const reports = [...stats.values()];
    const transport = reports.find(({type}) => type === 'transport');
    const pair =
      stats.get(transport?.selectedCandidatePairId) ??
      reports.find(({type, nominated, state}) =>
        type === 'candidate-pair' && nominated && state === 'succeeded');
    if (!pair) return null;
    const ends = [pair.localCandidateId, pair.remoteCandidateId];
    const isRelayed = ends.some((id) => stats.get(id)?.candidateType === 'relay');
    const roundTripMs = (pair.currentRoundTripTime ?? NaN) * 1000;
    return {way: isRelayed ? 'relayed' : 'direct', roundTripMs};
  }

  // What goes wrong with one signal ends the connection, but for candidates: others may do.
  #inTurn(work) {
    this.#turn = this.#turn.then(work).catch(() => this.close());
  }

  async #apply({description, candidate}) {
    if (description) {
      if (description.type !== this.#awaited) throw new Error('not the description awaited');
      await this.#connection.setRemoteDescription(description);
      if (this.#awaited === 'offer') await this.#describe();
    } else {
      await this.#connection.addIceCandidate(candidate ?? undefined).catch(() => {});
    }
  }

  async #describe() {
    await this.#connection.setLocalDescription();
    const {type, sdp} = this.#connection.localDescription;
    this.#tell({description: {type, sdp}});
  }

  #review() {
    const state = this.#connection.connectionState;
    clearTimeout(this.#timer);
    if (state === 'connected') {
      this.#wasConnected = true;
    } else if (state === 'failed') {
      this.close();
    } else {
      const patienceMs = this.#wasConnected ? interruptionMaxMs : connectMaxMs;
      this.#timer = setTimeout(() => this.close(), patienceMs);
    }
  }
}
