import { spawnSync } from 'node:child_process';
import { once } from 'node:events';

import { spawnChild } from './children.mjs';

// An X server of its own with nothing on it but what a test puts there.
export class VirtualScreen {
  static async start(width, height) {
    const server = spawnChild(
      'Xvfb',
      ['-displayfd', '3', '-screen', '0', `${width}x${height}x24`, '-nolisten', 'tcp', '-noreset'],
      { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] },
    );
    const number = await firstLine(server.stdio[3]);
    return new VirtualScreen(server, `:${number}`, width, height);
  }

  constructor(server, display, width, height) {
    this.server = server;
    this.display = display;
    this.width = width;
    this.height = height;
    this.environment = { ...process.env, DISPLAY: display, NO_AT_BRIDGE: '1' };
    delete this.environment.XAUTHORITY;
    delete this.environment.WAYLAND_DISPLAY;
    delete this.environment.DBUS_SESSION_BUS_ADDRESS;
    this.programs = [];
  }

  // Fills the whole screen with one colour, behind all windows.
  paint(colour) {
    const done = spawnSync('xsetroot', ['-solid', colour], { env: this.environment });
    if (done.status !== 0) throw new Error(`xsetroot failed: ${done.stderr}`);
  }

  // Starts a program that stays on the screen.
  open(program, ...args) {
    this.programs.push(spawnChild(program, args, { env: this.environment, stdio: 'ignore' }));
  }

  async stop() {
    for (const process of [...this.programs, this.server]) await end(process);
  }
}

async function end(process) {
  if (process.exitCode !== null || process.signalCode !== null) return;
  process.kill('SIGTERM');
  await once(process, 'exit');
}

async function firstLine(stream) {
  let text = '';
  for await (const chunk of stream) {
    text += chunk;
    if (text.includes('\n')) return text.split('\n')[0];
  }
  throw new Error('Xvfb ended before it had a display');
}
