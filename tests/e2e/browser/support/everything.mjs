// Starts one of each of what the tests start, says the host's home, and stays.

import { Host } from './Host.mjs';
import { HostPage } from './HostPage.mjs';
import { VirtualScreen } from './VirtualScreen.mjs';
import { program } from './built.mjs';

const screen = await VirtualScreen.start(1280, 800);
const host = await Host.start(program, screen.environment);
await HostPage.open(host.address);
console.log(host.home);
