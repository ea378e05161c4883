import { setTimeout as pause } from 'node:timers/promises';

// Asks again and again until the condition gives something true, and returns that. Fails, saying
// what was waited for and what came last, when it never does.
export async function until(what, condition, deadlineMs = 30_000) {
  const end = Date.now() + deadlineMs;
  for (;;) {
    const result = await condition();
    if (result) return result;
    if (Date.now() > end) throw new Error(`waited in vain for ${what}; last: ${result}`);
    await pause(50);
  }
}
