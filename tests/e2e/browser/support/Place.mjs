import { spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { connect, createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { serveFiles } from './FakeProgram.mjs';
import { spawnChild } from './children.mjs';
import { until } from './until.mjs';

const accessList = fileURLToPath(new URL('../../../../deploy/files/acl', import.meta.url));
const builder = fileURLToPath(new URL('../../../../supporter/build.mjs', import.meta.url));

// A place on this computer: a broker with a deployed one's access list, and the page of supporters.
export class Place {
  static async start() {
    const place = new Place();
    place.folder = mkdtempSync(join(tmpdir(), 'quorvin-place-'));
    const page = join(place.folder, 'page');
    const built = spawnSync(process.execPath, [builder, page], { encoding: 'utf8' });
    if (built.status !== 0) throw new Error(`the page was not built: ${built.stderr}`);
    const [port, browsersPort] = await freePorts(2);
    const config = [
      ...['user root', 'allow_anonymous true', `acl_file ${accessList}`, 'log_type error'],
      `listener ${port} 127.0.0.1`,
      ...[`listener ${browsersPort} 127.0.0.1`, 'protocol websockets'],
    ];
    writeFileSync(join(place.folder, 'broker.conf'), config.join('\n'));
    const known = { broker: `ws://127.0.0.1:${browsersPort}`, iceServers: [] };
    writeFileSync(join(place.folder, 'place.json'), JSON.stringify(known));
    place.port = port;
    await place.startBroker();
    place.files = await serveFiles(page, place.folder);
    return place;
  }

  // What the program needs to know.
  get environment() {
    const broker = `mqtt://127.0.0.1:${this.port}`;
    return { QUORVIN_REMOTE_BROKER: broker, QUORVIN_REMOTE_PAGE: this.files.address };
  }

  async startBroker() {
    const file = join(this.folder, 'broker.conf');
    this.broker = spawnChild('/usr/sbin/mosquitto', ['-c', file], { stdio: 'ignore' });
    await until('the broker', () => listens(this.port));
  }

  async stop() {
    this.broker.kill();
    this.files.close();
    rmSync(this.folder, { recursive: true });
  }
}

async function freePorts(count) {
  const servers = [];
  for (let index = 0; index < count; ++index) {
    const server = createServer();
    await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
    servers.push(server);
  }
  const ports = servers.map((server) => server.address().port);
  await Promise.all(servers.map((server) => new Promise((resolve) => server.close(resolve))));
  return ports;
}

function listens(port) {
  return new Promise((resolve) => {
    const socket = connect(port, '127.0.0.1');
    const answer = (is) => {
      socket.destroy();
      resolve(is);
    };
    socket.on('connect', () => answer(true)).on('error', () => answer(false));
  });
}
