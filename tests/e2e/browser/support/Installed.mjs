import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { cpSync, mkdirSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { program as builtProgram } from './built.mjs';

const builtBundle = dirname(dirname(dirname(builtProgram)));

export const bundle = 'Applications/Quorvin Support.app';
export const program = `${bundle}/Contents/Linux/quorvin-support`;

// Installs the program, and enables unattended access with its own command. Nothing is registered
// with the login of whoever runs this test: the program for that only says that it was called.
export function installUnattended(home, environment) {
  cpSync(builtBundle, join(home, bundle), { recursive: true });
  mkdirSync(join(home, 'Desktop'));
  writeFileSync(join(home, 'systemctl'), '#!/bin/sh\nexit 0\n', { mode: 0o755 });
  assert.deepEqual(run(home, environment, program, '--install-unattended', '--name', ' Front  desk '), {
    status: 0,
    stdout: 'Quorvin unattended access is enabled for "Front desk" and will start at login.\n',
    stderr: '',
  });
}

// One of the installed programs, until it ends.
export function run(home, environment, installed, ...args) {
  const { status, stdout, stderr } = spawnSync(join(home, installed), args, {
    encoding: 'utf8',
    env: {
      ...environment,
      HOME: home,
      XDG_CONFIG_HOME: join(home, 'config'),
      XDG_RUNTIME_DIR: home,
      QUORVIN_SYSTEMCTL: join(home, 'systemctl'),
    },
  });
  return { status, stdout, stderr };
}
