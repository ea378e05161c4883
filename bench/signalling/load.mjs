// usage: node bench/signalling/load.mjs [INVITATIONS [SESSIONS_A_SECOND]]
//
// What so many invitations at a time (10,000) cost one broker with the settings of deploy/, and what a
// session does: mosquitto's processor time and memory. Customers come over TLS, supporters over a
// WebSocket, all from this process; messages have the numbers and sizes of real ones.

import {spawn, spawnSync} from 'node:child_process';
import {createHash, randomBytes} from 'node:crypto';
import {cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {setTimeout as pause} from 'node:timers/promises';
import {fileURLToPath} from 'node:url';

import mqtt from '../../supporter/node_modules/mqtt/build/index.js';

const invitations = Number(process.argv[2] ?? 10_000);
const sessionsASecond = Number(process.argv[3] ?? 50);
const sessions = Math.min(invitations, 2000);
const atOnce = 100; // connections being made
const restS = 60;

const deployed = fileURLToPath(new URL('../../deploy/files/', import.meta.url));
const folder = mkdtempSync(join(tmpdir(), 'quorvin-load-'));

function startBroker() {
  const own = ['-keyout', join(folder, 'key.pem'), '-out', join(folder, 'fullchain.pem')];
  const key = ['-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:prime256v1', '-nodes'];
  spawnSync('openssl', ['req', '-x509', '-days', '2', '-subj', '/CN=localhost', ...key, ...own]);
  cpSync(join(deployed, 'acl'), join(folder, 'acl'));
  const settings = readFileSync(join(deployed, 'mosquitto.conf'), 'utf8')
    .replaceAll('/etc/quorvin-place/tls', folder)
    .replaceAll('/etc/quorvin-place', folder);
  writeFileSync(join(folder, 'mosquitto.conf'), `${settings}\nuser root\n`);
  return spawn('/usr/sbin/mosquitto', ['-c', join(folder, 'mosquitto.conf')], {stdio: 'inherit'});
}

const broker = startBroker();
const pageBytes = 4096;
const ticksASecond = 100;

// {cpuS, mib} of the broker; see proc(5).
function cost() {
  const stat = readFileSync(`/proc/${broker.pid}/stat`, 'utf8').split(') ')[1].split(' ');
  return {cpuS: (Number(stat[11]) + Number(stat[12])) / ticksASecond, mib: (stat[21] * pageBytes) / 2 ** 20};
}

async function measured(what, count, work) {
  const [before, start] = [cost(), performance.now()];
  await work();
  const [after, seconds] = [cost(), (performance.now() - start) / 1000];
  const cpuS = after.cpuS - before.cpuS;
  const each = ((1000 * cpuS) / count).toFixed(2);
  console.log(
    `${what}: ${seconds.toFixed(1)} s, broker ${cpuS.toFixed(2)} s of processor time ` +
      `(${each} ms each), ${after.mib.toFixed(0)} MiB`,
  );
}

const goneTopic = (id) =>
  `quorvin/1/gone/${createHash('sha256').update(id).digest('hex').slice(0, 32)}`;

// Resolves once it is connected and has subscribed to the topics.
function connect(url, id, username, topics) {
  const client = mqtt.connect(url, {
    protocolVersion: 4,
    clientId: id,
    username,
    clean: true,
    keepalive: 20,
    reconnectPeriod: 0,
    rejectUnauthorized: false,
    will: {topic: goneTopic(id), payload: Buffer.of(1), qos: 1, retain: false},
  });
  return new Promise((resolve, reject) => {
    client.on('error', reject);
    client.on('connect', async () => {
      await client.subscribeAsync(topics, {qos: 2});
      resolve(client);
    });
  });
}

const send = (client, topic, size) => client.publishAsync(topic, randomBytes(size), {qos: 2});

async function invite(number) {
  const id = randomBytes(16).toString('hex');
  const place = String(number).padStart(4, '0');
  const topics = [`quorvin/1/${id}`, `quorvin/1/place/${place}`];
  const client = await connect('mqtts://127.0.0.1:8883', id, place, topics);
  await send(client, topics[1], 34); // claims it
  return {id, place, client};
}

// Join, offer, hello, allowed; then descriptions and candidates both ways.
async function session({id, place, client: customer}) {
  const own = randomBytes(16).toString('hex');
  const [mine, theirs] = [`quorvin/1/${own}`, `quorvin/1/${id}`];
  const supporter = await connect('ws://127.0.0.1:9001/mqtt', own, undefined, [mine, goneTopic(id)]);
  await send(supporter, `quorvin/1/place/${place}`, 67);
  await customer.subscribeAsync(goneTopic(own), {qos: 1});
  await send(customer, mine, 114);
  await send(supporter, theirs, 180);
  await send(customer, mine, 120);
  await send(customer, mine, 900);
  await send(supporter, theirs, 900);
  for (let i = 0; i < 4; ++i) {
    await Promise.all([send(customer, mine, 300), send(supporter, theirs, 300)]);
  }
  await supporter.endAsync();
}

async function inviteAll() {
  const customers = [];
  let next = 0;
  const worker = async () => {
    while (next < invitations) customers.push(await invite(next++ % 10_000));
  };
  await Promise.all(Array.from({length: atOnce}, worker));
  return customers;
}

async function helpMany(customers) {
  const running = [];
  for (let i = 0; i < sessions; ++i) {
    running.push(session(customers[i]));
    await pause(1000 / sessionsASecond);
  }
  await Promise.all(running);
}

try {
  await pause(1000);
  let customers;
  await measured(`${invitations} invitations come`, invitations, async () => {
    customers = await inviteAll();
  });
  await measured(`${invitations} wait, ${restS} s`, invitations, () => pause(1000 * restS));
  await measured(`${sessions} sessions beside them`, sessions, () => helpMany(customers));
} finally {
  broker.kill();
  rmSync(folder, {recursive: true});
}
process.exit(0);
