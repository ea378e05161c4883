import { spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';

const wrapper = fileURLToPath(new URL('../../../../tools/end_with_parent.sh', import.meta.url));

// spawn() for a program that ends with this process, even when this is killed.
export function spawnChild(program, args, options) {
  return spawn(wrapper, [String(process.pid), program, ...args], options);
}

// Nor does this process itself stay when the one that runs the tests is killed. Whatever has no
// parent any more belongs to another process, of which nobody sends word.
const runner = process.ppid;
setInterval(() => {
  if (process.ppid !== runner) process.kill(process.pid, 'SIGKILL');
}, 500).unref();
