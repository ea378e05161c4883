// That the networks of the tests are what they say, and what the place's relay is for: two browsers
// with a data channel between them. Inside `networks.sh run`.

import assert from 'node:assert/strict';
import {mkdirSync, mkdtempSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {after, before, test} from 'node:test';

import {until} from '../browser/support/until.mjs';
import {PublicPlace} from './support/PublicPlace.mjs';
import {launchIn, setNetworks} from './support/networks.mjs';

let folder;
let place;
let browsers;

before(async () => {
  folder = mkdtempSync(join(tmpdir(), 'quorvin-page-'));
  mkdirSync(join(folder, 'page'));
  writeFileSync(join(folder, 'page', 'index.html'), '<!doctype html><title>Ends</title>');
  place = await PublicPlace.start(join(folder, 'page'));
  browsers = await Promise.all(['customer', 'supporter'].map((network) => launchIn(network)));
});

after(async () => {
  for (const browser of browsers ?? []) await browser.close();
  await place?.stop();
  rmSync(folder, {recursive: true, force: true});
});

// In a page: a peer connection as `end`, with the place's servers; `tell` hands on its candidates.
async function makeEnd() {
  const {iceServers} = await (await fetch('place.json')).json();
  const peer = new RTCPeerConnection({iceServers});
  const channel = peer.createDataChannel('all', {negotiated: true, id: 0});
  const opened = new Promise((resolve) => {
    channel.onopen = resolve;
  });
  peer.onicecandidate = ({candidate}) => tell(candidate?.toJSON() ?? null);
  const way = async () => {
    const stats = [...(await peer.getStats()).values()];
    const {selectedCandidatePairId} = stats.find(({type}) => type === 'transport');
    const byId = Object.fromEntries(stats.map((entry) => [entry.id, entry]));
    const pair = byId[selectedCandidatePairId];
    const own = byId[pair.localCandidateId];
    return {own: own.candidateType, protocol: own.relayProtocol, other: byId[pair.remoteCandidateId].candidateType};
  };
  window.end = {peer, channel, opened, way};
}

async function connect() {
  const pages = await Promise.all(browsers.map((browser) => browser.newPage({ignoreHTTPSErrors: true})));
  await Promise.all(pages.map((page) => page.goto('https://place.test/')));
  const [customer, supporter] = pages;
  let passOn;
  const described = new Promise((resolve) => {
    passOn = resolve;
  });
  const handOn = (other) => async (candidate) => {
    await described;
    await other.evaluate((candidate) => end.peer.addIceCandidate(candidate), candidate);
  };
  await customer.exposeFunction('tell', handOn(supporter));
  await supporter.exposeFunction('tell', handOn(customer));
  await Promise.all(pages.map((page) => page.evaluate(makeEnd)));
  const offer = await customer.evaluate(async () => {
    await end.peer.setLocalDescription();
    return end.peer.localDescription.toJSON();
  });
  const answer = await supporter.evaluate(async (offer) => {
    await end.peer.setRemoteDescription(offer);
    await end.peer.setLocalDescription();
    return end.peer.localDescription.toJSON();
  }, offer);
  await customer.evaluate((answer) => end.peer.setRemoteDescription(answer), answer);
  passOn();
  await Promise.all(pages.map((page) => page.evaluate(() => end.opened)));
  return {
    customer,
    supporter,
    close: () => Promise.all(pages.map((page) => page.close())),
    ways: () => Promise.all(pages.map((page) => page.evaluate(() => end.way()))),
  };
}

// In the supporter's page: sends back whatever comes.
function echo() {
  end.channel.onmessage = ({data}) => end.channel.send(data);
}

// In the customer's: how long so many times so many bytes take there and back.
async function measure([count, size]) {
  const times = [];
  for (let i = 0; i < count; ++i) {
    const start = performance.now();
    const back = new Promise((resolve) => {
      end.channel.onmessage = resolve;
    });
    end.channel.send(new Uint8Array(size));
    await back;
    times.push(performance.now() - start);
  }
  return times.sort((a, b) => a - b);
}

async function timesOf(ends, count, size) {
  await ends.supporter.evaluate(echo);
  return ends.customer.evaluate(measure, [count, size]);
}

const isRelayed = (ways) => ways.some(({own, other}) => own === 'relay' || other === 'relay');

for (const nat of ['open', 'plain']) {
  test(`${nat}: the two reach each other without the relay`, async () => {
    setNetworks({nat});
    const ends = await connect();
    // The relay may have been quicker at first.
    await until('the direct way', async () => !isRelayed(await ends.ways()));
    await ends.close();
  });
}

test('two symmetric NATs: by way of the relay', async () => {
  setNetworks({nat: 'symmetric'});
  const ends = await connect();
  assert.equal(isRelayed(await ends.ways()), true);
  await ends.close();
});

test('no UDP out of the supporter’s network: to the relay over TCP', async () => {
  setNetworks({nat: 'symmetric', udp: 'block'});
  const ends = await connect();
  const [, supporter] = await ends.ways();
  assert.equal(supporter.own, 'relay');
  // With TLS or without, whichever was quicker.
  assert.ok(['tcp', 'tls'].includes(supporter.protocol), supporter.protocol);
  await ends.close();
});

test('a long way takes its time', async () => {
  setNetworks({delayMs: 50});
  const ends = await connect();
  const times = await timesOf(ends, 20, 100);
  // Two wires, there and back.
  assert.ok(times[10] >= 200 && times[10] < 260, `${times}`);
  await ends.close();
});

test('a narrow way takes its time', async () => {
  setNetworks({rateMbit: 2});
  const ends = await connect();
  const [fastest] = await timesOf(ends, 5, 60_000);
  // Both wires at once, there and then back.
  assert.ok(fastest >= (2 * 60_000 * 8) / 2000 && fastest < 2000, `${fastest}`);
  await ends.close();
});

test('what is lost on the way still arrives', async () => {
  setNetworks({lossPercent: 5, delayMs: 5});
  const ends = await connect();
  const times = await timesOf(ends, 60, 1000);
  assert.ok(times[59] > 2 * times[10], `nothing was lost: ${times}`);
  await ends.close();
});
