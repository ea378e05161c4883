// Whatever these tests start is gone when they are killed in the middle.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { readFileSync, readdirSync, rmSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { until } from './support/until.mjs';

const everything = fileURLToPath(new URL('support/everything.mjs', import.meta.url));

// All processes that are no zombies, as { id, parent }. See proc(5).
function processes() {
  return readdirSync('/proc')
    .filter((entry) => /^\d+$/.test(entry))
    .map((entry) => {
      try {
        const stat = readFileSync(`/proc/${entry}/stat`, 'utf8');
        const [state, parent] = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
        return state === 'Z' ? null : { id: Number(entry), parent: Number(parent) };
      } catch {
        return null; // it has just ended
      }
    })
    .filter((process) => process !== null);
}

function descendantsOf(ancestor) {
  const found = new Set([ancestor]);
  let before = 0;
  const all = processes();
  while (found.size > before) {
    before = found.size;
    for (const { id, parent } of all) if (found.has(parent)) found.add(id);
  }
  found.delete(ancestor);
  return [...found];
}

let started;
let home;

before(async () => {
  started = spawn(process.execPath, [everything], { stdio: ['ignore', 'pipe', 'inherit'] });
  let said = '';
  started.stdout.on('data', (chunk) => {
    said += chunk;
  });
  await until('everything to be started', () => {
    assert.equal(started.exitCode, null);
    return said.includes('\n');
  });
  home = said.trim();
});

after(() => {
  if (started.exitCode === null && started.signalCode === null) started.kill('SIGKILL');
  if (home) rmSync(home, { recursive: true, force: true });
});

test('a killed test leaves no process behind', async () => {
  const left = new Set(descendantsOf(started.pid));
  // The X server, the host, its page's program, and the browser with its own.
  assert.ok(left.size >= 5, `${left.size}`);
  started.kill('SIGKILL');
  await once(started, 'exit');
  await until('all of them to end', () => {
    const alive = new Set(processes().map(({ id }) => id));
    return [...left].every((id) => !alive.has(id));
  });
});
