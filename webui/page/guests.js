// The supporters on other computers for whom this page is the carrier: for each a peer connection,
// and a second connection to the program, in that supporter's name, over which everything passes as
// it is. Nothing here waits for a timer, as those of a hidden page are slow.

import {openSocket} from './connection.js';
import {Peer} from './peer.js';

const pathEveryMs = 5000;
const placeMaxMs = 5000;
// Of what a guest sends and the program has not taken.
const backlogMaxBytes = 1024 * 1024;
const backlogMaxTexts = 200;

export class Guests {
  #connection;
  #guests = new Map(); // by the session's id; null for one that was lost and is not yet back

  constructor(connection) {
    this.#connection = connection;
    setInterval(() => this.#tellPaths(), pathEveryMs);
  }

  // The server's event: begins and ends what it asks for.
  review({sessions, page, iceServers}) {
    const carried = sessions.filter(({carrier, stage}) => carrier && stage === 'connected');
    for (const id of this.#guests.keys()) {
      if (!carried.some((session) => session.id === id)) this.#end(id);
    }
    for (const {id} of carried) {
      if (!this.#guests.has(id)) this.#begin(id, page, iceServers);
    }
  }

  // A signal of a supporter.
  take({remote, signal}) {
    this.#guests.get(remote)?.peer?.take(signal);
  }

  disconnected() {
    for (const id of this.#guests.keys()) this.#end(id);
  }

  async #begin(id, page, iceServers) {
    const guest = {peer: null, socket: null, way: null};
    this.#guests.set(id, guest);
    iceServers ??= await iceServersOf(page);
    if (this.#guests.get(id) !== guest) return;
    const tell = (signal) => this.#connection.tell({remote: id, signal});
    try {
      guest.peer = new Peer({iceServers, offers: true, tell});
    } catch {
      return this.#lose(id, guest); // what the place names is of no use
    }
    guest.peer.carrier.onclose = () => this.#lose(id, guest);
    guest.peer.carrier.onopen = () => {
      this.#tellPath(id, guest);
      this.#connect(id, guest);
    };
  }

  #connect(id, guest) {
    const {carrier} = guest.peer;
    const socket = openSocket(`guest-${id}`);
    const early = [];
    guest.socket = socket;
    carrier.onmessage = ({data}) => {
      if (socket.readyState === WebSocket.OPEN) socket.send(data);
      else early.push(data);
      const isTooMuch = socket.bufferedAmount > backlogMaxBytes || early.length > backlogMaxTexts;
      if (isTooMuch) this.#lose(id, guest);
    };
    socket.onopen = () => early.splice(0).forEach((data) => socket.send(data));
    socket.onmessage = ({data}) => carrier.send(data);
    socket.onclose = () => this.#lose(id, guest);
  }

  #lose(id, guest) {
    if (this.#guests.get(id) !== guest) return;
    this.#end(id);
    this.#guests.set(id, null);
    this.#connection.tell({remote: id, lost: true});
  }

  #end(id) {
    const guest = this.#guests.get(id);
    this.#guests.delete(id);
    guest?.peer?.close();
    guest?.socket?.close();
  }

  #tellPaths() {
    for (const [id, guest] of this.#guests) {
      if (guest?.socket) this.#tellPath(id, guest);
    }
  }

  async #tellPath(id, guest) {
    const path = await guest.peer.path();
    if (!path || path.way === guest.way || this.#guests.get(id) !== guest) return;
    guest.way = path.way;
    this.#connection.tell({remote: id, path: path.way});
  }
}

// Whoever runs the place keeps them beside the supporter's page. Without them there may still be a
// direct way.
async function iceServersOf(page) {
  try {
    const signal = AbortSignal.timeout(placeMaxMs);
    const place = await (await fetch(new URL('place.json', page), {signal})).json();
    return place.iceServers ?? [];
  } catch {
    return [];
  }
}
