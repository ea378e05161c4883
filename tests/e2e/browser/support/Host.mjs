import { once } from 'node:events';
import { mkdtempSync, readFileSync, readdirSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { isAbsolute, join } from 'node:path';

import { spawnChild } from './children.mjs';
import { until } from './until.mjs';

const addressLine = /^Quorvin Support: open (http:\/\/127\.0\.0\.1:\d+\/[0-9a-f]+\/) in a browser$/m;

// The program under test, in a process group of its own and with an empty home.
export class Host {
  // `prepare` gets the path of the home before the program starts.
  static async start(program, environment, {args = [], prepare = () => {}} = {}) {
    const home = mkdtempSync(join(tmpdir(), 'quorvin-e2e-'));
    prepare(home);
    const host = new Host(program, args, home, {
      ...environment,
      HOME: home,
      XDG_CONFIG_HOME: join(home, 'config'),
      XDG_RUNTIME_DIR: home,
      QUORVIN_WEBUI_OPEN: '0',
    });
    host.address = await until('the address line', () => host.addressOrFailure());
    return host;
  }

  constructor(program, args, home, environment) {
    this.home = home;
    this.output = '';
    this.process = spawnChild(isAbsolute(program) ? program : join(home, program), args, {
      env: environment,
      detached: true,
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    this.ended = once(this.process, 'exit');
    for (const stream of [this.process.stdout, this.process.stderr]) {
      stream.on('data', (chunk) => {
        this.output += chunk;
      });
    }
  }

  addressOrFailure() {
    if (this.process.exitCode !== null) throw new Error(`the host ended at once: ${this.output}`);
    return addressLine.exec(this.output)?.[1];
  }

  // Whether anything that the host started, or it itself, is still running.
  leftProcesses() {
    try {
      process.kill(-this.process.pid, 0);
      return true;
    } catch {
      return false;
    }
  }

  // As Ctrl-C in a terminal does. Returns the exit status.
  async interrupt() {
    process.kill(-this.process.pid, 'SIGINT');
    const [status] = await this.ended;
    return status;
  }

  // The process that the host has started from the program of that name.
  child(name) {
    return readdirSync('/proc')
      .filter((entry) => /^\d+$/.test(entry))
      .map(Number)
      .find((process) => parentOf(process) === this.process.pid && commandOf(process) === name);
  }

  // For the end of a test run that may have failed anywhere.
  async destroy() {
    if (this.leftProcesses()) process.kill(-this.process.pid, 'SIGKILL');
    await this.ended;
    rmSync(this.home, { recursive: true, force: true });
  }
}

// See proc(5); undefined when the process has just ended.
function parentOf(process) {
  try {
    const status = readFileSync(`/proc/${process}/status`, 'utf8');
    return Number(/^PPid:\s*(\d+)$/m.exec(status)?.[1]);
  } catch {
    return undefined;
  }
}

function commandOf(process) {
  try {
    return readFileSync(`/proc/${process}/cmdline`, 'utf8').split('\0')[0].split('/').pop();
  } catch {
    return undefined;
  }
}
