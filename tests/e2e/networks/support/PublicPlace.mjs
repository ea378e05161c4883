import {spawnSync} from 'node:child_process';
import {cpSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {fileURLToPath} from 'node:url';

import {until} from '../../browser/support/until.mjs';
import {script, startIn} from './networks.mjs';

const host = 'place.test';
const files = fileURLToPath(new URL('../../../../deploy/files/', import.meta.url));

function run(program, args, options) {
  const {status, stdout, stderr} = spawnSync(program, args, {encoding: 'utf8', ...options});
  if (status !== 0) throw new Error(`${program}: ${stderr}`);
  return stdout;
}

// The place as deploy/install sets it up, in the public network, but with files in a folder of its own
// and without users of its own, for which it takes root.
export class PublicPlace {
  static async start(page) {
    const place = new PublicPlace(mkdtempSync(join(tmpdir(), 'quorvin-place-')));
    cpSync(page, join(place.folder, 'page'), {recursive: true});
    place.#makeSecrets();
    place.#renew();
    place.#startBroker();
    place.#startRelay();
    place.#startWebServer();
    const listening = ['in', 'public', 'ss', '-Hlnt', 'sport = :443 or sport = :8883 or sport = :3478'];
    await until('the place', () => {
      const ports = run(script, listening);
      return [443, 8883, 3478].every((port) => ports.includes(`:${port} `));
    });
    return place;
  }

  constructor(folder) {
    this.folder = folder;
    this.certificate = join(folder, 'tls/fullchain.pem');
    this.processes = [];
  }

  #makeSecrets() {
    mkdirSync(join(this.folder, 'tls'));
    writeFileSync(join(this.folder, 'relay-secret'), 'the secret of the tests');
    const subject = ['-subj', `/CN=${host}`, '-addext', `subjectAltName=DNS:${host}`];
    const key = ['-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:prime256v1', '-nodes'];
    const out = ['-keyout', join(this.folder, 'tls/key.pem'), '-out', this.certificate];
    run('openssl', ['req', '-x509', '-days', '2', ...key, ...subject, ...out]);
  }

  #renew() {
    const env = {...process.env, CREDENTIALS_DIRECTORY: this.folder};
    run(join(files, 'renew_place'), [host, join(this.folder, 'shares')], {env});
  }

  // A file of the place with its paths in this folder, and `more` at its end.
  #write(name, more = '') {
    const text = readFileSync(join(files, name), 'utf8')
      .replaceAll('@HOST@', host)
      .replaceAll('@SECRET@', 'the secret of the tests')
      .replaceAll('/usr/local/share/quorvin-place', this.folder)
      .replaceAll('/run/quorvin-place', join(this.folder, 'shares'))
      .replaceAll('/etc/quorvin-place', this.folder);
    const path = join(this.folder, name);
    writeFileSync(path, text + more);
    return path;
  }

  #start(program, ...args) {
    const child = startIn('public', program, args, {stdio: ['ignore', 'pipe', 'pipe']});
    child.said = '';
    for (const stream of [child.stdout, child.stderr]) {
      stream.on('data', (chunk) => {
        child.said += chunk;
      });
    }
    this.processes.push(child);
    return child;
  }

  #startBroker() {
    this.#write('acl');
    this.broker = this.#start('mosquitto', '-c', this.#write('mosquitto.conf', '\nuser root\n'));
  }

  #startRelay() {
    const own = `userdb=${join(this.folder, 'turn.db')}\nlistening-ip=198.51.100.10\nrelay-ip=198.51.100.10\n`;
    this.relay = this.#start('turnserver', '-c', this.#write('turnserver.conf', own), '--pidfile=');
  }

  #startWebServer() {
    this.#write('headers.conf');
    const site = this.#write('nginx.conf');
    const folders = ['client_body', 'proxy', 'fastcgi', 'uwsgi', 'scgi'].map(
      (kind) => `  ${kind}_temp_path ${this.folder}/${kind};\n`,
    );
    const main = join(this.folder, 'main.conf');
    const around = `include /etc/nginx/mime.types;\n${folders.join('')}  include ${site};`;
    const own = `user root;\npid ${this.folder}/nginx.pid;\nerror_log stderr;\nevents {}\n`;
    writeFileSync(main, `${own}http {\n  ${around}\n}\n`);
    this.web = this.#start('nginx', '-c', main, '-g', 'daemon off;');
  }

  async stop() {
    for (const child of this.processes) child.kill('SIGTERM');
    rmSync(this.folder, {recursive: true, force: true});
  }
}
