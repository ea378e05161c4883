// What the processes of a measurement are and cost, from proc(5).

import { readFileSync, readdirSync } from 'node:fs';

const ticksASecond = 100; // sysconf(_SC_CLK_TCK) of every Linux that this runs on

function read(process, file) {
  try {
    return readFileSync(`/proc/${process}/${file}`, 'utf8');
  } catch {
    return ''; // it has just ended
  }
}

const allProcesses = () =>
  readdirSync('/proc').filter((entry) => /^\d+$/.test(entry)).map(Number);

// By the name that a process gives itself, or the beginning of that.
export function processesNamed(...names) {
  return allProcesses().filter((process) => {
    const own = read(process, 'comm').trim();
    return own !== '' && names.some((name) => own.startsWith(name));
  });
}

// A process and all that it and they have started.
export function processTree(root) {
  const parents = allProcesses().map((process) => [process, Number(statusOf(process)[1])]);
  const tree = [root];
  for (const parent of tree) {
    tree.push(...parents.filter(([, own]) => own === parent).map(([process]) => process));
  }
  return tree;
}

// What stands behind the name in a process's `stat`.
const statusOf = (process) => read(process, 'stat').split(') ')[1]?.split(' ') ?? [];

// Seconds that these processes have had.
export function processorTime(processes) {
  const ticks = processes.map((process) => {
    const fields = statusOf(process);
    return Number(fields[11] ?? 0) + Number(fields[12] ?? 0);
  });
  return ticks.reduce((all, count) => all + count, 0) / ticksASecond;
}

// The same to the nanosecond, of the threads that they have now.
export function threadsTime(processes) {
  const threads = processes.flatMap((process) =>
    readdirSync(`/proc/${process}/task`).map((thread) => `${process}/task/${thread}`),
  );
  const times = threads.map((thread) => Number(read(thread, 'schedstat').split(' ')[0]));
  return times.reduce((all, time) => all + time, 0) / 1e9;
}
